#include "marlune/platform/linux/WholeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace marlune {

namespace {

/// A regular file, open for reading.
struct OpenFile {
  FileDescriptor descriptor;
  std::size_t size = 0;
};

std::optional<OpenFile> openFile(const std::string& path) {
  // Not blocking, or opening a pipe that nobody writes to would wait for ever before it can be refused.
  FileDescriptor file(
      uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK); }));
  if (!file) return std::nullopt;
  struct stat status {};
  if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  if (status.st_size < 0 || static_cast<std::size_t>(status.st_size) > largestFile) return std::nullopt;
  return OpenFile{std::move(file), static_cast<std::size_t>(status.st_size)};
}

// An end before the size is a file cut short under our hands: half of it is nobody's content.
bool readAll(const OpenFile& file, char* into) {
  std::size_t have = 0;
  while (have < file.size) {
    const auto count =
        uninterrupted([&] { return ::read(file.descriptor.get(), into + have, file.size - have); });
    if (count <= 0) return false;
    have += static_cast<std::size_t>(count);
  }
  return true;
}

}  // namespace

std::optional<Bytes> readWholeFile(const std::string& path) {
  const auto file = openFile(path);
  if (!file) return std::nullopt;
  std::optional<Bytes> bytes(std::in_place, file->size, '\0');
  if (!readAll(*file, bytes->data())) bytes.reset();
  return bytes;
}

std::optional<std::size_t> readWholeFileInto(const std::string& path, std::span<char> room) {
  const auto file = openFile(path);
  if (!file) return std::nullopt;
  if (file->size <= room.size() && !readAll(*file, room.data())) return std::nullopt;
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
