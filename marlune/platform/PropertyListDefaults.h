#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/formats/PropertyList.h"
#include "marlune/platform/FileSystem.h"
#include "marlune/platform/UserDefaults.h"

namespace marlune {

/// User settings in the file `defaults.plist` of a folder: a dictionary as an XML property list, which keeps
/// whatever else it holds. Read again only when the file has changed. Safe from any thread; several processes
/// may use one file, but of two settings stored by two of them in the same moment one may be lost.
///
/// A damaged file reads as holding nothing; the next setting that is stored first puts its bytes aside as
/// `defaults.plist.damaged`.
class MARLUNE_API PropertyListDefaults : public UserDefaults {
 public:
  PropertyListDefaults(std::shared_ptr<FileSystem> files, std::string folder);

  std::optional<bool> boolean(std::string_view key) const override;
  bool setBoolean(std::string_view key, bool value) override;

 private:
  std::string path() const;

  const std::shared_ptr<FileSystem> files_;
  const std::string folder_;
  mutable std::mutex mutex_;
  // Guarded by the mutex: what the file held, as long as it has this identity.
  mutable std::optional<FileIdentity> identity_;
  mutable PropertyList list_;
};

}  // namespace marlune
