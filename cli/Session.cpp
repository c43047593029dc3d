#include "cli/Session.h"

#include <filesystem>
#include <mutex>

#include "cli/Settings.h"
#include "cli/Values.h"
#include "marlune/composition/Doors.h"
#include "marlune/platform/linux/LinuxHost.h"
#include "marlune/platform/linux/files/FolderResources.h"
#include "services/LocalServices.h"

namespace marlune::cli {
namespace {

std::string absolutePath(const std::optional<std::string>& path) {
  if (!path) return "";
  std::error_code error;
  const auto absolute = std::filesystem::absolute(*path, error);
  if (path->empty() || error) throw WrongCall("a folder must be named: \"" + *path + "\"");
  std::string text = absolute.lexically_normal().string();
  while (text.size() > 1 && text.ends_with('/')) text.pop_back();
  return text;
}

/// Starts the services on the catalogue in use, or on the library's own where that folder has none; their
/// base address.
std::string startServices(std::unique_ptr<services::LocalServices>& services, const std::string& resources,
                          const std::shared_ptr<ManualClock>& clock) {
  std::string error;
  for (const std::string& folder : {resources, std::string()}) {
    services::LocalServices::Options options;
    options.resourcesFolder = folder;
    if (clock) options.now = [clock] { return wholeSecondsOf(clock->now()); };
    services = std::make_unique<services::LocalServices>(std::move(options));
    std::string address = services->start();
    if (!address.empty()) return address;
    if (error.empty()) error = services->error();
  }
  throw Failure("the local services did not start: " + error);
}

}  // namespace

Session::Session(const GlobalOptions& options)
    : options_(options),
      activity_(std::make_shared<Activity>()),
      loop_(std::make_shared<MainLoop>(activity_)),
      news_(std::make_shared<News>([loop = loop_.get()] { loop->wake(); })) {
  if (options.settings) readSettings(*options.settings, settings_);
  if (options.services) useServices(*options.services, settings_);
  if (options.services && options.local) throw WrongCall("give --services or --local, not both");
  if (options.now) {
    const auto now = parseInstant(*options.now);
    if (!now) {
      throw WrongCall("--now is not an instant like 2026-03-05T12:00:00Z or seconds since 1970: \"" +
                      *options.now + "\"");
    }
    manualClock_ = std::make_shared<ManualClock>(*now);
  }
  if (options.deviceTimeZone) {
    deviceTimeZone_ = TimeZone::named(*options.deviceTimeZone);
    if (!deviceTimeZone_) {
      throw WrongCall("--device-timezone is not a time zone like America/Los_Angeles: \"" +
                      *options.deviceTimeZone + "\"");
    }
  }
}

Session::~Session() = default;

void Session::open() {
  const std::string resources =
      options_.resources ? absolutePath(options_.resources) : installedResourcesFolder();
  if (options_.local) useServices(startServices(services_, resources, manualClock_), settings_);
  LinuxHostOptions options;
  options.dataFolder = absolutePath(options_.data);
  if (options_.bundle) options.bundleFolder = absolutePath(options_.bundle);
  options.region = options_.region;
  options.resourcesFolder = resources;
  options.clock = manualClock_;
  options.deviceTimeZone = deviceTimeZone_;
  options.settings = settings_;
  options.log = news_;
  options.mainThread = loop_;
  options.activity = activity_;
  host_ = linuxHost(std::move(options));
  observation_ = host_.notifications->observe("", [news = news_](const Notification& n) { news->add(n); });
  installHost(host_);
}

const Host& Session::host() {
  std::call_once(opened_, [this] { open(); });
  return host_;
}

TideDataProvider& Session::provider() {
  host();
  return TideDataProvider::Instance();
}

TideEventDiskCache& Session::monthFiles() {
  host();
  return TideEventDiskCache::shared();
}

PelagoraService& Session::globalService() {
  host();
  return PelagoraService::shared();
}

FavoriteListManager& Session::favorites() {
  host();
  return FavoriteListManager::Instance();
}

TideStationSearchProvider& Session::search() {
  host();
  return TideStationSearchProvider::shared();
}

OceanDataServiceProvider& Session::ocean() {
  host();
  return OceanDataServiceProvider::shared();
}

SeriesDiskCache& Session::seriesFiles() {
  host();
  return SeriesDiskCache::shared();
}

Reading readingOf(Session& session, const StationPtr& station) {
  auto& provider = session.provider();
  if (session.json()) return {};
  return {provider.calendarForStation(station).timeZone(), provider.tideLevelUnitInMeters()};
}

Reading readingOf(Session& session, const std::string& stationId) {
  if (session.json()) return {};
  return readingOf(session, session.provider().getTideStationById(stationId));
}

}  // namespace marlune::cli
