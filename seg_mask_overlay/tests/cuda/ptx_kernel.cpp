#include "tests/cuda/ptx_kernel.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace ptx {
namespace {

using Compute = Bits (*)(Bits, Bits, Bits);

float asFloat(Bits bits) {
  const auto word = static_cast<std::uint32_t>(bits);
  float value;
  std::memcpy(&value, &word, sizeof value);
  return value;
}

Bits bitsOf(float value) {
  std::uint32_t word;
  std::memcpy(&word, &value, sizeof word);
  return word;
}

std::int32_t asInt(Bits bits) {
  return static_cast<std::int32_t>(bits);
}
Bits word(Bits bits) {
  return static_cast<std::uint32_t>(bits);
}
Bits half(Bits bits) {
  return static_cast<std::uint16_t>(bits);
}
/// Of a predicate, which a number may stand for too: 0 or 1.
Bits truth(Bits bits) {
  return Bits{bits != 0};
}
Bits extended(Bits bits) {
  return static_cast<Bits>(std::int64_t{asInt(bits)});
}

/// The value of that type at an address, the bits above it zero.
template <class T>
Bits at(Bits address) {
  T value;
  std::memcpy(&value, reinterpret_cast<const void*>(address), sizeof value);
  return static_cast<Bits>(value);
}

/// The integer part; what does not fit becomes the nearest number that does, a NaN 0.
Bits cutToUnsigned(float value) {
  if (!(value > 0.0F)) return 0;
  return value < 4294967296.0F ? static_cast<std::uint32_t>(value) : 0xFFFFFFFF;
}

// What the compilers use for these kernels, no more.
const std::map<std::string_view, Compute>& computations() {
  static const std::map<std::string_view, Compute> all = {
      {"ld.param.u8", [](Bits a, Bits, Bits) { return at<uint8_t>(a); }},
      {"ld.param.u32", [](Bits a, Bits, Bits) { return at<uint32_t>(a); }},
      {"ld.param.u64", [](Bits a, Bits, Bits) { return at<uint64_t>(a); }},
      {"ld.param.f32", [](Bits a, Bits, Bits) { return at<uint32_t>(a); }},
      {"ld.global.u8", [](Bits a, Bits, Bits) { return at<uint8_t>(a); }},
      {"ld.global.nc.u8", [](Bits a, Bits, Bits) { return at<uint8_t>(a); }},
      {"ld.global.nc.u32", [](Bits a, Bits, Bits) { return at<uint32_t>(a); }},
      {"ld.global.nc.s32", [](Bits a, Bits, Bits) { return at<uint32_t>(a); }},
      {"ld.global.nc.s64", [](Bits a, Bits, Bits) { return at<uint64_t>(a); }},
      {"mov.u16", [](Bits a, Bits, Bits) { return half(a); }},
      {"mov.u32", [](Bits a, Bits, Bits) { return word(a); }},
      {"mov.pred", [](Bits a, Bits, Bits) { return truth(a); }},
      {"mov.f32", [](Bits a, Bits, Bits) { return a; }},
      {"cvta.to.global.u64", [](Bits a, Bits, Bits) { return a; }},
      {"cvt.u16.u32", [](Bits a, Bits, Bits) { return half(a); }},
      {"cvt.u32.u64", [](Bits a, Bits, Bits) { return word(a); }},
      {"cvt.u64.u32", [](Bits a, Bits, Bits) { return word(a); }},
      {"cvt.s64.s32", [](Bits a, Bits, Bits) { return extended(a); }},
      {"cvt.rn.f32.u16", [](Bits a, Bits, Bits) { return bitsOf(static_cast<float>(half(a))); }},
      {"cvt.rzi.u32.f32", [](Bits a, Bits, Bits) { return cutToUnsigned(asFloat(a)); }},
      {"add.s32", [](Bits a, Bits b, Bits) { return word(a + b); }},
      {"add.s64", [](Bits a, Bits b, Bits) { return a + b; }},
      {"mul.lo.s64", [](Bits a, Bits b, Bits) { return a * b; }},
      {"mul.wide.u32", [](Bits a, Bits b, Bits) { return word(a) * word(b); }},
      {"mul.wide.s32", [](Bits a, Bits b, Bits) { return extended(a) * extended(b); }},
      {"mad.lo.s32", [](Bits a, Bits b, Bits c) { return word(a * b + c); }},
      {"and.b16", [](Bits a, Bits b, Bits) { return half(a & b); }},
      {"and.b32", [](Bits a, Bits b, Bits) { return word(a & b); }},
      {"or.b32", [](Bits a, Bits b, Bits) { return word(a | b); }},
      {"and.pred", [](Bits a, Bits b, Bits) { return truth(a) & truth(b); }},
      {"or.pred", [](Bits a, Bits b, Bits) { return truth(a) | truth(b); }},
      {"xor.pred", [](Bits a, Bits b, Bits) { return truth(a) ^ truth(b); }},
      {"not.pred", [](Bits a, Bits, Bits) { return truth(a) ^ 1; }},
      {"selp.b32", [](Bits a, Bits b, Bits c) { return word(c != 0 ? a : b); }},
      {"selp.u32", [](Bits a, Bits b, Bits c) { return word(c != 0 ? a : b); }},
      {"shl.b32", [](Bits a, Bits b, Bits) { return b < 32 ? word(a << b) : 0; }},
      {"shl.b64", [](Bits a, Bits b, Bits) { return b < 64 ? a << b : 0; }},
      {"shr.u32", [](Bits a, Bits b, Bits) { return b < 32 ? word(a) >> b : 0; }},
      // The sign comes in from above.
      {"shr.s32",
       [](Bits a, Bits b, Bits) { return word(static_cast<Bits>(asInt(a) >> std::min(b, Bits{31}))); }},
      {"shr.s64", [](Bits a, Bits b,
                     Bits) { return static_cast<Bits>(static_cast<int64_t>(a) >> std::min(b, Bits{63})); }},
      {"add.rn.f32", [](Bits a, Bits b, Bits) { return bitsOf(asFloat(a) + asFloat(b)); }},
      {"sub.rn.f32", [](Bits a, Bits b, Bits) { return bitsOf(asFloat(a) - asFloat(b)); }},
      {"mul.rn.f32", [](Bits a, Bits b, Bits) { return bitsOf(asFloat(a) * asFloat(b)); }},
      {"fma.rn.f32",
       [](Bits a, Bits b, Bits c) { return bitsOf(std::fma(asFloat(a), asFloat(b), asFloat(c))); }},
      {"setp.eq.s16", [](Bits a, Bits b, Bits) { return Bits{half(a) == half(b)}; }},
      {"setp.ne.s16", [](Bits a, Bits b, Bits) { return Bits{half(a) != half(b)}; }},
      {"setp.eq.b32", [](Bits a, Bits b, Bits) { return Bits{word(a) == word(b)}; }},
      {"setp.eq.s32", [](Bits a, Bits b, Bits) { return Bits{word(a) == word(b)}; }},
      {"setp.ne.s32", [](Bits a, Bits b, Bits) { return Bits{word(a) != word(b)}; }},
      {"setp.lt.s32", [](Bits a, Bits b, Bits) { return Bits{asInt(a) < asInt(b)}; }},
      {"setp.le.s32", [](Bits a, Bits b, Bits) { return Bits{asInt(a) <= asInt(b)}; }},
      {"setp.lt.u32", [](Bits a, Bits b, Bits) { return Bits{word(a) < word(b)}; }},
      {"setp.ge.u32", [](Bits a, Bits b, Bits) { return Bits{word(a) >= word(b)}; }},
      {"setp.ge.s32", [](Bits a, Bits b, Bits) { return Bits{asInt(a) >= asInt(b)}; }},
      {"setp.gt.s32", [](Bits a, Bits b, Bits) { return Bits{asInt(a) > asInt(b)}; }},
      {"setp.ge.f32", [](Bits a, Bits b, Bits) { return Bits{asFloat(a) >= asFloat(b)}; }},
      // "u": or if one is a NaN.
      {"setp.leu.f32", [](Bits a, Bits b, Bits) { return Bits{!(asFloat(a) > asFloat(b))}; }},
  };
  return all;
}

std::string trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(" \t\n");
  if (begin == std::string::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t\n") + 1 - begin);
}

/// Cuts the text up to `separator` off the front of `text`; all of it when there is none.
std::string cutOff(std::string& text, char separator) {
  const std::size_t end = text.find(separator);
  const std::string front = trimmed(text.substr(0, end));
  text = end == std::string::npos ? std::string() : trimmed(text.substr(end + 1));
  return front;
}

std::string withoutComments(std::string_view text) {
  std::string kept;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    kept += std::string(line.substr(0, line.find("//"))) + '\n';
    text.remove_prefix(std::min(text.size(), line.size() + 1));
  }
  return kept;
}

/// The statements of the kernel of that name: what stands between its braces.
std::string bodyOf(std::string_view text, const std::string& name) {
  constexpr std::string_view kEntry = ".entry ";
  for (std::size_t at = text.find(kEntry); at != text.npos; at = text.find(kEntry, at + 1)) {
    const std::string_view symbol = text.substr(at, text.find('(', at) - at);
    if (symbol.find(name) == symbol.npos) continue;
    const std::size_t begin = text.find('{', at);
    const std::size_t end = text.find("\n}", begin);
    if (end != text.npos) return withoutComments(text.substr(begin + 1, end - begin - 1));
  }
  throw std::runtime_error("no kernel " + name);
}

std::string parameterName(std::size_t i) {
  return "parameter " + std::to_string(i);
}

/// Zero, always: what an operand without a register adds its number to.
constexpr const char* kZero = "zero";

}  // namespace

Kernel::Kernel(std::string_view text, const std::string& name)
    : blockX_(registerNamed("%ctaid.x")),
      blockY_(registerNamed("%ctaid.y")),
      threadX_(registerNamed("%tid.x")),
      threadY_(registerNamed("%tid.y")) {
  std::string statements = bodyOf(text, name);
  while (!statements.empty()) readStatement(cutOff(statements, ';'));
  resolveBranches();
}

void Kernel::readStatement(std::string statement) {
  while (statement[0] == '$') labels_[cutOff(statement, ':')] = instructions_.size();
  if (statement.empty() || statement.compare(0, 4, ".reg") == 0) return;  // the end, or a declaration
  Instruction instruction = {};
  if (statement[0] == '@') {
    std::string condition = cutOff(statement, ' ').substr(1);
    instruction.onlyIf = true;
    instruction.negated = condition[0] == '!';
    instruction.condition = registerNamed(condition.substr(instruction.negated ? 1 : 0));
  }
  for (char& c : statement) c = c == '\t' ? ' ' : c;
  const std::string operation = cutOff(statement, ' ');
  std::vector<std::string> operands;
  while (!statement.empty()) operands.push_back(cutOff(statement, ','));
  constexpr std::string_view kTwo = ".v2";
  const std::size_t two = operation.find(kTwo);
  if (two == std::string::npos) {
    readInstruction(instruction, operation, operands);
    instructions_.push_back(instruction);
    return;
  }
  // Two words side by side: "{%r1", "%r2}" and where the first one is.
  const std::string each = std::string(operation).erase(two, kTwo.size());
  readInstruction(instruction, each, {operands.at(0).substr(1), operands.at(2)});
  instructions_.push_back(instruction);
  readInstruction(instruction, each, {cutOff(operands.at(1), '}'), operands.at(2)});
  instruction.operands[0].number += sizeof(uint32_t);
  instructions_.push_back(instruction);
}

void Kernel::readInstruction(Instruction& instruction, std::string_view operation,
                             const std::vector<std::string>& operands) {
  if (operation == "ret") {
    instruction.kind = Instruction::Kind::kReturn;
    return;
  }
  if (operation == "bra" || operation == "bra.uni") {
    instruction.kind = Instruction::Kind::kBranch;
    branches_[instructions_.size()] = operands.at(0);
    return;
  }
  std::size_t firstRead = 1;
  if (operation == "st.global.u8") {
    instruction.kind = Instruction::Kind::kStore;
    firstRead = 0;
  } else {
    instruction.kind = Instruction::Kind::kCompute;
    const auto known = computations().find(operation);
    if (known == computations().end()) {
      throw std::runtime_error("an instruction that is not known here: " + std::string(operation));
    }
    instruction.compute = known->second;
    instruction.result = registerNamed(operands.at(0));
  }
  for (std::size_t i = firstRead; i < operands.size(); ++i) {
    instruction.operands[i - firstRead] = operandNamed(operands[i]);
  }
}

/// "%r1", "%tid.x", "17", "0f3F800000" (the bits of a number), "[%rd1]", "[%rd1+1]", "[name_param_2]" or
/// "[name_param_2+8]".
Operand Kernel::operandNamed(const std::string& text) {
  if (text[0] == '[') {
    constexpr std::string_view kParameter = "_param_";
    std::string address = text.substr(1, text.size() - 2);
    std::string base = cutOff(address, '+');
    const std::size_t parameter = base.rfind(kParameter);
    if (parameter != std::string::npos)
      base = parameterName(std::stoul(base.substr(parameter + kParameter.size())));
    return {registerNamed(base), address.empty() ? 0 : std::stoull(address)};
  }
  if (text[0] == '%') return {registerNamed(text), 0};
  if (text.compare(0, 2, "0f") == 0) return {registerNamed(kZero), std::stoull(text.substr(2), nullptr, 16)};
  return {registerNamed(kZero), static_cast<Bits>(std::stoll(text))};
}

std::size_t Kernel::registerNamed(const std::string& name) {
  return registers_.emplace(name, registers_.size()).first->second;
}

void Kernel::resolveBranches() {
  for (const auto& [branch, label] : branches_) instructions_[branch].result = labels_.at(label);
}

std::vector<Bits> Kernel::registersFor(const launch_recorder::Launch& launch) const {
  std::vector<Bits> registers(registers_.size());
  const auto preset = [&](const std::string& name, Bits value) {
    const auto used = registers_.find(name);
    if (used != registers_.end()) registers[used->second] = value;
  };
  preset("%ntid.x", launch.block.x);
  preset("%ntid.y", launch.block.y);
  for (std::size_t i = 0; i < launch.parameters.size(); ++i) {
    const char* const argument = launch.parameterBlock.data() + launch.parameters[i].offset;
    preset(parameterName(i), reinterpret_cast<Bits>(argument));
  }
  return registers;
}

void Kernel::run(std::vector<Bits> registers, const launch_recorder::Extent& block,
                 const launch_recorder::Extent& thread) const {
  registers[blockX_] = block.x;
  registers[blockY_] = block.y;
  registers[threadX_] = thread.x;
  registers[threadY_] = thread.y;
  const auto valueOf = [&](const Operand& operand) { return registers[operand.reg] + operand.number; };
  for (std::size_t at = 0; at < instructions_.size();) {
    const Instruction& now = instructions_[at++];
    if (now.onlyIf && (registers[now.condition] != 0) == now.negated) continue;
    const Bits a = valueOf(now.operands[0]);
    const Bits b = valueOf(now.operands[1]);
    switch (now.kind) {
      case Instruction::Kind::kCompute:
        registers[now.result] = now.compute(a, b, valueOf(now.operands[2]));
        break;
      case Instruction::Kind::kStore:
        *reinterpret_cast<unsigned char*>(a) = static_cast<unsigned char>(b);
        break;
      case Instruction::Kind::kBranch:
        at = now.result;
        break;
      case Instruction::Kind::kReturn:
        return;
    }
  }
}

}  // namespace ptx
