#pragma once

#include <optional>
#include <string>

#include "core/SwJsonObject.h"
#include "src/batch/BatchJob.h"

namespace segmask {

/// Where the record of an output stands: beside it.
std::string recordPathOf(const std::string& output);

/// Whether an output is a sequence of images, name_%04d.png, and not one file.
bool isSequence(const std::string& output);

/// The files that go into a job, by the option that names them ("plugin" always), each an object with "path",
/// "size" and "mtime_ns". Throws UserError.
SwJsonObject inputFacts(const BatchJob& job);

/// Adds "sha256" to each of them. Reads the files. Throws UserError.
void addDigests(SwJsonObject& inputs);

/// The files that came out of a job, by option: how many "files", and for a single one its "size". Null when
/// one is missing.
SwJsonValue outputFacts(const BatchJob& job);

/// What a job was done from and what came of it, kept beside its output as one JSON object (docs/formats.md).
struct JobRecord {
  SwJsonObject inputs;   ///< of inputFacts, with digests
  SwJsonValue outputs;   ///< of outputFacts
  SwJsonObject summary;  ///< of summaryJson
  int exitCode = 0;
  double seconds = 0;
};

/// The record's text, with a line end.
std::string recordText(const BatchJob& job, const JobRecord& record);

/// The record beside the job's output. Empty when there is none, or none of this version of the program, with
/// these settings and with these outputs as they stand.
std::optional<JobRecord> readRecord(const BatchJob& job);

/// Whether a job's inputs are those of its record.
enum class InputsAre {
  Same,      ///< by size and time of change
  Touched,   ///< a time differs, so the digests decide
  Different  ///< a size differs
};
InputsAre compareInputs(const SwJsonObject& now, const SwJsonObject& recorded);

/// Whether all digests are those of the record.
bool haveSameDigests(const SwJsonObject& now, const SwJsonObject& recorded);

/// Reads a file that holds one JSON object. Empty when it does not.
std::optional<SwJsonObject> readJsonFile(const std::string& path);

}  // namespace segmask
