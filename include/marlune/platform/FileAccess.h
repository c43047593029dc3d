#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "marlune/base/Data.h"
#include "marlune/base/Export.h"
#include "marlune/platform/FileSystem.h"
#include "marlune/platform/Folders.h"

namespace marlune {

/// Reads and writes the library's files: in the shared container of an application group, which every process
/// of the application sees, and in the private documents folder, where older versions kept theirs.
///
/// A name may hold subfolders, which must exist; one that leads out of its folder counts as no file. Failures
/// are an empty answer or false, never logged. Keeps no state: safe from any thread.
///
///     const Data year = FileAccess::shared().loadFileInContainer(kGroupContainerName, "2026398997177.xml");
class MARLUNE_API FileAccess {
 public:
  /// That of the process, over the installed host (see marlune.h).
  static FileAccess& shared();

  FileAccess(std::shared_ptr<Folders> folders, std::shared_ptr<FileSystem> files);

  // --- The shared container of a group ---

  /// The file's content, or an empty pointer.
  Data loadFileInContainer(std::string_view groupId, std::string_view filename) const;
  /// True when the bytes were written, whole: a reader sees the old file or the new one.
  bool saveFileInContainer(std::string_view groupId, std::string_view filename, std::string_view data,
                           FileSystem::Durability durability = FileSystem::Durability::cache) const;
  /// False also when there was no file.
  bool removeFileInContainer(std::string_view groupId, std::string_view filename) const;
  /// Is there a file or folder of that name?
  bool fileExistsInContainer(std::string_view groupId, std::string_view filename) const;
  /// "file://" address of the name, whether or not it exists; nothing without a container.
  std::optional<std::string> urlForFileInContainer(std::string_view groupId, std::string_view filename) const;
  /// Absolute path of the name; nothing without a container or for a name that leads out of it.
  std::optional<std::string> pathInContainer(std::string_view groupId, std::string_view filename) const;
  /// Moves the documents file of that name into the container, over an older one, or over a folder with all
  /// that is in it. False, with the container as it was, when there is no such documents file.
  bool moveFileToSharedContainer(std::string_view groupId, std::string_view filename) const;

  // --- The documents folder ---

  Data loadFile(std::string_view filename) const;
  bool saveFile(std::string_view filename, std::string_view data,
                FileSystem::Durability durability = FileSystem::Durability::cache) const;
  bool removeFile(std::string_view filename) const;
  bool fileExists(std::string_view filename) const;
  std::optional<std::string> urlForFile(std::string_view filename) const;
  /// Moves the file at a "file://" address into the documents folder under its own last name, over what has
  /// that name there, as moveFileToSharedContainer() does.
  bool moveFileUrlToDocumentsFolder(std::string_view sourceUrl) const;

  // --- Both, for the library's own caches ---

  const std::shared_ptr<FileSystem>& files() const { return files_; }
  const std::shared_ptr<Folders>& folders() const { return folders_; }

 private:
  const std::shared_ptr<Folders> folders_;
  const std::shared_ptr<FileSystem> files_;
};

}  // namespace marlune
