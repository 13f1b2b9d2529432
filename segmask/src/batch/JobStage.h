#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "io/StagedOutput.h"
#include "src/batch/BatchJob.h"
#include "src/batch/JobRecord.h"
#include "src/batch/VideoPiece.h"

namespace segmask {

/// Where the files of a job are until it has ended well: staged beside their final names, so that a process
/// that fails, is interrupted or is killed leaves none of them. The pieces of a job that is split are in a
/// hidden folder of their own, beside it.
class JobStage {
 public:
  /// Videos of more frames than this are split into pieces of so many.
  struct Split {
    uint64_t size = 0;
    bool useIndex = true;  ///< whether pieces may begin to decode elsewhere than at the first frame
  };

  /// Throws UserError when there is no place for the outputs.
  JobStage(const BatchJob& job, StagedOutput::LeftBehind leftBehind, std::optional<Split> split);

  /// What run() returns when nothing had to be drawn.
  static constexpr int kUnchanged = 4;

  /// What run() returns when it has not drawn but planned pieces.
  static constexpr int kPlanned = 5;

  /// What runPiece() returns when the job has to be done without an index.
  static constexpr int kNotAsIndexed = 6;

  /// The body of the job's process. Returns the exit code: that of render(), kUnchanged where the inputs are
  /// those of `recorded` by their digests, or kPlanned. Errors are on standard error.
  int run(const SwJsonObject* recorded) const;

  /// To be called after kPlanned: takes over the pieces, and returns how many there are. Throws UserError.
  std::size_t takePlan();

  /// The bodies of the processes of a piece and, when all have ended with 0, of their join. They return exit
  /// codes as run() does.
  int runPiece(std::size_t number) const;
  int runJoin() const;

  /// To be called when run() or runJoin() has ended well in its process: gives the outputs their names, then
  /// writes the record beside them. Throws UserError.
  JobRecord commit(int exitCode, double seconds);

  /// To be called after kUnchanged: writes the record anew, with the times of the inputs as they are now.
  /// Throws UserError.
  JobRecord refresh(JobRecord record) const;

  /// A message of the process, with the files by their final names.
  std::string withFinalNames(std::string message) const;

 private:
  RenderOptions stagedOptions() const;
  bool plan() const;
  std::string piecePath(std::size_t number) const;
  std::string joinedPath() const;
  void stageJoined() const;
  void checkInputsAreThoseOfTheDigests() const;
  PieceOptions pieceOptions(std::size_t number) const;
  void writeRecord(const JobRecord& record) const;
  std::string inputsPath() const { return output_.pathOf("inputs.json"); }
  std::string summaryPath() const { return output_.pathOf("summary.json"); }
  std::string planPath() const { return output_.pathOf("pieces.json"); }

  const BatchJob& job_;
  StagedOutput output_;
  std::optional<StagedOutput> sheet_;
  std::optional<Split> split_;
  std::optional<StagedOutput> pieceFolder_;  ///< never committed
  std::vector<VideoPiece> pieces_;
};

}  // namespace segmask
