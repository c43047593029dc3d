#include "marlune/tides/TideHighLowParser.h"

#include "fuzz/Target.h"

/// A range takes from the whole what lies in it, whatever the document.
MARLUNE_FUZZ_TARGET(document) {
  TideHighLowParser parser;
  const auto all = parser.getElements(document);
  MARLUNE_FUZZ_REQUIRE(all.has_value() != parser.error.has_value());
  constexpr std::int64_t start = 1'700'000'000;
  constexpr std::int64_t end = 1'800'000'000;
  const auto some = parser.getElementsInRange(document, start, end);
  MARLUNE_FUZZ_REQUIRE(all.has_value() == some.has_value());
  if (!all) return;
  auto next = some->begin();
  for (const TideEvent& event : *all) {
    if (event.timestamp < start || event.timestamp > end) continue;
    MARLUNE_FUZZ_REQUIRE(next != some->end() && next->timestamp == event.timestamp);
    MARLUNE_FUZZ_REQUIRE(next->isHighTide == event.isHighTide);
    ++next;
  }
  MARLUNE_FUZZ_REQUIRE(next == some->end());
}
