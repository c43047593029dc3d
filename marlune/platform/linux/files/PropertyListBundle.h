#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/formats/PropertyList.h"
#include "marlune/platform/Resources.h"

namespace marlune {

/// An application bundle that is a folder: the list `region.plist`, and `Info.plist` as the information
/// dictionary, XML or binary. Each is read once, when first asked for; a missing or damaged one holds
/// nothing. Safe from any thread.
class MARLUNE_API PropertyListBundle : public ApplicationBundle {
 public:
  /// Without a folder there is no list. `region` stands in for the one of the bundle.
  explicit PropertyListBundle(std::optional<std::string> folder,
                              std::optional<std::string> region = std::nullopt);

  std::optional<std::string> region() const override;
  std::optional<std::string> information(std::string_view key) const override;

 private:
  struct File {
    std::once_flag once;
    PropertyList list;
  };
  std::optional<std::string> text(File& file, const char* name, std::string_view key) const;

  const std::optional<std::string> folder_;
  const std::optional<std::string> region_;
  mutable File regionList_;
  mutable File informationList_;
};

}  // namespace marlune
