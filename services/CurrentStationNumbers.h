#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace marlune::services {

/// What NOAA's data services call a current station: the station, and which depth of it.
struct CurrentStationNumber {
  std::string id;  ///< "PUG1515"
  int bin = 0;     ///< 12; counted from the sensor, so 1 is often the deepest

  bool operator==(const CurrentStationNumber&) const = default;
};

/// The two parts of a current station's number as the harmonic data write it, "PUG1515_12": three letters
/// and four digits, an underscore, the bin. Nothing for any other text.
std::optional<CurrentStationNumber> currentStationNumber(std::string_view number);

/// What the harmonic data put into a current station's name.
struct CurrentStationName {
  std::string name;                 ///< "West Point, west of, Puget Sound", without the rest
  std::optional<double> depthFeet;  ///< 35.4 for a name with "(Depth 35.4ft)"
  std::string state;                ///< "Washington", as the data write it: what stands behind the last comma

  bool operator==(const CurrentStationName&) const = default;
};

/// The parts of a name such as "West Point, west of (Depth 35.4ft), Puget Sound, Washington Current (sub)".
/// The marks behind the word Current, "(sub)" and "(16d)" for so many days of measurements, are no part of
/// it. Nothing for a name that is not of this form.
std::optional<CurrentStationName> currentStationName(std::string_view whole);

}  // namespace marlune::services
