#include <nanobind/nanobind.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/string.h>

#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "host/DetectionPayload.h"
#include "host/DetectionTally.h"
#include "host/FramePipeline.h"
#include "host/FrameRenderer.h"
#include "host/PluginHost.h"
#include "host/ProducerInputs.h"
#include "io/OutputPlace.h"
#include "io/UserError.h"
#include "src/DetectionList.h"
#include "src/Overlay.h"
#include "src/Shutdown.h"
#include "src/bindings.h"
#include "video/FrameReader.h"
#include "video/FrameWriter.h"
#include "video/libav_handles.h"

namespace nb = nanobind;

using segmask::FrameJob;

namespace segmask_python {
namespace {

/// What Python gives for the frames of a video. Called in the thread that has called render(), which is
/// without the GIL.
struct Callbacks {
  nb::callable detections;  ///< (number, width, height, the frame's bytes or None) -> list
  bool wantsFrame;          ///< whether the first gets the frame
  nb::callable progress;    ///< (frames read, of how many or None)
};

/// One run: a video from its reader through the plug-in to its writer.
class VideoRun {
 public:
  VideoRun(std::unique_ptr<segmask::FrameReader> reader, const std::string& output, const Settings& settings,
           Callbacks callbacks)
      : reader_(std::move(reader)),
        size_{reader_->format().width, reader_->format().height},
        callbacks_(std::move(callbacks)),
        renderer_(size_.width, size_.height),
        host_(choosePlugin(settings.fast)),
        tally_({static_cast<float>(settings.minScore), settings.maxOverlayDets}, size_),
        writer_(segmask::openFrameWriter(output, reader_->format(), {{}, reader_->sideStreams()})) {
    segmask::registerDetectionPayload();
    renderer_.use(host_.plugin());
    host_.plugin().setConfig(settings.config());
    renderer_.watch([this](const RenderContext& context) { tally_.add(context, inputs_); });
  }

  /// Takes all frames through. The output appears at the end, and not at all after an error.
  void run() {
    segmask::FramePipeline::Stages stages;
    stages.read = [this](FrameJob& job) { return read(job); };
    stages.draw = [this](FrameJob& job) { return draw(job); };
    stages.write = [this](const FrameJob& job) { write(job); };
    // A frame that is being read or made by Python comes to its end by itself.
    stages.stopReading = [] {};
    segmask::FramePipeline(std::move(stages)).run();
    if (frames_ == 0) throw segmask::UserError("input: holds no frame");
    writer_->finish();
    writer_->commit();
  }

  nb::dict summary() const {
    nb::dict dropped;
    for (const auto& [outcome, entry] : tally_.dropped()) {
      dropped[seg_mask::outcomeWord(outcome)] = entry.count;
    }
    nb::dict summary;
    summary["frames"] = frames_;
    summary["frames_drawn"] = framesDrawn_;
    summary["detections"] = inputs_.detectionsSeen();
    summary["drawn"] = tally_.drawn();
    summary["dropped"] = std::move(dropped);
    summary["warning"] = nb::steal(PyUnicode_DecodeFSDefault(reader_->warning().c_str()));  // names the input
    return summary;
  }

 private:
  bool read(FrameJob& job) {
    if (Shutdown::requested()) throw std::runtime_error("the interpreter is ending");
    if (!reader_->next(job.frame)) return false;
    const nb::gil_scoped_acquire locked;
    if (PyErr_CheckSignals() != 0) throw nb::python_error();
    nb::object frame = nb::none();
    if (callbacks_.wantsFrame) frame = nb::bytes(job.frame.nv12.data(), job.frame.nv12.size());
    job.lines.clear();
    const nb::object detections = detectionsOf(job.number, frame);
    job.lines.push_back(detectionLine(detections, job.number, size_));
    callbacks_.progress(job.number + 1, reader_->frameCount());
    return true;
  }

  /// Asks Python, which may wait as long as it likes: the interpreter's end does not wait for it.
  nb::object detectionsOf(uint64_t number, const nb::object& frame) {
    const Shutdown::Pause pause;
    try {
      return callbacks_.detections(number, size_.width, size_.height, frame);
    } catch (const std::exception&) {
      throw;
    } catch (...) {
      // No exception but the unwinding of a thread that is being ended: the interpreter has ended, and ends
      // this thread when it asks for the GIL, without which no Python object of the functions above may be
      // released.
      Shutdown::sleep();
    }
  }

  bool draw(FrameJob& job) {
    const Shutdown::Part part(caller_);
    inputs_.advance(job.number, std::move(job.lines));
    job.drawn = renderer_.render(job.number, job.frame, inputs_).drawn;
    return true;
  }

  void write(const FrameJob& job) {
    const Shutdown::Part part(caller_);
    writer_->write(job.frame);
    ++frames_;
    if (job.drawn) ++framesDrawn_;
  }

  std::thread::id caller_ = std::this_thread::get_id();
  std::unique_ptr<segmask::FrameReader> reader_;
  render_base::FrameSize size_;
  Callbacks callbacks_;
  segmask::ProducerInputs inputs_{0};
  segmask::FrameRenderer renderer_;  // outlives the plug-in, which draws with its backend
  segmask::PluginHost host_;
  segmask::DetectionTally tally_;
  std::unique_ptr<segmask::FrameWriter> writer_;
  uint64_t frames_ = 0;
  uint64_t framesDrawn_ = 0;
};

[[noreturn]] void throwValueError(const std::string& message) {
  setError(PyExc_ValueError, message.c_str());
  throw nb::python_error();
}

/// ValueError for an output that cannot be one for that input.
void checkOutput(const std::string& output, const std::string& input) {
  if (segmask::isStream(output)) throwValueError(output + ": output is a stream and no file");
  try {
    if (!segmask::wouldReplace(output, input)) return;
  } catch (const segmask::UserError& error) {
    throwValueError(error.what());
  }
  throwValueError(output + ": output would replace input");
}

std::string textOf(const nb::bytes& bytes) {
  return {bytes.c_str(), bytes.size()};
}

nb::dict render(const std::string& input, const std::string& output, const std::optional<std::string>& size,
                const Settings& settings, Callbacks callbacks) {
  checkOutput(output, input);
  segmask::silenceLibav();  // its notes would come to the host's standard error
  std::unique_ptr<segmask::FrameReader> reader;
  {
    const Unlocked unlocked;
    reader = segmask::openFrameReader(input, {size, false, segmask::SideKinds::All});
  }
  VideoRun run(std::move(reader), output, settings, std::move(callbacks));
  {
    const Unlocked unlocked;
    run.run();
  }
  return run.summary();
}

}  // namespace

void bindRender(nb::module_& module) {
  module.def(
      "render",
      [](const nb::bytes& input, const nb::bytes& output, const std::optional<std::string>& size,
         double alpha, double minScore, int maxOverlayDets, bool fast, nb::callable detections,
         bool wantsFrame, nb::callable progress) {
        return render(textOf(input), textOf(output), size, {alpha, minScore, maxOverlayDets, fast},
                      {std::move(detections), wantsFrame, std::move(progress)});
      },
      nb::arg("input"), nb::arg("output"), nb::arg("size").none(), nb::arg("alpha"), nb::arg("min_score"),
      nb::arg("max_overlay_dets"), nb::arg("fast"), nb::arg("detections"), nb::arg("wants_frame"),
      nb::arg("progress"));
}

}  // namespace segmask_python
