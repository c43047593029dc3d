#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "services/HarmonicDatabase.h"

namespace marlune::services {

/// A station of one of the lists from which the library picks the nearest to a place.
struct ListedStation {
  std::string id;    ///< "9414290", "PUG1515" or a number of the Admiralty's
  std::string name;  ///< for people
  double latitude = 0;
  double longitude = 0;
  int bin = 0;  ///< the depth of the predictions, counted from 1; 0 where the list has none

  bool operator==(const ListedStation&) const = default;
};

enum class StationList {
  waterTemperature,  ///< NOAA's stations that measure it, as the next two
  airTemperature,
  wind,
  streams,  ///< the Admiralty's tidal streams
  currents  ///< NOAA's predictions of currents
};

struct StationsRead {
  std::vector<ListedStation> stations;  ///< ordered by id, each id once; of currents in the list's own order
  std::vector<std::string> problems;    ///< what was left out, and why, one text for each
  std::string error;                    ///< why the list is of no use; then there are no stations
};

/// Reads a list as its service answers it: NOAA's object with its stations and how many they are, or the
/// Admiralty's GeoJSON collection. The resources made from it are read by this as well.
///
/// What makes no station is left out: one without a code, a name or a place on earth; one that tells its
/// sensors and has none of this kind; one that tells its type and is no tidal stream. Of two with one code
/// (of currents: and bin) the first stays. A list that is cut, empty, or holds fewer than it says, is of no
/// use.
StationsRead readStations(StationList list, std::string_view json);

/// The resource of a list: JSON, one station a line, in the order given. Each station but those of streams
/// carries its point in space: kilometres on a sphere of radius 6371, made from the place as it is written.
/// readStations() gives the same stations back, and then this the same text again.
std::string stationsDocument(StationList list, const std::vector<ListedStation>& stations);

/// Names of the resource files.
std::string_view stationsFileName(StationList list);

/// Every US current station of the harmonic data, ordered by id; at one station the bin nearest to the
/// surface stands first, for who takes the first of several at one place. Where the data hold both constants
/// and offsets for one number, it is listed once. What cannot be placed is named in `problems` and left out.
std::vector<ListedStation> currentStations(const HarmonicDatabase& database,
                                           std::vector<std::string>& problems);

}  // namespace marlune::services
