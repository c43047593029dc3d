#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/Require.h"
#include "marlune/providers/BOMTideParser.h"

using namespace marlune;

/// Every event is in metres and has a time; what stands before a fault is what the whole begins with.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view document(reinterpret_cast<const char*>(data), size);
  BOMTideParser parser;
  const auto all = parser.getTideEventsFromData(document);
  for (const TideEvent& event : all) {
    MARLUNE_FUZZ_REQUIRE(event.tideLevelInMeters && event.timestamp != 0);
  }
  MARLUNE_FUZZ_REQUIRE(!parser.parsingElement || !parser.error);
  const bool wasWhole = !parser.error;
  const auto part = parser.getTideEventsFromData(document.substr(0, size / 2));
  if (!wasWhole) return 0;
  MARLUNE_FUZZ_REQUIRE(part.size() <= all.size());
  for (std::size_t i = 0; i < part.size(); ++i) {
    MARLUNE_FUZZ_REQUIRE(part[i].timestamp == all[i].timestamp);
  }
  return 0;
}
