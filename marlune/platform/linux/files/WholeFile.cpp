#include "marlune/platform/linux/files/WholeFile.h"

#include <fcntl.h>
#include <unistd.h>

namespace marlune {
namespace {

/// A regular file, open for reading.
struct OpenFile {
  FileDescriptor descriptor;
  std::size_t size = 0;
  struct stat status {};
};

std::optional<OpenFile> openFile(const std::string& path) {
  // Not blocking, or opening a pipe that nobody writes to would wait for ever before it can be refused.
  FileDescriptor file(
      uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK); }));
  if (!file) return std::nullopt;
  struct stat status {};
  if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  if (status.st_size < 0 || static_cast<std::size_t>(status.st_size) > largestFile) return std::nullopt;
  return OpenFile{std::move(file), static_cast<std::size_t>(status.st_size), status};
}

/// Reads up to `size` bytes; how many there were. An end before the file's size means that it is being cut
/// short under our hands: half of it is nobody's content.
std::size_t readUpTo(const OpenFile& file, char* buffer, std::size_t size) {
  std::size_t have = 0;
  while (have < size) {
    const auto count =
        uninterrupted([&] { return ::read(file.descriptor.get(), buffer + have, size - have); });
    if (count <= 0) break;
    have += static_cast<std::size_t>(count);
  }
  return have;
}

std::size_t fill(const OpenFile& file, Bytes& bytes) {
#ifdef __cpp_lib_string_resize_and_overwrite
  // Filling the bytes with zeros first would take as long as reading them.
  bytes.resize_and_overwrite(
      file.size, [&file](char* buffer, std::size_t capacity) { return readUpTo(file, buffer, capacity); });
  return bytes.size();
#else
  bytes.resize(file.size);
  return readUpTo(file, bytes.data(), file.size);
#endif
}

}  // namespace

std::optional<Bytes> readWholeFile(const std::string& path) {
  const auto file = openFile(path);
  if (!file) return std::nullopt;
  std::optional<Bytes> bytes(std::in_place);
  if (fill(*file, *bytes) != file->size) bytes.reset();
  return bytes;
}

std::optional<std::size_t> readWholeFileInto(const std::string& path, std::span<char> room,
                                             const std::function<bool(const struct stat&)>& isWanted) {
  const auto file = openFile(path);
  if (!file || (isWanted && !isWanted(file->status))) return std::nullopt;
  if (file->size <= room.size() && readUpTo(*file, room.data(), file->size) != file->size)
    return std::nullopt;
  return file->size;
}

bool isPlainName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
         name.find('\0') == std::string_view::npos;
}

bool FileDescriptor::close() {
  if (value_ < 0) return true;
  // Never repeated: Linux has released the descriptor even when it says that it was interrupted.
  return ::close(std::exchange(value_, -1)) == 0 || errno == EINTR;
}

}  // namespace marlune
