#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "cli/Chart.h"
#include "cli/Errors.h"
#include "cli/EventFile.h"
#include "cli/JsonWriter.h"
#include "cli/Values.h"
#include "cli/Words.h"
#include "marlune/platform/XmlReader.h"

namespace marlune::cli {
namespace {

TEST(ValuesTest, InstantsAreIsoWithAZoneOrSeconds) {
  const struct {
    const char* text;
    std::optional<double> seconds;
  } cases[] = {
      {"2025-03-05T12:00:00Z", 1741176000.0},
      {"2025-03-05T23:00:00+11:00", 1741176000.0},
      {"2025-03-05t04:00:00-0800", 1741176000.0},
      {"2025-03-05 12:00z", 1741176000.0},
      {"20250305T120000Z", 1741176000.0},
      {"20250305T1200+00", 1741176000.0},
      {"2025-03-05T12:00:00.25Z", 1741176000.25},
      {"1969-12-31T23:59:59.5Z", -0.5},
      {"2024-02-29T00:00:00Z", 1709164800.0},
      {"-1.5", -1.5},
      {"1741176000", 1741176000.0},
      {"2025-03-05T12:00:00", std::nullopt},  // no zone
      {"2025-03-05", std::nullopt},
      {"2025-02-29T00:00:00Z", std::nullopt},
      {"2025-13-01T00:00:00Z", std::nullopt},
      {"2025-03-05T24:00:00Z", std::nullopt},
      {"2025-03-05T12:60:00Z", std::nullopt},
      {"2025-03-05T12:00:00.Z", std::nullopt},
      {"2025-03-05T12:00:00Zx", std::nullopt},
      {"2025-0305T12:00:00Z", std::nullopt},
      {"nan", std::nullopt},
      {"inf", std::nullopt},
      {"1e999", std::nullopt},
      {" 5", std::nullopt},
      {"5 ", std::nullopt},
      {"0x10", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& c : cases) {
    const auto instant = parseInstant(c.text);
    EXPECT_EQ(instant ? std::optional(secondsOf(*instant)) : std::nullopt, c.seconds) << c.text;
  }
}

TEST(ValuesTest, IntegersKeepToTheirRange) {
  EXPECT_EQ(parseInteger("-2147483648", INT32_MIN, INT32_MAX), INT32_MIN);
  for (const char* text : {"2147483648", "1.0", "1e3", "+1", "", "12x", "99999999999999999999"}) {
    EXPECT_FALSE(parseInteger(text, INT32_MIN, INT32_MAX)) << text;
  }
}

TEST(WordsTest, SplitsAsAShellDoes) {
  const struct {
    const char* line;
    std::vector<std::string> words;
  } cases[] = {
      {"  a\tb  ", {"a", "b"}},
      {"stations state \"New York\"", {"stations", "state", "New York"}},
      {R"(a'b "c'd "e\"f\\g\h" i\ j)", {R"(ab "cd)", R"(e"f\g\h)", "i j"}},
      {"a # comment", {"a"}},
      {"a#b '#c'", {"a#b", "#c"}},
      {"# all", {}},
      {"'' \"\"", {"", ""}},
      {"a\r", {"a"}},
      {"", {}},
  };
  for (const auto& c : cases) EXPECT_EQ(splitWords(c.line), c.words) << c.line;
  for (const char* line : {"'a", "\"a", "a \\", "\"a\\"}) EXPECT_THROW(splitWords(line), WrongCall) << line;
}

TEST(JsonWriterTest, NumbersReadBackAndTextsAreValid) {
  const auto number = [](double value) {
    JsonWriter json;
    json.number(value);
    return json.take();
  };
  EXPECT_EQ(number(0.1 + 0.2), "0.30000000000000004");
  EXPECT_EQ(number(3.0), "3");
  EXPECT_EQ(number(-0.0), "-0");
  EXPECT_EQ(number(5e-324), "5e-324");
  EXPECT_EQ(number(std::numeric_limits<double>::infinity()), "null");
  EXPECT_EQ(number(std::nan("")), "null");

  const std::string replacement = "\xEF\xBF\xBD";
  EXPECT_EQ(validUtf8("a\xFF\xFE"
                      "b\xC3\xA9\xC3"),
            "a" + replacement + "b\xC3\xA9" + replacement);
  EXPECT_EQ(validUtf8("\xED\xA0\x80\xF0\x9F\x8C\x8A"), replacement + "\xF0\x9F\x8C\x8A");
  JsonWriter json;
  json.beginArray();
  json.text(std::string_view("\"\\\n\x01\0", 5));
  json.text({});
  json.integer(INT64_MAX);
  json.endArray();
  EXPECT_EQ(json.take(), R"(["\"\\\n\u0001\u0000","",9223372036854775807])");
}

TEST(EventFileTest, AbsentMembersAreZeroAndWrongShapesAreRejected) {
  const auto events = parseEvents(
      "\xEF\xBB\xBF[{}, {\"timestamp\":-5,\"tidelevel\":1,\"isHighTide\":true,\"other\":[1]}, "
      "{\"timestamp\":5.0,\"tidelevel\":null,\"tideLevelInMeters\":true,\"isIntermediary\":true}]",
      "f");
  ASSERT_EQ(events.size(), 3U);
  EXPECT_EQ(events[0], TideEvent());
  EXPECT_EQ(events[1], TideEvent(-5, 1.0, true));
  EXPECT_EQ(events[2].timestamp, 5);
  EXPECT_TRUE(events[2].tideLevelInMeters && events[2].isIntermediary);
  for (const char* json :
       {"", "{}", "[1]", "[{\"timestamp\":1.5}]", "[{\"timestamp\":\"1\"}]", "[{\"timestamp\":1e30}]",
        "[{\"tidelevel\":\"2\"}]", "[{\"isHighTide\":1}]", "[{}", "[{}] x"}) {
    EXPECT_THROW(parseEvents(json, "f"), WrongCall) << json;
  }
}

TEST(EventFileTest, FetchesNameAStationAndTwoInstants) {
  const auto source = readEventSource("@a,b,0,2025-03-05T12:00:00Z");
  ASSERT_TRUE(source.fetch);
  EXPECT_EQ(source.fetch->stationId, "a,b");
  EXPECT_EQ(secondsOf(source.fetch->to), 1741176000.0);
  for (const char* word : {"@", "@a", "@a,1", "@a,1,x", "/no/such/file"}) {
    EXPECT_THROW(readEventSource(word), WrongCall) << word;
  }
}

class ChartTest : public ::testing::Test {
 protected:
  static Chart chart(std::vector<double> levels) {
    Chart chart;
    chart.title = "Mud & <Sand>";
    chart.unit = "ft";
    chart.midnights = {0, 86400};
    std::int64_t time = 3600;
    for (const double level : levels) {
      chart.events.emplace_back(time, level, chart.events.size() % 2 == 0);
      chart.line.push_back({time, level});
      time += 6 * 3600;
    }
    return chart;
  }
};

TEST_F(ChartTest, PictureIsWellFormedWhateverTheLevels) {
  struct Elements : XmlHandler {
    void startElement(std::string_view, const XmlAttributes&) override { ++count; }
    int count = 0;
  };
  for (const auto& levels :
       {std::vector{5.0, -1.0, 4.0, 0.5}, std::vector{2.0}, std::vector{99999.0, -99999.0},
        std::vector{0.0, 0.0}, std::vector{1e4, 1e4 + 1e-9}}) {
    const std::string picture = drawSvg(chart(levels));
    Elements elements;
    EXPECT_EQ(XmlReader::read(picture, elements), std::nullopt) << levels[0];
    EXPECT_GT(elements.count, 10);
    EXPECT_NE(picture.find("Mud &amp; &lt;Sand&gt;"), std::string::npos);
    EXPECT_FALSE(drawInTerminal(chart(levels), 80, false).empty());
  }
}

TEST_F(ChartTest, ScalesHaveRoundSteps) {
  const LevelScale scale(chart({5.3, -0.7}), 5);
  EXPECT_EQ(scale.step, 2.0);
  EXPECT_EQ(scale.ticks(), (std::vector{0.0, 2.0, 4.0}));
  EXPECT_EQ(scale.text(-0.0), "0");
  EXPECT_EQ(chart({1}).levelText(-0.04), "0.0");
}

TEST_F(ChartTest, TicksFollowTheClockThroughAClockChange) {
  Chart spring = chart({1});
  spring.zone = *TimeZone::named("America/Los_Angeles");
  spring.midnights = {1772956800, 1773039600};  // 8 March 2026, 23 hours
  const auto ticks = timeTicks(spring, 1);
  EXPECT_EQ(ticks.size(), 23U);
  EXPECT_EQ(ticks[2] - ticks[1], 3600);  // 01:00 PST, then 03:00 PDT
  EXPECT_EQ(clockText(spring.zone, ticks[2]), "03:00");
}

}  // namespace
}  // namespace marlune::cli
