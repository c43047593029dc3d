#include "services/CurrentPredictor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "services/AskService.h"
#include "services/Harmonics.h"

namespace marlune::services {
namespace {

constexpr std::int64_t kDay = 86400;

const HarmonicStation& station(const std::string& number) {
  const auto& all = harmonics().stations();
  const auto found =
      std::find_if(all.begin(), all.end(), [&](const HarmonicStation& one) { return one.number == number; });
  if (found == all.end()) throw std::runtime_error("no station " + number);
  return *found;
}

using Kind = CurrentTurn::Kind;

// NOAA CO-OPS, published predictions, as quoted in the tests and notes of public repositories: speeds to the
// hundredth of a knot, times to the minute.
TEST(CurrentPredictor, agreesWithWhatNoaaPublished) {
  const CurrentPredictor predictor(harmonics());
  const struct {
    const char* number;
    int floodDirection;
    int ebbDirection;
    std::vector<CurrentTurn> turns;
  } cases[] = {{"PUG1717_35",
                3,
                236,
                {{Kind::slack, at("2026-05-24 00:49"), 0},
                 {Kind::flood, at("2026-05-24 04:55"), 2.88},
                 {Kind::slack, at("2026-05-24 08:42"), 0},
                 {Kind::ebb, at("2026-05-24 10:58"), -1.35}}},
               {"PUG1515_1",
                228,
                21,
                {{Kind::slack, at("2026-09-24 10:07"), 0},
                 {Kind::ebb, at("2026-09-24 12:06"), -0.41},
                 {Kind::flood, at("2026-09-24 19:19"), 0.88}}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.number);
    const HarmonicStation& one = station(c.number);
    EXPECT_EQ(one.current.floodDirection, c.floodDirection);
    EXPECT_EQ(one.current.ebbDirection, c.ebbDirection);
    // Not every turn between them was quoted.
    const auto got = predictor.turns(one, c.turns.front().time - 120, c.turns.back().time + 120);
    EXPECT_GE(got.size(), c.turns.size());
    EXPECT_LE(got.size(), c.turns.size() + 1);
    for (const CurrentTurn& turn : c.turns) {
      const auto same = std::find_if(got.begin(), got.end(), [&](const CurrentTurn& found) {
        return found.kind == turn.kind && std::abs(found.time - turn.time) <= 60;
      });
      ASSERT_NE(same, got.end()) << turn.time;
      EXPECT_NEAR(same->knots, turn.knots, 0.011) << turn.time;
    }
  }
}

// Over a turn of the year, cut where a turn lies and where none does.
TEST(CurrentPredictor, answersThatMeetAreOneAnswerAndLieOnTheCurve) {
  const CurrentPredictor predictor(harmonics());
  const std::int64_t begin = at("2026-12-25 00:00");
  const std::int64_t end = begin + 14 * kDay;
  // The second has constants of the square of its speed; the last is subordinate and has no curve.
  for (const char* number : {"PUG1515_12", "ACT3401_1", "ACT1591_1"}) {
    const HarmonicStation& one = station(number);
    const auto whole = predictor.turns(one, begin, end);
    ASSERT_GT(whole.size(), 14U * 6U);
    for (const std::int64_t cut : {at("2027-01-01 00:00"), whole[20].time}) {
      auto parts = predictor.turns(one, begin, cut);
      const auto second = predictor.turns(one, cut, end);
      parts.insert(parts.end(), second.begin(), second.end());
      EXPECT_EQ(parts, whole) << number << " cut at " << cut;
    }
    const auto speeds = predictor.speeds(one, begin, end, 60);
    EXPECT_EQ(speeds.empty(), one.subordinate);
    for (const CurrentTurn& turn : whole) {
      if (one.subordinate) break;
      EXPECT_EQ(turn.knots, speeds[static_cast<std::size_t>((turn.time - begin) / 60)]);
      EXPECT_LT(std::abs(turn.knots), 7) << "a speed, not its square";
      if (turn.kind == Kind::slack) continue;
      EXPECT_EQ(turn.knots > 0, turn.kind == Kind::flood) << turn.time;
    }
  }
}

TEST(CurrentPredictor, aSubordinateStationFollowsItsReference) {
  const CurrentPredictor predictor(harmonics());
  // Offsets as the data give them: flood 0:23 and ebb 0:44 later, slacks 0:31 and 0:13, 0.9 and 1.3 times.
  const HarmonicStation& one = station("PCT2676_1");
  const HarmonicStation& reference = harmonics().stations()[one.reference];
  const std::int64_t begin = at("2026-03-01 00:00");
  const auto source = predictor.turns(reference, begin, begin + 3 * kDay);
  const auto moved = predictor.turns(one, begin, begin + 4 * kDay);
  std::size_t found = 0;
  for (std::size_t i = 0; i + 1 < source.size(); ++i) {
    const CurrentTurn& was = source[i];
    const bool beforeFlood = source[i + 1].kind == Kind::flood;
    const std::int64_t minutes = was.kind == Kind::flood ? 23
                                 : was.kind == Kind::ebb ? 44
                                 : beforeFlood           ? 31
                                                         : 13;
    const double factor = was.kind == Kind::flood ? 0.9 : was.kind == Kind::ebb ? 1.3 : 1;
    found += static_cast<std::size_t>(std::count_if(moved.begin(), moved.end(), [&](const CurrentTurn& turn) {
      return turn.kind == was.kind && turn.time == was.time + minutes * 60 &&
             std::abs(turn.knots - was.knots * factor) < 1e-6;
    }));
  }
  EXPECT_EQ(found, source.size() - 1);
}

}  // namespace
}  // namespace marlune::services
