#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "marlune/platform/Clock.h"
#include "marlune/platform/FileSystem.h"

namespace marlune::testing {

/// A file system in memory. Every path is absolute and every change gives a new identity. Safe from any
/// thread.
class MemoryFileSystem : public FileSystem {
 public:
  explicit MemoryFileSystem(std::shared_ptr<Clock> clock = nullptr);

  std::optional<Bytes> read(const std::string& path) override;
  std::optional<FileIdentity> identity(const std::string& path) override;
  bool write(const std::string& folder, const std::string& path, std::string_view bytes,
             Durability durability) override;
  Outcome writeIfUnchanged(const std::string& folder, const std::string& path, std::string_view bytes,
                           Durability durability, const std::optional<FileIdentity>& expected) override;
  bool remove(const std::string& path) override;
  bool exists(const std::string& path) override;
  bool move(const std::string& from, const std::string& folder, const std::string& to) override;
  std::optional<std::vector<std::string>> list(const std::string& folder) override;

 private:
  struct File {
    Bytes bytes;
    FileIdentity identity;
  };

  // Called with the mutex held.
  std::optional<FileIdentity> identityOf(const std::string& path) const;
  bool put(const std::string& folder, const std::string& path, std::string_view bytes);
  bool makeFolders(const std::string& folder);
  bool isFree(const std::string& folder, const std::string& path);

  const std::shared_ptr<Clock> clock_;
  std::mutex mutex_;
  // Guarded by the mutex.
  std::map<std::string, File> files_;
  std::set<std::string> folders_{"/"};
  std::int64_t changes_ = 0;
};

}  // namespace marlune::testing
