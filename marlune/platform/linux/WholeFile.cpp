#include "marlune/platform/linux/WholeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace marlune {
namespace {

/// Reads up to `size` bytes; how many there were.
std::size_t readUpTo(int file, char* buffer, std::size_t size) {
  std::size_t have = 0;
  while (have < size) {
    const auto count = uninterrupted([&] { return ::read(file, buffer + have, size - have); });
    if (count <= 0) break;
    have += static_cast<std::size_t>(count);
  }
  return have;
}

std::size_t fillFrom(int file, Bytes& bytes, std::size_t size) {
#ifdef __cpp_lib_string_resize_and_overwrite
  // Filling the bytes with zeros first would take as long as reading them.
  bytes.resize_and_overwrite(
      size, [file](char* buffer, std::size_t capacity) { return readUpTo(file, buffer, capacity); });
  return bytes.size();
#else
  bytes.resize(size);
  return readUpTo(file, bytes.data(), size);
#endif
}

}  // namespace

std::optional<Bytes> readWholeFile(const std::string& path) {
  // Not blocking, or opening a pipe that nobody writes to would wait for ever before it can be refused.
  const FileDescriptor file(
      uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK); }));
  if (!file) return std::nullopt;
  struct stat status {};
  if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  if (status.st_size < 0 || static_cast<std::size_t>(status.st_size) > largestFile) return std::nullopt;

  const auto size = static_cast<std::size_t>(status.st_size);
  Bytes bytes;
  // An end before the size is a file cut short under our hands: half of it is nobody's content.
  if (fillFrom(file.get(), bytes, size) != size) return std::nullopt;
  return bytes;
}

bool isPlainName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

bool FileDescriptor::close() {
  if (value_ < 0) return true;
  // Never repeated: Linux has released the descriptor even when it says that it was interrupted.
  return ::close(std::exchange(value_, -1)) == 0 || errno == EINTR;
}

}  // namespace marlune
