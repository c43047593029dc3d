#pragma once

#include <fmt/format.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "marlune/global/PelagoraService.h"
#include "marlune/providers/TideDataProvider.h"
#include "support/HostTest.h"
#include "support/NotificationRecorder.h"

namespace marlune::testing {

using Names = std::vector<std::string>;

inline constexpr const char* begun = "TideData_FetchHighLowTideBegun";
inline constexpr const char* completed = "TideData_FetchHighLowTideCompleted";
inline constexpr const char* failed = "TideData_FetchHighLowTideError";

inline Names namesOf(const std::vector<Notification>& posted) {
  Names names;
  for (const auto& each : posted) names.push_back(each.name);
  return names;
}

inline std::string idsOf(const TideDataProvider::Stations& stations) {
  std::string ids;
  for (const auto& station : stations) ids += station->stationId.value_or("-") + " ";
  return ids;
}

/// A provider over fakes: 2024-05-15 12:00 UTC, a station in UTC, and year documents of its making. The
/// service of worldwide points fails until a test scripts it.
class ProviderTest : public HostTest {
 protected:
  ProviderTest() {
    fake.settings.tideApiHost = "tides.test";
    fake.settings.supportEmail = "help@tides.test";
    fake.settings.globalTidesBaseURL = "http://points.test";
    fake.http->script(pointsAddress, answerOf("", 503));
    fake.clock->set(dateFromSeconds(noon));
    fake.resources->files.insert_or_assign(
        "stations_master_usa2.txt",
        "7~x~0~36~-122~Seven~California~UTC\r\n8~y~1~0~0~Eight~Guam~Pacific/Guam\n");
    station->stationId = "7";
    station->timezoneName = "UTC";
    provider = make();
  }

  std::unique_ptr<TideDataProvider> make() {
    const Host host = fake.host();
    files = std::make_shared<FileAccess>(host.folders, host.files);
    months = std::make_shared<TideEventDiskCache>(files);
    service = std::make_shared<PelagoraService>(host, files);
    return std::make_unique<TideDataProvider>(host, files, months, service, favorites);
  }

  /// A document with `perMonth` events in each month of a year, on the hour from noon of the 2nd day on.
  static std::string document(int year, int perMonth, double level = 1.0) {
    std::string text = "<tides><s id=\"7\"/>";
    const Calendar utc{TimeZone()};
    for (int month = 1; month <= 12; ++month) {
      for (int i = 0; i < perMonth; ++i) {
        text += fmt::format("<e t=\"{}\" l=\"{}\" w=\"{}\"/>", utc.instant({year, month, 2, 12 + i, 0, 0}),
                            level, i % 2 == 0 ? "H" : "L");
      }
    }
    return text + "</tides>" + std::string(2600, ' ');
  }

  /// A forecast of the Bureau for 2024 with `perMonth` events in each month up to `lastMonth`, every six
  /// hours from the first midnight in `zone` on, `late` seconds later than that.
  static Bytes bureauForecast(int perMonth, const char* zone, double level = 1.5, int lastMonth = 12,
                              int late = 0) {
    const Calendar utc{TimeZone()};
    const Calendar local{TimeZone::named(zone).value()};
    std::string text = "<product><forecast>";
    for (int month = 1; month <= lastMonth; ++month) {
      const std::int64_t first = local.instant({2024, month, 1, 0, 0, 0}) + late;
      for (int i = 0; i < perMonth; ++i) {
        const CivilTime t = utc.components(first + i * 21'600);
        text += fmt::format(
            "<element type=\"tide_forecast\" instance=\"{}\" time-utc=\"{}-{:02}-{:02}T{:02}:{:02}:"
            "{:02}Z\">{}</element>\n",
            i % 2 == 0 ? "high" : "low", t.year, t.month, t.day, t.hour, t.minute, t.second, level);
      }
    }
    return text + "</forecast></product>";
  }

  static std::string address(int year) {
    return fmt::format("http://tides.test/v1/tideapi.php?op=highlowtide&id=7&year={}&version=1&format=xml",
                       year);
  }
  static std::string fileName(int year) { return fmt::format("{}7.xml", year); }
  static std::string padded(std::size_t size) {
    std::string text = "<a/>";
    text.resize(size, ' ');
    return text;
  }
  static std::int64_t at(int year, int month, int day, int hour = 0) {
    return TimeZone().instant({year, month, day, hour, 0, 0});
  }
  static Date dateAt(int year, int month, int day, int hour = 0) {
    return dateFromSeconds(static_cast<double>(at(year, month, day, hour)));
  }

  void keep(int year, std::string_view bytes) {
    ASSERT_TRUE(files->saveFileInContainer(kGroupContainerName, fileName(year), bytes));
  }
  Data kept(int year) { return files->loadFileInContainer(kGroupContainerName, fileName(year)); }
  std::size_t inMemory(int year, int month) {
    const auto list = provider->getTideData(*station->stationId, year, month);
    return list ? list->size() : 0;
  }

  /// What has been posted since the last time, once nothing is under way any more.
  std::vector<Notification> settled() {
    EXPECT_TRUE(fake.settle());
    return seen.take();
  }

  /// fetchTideEventsForStation, waited for; how many events came, -1 for none.
  int fetched(Date from, Date to) {
    int count = -2;
    provider->fetchTideEventsForStation(station, from, to,
                                        [&, once = completions.once("fetch")](auto events) {
                                          count = events ? static_cast<int>(events->size()) : -1;
                                          cameOnMain = fake.mainThread->isMainThread();
                                          once();
                                        });
    EXPECT_TRUE(fake.settle());
    return count;
  }

  bool cameOnMain = false;                       ///< did what was fetched come on the main thread?
  static constexpr double noon = 1'715'774'400;  // 2024-05-15 12:00 UTC
  static constexpr const char* pointsAddress = "http://points.test/tide-points";
  NotificationRecorder seen{*fake.notifications};
  std::shared_ptr<FileAccess> files;
  std::shared_ptr<TideEventDiskCache> months;
  std::shared_ptr<PelagoraService> service;
  FavoriteHooks favorites;  // of the next provider that is made
  std::shared_ptr<TideStation> station = std::make_shared<TideStation>();
  std::unique_ptr<TideDataProvider> provider;
};

}  // namespace marlune::testing
