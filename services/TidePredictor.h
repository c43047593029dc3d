#pragma once

#include <cstdint>
#include <vector>

#include "services/HarmonicDatabase.h"

namespace marlune::services {

/// A high or low water.
struct TideExtreme {
  std::int64_t time = 0;  ///< whole seconds since 1970-01-01 UTC
  double level = 0;       ///< above the station's datum, in its unit (feet for NOAA's tide stations)
  bool high = false;

  bool operator==(const TideExtreme&) const = default;
};

/// Predicts highs and lows from harmonic constants. Development figures: NOT FOR NAVIGATION.
///
/// For each station the tide is one smooth curve over all time, and an answer is the part of its
/// extremes that falls into the asked interval: the answers for [a, b) and [b, c) together are the
/// answer for [a, c). The yearly node factors and arguments are the agency's, constant over a UTC
/// year; around the year's turn one year's curve passes smoothly into the next within a day on either
/// side.
///
/// Const operations may be called from any thread. The database must outlive the predictor.
///
///     const TidePredictor predictor(database);
///     auto highsAndLows = predictor.extremes(*database.tideStation("9413450"), begin, end);
class TidePredictor {
 public:
  explicit TidePredictor(const HarmonicDatabase& database) : _database(&database) {}

  /// Highs and lows with begin <= time < end, ascending in time, highs and lows in turn. A subordinate
  /// station's are its reference station's moved by its offsets; where the offsets would put a high
  /// and the low after it into the wrong order, that pair is left out. Years outside the data's table
  /// use its nearest year. Empty for a current station.
  std::vector<TideExtreme> extremes(const HarmonicStation& station, std::int64_t begin,
                                    std::int64_t end) const;

  /// Level of a reference station at an instant (seconds since 1970). Requires constants, so for a
  /// subordinate station this is the curve of its reference station.
  double level(const HarmonicStation& station, double time) const;

 private:
  const HarmonicStation& referenceOf(const HarmonicStation& station) const;

  const HarmonicDatabase* _database;
};

}  // namespace marlune::services
