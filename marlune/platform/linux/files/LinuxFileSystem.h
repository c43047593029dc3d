#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/platform/Clock.h"
#include "marlune/platform/FileSystem.h"

namespace marlune {

/// Files of the system. Calls are safe from any thread and from several processes at once.
///
/// A temporary file is called `.marlune-tmp-` and something unique, lies beside the file it becomes and is
/// locked (flock) by its writer until it is complete: one that can be locked by someone else is an orphan,
/// which the first write into the folder by each file system object removes. Such names are not listed.
///
///     LinuxFileSystem files;
///     files.write(folder, folder + "/fav.archive", bytes, FileSystem::Durability::userData);
class MARLUNE_API LinuxFileSystem : public FileSystem {
 public:
  /// With a clock, every file that is written carries its time as the time of modification; without, the
  /// system's.
  explicit LinuxFileSystem(std::shared_ptr<Clock> clock = nullptr);

  std::optional<Bytes> read(const std::string& path) override;
  std::optional<std::size_t> readInto(const std::string& path, std::span<char> room) override;
  std::optional<std::size_t> readIntoIf(const std::function<bool(const FileIdentity&)>& isWanted,
                                        const std::string& path, std::span<char> room) override;
  std::optional<FileIdentity> identity(const std::string& path) override;
  bool write(const std::string& folder, const std::string& path, std::string_view bytes,
             Durability durability) override;
  Outcome writeIfUnchanged(const std::string& folder, const std::string& path, std::string_view bytes,
                           Durability durability, const std::optional<FileIdentity>& expected) override;
  /// A lock (flock) on the folder itself, which leaves no file behind and ends with its process.
  Turn takeTurn(const std::string& folder) override;
  bool remove(const std::string& path) override;
  bool exists(const std::string& path) override;
  bool move(const std::string& from, const std::string& folder, const std::string& to) override;
  std::optional<std::vector<std::string>> list(const std::string& folder) override;

 private:
  /// `isWanted` is asked last before the file takes its name.
  Outcome writeIf(const std::function<bool()>& isWanted, const std::string& folder, const std::string& path,
                  std::string_view bytes, Durability durability);
  void sweepOnce(std::string_view folder);

  const std::shared_ptr<Clock> clock_;
  std::mutex mutex_;
  std::set<std::string, std::less<>> swept_;  // guarded by mutex_
};

}  // namespace marlune
