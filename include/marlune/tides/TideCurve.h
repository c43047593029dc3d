#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/tides/TideEvent.h"
#include "marlune/time/Date.h"

/// The tide curve: straight lines from one extreme to the next. Pure functions over event lists, in the
/// list's unit of level; instants are seconds since 1970; safe from any thread. Between two events at one
/// time there is no slope: the level there is that of the first.
namespace marlune::curve {

/// A point of the curve for a chart.
struct CurvePoint {
  Date date;
  std::shared_ptr<const std::string> station;  ///< the caller's station name, shared
  double level = 0.0;
  std::optional<TideEvent> previousEvent;  ///< the event strictly before; ordered points only
  std::optional<TideEvent> nextEvent;      ///< the end of the segment; none at the last event

  bool operator==(const CurvePoint&) const = default;
};

/// Points by date, ascending.
class MARLUNE_API CurvePoints {
 public:
  CurvePoints() = default;
  /// Requires ascending dates, each once.
  explicit CurvePoints(std::vector<CurvePoint> ascending) : points_(std::move(ascending)) {}

  /// The point at exactly `date`, or null.
  const CurvePoint* find(Date date) const;

  std::size_t size() const { return points_.size(); }
  bool empty() const { return points_.empty(); }
  auto begin() const { return points_.begin(); }
  auto end() const { return points_.end(); }

 private:
  std::vector<CurvePoint> points_;
};

/// What there is after the last event.
constexpr std::int64_t noTimestamp = std::numeric_limits<std::int64_t>::max();

/// No operation without a maximum of the caller's makes more points than this; a request for more gets none.
constexpr std::size_t maximumPoints = 10'000'000;

/// The latest event strictly before `t`, of several at one time the last in the list.
MARLUNE_API std::optional<TideEvent> previousEventBefore(double t, const std::vector<TideEvent>& events);

/// The smallest timestamp strictly after `t`, or noTimestamp.
MARLUNE_API std::int64_t nextTimestampAfter(double t, const std::vector<TideEvent>& events);

/// The first event in list order strictly after `t`.
MARLUNE_API std::optional<TideEvent> nextEventAfter(double t, const std::vector<TideEvent>& events);

/// Points every `interval` seconds after `start` up to and including `end`, marked as intermediary. Empty
/// when the interval is not positive.
MARLUNE_API std::vector<TideEvent> levelsBetween(const TideEvent& start, const TideEvent& end,
                                                 std::int64_t interval);

/// Points every `interval` seconds from the first event up to the last. `events` ascending. Nothing for
/// fewer than two events; empty when the interval is not positive.
MARLUNE_API std::optional<CurvePoints> pointsByDate(const std::vector<TideEvent>& events,
                                                    std::int64_t interval,
                                                    const std::shared_ptr<const std::string>& stationName);

/// As pointsByDate, over a sorted copy, from `after` on (inclusive) and at most `maxCount` of them, each with
/// the event before it. Points before `after` are stepped over and not counted, at no cost however many they
/// are. The caller's maximum is the only one here: memory must hold that many.
MARLUNE_API std::optional<std::vector<CurvePoint>> orderedPoints(
    const std::vector<TideEvent>& events, std::int64_t interval,
    const std::shared_ptr<const std::string>& stationName, Date after, std::int64_t maxCount);

/// The level at `t`: that of the first event within 10 seconds, else on the line between the neighbours; 0
/// where there are none, which cannot be told from a level of 0.
MARLUNE_API double levelAt(const std::vector<TideEvent>& events, double t);

/// Is `level` between the levels of two events, both included?
MARLUNE_API bool levelOccursBetween(double level, const TideEvent& a, const TideEvent& b);

/// The instants at which the water passes `level`, pair by pair, fractions of a second kept. A falling pair
/// does not report its start, a flat pair reports nothing. Nothing for fewer than two events.
MARLUNE_API std::optional<std::vector<Date>> crossings(double level, const std::vector<TideEvent>& events);

/// The events of all the lists from `begin` to `end`, both inclusive, ascending; events at one time keep
/// their order. Allocates nothing but the answer where the lists follow one another in time.
MARLUNE_API std::vector<TideEvent> eventsBetween(std::initializer_list<std::span<const TideEvent>> lists,
                                                 std::int64_t begin, std::int64_t end);

}  // namespace marlune::curve
