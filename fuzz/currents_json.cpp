#include "fuzz/Target.h"
#include "marlune/formats/JsonReaders.h"
#include "marlune/ocean/noaa/CurrentsOfDays.h"

using namespace marlune::current_predictions;

/// An answer is a list in time order or an error. What is made of its rows is finite and in order, windows
/// hold their slack, and the file of the rows reads back the same.
MARLUNE_FUZZ_TARGET(bytes) {
  JsonReaders readers;
  const Reading reading = readAnswer(bytes, readers);
  MARLUNE_FUZZ_REQUIRE(!reading.error || reading.rows.empty());
  const auto& rows = reading.rows;
  for (std::size_t i = 1; i < rows.size(); ++i) MARLUNE_FUZZ_REQUIRE(rows[i - 1].time <= rows[i].time);
  CurrentPredictions again;
  MARLUNE_FUZZ_REQUIRE(!addFile(fileOf(rows.data(), rows.data() + rows.size()), readers, again));
  MARLUNE_FUZZ_REQUIRE(again == rows);

  constexpr CurrentsPeriod always{-100'000'000'000, 300'000'000'000};
  const auto record = CurrentsOfDays(rows, rows, always).within(always, 1, 2);
  MARLUNE_FUZZ_REQUIRE((record != nullptr) == (rows.size() >= 2));
  if (!record) return;
  MARLUNE_FUZZ_REQUIRE(record->timeSeries.size() <= 49 * rows.size() && record->events.size() == rows.size());
  const TimeSeriesData* before = nullptr;
  for (const auto& sample : record->timeSeries) {
    MARLUNE_FUZZ_REQUIRE(std::isfinite(sample->value) && (before == nullptr || before->date < sample->date));
    MARLUNE_FUZZ_REQUIRE(sample->attributes->at("direction") != "-0.0");
    before = sample.get();
  }
  for (const auto& event : record->events) {
    MARLUNE_FUZZ_REQUIRE(event->speed >= 0 && !std::signbit(event->speed));
    MARLUNE_FUZZ_REQUIRE(event->slackBegin.has_value() == event->slackEnd.has_value());
    if (!event->slackBegin) continue;
    MARLUNE_FUZZ_REQUIRE(event->type == "slack");
    MARLUNE_FUZZ_REQUIRE(*event->slackBegin <= event->date && event->date <= *event->slackEnd);
  }
}
