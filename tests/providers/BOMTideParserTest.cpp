#include "marlune/providers/BOMTideParser.h"

#include <gtest/gtest.h>

#include "support/CollectingLog.h"

namespace marlune::testing {
namespace {

/// A forecast element; `rest` is what stands between its tags.
std::string element(const std::string& time, const std::string& rest, const std::string& instance = "high") {
  return "<element type=\"tide_forecast\" instance=\"" + instance + "\" time-utc=\"" + time + "\">" + rest +
         "</element>\n";
}

TEST(BOMTideParserTest, ReadsTheForecastAmongOtherElements) {
  BOMTideParser parser;
  const auto events = parser.getTideEventsFromData(
      "<?xml version=\"1.0\"?><product><amoc><identifier>IDO59001</identifier></amoc><forecast>\n"
      "<element type=\"tide_forecast_datum\">LAT</element>\n" +
      element("2018-12-31T18:41:00Z", "1.57") + "<element type=\"moon_phase\">0.5</element>\n" +
      element("2019-01-01T12:08:00+11:00", " \n0.58m", "low") +
      element("2019-01-01T06:59:00Z", "-.25", "High") +
      "<element type=\"tide_forecast\" instance=\"high\">9</element>"
      "<element type=\"tide_forecast\" time-utc=\"2019-01-02T00:00:00Z\">9</element>"
      "</forecast></product>");
  ASSERT_EQ(events.size(), 3U);
  const TideEvent expected[] = {
      {1'546'281'660, 1.57, true}, {1'546'304'880, 0.58, false}, {1'546'325'940, -0.25, false}};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(events[i].timestamp, expected[i].timestamp);
    EXPECT_EQ(events[i].tidelevel, expected[i].tidelevel);
    EXPECT_EQ(events[i].isHighTide, expected[i].isHighTide);
    EXPECT_TRUE(events[i].tideLevelInMeters);
  }
  EXPECT_TRUE(parser.getTideEventsFromData("<product/>").empty()) << "nothing is left of the first document";
  EXPECT_TRUE(parser.getTideEventsFromData(Data()).empty());
}

TEST(BOMTideParserTest, TheLastTextOfAnElementIsItsLevel) {
  const std::string time = "2019-01-01T00:00:00Z";
  const struct {
    std::string rest;
    double level;
  } cases[] = {
      {"1.2\n5", 1.2},  {"1&#46;5", 1.5},   {"1<!-- -->2.5", 2.5}, {"1<?x?>2.5", 2.5},
      {"1<b>3</b>", 3}, {"1<b>3</b>\n", 0}, {"none", 0},           {std::string(70'000, ' ') + "1.5", 1.5}};
  for (const auto& c : cases) {
    BOMTideParser parser;
    const auto events = parser.getTideEventsFromData("<a>" + element(time, c.rest) + "</a>");
    ASSERT_EQ(events.size(), 1U) << c.rest;
    EXPECT_EQ(events[0].tidelevel, c.level) << c.rest;
  }
}

TEST(BOMTideParserTest, DropsWhatHasNoTimeOrNoLevel) {
  const std::string good = element("2019-01-01T00:00:00Z", "1");
  const struct {
    std::string text;
    std::size_t events;
  } cases[] = {
      {element("1970-01-01T00:00:00Z", "1"), 0},
      {element("2019-01-01T00:00:00", "1"), 0},
      {element("2019-01-01T00:00:00Z", "") + good, 1},  // replaced before it was given a level
      // A level that comes after the element is still its own.
      {element("2019-01-01T00:00:00Z", "") + "<element type=\"moon_phase\">0.5</element>", 1},
  };
  for (const auto& c : cases) {
    BOMTideParser parser;
    EXPECT_EQ(parser.getTideEventsFromData("<a>" + c.text + "</a>").size(), c.events) << c.text;
  }
}

TEST(BOMTideParserTest, KeepsWhatStandsBeforeAFault) {
  const std::string start =
      "<a>" + element("2019-01-01T00:00:00Z", "1") + element("2019-01-01T06:00:00Z", "2");
  std::string deep = start;
  for (int i = 0; i < 50'000; ++i) deep += "<b>";
  for (const std::string& text :
       {start, start + "</b>", start + "<element type=\"tide_forecast\" \xFF", deep}) {
    const auto log = std::make_shared<CollectingLog>();
    BOMTideParser parser(log);
    EXPECT_EQ(parser.getTideEventsFromData(text).size(), 2U);
    ASSERT_TRUE(parser.error);
    EXPECT_EQ(log->lines(), std::vector<std::string>{"BOMTideParser error: " + *parser.error});
    EXPECT_FALSE(parser.parsingElement || parser.didParseTideLevel);
  }
}

}  // namespace
}  // namespace marlune::testing
