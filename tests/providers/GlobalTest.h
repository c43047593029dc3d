#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "providers/ProviderTest.h"

namespace marlune::testing {

/// A provider with a worldwide point at 1.5, 2 in UTC+1, which is not registered.
class GlobalTest : public ProviderTest {
 protected:
  GlobalTest() {
    point->stationId = "global_5";
    point->coordinate = {1.5, 2};
    point->timezoneName = "Etc/GMT-1";
    point->isGlobal = true;
    station = point;
  }

  static std::string yearAddress(int year) {
    return fmt::format("http://points.test/tides?lat=1.5&lon=2.0&year={}&agencies=none", year);
  }
  /// Thirty events in each of the months, on the hour from noon UTC of the 2nd day on, and `more`.
  static std::string yearAnswer(int year, std::vector<int> those = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12},
                                std::string more = "") {
    std::string events = std::move(more);
    for (const int month : those) {
      for (int i = 0; i < 30; ++i) {
        events += fmt::format("{}{{\"time\":\"{}-{:02}-{:02}T{:02}:00:00Z\",\"level\":1}}",
                              events.empty() ? "" : ",", year, month, 2 + (12 + i) / 24, (12 + i) % 24);
      }
    }
    return "{\"tide_events\":[" + events + "]}";
  }
  void script(int year, const std::string& body, int status = 200) {
    fake.http->script(yearAddress(year), answerOf(body, status));
  }

  /// Runs `work` on another thread while this one, the main thread, goes on delivering.
  void elsewhere(const std::function<void()>& work) {
    std::atomic<bool> done = false;
    std::thread thread([&] {
      work();
      done = true;
      fake.mainThread->wake();
    });
    fake.mainThread->runUntil([&] { return done.load(); });
    thread.join();
  }
  bool ensure(int year) {
    bool present = false;
    elsewhere([&] { present = provider->ensureGlobalYearCached(point, year); });
    return present;
  }

  std::shared_ptr<TideStation> point = std::make_shared<TideStation>();
};

}  // namespace marlune::testing
