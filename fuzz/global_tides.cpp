#include "fuzz/Target.h"
#include "marlune/formats/Iso8601.h"
#include "marlune/formats/JsonReaders.h"
#include "marlune/global/GlobalTides.h"

/// Events lie within four-digit years and have levels; a reader that was used before gives the same. Times
/// that are read stand for one instant, with the fraction or without.
MARLUNE_FUZZ_TARGET(bytes) {
  const std::string text(bytes);
  JsonReaders readers;
  const auto events = global_tides::eventsOf(text, readers);
  constexpr std::int64_t day = 86'400;
  constexpr std::int64_t firstYear = -62'167'219'200;  // the beginning of year 0
  constexpr std::int64_t lastYear = 253'402'300'800;   // the end of year 9999
  for (const TideEvent& event : events) {
    MARLUNE_FUZZ_REQUIRE(event.timestamp > firstYear - day && event.timestamp < lastYear + day);
    MARLUNE_FUZZ_REQUIRE(std::isfinite(event.tidelevel) && !event.isIntermediary);
  }
  MARLUNE_FUZZ_REQUIRE(global_tides::eventsOf("\xEF\xBB\xBF" + text + " ", readers) == events ||
                       text.starts_with("\xEF\xBB\xBF"));

  const auto seconds = iso8601Seconds(text);
  MARLUNE_FUZZ_REQUIRE(!seconds || iso8601SecondsWithoutFraction(text) == seconds);
  if (seconds) {
    const std::string fraction = text.substr(0, 19) + ".250" + text.substr(19);
    MARLUNE_FUZZ_REQUIRE(iso8601SecondsWithoutFraction(fraction) == seconds);
    const std::string document = R"({"tide_events":[{"time":")" + fraction + R"(","level":1}]})";
    const auto one = global_tides::eventsOf(document, readers);
    MARLUNE_FUZZ_REQUIRE(one.size() == 1 && one[0].timestamp == *seconds && one[0].tideLevelInMeters);
  }
}
