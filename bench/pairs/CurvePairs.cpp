#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "marlune/tides/TideCurve.h"
#include "pairs/Pairs.h"
#include "support/Measure.h"
#include "support/Subjects.h"

// A month of the curve, a point a minute.

namespace marlune::bench {

namespace {

using Events = std::vector<TideEvent>;
constexpr std::int64_t minute = 60;

// Each of its records written once, one after the other.
template <class Record>
std::vector<Record> written(const std::vector<Record>& records) {
  std::vector<Record> copy;
  copy.reserve(records.size());
  for (const Record& record : records) copy.push_back(record);
  return copy;
}

void addRecords(const std::shared_ptr<const Events>& month) {
  const auto name = std::make_shared<const std::string>("Santa Cruz, Monterey Bay");
  const auto byDate = curve::pointsByDate(*month, minute, name);
  require(byDate && byDate->size() > 40'000, "a point a minute");
  const auto after = dateFromSeconds(static_cast<double>(month->front().timestamp));
  const auto inOrder = curve::orderedPoints(*month, minute, name, after, 1'000'000);
  require(inOrder && inOrder->size() == byDate->size(), "as many points in order");
  for (const auto& point : *inOrder) {
    const double expected = curve::levelAt(*month, secondsOf(point.date));
    // Ten seconds from an extreme the level is that of the extreme.
    require(std::abs(point.level - expected) < 0.01, "a level on the line");
  }
  const auto dated = std::make_shared<const std::vector<curve::CurvePoint>>(byDate->begin(), byDate->end());
  const auto ordered = std::make_shared<const std::vector<curve::CurvePoint>>(*inOrder);
  const auto writing = [](const auto& records) {
    return Side{.run = [records] {
      auto copy = written(*records);
      benchmark::DoNotOptimize(copy.data());
    }};
  };
  addPair({.name = "curve records by date",
           .library = {.run =
                           [=] {
                             auto points = curve::pointsByDate(*month, minute, name);
                             benchmark::DoNotOptimize(points);
                           }},
           .reference = writing(dated),
           .ratioAtMost = 3});
  addPair({.name = "curve records in order",
           .library = {.run =
                           [=] {
                             auto points = curve::orderedPoints(*month, minute, name, after, 1'000'000);
                             benchmark::DoNotOptimize(points);
                           }},
           .reference = writing(ordered),
           .ratioAtMost = 3});
}

void addLevels(const std::shared_ptr<const Events>& month) {
  const auto segments = std::make_shared<std::vector<Events>>();
  for (std::size_t i = 0; i + 1 < month->size(); ++i) {
    segments->push_back(curve::levelsBetween((*month)[i], (*month)[i + 1], minute));
    for (const TideEvent& point : segments->back()) {
      const double expected = curve::levelAt(*month, static_cast<double>(point.timestamp));
      require(std::abs(point.tidelevel - expected) < 0.01 && point.isIntermediary, "a level on the line");
    }
  }
  addPair({.name = "curve levels, segment by segment",
           .library = {.run =
                           [=] {
                             for (std::size_t i = 0; i + 1 < month->size(); ++i) {
                               auto points = curve::levelsBetween((*month)[i], (*month)[i + 1], minute);
                               benchmark::DoNotOptimize(points.data());
                             }
                           }},
           .reference = {.run =
                             [=] {
                               for (const Events& segment : *segments) {
                                 Events points;
                                 points.reserve(segment.size());
                                 std::int64_t t = segment.empty() ? 0 : segment.front().timestamp;
                                 for (std::size_t i = 0; i < segment.size(); ++i, t += minute) {
                                   points.emplace_back(t, 1.0, false).isIntermediary = true;
                                 }
                                 benchmark::DoNotOptimize(points.data());
                               }
                             }},
           .ratioAtMost = 1.5});
}

}  // namespace

void addCurvePairs() {
  const auto month = std::make_shared<Events>(yearEvents().begin() + 200, yearEvents().begin() + 321);
  addRecords(month);
  addLevels(month);
}

}  // namespace marlune::bench
