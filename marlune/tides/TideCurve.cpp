#include "marlune/tides/TideCurve.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "marlune/tides/SegmentLevels.h"

namespace marlune::curve {

namespace {

bool earlier(const TideEvent& a, const TideEvent& b) {
  return a.timestamp < b.timestamp;
}

/// Walks the segments of a list as an instant moves forward.
class SegmentWalk {
 public:
  explicit SegmentWalk(const std::vector<TideEvent>& events)
      : events_(events), slope_(slopeBetween(events[0], events[1])) {}

  double levelAt(std::int64_t t) const { return levelOnSegment(events_[start_], slope_, t); }

  /// The event that ends the current segment; null once the list is exhausted.
  const TideEvent* end() const { return exhausted_ ? nullptr : &events_[start_ + 1]; }

  /// Moves on to the segment that holds `t`, where that is not the current one.
  void advanceTo(std::int64_t t) {
    if (exhausted_ || t < events_[start_ + 1].timestamp) return;
    std::size_t next = start_ + 2;
    while (next < events_.size() && events_[next].timestamp <= t) ++next;
    start_ = next - 1;
    if (next < events_.size()) {
      slope_ = slopeBetween(events_[start_], events_[next]);
    } else {
      exhausted_ = true;  // the slope stays as it was
    }
  }

 private:
  const std::vector<TideEvent>& events_;
  std::size_t start_ = 0;
  double slope_;
  bool exhausted_ = false;
};

// How many points lie from `first` to `last` in steps of `interval`, both ends counted.
std::uint64_t pointCount(std::int64_t first, std::int64_t last, std::int64_t interval) {
  if (first > last) return 0;
  const std::uint64_t steps = (static_cast<std::uint64_t>(last) - static_cast<std::uint64_t>(first)) /
                              static_cast<std::uint64_t>(interval);
  return steps == std::numeric_limits<std::uint64_t>::max() ? steps : steps + 1;
}

// The first of the instants `first`, `first + interval`, ... that is not before `earliest`.
std::int64_t firstStepFrom(std::int64_t first, std::int64_t last, std::int64_t interval, Date earliest,
                           std::uint64_t& skipped) {
  skipped = 0;
  const double wanted = std::ceil(secondsOf(earliest));
  if (!(wanted > static_cast<double>(first))) return first;
  const std::uint64_t count = pointCount(first, last, interval);
  if (wanted > static_cast<double>(last)) {
    skipped = count;
    return last;
  }
  const std::int64_t target = wholeSecondsOf(dateFromSeconds(wanted));
  const auto distance = static_cast<std::uint64_t>(target) - static_cast<std::uint64_t>(first);
  const auto step = static_cast<std::uint64_t>(interval);
  skipped = distance / step + (distance % step != 0 ? 1 : 0);
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(first) + skipped * step);
}

}  // namespace

const CurvePoint* CurvePoints::find(Date date) const {
  const auto found =
      std::lower_bound(points_.begin(), points_.end(), date,
                       [](const CurvePoint& point, Date wanted) { return point.date < wanted; });
  return found != points_.end() && found->date == date ? &*found : nullptr;
}

std::optional<TideEvent> previousEventBefore(double t, const std::vector<TideEvent>& events) {
  const TideEvent* best = nullptr;
  for (const TideEvent& event : events) {
    if (static_cast<double>(event.timestamp) < t && (best == nullptr || event.timestamp >= best->timestamp)) {
      best = &event;
    }
  }
  return best == nullptr ? std::nullopt : std::optional(*best);
}

std::int64_t nextTimestampAfter(double t, const std::vector<TideEvent>& events) {
  std::int64_t best = noTimestamp;
  for (const TideEvent& event : events) {
    if (static_cast<double>(event.timestamp) > t) best = std::min(best, event.timestamp);
  }
  return best;
}

std::optional<TideEvent> nextEventAfter(double t, const std::vector<TideEvent>& events) {
  const auto found = std::find_if(events.begin(), events.end(), [t](const TideEvent& event) {
    return static_cast<double>(event.timestamp) > t;
  });
  return found == events.end() ? std::nullopt : std::optional(*found);
}

std::vector<TideEvent> levelsBetween(const TideEvent& start, const TideEvent& end, std::int64_t interval) {
  if (interval <= 0) return {};
  std::int64_t first = 0;
  if (__builtin_add_overflow(start.timestamp, interval, &first) || first > end.timestamp) return {};
  const std::uint64_t count = pointCount(first, end.timestamp, interval);
  if (count > maximumPoints) return {};
  std::vector<TideEvent> points(count);
  fillSegment(points, start, slopeBetween(start, end), first, interval);
  return points;
}

std::optional<CurvePoints> pointsByDate(const std::vector<TideEvent>& events, std::int64_t interval,
                                        const std::shared_ptr<const std::string>& stationName) {
  if (events.size() < 2) return std::nullopt;
  std::int64_t t = events.front().timestamp;
  const std::int64_t last = events.back().timestamp;
  if (interval <= 0 || t > last) return CurvePoints();
  const std::uint64_t count = pointCount(t, last, interval);
  if (count > maximumPoints) return CurvePoints();
  std::vector<CurvePoint> points;
  points.reserve(count);
  SegmentWalk walk(events);
  for (std::uint64_t i = 0; i < count; ++i) {
    if (i > 0) walk.advanceTo(t += interval);
    CurvePoint& point = points.emplace_back();
    point.date = dateFromSeconds(static_cast<double>(t));
    point.station = stationName;
    point.level = walk.levelAt(t);
    if (const TideEvent* next = walk.end()) point.nextEvent = *next;
  }
  return CurvePoints(std::move(points));
}

std::optional<std::vector<CurvePoint>> orderedPoints(const std::vector<TideEvent>& events,
                                                     std::int64_t interval,
                                                     const std::shared_ptr<const std::string>& stationName,
                                                     Date after, std::int64_t maxCount) {
  if (events.size() < 2) return std::nullopt;
  std::vector<TideEvent> sorted = events;
  std::stable_sort(sorted.begin(), sorted.end(), earlier);
  const std::int64_t first = sorted.front().timestamp;
  const std::int64_t last = sorted.back().timestamp;
  std::vector<CurvePoint> points;
  if (interval <= 0 || maxCount < 1) return points;

  std::uint64_t skipped = 0;
  std::int64_t t = firstStepFrom(first, last, interval, after, skipped);
  const std::uint64_t reachable = pointCount(first, last, interval);
  if (skipped >= reachable) return points;
  const std::uint64_t count = std::min(reachable - skipped, static_cast<std::uint64_t>(maxCount));

  points.reserve(std::min<std::uint64_t>(count, maximumPoints));
  SegmentWalk walk(sorted);
  if (skipped > 0) walk.advanceTo(t);
  std::size_t before = 0;  // number of events strictly before t
  for (std::uint64_t i = 0; i < count; ++i) {
    if (i > 0) walk.advanceTo(t += interval);
    while (before < sorted.size() && sorted[before].timestamp < t) ++before;
    CurvePoint& point = points.emplace_back();
    point.date = dateFromSeconds(static_cast<double>(t));
    point.station = stationName;
    point.level = walk.levelAt(t);
    if (before > 0) point.previousEvent = sorted[before - 1];
    if (const TideEvent* next = walk.end()) point.nextEvent = *next;
  }
  return points;
}

double levelAt(const std::vector<TideEvent>& events, double t) {
  constexpr double closeEnough = 10.0;  // seconds
  const TideEvent* previous = nullptr;
  const TideEvent* next = nullptr;
  for (const TideEvent& event : events) {
    const auto time = static_cast<double>(event.timestamp);
    if (std::abs(time - t) <= closeEnough) return event.tidelevel;
    if (time < t && event.timestamp > 0 && (previous == nullptr || event.timestamp > previous->timestamp)) {
      previous = &event;
    }
    if (time > t && (next == nullptr || event.timestamp <= next->timestamp)) next = &event;
  }
  if (previous == nullptr || next == nullptr) return 0.0;
  const auto from = static_cast<double>(previous->timestamp);
  const auto until = static_cast<double>(next->timestamp);
  return previous->tidelevel + (t - from) * (next->tidelevel - previous->tidelevel) / (until - from);
}

bool levelOccursBetween(double level, const TideEvent& a, const TideEvent& b) {
  if (a.tidelevel < b.tidelevel) return a.tidelevel <= level && level <= b.tidelevel;
  return b.tidelevel <= level && level <= a.tidelevel;
}

std::optional<std::vector<Date>> crossings(double level, const std::vector<TideEvent>& events) {
  if (events.size() < 2) return std::nullopt;
  std::vector<Date> instants;
  for (std::size_t i = 0; i + 1 < events.size(); ++i) {
    const TideEvent& a = events[i];
    const TideEvent& b = events[i + 1];
    if (!levelOccursBetween(level, a, b)) continue;
    double difference = 0.0;
    if (a.tidelevel < b.tidelevel && level >= a.tidelevel) {
      difference = level - a.tidelevel;
    } else if (level < a.tidelevel) {
      difference = a.tidelevel - level;
    } else {
      continue;  // the start of a falling pair was reported by the pair before
    }
    const double seconds = static_cast<double>(a.timestamp) - static_cast<double>(b.timestamp);
    instants.push_back(dateFromSeconds(static_cast<double>(a.timestamp) +
                                       std::abs(difference * seconds / (a.tidelevel - b.tidelevel))));
  }
  return instants;
}

std::vector<TideEvent> eventsBetween(std::initializer_list<std::span<const TideEvent>> lists,
                                     std::int64_t begin, std::int64_t end) {
  const auto inside = [=](const TideEvent& event) {
    return event.timestamp >= begin && event.timestamp <= end;
  };
  std::ptrdiff_t count = 0;
  for (const auto& list : lists) count += std::count_if(list.begin(), list.end(), inside);
  std::vector<TideEvent> kept;
  kept.reserve(static_cast<std::size_t>(count));
  for (const auto& list : lists) std::copy_if(list.begin(), list.end(), std::back_inserter(kept), inside);
  if (!std::is_sorted(kept.begin(), kept.end(), earlier)) std::stable_sort(kept.begin(), kept.end(), earlier);
  return kept;
}

}  // namespace marlune::curve
