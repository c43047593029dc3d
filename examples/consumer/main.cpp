// Asks the default station for its water level at noon on a summer's day, from the data that the library
// ships: nothing is fetched, so the answer is the same every time.

#include <marlune/marlune.h>
#include <marlune/platform/ManualClock.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

namespace {

/// Diagnostic lines of the library, to standard error.
class ErrorLog : public marlune::Log {
 public:
  void line(std::string_view text) override {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(text.size()), text.data());
  }
};

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: consumer DATA-FOLDER\n");
    return 2;
  }
  const auto zone = marlune::TimeZone::named("America/Los_Angeles");
  if (!zone) return 1;
  const std::int64_t noon = zone->instant({.year = 2026, .month = 7, .day = 1, .hour = 12});

  // The seam is the application's to fill: here everything is the Linux default but the clock and the log.
  marlune::Host host = marlune::linuxHost({
      .dataFolder = std::filesystem::absolute(arguments[1]).string(),
      .resourcesFolder = RESOURCES,
      .clock = std::make_shared<marlune::ManualClock>(marlune::dateFromSeconds(static_cast<double>(noon))),
      .log = std::make_shared<ErrorLog>(),
  });
  if (!marlune::installHost(std::move(host))) return 1;

  auto& provider = marlune::TideDataProvider::Instance();
  const auto station = provider.getDefaultTideStation();
  provider.saveDefaultStationFileFromBundle();
  if (!provider.populateCacheForStation(station, 2026, 7)) {
    std::fprintf(stderr, "no predictions on the disk\n");
    return 1;
  }
  const auto events = provider.getTideDataByTimestamp(station, noon - 86'400, noon + 86'400);
  if (!events || events->size() < 2) return 1;
  const double level = provider.interopolateTideLevel(*events, static_cast<double>(noon));
  std::printf("%zu highs and lows around noon, level %.2f %s\n", events->size(), level,
              provider.tideLevelUnitInMeters() ? "m" : "ft");
  return 0;
}
