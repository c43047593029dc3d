#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "marlune/search/TideStationSearchProvider.h"

namespace marlune {
namespace {

using Provider = TideStationSearchProvider;

Provider::StationPtr stationAt(std::optional<std::string> name, double latitude, double longitude,
                               bool global = false) {
  auto station = std::make_shared<TideStation>();
  station->stationName = std::move(name);
  station->coordinate = {latitude, longitude};
  station->isGlobal = global;
  return station;
}

/// The rule as it stands, each against all.
Provider::Stations plainlyDeduped(const Provider::Stations& stations) {
  Provider::Stations kept;
  for (const auto& station : stations) {
    bool found = false;
    for (auto& other : kept) {
      const auto [lat1, lng1] = other->coordinate;
      const auto [lat2, lng2] = station->coordinate;
      const double northSouth = (lat1 - lat2) * 111.0;
      const double eastWest = (lng1 - lng2) * 111.0 * std::cos((lat1 + lat2) / 2 * (std::numbers::pi / 180));
      if (std::sqrt(northSouth * northSouth + eastWest * eastWest) > 60.0) continue;
      if (other->stationName != station->stationName) continue;
      if (other->isGlobal && !station->isGlobal) other = station;
      found = true;
      break;
    }
    if (!found) kept.push_back(station);
  }
  return kept;
}

TEST(DedupeTest, KeepsTheFirstOfANameNearby) {
  struct Case {
    Provider::Stations stations;
    std::vector<std::size_t> kept;
  };
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto km = [](double kilometers) { return kilometers / 111.0; };
  const Case cases[] = {
      {{}, {}},
      {{stationAt("Lorne", -38, 144), stationAt("lorne", -38 + km(59), 144)}, {0}},
      {{stationAt("Lorne", -38, 144), stationAt("lorne", -38 + km(61), 144)}, {0, 1}},
      {{stationAt("Lorne", 0, 10), stationAt("lorne", 0, 10 + km(60.001))}, {0, 1}},
      // 60 / 111 of a degree is 60 km to the last digit; the next double up is more.
      {{stationAt("Lorne", 0, 144), stationAt("lorne", km(60), 144)}, {0}},
      {{stationAt("Lorne", 0, 144), stationAt("lorne", std::nextafter(km(60), 1), 144)}, {0, 1}},
      {{stationAt("ÆRØ", 0, 1), stationAt("æRø", 0, 1), stationAt("Ærö", 0, 1)}, {0, 2}},
      {{stationAt({}, 5, 5), stationAt("", 5, 5), stationAt("a", 5, 5)}, {0, 2}},
      // The catalogue's takes the place of a global point, a global point nobody's.
      {{stationAt("a", 0, 0, true), stationAt("b", 0, 0), stationAt("a", 0.1, 0)}, {2, 1}},
      // What took the place is compared at its own.
      {{stationAt("a", 0, 0, true), stationAt("a", 0.5, 0), stationAt("a", 1, 0), stationAt("a", 0, 0)}, {1}},
      {{stationAt("a", nan, 0), stationAt("a", nan, 0), stationAt("a", 0, INFINITY)}, {0, 1, 2}},
  };
  for (std::size_t number = 0; number < std::size(cases); ++number) {
    Provider::Stations expected;
    for (const std::size_t place : cases[number].kept) expected.push_back(cases[number].stations[place]);
    EXPECT_EQ(Provider::dedupeStations(cases[number].stations), expected) << "case " << number;
  }
  EXPECT_TRUE(Provider::dedupeStations({nullptr}).empty());
}

TEST(DedupeTest, ManyOfOneNameGiveWhatTheRuleGives) {
  std::mt19937 random(3);
  struct Region {
    double south, north, west, east;
  };
  for (const auto& [south, north, west, east] :
       {Region{-3, 3, -3, 3}, Region{60, 62, -180, 180}, Region{86, 94, -180, 180},
        Region{-120, -86, -500, 500}, Region{899, 901, 1e6, 1e6 + 9}}) {
    Provider::Stations stations;
    for (int i = 0; i < 1500; ++i) {
      stations.push_back(stationAt(random() % 9 == 0 ? "other" : "same",
                                   std::uniform_real_distribution<>(south, north)(random),
                                   std::uniform_real_distribution<>(west, east)(random), random() % 2 == 0));
    }
    EXPECT_EQ(Provider::dedupeStations(stations), plainlyDeduped(stations)) << south;
  }
}

TEST(DedupeTest, ManyPairsJustWithinReachAreFoundWhereverTheyLie) {
  Provider::Stations stations;
  for (int i = 0; i < 300; ++i) {
    stations.push_back(stationAt("same", i * 0.0037, i * 1.1 - 170));
    stations.push_back(stationAt("same", i * 0.0037 + 0.5405, i * 1.1 - 170));
  }
  EXPECT_EQ(Provider::dedupeStations(stations).size(), 300U);
}

}  // namespace
}  // namespace marlune
