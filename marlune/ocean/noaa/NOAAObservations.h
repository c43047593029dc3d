#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "marlune/formats/JsonReaders.h"
#include "marlune/ocean/records/TimeSeriesData.h"

/// The answers of NOAA's data service that hold observations of a station; their form is in docs/formats.md.
/// Safe from any thread.
namespace marlune::noaa_observations {

enum class Kind { temperature, wind };

struct Reading {
  /// In time order, wind with its series and attributes; nothing for what is no such answer.
  std::optional<TimeSeries> samples;
  bool hasError = false;  ///< the service says that something is wrong, perhaps beside rows
  std::string fault;      ///< why there are no samples, for people
};

Reading read(std::string_view answer, Kind kind, JsonReaders& readers);

}  // namespace marlune::noaa_observations
