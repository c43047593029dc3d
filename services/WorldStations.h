#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "services/HarmonicDatabase.h"

namespace marlune::services {

/// Who measured a station, on which terms the constants may be used, and the notice to show with them.
struct WorldSource {
  std::string name;
  std::string licence;
  std::string licenceAddress;
  std::string notice;
};

/// A tide station anywhere on earth. What the data do not know is absent.
struct WorldStation {
  std::int64_t id = 0;  ///< follows from the key alone, see worldStationId()
  std::string key;      ///< as the data name it, "noaa/9413450" or "ticon/newlyn-new-gbr-bodc"
  double latitude = 0;
  double longitude = 0;
  std::optional<std::string> name;
  std::optional<std::string> city;
  std::optional<std::string> country;
  std::optional<std::string> zone;            ///< name in the tz database
  std::size_t source = 0;                     ///< index into WorldStations::sources()
  std::string datum;                          ///< what levels count from, "MLLW" or "LAT"
  double meanLevel = 0;                       ///< above the datum, metres
  std::vector<HarmonicComponent> components;  ///< metres; empty for a station predicted by offsets
  std::size_t reference = 0;                  ///< index of the station that has the constants; often its own
  TideOffsets high;
  TideOffsets low;

  /// The zone, or where none is known the nautical one of the longitude, "Etc/GMT-5" at 75 degrees east.
  std::string zoneOrNautical() const;
};

/// A stable positive number for a station: NOAA's own for its numbered ones, and 40 bits of a hash of
/// the key for all others.
std::int64_t worldStationId(std::string_view key);

/// The tide stations of the world, from the table `world_stations.txt` (docs/local-services.md has its
/// form). Development data: NOT FOR NAVIGATION. Immutable once loaded.
///
///     std::string error;
///     auto world = WorldStations::load(file, database, error);
///     const auto [station, kilometres] = world->nearest(50.1, -5.5);
///     auto tides = TidePredictor(database).extremes(world->harmonics(*station), begin, end);
class WorldStations {
 public:
  /// Name of the table within a resource folder.
  static constexpr std::string_view kFileName = "world_stations.txt";

  struct Nearest {
    const WorldStation* station = nullptr;
    double kilometres = 0;
  };

  /// Reads the table. A damaged line is left out, as are a second station with one id and constants of
  /// constituents that the database does not know. Nothing, and a text in `error`, when the file cannot
  /// be read, is no such table or holds no station.
  static std::optional<WorldStations> load(const std::string& file, const HarmonicDatabase& database,
                                           std::string& error);

  const std::vector<WorldStation>& stations() const { return _stations; }
  const std::vector<WorldSource>& sources() const { return _sources; }

  /// The station nearest to a place (degrees), by great circle.
  Nearest nearest(double latitude, double longitude) const;

  /// What TidePredictor predicts from, in metres above the station's datum.
  HarmonicStation harmonics(const WorldStation& station) const;

 private:
  friend class WorldTableReader;
  WorldStations() = default;

  std::vector<WorldStation> _stations;
  std::vector<WorldSource> _sources;
};

/// The table of a file, read when it is first asked for. May be called from any thread.
class WorldTable {
 public:
  WorldTable(std::string file, std::shared_ptr<const HarmonicDatabase> database);

  /// Null when the table cannot be read; error() then says why.
  const WorldStations* stations() const;
  const std::string& error() const;

  const HarmonicDatabase& harmonics() const { return *_database; }

 private:
  const std::string _file;
  const std::shared_ptr<const HarmonicDatabase> _database;
  mutable std::once_flag _read;
  mutable std::optional<WorldStations> _stations;
  mutable std::string _error;
};

}  // namespace marlune::services
