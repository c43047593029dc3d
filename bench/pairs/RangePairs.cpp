#include <benchmark/benchmark.h>

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#include "pairs/AllocationCount.h"
#include "pairs/Pairs.h"
#include "support/Measure.h"
#include "support/Subjects.h"

// A range of events that memory holds.

namespace marlune::bench {

namespace {

using Events = std::vector<TideEvent>;

Events rangeOf(const Events& sorted, std::int64_t begin, std::int64_t end) {
  const auto first =
      std::lower_bound(sorted.begin(), sorted.end(), begin,
                       [](const TideEvent& event, std::int64_t t) { return event.timestamp < t; });
  const auto last = std::upper_bound(
      first, sorted.end(), end, [](std::int64_t t, const TideEvent& event) { return t < event.timestamp; });
  return {first, last};
}

template <class Query>
void checkRange(const Query& query, const Events& expected) {
  std::optional<Events> answer = query();
  require(answer == expected, fmt::format("a range of {} events, by plain search {}",
                                          answer ? answer->size() : 0, expected.size()));
  answer.reset();
  const std::size_t before = allocations();
  answer = query();
  const std::size_t taken = allocations() - before;
  require(taken == 1, fmt::format("a warm range query takes {} blocks in place of 1", taken));
}

}  // namespace

void addRangePairs() {
  const auto folder = std::make_shared<WorkFolder>(workPlace());
  placeYearFile(folder->path());
  const auto setting = std::make_shared<Setting>(folder->path());
  const auto place = station();
  // Two months by name, of which the middle four weeks are asked for.
  constexpr std::int64_t begin = 1'773'532'800;  // 2026-03-15 00:00 UTC
  constexpr std::int64_t end = begin + std::int64_t{28} * 86'400;
  const auto sorted = std::make_shared<const Events>(yearEvents());
  const Events expected = rangeOf(*sorted, begin, end);
  require(expected.size() > 100, "four weeks of events");

  const auto byStation = [=] { return setting->provider->getTideDataByTimestamp(place, begin, end); };
  const auto byId = [=] { return setting->provider->getTideDataByTimestamp(stationId, begin, end); };
  checkRange(byStation, expected);
  checkRange(byId, expected);

  // The whole of both months, the most that one query gives.
  constexpr std::int64_t wideBegin = 1'772'352'000;  // 2026-03-01 00:00 at the station
  constexpr std::int64_t wideEnd = wideBegin + std::int64_t{31 + 30} * 86'400 - 3601;
  const auto wide = [=] { return setting->provider->getTideDataByTimestamp(place, wideBegin, wideEnd); };
  checkRange(wide, rangeOf(*sorted, wideBegin, wideEnd));

  const Side reference = {.run = [=] {
    auto events = rangeOf(*sorted, begin, end);
    benchmark::DoNotOptimize(events);
  }};
  const auto timing = [](auto query) {
    return Side{.run = [query, keep = 0] {
      auto events = query();
      benchmark::DoNotOptimize(events);
    }};
  };
  addPair({.name = "warm range, by station",
           .library = timing([byStation, folder] { return byStation(); }),
           .reference = reference,
           .microsecondsAtMost = 2});
  addPair({.name = "warm range, by id",
           .library = timing(byId),
           .reference = reference,
           .microsecondsAtMost = 2});
  addPair({.name = "warm range, both months whole",
           .library = timing(wide),
           .reference = {.run =
                             [=] {
                               auto events = rangeOf(*sorted, wideBegin, wideEnd);
                               benchmark::DoNotOptimize(events);
                             }},
           .microsecondsAtMost = 2});
}

}  // namespace marlune::bench
