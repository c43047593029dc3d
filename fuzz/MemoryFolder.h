#pragma once

#include <map>
#include <string>
#include <vector>

#include "marlune/platform/FileSystem.h"
#include "marlune/platform/Folders.h"

namespace marlune {

/// One folder in memory, for one thread.
class MemoryFolder : public FileSystem, public Folders {
 public:
  std::optional<Bytes> read(const std::string& path) override {
    const auto found = files_.find(path);
    return found == files_.end() ? std::nullopt : std::optional(found->second.bytes);
  }
  std::optional<FileIdentity> identity(const std::string& path) override {
    const auto found = files_.find(path);
    if (found == files_.end()) return std::nullopt;
    return FileIdentity{.inode = found->second.number, .settled = true};
  }
  bool write(const std::string&, const std::string& path, std::string_view bytes, Durability) override {
    files_[path] = {Bytes(bytes), ++number_};
    return true;
  }
  bool remove(const std::string& path) override { return files_.erase(path) == 1; }
  bool exists(const std::string& path) override { return files_.contains(path); }
  bool move(const std::string&, const std::string&, const std::string&) override { return false; }
  std::optional<std::vector<std::string>> list(const std::string&) override { return std::nullopt; }

  std::optional<std::string> container(std::string_view) const override { return "/container"; }
  std::optional<std::string> documents() const override { return "/documents"; }

 private:
  struct File {
    Bytes bytes;
    std::uint64_t number = 0;
  };
  std::map<std::string, File> files_;
  std::uint64_t number_ = 0;
};

}  // namespace marlune
