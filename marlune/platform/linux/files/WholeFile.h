#pragma once

#include <sys/stat.h>

#include <cerrno>
#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "marlune/base/Data.h"

namespace marlune {

/// A larger file is not read: nothing the library keeps comes near it, and a mistaken path must not fill the
/// memory.
constexpr std::size_t largestFile = std::size_t{64} << 20;

/// The whole content of a regular file, or nothing. Safe from any thread.
std::optional<Bytes> readWholeFile(const std::string& path);

/// The same into `room`, where it fits: the size of the file in any case, or nothing. Nothing also for a file
/// that `isWanted`, where there is one, does not want.
std::optional<std::size_t> readWholeFileInto(
    const std::string& path, std::span<char> room,
    const std::function<bool(const struct stat&)>& isWanted = nullptr);

/// Can `name` be the name of a file lying directly in a folder?
bool isPlainName(std::string_view name);

/// Runs a system call again for as long as a signal interrupts it.
template <class Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

/// Owns a file descriptor.
class FileDescriptor {
 public:
  explicit FileDescriptor(int value = -1) : value_(value) {}
  ~FileDescriptor() { close(); }
  FileDescriptor(FileDescriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      close();
      value_ = std::exchange(other.value_, -1);
    }
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int get() const { return value_; }
  explicit operator bool() const { return value_ >= 0; }
  /// False when the system could not keep what was written. Closing twice is no fault.
  bool close();

 private:
  int value_;
};

}  // namespace marlune
