#pragma once

#include <cstddef>

/// The bytes that stand for themselves in a JSON string: all but '"', '\\' and those below 0x20. The parser
/// passes over runs of them and the generator copies such runs; in payloads nearly everything is one.
namespace plain_run {

/// How many of the `size` bytes at `bytes` stand for themselves before the first that does not.
std::size_t length(const char* bytes, std::size_t size) noexcept;

/// The same, a byte at a time: what length() has to agree with.
std::size_t lengthByBytes(const char* bytes, std::size_t size) noexcept;

}  // namespace plain_run
