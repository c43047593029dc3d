#include "marlune/providers/TideDataProvider.h"

#include <cassert>
#include <utility>

#include "marlune/global/PelagoraService.h"
#include "marlune/providers/GlobalPoints.h"
#include "marlune/providers/JoinedWork.h"
#include "marlune/providers/PendingOperations.h"
#include "marlune/providers/YearDownloads.h"
#include "marlune/providers/YearFileMemo.h"
#include "marlune/tasks/AnswerWaits.h"
#include "marlune/tasks/OutstandingCompletions.h"
#include "marlune/tasks/WorkScope.h"

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
      _pendingOperations(std::make_shared<PendingOperations>()),
      yearFiles_(std::make_unique<YearFileMemo>()),
      work_(std::make_shared<WorkScope>()),
      yearWaits_(std::make_shared<AnswerWaits<Events>>()),
      outstanding_(std::make_shared<OutstandingCompletions<std::optional<Events>>>()),
      _loadqueue(host_.executors->makeQueue("tide-load", loadConcurrency)),
      _downloadqueue(host_.executors->makeQueue("tide-download", downloadConcurrency)),
      utilityQueue_(host_.executors->makeQueue("tide-utility", utilityConcurrency)),
      globalPoints_(std::make_shared<GlobalPoints>(host_, globalService_, work_, utilityQueue_)),
      downloads_(std::make_shared<YearDownloads>(
          host_, [this](const std::string& url, const std::string& fileName,
                        DataCompletion completion) { loadDataAtURL(url, fileName, std::move(completion)); })),
      globalYears_(std::make_shared<JoinedWork<bool>>()) {}

TideDataProvider::~TideDataProvider() {
  stopWork();
}

void TideDataProvider::stopWork() {
  // The waits of the jobs that run.
  downloads_->stop();
  yearWaits_->stop();
  work_->close();
  downloads_->close();
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

bool TideDataProvider::post(const char* name, const void* object, std::optional<UserInfo> userInfo) {
  const auto scope = work_;
  const auto center = host_.notifications;
  center->post({name, object, std::move(userInfo)});
  return !scope->isClosed();
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
