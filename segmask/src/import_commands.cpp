#include "src/import_commands.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "detection/class_color.h"
#include "import/importers.h"
#include "io/FileDescriptor.h"
#include "io/Interrupt.h"
#include "io/TextOutput.h"
#include "io/UserError.h"
#include "io/file_names.h"
#include "io/reading.h"
#include "src/commands.h"
#include "src/messages.h"
#include "video/pictures.h"

namespace segmask {
namespace {

ClassBy classByOf(const std::string& word) {
  if (word == "category") return ClassBy::Category;
  if (word == "instance") return ClassBy::Instance;
  if (word == "track") return ClassBy::Track;
  throw UserError("--class-by: '" + word + "' is neither category, instance nor track");
}

bool isJson(const std::string& legend) {
  const std::string ending = lowerCaseEnding(legend);
  if (ending == ".json" || ending == ".csv") return ending == ".json";
  throw UserError(legend + ": a legend is a .json or .csv file");
}

/// The PNG files of a folder, whatever their names say.
std::vector<std::string> masksOf(const std::string& folder) {
  std::vector<std::string> masks;
  for (const std::string& name : fileNames(folder)) {
    if (lowerCaseEnding(name) == ".png") masks.push_back((std::filesystem::path(folder) / name).string());
  }
  return masks;
}

/// Throws UserError when `file`, which `option` names, is one that the import reads.
void checkReplacesNothing(ImportKind kind, const ImportOptions& options, const char* option,
                          const std::string& file) {
  if (file == kStandardStream) return;
  const auto refuseAnyOf = [&](const std::vector<std::string>& inputs, const char* what) {
    const auto isIt = [&](const std::string& input) { return isSameFile(file, input); };
    if (std::none_of(inputs.begin(), inputs.end(), isIt)) return;
    throw UserError(file + ": " + option + " would replace " + what);
  };
  refuseAnyOf(kind == ImportKind::Masks ? masksOf(options.source) : std::vector{options.source},
              "what is imported");
  if (options.images) refuseAnyOf(picturesOf(*options.images), "a picture of --images");
}

void checkRoles(ImportKind kind, const ImportOptions& options) {
  checkReplacesNothing(kind, options, "--output", options.output);
  if (!options.legend) return;
  static_cast<void>(isJson(*options.legend));
  checkReplacesNothing(kind, options, "--legend", *options.legend);
  if (isSamePath(*options.legend, options.output) || isSameFile(*options.legend, options.output)) {
    throw UserError(*options.legend + ": --legend and --output are the same file");
  }
}

PassedOver importAll(ImportKind kind, const ImportOptions& options, DetectionLines& lines,
                     ClassTable& classes) {
  ImportSource source;
  source.path = options.source;
  source.images = options.images;
  source.classBy = classByOf(options.classBy.value_or(kind == ImportKind::Coco ? "category" : "track"));
  if (kind == ImportKind::Coco) return importCoco(source, lines, classes);
  return importMasks(source, options.pattern, lines, classes);
}

/// What is no error, but hardly meant so.
void warnOf(ImportKind kind, const PassedOver& passedOver, const ClassTable& classes) {
  constexpr std::size_t kColors = seg_mask::kPalette.size();
  if (passedOver.count > 0) {
    const bool isOne = passedOver.count == 1;
    const std::string what =
        kind == ImportKind::Coco ? (isOne ? " annotation" : " annotations") : (isOne ? " file" : " files");
    warn(passedOver.first + ": " + std::to_string(passedOver.count) + what +
         (kind == ImportKind::Coco ? " without a segmentation" : " without a pixel inside") +
         (isOne ? " was passed over" : " were passed over, this one first"));
  }
  if (classes.names().size() > kColors) {
    warn(std::to_string(classes.names().size()) + " classes share " + std::to_string(kColors) + " colours");
  }
}

std::string summaryOf(const ImportOptions& options, const DetectionLines& lines, const ClassTable& classes) {
  std::ostringstream text;
  text << "frames        " << lines.frames() << "\n"
       << "detections    " << lines.detections() << "\n"
       << "classes       " << classes.names().size() << "\n"
       << "output        " << oneLine(options.output) << "\n";
  if (options.legend) text << "legend        " << oneLine(*options.legend) << "\n";
  return text.str();
}

int reportInterrupt() {
  tell("interrupted; nothing was written");
  return kExitInterrupted;
}

int importUninterrupted(ImportKind kind, const ImportOptions& options) {
  TextOutput output(options.output);
  std::optional<TextOutput> legend;
  if (options.legend) legend.emplace(*options.legend);
  DetectionLines lines(output, kind == ImportKind::Coco ? "coco" : "masks");
  ClassTable classes;
  const PassedOver passedOver = importAll(kind, options, lines, classes);
  if (Interrupt::requested()) return reportInterrupt();
  if (legend) legend->write(legendText(classes, isJson(*options.legend)));
  if (legend) legend->finish();
  output.finish();
  if (legend) legend->commit();
  output.commit();
  warnOf(kind, passedOver, classes);
  if (options.output != kStandardStream) printSummary(summaryOf(options, lines, classes));
  return kExitDone;
}

}  // namespace

int import(ImportKind kind, const ImportOptions& options) {
  const Interrupt interrupt;
  checkRoles(kind, options);
  try {
    return importUninterrupted(kind, options);
  } catch (const UserError&) {
    // What the request to stop has cut short looks like bad input.
    if (!Interrupt::requested()) throw;
    return reportInterrupt();
  }
}

}  // namespace segmask
