#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "marlune/tides/TideDataCache.h"
#include "marlune/time/Calendar.h"
#include "pairs/Pairs.h"
#include "support/Measure.h"
#include "support/Subjects.h"

// A year of events merged into the month cache.

namespace marlune::bench {

namespace {

using Events = std::vector<TideEvent>;

class NoLog : public Log {
 public:
  void line(std::string_view) override {}
};

std::size_t eventsOf(const TideDataCache& cache) {
  std::size_t count = 0;
  for (int month = 1; month <= 12; ++month) {
    const auto list = cache.getTideData(stationId, year, month);
    if (list) count += list->size();
  }
  return count;
}

/// Sorts `events`, in another disorder each time, or the processor learns the order by heart.
Side sorting(const Events& events, bool shuffled) {
  const auto scratch = std::make_shared<Events>();
  const auto random = std::make_shared<std::mt19937_64>(1);
  return {.run =
              [=] {
                std::sort(scratch->begin(), scratch->end(),
                          [](const TideEvent& a, const TideEvent& b) { return a.timestamp < b.timestamp; });
                benchmark::DoNotOptimize(scratch->data());
              },
          .prepare =
              [=] {
                *scratch = events;
                if (shuffled) std::shuffle(scratch->begin(), scratch->end(), *random);
              }};
}

}  // namespace

void addMergePairs() {
  const Calendar calendar(*station()->getTimezone());
  const auto log = std::make_shared<NoLog>();
  const std::optional<std::string> id(stationId);
  const std::optional<Events> events(yearEvents());

  const auto cache = std::make_shared<std::unique_ptr<TideDataCache>>();
  const auto empty = [=] { *cache = std::make_unique<TideDataCache>(log); };
  const auto full = [=] {
    empty();
    (*cache)->addTideData(id, events, calendar);
  };
  const auto merge = [=] { (*cache)->addTideData(id, events, calendar); };
  full();
  require(eventsOf(**cache) == events->size(), "a merge into an empty cache keeps every event");
  merge();
  require(eventsOf(**cache) == events->size(), "a merge of the same events keeps each once");

  addPair({.name = "merge of a year, empty cache",
           .library = {.run = merge, .prepare = empty},
           .reference = sorting(*events, true),
           .ratioAtMost = 4});
  addPair({.name = "merge of a year, same year there",
           .library = {.run = merge, .prepare = full},
           .reference = sorting(*events, true),
           .ratioAtMost = 4});
  addPair({.name = "same, beside a sort in order",
           .library = {.run = merge, .prepare = full},
           .reference = sorting(*events, false)});
}

}  // namespace marlune::bench
