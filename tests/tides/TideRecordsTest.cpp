#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <unordered_set>

#include "marlune/platform/KeyedArchive.h"
#include "marlune/tides/TideEvent.h"
#include "marlune/tides/TideStation.h"

namespace marlune {
namespace {

TEST(TideEvent, HasADateFromTheFirstSecondOn) {
  EXPECT_FALSE(TideEvent(0, 1.0, true).gmtDate());
  EXPECT_FALSE(TideEvent(-5, 1.0, true).gmtDate());
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
  EXPECT_NE(event, TideEvent(1'700'000'000, 1.0000001, true));
  EXPECT_NE(event, TideEvent(1'700'000'001, 1.0, true));
  EXPECT_NE(event, TideEvent(1'700'000'000, 1.0, false));
  other.tideLevelInMeters = true;
  EXPECT_NE(event, other);
}

TEST(TideEvent, DescribesItself) {
  std::ostringstream stream;
  stream << TideEvent(1'700'000'000, 2.5, false);
  EXPECT_EQ(stream.str(), "TideEvent ts: 1700000000, level: 2.500000, isHighTide: NO");
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

TideStation unarchived(const std::optional<Bytes>& bytes) {
  const auto archive = KeyedUnarchiver::open(bytes.value_or(""));
  const auto root = archive ? archive->rootObject() : std::nullopt;
  EXPECT_TRUE(root && root->isKindOf("TideStation"));
  return root ? TideStation(*root) : TideStation();
}

TEST(TideStation, ArchivesItsTenKeysWithTheFlagInverted) {
  TideStation station("398997177", "9413745", false, 36.9583, -122.017, "Santa Cruz", "California",
                      std::nullopt, "America/Los_Angeles");
  station.isGlobal = true;
  station.hasResolvedName = true;
  station.stationAreaId = "IDO59001";
  for (const bool subordinate : {false, true}) {
    station.isSubordinate = subordinate;
    const auto bytes = KeyedArchiver::archive(KeyedArchiver::object("TideStation", station));
    const TideStation back = unarchived(bytes);
    EXPECT_EQ(back.stationId, station.stationId);
    EXPECT_EQ(back.stationExtId, station.stationExtId);
    EXPECT_EQ(back.isSubordinate, subordinate);
    EXPECT_EQ(back.coordinate, station.coordinate);
    EXPECT_EQ(back.stationName, station.stationName);
    EXPECT_EQ(back.stateId, station.stateId);
    EXPECT_EQ(back.country, std::nullopt);
    EXPECT_EQ(back.timezoneName, station.timezoneName);
    EXPECT_TRUE(back.isGlobal);
    EXPECT_FALSE(back.hasResolvedName);
    EXPECT_EQ(back.stationAreaId, std::nullopt);
  }
}

/// Archives a record that has none of a station's keys.
struct Empty {
  void encodeWithCoder(KeyedEncoder&) const {}
};

TEST(TideStation, TakesMissingKeysAsNothingAndAsSubordinate) {
  const TideStation back = unarchived(KeyedArchiver::archive(KeyedArchiver::object("TideStation", Empty{})));
  EXPECT_FALSE(back.stationId);
  EXPECT_TRUE(back.isSubordinate);
  EXPECT_EQ(back.coordinate, Coordinate{});
  EXPECT_FALSE(back.isGlobal);
}

}  // namespace
}  // namespace marlune
