#include "marlune/ocean/noaa/CurrentsOfDays.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <iterator>
#include <limits>
#include <numbers>
#include <utility>

namespace marlune {

namespace current_predictions {

namespace {

using Events = OceanCurrentData::Events;

constexpr std::int64_t step = 1800;          // seconds between samples
constexpr std::int64_t longestGap = 86'400;  // a longer one lacks a whole day
constexpr double slackWindowThresholdCapKnots = 0.2;
constexpr double slackWindowThresholdFraction = 0.25;  // of the neighbouring greatest speed

bool areJoined(const CurrentPrediction& a, const CurrentPrediction& b) {
  return b.time - a.time <= longestGap;
}

/// The speed along the axis at `t` between two points.
double velocityAt(const CurrentPrediction& a, const CurrentPrediction& b, std::int64_t t) {
  const double part = static_cast<double>(t - a.time) / static_cast<double>(b.time - a.time);
  return a.velocityMajor +
         0.5 * (1.0 - std::cos(std::numbers::pi * part)) * (b.velocityMajor - a.velocityMajor);
}

/// When the curve between two points of different speeds has a speed that lies between theirs.
double timeOf(double velocity, const CurrentPrediction& a, const CurrentPrediction& b) {
  const double height = (velocity - a.velocityMajor) / (b.velocityMajor - a.velocityMajor);
  const double part = std::acos(std::clamp(1.0 - 2.0 * height, -1.0, 1.0)) / std::numbers::pi;
  return static_cast<double>(a.time) + part * static_cast<double>(b.time - a.time);
}

/// The first point later than `t`.
CurrentPredictions::const_iterator after(const CurrentPredictions& points, std::int64_t t) {
  return std::upper_bound(
      points.begin(), points.end(), t,
      [](std::int64_t time, const CurrentPrediction& point) { return time < point.time; });
}

bool isFast(const CurrentPrediction& point, double threshold) {
  return std::fabs(point.velocityMajor) >= threshold;
}

/// When the curve, slow somewhere between two points of which one is fast, reaches the threshold toward that.
double reaching(double threshold, const CurrentPrediction& earlier, const CurrentPrediction& later,
                const CurrentPrediction& fast) {
  return timeOf(std::copysign(threshold, fast.velocityMajor), earlier, later);
}

std::shared_ptr<const CurrentEvent> eventOf(const CurrentPrediction& row,
                                            const std::optional<SlackWindow>& window) {
  const auto date = dateFromSeconds(static_cast<double>(row.time));
  std::optional<Date> begin;
  std::optional<Date> end;
  if (window) {
    begin = dateFromSeconds(window->begin);
    end = dateFromSeconds(window->end);
  }
  return std::make_shared<const CurrentEvent>(date, std::string(typeOf(row)), std::fabs(row.velocityMajor),
                                              directionOf(row), begin, end);
}

/// Of the greatest speeds right before and after the slack, those that there are.
double thresholdOf(const CurrentPrediction* before, const CurrentPrediction* next) {
  double threshold = slackWindowThresholdCapKnots;
  for (const CurrentPrediction* neighbour : {before, next}) {
    if (neighbour == nullptr || typeOf(*neighbour) == "slack") continue;
    threshold = std::min(threshold, slackWindowThresholdFraction * std::fabs(neighbour->velocityMajor));
  }
  return threshold;
}

}  // namespace

std::optional<SlackWindow> slackWindow(const CurrentPredictions& points, std::int64_t at, double threshold,
                                       std::int64_t earliest, std::int64_t latest) {
  const auto next = after(points, at);
  if (next == points.begin()) return std::nullopt;
  const auto last = std::prev(next);
  const bool isCovered = last->time == at || (next != points.end() && areJoined(*last, *next));
  if (!isCovered) return std::nullopt;
  const double velocity = last->time == at ? last->velocityMajor : velocityAt(*last, *next, at);
  if (!(std::fabs(velocity) < threshold)) return std::nullopt;

  // Forth and back from point to point as long as they are slow.
  SlackWindow window{static_cast<double>(at), static_cast<double>(at)};
  for (auto b = next; b != points.end() && areJoined(*std::prev(b), *b); ++b) {
    const bool ends = isFast(*b, threshold);
    window.end = ends ? reaching(threshold, *std::prev(b), *b, *b) : static_cast<double>(b->time);
    if (ends || b->time >= latest) break;
  }
  for (auto b = last->time == at ? last : next; b != points.begin() && areJoined(*std::prev(b), *b); --b) {
    const auto a = std::prev(b);
    const bool ends = isFast(*a, threshold);
    window.begin = ends ? reaching(threshold, *a, *b, *a) : static_cast<double>(a->time);
    if (ends || a->time <= earliest) break;
  }
  // A window holds its slack, whatever the arithmetic rounds.
  window.begin = std::min(std::max(window.begin, static_cast<double>(earliest)), static_cast<double>(at));
  window.end = std::max(std::min(window.end, static_cast<double>(latest)), static_cast<double>(at));
  return window;
}

TimeSeries samplesOf(const CurrentPredictions& points) {
  if (points.size() < 2) return {};
  // They lie together, since they come and go together.
  const auto samples = std::make_shared<std::deque<TimeSeriesData>>();
  double direction = directionOf(points.front());
  std::string directionText = numberAttribute(direction);
  std::size_t next = 1;
  for (std::int64_t t = points.front().time;; t += step) {
    while (next < points.size() && points[next].time <= t) ++next;
    if (next == points.size()) break;
    const CurrentPrediction& a = points[next - 1];
    const CurrentPrediction& b = points[next];
    if (!areJoined(a, b)) {
      t += (b.time - t - 1) / step * step;  // on to the last step before b
      continue;
    }
    if (const double own = directionOf(a); own != direction) {
      direction = own;
      directionText = numberAttribute(own);
    }
    TimeSeriesData::Attributes attributes;
    attributes.emplace(ocean_attributes::direction, directionText);
    samples->emplace_back(dateFromSeconds(static_cast<double>(t)), velocityAt(a, b, t), std::move(attributes),
                          std::string(ocean_series::velocity));
  }
  TimeSeries series;
  series.reserve(samples->size());
  for (const TimeSeriesData& sample : *samples) series.emplace_back(samples, &sample);
  return series;
}

Events eventsOf(const CurrentPredictions& maxSlack, const CurrentPredictions& points,
                const CurrentsPeriod& period) {
  Events events;
  for (auto row = maxSlack.begin(); row != maxSlack.end(); ++row) {
    if (!period.holds(row->time)) continue;
    std::optional<SlackWindow> window;
    if (typeOf(*row) == "slack") {
      // Rows of the slack's own time are no neighbours.
      const auto firstOfTime = std::lower_bound(
          maxSlack.begin(), row, row->time,
          [](const CurrentPrediction& other, std::int64_t time) { return other.time < time; });
      const auto nextOfOther = after(maxSlack, row->time);
      const auto* const before = firstOfTime != maxSlack.begin() ? &*std::prev(firstOfTime) : nullptr;
      const auto* const next = nextOfOther != maxSlack.end() ? &*nextOfOther : nullptr;
      window = slackWindow(points, row->time, thresholdOf(before, next),
                           before != nullptr ? before->time : std::numeric_limits<std::int64_t>::min(),
                           next != nullptr ? next->time : std::numeric_limits<std::int64_t>::max());
    }
    events.push_back(eventOf(*row, window));
  }
  return events;
}

}  // namespace current_predictions

namespace {

/// Those of a list in time order that lie in the period.
template <class List>
List cut(const List& all, const CurrentsPeriod& period) {
  const auto from = dateFromSeconds(static_cast<double>(period.from));
  const auto to = dateFromSeconds(static_cast<double>(period.to));
  const auto begin = std::lower_bound(all.begin(), all.end(), from,
                                      [](const auto& one, Date limit) { return one->date < limit; });
  const auto end =
      std::upper_bound(begin, all.end(), to, [](Date limit, const auto& one) { return limit < one->date; });
  return List(begin, end);
}

}  // namespace

CurrentsOfDays::CurrentsOfDays(CurrentPredictions points, const CurrentPredictions& maxSlack,
                               const CurrentsPeriod& days)
    : points_(std::move(points)),
      samples_(current_predictions::samplesOf(points_)),
      events_(current_predictions::eventsOf(maxSlack, points_, days)) {}

std::shared_ptr<const OceanCurrentData> CurrentsOfDays::within(const CurrentsPeriod& period, double lat,
                                                               double lng) const {
  if (empty()) return nullptr;
  auto samples = cut(samples_, period);
  auto events = cut(events_, period);
  if (events.empty()) events = current_predictions::eventsOf(points_, {}, period);
  if (samples.empty() && events.empty()) return nullptr;
  return std::make_shared<const OceanCurrentData>(lat, lng, std::move(samples), std::move(events));
}

}  // namespace marlune
