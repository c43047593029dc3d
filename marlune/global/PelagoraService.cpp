#include "marlune/global/PelagoraService.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <chrono>
#include <mutex>
#include <utility>

#include "marlune/formats/JsonReaders.h"
#include "marlune/formats/Text.h"
#include "marlune/global/GlobalTides.h"
#include "marlune/global/TidePoints.h"
#include "marlune/platform/HttpFetcher.h"
#include "marlune/tasks/OwnedQueue.h"
#include "marlune/tasks/SharedRequests.h"

namespace marlune {

namespace {

using Stations = PelagoraService::Stations;
using Events = PelagoraService::Events;
using PointsAnswer = std::optional<Stations>;

constexpr std::string_view defaultBaseURL = "https://global-tides.marlune.example";
constexpr std::size_t largestPointsAnswer = std::size_t{64} << 20;  // what can be read back from a file
constexpr std::size_t largestYearAnswer = std::size_t{16} << 20;
// Nobody waits for as long as this. A slow line gets its answer all the same, which is stored for the next
// question.
constexpr std::chrono::seconds silenceLimit{60};
constexpr std::chrono::minutes totalLimit{10};
// Work on the queue is reading, decoding and writing; waiting for the network takes no thread.
constexpr std::size_t concurrency = 2;
// Completions run apart from that, so that a slow one delays no work, and hardly another completion.
constexpr std::size_t answersAtATime = 4;

std::string withoutSlashes(std::string address) {
  while (address.ends_with('/')) address.pop_back();
  return address;
}

std::string baseAddress(const Host& host) {
  if (auto told = host.application->information("PelagoraBaseURL"); told && !told->empty()) {
    if (told->ends_with('/')) told->pop_back();
    return std::move(*told);
  }
  if (!host.settings.servicesBaseURL.empty()) return withoutSlashes(host.settings.servicesBaseURL);
  if (!host.settings.globalTidesBaseURL.empty()) return withoutSlashes(host.settings.globalTidesBaseURL);
  return std::string(defaultBaseURL);
}

std::string_view agenciesOf(const std::optional<std::string>& region) {
  if (region == "worldwide") return "noaa,ukho,aus";
  return region == "aus" ? "noaa,aus" : "none";
}

/// The same places in records of their own.
PointsAnswer copied(const PointsAnswer& points) {
  if (!points) return std::nullopt;
  Stations copies;
  copies.reserve(points->size());
  for (const auto& station : *points) copies.push_back(std::make_shared<TideStation>(*station));
  return copies;
}

}  // namespace

/// What the service's tasks run on; they keep it beyond the service's life.
struct PelagoraService::State {
  State(const Host& host, std::shared_ptr<FileAccess> access)
      : application(host.application),
        files(std::move(access)),
        baseURL(baseAddress(host)),
        queue(std::make_shared<OwnedQueue>(host.executors->makeQueue("pelagora", concurrency))),
        answers(std::make_shared<OwnedQueue>(host.executors->makeQueue("pelagora-answer", answersAtATime))),
        fetcher(std::make_shared<HttpFetcher>(host.http, queue)),
        pointsRequests(answers, copied),
        yearRequests(answers) {}

  std::string_view agencies() {
    std::call_once(agenciesAsked_, [this] { agencies_ = agenciesOf(application->region()); });
    return agencies_;
  }

  static Task<PointsAnswer> loadPoints(std::shared_ptr<State> state);
  static Task<Events> loadYear(std::shared_ptr<State> state, std::string fileName, std::string path);
  /// The body of an answer of status 200; an empty pointer for any other.
  static Task<Data> bodyOf(std::shared_ptr<State> state, std::string path, std::size_t largest);

  static void askForPoints(const std::shared_ptr<State>& state, PointsCompletion completion);
  static void askForYear(const std::shared_ptr<State>& state, double lat, double lon, std::int64_t year,
                         EventsCompletion completion);
  static Task<PointsAnswer> points(std::shared_ptr<State> state);
  static Task<Events> year(std::shared_ptr<State> state, double lat, double lon, std::int64_t year);

  Data stored(std::string_view fileName) const { return files->loadFileInContainer(containerName, fileName); }
  void store(std::string_view fileName, const Data& body) const {
    files->saveFileInContainer(containerName, fileName, *body);
  }

  const std::string containerName{kGroupContainerName};
  const std::string pointsCacheFilename = "pelagora_points.json";
  const std::shared_ptr<ApplicationBundle> application;
  const std::shared_ptr<FileAccess> files;
  const std::string baseURL;
  const std::shared_ptr<OwnedQueue> queue;    // the service's work
  const std::shared_ptr<OwnedQueue> answers;  // completions, and the tasks of callers
  const std::shared_ptr<HttpFetcher> fetcher;
  SharedRequests<std::string, PointsAnswer> pointsRequests;
  SharedRequests<std::string, Events> yearRequests;  // by file name
  JsonReaders readers;

 private:
  std::once_flag agenciesAsked_;
  std::string_view agencies_;
};

Task<Data> PelagoraService::State::bodyOf(std::shared_ptr<State> state, std::string path,
                                          std::size_t largest) {
  if (!isHttpAddress(state->baseURL)) co_return nullptr;
  HttpRequest request;
  request.url = state->baseURL + path;
  request.maximumBodySize = largest;
  request.silenceLimit = silenceLimit;
  request.totalLimit = totalLimit;
  const HttpAnswer answer = co_await state->fetcher->fetchAnswer(std::move(request));
  co_return answer.error.empty() && answer.status == 200 ? answer.body : nullptr;
}

Task<PointsAnswer> PelagoraService::State::loadPoints(std::shared_ptr<State> state) {
  co_await resumeOn(state->queue);
  const Data body = co_await bodyOf(state, "/tide-points", largestPointsAnswer);
  if (!body) co_return std::nullopt;
  auto stations = tide_points::stationsOf(*body, state->readers);
  if (stations) state->store(state->pointsCacheFilename, body);
  co_return stations;
}

Task<Events> PelagoraService::State::loadYear(std::shared_ptr<State> state, std::string fileName,
                                              std::string path) {
  co_await resumeOn(state->queue);
  if (const Data kept = state->stored(fileName)) {
    auto events = global_tides::eventsOf(*kept, state->readers);
    if (!events.empty()) co_return events;
  }
  const Data body = co_await bodyOf(state, std::move(path), largestYearAnswer);
  if (!body) co_return Events();
  auto events = global_tides::eventsOf(*body, state->readers);
  if (!events.empty()) state->store(fileName, body);
  co_return events;
}

void PelagoraService::State::askForPoints(const std::shared_ptr<State>& state, PointsCompletion completion) {
  state->pointsRequests.ask(
      state->pointsCacheFilename, std::move(completion),
      [state](PointsCompletion answered) { start(loadPoints(state), std::move(answered)); });
}

void PelagoraService::State::askForYear(const std::shared_ptr<State>& state, double lat, double lon,
                                        std::int64_t year, EventsCompletion completion) {
  const auto agencies = state->agencies();
  auto fileName =
      fmt::format(FMT_COMPILE("pelagora_tides_v2_{}_{:.4f}_{:.4f}_{}.json"), agencies, lat, lon, year);
  auto path = fmt::format(FMT_COMPILE("/tides?lat={}&lon={}&year={}&agencies={}"), shortestDecimal(lat),
                          shortestDecimal(lon), year, agencies);
  state->yearRequests.ask(fileName, std::move(completion), [=](EventsCompletion answered) {
    start(loadYear(state, fileName, path), std::move(answered));
  });
}

// The tasks of callers are chains of their own, so that they see the end of the service as an answer of none.

Task<PointsAnswer> PelagoraService::State::points(std::shared_ptr<State> state) {
  auto answer =
      completionOf<PointsAnswer>([state](PointsCompletion done) { askForPoints(state, std::move(done)); });
  co_return co_await answer;
}

Task<Events> PelagoraService::State::year(std::shared_ptr<State> state, double lat, double lon,
                                          std::int64_t year) {
  auto answer = completionOf<Events>(
      [state, lat, lon, year](EventsCompletion done) { askForYear(state, lat, lon, year, std::move(done)); });
  co_return co_await answer;
}

PelagoraService::PelagoraService(const Host& host, std::shared_ptr<FileAccess> files)
    : PelagoraService(std::make_shared<State>(host, std::move(files))) {}

PelagoraService::PelagoraService(std::shared_ptr<State> state)
    : containerName(state->containerName),
      pointsCacheFilename(state->pointsCacheFilename),
      baseURL(state->baseURL),
      state_(std::move(state)) {}

PelagoraService::~PelagoraService() {
  state_->fetcher->stop();
  state_->queue->close();
  state_->answers->close();
}

PelagoraService::Stations PelagoraService::cachedTidePoints() const {
  const Data kept = state_->stored(pointsCacheFilename);
  return kept ? tide_points::stationsOf(*kept, state_->readers).value_or(Stations()) : Stations();
}

Task<PointsAnswer> PelagoraService::fetchTidePoints() {
  return State::points(state_);
}

void PelagoraService::fetchTidePointsWithCompletionHandler(PointsCompletion completionHandler) {
  State::askForPoints(state_, std::move(completionHandler));
}

Task<PelagoraService::Events> PelagoraService::fetchGlobalTides(double lat, double lon, std::int64_t year) {
  return State::year(state_, lat, lon, year);
}

void PelagoraService::fetchGlobalTidesWithLat(double lat, double lon, std::int64_t year,
                                              EventsCompletion completionHandler) {
  State::askForYear(state_, lat, lon, year, std::move(completionHandler));
}

}  // namespace marlune
