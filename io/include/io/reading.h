#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "io/FileDescriptor.h"

namespace segmask {

/// Opens `path`, "-" being standard input, to be read more than once and from any place. What cannot be read
/// so, a pipe or a file that is packed by gzip, is copied, unpacked, into a temporary file without a name
/// first. Throws UserError.
///
/// `checkBeginning`, where it is given, sees the first 64 KiB, unpacked, or the whole of a shorter file,
/// before anything is copied, and throws UserError for what is not wanted.
///
/// Once the user has asked to stop the copy may be incomplete.
FileDescriptor openSeekable(const std::string& path,
                            const std::function<void(std::string_view)>& checkBeginning = {});

/// All bytes of a file of at most `most` bytes, "-" being standard input; one that is packed by gzip is
/// unpacked. Throws UserError.
std::string readWhole(const std::string& path, std::size_t most);

/// A file without a name for reading and writing, in the folder that TMPDIR names or in /tmp. It is gone when
/// it is closed. Throws UserError.
FileDescriptor makeUnnamedFile();

/// The names of the files in a folder, sorted by their bytes. Hidden ones and folders are left out. Throws
/// UserError when it is no folder or cannot be read.
std::vector<std::string> fileNames(const std::string& folder);

}  // namespace segmask
