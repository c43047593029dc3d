#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "marlune/geo/Distance.h"
#include "marlune/tides/StationFile.h"
#include "marlune/tides/StationTables.h"
#include "pairs/Pairs.h"
#include "support/Measure.h"
#include "support/Subjects.h"

// The catalogue: reading it and asking it.

namespace marlune::bench {

namespace {

using Stations = StationTables::Stations;

void addCatalogue() {
  const auto text = std::make_shared<const Bytes>(resource("stations_master_usa2.txt"));
  const auto lines = static_cast<std::size_t>(std::count(text->begin(), text->end(), '\n'));
  const auto stations = std::make_shared<Stations>(station_file::stationsOf(*text).value());
  require(stations->size() == lines && lines > 3000, "a station a line");
  require(stations->back()->coordinate.latitude != 0 && stations->back()->timezoneName, "the last station");
  const auto tables = std::make_shared<std::shared_ptr<const StationTables>>();
  const StationTables nothing;

  const Side copying = {.run = [=] {
    Bytes copy(*text);
    benchmark::DoNotOptimize(copy.data());
    // The least that a reading by lines does.
    std::size_t found = 0;
    for (const char* at = copy.data(); (at = std::strchr(at, '\n')) != nullptr; ++at) ++found;
    benchmark::DoNotOptimize(found);
  }};
  // What the run before made is given back outside the timing.
  const auto forget = [=] {
    tables->reset();
    stations->clear();
    stations->shrink_to_fit();
  };
  addPair(
      {.name = "catalogue into records",
       .library = {.run = [=] { *stations = station_file::stationsOf(*text).value(); }, .prepare = forget},
       .reference = copying,
       .megabytesPerSecondAtLeast = 300,
       .bytes = text->size()});
  addPair({.name = "catalogue: records into tables",
           .library = {.run = [=] { *tables = StationTables().adding(*stations); },
                       .prepare =
                           [=] {
                             forget();
                             *stations = station_file::stationsOf(*text).value();
                           }},
           .reference = copying,
           .bytes = text->size()});
  addPair({.name = "catalogue: both",
           .library = {.run =
                           [=] {
                             *stations = station_file::stationsOf(*text).value();
                             *tables = StationTables().adding(*stations);
                           },
                       .prepare = forget},
           .reference = copying,
           .bytes = text->size()});
}

void addNearest() {
  const auto folder = std::make_shared<WorkFolder>(workPlace());
  const auto setting = std::make_shared<Setting>(folder->path());
  setting->provider->loadStationData();
  const Coordinate here{38.4, -90.2};
  const auto nearest = setting->provider->getStationsByNearest(here);
  require(nearest.size() == setting->provider->getAllTideStations().size() && nearest.size() > 3000,
          "every station by distance");
  require(std::is_sorted(nearest.begin(), nearest.end(),
                         [&](const auto& a, const auto& b) {
                           return distanceInMeters(here, a->coordinate) + 0.01 <
                                  distanceInMeters(here, b->coordinate);
                         }),
          "nearest first");
  using Ranked = std::pair<double, std::uint32_t>;
  const auto scratch = std::make_shared<std::vector<Ranked>>();
  const auto all = setting->provider->getAllTideStations();
  // From another place each time, or the processor learns the order by heart.
  const auto random = std::make_shared<std::mt19937_64>(1);
  const auto from = std::make_shared<Coordinate>();
  const auto move = [=] {
    *from = {std::uniform_real_distribution<>(25, 50)(*random),
             std::uniform_real_distribution<>(-125, -65)(*random)};
  };
  addPair({.name = "stations by distance",
           .library = {.run =
                           [=] {
                             auto stations = setting->provider->getStationsByNearest(*from);
                             benchmark::DoNotOptimize(stations);
                           },
                       .prepare = move},
           .reference = {.run =
                             [=] {
                               std::sort(scratch->begin(), scratch->end(),
                                         [](const Ranked& a, const Ranked& b) { return a.first < b.first; });
                               benchmark::DoNotOptimize(scratch->data());
                             },
                         .prepare =
                             [=, keep = folder] {
                               move();
                               scratch->clear();
                               for (const auto& station : all) {
                                 scratch->emplace_back(distanceInMeters(*from, station->coordinate),
                                                       static_cast<std::uint32_t>(scratch->size()));
                               }
                             }},
           .ratioAtMost = 2});
}

}  // namespace

void addStationPairs() {
  addNearest();
  addCatalogue();
}

}  // namespace marlune::bench
