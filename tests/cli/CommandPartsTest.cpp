#include <gtest/gtest.h>

#include <cmath>

#include "cli/Chart.h"
#include "cli/Errors.h"
#include "cli/JsonWriter.h"
#include "cli/Values.h"
#include "cli/Words.h"
#include "marlune/formats/XmlReader.h"

namespace marlune::cli {
namespace {

TEST(ValuesTest, InstantsAreIsoWithAZoneOrSeconds) {
  const std::pair<const char*, double> good[] = {{"2025-03-05t23:00:00+11:00", 1741176000.0},
                                                 {"2025-03-05 12:00z", 1741176000.0},
                                                 {"20250305T1200+00", 1741176000.0},
                                                 {"2025-03-05T12:00:00.25Z", 1741176000.25},
                                                 {"1969-12-31T23:59:59.5Z", -0.5},
                                                 {"2024-02-29T00:00:00Z", 1709164800.0},
                                                 {"-1.5", -1.5}};
  for (const auto& [text, seconds] : good) EXPECT_EQ(parseInstant(text), dateFromSeconds(seconds)) << text;
  for (const char* text :
       {"2025-03-05T12:00:00", "2025-03-05", "2025-02-29T00:00:00Z", "2025-03-05T24:00:00Z",
        "2025-03-05T12:00:00Zx", "2025-0305T12:00:00Z", "nan", "1e999", " 5", "0x10", ""}) {
    EXPECT_FALSE(parseInstant(text)) << text;
  }
}

TEST(WordsTest, SplitsAsAShellDoes) {
  using Words = std::vector<std::string>;
  EXPECT_EQ(splitWords(" a\tb 'New York' \r"), (Words{"a", "b", "New York"}));
  EXPECT_EQ(splitWords(R"(a'b "c'd "e\"f\\g\h" i\ j)"), (Words{R"(ab "cd)", R"(e"f\g\h)", "i j"}));
  EXPECT_EQ(splitWords("a#b '#c' '' # comment"), (Words{"a#b", "#c", ""}));
  for (const char* line : {"'a", "\"a", "a \\", "\"a\\"}) EXPECT_THROW(splitWords(line), WrongCall) << line;
}

TEST(JsonWriterTest, NumbersReadBackAndTextsAreValid) {
  const auto number = [](double value) {
    JsonWriter json;
    json.number(value);
    return json.take();
  };
  EXPECT_EQ(number(0.1 + 0.2), "0.30000000000000004");
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

Chart chartOf(const std::vector<double>& levels) {
  Chart chart;
  chart.title = "Mud & <Sand>";
  chart.unit = "ft";
  chart.midnights = {0, 86400};
  std::int64_t time = 3600;
  for (const double level : levels) {
    chart.events.emplace_back(time, level, chart.events.size() % 2 == 0);
    chart.line.push_back({time, level});
    time += std::int64_t{6} * 3600;
  }
  return chart;
}

TEST(ChartTest, PictureIsWellFormedWhateverTheLevels) {
  struct Elements : XmlHandler {
    void startElement(std::string_view, const XmlAttributes&) override { ++count; }
    int count = 0;
  };
  for (const auto& levels :
       {std::vector{5.0, -1.0, 4.0, 0.5}, std::vector{2.0}, std::vector{99999.0, -99999.0},
        std::vector{0.0, 0.0}, std::vector{1e4, 1e4 + 1e-9}}) {
    const std::string picture = drawSvg(chartOf(levels));
    Elements elements;
    EXPECT_EQ(XmlReader::read(picture, elements), std::nullopt) << levels[0];
    EXPECT_GT(elements.count, 10);
    EXPECT_NE(picture.find("Mud &amp; &lt;Sand&gt;"), std::string::npos);
    EXPECT_FALSE(drawInTerminal(chartOf(levels), 80, false).empty());
  }
}

TEST(ChartTest, TicksFollowTheClockThroughAClockChange) {
  Chart spring = chartOf({1});
  spring.zone = *TimeZone::named("America/Los_Angeles");
  spring.midnights = {1772956800, 1773039600};  // 8 March 2026, 23 hours
  const auto ticks = timeTicks(spring, 1);
  EXPECT_EQ(ticks.size(), 23U);
  EXPECT_EQ(ticks[2] - ticks[1], 3600);  // 01:00 PST, then 03:00 PDT
  EXPECT_EQ(clockText(spring.zone, ticks[2]), "03:00");
}

}  // namespace
}  // namespace marlune::cli
