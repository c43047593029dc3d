#include "marlune/tides/StationList.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace marlune {
namespace {

using Stations = StationList::Stations;

std::shared_ptr<TideStation> stationAt(std::optional<std::string> id, double latitude, double longitude) {
  auto station = std::make_shared<TideStation>();
  station->stationId = std::move(id);
  station->coordinate = {latitude, longitude};
  return station;
}

TEST(StationListTest, ARectangleGivesWhatABareLoopGives) {
  constexpr double none = std::numeric_limits<double>::quiet_NaN();
  std::mt19937_64 random(3);
  std::uniform_real_distribution<> degrees(-190, 190);
  Stations stations;
  for (int i = 0; i < 500; ++i) stations.push_back(stationAt("x", degrees(random) / 2, degrees(random)));
  for (const double odd : {none, 90.0, -90.0, 900.0, std::numeric_limits<double>::infinity()}) {
    stations.push_back(stationAt("x", odd, 1));
    stations.push_back(stationAt("x", 1, odd));
  }
  const StationList list(stations);
  std::uniform_real_distribution<> points(-0.2 * mapWorldSize, 1.2 * mapWorldSize);
  std::vector<MapRect> rects = {{0, 0, mapWorldSize, mapWorldSize},
                                {0, 0, 0, 0},
                                {none, 0, 1e9, 1e9},
                                {0, none, 1e9, 1e9},
                                {-1e300, -1e300, std::numeric_limits<double>::infinity(), 1e308},
                                {mapWorldSize, mapWorldSize, -mapWorldSize, -mapWorldSize}};
  for (int i = 0; i < 50; ++i) rects.push_back({points(random), points(random), points(random), 1e8});
  for (std::size_t i = 0; i < 20; ++i) {  // edges that go through a point
    const MapPoint at = mapPoint(stations[i]->coordinate);
    rects.push_back({at.x, at.y, 1, 1});
    rects.push_back({at.x - 1, at.y - 1, 1, 1});
  }
  for (const MapRect& rect : rects) {
    Stations expected;
    for (const auto& station : stations) {
      if (rect.contains(mapPoint(station->coordinate))) expected.push_back(station);
    }
    EXPECT_EQ(list.inMapRect(rect), expected) << rect.x << " " << rect.y;
  }
  EXPECT_TRUE(StationList().inMapRect(rects.front()).empty());
}

TEST(StationListTest, StationsOfOneIdStandWhereTheLastLies) {
  const auto first = stationAt("a", 0, 0);
  const auto near = stationAt("b", 0, 10);
  const auto last = stationAt("a", 0, 50);
  const auto nameless = stationAt(std::nullopt, 0, 1);
  const StationList list({first, near, last, nameless});
  EXPECT_EQ(list.byId("a"), last);
  EXPECT_EQ(list.byId("c"), nullptr);
  const auto nearest = list.byDistance({0, 0});
  ASSERT_EQ(nearest.size(), 4U);
  EXPECT_EQ(nearest[0], nameless);
  EXPECT_EQ(nearest[1], near) << "the first of them lies nearer, but does not count";
}

TEST(StationListTest, APlaceThatIsNoNumberComesLast) {
  constexpr double none = std::numeric_limits<double>::quiet_NaN();
  constexpr double infinite = std::numeric_limits<double>::infinity();
  const auto antipode = stationAt("a", 0, 180);
  const auto here = stationAt("h", 0, 0);
  const StationList list({stationAt("x", none, 0), antipode, stationAt("y", 0, infinite), here});
  const auto nearest = list.byDistance({0, 0});
  ASSERT_EQ(nearest.size(), 4U);
  EXPECT_EQ(nearest[0], here);
  EXPECT_EQ(nearest[1], antipode);
  EXPECT_EQ(list.byDistance({none, 0}).size(), 4U);
}

}  // namespace
}  // namespace marlune
