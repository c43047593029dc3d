#include <memory>

#include "fuzz/MemoryFolder.h"
#include "fuzz/Target.h"
#include "marlune/ocean/source/SeriesDiskCache.h"
#include "marlune/platform/ManualClock.h"

namespace {

/// Drops its jobs, and lets nothing be logged.
struct Quiet : ExecutorFactory, Executor, Log {
  std::shared_ptr<Executor> makeQueue(std::string_view, std::size_t) override {
    return std::make_shared<Quiet>();
  }
  void post(Job) override {}
  void line(std::string_view) override { MARLUNE_FUZZ_REQUIRE(false); }
};

bool isSame(const TimeSeriesData& a, const TimeSeriesData& b) {
  const bool noneBoth = a.attributes && a.attributes->empty() && !b.attributes;  // none is written as absent
  return a.date == b.date && a.value == b.value && a.series == b.series &&
         (noneBoth || a.attributes == b.attributes);
}

}  // namespace

/// What any bytes are read as can be written, and is read the same again.
MARLUNE_FUZZ_TARGET(bytes) {
  const auto folder = std::make_shared<MemoryFolder>();
  const auto quiet = std::make_shared<Quiet>();
  Host host;
  host.files = folder;
  host.folders = folder;
  host.executors = quiet;
  host.log = quiet;
  host.clock = std::make_shared<ManualClock>(dateFromSeconds(0));
  folder->write("", "/container/a.json", bytes, FileSystem::Durability::cache);
  const SeriesDiskCache cache(host);
  const auto samples = cache.load("a.json", 0);
  if (!samples) return;
  cache.save(*samples, "a.json");
  const auto again = cache.load("a.json", std::nullopt);
  MARLUNE_FUZZ_REQUIRE(again && again->size() == samples->size());
  for (std::size_t i = 0; i < samples->size(); ++i)
    MARLUNE_FUZZ_REQUIRE(isSame(*(*samples)[i], *(*again)[i]));
}
