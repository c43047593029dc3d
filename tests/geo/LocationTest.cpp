#include "marlune/geo/Location.h"

#include <gtest/gtest.h>

#include <cmath>

#include "marlune/geo/NearestLocationFinder.h"

namespace marlune {
namespace {

std::shared_ptr<Location> location(const std::string& id, double lat, double lng) {
  auto made = std::make_shared<Location>();
  made->id = id;
  made->lat = lat;
  made->lng = lng;
  const SpacePoint point = spacePoint(lat, lng);
  made->coord = {{"x", point.x}, {"y", point.y}, {"z", point.z}};
  return made;
}

std::string nearest(double lat, double lng, const std::vector<std::shared_ptr<Location>>& from,
                    double limit) {
  const auto found = NearestLocationFinder::findClosestTo(lat, lng, from, limit);
  EXPECT_EQ(LocationList(from).closestTo(lat, lng, limit), found);
  return found ? found->id : "none";
}

TEST(LocationTest, FindsTheNearestByTheStraightLine) {
  const std::vector<std::shared_ptr<Location>> list = {location("a", 10, 179.9), location("b", 10, 0),
                                                       location("c", 10, 0), location("d", -90, 33)};
  EXPECT_EQ(nearest(10, -179.9, list, 100), "a") << "across the 180th meridian";
  EXPECT_EQ(nearest(10, 0, list, 0), "b") << "the first of two";
  EXPECT_EQ(nearest(10.001, 0, list, 0), "none");
  EXPECT_EQ(nearest(-90, -100, list, 1e-6), "d");
  EXPECT_EQ(nearest(0, 0, {}, 1e9), "none");
  EXPECT_EQ(nearest(std::nan(""), 0, list, 1e9), "none");
  // A quarter of the sphere: the chord is the radius times the root of two, and the limit is inclusive.
  auto exact = location("e", 0, 0);
  exact->coord = {{"x", 6371.0 - 50}, {"y", 0.0}, {"z", 0.0}};
  EXPECT_EQ(nearest(0, 0, {exact}, 50), "e");
  EXPECT_EQ(nearest(0, 0, {exact}, 49.999), "none");
}

TEST(LocationTest, AListIsReadWholeOrNotAtAll) {
  const auto read = Location::readList(
      R"([{"lat":1,"lng":2.5,"name":"A","id":"7","coord":{"x":1,"y":2,"z":3},"more":[]}])");
  ASSERT_EQ(read.locations.size(), 1U);
  EXPECT_EQ(read.locations[0]->lng, 2.5);
  EXPECT_EQ(read.locations[0]->name, "A");
  EXPECT_EQ(read.locations[0]->point().z, 3);
  EXPECT_FALSE(Location::readList("[]").error);
  for (const char* text : {"", "{}", "[1]", R"([{"lat":1,"lng":2,"name":"A","id":"7"}])",
                           R"([{"lat":1,"lng":2,"name":"A","id":7,"coord":{}}])",
                           R"([{"lat":"1","lng":2,"name":"A","id":"7","coord":{}}])",
                           R"([{"lat":1,"lng":2,"name":"A","id":"7","coord":{"x":"1"}}])"}) {
    const auto refused = Location::readList(text);
    EXPECT_TRUE(refused.error) << text;
    EXPECT_TRUE(refused.locations.empty());
  }
}

TEST(LocationDeathTest, AMissingCoordinateStopsTheProcess) {
  auto broken = location("a", 0, 0);
  broken->coord.erase("y");
  EXPECT_DEATH(NearestLocationFinder::findClosestTo(0, 0, {broken}, 1), "");
}

}  // namespace
}  // namespace marlune
