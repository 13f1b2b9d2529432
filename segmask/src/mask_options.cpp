#include "src/mask_options.h"

namespace segmask {
namespace {

void addImportOptions(CLI::App& command, ImportOptions& options, const char* defaultClassBy) {
  command
      .add_option(
          "--images", options.images,
          "The folder of the pictures: they are the frames, sorted by name, and one that is missing is "
          "an error")
      ->type_name("FOLDER");
  command
      .add_option("--class-by", options.classBy,
                  std::string("What has a colour of its own: a category, an instance (counted in each frame) "
                              "or a track, the same object in all frames (default: ") +
                      defaultClassBy + ")")
      ->type_name("category|instance|track");
  command.add_option("--legend", options.legend, "Also write which number and colour each class has")
      ->type_name("FILE.json|.csv");
  command.add_option("-o,--output", options.output, "Where the lines go; - is standard output")
      ->required()
      ->type_name("FILE.jsonl");
}

void addCoco(CLI::App& import, ImportArguments& arguments) {
  CLI::App* const coco = import.add_subcommand("coco", "From an annotation file in COCO's format");
  coco->add_option("annotations", arguments.options.source,
                   "Instances or results as JSON, with polygons or run lengths; crowds are drawn as one "
                   "region; may be packed by gzip; - is standard input, which is copied into a temporary "
                   "file first")
      ->required()
      ->type_name("FILE.json");
  addImportOptions(*coco, arguments.options, "category");
  coco->callback([&arguments] { arguments.kind = ImportKind::Coco; });
}

void addMasks(CLI::App& import, ImportArguments& arguments) {
  CLI::App* const masks = import.add_subcommand("masks", "From a folder of PNG files, 0 being outside");
  masks->add_option("folder", arguments.options.source, "The folder of the PNG files")
      ->required()
      ->type_name("FOLDER");
  masks
      ->add_option(
          "--pattern", arguments.options.pattern,
          "What the files' names say: {frame} and {instance} are numbers, {image} the name of a "
          "picture, {category} a text. Without {instance} each value of a file but 0 is an instance, "
          "as in \"{frame}.png\"")
      ->capture_default_str()
      ->type_name("PATTERN");
  addImportOptions(*masks, arguments.options, "track");
  masks->callback([&arguments] { arguments.kind = ImportKind::Masks; });
}

void addMaskCommand(CLI::App& mask, MaskArguments& arguments, const char* name, const char* description,
                    MaskCommand kind) {
  CLI::App* const command = mask.add_subcommand(name, description);
  command
      ->add_option(
          "input", arguments.options.input,
          "PNG file, 0 being outside, mask text, or compact mask as a JSON object; - is standard input")
      ->required()
      ->type_name("FILE");
  command
      ->add_option("--size", arguments.options.size,
                   "Size of the frame, for polygons and masks of a part of it")
      ->type_name("WxH");
  if (kind != MaskCommand::Info) {
    command
        ->add_option("-o,--output", arguments.options.output,
                     "Where the result goes; - is standard output (default: -)")
        ->type_name(kind == MaskCommand::Encode ? "FILE" : "FILE.png");
  }
  command->callback([&arguments, kind] { arguments.command = kind; });
}

}  // namespace

CLI::App* addImport(CLI::App& app, ImportArguments& arguments) {
  CLI::App* const import =
      app.add_subcommand("import", "Make a detections file from COCO annotations or PNG masks");
  import->require_subcommand(1);
  addCoco(*import, arguments);
  addMasks(*import, arguments);
  return import;
}

CLI::App* addMask(CLI::App& app, MaskArguments& arguments) {
  CLI::App* const mask = app.add_subcommand("mask", "Convert or describe a single mask");
  mask->require_subcommand(1);
  addMaskCommand(*mask, arguments, "encode", "A mask as a mask text, SEG1", MaskCommand::Encode);
  addMaskCommand(*mask, arguments, "decode", "A mask as a PNG file, white inside", MaskCommand::Decode);
  addMaskCommand(*mask, arguments, "info", "Say of a mask its form, size, pixels inside and box",
                 MaskCommand::Info);
  return mask;
}

}  // namespace segmask
