#include "services/TidePredictor.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "services/Harmonics.h"

namespace marlune::services {
namespace {

constexpr std::int64_t kDay = 86400;

std::int64_t startOf(int year) {
  const std::chrono::sys_seconds start = std::chrono::sys_days(std::chrono::year(year) / 1 / 1);
  return start.time_since_epoch().count();
}

struct Figures {
  const char* number;
  std::string only;  // constituents, blank-separated with a blank at both ends; empty for all
  double seconds;    // how far apart times may be
  double feet;
  std::vector<TideExtreme> extremes;
};

// The first two: npm package @neaps/tide-predictor 0.11.0, fed with the constants of xtide-data
// 20191229, in the middle of a year, where yearly and daily node factors meet. The last: NOAA CO-OPS,
// published predictions of Astoria (Tongue Point) for 1 and 2 January 2020, whole minutes, from
// constants newer than ours.
const std::string kEight = " M2 S2 N2 K1 O1 P1 Q1 K2 ";
// clang-format off
const Figures kIndependentFigures[] = {
    {"9413450", kEight, 30, 0.01,
     {{1782851283, 3.693, true}, {1782862975, 3.265, false}, {1782884893, 5.714, true},
      {1782912950, -0.808, false}, {1782939289, 3.767, true}, {1782952030, 3.216, false},
      {1782973445, 5.540, true}, {1783001183, -0.648, false}, {1783027203, 3.859, true},
      {1783041403, 3.110, false}}},
    {"9455920", kEight, 30, 0.02,
     {{1782858808, 1.046, false}, {1782882192, 27.925, true}, {1782903033, 9.028, false},
      {1782923963, 28.295, true}, {1782947317, 0.836, false}, {1782970627, 28.450, true},
      {1782991655, 8.381, false}, {1783012655, 28.406, true}, {1783035835, 0.955, false}}},
    {"9439040", "", 120, 0.05,
     {{1577886480, 7.858, true}, {1577907480, 3.421, false}, {1577927220, 7.109, true},
      {1577950560, 1.530, false}}},
};
// clang-format on

TEST(TidePredictor, agreesWithFiguresMadeByOthers) {
  const TidePredictor predictor(harmonics());
  for (const Figures& figures : kIndependentFigures) {
    SCOPED_TRACE(figures.number);
    const HarmonicStation* found = harmonics().tideStation(figures.number);
    ASSERT_NE(found, nullptr);
    HarmonicStation station = *found;
    if (!figures.only.empty()) {
      std::erase_if(station.components, [&](const HarmonicComponent& component) {
        const std::string name = " " + harmonics().constituents()[component.constituent].name + " ";
        return figures.only.find(name) == std::string::npos;
      });
      ASSERT_EQ(station.components.size(), 8U);
    }
    const auto& expected = figures.extremes;
    const auto got = predictor.extremes(station, expected.front().time - 600, expected.back().time + 600);
    ASSERT_EQ(got.size(), expected.size());
    for (std::size_t i = 0; i < got.size(); ++i) {
      EXPECT_EQ(got[i].high, expected[i].high) << i;
      EXPECT_NEAR(static_cast<double>(got[i].time), static_cast<double>(expected[i].time), figures.seconds)
          << i;
      EXPECT_NEAR(got[i].level, expected[i].level, figures.feet) << i;
    }
  }
}

TEST(TidePredictor, answersThatMeetAreOneAnswer) {
  const TidePredictor predictor(harmonics());
  // UTC's turn of the year, inside the days of the passage, and an arbitrary instant. A subordinate station
  // with unequal offsets has pairs that may straddle the cut.
  const std::int64_t turn = startOf(2027);
  for (const char* number : {"9413450", "9413745", "8720954"}) {
    const HarmonicStation* station = harmonics().tideStation(number);
    ASSERT_NE(station, nullptr) << number;
    const auto whole = predictor.extremes(*station, turn - 40 * kDay, turn + 40 * kDay);
    for (const std::int64_t cut : {turn, turn + kDay / 3, turn - kDay, turn - 20 * kDay + 12345}) {
      auto parts = predictor.extremes(*station, turn - 40 * kDay, cut);
      const auto second = predictor.extremes(*station, cut, turn + 40 * kDay);
      parts.insert(parts.end(), second.begin(), second.end());
      EXPECT_EQ(parts, whole) << number << " cut at " << cut;
    }
    // A cut at an extreme itself gives it to the second part alone.
    const std::int64_t at = whole[whole.size() / 2].time;
    EXPECT_EQ(predictor.extremes(*station, at, at + 1).size(), 1U);
    EXPECT_TRUE(predictor.extremes(*station, at - 1, at).empty());
  }
}

TEST(TidePredictor, offsetsThatCrossLeaveNoDisorder) {
  HarmonicStation station = *harmonics().tideStation("8729840");
  const HarmonicStation reference = station;
  station.high.seconds = 25200;
  station.low.seconds = -25200;
  const TidePredictor predictor(harmonics());
  const auto crossed = predictor.extremes(station, startOf(2026), startOf(2027));
  EXPECT_LT(crossed.size(), predictor.extremes(reference, startOf(2026), startOf(2027)).size());
  for (std::size_t i = 1; i < crossed.size(); ++i) {
    ASSERT_LT(crossed[i - 1].time, crossed[i].time);
    ASSERT_NE(crossed[i - 1].high, crossed[i].high);
  }
}

}  // namespace
}  // namespace marlune::services
