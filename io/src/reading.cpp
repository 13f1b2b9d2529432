#include "io/reading.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <string_view>

#include "io/UserError.h"
#include "src/ByteSource.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

constexpr std::size_t kBlockBytes = 1 << 16;

bool isRegularFile(const std::string& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

/// Fills the block; to its end only before the end of the source.
std::size_t readBlock(ByteSource& source, std::array<char, kBlockBytes>& block) {
  std::size_t done = 0;
  while (const std::size_t size = source.read(block.data() + done, block.size() - done)) {
    done += size;
    if (done == block.size()) break;
  }
  return done;
}

}  // namespace

FileDescriptor makeUnnamedFile() {
  std::error_code error;
  const fs::path folder = fs::temp_directory_path(error);
  if (error) throw UserError("the folder for temporary files: " + error.message());
  std::string pattern = (folder / "segmask-XXXXXX").string();
  FileDescriptor file(mkostemp(pattern.data(), O_CLOEXEC));
  if (!file) throw systemError(folder.string(), errno);
  unlink(pattern.c_str());
  return file;
}

FileDescriptor openSeekable(const std::string& path,
                            const std::function<void(std::string_view)>& checkBeginning) {
  ByteSource source(path);
  std::array<char, kBlockBytes> block;
  std::size_t size = readBlock(source, block);
  if (checkBeginning) checkBeginning({block.data(), size});
  if (path != kStandardStream && isRegularFile(path) && !source.isPacked()) return openForReading(path);
  FileDescriptor copy = makeUnnamedFile();
  for (; size > 0; size = readBlock(source, block)) {
    writeFully(copy.get(), block.data(), size, "the temporary copy of " + source.name());
  }
  if (lseek(copy.get(), 0, SEEK_SET) != 0) throw systemError("the temporary copy of " + source.name(), errno);
  return copy;
}

std::string readWhole(const std::string& path, std::size_t most) {
  ByteSource source(path);
  std::string bytes;
  std::array<char, kBlockBytes> block;
  while (const std::size_t size = source.read(block.data(), block.size())) {
    if (bytes.size() + size > most) {
      throw UserError(source.name() + ": has more than " + std::to_string(most >> 20) + " MiB");
    }
    bytes.append(block.data(), size);
  }
  return bytes;
}

std::vector<std::string> fileNames(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    std::string name = entry->path().filename().string();
    std::error_code ignored;
    if (name[0] != '.' && entry->is_regular_file(ignored)) names.push_back(std::move(name));
  }
  if (error) throw UserError(folder + ": " + error.message());
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace segmask
