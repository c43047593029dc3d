#include "marlune/tides/TideCurve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace marlune::curve {
namespace {

using Events = std::vector<TideEvent>;

const Events threeTides{{0, 0.0, false}, {21'600, 2.0, true}, {43'200, 0.0, false}};

TEST(TideCurve, InterpolatesBetweenTwoEvents) {
  const auto points = levelsBetween({0, 1.0, false}, {3600, 2.0, true}, 900);
  ASSERT_EQ(points.size(), 4U);
  for (std::size_t i = 0; i < points.size(); ++i) {
    const auto step = static_cast<double>(i + 1);
    EXPECT_EQ(points[i], TideEvent(900 * static_cast<std::int64_t>(i + 1), 1 + step / 4, false));
    EXPECT_TRUE(points[i].isIntermediary);
  }
  EXPECT_TRUE(levelsBetween({0, 1, false}, {3600, 2, true}, 4000).empty());
  EXPECT_EQ(levelsBetween({0, 1, false}, {3600, 2, true}, 3600).size(), 1U)
      << "the end counts, the start does not";
  for (const std::int64_t interval :
       {std::int64_t{0}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()}) {
    EXPECT_TRUE(levelsBetween({0, 1, false}, {3600, 2, true}, interval).empty());
    EXPECT_TRUE(pointsByDate(threeTides, interval, nullptr)->empty());
    EXPECT_TRUE(orderedPoints(threeTides, interval, nullptr, Date{}, 5)->empty());
  }
}

TEST(TideCurve, LevelsAreOneFusedMultiplyAdd) {
  const TideEvent a(1'767'225'613, 0.1, false);
  const TideEvent b(1'767'248'000, 5.3, true);
  const double slope = (b.tidelevel - a.tidelevel) / static_cast<double>(b.timestamp - a.timestamp);
  bool differs = false;
  for (const TideEvent& point : levelsBetween(a, b, 7)) {
    const auto seconds = static_cast<double>(point.timestamp - a.timestamp);
    ASSERT_EQ(point.tidelevel, std::fma(seconds, slope, a.tidelevel));
    volatile double product = seconds * slope;
    differs = differs || point.tidelevel != product + a.tidelevel;
  }
  EXPECT_TRUE(differs) << "these figures must tell the two ways apart";
}

TEST(TideCurve, PointsByDateCoverTheListAndNameTheSegmentEnd) {
  const auto name = std::make_shared<const std::string>("Lorne");
  const auto points = pointsByDate(threeTides, 10'800, name);
  ASSERT_TRUE(points);
  ASSERT_EQ(points->size(), 5U);
  const double levels[] = {0, 1, 2, 1, 0};
  for (std::size_t i = 0; i < 5; ++i) {
    const CurvePoint* point = points->find(dateFromSeconds(10'800.0 * static_cast<double>(i)));
    ASSERT_NE(point, nullptr);
    EXPECT_EQ(point->level, levels[i]);
    EXPECT_EQ(point->station, name);
    EXPECT_FALSE(point->previousEvent);
  }
  EXPECT_EQ(points->begin()[1].nextEvent, threeTides[1]);
  EXPECT_EQ(points->begin()[2].nextEvent, threeTides[2]) << "an instant on an event starts the next segment";
  EXPECT_FALSE(points->begin()[4].nextEvent);

  EXPECT_FALSE(pointsByDate({threeTides[0]}, 10, name));
  EXPECT_TRUE(pointsByDate({threeTides[2], threeTides[0]}, 10, name)->empty());
}

TEST(TideCurve, AStepOverSeveralEventsLandsOnTheRightSegment) {
  const Events dense{{0, 0, false}, {10, 10, true},  {20, 0, false},
                     {20, 5, true}, {30, 15, false}, {100, 85, true}};
  const auto points = pointsByDate(dense, 25, nullptr);
  ASSERT_EQ(points->size(), 5U);
  EXPECT_EQ(points->begin()[1].level, 10.0);
  EXPECT_EQ(points->begin()[1].nextEvent, dense[4]);
  EXPECT_EQ(points->begin()[4].level, 85.0);
  // Two events at the very start make no slope, and no level that is not a number.
  const auto twice = pointsByDate({{0, 1, true}, {0, 3, false}, {10, 4, true}}, 5, nullptr);
  EXPECT_EQ(twice->begin()[0].level, 1.0);
  EXPECT_EQ(twice->begin()[1].level, 3.5);
}

TEST(TideCurve, OrderedPointsStartInTimeAndStopAtTheCount) {
  const Events shuffled{threeTides[2], threeTides[0], threeTides[1]};
  const auto points = orderedPoints(shuffled, 10'800, nullptr, dateFromSeconds(10'800), 3);
  ASSERT_EQ(points->size(), 3U);
  EXPECT_EQ(points->at(0).date, dateFromSeconds(10'800)) << "equal counts as not earlier";
  EXPECT_EQ(points->at(0).previousEvent, threeTides[0]);
  EXPECT_EQ(points->at(1).previousEvent, threeTides[0]) << "strictly before";
  EXPECT_EQ(points->at(2).previousEvent, threeTides[1]);
  EXPECT_EQ(points->at(2).level, 1.0);

  const auto later = orderedPoints(shuffled, 10'800, nullptr, dateFromSeconds(10'800.5), 3);
  EXPECT_EQ(later->front().date, dateFromSeconds(21'600)) << "never before the wanted time";
  EXPECT_EQ(later->size(), 3U) << "what was stepped over is not counted";

  const auto all = orderedPoints(shuffled, 10'800, nullptr, dateFromSeconds(-5), 99);
  ASSERT_EQ(all->size(), 5U);
  EXPECT_FALSE(all->front().previousEvent);
  EXPECT_FALSE(all->back().nextEvent);
  EXPECT_FALSE(orderedPoints({}, 10, nullptr, Date{}, 1));
}

TEST(TideCurve, HugeSpansEndQuickly) {
  const auto least = std::numeric_limits<std::int64_t>::min();
  const auto most = std::numeric_limits<std::int64_t>::max();
  const Events wide{{least, 0, false}, {most, 1, true}};
  EXPECT_TRUE(pointsByDate(wide, 1, nullptr)->empty());
  EXPECT_TRUE(levelsBetween(wide[0], wide[1], 1).empty());
  EXPECT_EQ(
      orderedPoints({{0, 0, false}, {4'000'000'000, 1, true}}, 1, nullptr, dateFromSeconds(3'999'999'000), 7)
          ->size(),
      7U);
  EXPECT_EQ(pointsByDate(wide, most, nullptr)->size(), 3U);
  const auto few = orderedPoints(wide, 1, nullptr, dateFromSeconds(0), 3);
  ASSERT_EQ(few->size(), 3U) << "the caller's maximum is enough";
  EXPECT_EQ(few->front().date, dateFromSeconds(0));
}

TEST(TideCurve, EventsOfSeveralListsComeInOrder) {
  const Events may{{10, 1, true}, {30, 2, false}, {30, 3, true}};
  const Events june{{40, 4, false}, {50, 5, true}};
  const Events both{may[0], may[1], may[2], june[0], june[1]};
  EXPECT_EQ(eventsBetween({may, june}, 10, 50), both) << "both ends count";
  EXPECT_EQ(eventsBetween({june, may}, 10, 50), both) << "whichever was loaded first";
  EXPECT_EQ(eventsBetween({may, june}, 11, 49), Events(both.begin() + 1, both.end() - 1));
  // Within a month out of order; of one time, the order of the lists stays.
  EXPECT_EQ(eventsBetween({Events{may[1], may[0]}, Events{may[2]}}, 0, 99),
            Events(both.begin(), both.begin() + 3));
  EXPECT_TRUE(eventsBetween({may, june}, 31, 39).empty());
}

TEST(TideCurve, NeighboursOfAnInstantAreStrictlyBeforeAndAfter) {
  const Events events{{10, 1, true}, {20, 2, false}, {20, 3, true}, {30, 4, false}, {30, 5, true}};
  EXPECT_EQ(previousEventBefore(20, events), events[0]);
  EXPECT_EQ(previousEventBefore(20.5, events), events[2]) << "of equal times the last";
  EXPECT_FALSE(previousEventBefore(10, events));
  EXPECT_EQ(nextEventAfter(20, events), events[3]) << "of equal times the first";
  EXPECT_FALSE(nextEventAfter(30, events));
  EXPECT_EQ(nextTimestampAfter(20, events), 30);
  EXPECT_EQ(nextTimestampAfter(19.5, {events[4], events[1], events[0]}), 20) << "in whatever order";
  EXPECT_EQ(nextTimestampAfter(30, events), noTimestamp);
  EXPECT_EQ(nextTimestampAfter(0, {}), noTimestamp);
}

TEST(TideCurve, LevelAtAnInstant) {
  const Events events{{1'000, 0.0, false}, {22'600, 2.0, true}};
  EXPECT_EQ(levelAt(events, 1'005), 0.0);
  EXPECT_EQ(levelAt(events, 22'590), 2.0) << "10 seconds still count as the event";
  EXPECT_NE(levelAt(events, 22'589.9), 2.0);
  EXPECT_EQ(levelAt(events, 11'800), 1.0);
  // Ties keep the first event before and the last event after.
  const Events ties{{100, 4, true}, {100, 8, true}, {300, 6, true}, {300, 10, true}};
  EXPECT_EQ(levelAt(ties, 200), 7.0);
  EXPECT_EQ(levelAt({{0, 4, true}, {300, 6, true}}, 200), 0.0)
      << "nothing before: an event at 0 does not count";
}

TEST(TideCurve, CrossingsOfALevel) {
  const auto hours = [](const std::optional<std::vector<Date>>& dates) {
    std::vector<double> result;
    for (const Date date : *dates) result.push_back(secondsOf(date) / 3600);
    return result;
  };
  EXPECT_EQ(hours(crossings(1.0, threeTides)), (std::vector<double>{3, 9}));
  EXPECT_EQ(hours(crossings(2.0, threeTides)), (std::vector<double>{6}))
      << "not again at the falling pair's start";
  EXPECT_EQ(hours(crossings(0.0, threeTides)), (std::vector<double>{0, 12}));
  EXPECT_TRUE(crossings(1.0, {{0, 1, true}, {10, 1, true}})->empty()) << "a flat pair";
  EXPECT_FALSE(crossings(1.0, {threeTides[0]}));
  EXPECT_EQ(secondsOf(crossings(1.0, {{0, 0, false}, {10, 3, true}})->front()), 10.0 / 3);
}

}  // namespace
}  // namespace marlune::curve
