#include <gtest/gtest.h>

#include <memory>

#include "marlune/formats/KeyedArchive.h"
#include "marlune/tides/TideEvent.h"
#include "marlune/tides/TideStation.h"

namespace marlune {
namespace {

TEST(TideEvent, HasADateFromTheFirstSecondOn) {
  EXPECT_FALSE(TideEvent(0, 1.0, true).gmtDate());
  EXPECT_EQ(TideEvent(1, 1.0, true).gmtDate(), dateFromSeconds(1));

  TideEvent moved(100, 1.0, true);
  moved.gmtDate();
  moved.timestamp = 200;
  EXPECT_EQ(moved.gmtDate(), dateFromSeconds(100)) << "the first date given is kept";
}

TEST(TideEvent, EqualityTakesTimeLevelKindAndUnit) {
  const TideEvent event(1'700'000'000, 1.0, true);
  TideEvent other = event;
  other.isIntermediary = true;
  EXPECT_EQ(event, other);
  EXPECT_EQ(std::hash<TideEvent>{}(event), std::hash<TideEvent>{}(other));
  other.tideLevelInMeters = true;
  EXPECT_NE(event, other);
}

TEST(TideStation, IsEqualByIdAlone) {
  TideStation a;
  TideStation b;
  EXPECT_FALSE(a.isEqual(&b)) << "two records without id";
  a.stationId = "1";
  b.stationId = "1";
  b.stationName = "elsewhere";
  EXPECT_TRUE(a.isEqual(&b));
  EXPECT_FALSE(a.isEqual(nullptr));
  EXPECT_TRUE(TideStation::isGlobalStationId("global_"));
  EXPECT_FALSE(TideStation::isGlobalStationId("Global_1"));
  EXPECT_FALSE(TideStation::isGlobalStationId(std::nullopt));
}

TEST(TideStation, KeepsTheFirstZoneItFinds) {
  TideStation station;
  EXPECT_FALSE(station.getTimezone());
  station.timezoneName = "";
  EXPECT_FALSE(station.getTimezone());
  station.timezoneName = "Nowhere/Atlantis";
  EXPECT_FALSE(station.getTimezone());
  station.timezoneName = "Etc/GMT-5";
  ASSERT_TRUE(station.getTimezone());
  EXPECT_EQ(station.getTimezone()->civil(0).hour, 5);
  station.timezoneName = "America/Los_Angeles";
  EXPECT_EQ(station.getTimezone()->name(), "Etc/GMT-5");
}

/// Archives a record that has none of a station's keys.
struct Empty {
  void encodeWithCoder(KeyedEncoder&) const {}
};

TEST(TideStation, TakesMissingKeysAsNothingAndAsSubordinate) {
  const auto archive =
      KeyedUnarchiver::open(*KeyedArchiver::archive(KeyedArchiver::object("TideStation", Empty{})));
  const TideStation back(*archive->rootObject());
  EXPECT_FALSE(back.stationId);
  EXPECT_TRUE(back.isSubordinate);
  EXPECT_EQ(back.coordinate, Coordinate{});
  EXPECT_FALSE(back.isGlobal);
}

}  // namespace
}  // namespace marlune
