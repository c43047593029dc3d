#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <simdjson.h>

#include <cmath>
#include <memory>

#include "marlune/providers/AdmiraltyEvents.h"
#include "marlune/time/TimeZone.h"
#include "pairs/Pairs.h"
#include "support/Measure.h"
#include "support/Subjects.h"

// A year of the Admiralty's events.

namespace marlune::bench {

namespace {

/// The events of the year document as the Admiralty would send them.
Bytes admiraltyYear() {
  Bytes json = "[";
  for (const TideEvent& event : yearEvents()) {
    const CivilTime at = TimeZone().civil(event.timestamp);
    const std::string day = fmt::format("{:04}-{:02}-{:02}", at.year, at.month, at.day);
    if (json.size() > 1) json += ',';
    json += fmt::format(
        R"({{"EventType":"{}","DateTime":"{}T{:02}:{:02}:{:02}","IsApproximateTime":false,"Height":{:.16f},)"
        R"("IsApproximateHeight":false,"Filtered":false,"Date":"{}T00:00:00"}})",
        event.isHighTide ? "HighWater" : "LowWater", day, at.hour, at.minute, at.second,
        event.tidelevel * 0.3048, day);
  }
  return json + "]";
}

}  // namespace

void addAdmiraltyPairs() {
  const auto json = std::make_shared<Bytes>(admiraltyYear());
  const auto reading = admiralty_events::read(*json);
  require(reading.events && reading.events->size() == yearEvents().size(), "events of the Admiralty's year");
  for (std::size_t i = 0; i < reading.events->size(); ++i) {
    const TideEvent& event = (*reading.events)[i];
    require(event.timestamp == yearEvents()[i].timestamp && event.isHighTide == yearEvents()[i].isHighTide &&
                std::abs(event.tidelevel - yearEvents()[i].tidelevel * 0.3048) < 1e-6,
            "an event of the Admiralty's year");
  }
  const auto parser = std::make_shared<simdjson::dom::parser>();
  const auto padded = std::make_shared<simdjson::padded_string>(*json);
  addPair({.name = "Admiralty year decoded",
           .library = {.run =
                           [=] {
                             auto events = admiralty_events::read(*json);
                             benchmark::DoNotOptimize(events);
                           }},
           .reference = {.run =
                             [=] {
                               auto root = parser->parse(*padded);
                               benchmark::DoNotOptimize(root);
                             }},
           .ratioAtMost = 2,
           .bytes = json->size()});
}

}  // namespace marlune::bench
