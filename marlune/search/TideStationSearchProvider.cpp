#include "marlune/search/TideStationSearchProvider.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

#include "marlune/providers/TideDataProvider.h"
#include "marlune/search/StationIndex.h"
#include "marlune/tasks/WorkScope.h"

namespace marlune {

/// What the provider shares with its work. Jobs hold it, so it outlives the provider until they are gone.
struct TideStationSearchProvider::State : std::enable_shared_from_this<State> {
  State(const Host& host, SearchableStations stations)
      : mainThread(host.mainThread),
        source(std::move(stations)),
        queue(host.executors->makeQueue("com.quenda.korvantis.stationsearch", 1)) {}

  /// Runs `work` on the queue unless the provider is being destroyed by then. Requires the mutex, so that
  /// questions are queued in the order of their numbers.
  template <class Work>
  void post(Work work) {
    if (!queue) return;
    queue->post([self = shared_from_this(), body = std::move(work)]() mutable {
      if (const auto entered = WorkScope::enter(self->scope)) body(*self);
    });
  }

  void loadStations() {
    const std::lock_guard lock(mutex);
    post([](State& self) {
      self.loadStationsLocked();
      self.index.prepare();
    });
  }

  void addStation(StationPtr station) {
    const std::lock_guard lock(mutex);
    post([added = std::move(station)](State& self) { self.index.addStation(added); });
  }

  void loadStationsLocked() {
    if (!stationsLoaded) {
      const Stations all = source.getAllTideStations();
      for (const StationPtr& station : all) index.addStation(station);
      stationsLoaded = !all.empty();
    }
    source.loadGlobalStationPointsIfNeeded();
    if (globalStationsIndexed) return;
    const Stations points = source.getSearchableGlobalStations();
    if (points.empty()) return;
    for (const StationPtr& point : points) {
      if (point && point->hasResolvedName) index.addStation(point);
    }
    globalStationsIndexed = true;
  }

  void ask(std::string query, Completion completion) {
    std::unique_lock lock(mutex);
    if (!queue) {
      lock.unlock();
      completion(std::nullopt);
      return;
    }
    const std::uint64_t number = asked++;
    questions.emplace(number, std::move(completion));
    post([number, text = std::move(query)](State& self) {
      self.loadStationsLocked();
      self.mainThread->post(
          [state = self.shared_from_this(), number, answer = self.index.findMatches(text)]() mutable {
            if (const auto entered = WorkScope::enter(state->scope)) state->answer(number, std::move(answer));
          });
    });
  }

  void answer(std::uint64_t number, std::optional<Stations> stations) {
    Completion completion;
    {
      const std::lock_guard lock(mutex);
      const auto question = questions.find(number);
      if (question == questions.end()) return;
      completion = std::move(question->second);
      questions.erase(question);
    }
    completion(std::move(stations));
  }

  void close() {
    std::shared_ptr<Executor> ended;
    {
      const std::lock_guard lock(mutex);
      ended = std::move(queue);
    }
    scope->close();
    ended.reset();
    std::map<std::uint64_t, Completion> open;
    {
      const std::lock_guard lock(mutex);
      open.swap(questions);
    }
    for (auto& [number, completion] : open) completion(std::nullopt);
  }

  const std::shared_ptr<MainThread> mainThread;
  const SearchableStations source;
  const std::shared_ptr<WorkScope> scope = std::make_shared<WorkScope>();

  std::mutex mutex;
  // Guarded by the mutex.
  std::shared_ptr<Executor> queue;                // none once the provider is being destroyed
  std::map<std::uint64_t, Completion> questions;  // that were not answered yet, by number
  std::uint64_t asked = 0;

  // Touched on the queue only.
  StationIndex index;
  bool stationsLoaded = false;
  bool globalStationsIndexed = false;

  NotificationCenter::Observation pointsLoaded;  // set and ended by the provider
};

TideStationSearchProvider::TideStationSearchProvider(const Host& host, SearchableStations stations)
    : state_(std::make_shared<State>(host, std::move(stations))) {
  state_->pointsLoaded = host.notifications->observe(
      notifications::globalPointsLoaded, [weak = std::weak_ptr<State>(state_)](const Notification&) {
        if (const auto state = weak.lock()) state->loadStations();
      });
}

TideStationSearchProvider::~TideStationSearchProvider() {
  state_->pointsLoaded.reset();
  state_->close();
}

void TideStationSearchProvider::loadStations() {
  state_->loadStations();
}

void TideStationSearchProvider::globalTidePointsLoaded(const Notification& /*notification*/) {
  state_->loadStations();
}

void TideStationSearchProvider::addStation(StationPtr station) {
  state_->addStation(std::move(station));
}

void TideStationSearchProvider::findMatches(std::string query, Completion completionHandler) {
  state_->ask(std::move(query), std::move(completionHandler));
}

TideStationSearchProvider::Stations TideStationSearchProvider::dedupeStations(const Stations& stations) {
  StationTable table;
  std::vector<std::uint32_t> numbers;
  numbers.reserve(stations.size());
  for (const StationPtr& station : stations) {
    if (station) numbers.push_back(table.add(station));
  }
  table.dedupe(numbers);
  return table.stations(numbers);
}

}  // namespace marlune
