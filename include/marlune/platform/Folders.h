#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "marlune/base/Export.h"

namespace marlune {

/// The application group whose container the library's files lie in.
inline constexpr std::string_view kGroupContainerName = "group.com.quenda.korvantis";

/// Where the library keeps its files. Calls are safe from any thread; the folders need not exist yet.
class MARLUNE_API Folders {
 public:
  virtual ~Folders() = default;

  /// The shared container of an application group, an absolute path without a trailing "/"; nothing when the
  /// group is not configured. Every process of the group gets the same folder.
  virtual std::optional<std::string> container(std::string_view groupId) const = 0;

  /// The private documents folder of this process, an absolute path; nothing when there is none.
  virtual std::optional<std::string> documents() const = 0;
};

/// `folder`, "/" and `name`; nothing without a folder and for a name that leads out of it: an empty or
/// absolute one, one with "..", one cut short by a null byte.
MARLUNE_API std::optional<std::string> pathInside(std::optional<std::string> folder, std::string_view name);

}  // namespace marlune
