#pragma once

// Runs a kernel on the host as the CUDA compiler wrote it down in PTX, the text that the machine code is made
// from: the arithmetic, the addresses and the tests of bounds are those that the compiler made for the
// device.

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tests/cuda/launch_recorder.h"

namespace ptx {

/// The bits of a value of any type, the upper ones zero.
using Bits = std::uint64_t;

/// What an instruction reads: a register, a number, or the sum of both.
struct Operand {
  std::size_t reg;
  Bits number;
};

struct Instruction {
  enum class Kind { kCompute, kStore, kBranch, kReturn };

  Kind kind;
  bool onlyIf;            ///< done only if `condition` holds
  bool negated;           ///< or rather if it does not
  std::size_t condition;  ///< a register
  Bits (*compute)(Bits a, Bits b, Bits c);
  std::size_t result;  ///< the register that a computation sets, or the instruction that a branch goes to
  Operand operands[3];
};

/// A kernel of one- or two-dimensional launches.
class Kernel {
 public:
  /// Reads the kernel with `name` in its symbol from the text that a compiler wrote. Throws
  /// std::runtime_error when there is none, or one with an instruction that is not known here, which is
  /// named.
  Kernel(std::string_view text, const std::string& name);

  /// What every thread of a launch of this kernel begins with, among it where the arguments are, in `launch`.
  /// Addresses among the arguments are the host's.
  std::vector<Bits> registersFor(const launch_recorder::Launch& launch) const;

  /// Runs one thread, which begins with `registers`.
  void run(std::vector<Bits> registers, const launch_recorder::Extent& block,
           const launch_recorder::Extent& thread) const;

 private:
  void readStatement(std::string statement);
  void readInstruction(Instruction& instruction, std::string_view operation,
                       const std::vector<std::string>& operands);
  Operand operandNamed(const std::string& text);
  std::size_t registerNamed(const std::string& name);
  void resolveBranches();

  std::vector<Instruction> instructions_;
  std::map<std::string, std::size_t> registers_;  // parameters and indices too, by their names
  std::map<std::string, std::size_t> labels_;
  std::size_t blockX_, blockY_, threadX_, threadY_;  // registers
  std::map<std::size_t, std::string> branches_;      // instructions and where they go to
};

}  // namespace ptx
