#include "src/command_line.h"

#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <csignal>
#include <exception>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/nearest_name.h"
#include "io/Interrupt.h"
#include "io/UserError.h"
#include "src/commands.h"
#include "src/mask_options.h"
#include "src/messages.h"
#include "src/version_text.h"
#include "video/libav_handles.h"

namespace segmask {
namespace {

constexpr char kProgram[] = "segmask";

struct Options {
  RenderOptions render;
  ExplainOptions explain;
  ImportArguments import;
  MaskArguments mask;
  PluginChoice inspectedPlugin;
  BatchOptions batch;
};

/// CLI11's own range check would print the range of a double in its message.
const CLI::Validator kWholeNumber(
    [](std::string& text) {
      constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
      const char* const end = text.data() + text.size();
      int64_t number = 0;
      const std::errc error = std::from_chars(text.data(), end, number).ec;
      const bool isNumber = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
      if (!isNumber) return "'" + text + "' is not a whole number from 0 on";
      return error == std::errc() ? std::string() : "'" + text + "' is more than " + std::to_string(kMost);
    },
    "");

const CLI::Validator kNotEmpty(
    [](std::string& text) { return text.empty() ? "is empty and names no file" : std::string(); }, "");

const CLI::Validator kNotZero(
    [](std::string& text) {
      return text.find_first_not_of('0') == std::string::npos ? "has to be at least 1" : std::string();
    },
    "");

const CLI::Validator kRotation(
    [](std::string& text) {
      return text == "apply" || text == "keep" ? std::string() : "'" + text + "' is neither apply nor keep";
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

void addInputs(CLI::App* render, RenderOptions& options) {
  render
      ->add_option(
          "--input", options.input,
          "Video to draw into; or a picture (.png, .jpg) or a folder of pictures; or raw frames (.nv12, with "
          "--size; taken as 30 frames/s); - is standard input, raw frames with --size")
      ->required()
      ->check(kNotEmpty)
      ->type_name("FILE");
  render->add_option("--size", options.size, "Size of the frames in a raw .nv12 file")->type_name("WxH");
  render
      ->add_option("--start", options.start,
                   "Begin at this frame (250) or time (12.5, 90s, 1:30); frames keep their numbers")
      ->type_name("N|TIME");
  render->add_option("--frames", options.frames, "Draw at most N frames")
      ->check(kWholeNumber)
      ->check(kNotZero)
      ->type_name("N");
  render
      ->add_option_function<std::string>(
          "--rotate", [&options](const std::string& what) { options.keepRotation = what == "keep"; },
          "A rotation that the input asks players for: apply (default), or keep the pixels as they are "
          "stored "
          "and pass it on")
      ->check(kRotation)
      ->type_name("apply|keep");
  render
      ->add_option(
          "--detections", options.detections,
          "What to draw: JSON lines {\"frame\":0,\"producer\":\"name\",\"detections\":[...]}, in frame "
          "order, frames counted from 0; of pictures also \"image\":\"name.jpg\", in any order; may be "
          "packed by "
          "gzip; - is standard input")
      ->required()
      ->check(kNotEmpty)
      ->type_name("FILE.jsonl");
}

void addOutputs(CLI::App* render, RenderOptions& options) {
  render
      ->add_option(
          "--output", options.output,
          "Where the result goes: .mp4 or .mkv (H.264; an odd side grows by one sample), .y4m, .nv12 "
          "(raw), or name_%04d.png (one file a frame); of pictures, name.png or a folder, which is made; - "
          "is "
          "standard output, Matroska. What is there is overwritten")
      ->required()
      ->check(kNotEmpty)
      ->type_name("FILE");
  CLI::Option* const never = render->add_flag("-n", options.neverOverwrite,
                                              "Never overwrite: end with exit code 2 if something is there");
  render->add_flag("-y", "Overwrite existing files (the default)")->excludes(never);
  render->add_flag("--no-audio", options.noAudio,
                   "Do not copy the input's sound; .mp4 and .mkv get it and the subtitles otherwise");
  render
      ->add_option("--crf", options.encoder.crf, "Quality of .mp4 and .mkv: 0 (lossless) to 51 (default: 18)")
      ->type_name("Q");
  render
      ->add_option("--preset", options.encoder.preset,
                   "Speed of the encoder for .mp4 and .mkv, from ultrafast to placebo (default: veryfast)")
      ->type_name("NAME");
}

void addDrawing(CLI::App* render, RenderOptions& options) {
  render
      ->add_option("--config", options.config,
                   "Configuration of the plug-in, a JSON object as text (see segmask inspect)")
      ->type_name("JSON");
  addPluginChoice(*render, options.plugin);
  render->add_flag("--debug", options.debug, "Let the plug-in and the libraries print diagnostics");
  render
      ->add_option(
          "--lookback", options.lookback,
          "Draw a producer's last line again in up to N further frames that have no line of it (default: 0)")
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
      ->add_flag(
          "--strict", options.strict,
          "End with exit code 3, after writing the output, if a detection was not drawn or the input was "
          "damaged")
      ->excludes(noExplain);
  render
      ->add_option(
          "--summary-json", options.summaryJson,
          "Also write the summary as a JSON object; - is standard output, and the summary for people "
          "goes to standard error")
      ->type_name("FILE.json");
  render
      ->add_option(
          "--report", options.report,
          "Also write a page that shows what was drawn and dropped over time, the time in the plug-in, "
          "some frames, the classes and the files with their digests; one file, for any browser")
      ->type_name("FILE.html");
}

CLI::App* addRender(CLI::App& app, RenderOptions& options) {
  CLI::App* const render =
      app.add_subcommand("render", "Draw segmentation masks into a video or into pictures");
  addInputs(render, options);
  addOutputs(render, options);
  addDrawing(render, options);
  return render;
}

CLI::App* addExplain(CLI::App& app, ExplainOptions& options) {
  CLI::App* const explain =
      app.add_subcommand("explain", "Say of each detection whether it is drawn, and why not");
  explain->add_option("--detections", options.detections, "Detections, as for segmask render")
      ->required()
      ->type_name("FILE.jsonl");
  CLI::Option* const size =
      explain->add_option("--size", options.size, "Size of the frames that they are for")->type_name("WxH");
  explain
      ->add_option("--images", options.images, "In its place: the folder of the pictures that they are for")
      ->excludes(size)
      ->type_name("FOLDER");
  explain->add_option("--frame", options.frame, "Explain this frame alone (default: all)")
      ->check(kWholeNumber)
      ->type_name("N");
  explain->add_option("--config", options.config, "Configuration of the plug-in, a JSON object as text")
      ->type_name("JSON");
  explain->add_flag("--json", options.json, "One JSON object a line");
  return explain;
}

void addInspect(CLI::App& app, PluginChoice& plugin) {
  CLI::App* const inspect =
      app.add_subcommand("inspect", "Show a plug-in's name, inputs and configuration schema");
  addPluginChoice(*inspect, plugin);
}

CLI::App* addBatch(CLI::App& app, BatchOptions& options) {
  CLI::App* const batch = app.add_subcommand("batch", "Render many files, several at a time");
  batch
      ->add_option(
          "list", options.list,
          "The jobs: JSON lines {\"input\":\"a.mp4\",\"detections\":\"a.jsonl\",\"output\":\"out.mp4\"} "
          "with options of segmask render; paths are relative to the list's folder. A job that is done "
          "and whose files and options are as they were is skipped")
      ->required()
      ->type_name("JOBS.jsonl");
  batch->add_option("--jobs", options.processes, "How many run at a time (default: one for each core)")
      ->check(kWholeNumber)
      ->check(kNotZero)
      ->type_name("N");
  batch
      ->add_option("--split", options.split,
                   "Draw a video of more than N frames in pieces of N frames, as many at a time as --jobs "
                   "says, and join them; the result is that of the whole (default: never split)")
      ->check(kWholeNumber)
      ->check(kNotZero)
      ->type_name("N");
  batch
      ->add_option(
          "--retries", options.retries,
          "How often a job, or a piece of one, is started again that crashed or was killed (default: "
          "2); one that ended with an error of its own is not")
      ->check(kWholeNumber)
      ->type_name("N");
  batch->add_flag("--redo", options.redo, "Do all jobs, also those that are done");
  batch->add_flag("--check", options.check, "Check the list and start nothing");
  batch
      ->add_option("--results", options.results,
                   "Where the results go, one JSON object a line for each job (default: standard output)")
      ->type_name("FILE.jsonl");
  batch->add_flag("--no-progress", options.noProgress, "Show no progress");
  batch->footer(
      "Exit codes: 0 all jobs are done; 1 some failed, the others are done; 2 an error in the list or the "
      "options, nothing was started, or the results could not be written; 3 done, but a job with \"strict\" "
      "dropped something; 130 interrupted, "
      "outputs are whole or not there.");
  return batch;
}

int report(const std::string& text) {
  tell(text);
  return kExitError;
}

/// The subcommand of that name; null if there is none.
const CLI::App* findCommand(const CLI::App& app, const std::string& name) {
  const std::vector<const CLI::App*> found =
      app.get_subcommands([&](const CLI::App* command) { return command->get_name() == name; });
  return found.empty() ? nullptr : found.front();
}

/// What is wrong with the options of a command; empty when each exists. CLI11 would report that a required
/// option is missing, without the one that was meant for it.
std::string unknownOption(const CLI::App& app, int argc, char** argv) {
  const CLI::App* command = &app;
  std::string path = app.get_name();
  int first = 1;
  while (const CLI::App* const next = first < argc ? findCommand(*command, argv[first]) : nullptr) {
    command = next;
    path.append(" ").append(argv[first++]);
  }
  std::vector<std::string> names;
  for (const CLI::Option* option : command->get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  for (int i = first; i < argc; ++i) {
    std::string name = argv[i];
    name.resize(std::min(name.size(), name.find('=')));
    const bool isLong = name.size() > 2 && name.compare(0, 2, "--") == 0;
    if (!isLong || std::find(names.begin(), names.end(), name) != names.end()) continue;
    const std::string nearest = nearestName(name, names);
    return "there is no option '" + name + "'" +
           (nearest.empty() ? " (see " + path + " --help)" : "; did you mean '" + nearest + "'?");
  }
  return {};
}

/// CLI11's words, but for the number of an option's values, "--size: At Most 1 required but received 2" and
/// "--size: 1 required WxH missing".
std::string textOf(const CLI::ParseError& error) {
  std::string text = error.what();
  const std::size_t colon = std::min(text.find(": "), text.size());
  const auto goesOn = [&](const char* words) {
    return text.compare(colon, std::string(words).size(), words) == 0;
  };
  if (goesOn(": At Most 1 required")) return text.substr(0, colon) + " is given more than once";
  if (goesOn(": 1 required")) return text.substr(0, colon) + " needs a value";
  return text;
}

/// Throws ClosedPipe or another UserError unless standard output has taken all that was written to it.
void checkStandardOutput() {
  if (std::cout.flush()) return;
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  const bool isClosed = poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
  if (isClosed) throw ClosedPipe("standard output");
  throw UserError("standard output: not all could be written");
}

/// The commands that are told apart when the line is parsed.
struct Commands {
  const CLI::App* render;
  const CLI::App* explain;
  const CLI::App* import;
  const CLI::App* mask;
  const CLI::App* batch;
};

/// Gives the program's App all that its command line may have. `options` must live until the line is parsed.
Commands addAll(CLI::App& app, Options& options) {
  app.name(kProgram);
  app.description("Draws segmentation masks into videos, through a render plug-in");
  app.require_subcommand(1);
  app.set_version_flag("--version", versionText,
                       "Print the versions of the program and its libraries, and the device, and exit");
  app.footer(
      "Exit codes: 0 done; 1 some jobs of a batch failed; 2 bad input or a failure, nothing was written; 3 "
      "done, but with --strict some detection was not drawn or the input was damaged; 130 interrupted, what "
      "render had done so far was written; 141 nobody reads the output any more.");
  Commands commands{};
  commands.render = addRender(app, options.render);
  commands.explain = addExplain(app, options.explain);
  commands.import = addImport(app, options.import);
  commands.mask = addMask(app, options.mask);
  commands.batch = addBatch(app, options.batch);
  addInspect(app, options.inspectedPlugin);
  return commands;
}

int parseAndRun(int argc, char** argv) {
  CLI::App app;
  Options options;
  const Commands commands = addAll(app, options);
  // CLI11 would report a misspelt command as "a subcommand is required".
  const std::string first = argc > 1 ? argv[1] : "-";
  if (first[0] != '-' && !findCommand(app, first)) {
    return report("there is no command '" + first +
                  "', only render, explain, import, mask, batch and inspect (see segmask --help)");
  }
  const std::string unknown = unknownOption(app, argc, argv);
  if (!unknown.empty()) return report(unknown);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {  // --help
    const int exitCode = app.exit(success);
    checkStandardOutput();
    return exitCode;
  } catch (const CLI::ParseError& error) {
    return report(textOf(error) + " (see segmask --help)");
  }
  options.render.commandLine.assign(argv, argv + argc);
  if (commands.render->parsed()) return render(options.render);
  if (commands.batch->parsed()) return batch(options.batch);
  const int exitCode = commands.explain->parsed()  ? explain(options.explain)
                       : commands.import->parsed() ? import(options.import.kind, options.import.options)
                       : commands.mask->parsed()   ? mask(options.mask.command, options.mask.options)
                                                   : inspect(options.inspectedPlugin);
  checkStandardOutput();
  return exitCode;
}

RenderOption::Kind kindOf(const CLI::Option& option) {
  using Kind = RenderOption::Kind;
  if (option.get_items_expected_max() == 0) return Kind::Flag;
  const std::string value = option.get_type_name();
  if (value.rfind("FILE", 0) == 0) return Kind::File;
  return value == "JSON" ? Kind::Json : Kind::Value;
}

}  // namespace

int runCommandLine(int argc, char** argv) {
  // Writing to a closed pipe or beyond a file's size limit must fail with an error and not end the process.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  silenceLibav();
  return runReporting([argc, argv] { return parseAndRun(argc, argv); });
}

void describeCommandLine(const std::function<void(const CLI::App&)>& describe) {
  CLI::App app;
  Options options;
  addAll(app, options);
  describe(app);
}

std::vector<RenderOption> renderOptions() {
  const std::vector<std::string> others{"help", "debug", "no-progress", "summary-json", "report"};
  CLI::App app;
  RenderOptions ignored;
  std::vector<RenderOption> options;
  for (const CLI::Option* option : addRender(app, ignored)->get_options()) {
    const std::vector<std::string>& names = option->get_lnames();
    if (names.empty() || std::find(others.begin(), others.end(), names.front()) != others.end()) continue;
    options.push_back({names.front(), kindOf(*option), option->get_required()});
  }
  return options;
}

RenderOptions parseRenderOptions(const std::vector<std::string>& arguments) {
  CLI::App app;
  RenderOptions options;
  CLI::App* const render = addRender(app, options);
  try {
    // The parser takes them from the end.
    render->parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& error) {
    throw UserError(error.what());
  }
  return options;
}

int runReporting(const std::function<int()>& body) {
  try {
    return body();
  } catch (const ClosedPipe&) {
    return kExitClosedPipe;
  } catch (const std::bad_alloc&) {
    return report("out of memory");
  } catch (const std::exception& error) {
    return report(error.what());
  }
}

}  // namespace segmask
