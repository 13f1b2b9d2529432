// The lenient base64 decoder against the plain one, which looks one character after another up: on clean text
// of masks' lengths, and on text with ever more invalid characters. Results are compared before anything is
// timed.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/silhouette.h"
#include "mask/mask_base64.h"
#include "test_support/scalar_base64.h"

namespace {

using Decode = std::vector<uint8_t> (*)(std::string_view, std::size_t);

struct Text {
  std::string characters;
  std::size_t limit;
};

std::string randomCharacters(std::size_t count) {
  constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::mt19937 random;
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += alphabet[random() % alphabet.size()];
  return text;
}

std::string wrapped(const std::string& text, std::size_t lineLength) {
  std::string lines;
  for (std::size_t i = 0; i < text.size(); i += lineLength) lines += text.substr(i, lineLength) + "\r\n";
  return lines;
}

/// With a blank in front of one of `every` characters, by chance.
std::string strewn(const std::string& text, unsigned every) {
  std::mt19937 random;
  std::string dirty;
  for (const char c : text) {
    if (random() % every == 0) dirty += ' ';
    dirty += c;
  }
  return dirty;
}

/// 1920x1080 pixels' worth of silhouette.
std::string silhouetteCharacters() {
  const std::string text = bench::silhouetteText(1920, 1080);
  return text.substr(text.rfind('|') + 1);
}

void run(benchmark::State& state, Decode decode, const Text& text) {
  for (auto _ : state) benchmark::DoNotOptimize(decode(text.characters, text.limit));
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.characters.size()));
}

void add(const std::string& name, const std::string& characters, std::size_t limit) {
  const Text text{characters, limit};
  if (seg_mask::decodeBase64(characters, limit) != seg_mask::scalarDecodeBase64(characters, limit)) {
    throw std::runtime_error("the decoders do not agree");
  }
  const auto addOne = [&](const char* who, Decode decode) {
    benchmark::RegisterBenchmark((name + "/" + who).c_str(),
                                 [=](benchmark::State& state) { run(state, decode, text); });
  };
  addOne("ours", seg_mask::decodeBase64);
  addOne("plain", seg_mask::scalarDecodeBase64);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string pixels = randomCharacters(68'268);  // 640x640
  const std::size_t limit = pixels.size() / 4 * 3;
  add("clean, random, 4,268 characters", randomCharacters(4'268), 3'200);  // 160x160
  add("clean, random, 68,268 characters", pixels, limit);
  add("clean, random, 345,600 characters", randomCharacters(345'600), 259'200);  // 1920x1080
  add("clean, a silhouette, 345,600 characters", silhouetteCharacters(), 259'200);
  add("lines of 76", wrapped(pixels, 76), limit);
  add("lines of 20", wrapped(pixels, 20), limit);
  add("a blank in 64", strewn(pixels, 64), limit);
  add("a blank in 16", strewn(pixels, 16), limit);
  add("a blank in 4", strewn(pixels, 4), limit);
  add("a blank in 2", strewn(pixels, 2), limit);
  add("blanks alone", std::string(pixels.size(), ' '), limit);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
