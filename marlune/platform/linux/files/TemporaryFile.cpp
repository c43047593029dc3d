#include "marlune/platform/linux/files/TemporaryFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/compile.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <ctime>
#include <memory>

namespace marlune {
namespace {

/// A name in `folder` that is unique among the threads of all processes that share a folder. The process
/// number alone does not do: two containers, or two machines on one network folder, may have the same.
std::string uniquePath(std::string_view folder) {
  static const std::uint64_t origin = [] {
    std::uint64_t random = 0;
    if (::getrandom(&random, sizeof random, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof random)) {
      timespec now{};
      ::clock_gettime(CLOCK_REALTIME, &now);
      random =
          static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<std::uint64_t>(now.tv_nsec);
    }
    return random;
  }();
  static std::atomic<std::uint64_t> counter{0};
  // The process number is asked each time because a forked child inherits the rest.
  return fmt::format(FMT_COMPILE("{}/{}{:x}-{:x}-{:x}"), folder, TemporaryFile::prefix, ::getpid(), origin,
                     counter++);
}

}  // namespace

TemporaryFile::TemporaryFile(std::string_view folder) : path_(uniquePath(folder)) {
  constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
  file_ = FileDescriptor(uninterrupted([&] { return ::open(path_.c_str(), flags, 0666); }));
  if (!file_) {
    path_.clear();
    return;
  }
  // Not waited for: who holds the lock of a file that is a moment old is about to remove it as an orphan, and
  // the rename will show that. A file system without locks has no sweeps either.
  ::flock(file_.get(), LOCK_EX | LOCK_NB);
}

TemporaryFile::~TemporaryFile() {
  if (!path_.empty()) ::unlink(path_.c_str());
}

bool TemporaryFile::fill(std::string_view bytes, const std::optional<timespec>& modified, bool flush) {
  while (!bytes.empty()) {
    const auto count = uninterrupted([&] { return ::write(file_.get(), bytes.data(), bytes.size()); });
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  if (modified) {
    const timespec times[2] = {*modified, *modified};
    if (::futimens(file_.get(), times) != 0) return false;
  }
  return !flush || uninterrupted([&] { return ::fdatasync(file_.get()); }) == 0;
}

TemporaryFile::Outcome TemporaryFile::rename(const std::string& path) {
  // Closed before it takes the name, because some file systems report a full disk only now. A second
  // descriptor keeps the lock, or a sweep could slip in between.
  const FileDescriptor lock(::fcntl(file_.get(), F_DUPFD_CLOEXEC, 0));
  if (!file_.close()) return Outcome::failed;
  if (::rename(path_.c_str(), path.c_str()) == 0) {
    path_.clear();
    return Outcome::done;
  }
  return errno == ENOENT ? Outcome::vanished : Outcome::failed;
}

void TemporaryFile::sweep(const std::string& folder) {
  struct Close {
    void operator()(DIR* directory) const { ::closedir(directory); }
  };
  const std::unique_ptr<DIR, Close> directory(::opendir(folder.c_str()));
  if (!directory) return;
  const int at = ::dirfd(directory.get());
  // Safe: no other thread reads this stream.
  while (const dirent* entry = ::readdir(directory.get())) {  // NOLINT(concurrency-mt-unsafe)
    const char* name = entry->d_name;
    if (!std::string_view(name).starts_with(prefix)) continue;
    const FileDescriptor file(::openat(at, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (file && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0) ::unlinkat(at, name, 0);
  }
}

}  // namespace marlune
