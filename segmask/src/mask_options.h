#pragma once

#include <CLI/CLI.hpp>

#include "src/import_commands.h"
#include "src/mask_commands.h"

namespace segmask {

/// `segmask import` on the command line: what it was given once the line is parsed.
struct ImportArguments {
  ImportKind kind = ImportKind::Coco;
  ImportOptions options;
};

/// The same of `segmask mask`.
struct MaskArguments {
  MaskCommand command = MaskCommand::Info;
  MaskOptions options;
};

/// Adds `segmask import coco` and `masks`. `arguments` must live until the line is parsed.
CLI::App* addImport(CLI::App& app, ImportArguments& arguments);

/// Adds `segmask mask encode`, `decode` and `info`.
CLI::App* addMask(CLI::App& app, MaskArguments& arguments);

}  // namespace segmask
