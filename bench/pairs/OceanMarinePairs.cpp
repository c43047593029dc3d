#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <simdjson.h>

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "marlune/ocean/openmeteo/MarineDays.h"
#include "marlune/ocean/openmeteo/OpenMeteoDataProvider.h"
#include "pairs/Pairs.h"
#include "support/Measure.h"

// The marine forecast: an answer taken in, a question answered from memory, many questions at once.

namespace marlune::bench {

namespace {

constexpr double lat = 36.625;
constexpr double lng = -121.875;
constexpr int hoursOfForecast = 9 * 24;
constexpr std::int64_t firstMidnight = 1'783'062'000;  // 2026-07-03 in California

TimeZone zone() {
  const auto named = TimeZone::named("America/Los_Angeles");
  require(named.has_value(), "the time zone database lacks America/Los_Angeles");
  return *named;
}

/// Nine days from 2026-07-03 on, as the service sends them: feet to three decimals, whole degrees, gaps.
Bytes marineAnswer() {
  Bytes times;
  Bytes arrays[6];
  for (int i = 0; i < hoursOfForecast; ++i) {
    const char* const comma = i == 0 ? "" : ",";
    times += fmt::format(R"({}"2026-07-{:02}T{:02}:00")", comma, 3 + i / 24, i % 24);
    arrays[0] += fmt::format("{}{:.1f}", comma, 14 + i % 30 / 10.0);
    arrays[1] += fmt::format("{}{:.3f}", comma, 3 + i * 37 % 4000 / 1000.0);
    arrays[2] += fmt::format("{}{}", comma, 280 + i % 40);
    arrays[3] += fmt::format("{}{:.2f}", comma, 9 + i % 80 / 20.0);
    arrays[4] += i % 50 == 30 ? fmt::format("{}null", comma) : fmt::format("{}{:.1f}", comma, i % 20 / 10.0);
    arrays[5] += i % 50 == 30 ? fmt::format("{}null", comma) : fmt::format("{}{}", comma, i * 7 % 360);
  }
  return fmt::format(
      R"({{"latitude":36.625,"longitude":-121.87499,"generationtime_ms":1.03,"utc_offset_seconds":-25200,)"
      R"("timezone":"America/Los_Angeles","timezone_abbreviation":"GMT-7","elevation":0.0,"hourly_units":)"
      R"({{"time":"iso8601","sea_surface_temperature":"°C","swell_wave_height":"ft"}},"hourly":{{"time":[{}],)"
      R"("sea_surface_temperature":[{}],"swell_wave_height":[{}],"swell_wave_direction":[{}],)"
      R"("swell_wave_period":[{}],"ocean_current_velocity":[{}],"ocean_current_direction":[{}]}}}})",
      times, arrays[0], arrays[1], arrays[2], arrays[3], arrays[4], arrays[5]);
}

/// Looks at every value of a tree, and sums up so that it is not left out.
double walk(simdjson::dom::element value) {
  using simdjson::dom::element_type;
  double sum = 0;
  switch (value.type()) {
    case element_type::OBJECT:
      for (const auto& [key, member] : simdjson::dom::object(value)) {
        sum += static_cast<double>(key.size()) + walk(member);
      }
      break;
    case element_type::ARRAY:
      for (const auto member : simdjson::dom::array(value)) sum += walk(member);
      break;
    case element_type::STRING:
      sum = static_cast<double>(std::string_view(value).size());
      break;
    case element_type::NULL_VALUE:
      break;
    default:
      sum = double(value);
  }
  return sum;
}

/// Queues whose jobs run when the benchmark says so, on its thread: what is timed is the work of the library
/// without the wake-ups of the system.
class HandQueues : public ExecutorFactory {
 public:
  std::shared_ptr<Executor> makeQueue(std::string_view, std::size_t) override {
    return std::make_shared<Queue>(jobs_);
  }
  void run() {
    while (!jobs_->empty()) {
      Executor::Job job = std::move(jobs_->front());
      jobs_->pop_front();
      job();
    }
  }

 private:
  using Jobs = std::deque<Executor::Job>;
  struct Queue : Executor {
    explicit Queue(std::shared_ptr<Jobs> all) : jobs(std::move(all)) {}
    void post(Job job) override { jobs->push_back(std::move(job)); }
    const std::shared_ptr<Jobs> jobs;
  };
  const std::shared_ptr<Jobs> jobs_ = std::make_shared<Jobs>();
};

class HandClient : public HttpClient {
 public:
  std::shared_ptr<HttpTransfer> send(HttpRequest, Completion completion) override {
    open.push_back(std::move(completion));
    return std::make_shared<Transfer>();
  }
  void answer(const Data& body) {
    HttpAnswer answer;
    answer.status = 200;
    answer.body = body;
    auto completion = std::move(open.front());
    open.pop_front();
    completion(std::move(answer));
  }
  std::deque<Completion> open;

 private:
  struct Transfer : HttpTransfer {
    void cancel() override {}
  };
};

class NoLog : public Log {
 public:
  void line(std::string_view) override {}
};

/// A provider over the little that it asks of a host.
struct MarineSetting {
  MarineSetting() {
    Host host;
    host.executors = queues;
    host.http = client;
    host.log = std::make_shared<NoLog>();
    provider = std::make_unique<OpenMeteoDataProvider>(host);
  }
  void ask(const std::string& locationId) {
    start(provider->getDailySwellData(lat, lng, dateFromSeconds(firstMidnight + 90'000), zone(), locationId),
          [this](SwellDataProvider::Answer swell) {
            if (swell) ++answered;
          });
  }

  const std::shared_ptr<HandQueues> queues = std::make_shared<HandQueues>();
  const std::shared_ptr<HandClient> client = std::make_shared<HandClient>();
  std::size_t answered = 0;
  std::unique_ptr<OpenMeteoDataProvider> provider;
};

Task<SwellDataProvider::Answer> bareHop(std::shared_ptr<Executor> queue, SwellDataProvider::Answer answer) {
  co_await resumeOn(queue);
  co_return answer;
}

void addAnswer(const std::shared_ptr<const Bytes>& json) {
  const auto readers = std::make_shared<JsonReaders>();
  const auto days = std::make_shared<MarineDays>();
  const auto number = std::make_shared<int>(0);
  // Another place each time, so that every day is a new entry and an old one leaves.
  const auto takeIn = [=] {
    const auto reading = MarineDays::read(*json, zone(), *readers);
    if (reading.forecast) days->keep(reading.forecast, fmt::format("place-{}", ++*number), lat, lng);
  };
  takeIn();
  const auto day = days->find("place-1", "2026-07-04", zone());
  require(day && day->swell()->timeSeries.size() == 50 && day->temperature()->timeSeries.size() == 25,
          "a whole day of the marine forecast");
  require(secondsOf(day->swell()->timeSeries.front()->date) == firstMidnight + 86'400, "its midnight");
  require(day->currents()->timeSeries.size() == 24, "the gap of the currents");

  const auto parser = std::make_shared<simdjson::dom::parser>();
  require(walk(parser->parse(*json).value()) > 0, "the reference reads the answer");
  addPair({.name = "marine answer: decoded, cut, kept",
           .library = {.run = takeIn},
           .reference = {.run =
                             [=] {
                               double sum = walk(parser->parse(*json).value());
                               benchmark::DoNotOptimize(sum);
                             }},
           .ratioAtMost = 1.6,
           .bytes = json->size()});
}

void addMemoryHit(const Data& json) {
  const auto setting = std::make_shared<MarineSetting>();
  setting->ask("here");
  setting->queues->run();
  setting->client->answer(json);
  setting->queues->run();
  require(setting->answered == 1, "the first question");
  setting->ask("here");
  setting->queues->run();
  require(setting->answered == 2 && setting->client->open.empty(), "a hit asks nothing of the network");
  const auto queue = setting->queues->makeQueue("hop", 1);
  addPair({.name = "marine: memory hit, beside a hop",
           .library = {.run =
                           [=] {
                             setting->ask("here");
                             setting->queues->run();
                           }},
           .reference = {.run =
                             [=] {
                               start(bareHop(queue, nullptr), [](SwellDataProvider::Answer) {});
                               setting->queues->run();
                             }},
           .microsecondsAtMost = 2});
}

void addCrowd(const Data& json) {
  constexpr std::size_t questions = 1000;
  const auto setting = std::make_shared<std::unique_ptr<MarineSetting>>();
  const auto ask = [=] {
    *setting = std::make_unique<MarineSetting>();
    for (std::size_t i = 0; i < questions; ++i) (*setting)->ask("here");
    (*setting)->queues->run();
    require((*setting)->client->open.size() == 1, "one request for equal questions");
  };
  const auto answer = [=] {
    (*setting)->client->answer(json);
    (*setting)->queues->run();
  };
  ask();
  answer();
  require((*setting)->answered == questions, "every question has its answer");
  const auto hops = std::make_shared<HandQueues>();
  const auto queue = hops->makeQueue("hop", 1);
  addPair({.name = "marine: 1,000 equal questions",
           .library = {.run = answer, .prepare = ask, .runs = 20},
           .reference = {.run =
                             [=] {
                               for (std::size_t i = 0; i < questions; ++i)
                                 start(bareHop(queue, nullptr), [](SwellDataProvider::Answer) {});
                               hops->run();
                             },
                         .prepare = [] {},
                         .runs = 20},
           .microsecondsAtMost = 20'000});
}

}  // namespace

void addOceanMarinePairs() {
  const Data json = makeData(marineAnswer());
  addAnswer(json);
  addMemoryHit(json);
  addCrowd(json);
}

}  // namespace marlune::bench
