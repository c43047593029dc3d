#pragma once

#include <string>

#include "marlune/base/Export.h"
#include "marlune/platform/Folders.h"

namespace marlune {

/// Everything below one folder: the container of a group at `ROOT/containers/GROUP`, the documents at
/// `ROOT/documents`. Nothing is made or looked at here. Safe from any thread.
class MARLUNE_API FolderLayout : public Folders {
 public:
  /// `root` is an absolute path; when it is empty there are no folders.
  explicit FolderLayout(std::string root);

  /// Nothing for a group id that is not the name of a folder: empty, ".", "..", or with a "/" or a zero byte.
  std::optional<std::string> container(std::string_view groupId) const override;
  std::optional<std::string> documents() const override;

 private:
  std::string root_;
};

}  // namespace marlune
