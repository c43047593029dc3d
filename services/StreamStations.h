#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace marlune::services {

/// Where the tidal stream stations of the Admiralty lie, from the resource `stream_stations_uk.json`. Read
/// when first asked for; may be called from any thread.
class StreamStations {
 public:
  struct Place {
    double latitude = 0;
    double longitude = 0;
  };

  explicit StreamStations(std::string resourcesFolder);

  /// Nothing for an unknown station. Without the resource every id that could be one is a station off Dover.
  std::optional<Place> find(std::string_view id) const;

 private:
  void read() const;

  const std::string _folder;
  mutable std::once_flag _read;
  mutable std::map<std::string, Place, std::less<>> _places;
};

}  // namespace marlune::services
