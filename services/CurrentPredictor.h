#pragma once

#include <cstdint>
#include <vector>

#include "services/HarmonicDatabase.h"

namespace marlune::services {

/// A slack, or a greatest flood or ebb.
struct CurrentTurn {
  enum class Kind { slack, flood, ebb };

  Kind kind = Kind::slack;
  std::int64_t time = 0;  ///< whole minutes, in seconds since 1970-01-01 UTC
  double knots = 0;       ///< along the axis: flood positive, ebb negative

  bool operator==(const CurrentTurn&) const = default;
};

/// Predicts tidal currents from harmonic constants. Development figures: NOT FOR NAVIGATION.
///
/// For each reference station the speed along the axis is one smooth curve over all time; answers are parts
/// of it, so those that meet join without gap or duplicate. Const operations may be called from any thread.
/// The database must outlive the predictor.
///
///     const CurrentPredictor predictor(database);
///     auto slacksAndGreatest = predictor.turns(station, begin, end);
class CurrentPredictor {
 public:
  explicit CurrentPredictor(const HarmonicDatabase& database) : _database(&database) {}

  /// Speeds in knots at begin, begin + step and so on, before end. Empty for a tide station and for a
  /// subordinate one, of which only the turns are known.
  std::vector<double> speeds(const HarmonicStation& station, std::int64_t begin, std::int64_t end,
                             std::int64_t step) const;

  /// Turns with begin <= time < end, ascending in time. Between two slacks every peak of the speed is listed,
  /// small secondary ones too. A subordinate station's are its reference station's, each kind moved by its
  /// own offset; one that would come before a turn that precedes it is left out. Empty for a tide station.
  std::vector<CurrentTurn> turns(const HarmonicStation& station, std::int64_t begin, std::int64_t end) const;

 private:
  const HarmonicDatabase* _database;
};

}  // namespace marlune::services
