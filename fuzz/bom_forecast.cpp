#include "fuzz/Target.h"
#include "marlune/providers/BOMTideParser.h"

/// Every event is in metres and has a time; what stands before a fault is what the whole begins with.
MARLUNE_FUZZ_TARGET(document) {
  BOMTideParser parser;
  const auto all = parser.getTideEventsFromData(document);
  for (const TideEvent& event : all) {
    MARLUNE_FUZZ_REQUIRE(event.tideLevelInMeters && event.timestamp != 0);
  }
  MARLUNE_FUZZ_REQUIRE(!parser.parsingElement || !parser.error);
  const bool wasWhole = !parser.error;
  const auto part = parser.getTideEventsFromData(document.substr(0, document.size() / 2));
  if (!wasWhole) return;
  MARLUNE_FUZZ_REQUIRE(part.size() <= all.size());
  for (std::size_t i = 0; i < part.size(); ++i) {
    MARLUNE_FUZZ_REQUIRE(part[i].timestamp == all[i].timestamp);
  }
}
