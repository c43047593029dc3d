#include "marlune/platform/linux/files/LinuxFileSystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <thread>
#include <utility>

#include "marlune/platform/linux/files/TemporaryFile.h"
#include "marlune/platform/linux/files/WholeFile.h"

namespace marlune {
namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

std::int64_t nanoseconds(const timespec& time) {
  return static_cast<std::int64_t>(time.tv_sec) * nanosecondsPerSecond + time.tv_nsec;
}

timespec timespecOf(Date date) {
  // Held to the years that every file system can store as 64-bit seconds and nanoseconds() can return.
  const double seconds = std::fmin(std::fmax(secondsOf(date), -9.2e9), 9.2e9);
  const double whole = std::floor(seconds);
  timespec time{};
  time.tv_sec = static_cast<time_t>(whole);
  time.tv_nsec = static_cast<long>((seconds - whole) * 1e9);
  return time;
}

/// A zero byte would end the path for the system, which would then take another file than was meant.
bool usable(const std::string& path) {
  return !path.empty() && path.find('\0') == std::string::npos;
}

/// The folder that `path` lies in, when `path` lies in `folder` or below it and names a file.
std::optional<std::string_view> parentWithin(std::string_view folder, const std::string& path) {
  if (!usable(path) || folder.empty() || path.size() <= folder.size() + 1) return std::nullopt;
  if (path.compare(0, folder.size(), folder) != 0 || path[folder.size()] != '/') return std::nullopt;
  std::string_view rest = std::string_view(path).substr(folder.size() + 1);
  while (true) {
    const std::size_t slash = rest.find('/');
    if (!isPlainName(rest.substr(0, slash))) return std::nullopt;
    if (slash == std::string_view::npos) break;
    rest.remove_prefix(slash + 1);
  }
  return std::string_view(path).substr(0, path.size() - rest.size() - 1);
}

bool syncFolder(const std::string& folder) {
  const FileDescriptor directory(
      uninterrupted([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (!directory) return false;
  // Some file systems cannot flush a folder and need not.
  return uninterrupted([&] { return ::fsync(directory.get()); }) == 0 || errno == EINVAL;
}

bool makeFolders(const std::string& folder, bool flush) {
  if (::mkdir(folder.c_str(), 0777) != 0) {
    if (errno == EEXIST) return true;  // perhaps made by another process this moment
    const std::size_t slash = folder.find_last_of('/');
    if (errno != ENOENT || slash == std::string::npos || slash == 0) return false;
    if (!makeFolders(folder.substr(0, slash), flush)) return false;
    if (::mkdir(folder.c_str(), 0777) != 0) return errno == EEXIST;
  }
  if (!flush) return true;
  const std::size_t slash = folder.find_last_of('/');
  return slash == std::string::npos || syncFolder(slash == 0 ? "/" : folder.substr(0, slash));
}

bool isRegularFile(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool isFolder(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

struct Destination {
  const std::string& folder;  // made when it is missing
  std::string_view parent;    // where the file lies
  const std::string& path;
};

using Outcome = FileSystem::Outcome;

bool always() {
  return true;
}

Outcome store(const Destination& to, std::string_view bytes, const std::optional<timespec>& modified,
              FileSystem::Durability durability, const std::function<bool()>& isWanted = always) {
  const bool flush = durability == FileSystem::Durability::userData;
  // A sweep of another process can take a temporary away before it is locked, and the folder can be removed.
  // Neither happens often, so a few attempts tell bad luck from a folder that stays missing.
  for (int attempt = 0; attempt < 8; ++attempt) {
    TemporaryFile temporary(to.parent);
    if (!temporary) {
      if (errno == EEXIST) continue;
      // Looked after only now: nearly always the folder is there, and asking first would cost every write.
      if (errno != ENOENT || !makeFolders(to.folder, flush)) return Outcome::failed;
      continue;
    }
    if (!temporary.fill(bytes, modified, flush)) return Outcome::failed;
    if (!isWanted()) return Outcome::changed;
    const auto outcome = temporary.rename(to.path);
    if (outcome == TemporaryFile::Outcome::done) {
      return !flush || syncFolder(std::string(to.parent)) ? Outcome::written : Outcome::failed;
    }
    if (outcome == TemporaryFile::Outcome::failed) return Outcome::failed;
  }
  return Outcome::failed;
}

bool moveFile(const std::string& from, const Destination& to) {
  const auto renamed = [&] { return ::rename(from.c_str(), to.path.c_str()) == 0; };
  if (renamed()) return true;
  if (errno == ENOENT && makeFolders(to.folder, false) && renamed()) return true;
  if (errno != EXDEV) return false;
  struct stat status {};
  if (::stat(from.c_str(), &status) != 0) return false;
  const auto bytes = readWholeFile(from);
  if (!bytes) return false;
  // Flushed, since the file that is removed then may be the user's only one.
  const auto outcome = store(to, *bytes, status.st_mtim, FileSystem::Durability::userData);
  return outcome == Outcome::written && ::unlink(from.c_str()) == 0;
}

FileIdentity identityOf(const struct stat& status) {
  FileIdentity identity;
  identity.device = status.st_dev;
  identity.inode = status.st_ino;
  identity.size = static_cast<std::uint64_t>(status.st_size);
  identity.modified = nanoseconds(status.st_mtim);
  identity.changed = nanoseconds(status.st_ctim);
  // The system stamps changes with the time of its last tick, at most 10 ms old: two changes within one tick
  // carry one time, and a file replaced and removed within it may even get its inode back. Only a change
  // several ticks old is told from all later ones; a time to come means that the clock was set back, and then
  // a later change may get an earlier or the same time.
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  const std::int64_t age = nanoseconds(now) - identity.changed;
  constexpr std::int64_t severalTicks = 50'000'000;
  identity.settled = age > severalTicks;
  return identity;
}

}  // namespace

LinuxFileSystem::LinuxFileSystem(std::shared_ptr<Clock> clock) : clock_(std::move(clock)) {}

std::optional<Bytes> LinuxFileSystem::read(const std::string& path) {
  if (!usable(path)) return std::nullopt;
  return readWholeFile(path);
}

std::optional<std::size_t> LinuxFileSystem::readInto(const std::string& path, std::span<char> room) {
  if (!usable(path)) return std::nullopt;
  return readWholeFileInto(path, room);
}

std::optional<std::size_t> LinuxFileSystem::readIntoIf(
    const std::function<bool(const FileIdentity&)>& isWanted, const std::string& path, std::span<char> room) {
  if (!usable(path)) return std::nullopt;
  return readWholeFileInto(path, room,
                           [&](const struct stat& status) { return isWanted(identityOf(status)); });
}

std::optional<FileIdentity> LinuxFileSystem::identity(const std::string& path) {
  struct stat status {};
  if (!usable(path) || ::stat(path.c_str(), &status) != 0) return std::nullopt;
  return identityOf(status);
}

bool LinuxFileSystem::write(const std::string& folder, const std::string& path, std::string_view bytes,
                            Durability durability) {
  return writeIf(always, folder, path, bytes, durability) == Outcome::written;
}

Outcome LinuxFileSystem::writeIfUnchanged(const std::string& folder, const std::string& path,
                                          std::string_view bytes, Durability durability,
                                          const std::optional<FileIdentity>& expected) {
  const auto isUnchanged = [&] { return isSameState(identity(path), expected); };
  return writeIf(isUnchanged, folder, path, bytes, durability);
}

Outcome LinuxFileSystem::writeIf(const std::function<bool()>& isWanted, const std::string& folder,
                                 const std::string& path, std::string_view bytes, Durability durability) {
  const auto parent = parentWithin(folder, path);
  if (!parent) return Outcome::failed;
  sweepOnce(*parent);
  std::optional<timespec> modified;
  if (clock_) modified = timespecOf(clock_->now());
  return store({folder, *parent, path}, bytes, modified, durability, isWanted);
}

FileSystem::Turn LinuxFileSystem::takeTurn(const std::string& folder) {
  constexpr std::chrono::milliseconds pause(2);
  constexpr int mostPauses = 500;
  if (!usable(folder)) return nullptr;
  const auto open = [&] {
    return uninterrupted([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
  };
  auto directory = std::make_shared<FileDescriptor>(open());
  if (!*directory && errno == ENOENT && makeFolders(folder, true)) {
    directory = std::make_shared<FileDescriptor>(open());
  }
  if (!*directory) return nullptr;
  for (int pauses = 0; ::flock(directory->get(), LOCK_EX | LOCK_NB) != 0; ++pauses) {
    if ((errno != EWOULDBLOCK && errno != EINTR) || pauses == mostPauses) return nullptr;
    std::this_thread::sleep_for(pause);
  }
  return directory;
}

bool LinuxFileSystem::remove(const std::string& path) {
  return usable(path) && ::unlink(path.c_str()) == 0;
}

bool LinuxFileSystem::exists(const std::string& path) {
  return usable(path) && ::access(path.c_str(), F_OK) == 0;
}

bool LinuxFileSystem::move(const std::string& from, const std::string& folder, const std::string& to) {
  const auto parent = parentWithin(folder, to);
  // The system would also move a folder, over an empty one even.
  if (!parent || !usable(from) || !isRegularFile(from)) return false;
  if (!isFolder(to)) return moveFile(from, {folder, *parent, to});

  std::string aside = fmt::format("{}/{}XXXXXX", *parent, TemporaryFile::prefix);
  if (::mkdtemp(aside.data()) == nullptr) return false;
  if (::rename(to.c_str(), aside.c_str()) != 0) {
    ::rmdir(aside.c_str());
    return false;
  }
  if (!moveFile(from, {folder, *parent, to})) {
    ::rename(aside.c_str(), to.c_str());
    return false;
  }
  std::error_code ignored;
  std::filesystem::remove_all(aside, ignored);
  return true;
}

std::optional<std::vector<std::string>> LinuxFileSystem::list(const std::string& folder) {
  if (!usable(folder)) return std::nullopt;
  struct Close {
    void operator()(DIR* directory) const { ::closedir(directory); }
  };
  const std::unique_ptr<DIR, Close> directory(::opendir(folder.c_str()));
  if (!directory) return std::nullopt;
  std::vector<std::string> names;
  while (true) {
    errno = 0;
    // Safe: no other thread reads this stream.
    const dirent* entry = ::readdir(directory.get());  // NOLINT(concurrency-mt-unsafe)
    if (entry == nullptr) break;
    const std::string_view name = entry->d_name;
    if (name != "." && name != ".." && !name.starts_with(TemporaryFile::prefix)) names.emplace_back(name);
  }
  if (errno != 0) return std::nullopt;
  return names;
}

void LinuxFileSystem::sweepOnce(std::string_view folder) {
  {
    const std::lock_guard lock(mutex_);
    if (swept_.contains(folder)) return;
    swept_.emplace(folder);
  }
  TemporaryFile::sweep(std::string(folder));
}

}  // namespace marlune
