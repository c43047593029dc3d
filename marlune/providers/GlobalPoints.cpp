#include "marlune/providers/GlobalPoints.h"

#include <utility>

#include "marlune/global/PelagoraService.h"
#include "marlune/providers/TideDataProvider.h"

namespace marlune {

namespace {

bool isInUS(const TideStation& station) {
  // Exactly these: a point of any other spelling, or of none, is shown.
  return station.country == "US" || station.country == "USA" || station.country == "United States";
}

}  // namespace

GlobalPoints::GlobalPoints(Host host, std::shared_ptr<PelagoraService> service,
                           std::shared_ptr<WorkScope> scope, std::shared_ptr<Executor> disk)
    : host_(std::move(host)),
      scope_(std::move(scope)),
      service_(std::move(service)),
      disk_(std::move(disk)) {}

bool GlobalPoints::hidesUS() const {
  std::call_once(regionRead_, [this] { buildOfUS_ = host_.application->region().value_or("usa") == "usa"; });
  return buildOfUS_ && !host_.userDefaults->boolean(kPreferencesShowUSGlobalPoints).value_or(false);
}

GlobalPoints::Stations GlobalPoints::filtered(Stations stations) const {
  if (!stations.empty() && hidesUS()) {
    std::erase_if(stations,
                  [](const auto& station) { return station && station->isGlobal && isInUS(*station); });
  }
  return stations;
}

/// Queues a step on the main thread that keeps this object while it runs: whoever is told there may destroy
/// the provider.
template <class Step>
void GlobalPoints::onMain(Step step) {
  host_.mainThread->post([this, scope = scope_, body = std::move(step)]() mutable {
    const auto entered = WorkScope::enter(scope);
    if (!entered) return;
    const auto self = shared_from_this();
    body();
  });
}

void GlobalPoints::loadIfNeeded(Ended ended) {
  const std::uint64_t waiter = ended ? outstanding_.add(std::move(ended)) : 0;
  if (host_.mainThread->isMainThread()) {
    loadOnMain(waiter);
  } else if (service_ || waiter != 0) {
    onMain([this, waiter] { loadOnMain(waiter); });
  }
}

void GlobalPoints::loadOnMain(std::uint64_t waiter) {
  if (service_ && !published() && !isLoading()) {
    {
      const std::lock_guard lock(mutex_);
      loading_ = true;
    }
    pathsUnderWay_ += 2;
    disk_->post([this, scope = scope_] {
      const auto entered = WorkScope::enter(scope);
      if (!entered) return;
      onMain([this, points = filtered(service_->cachedTidePoints())]() mutable {
        takeStored(std::move(points));
      });
    });
    service_->fetchTidePointsWithCompletionHandler([this, scope = scope_](std::optional<Stations> answer) {
      const auto entered = WorkScope::enter(scope);
      if (!entered) return;
      onMain([this, points = filtered(std::move(answer).value_or(Stations()))]() mutable {
        takeFresh(std::move(points));
      });
    });
  }
  if (waiter == 0) return;
  if (pathsUnderWay_ > 0) {
    waiting_.push_back(waiter);
  } else {
    outstanding_.call(waiter);
  }
}

void GlobalPoints::takeStored(Stations points) {
  if (!points.empty() && !published()) publish(std::move(points));
  pathEnded();
}

void GlobalPoints::takeFresh(Stations points) {
  {
    const std::lock_guard lock(mutex_);
    loading_ = false;
  }
  if (!points.empty()) publish(std::move(points));
  pathEnded();
}

void GlobalPoints::publish(Stations points) {
  auto list = std::make_shared<const StationList>(std::move(points));
  {
    const std::lock_guard lock(mutex_);
    published_.swap(list);  // the old one goes outside the lock
  }
  host_.notifications->post({notifications::globalPointsLoaded, nullptr, std::nullopt});
}

void GlobalPoints::pathEnded() {
  if (--pathsUnderWay_ > 0) return;
  for (const std::uint64_t waiter : std::exchange(waiting_, {})) outstanding_.call(waiter);
}

std::shared_ptr<const StationList> GlobalPoints::published() const {
  const std::lock_guard lock(mutex_);
  return published_;
}

bool GlobalPoints::isLoading() const {
  const std::lock_guard lock(mutex_);
  return loading_;
}

void GlobalPoints::stop() {
  outstanding_.endAll();
  service_ = nullptr;
  disk_ = nullptr;
}

}  // namespace marlune
