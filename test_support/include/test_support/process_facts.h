#pragma once

#include <cstddef>
#include <string>

/// What this process has taken of the system, to be compared before and after something.
namespace process_facts {

/// Whether the file is mapped anywhere.
bool isMapped(const std::string& file);

/// How many pieces of memory are mapped.
std::size_t mappings();

/// How many file descriptors are open.
std::size_t openFiles();

/// Bytes that are allocated and not given back. Means nothing where a sanitizer stands in for the allocator.
std::size_t allocatedBytes();

}  // namespace process_facts
