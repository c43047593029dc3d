#include "marlune/tides/TideDataCache.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support/CollectingLog.h"

namespace marlune {
namespace {

class TideDataCacheTest : public ::testing::Test {
 protected:
  static Calendar calendar(const char* zone = "UTC") { return Calendar(TimeZone::named(zone).value()); }

  static std::vector<TideEvent> eventsFrom(std::int64_t begin, int count, std::int64_t step = 3600) {
    std::vector<TideEvent> events;
    for (int i = 0; i < count; ++i) events.emplace_back(begin + i * step, i, i % 2 == 0);
    return events;
  }

  TideDataCache cache{std::make_shared<testing::CollectingLog>()};
};

TEST_F(TideDataCacheTest, FilesEventsUnderTheLocalMonth) {
  // 2024-05-31 23:30 and 2024-06-01 00:30 in Sydney, ten hours ahead.
  cache.addTideData("a", std::vector{TideEvent(1'717'162'200, 1, true), TideEvent(1'717'165'800, 2, false)},
                    calendar("Australia/Sydney"));
  EXPECT_EQ(cache.getTideData("a", 2024, 5)->size(), 1U);
  EXPECT_EQ(cache.getTideData("a", 2024, 6)->size(), 1U);
  // The same month of two years, in one list.
  cache.addTideData("b", std::vector{TideEvent(1'685'000'000, 1, true), TideEvent(1'716'000'000, 2, false)},
                    calendar());
  EXPECT_EQ(cache.getTideData("b", 2023, 5)->size(), 1U);
  ASSERT_TRUE(cache.getTideData("b", 2024, 5));
  EXPECT_EQ(cache.getTideData("b", 2024, 5)->front().tidelevel, 2);
  // Before 1970 and at its first second there is a local month too.
  cache.addTideData("c", std::vector{TideEvent(0, 1, true), TideEvent(-1, 2, false)}, calendar());
  EXPECT_EQ(cache.getTideData("c", 1970, 1)->size(), 1U);
  EXPECT_EQ(cache.getTideData("c", 1969, 12)->size(), 1U);
}

TEST_F(TideDataCacheTest, MonthsAreRightAcrossClockChangesAndFarAway) {
  // Every hour of three years, and some far instants, against the calendar's own answer.
  for (const char* zone :
       {"America/Los_Angeles", "Australia/Lord_Howe", "Pacific/Apia", "Africa/Casablanca"}) {
    const Calendar local = calendar(zone);
    MonthSpan span;
    std::vector<std::int64_t> instants;
    for (std::int64_t t = 1'293'000'000; t < 1'388'000'000; t += 3600) instants.push_back(t);
    for (std::int64_t t : {-99'999'999'999, 99'999'999'999, 9'999'999'999'999}) instants.push_back(t);
    for (const std::int64_t t : instants) {
      if (!span.holds(t)) span = local.monthSpan(t);
      const CivilTime civil = local.components(t);
      ASSERT_TRUE(span.year == civil.year && span.month == civil.month) << zone << " " << t;
    }
  }
}

TEST_F(TideDataCacheTest, ANewerCopyReplacesAndMovesToTheEnd) {
  for (int i = 0; i < 2; ++i) cache.addTideData("a", eventsFrom(1'000'000, 3), calendar());
  EXPECT_EQ(cache.getTideData("a", 1970, 1)->size(), 3U);

  const MonthList before = cache.getTideData("a", 1970, 1);
  cache.addTideData("a", std::vector{TideEvent(1'000'000, 9, false)}, calendar());
  const MonthList after = cache.getTideData("a", 1970, 1);
  EXPECT_EQ(before->size(), 3U) << "a list that was handed out stays as it is";
  EXPECT_EQ(after->back(), TideEvent(1'000'000, 9, false));
  EXPECT_EQ(after->front().timestamp, 1'003'600);

  // Two incoming events of one time both stay; out of order or not, cached ones of that time go.
  cache.addTideData("a",
                    std::vector{TideEvent(1'003'600, 7, false), TideEvent(1'000'000, 8, false),
                                TideEvent(1'003'600, 6, true)},
                    calendar());
  std::vector<double> levels;
  for (const auto& event : *cache.getTideData("a", 1970, 1)) levels.push_back(event.tidelevel);
  EXPECT_EQ(levels, (std::vector<double>{2, 7, 8, 6}));
}

TEST_F(TideDataCacheTest, AListOutOfOrderLosesNothing) {
  // The cached list, the incoming one, or both are out of order.
  const std::vector<TideEvent> risen{{1000, 1, true}, {2000, 2, false}, {3000, 3, true}};
  const std::vector<TideEvent> mixed{{3000, 13, true}, {1000, 11, true}, {2500, 12, false}};
  const std::vector<TideEvent> falling{{2000, 22, true}, {1000, 21, false}};
  const auto merged = [&](const char* id, const auto& first, const auto& second) {
    cache.addTideData(id, first, calendar());
    cache.addTideData(id, second, calendar());
    std::vector<double> levels;
    for (const auto& event : *cache.getTideData(id, 1970, 1)) levels.push_back(event.tidelevel);
    return levels;
  };
  EXPECT_EQ(merged("a", risen, mixed), (std::vector<double>{2, 13, 11, 12}));
  EXPECT_EQ(merged("b", mixed, risen), (std::vector<double>{12, 1, 2, 3}));
  EXPECT_EQ(merged("c", mixed, falling), (std::vector<double>{13, 12, 22, 21}));
}

TEST_F(TideDataCacheTest, AMonthIsContainedFrom26EventsOn) {
  cache.addTideData("a", eventsFrom(1000, 25), calendar());
  EXPECT_FALSE(cache.containsTideData("a", 1970, 1));
  cache.addTideData("a", eventsFrom(1000 + 25 * 3600, 1), calendar());
  EXPECT_TRUE(cache.containsTideData("a", 1970, 1));
  EXPECT_FALSE(cache.containsTideData("a", 1970, 2));
}

TEST_F(TideDataCacheTest, AMonthIsRemovedByItself) {
  for (const char* id : {"a", "b"}) cache.addTideData(id, eventsFrom(1000, 900), calendar());
  cache.removeTideData("a", 1970, 1);
  EXPECT_FALSE(cache.getTideData("a", 1970, 1));
  EXPECT_TRUE(cache.getTideData("a", 1970, 2) && cache.getTideData("b", 1970, 1));
  cache.removeAllTideData();
  EXPECT_FALSE(cache.getTideData("b", 1970, 1) || cache.getTideData("a", 1970, 2));
}

TEST_F(TideDataCacheTest, TheFirstAndTheLastEventStayUntilAnEarlierOrLaterComes) {
  EXPECT_FALSE(cache.firstTideEvent() || cache.lastTideEvent());
  const std::vector<TideEvent> first{{2000, 1, true}, {2000, 2, false}};
  cache.addTideData("a", first, calendar());
  cache.addTideData("b", std::vector{TideEvent(2000, 3, true)}, calendar());
  EXPECT_EQ(cache.firstTideEvent(), first[0]) << "of equal times the one that came first";
  EXPECT_EQ(cache.lastTideEvent(), first[0]);
  cache.addTideData("b", std::vector{TideEvent(1999, 4, true), TideEvent(2001, 5, true)}, calendar());
  EXPECT_EQ(cache.firstTideEvent()->tidelevel, 4);
  EXPECT_EQ(cache.lastTideEvent()->tidelevel, 5);
}

TEST_F(TideDataCacheTest, ReadersSeeWholeListsWhileWritersMerge) {
  std::atomic<bool> done = false;
  std::thread writer([&] {
    for (int round = 0; round < 200; ++round) cache.addTideData("a", eventsFrom(1'000, 100), calendar());
    done = true;
  });
  while (!done) {
    const MonthList list = cache.getTideData("a", 1970, 1);
    if (list) {
      ASSERT_EQ(list->size(), 100U);
    }
  }
  writer.join();
}

std::shared_ptr<TideStation> station(const char* id, const char* name, std::optional<std::string> state) {
  auto made = std::make_shared<TideStation>();
  made->stationId = id;
  made->stationName = name;
  made->stateId = std::move(state);
  return made;
}

TEST_F(TideDataCacheTest, TablesKeepTheLaterStationById) {
  cache.addStationsToCache({station("1", "old", "B"), station("2", "\xF0\x9F\x8C\x8A", "A"),
                            station("1", "new", "B"), station("3", "nowhere", std::nullopt),
                            station("4", "\xEE\x80\x80", "A"), station("5", "Zeta", "A"),
                            station("6", "alpha", "A")});
  EXPECT_EQ(cache.getTideStationById("1")->stationName, "new");
  EXPECT_EQ(cache.getTideStationsForState("B")->size(), 2U);
  EXPECT_EQ(cache.getAllStations().size(), 5U);
  EXPECT_EQ(cache.getTideStationStates(), (std::vector<std::string>{"A", "B"}));
  std::vector<std::string> ids;
  const auto ofA = cache.getTideStationsForState("A");
  for (const auto& each : ofA.value()) ids.push_back(*each->stationId);
  EXPECT_EQ(ids, (std::vector<std::string>{"5", "6", "2", "4"})) << "a surrogate pair sorts before U+E000";

  for (const char* name : {"unresolved", "point"}) cache.addStationToCache(station("global_1", name, "X"));
  cache.removeAllStations();
  EXPECT_EQ(cache.getTideStationById("1"), nullptr);
  ASSERT_NE(cache.getTideStationById("global_1"), nullptr);
  EXPECT_EQ(cache.getTideStationById("global_1")->stationName, "point") << "the later of a point's records";
}

}  // namespace
}  // namespace marlune
