#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/formats/JsonReaders.h"

namespace marlune {

/// One row of the United States' current predictions. Rows serve as the points of a series and as the entries
/// of a list of slacks and greatest speeds alike.
struct CurrentPrediction {
  std::int64_t time = 0;       ///< seconds since 1970, a whole minute
  double velocityMajor = 0.0;  ///< knots, positive with the flood
  double meanFloodDir = 0.0;   ///< degrees true
  double meanEbbDir = 0.0;
  std::optional<std::string> type = {};  ///< as sent

  bool operator==(const CurrentPrediction&) const = default;
};

using CurrentPredictions = std::vector<CurrentPrediction>;

/// Reads the predictions and writes them as files. Has no state: safe from any thread.
/// The forms are in docs/formats.md.
namespace current_predictions {

struct Reading {
  CurrentPredictions rows;           ///< in time order, of equal times in that of the answer
  std::optional<std::string> error;  ///< why there are none
};

/// An answer of the service. One row that lacks something spoils it; one without a proper time, or of a speed
/// that no water has, is only passed over.
MARLUNE_API Reading readAnswer(std::string_view json, JsonReaders& readers);
/// Adds the rows of the file of a day behind others, in time order among themselves. Such a file is the same
/// less what is around the list. Says what is wrong with one that adds nothing.
MARLUNE_API std::optional<std::string> addFile(std::string_view json, JsonReaders& readers,
                                               CurrentPredictions& rows);
MARLUNE_API std::string fileOf(const CurrentPrediction* begin, const CurrentPrediction* end);

/// "slack", "flood" or "ebb", or whatever else the row says that it is.
MARLUNE_API std::string_view typeOf(const CurrentPrediction& row);
/// Of the stream: ebbs have one direction, everything else the other.
MARLUNE_API double directionOf(const CurrentPrediction& row);

}  // namespace current_predictions

}  // namespace marlune
