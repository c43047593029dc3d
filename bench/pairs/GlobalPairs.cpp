#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "marlune/tides/StationList.h"
#include "marlune/tides/TideDataCache.h"
#include "pairs/Pairs.h"
#include "support/Measure.h"
#include "support/Subjects.h"

// Worldwide points: asking them by place, and keeping a year of one.

namespace marlune::bench {

namespace {

using Stations = StationList::Stations;

constexpr int usualPoints = 12'000;

/// Points all over the world, where ships go, in no order.
Stations points(int count) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<> latitude(-60, 75);
  std::uniform_real_distribution<> longitude(-180, 180);
  Stations stations;
  stations.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    auto station = std::make_shared<TideStation>();
    station->stationId = fmt::format("global_{}", i);
    station->coordinate = {latitude(random), longitude(random)};
    station->isGlobal = true;
    stations.push_back(std::move(station));
  }
  return stations;
}

std::vector<MapPoint> projected(const Stations& stations) {
  std::vector<MapPoint> result;
  for (const auto& station : stations) result.push_back(mapPoint(station->coordinate));
  return result;
}

struct View {
  std::string name;
  double share;  // of the side of the world
};

void addMapRects(const View& view) {
  const auto list = std::make_shared<const StationList>(points(usualPoints));
  const auto bare = std::make_shared<const std::vector<MapPoint>>(projected(list->all()));
  const double side = mapWorldSize * view.share;
  // Another place each time, or the processor learns by heart which points lie inside.
  const auto rect = std::make_shared<MapRect>();
  const auto random = std::make_shared<std::mt19937_64>(1);
  const auto move = [=] {
    std::uniform_real_distribution<> corner(0, mapWorldSize - side);
    *rect = {corner(*random), corner(*random), side, side};
  };
  for (int i = 0; i < 20; ++i) {
    move();
    Stations expected;
    for (std::size_t k = 0; k < bare->size(); ++k) {
      if (rect->contains((*bare)[k])) expected.push_back(list->all()[k]);
    }
    require(list->inMapRect(*rect) == expected, "the points in a rectangle, in their order");
  }
  addPair({.name = "map rectangle, " + view.name,
           .library = {.run =
                           [=] {
                             auto inside = list->inMapRect(*rect);
                             benchmark::DoNotOptimize(inside);
                           },
                       .prepare = move},
           .reference = {.run =
                             [=] {
                               Stations inside;
                               for (std::size_t i = 0; i < bare->size(); ++i) {
                                 if (rect->contains((*bare)[i])) inside.push_back(list->all()[i]);
                               }
                               benchmark::DoNotOptimize(inside);
                             },
                         .prepare = move},
           .ratioAtMost = 1.2});
}

/// Ten times the points on the library's side, beside as many as there are.
void addGrowth() {
  const auto many = std::make_shared<const Stations>(points(10 * usualPoints));
  const auto few = std::make_shared<const Stations>(many->begin(), many->begin() + usualPoints);
  const auto pair = [&](const std::string& name, auto ask) {
    const auto side = [=](const std::shared_ptr<const Stations>& stations) {
      const auto list = std::make_shared<const StationList>(*stations);
      ask(*list);
      return Side{.run = [=] { ask(*list); }};
    };
    addPair({.name = "ten times the points: " + name,
             .library = side(many),
             .reference = side(few),
             .ratioAtMost = 12});
  };
  // Another place each time, as above: the same few points would otherwise lie in the nearest cache.
  const auto random = std::make_shared<std::mt19937_64>(5);
  pair("rectangle", [random](const StationList& list) {
    std::uniform_real_distribution<> corner(0, mapWorldSize * 7 / 8);
    auto inside = list.inMapRect({corner(*random), corner(*random), mapWorldSize / 8, mapWorldSize / 8});
    benchmark::DoNotOptimize(inside);
  });
  pair("nearest", [random](const StationList& list) {
    auto nearest = list.byDistance({std::uniform_real_distribution<>(-60, 75)(*random), 10});
    benchmark::DoNotOptimize(nearest);
  });
  pair("new list, asked", [](const StationList& list) {
    const StationList made(list.all());
    auto inside = made.inMapRect({0, 0, 1, 1});
    benchmark::DoNotOptimize(inside);
    benchmark::DoNotOptimize(made.byId("global_1"));
  });
}

void addYear(const std::string& where, const std::string& parent) {
  const auto folder = std::make_shared<WorkFolder>(parent);
  if (!folder->exists()) return;
  const auto place = station();
  const auto setting = std::make_shared<std::unique_ptr<Setting>>();
  const auto container = std::make_shared<std::string>();
  // A container each time, there already: to empty a used one would leave removed files to look after.
  const auto number = std::make_shared<int>(0);
  const auto renew = [=] {
    *setting = std::make_unique<Setting>(folder->path() + "/" + std::to_string((*number)++));
    require((*setting)->files->saveFileInContainer(kGroupContainerName, "here", "x"), "cannot write");
    *container = *(*setting)->host.folders->container(kGroupContainerName);
  };
  const auto keep = [=] { (*setting)->provider->cacheGlobalYearEvents(yearEvents(), place, year); };

  renew();
  keep();
  std::vector<PlainFile> files;
  std::size_t events = 0;
  for (int month = 1; month <= 12; ++month) {
    const std::string name = fmt::format("tcache_{}_{}_{}.bin", stationId, year, month);
    const Data bytes = (*setting)->files->loadFileInContainer(kGroupContainerName, name);
    require(bytes != nullptr, "a month file is missing");
    files.push_back({name, *bytes});
    const auto list = (*setting)->provider->getTideData(stationId, year, month);
    require(list && *list == (*setting)->diskCache->cachedEvents(stationId, year, month), "memory and disk");
    events += list->size();
  }
  require(events > 1400, "the events of a year");
  renew();
  require(writePlainly(*container, files), "twelve files written plainly");
  addPair({.name = "a year kept by months, " + where,
           .library = {.run = keep, .prepare = renew, .runs = 20},
           .reference = {.run = [=] { writePlainly(*container, files); }, .prepare = renew, .runs = 20},
           .ratioAtMost = 1.5});
}

}  // namespace

void addGlobalPairs() {
  addMapRects({"a coast", 0.02});
  addMapRects({"a continent", 0.2});
  addMapRects({"half the world", 0.7});
  addGrowth();
  addYear("in memory", "/dev/shm");
  addYear("on disk", workPlace());
}

}  // namespace marlune::bench
