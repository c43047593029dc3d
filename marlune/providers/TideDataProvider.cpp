#include "marlune/providers/TideDataProvider.h"

#include <cassert>
#include <utility>

#include "marlune/platform/HttpFetcher.h"
#include "marlune/platform/WorkScope.h"
#include "marlune/providers/PendingOperations.h"
#include "marlune/providers/YearFileMemo.h"

namespace marlune {

namespace {

// Year-file loads are short and wait for the disk; downloads wait for the network, so more of them may run.
constexpr std::size_t loadConcurrency = 2;
constexpr std::size_t downloadConcurrency = 6;

}  // namespace

TideDataProvider::TideDataProvider(Host host, std::shared_ptr<FileAccess> files,
                                   std::shared_ptr<TideEventDiskCache> diskCache)
    : host_(std::move(host)),
      files_(std::move(files)),
      diskCache_(std::move(diskCache)),
      _cache(host_.log),
      _pendingOperations(std::make_unique<PendingOperations>()),
      yearFiles_(std::make_unique<YearFileMemo>()),
      work_(std::make_shared<WorkScope>()),
      _loadqueue(host_.executors->makeQueue("tide-load", loadConcurrency)),
      _downloadqueue(host_.executors->makeQueue("tide-download", downloadConcurrency)),
      fetcher_(std::make_shared<HttpFetcher>(host_.http, host_.executors->makeQueue("tide-callback", 1))) {}

TideDataProvider::~TideDataProvider() {
  stopWork();
}

void TideDataProvider::stopWork() {
  fetcher_->stop();  // ends the waits of the jobs that run
  work_->close();
  _loadqueue.reset();
  _downloadqueue.reset();
}

void TideDataProvider::enqueue(Executor& queue, UniqueFunction<void()> job) {
  queue.post([scope = work_, body = std::move(job)]() mutable {
    if (const auto entered = WorkScope::enter(scope)) body();
  });
}

Calendar TideDataProvider::calendarForStation(const StationPtr& station) const {
  if (station && station->timezoneName) {
    // The station's own zone is at hand, save where its name was changed after it was found.
    auto zone = station->getTimezone();
    if (zone && zone->name() != *station->timezoneName) zone = TimeZone::named(*station->timezoneName);
    if (zone) return Calendar(*zone);
  }
  return Calendar(host_.deviceTimeZone->current());
}

}  // namespace marlune
