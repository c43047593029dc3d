#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marlune::services {

/// One cosine of the tide: its speed, and for every year of the table the equilibrium argument at
/// 1 January 00:00 UTC (degrees) and the node factor.
struct Constituent {
  std::string name;
  double degreesPerHour = 0;
  std::vector<float> equilibrium;
  std::vector<float> nodeFactor;
};

/// What one station has of one constituent.
struct HarmonicComponent {
  std::size_t constituent = 0;  ///< index into HarmonicDatabase::constituents()
  double amplitude = 0;         ///< in the station's unit
  double epoch = 0;             ///< degrees, Greenwich
};

/// How a subordinate station's highs (or lows) differ from its reference station's.
struct TideOffsets {
  std::int64_t seconds = 0;
  double factor = 1;
  double addend = 0;
};

/// What only a current station has.
struct CurrentTraits {
  std::optional<int> floodDirection;  ///< degrees true; the data know it for one depth of a place at most
  std::optional<int> ebbDirection;
  std::optional<std::int64_t> floodBegins;  ///< offset of the slack before flood, seconds; subordinate only
  std::optional<std::int64_t> ebbBegins;
};

struct HarmonicStation {
  enum class Kind { tide, current, currentSquared };

  Kind kind = Kind::tide;
  bool subordinate = false;
  std::string number;  ///< as the agency numbers it, "9413450" or "TWC0405"
  std::string name;    ///< as the data writes it, state included, UTF-8
  std::string zone;    ///< name in the tz database
  double latitude = 0;
  double longitude = 0;
  double datumOffset = 0;     ///< mean level above the datum of the predictions
  double epochZoneHours = 0;  ///< meridian that the epochs count from; 0 for every tide station
  std::vector<HarmonicComponent> components;  ///< empty for subordinate stations
  std::size_t reference = 0;                  ///< index of the reference station, if subordinate
  TideOffsets high;                           ///< of a current: its greatest flood
  TideOffsets low;                            ///< of a current: its greatest ebb
  CurrentTraits current;
};

/// Harmonic constants of NOAA's tide and current stations, read whole from a TCD file such as the
/// one of the package xtide-data. Development data: NOT FOR NAVIGATION.
///
/// Immutable once loaded; share one between threads freely. Loading is serialised inside, because
/// the library that reads the files has only one file open for the whole process.
///
///     std::string error;
///     auto database = HarmonicDatabase::load(HarmonicDatabase::installedFile(), error);
///     if (const auto* station = database->tideStation("9413450")) ...
class HarmonicDatabase {
 public:
  /// The newest harmonics file of the system's package, or empty when the package is absent.
  static std::string installedFile();

  /// Reads the file. Nothing when it cannot be read or is no such file; `error` then says why and
  /// what to do.
  static std::optional<HarmonicDatabase> load(const std::string& file, std::string& error);

  const std::vector<HarmonicStation>& stations() const { return _stations; }
  const std::vector<Constituent>& constituents() const { return _constituents; }
  int firstYear() const { return _firstYear; }
  int lastYear() const { return _lastYear; }

  /// Date of the data as the file tells it, "2019-12-29 12:43 EST".
  const std::string& version() const { return _version; }

  /// The tide station of this number. Where the data hold both constants and offsets for one number,
  /// the station with constants, unless `preferSubordinate`. Null when there is none.
  const HarmonicStation* tideStation(std::string_view number, bool preferSubordinate = false) const;

 private:
  HarmonicDatabase() = default;

  std::vector<HarmonicStation> _stations;
  std::vector<Constituent> _constituents;
  std::string _version;
  int _firstYear = 0;
  int _lastYear = 0;
};

}  // namespace marlune::services
