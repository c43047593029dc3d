#include "marlune/geo/Distance.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "marlune/geo/MapProjection.h"

namespace marlune {
namespace {

TEST(DistanceTest, KnownWaysOnTheSphere) {
  constexpr double quarter = 10'007'543.398;  // of a circle of 6371 km, in metres
  const struct {
    Coordinate a, b;
    double meters;
  } rows[] = {
      {{0, 0}, {0, 0}, 0},
      {{0, 0}, {0, 90}, quarter},
      {{0, -45}, {90, 12}, quarter},
      {{0, 179.5}, {0, -179.5}, quarter / 90},                 // over the antimeridian
      {{60, 0}, {60, 180}, quarter / 90 * 60},                 // over the pole
      {{-33.8688, 151.2093}, {51.5074, -0.1278}, 16'993'900},  // Sydney to London
      {{0, 0}, {1e-7, 0}, 0.0111195},
  };
  for (const auto& [a, b, meters] : rows) {
    EXPECT_NEAR(distanceInMeters(a, b), meters, std::max(1e-8, meters * 1e-5)) << meters;
    EXPECT_EQ(distanceInMeters(a, b), distanceInMeters(b, a));
  }
}

TEST(DistanceTest, AntipodesAreHalfTheWayRound) {
  // What is rounded makes some of these chords longer than the sphere is wide.
  std::mt19937_64 random(5);
  std::uniform_real_distribution<> degrees(-90, 90);
  bool isTooLong = false;
  for (int i = 0; i < 2000; ++i) {
    const Coordinate a{degrees(random), 2 * degrees(random)};
    const Coordinate b{-a.latitude, a.longitude > 0 ? a.longitude - 180 : a.longitude + 180};
    ASSERT_NEAR(distanceInMeters(a, b), 20'015'086.8, 1) << a.latitude << " " << a.longitude;
    isTooLong = isTooLong || squaredChord(spherePoint(a), spherePoint(b)) > 4;
  }
  EXPECT_TRUE(isTooLong) << "these places must show what a longer chord does";
}

TEST(MapProjectionTest, KnownPlaces) {
  // The figures are worked out apart from the library, in points of a square with a side of 2^28.
  constexpr double side = 268'435'456;
  const struct {
    Coordinate place;
    double x, y;
  } rows[] = {
      {{0, 0}, side / 2, side / 2},
      {{0, -180}, 0, side / 2},
      {{0, 90}, side * 3 / 4, side / 2},
      {{85.0511287798066, -180}, 0, 0},  // the north-west corner
      {{-85.0511287798066, 180}, side, side},
      {{36.9583, -122.017}, 43235258.459, 104522074.322},    // Santa Cruz
      {{-33.8688, 151.2093}, 246967554.103, 161086037.162},  // Sydney
      {{50.81666, -0.1}, 134143162.596, 90082959.502},       // Brighton
  };
  for (const auto& [place, x, y] : rows) {
    const MapPoint at = mapPoint(place);
    EXPECT_NEAR(at.x, x, 0.01) << place.latitude << " " << place.longitude;
    EXPECT_NEAR(at.y, y, 0.01) << place.latitude << " " << place.longitude;
  }
}

TEST(MapProjectionTest, APoleLiesInNoRectangle) {
  const MapRect world{0, 0, mapWorldSize, mapWorldSize};
  EXPECT_TRUE(world.contains(mapPoint({85, 0})));
  for (const double latitude : {90.0, -90.0, 86.0, -86.0, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_FALSE(world.contains(mapPoint({latitude, 0}))) << latitude;
  }
  EXPECT_TRUE(world.contains({0, 0})) << "the north and west edges belong to it";
  EXPECT_FALSE(world.contains({mapWorldSize, 0}));
  EXPECT_FALSE(world.contains({0, mapWorldSize}));
}

}  // namespace
}  // namespace marlune
