#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "services/HarmonicDatabase.h"

namespace marlune::services {

/// One line of the station catalogue.
struct CatalogueStation {
  std::string id;      ///< decimal number by which the tide API knows the station
  std::string number;  ///< the agency's number, "9413745" or "TWC0405"
  bool subordinate = false;
  std::string latitude;  ///< decimal degrees, as text: what is read is what is written
  std::string longitude;
  std::string name;
  std::string state;
  std::string zone;  ///< name in the tz database

  bool operator==(const CatalogueStation&) const = default;
};

/// The station of a line of eight fields separated by '~'; nothing for any other line.
std::optional<CatalogueStation> parseCatalogueLine(std::string_view line);

/// The line of a station, without a newline.
std::string catalogueLine(const CatalogueStation& station);

/// Stations of a catalogue file by id. Immutable once loaded.
class StationCatalogue {
 public:
  /// Name of the catalogue file within a resource folder.
  static constexpr std::string_view kFileName = "stations_master_usa2.txt";

  /// Reads the file; of two stations with one id the first stays. Nothing, and a text in `error`,
  /// when the file cannot be read or holds no station.
  static std::optional<StationCatalogue> load(const std::string& file, std::string& error);

  const std::vector<CatalogueStation>& stations() const { return _stations; }

  /// Null when there is no such station.
  const CatalogueStation* find(std::string_view id) const;

 private:
  std::vector<CatalogueStation> _stations;
  std::unordered_map<std::string, std::size_t> _byId;
};

/// The catalogue of every US tide station of the harmonic data: one for each number, ordered by state,
/// name and number. Ids follow from the numbers alone. What cannot be placed (an unknown state, an
/// unknown zone, a number without an id, a field that would break the line) is named in `problems`,
/// and the station left out.
std::vector<CatalogueStation> buildCatalogue(const HarmonicDatabase& database,
                                             std::vector<std::string>& problems);

/// The state of what the data write behind the last comma of a station's name: "DC" is the District of
/// Columbia. Empty for one that is no part of the United States; nothing when it is not known.
std::optional<std::string_view> stateOfLastWord(std::string_view word);

/// Id of the station with which applications begin.
inline constexpr std::string_view kDefaultStationId = "398997177";

}  // namespace marlune::services
