#pragma once

#include <array>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "services/StationLists.h"

namespace marlune::services {

/// The station lists of a resource folder: where the stations lie that observe, and those of tidal streams.
/// A list that is not there or of no use is empty. Read when first asked for; may be asked from any thread.
class ListedStations {
 public:
  explicit ListedStations(std::string resourcesFolder);

  /// Null for a station that the list does not have.
  const ListedStation* find(StationList list, std::string_view id) const;

  bool isEmpty(StationList list) const;

 private:
  struct One {
    std::once_flag read;
    std::vector<ListedStation> stations;  // ordered by id
  };

  const std::vector<ListedStation>& stations(StationList list) const;

  const std::string _folder;
  mutable std::array<One, 5> _lists;
};

}  // namespace marlune::services
