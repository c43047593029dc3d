#include "marlune/providers/TideDataProvider.h"

#include <cassert>
#include <utility>

#include "marlune/global/PelagoraService.h"
#include "marlune/platform/HttpFetcher.h"
#include "marlune/platform/WorkScope.h"
#include "marlune/providers/AnswerWaits.h"
#include "marlune/providers/GlobalPoints.h"
#include "marlune/providers/OutstandingCompletions.h"
#include "marlune/providers/PendingOperations.h"
#include "marlune/providers/YearFileMemo.h"

namespace marlune {

namespace {

// Year-file loads are short and wait for the disk; downloads wait for the network, so more of them may run.
constexpr std::size_t loadConcurrency = 2;
constexpr std::size_t downloadConcurrency = 6;
constexpr std::size_t utilityConcurrency = 4;

}  // namespace

TideDataProvider::TideDataProvider(Host host, std::shared_ptr<FileAccess> files,
                                   std::shared_ptr<TideEventDiskCache> diskCache,
                                   std::shared_ptr<PelagoraService> globalService, FavoriteHooks favorites)
    : host_(std::move(host)),
      files_(std::move(files)),
      diskCache_(std::move(diskCache)),
      globalService_(std::move(globalService)),
      favorites_(std::move(favorites)),
      _cache(host_.log),
      _pendingOperations(std::make_unique<PendingOperations>()),
      yearFiles_(std::make_unique<YearFileMemo>()),
      work_(std::make_shared<WorkScope>()),
      yearWaits_(std::make_shared<AnswerWaits<Events>>()),
      outstanding_(std::make_shared<OutstandingCompletions<std::optional<Events>>>()),
      _loadqueue(host_.executors->makeQueue("tide-load", loadConcurrency)),
      _downloadqueue(host_.executors->makeQueue("tide-download", downloadConcurrency)),
      utilityQueue_(host_.executors->makeQueue("tide-utility", utilityConcurrency)),
      globalPoints_(std::make_shared<GlobalPoints>(host_, globalService_, work_, utilityQueue_)),
      fetcher_(std::make_shared<HttpFetcher>(host_.http, host_.executors->makeQueue("tide-callback", 1))) {}

TideDataProvider::~TideDataProvider() {
  stopWork();
}

void TideDataProvider::stopWork() {
  // The waits of the jobs that run.
  fetcher_->stop();
  yearWaits_->stop();
  work_->close();
  // Nothing runs any more that could call these, and what they ask for is not begun.
  outstanding_->endAll();
  globalPoints_->stop();
  _loadqueue.reset();
  _downloadqueue.reset();
  utilityQueue_.reset();
}

void TideDataProvider::enqueue(const std::shared_ptr<Executor>& queue, UniqueFunction<void()> job) {
  if (!queue) return;  // asked for while the provider is being destroyed
  queue->post([scope = work_, body = std::move(job)]() mutable {
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
