#include "cli/WorldPoints.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "cli/Fetching.h"

namespace marlune::cli {
namespace {

constexpr std::chrono::seconds kPatience{5};

/// The ids of worldwide points that a call names and looks up.
std::set<std::string> worldPointsOf(const Call& call) {
  std::set<std::string> ids;
  const auto take = [&](const std::string& id) {
    if (TideStation::isGlobalStationId(id)) ids.insert(id);
  };
  for (std::size_t i = 0; i < call.values.size(); ++i) {
    const Call::Value& value = call.values[i];
    if (const auto* source = std::get_if<EventSource>(&value)) {
      if (source->fetch) take(source->fetch->stationId);
    } else if (i < call.command->arguments.size() && call.command->arguments[i].kind == Kind::station) {
      take(call.text(i));
    }
  }
  for (const Call& inner : call.inner) ids.merge(worldPointsOf(inner));
  return ids;
}

/// Takes off what the provider knows by now.
void leaveOutKnown(Session& session, std::set<std::string>& ids) {
  std::erase_if(ids, [&](const std::string& id) { return stationOf(session, id) != nullptr; });
}

}  // namespace

void findWorldPoints(Jobs& jobs, const Call& call) {
  std::set<std::string> missing = worldPointsOf(call);
  if (missing.empty()) return;
  Session& session = jobs.context().session;
  auto& provider = session.provider();
  leaveOutKnown(session, missing);
  if (missing.empty()) return;
  for (const auto& point :
       provider.globalPointsFilteredForRegion(session.globalService().cachedTidePoints())) {
    if (missing.erase(*point->stationId) != 0) provider.registerGlobalStation(point);
  }
  if (missing.empty()) return;
  const auto ended = std::make_shared<std::atomic<bool>>(false);
  provider.loadGlobalStationPointsIfNeeded([ended, &session] {
    *ended = true;
    session.loop().wake();
  });
  jobs.waitUntil([&] {
    leaveOutKnown(session, missing);
    return missing.empty() || *ended;
  });
}

void awaitWorldPoints(Context& context) {
  if (context.inShell) return;
  struct Loading {
    std::mutex mutex;
    std::condition_variable changed;
    bool over = false;
  };
  const auto loading = std::make_shared<Loading>();
  const auto end = [loading] {
    const std::lock_guard lock(loading->mutex);
    loading->over = true;
    loading->changed.notify_all();
  };
  const auto watch = context.session.host().notifications->observe(notifications::globalPointsLoaded,
                                                                   [end](const Notification&) { end(); });
  context.session.provider().loadGlobalStationPointsIfNeeded(end);
  std::unique_lock lock(loading->mutex);
  loading->changed.wait_for(lock, kPatience, [&] { return loading->over; });
}

}  // namespace marlune::cli
