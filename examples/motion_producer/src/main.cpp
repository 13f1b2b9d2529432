// motion_producer: a small real producer of "detection.v1" lines. Finds moving objects in the video of a
// fixed camera.

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "io/UserError.h"
#include "src/produce.h"

namespace {

constexpr int kUserErrorExit = 2;

int run(const motion_producer::Options& options) {
  const motion_producer::Result result = motion_producer::produce(options);
  std::cout << result.frames << " frames, " << result.detections << " detections written to "
            << options.output << "\n";
  return 0;
}

}  // namespace

int main(int argc, char** argv) try {
  motion_producer::Options options;
  CLI::App app{
      "Finds what moves before a fixed camera and writes it as detections, one JSON object a line, for "
      "segmask."};
  app.add_option("--input", options.input, "The video")->required()->type_name("FILE");
  app.add_option("--output", options.output, "The JSON lines to write")->required()->type_name("FILE.jsonl");
  app.add_option("--warm-up", options.warmUp,
                 "Frames, spread over the video, to learn the background from first")
      ->check(CLI::Range(0, 100000))
      ->capture_default_str();
  app.add_option("--mask-width", options.maskWidth,
                 "Columns of the masks; rows follow from the frame's shape")
      ->check(CLI::Range(1, 65535))
      ->capture_default_str();
  app.add_flag_callback(
      "--compact", [&options] { options.maskForm = motion_producer::MaskForm::RunLengths; },
      "Write the masks as run lengths, which take about a hundredth of the space");
  app.add_option("--min-area", options.minArea,
                 "Share of the frame below which something that moves is noise")
      ->check(CLI::Range(0.0, 1.0))
      ->capture_default_str();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // --help
    std::cerr << "motion_producer: " << error.what() << " (see motion_producer --help)" << std::endl;
    return kUserErrorExit;
  }
  return run(options);
} catch (const segmask::UserError& error) {
  std::cerr << "motion_producer: " << error.what() << std::endl;
  return kUserErrorExit;
} catch (const std::exception& error) {
  std::cerr << "motion_producer: " << error.what() << std::endl;
  return 1;
}
