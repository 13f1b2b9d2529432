#pragma once

#include <cuda_runtime_api.h>
#include <gtest/gtest.h>

#include <class_loader/class_loader.hpp>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/SwAny.h"
#include "render_base/IRenderPlugin.h"
#include "render_base/RenderContext.h"
#include "zelvo/DeviceRenderBackend.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"
#include "zelvo/transfer.h"

/// A frame as rows of letters, one a luma pixel or a chroma sample: '.' for the untouched grey, 'a' for the
/// colour of class 0, 'f' for that of class 5, '?' for anything else.
struct Picture {
  std::vector<std::string> luma;
  std::vector<std::string> chroma;
};

inline bool operator==(const Picture& a, const Picture& b) {
  return a.luma == b.luma && a.chroma == b.chroma;
}

inline std::ostream& operator<<(std::ostream& out, const Picture& picture) {
  for (const std::string& row : picture.luma) out << '\n' << row;
  out << "\nchroma";
  for (const std::string& row : picture.chroma) out << '\n' << row;
  return out;
}

/// A packed NV12 frame as letters. The bytes of the classes are worked out by hand from the palette: class 0
/// is (255, 56, 56), class 5 is (72, 249, 10).
inline Picture lettersOf(const std::vector<unsigned char>& nv12, int width, int height) {
  struct Color {
    char letter;
    int y, u, v;
  };
  const Color colors[] = {{'.', 100, 128, 128}, {'a', 115, 94, 227}, {'f', 168, 38, 58}};
  Picture picture;
  const unsigned char* at = nv12.data();
  for (int row = 0; row < height; ++row) {
    std::string& letters = picture.luma.emplace_back(width, '?');
    for (char& letter : letters) {
      for (const Color& color : colors)
        if (*at == color.y) letter = color.letter;
      ++at;
    }
  }
  for (int row = 0; row < (height + 1) / 2; ++row) {
    std::string& letters = picture.chroma.emplace_back((width + 1) / 2, '?');
    for (char& letter : letters) {
      for (const Color& color : colors)
        if (at[0] == color.u && at[1] == color.v) letter = color.letter;
      at += 2;
    }
  }
  return picture;
}

inline std::vector<unsigned char> greyFrame(int width, int height) {
  std::vector<unsigned char> nv12(zelvo::packedNv12Bytes(width, height), 128);
  std::fill_n(nv12.begin(), width * height, static_cast<unsigned char>(100));
  return nv12;
}

/// One grey frame and what one producer found in it, `detections` being the array's JSON text.
class Frame {
 public:
  Frame(int width, int height, const std::string& detections, cudaStream_t stream) : stream_(stream) {
    RenderInput input;
    input.payload_type = "detection.v1";
    input.producer_id = "detector";
    input.payload = SwAny("{\"detections\": [" + detections + "]}");
    inputs_ = {{input.payload_type, {input}}};
    context.frame_id = 7;
    context.payload_resolver = &resolver_;
    context.inputs = &inputs_;
    context.picture.source = std::make_shared<zelvo::ZelvoPicture>(width, height);
    context.picture.sourceId = 1;
    context.picture.pool = std::make_shared<zelvo::ZelvoPicturePool>();
    zelvo::upload(*context.picture.source, greyFrame(width, height).data(), stream_);
  }
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

  Picture picture() const {
    const auto readable = context.picture.readable();
    std::vector<unsigned char> nv12(zelvo::packedNv12Bytes(readable->width(), readable->height()));
    zelvo::download(*readable, nv12.data(), stream_);
    return lettersOf(nv12, readable->width(), readable->height());
  }

  RenderContext context;

 private:
  cudaStream_t stream_;
  std::unordered_map<std::string, std::vector<RenderInput>> inputs_;
  RenderPayloadResolver resolver_{[](uint64_t, const SwAny& stored) { return stored; }};
};

/// Gives each test the plug-in as hosts load it, with edges of one pixel; skips it where there is no device.
class BoxPluginTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (cudaStreamCreate(&stream_) != cudaSuccess) GTEST_SKIP() << "no CUDA device";
    SwAny::getConversionRules();  // writes its one line now, not into what a test captures
    backend_.emplace(stream_);
    loader_.emplace(BOX_PLUGIN);
    plugin_ = loader_->createUniqueInstance<IRenderPlugin>("BoxPlugin");
    ASSERT_TRUE(plugin_->init(RenderInit{&*backend_}));
    plugin_->setConfig(R"({"thickness": 1})");
  }

  void TearDown() override {
    plugin_.reset();  // before its library
    if (stream_) cudaStreamDestroy(stream_);
  }

  Picture drawn(int width, int height, const std::string& detections) {
    Frame frame(width, height, detections, stream_);
    plugin_->render(frame.context);
    return frame.picture();
  }

  cudaStream_t stream_ = nullptr;
  std::optional<zelvo::DeviceRenderBackend> backend_;
  std::optional<class_loader::ClassLoader> loader_;
  class_loader::ClassLoader::UniquePtr<IRenderPlugin> plugin_;
};
