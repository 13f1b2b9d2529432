#include "src/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <exception>
#include <iostream>
#include <new>
#include <optional>
#include <string>

#include "io/Interrupt.h"
#include "io/UserError.h"
#include "src/commands.h"
#include "video/libav_handles.h"

namespace segmask {
namespace {

struct Options {
  RenderOptions render;
  ExplainOptions explain;
  PluginChoice inspectedPlugin;
};

/// CLI11's own range check would print the range of a double in its message.
const CLI::Validator kWholeNumber(
    [](std::string& text) {
      const bool isDigits = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
      return isDigits && text.size() < 19 ? std::string() : "'" + text + "' is not a whole number from 0 on";
    },
    "");

void addPluginChoice(CLI::App& command, PluginChoice& plugin) {
  CLI::Option* const file =
      command.add_option("--plugin", plugin.file, "Plug-in library (default: the one beside this program)")
          ->type_name("FILE.so");
  command
      .add_flag("--fast", plugin.fast,
                "The plug-in library that draws the same bytes in one pass a frame, beside the default one")
      ->excludes(file);
}

CLI::App* addRender(CLI::App& app, RenderOptions& options) {
  CLI::App* const render = app.add_subcommand("render", "Draw segmentation masks into a video");
  render
      ->add_option("--input", options.input,
                   "Video or image to draw into, or raw frames (.nv12, with --size; taken as 30 frames/s)")
      ->required()
      ->type_name("FILE");
  render->add_option("--size", options.size, "Size of the frames in a raw .nv12 file")->type_name("WxH");
  render
      ->add_option(
          "--detections", options.detections,
          "What to draw: JSON lines {\"frame\":0,\"producer\":\"name\",\"detections\":[...]}, in frame "
          "order, frames counted from 0; may be packed by gzip; - is standard input")
      ->required()
      ->type_name("FILE.jsonl");
  render
      ->add_option(
          "--output", options.output,
          "Where the result goes: .mp4 or .mkv (H.264; an odd side grows by one sample), .y4m, .nv12 "
          "(raw), or name_%04d.png (one file a frame)")
      ->required()
      ->type_name("FILE");
  render
      ->add_option("--config", options.config,
                   "Configuration of the plug-in, a JSON object as text (see segmask inspect)")
      ->type_name("JSON");
  addPluginChoice(*render, options.plugin);
  render->add_flag("--debug", options.debug, "Let the plug-in and the libraries print diagnostics");
  render
      ->add_option("--lookback", options.lookback,
                   "For how many frames without a line of its own a producer's last line serves (default: 0)")
      ->check(kWholeNumber)
      ->type_name("N");
  render
      ->add_option("--contact-sheet", options.contactSheet,
                   "Also write four frames of the result as a picture")
      ->type_name("FILE.png");
  render->add_flag("--no-progress", options.noProgress, "Show no progress");
  CLI::Option* const noExplain = render->add_flag(
      "--no-explain", options.noExplain,
      "Do not find out what changed and why detections were not drawn, which saves some time");
  render
      ->add_flag("--strict", options.strict,
                 "End with exit code 3, after writing the output, if a detection was not drawn")
      ->excludes(noExplain);
  render->add_option("--summary-json", options.summaryJson, "Also write the summary as a JSON object")
      ->type_name("FILE.json");
  return render;
}

CLI::App* addExplain(CLI::App& app, ExplainOptions& options) {
  CLI::App* const explain =
      app.add_subcommand("explain", "Say of each detection whether it is drawn, and why not");
  explain->add_option("--detections", options.detections, "Detections, as for segmask render")
      ->required()
      ->type_name("FILE.jsonl");
  explain->add_option("--size", options.size, "Size of the frames that they are for")
      ->required()
      ->type_name("WxH");
  explain->add_option("--frame", options.frame, "Explain this frame alone (default: all)")
      ->check(kWholeNumber)
      ->type_name("N");
  explain->add_option("--config", options.config, "Configuration of the plug-in, a JSON object as text")
      ->type_name("JSON");
  explain->add_flag("--json", options.json, "One JSON object a line");
  return explain;
}

CLI::App* addInspect(CLI::App& app, PluginChoice& plugin) {
  CLI::App* const inspect = app.add_subcommand("inspect", "Show what a plug-in says of itself");
  addPluginChoice(*inspect, plugin);
  return inspect;
}

int report(const std::string& text) {
  std::cerr << "segmask: " + oneLine(text) + "\n" << std::flush;
  return kExitError;
}

int parseAndRun(int argc, char** argv) {
  CLI::App app("Draws segmentation masks into videos, through a render plug-in", "segmask");
  app.require_subcommand(1);
  app.set_version_flag("--version", SEGMASK_VERSION);
  app.footer(
      "Exit codes: 0 done; 2 bad input or a failure, nothing was written; 3 done, but with --strict some "
      "detection was not drawn; 130 interrupted, what was done so far was written.");
  Options options;
  const CLI::App* const renderCommand = addRender(app, options.render);
  const CLI::App* const explainCommand = addExplain(app, options.explain);
  const CLI::App* const inspectCommand = addInspect(app, options.inspectedPlugin);
  // CLI11 would report a misspelt command as "a subcommand is required".
  const std::string first = argc > 1 ? argv[1] : "-";
  const auto isFirst = [&first](const CLI::App* command) { return command->get_name() == first; };
  const auto commands = {renderCommand, explainCommand, inspectCommand};
  if (first[0] != '-' && std::none_of(commands.begin(), commands.end(), isFirst)) {
    return report("there is no command '" + first +
                  "', only render, explain and inspect (see segmask --help)");
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {  // --help
    return app.exit(success);
  } catch (const CLI::ParseError& error) {
    return report(std::string(error.what()) + " (see segmask --help)");
  }
  if (renderCommand->parsed()) return render(options.render);
  if (explainCommand->parsed()) return explain(options.explain);
  return inspect(options.inspectedPlugin);
}

}  // namespace

int runCommandLine(int argc, char** argv) {
  // Writing to a closed pipe or beyond a file's size limit must fail with an error and not end the process.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  silenceLibav();
  try {
    return parseAndRun(argc, argv);
  } catch (const std::bad_alloc&) {
    return report("out of memory");
  } catch (const std::exception& error) {
    return report(error.what());
  }
}

}  // namespace segmask
