#include "support/MemoryFileSystem.h"

#include <utility>

namespace marlune::testing {
namespace {

std::string parentOf(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  return slash == 0 ? "/" : path.substr(0, slash);
}

bool isWithin(const std::string& folder, const std::string& path) {
  if (!path.starts_with(folder + "/") || path.back() == '/' || path.find('\0') != std::string::npos)
    return false;
  const std::string rest = path.substr(folder.size()) + "/";
  return rest.find("//") == std::string::npos && rest.find("/./") == std::string::npos &&
         rest.find("/../") == std::string::npos;
}

}  // namespace

MemoryFileSystem::MemoryFileSystem(std::shared_ptr<Clock> clock) : clock_(std::move(clock)) {}

std::optional<Bytes> MemoryFileSystem::read(const std::string& path) {
  const std::lock_guard lock(mutex_);
  const auto found = files_.find(path);
  if (found == files_.end()) return std::nullopt;
  return found->second.bytes;
}

std::optional<FileIdentity> MemoryFileSystem::identity(const std::string& path) {
  const std::lock_guard lock(mutex_);
  return identityOf(path);
}

std::optional<FileIdentity> MemoryFileSystem::identityOf(const std::string& path) const {
  if (const auto found = files_.find(path); found != files_.end()) return found->second.identity;
  if (folders_.contains(path)) return FileIdentity{.settled = true};
  return std::nullopt;
}

bool MemoryFileSystem::write(const std::string& folder, const std::string& path, std::string_view bytes,
                             Durability) {
  const std::lock_guard lock(mutex_);
  return put(folder, path, bytes);
}

/// Nobody can write between the look and the change here.
FileSystem::Outcome MemoryFileSystem::writeIfUnchanged(const std::string& folder, const std::string& path,
                                                       std::string_view bytes, Durability,
                                                       const std::optional<FileIdentity>& expected) {
  const std::lock_guard lock(mutex_);
  if (!isSameState(identityOf(path), expected)) return Outcome::changed;
  return put(folder, path, bytes) ? Outcome::written : Outcome::failed;
}

bool MemoryFileSystem::put(const std::string& folder, const std::string& path, std::string_view bytes) {
  if (!isWithin(folder, path) || !isFree(folder, path)) return false;
  File& file = files_[path];
  file.bytes = bytes;
  file.identity.device = 1;
  file.identity.size = bytes.size();
  file.identity.inode = static_cast<std::uint64_t>(++changes_);
  file.identity.changed = changes_;
  file.identity.modified = clock_ ? static_cast<std::int64_t>(secondsOf(clock_->now()) * 1e9) : changes_;
  file.identity.settled = true;
  return true;
}

bool MemoryFileSystem::remove(const std::string& path) {
  const std::lock_guard lock(mutex_);
  return files_.erase(path) == 1;
}

bool MemoryFileSystem::exists(const std::string& path) {
  const std::lock_guard lock(mutex_);
  return files_.contains(path) || folders_.contains(path);
}

bool MemoryFileSystem::move(const std::string& from, const std::string& folder, const std::string& to) {
  const std::lock_guard lock(mutex_);
  if (!files_.contains(from) || !isWithin(folder, to) || from.starts_with(to + "/")) return false;
  const auto isInTheWay = [&](const std::string& path) { return path == to || path.starts_with(to + "/"); };
  if (folders_.contains(to)) {
    std::erase_if(folders_, isInTheWay);
    std::erase_if(files_, [&](const auto& entry) { return isInTheWay(entry.first); });
  }
  if (!isFree(folder, to)) return false;
  if (from == to) return true;
  File moved = std::move(files_.extract(from).mapped());
  moved.identity.changed = ++changes_;
  files_.insert_or_assign(to, std::move(moved));
  return true;
}

std::optional<std::vector<std::string>> MemoryFileSystem::list(const std::string& folder) {
  const std::lock_guard lock(mutex_);
  if (!folders_.contains(folder)) return std::nullopt;
  std::vector<std::string> names;
  const auto add = [&](const std::string& path) {
    if (path != "/" && parentOf(path) == folder) names.push_back(path.substr(path.find_last_of('/') + 1));
  };
  for (const auto& [path, file] : files_) add(path);
  for (const auto& path : folders_) add(path);
  return names;
}

bool MemoryFileSystem::makeFolders(const std::string& folder) {
  if (folders_.contains(folder)) return true;
  if (files_.contains(folder) || !makeFolders(parentOf(folder))) return false;
  folders_.insert(folder);
  return true;
}

/// Can a file be put at `path`? Makes `folder` on the way.
bool MemoryFileSystem::isFree(const std::string& folder, const std::string& path) {
  return makeFolders(folder) && folders_.contains(parentOf(path)) && !folders_.contains(path);
}

}  // namespace marlune::testing
