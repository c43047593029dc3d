#include "marlune/tides/TideHighLowParser.h"

#include <gtest/gtest.h>

#include <string>

namespace marlune {
namespace {

std::string document(std::string_view inside) {
  return "<tides>" + std::string(inside) + "</tides>";
}

std::vector<std::int64_t> timesOf(const std::optional<std::vector<TideEvent>>& events) {
  std::vector<std::int64_t> times;
  for (const auto& event : events.value_or(std::vector<TideEvent>{})) times.push_back(event.timestamp);
  return times;
}

TEST(TideHighLowParser, ReadsTheServicesOwnForm) {
  TideHighLowParser parser;
  const auto events = parser.getElements(document(R"(<s id="1"/><x><y>
      <e t="-5" l="-1.5" w="L"/><e t="0" l="2" w="h"/><e t=" +12abc" l=" +3.25ft" w="H"/><e t="x" l="y" w=""/>
      <e t="7" l="1"/><e t="7" w="H"/><e l="1" w="H"/><E t="9" l="1" w="H"/></y></x><s id="2"/><s/><s id="3"/>)"));
  ASSERT_TRUE(events);
  EXPECT_EQ(timesOf(events), (std::vector<std::int64_t>{-5, 0, 12, 0}));
  EXPECT_EQ(events->at(0), TideEvent(-5, -1.5, false));
  EXPECT_FALSE(events->at(1).isHighTide) << "only a capital H is high";
  EXPECT_EQ(events->at(2), TideEvent(12, 3.25, true));
  EXPECT_EQ(events->at(3), TideEvent(0, 0.0, false));
  EXPECT_EQ(parser.stationId, "3");
}

TEST(TideHighLowParser, ReadsNoaasForm) {
  const struct {
    const char* time;
    std::int64_t seconds;
  } cases[] = {
      {"2020-02-29 13:48", 1'582'984'080},
      {"1969-12-31 23:59", -60},
      {"2021-02-29 13:48", 0},
      {"2020-01-01 24:00", 0},
      {"2020-01-01 23:60", 0},
      {"2020-01-01T00:00", 0},
      {"2020-01-01 00:00 rubbish", 0},
  };
  for (const auto& [time, seconds] : cases) {
    const auto events = TideHighLowParser().getElements(
        document("<pr t=\"" + std::string(time) + "\"  v=\"7.858\"  type=\"H\" />"));
    ASSERT_TRUE(events) << time;
    ASSERT_EQ(events->size(), 1U) << time;
    EXPECT_EQ(events->front(), TideEvent(seconds, 7.858, true)) << time;
  }
  EXPECT_TRUE(TideHighLowParser().getElements(document(R"(<pr t="2020-01-01 05:00" v="4.0"/>)"))->empty());
}

TEST(TideHighLowParser, KeepsBothBoundsAndTakesMinusOneForNone) {
  const auto text = document(R"(<e t="9" l="1" w="H"/><e t="10" l="1" w="L"/><e t="20" l="1" w="H"/>
                                <e t="21" l="1" w="L"/>)");
  EXPECT_EQ(timesOf(TideHighLowParser().getElementsInRange(text, 10, 20)),
            (std::vector<std::int64_t>{10, 20}));
  EXPECT_EQ(timesOf(TideHighLowParser().getElementsInRange(text, -1, 10)),
            (std::vector<std::int64_t>{9, 10}));
  EXPECT_EQ(timesOf(TideHighLowParser().getElementsInRange(text, 20, -1)),
            (std::vector<std::int64_t>{20, 21}));
}

TEST(TideHighLowParser, GivesNothingForWhatIsNotWellFormed) {
  std::string hundred;
  for (int i = 0; i < 100; ++i) hundred += "<e t=\"" + std::to_string(i) + "\" l=\"1\" w=\"H\"/>";
  TideHighLowParser parser;
  EXPECT_FALSE(parser.getElements("<tides>" + hundred + "<e t=</tides>"));
  EXPECT_TRUE(parser.error);
  EXPECT_EQ(parser.getElements(document(hundred))->size(), 100U) << "a parser can be used again";
  EXPECT_FALSE(parser.error);

  const std::string whole = document(hundred);
  for (std::size_t cut = 0; cut < whole.size(); cut += 37) {
    EXPECT_FALSE(parser.getElements(std::string_view(whole).substr(0, cut))) << "cut at " << cut;
  }
}

}  // namespace
}  // namespace marlune
