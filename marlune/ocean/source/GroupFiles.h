#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "marlune/base/Data.h"
#include "marlune/platform/FileSystem.h"
#include "marlune/platform/Folders.h"
#include "marlune/platform/Host.h"

namespace marlune {

/// Files directly in the shared container of the application group that can be fetched again: what cannot be
/// read is missing, and what cannot be written is not there next time. Safe from any thread.
class GroupFiles {
 public:
  explicit GroupFiles(const Host& host) : folders_(host.folders), files_(host.files) {}

  std::optional<Bytes> read(std::string_view name) const {
    const auto path = pathInside(folders_->container(kGroupContainerName), name);
    return path ? files_->read(*path) : std::nullopt;
  }
  bool exists(std::string_view name) const {
    const auto path = pathInside(folders_->container(kGroupContainerName), name);
    return path && files_->exists(*path);
  }
  void write(std::string_view name, std::string_view bytes) const {
    const auto folder = folders_->container(kGroupContainerName);
    const auto path = pathInside(folder, name);
    if (path) files_->write(*folder, *path, bytes, FileSystem::Durability::cache);
  }

 private:
  const std::shared_ptr<Folders> folders_;
  const std::shared_ptr<FileSystem> files_;
};

}  // namespace marlune
