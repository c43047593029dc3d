#include "fuzz/Target.h"
#include "marlune/formats/JsonReaders.h"
#include "marlune/ocean/ukho/StreamRates.h"

/// Rates read back from a file are the same; the events of a record alternate, each at one of its samples.
MARLUNE_FUZZ_TARGET(bytes) {
  JsonReaders readers;
  const auto reading = stream_rates::read(bytes, readers);
  MARLUNE_FUZZ_REQUIRE(!reading.error || reading.entries.empty());
  const auto again = stream_rates::read(stream_rates::fileOf(reading.entries), readers);
  MARLUNE_FUZZ_REQUIRE(!again.error && again.entries == reading.entries);
  std::size_t counting = 0;
  for (const auto& entry : reading.entries) counting += std::size_t{entry.instant().has_value()};
  const auto record = stream_rates::currentsOf(reading.entries, 1, 2);
  MARLUNE_FUZZ_REQUIRE((record != nullptr) == (counting >= 2));
  if (!record) return;
  MARLUNE_FUZZ_REQUIRE(record->timeSeries.size() == counting && !record->events.empty());
  for (const auto& sample : record->timeSeries) {
    MARLUNE_FUZZ_REQUIRE(sample->value >= 0 && std::isfinite(sample->value) && !std::signbit(sample->value));
    MARLUNE_FUZZ_REQUIRE(sample->attributes->at("direction") != "-0.0");
  }
  const CurrentEvent* before = nullptr;
  for (const auto& event : record->events) {
    MARLUNE_FUZZ_REQUIRE((event->type == "slack") == (event->speed < 0.2));
    MARLUNE_FUZZ_REQUIRE(before == nullptr || before->type != event->type);
    before = event.get();
  }
}
