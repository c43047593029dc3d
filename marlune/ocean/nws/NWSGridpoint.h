#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/formats/JsonReaders.h"
#include "marlune/ocean/records/TimeSeriesData.h"

/// The answers of the National Weather Service about the cell of its forecast grid that a place lies in, and
/// the names of the files that hold what comes of them; forms are in docs/formats.md. Safe from any thread.
namespace marlune::nws_gridpoint {

/// The gridpoint address that an answer about a place names; nothing for any other answer.
std::optional<std::string> addressOf(std::string_view answer, JsonReaders& readers);

/// A value and the seconds since 1970 from which, inclusive, to which, exclusive, it holds.
struct Interval {
  std::int64_t start = 0;
  std::int64_t end = 0;
  double value = 0.0;
};

/// What a gridpoint says about the wind, in the order of the answer.
struct Wind {
  std::vector<Interval> speed;      ///< knots
  std::vector<Interval> gust;       ///< knots
  std::vector<Interval> direction;  ///< degrees
};

/// An empty pointer for what is no answer about a gridpoint. Values that are absent, and whose time cannot be
/// read, are passed over.
std::shared_ptr<const Wind> windOf(std::string_view answer, JsonReaders& readers);

/// Hourly samples of the speeds from one instant, inclusive, to another, exclusive, by time: one for each
/// hour of each interval, counted from its start, with the gust and the direction that hold then. Nothing
/// where they are more than any forecast has.
std::optional<TimeSeries> samplesOf(const Wind& wind, std::int64_t from, std::int64_t to);

/// The interval of "2025-03-05T14:00:00+00:00/PT3H"; the duration has days, hours, minutes and seconds, each
/// whole, and is cut short at some thousand years.
struct ValidTime {
  std::int64_t start = 0;
  std::int64_t end = 0;
};
std::optional<ValidTime> validTimeOf(std::string_view text);

/// The letters and digits of a location's name, of any script.
std::string locationKey(std::string_view locationId);
/// "MTR_85-105" of an address that ends in "/gridpoints/MTR/85,105"; "grid" of one without such a part.
std::string gridKey(std::string_view address);

}  // namespace marlune::nws_gridpoint
