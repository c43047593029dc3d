#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "marlune/formats/JsonReaders.h"
#include "marlune/ocean/source/BoundedCache.h"
#include "marlune/platform/Host.h"
#include "marlune/platform/HttpFetcher.h"
#include "marlune/tasks/OwnedQueue.h"
#include "marlune/tasks/SharedRequests.h"
#include "marlune/tasks/Task.h"

namespace marlune {

/// How many entries each cache in memory of a source holds at most.
inline constexpr std::size_t maxOceanCacheItems = 100;

/// What every source of ocean conditions stands on. Its operations are tasks that run on `queue`, one at a
/// time; while one waits for the network, others run. So the state of a source is only touched on its queue
/// and needs no lock, but it may have changed after every `co_await`.
///
/// A source derives its state from this, holds it by shared_ptr as its tasks do, and calls close() in its
/// destructor. An operation begins so, and is handed out through inOwnChain():
///
///     Task<Answer> State::day(std::shared_ptr<State> state, std::string key) {
///       co_await resumeOn(state->queue);
///       if (const auto* known = state->days.find(key)) co_return *known;
///       auto asking = askTogether<Answer>(state->requests, key, [state, key] { return fetch(state, key); });
///       co_return co_await std::move(asking);  // GCC 12 may destroy a closure within a co_await twice
///     }
struct OceanSource {
  /// The queue's name is for people who look at threads.
  OceanSource(const Host& sourceHost, std::string_view queueName)
      : host(sourceHost),
        queue(std::make_shared<OwnedQueue>(host.executors->makeQueue(queueName, 1))),
        fetcher(std::make_shared<HttpFetcher>(host.http, queue)) {}

  /// Ends transfers and drops what waits in the queue; every completion has been called when it returns.
  void close() {
    fetcher->stop();
    queue->close();
  }

  const Host host;
  const std::shared_ptr<OwnedQueue> queue;
  const std::shared_ptr<HttpFetcher> fetcher;
  JsonReaders readers;
};

/// Questions under way, by a key, that equal ones join.
template <class Answer>
using JoinedRequests = SharedRequests<std::string, Answer>;

/// Waits for the answer to the question `key`, which `make` makes the task of unless it is being asked
/// already. Goes on in a job of the queue that the requests call back on.
template <class Answer>
Task<Answer> askTogether(std::shared_ptr<JoinedRequests<Answer>> requests, std::string key,
                         UniqueFunction<Task<Answer>()> make) {
  auto answer = completionOf<Answer>(
      [requests, key, begin = std::move(make)](UniqueFunction<void(Answer)> done) mutable {
        requests->ask(key, std::move(done),
                      [begin = std::move(begin)](UniqueFunction<void(Answer)> answered) mutable {
                        start(begin(), std::move(answered));
                      });
      });
  co_return co_await answer;
}

namespace ocean {

/// Is this a place on the Earth: finite degrees, a latitude within 90?
bool isPlace(double lat, double lng);

/// The base address of a service: what stands in for every host, else the deployment's own, else a built-in
/// one; without a slash at its end.
std::string baseAddress(const DeploymentSettings& settings, const std::string& ofDeployment,
                        std::string_view builtIn);

/// Asks an address. No larger body than that of sixteen megabytes is taken.
Task<HttpAnswer> fetch(std::shared_ptr<HttpFetcher> fetcher, std::string url,
                       std::vector<std::pair<std::string, std::string>> headers = {},
                       HttpFetcher::Address address = HttpFetcher::Address::published);

/// What went wrong with an answer, for people; empty when it is one of status 200.
std::string failureOf(const HttpAnswer& answer);

}  // namespace ocean

}  // namespace marlune
