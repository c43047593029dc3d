#include "support/Subjects.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <utility>

#include "marlune/platform/linux/FolderResources.h"
#include "marlune/platform/linux/LinuxHost.h"
#include "marlune/platform/linux/MainLoop.h"
#include "marlune/tides/TideHighLowParser.h"
#include "support/Measure.h"

namespace marlune::bench {

namespace {

class NoLog : public Log {
 public:
  void line(std::string_view) override {}
};

}  // namespace

Bytes resource(std::string_view name) {
  auto bytes = FolderResources(MARLUNE_BENCH_RESOURCES).read(name);
  require(bytes.has_value(), "no resource " + std::string(name));
  return std::move(*bytes);
}

const Bytes& yearDocument() {
  static const Bytes bytes = resource("2026398997177.xml");
  return bytes;
}

const std::vector<TideEvent>& yearEvents() {
  static const std::vector<TideEvent> events = [] {
    auto parsed = TideHighLowParser().getElements(yearDocument());
    require(parsed && parsed->size() > 1400, "the year document has too few events");
    return std::move(*parsed);
  }();
  return events;
}

std::shared_ptr<TideStation> station() {
  auto made = std::make_shared<TideStation>(std::string(stationId), "9413745", false, 36.9583, -122.017,
                                            "Santa Cruz, Monterey Bay", "California", "United States",
                                            "America/Los_Angeles");
  require(made->getTimezone().has_value(), "the time zone database lacks America/Los_Angeles");
  return made;
}

std::string workPlace() {
  const char* const folder = std::getenv("TMPDIR");  // NOLINT(concurrency-mt-unsafe): one thread
  return folder != nullptr && *folder == '/' ? folder : "/tmp";
}

WorkFolder::WorkFolder(const std::string& parent) {
  std::string path = parent + "/marlune-bench-XXXXXX";
  if (::mkdtemp(path.data()) != nullptr) path_ = path;
}

WorkFolder::~WorkFolder() {
  std::error_code none;
  if (exists()) std::filesystem::remove_all(path_, none);
}

Setting::Setting(const std::string& folder)
    : host(linuxHost({.dataFolder = folder,
                      .resourcesFolder = MARLUNE_BENCH_RESOURCES,
                      .log = std::make_shared<NoLog>(),
                      .mainThread = std::make_shared<MainLoop>()})),
      files(std::make_shared<FileAccess>(host.folders, host.files)),
      diskCache(std::make_shared<TideEventDiskCache>(files)),
      provider(std::make_unique<TideDataProvider>(host, files, diskCache)) {}

void placeYearFile(const std::string& folder) {
  Setting setting(folder);
  const bool saved = setting.files->saveFileInContainer(
      kGroupContainerName, setting.provider->fileNameForStation(stationId, year), yearDocument());
  require(saved, "cannot write below " + folder);
}

void waitUntilSettled() {
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
}

}  // namespace marlune::bench
