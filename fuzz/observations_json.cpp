#include <algorithm>

#include "fuzz/Target.h"
#include "marlune/formats/Text.h"
#include "marlune/ocean/noaa/NOAAObservations.h"

namespace {

void check(const TimeSeriesData& sample, bool isWind) {
  MARLUNE_FUZZ_REQUIRE(std::isfinite(secondsOf(sample.date)) && std::isfinite(sample.value));
  MARLUNE_FUZZ_REQUIRE(sample.series.has_value() == isWind);
  if (!sample.attributes) return;
  MARLUNE_FUZZ_REQUIRE(isWind && !sample.attributes->empty());
  for (const auto& [name, text] : *sample.attributes) {
    const auto number = decimalNumber(text);
    MARLUNE_FUZZ_REQUIRE(name == ocean_attributes::direction || name == ocean_attributes::gust);
    MARLUNE_FUZZ_REQUIRE(number && numberAttribute(*number) == text);
  }
}

}  // namespace

/// Samples are numbers in time order; blanks around the answer change nothing.
MARLUNE_FUZZ_TARGET(bytes) {
  using noaa_observations::Kind;
  const std::string text(bytes);
  JsonReaders readers;
  for (const Kind kind : {Kind::temperature, Kind::wind}) {
    const auto reading = noaa_observations::read(text, kind, readers);
    MARLUNE_FUZZ_REQUIRE(reading.samples.has_value() == reading.fault.empty());
    MARLUNE_FUZZ_REQUIRE(reading.fault.find('\n') == std::string::npos);
    const auto again = noaa_observations::read("\n" + text + " ", kind, readers);
    const bool hasMark = text.starts_with("\xEF\xBB\xBF");
    MARLUNE_FUZZ_REQUIRE(hasMark || again.samples.has_value() == reading.samples.has_value());
    if (!reading.samples) continue;
    MARLUNE_FUZZ_REQUIRE(hasMark || again.samples->size() == reading.samples->size());
    MARLUNE_FUZZ_REQUIRE(std::is_sorted(reading.samples->begin(), reading.samples->end(),
                                        [](const auto& a, const auto& b) { return a->date < b->date; }));
    for (const auto& sample : *reading.samples) check(*sample, kind == Kind::wind);
  }
}
