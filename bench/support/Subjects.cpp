#include "support/Subjects.h"

#include <fcntl.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <utility>

#include "marlune/platform/linux/LinuxHost.h"
#include "marlune/platform/linux/files/FolderResources.h"
#include "marlune/platform/linux/queues/MainLoop.h"
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

namespace {

// The forms of the sea's level and of instants are those of the Bureau's files.
std::string instantText(std::int64_t seconds, int offsetHours) {
  const auto local = fmt::gmtime(static_cast<std::time_t>(seconds + offsetHours * 3600));
  return offsetHours == 0 ? fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", local)
                          : fmt::format("{:%Y-%m-%dT%H:%M:%S}+{:02}:00", local, offsetHours);
}

std::string forecastOf(const std::vector<TideEvent>& events) {
  constexpr int offset = 10;
  constexpr std::int64_t secondsOfDay = 86'400;
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<product version=\"1.4\">\n   <amoc>\n      "
      "<identifier>IDO59001</identifier>\n   </amoc>\n   <forecast>\n      <area aac=\"VIC_TP002\" "
      "description=\"Lorne\" type=\"location\">\n";
  std::int64_t day = 0;
  int index = 0;
  int sequence = 0;
  const auto closeDay = [&] {
    if (index == 0) return;
    if (index % 7 == 0) text += "            <element type=\"moon_phase\">0.5</element>\n";
    text += "         </forecast-period>\n";
  };
  for (const TideEvent& event : events) {
    const std::int64_t dayOfEvent = (event.timestamp + offset * 3600) / secondsOfDay;
    if (dayOfEvent != day) {
      closeDay();
      day = dayOfEvent;
      sequence = 0;
      const std::int64_t begin = day * secondsOfDay - offset * 3600;
      const std::int64_t end = begin + secondsOfDay - 1;
      text += fmt::format(
          "         <forecast-period index=\"{}\" start-time-local=\"{}\" end-time-local=\"{}\" "
          "start-time-utc=\"{}\" end-time-utc=\"{}\">\n",
          ++index, instantText(begin, offset), instantText(end, offset), instantText(begin, 0),
          instantText(end, 0));
    }
    text += fmt::format(
        "            <element type=\"tide_forecast\" instance=\"{}\" sequence=\"{}\" time-local=\"{}\" "
        "time-utc=\"{}\" units=\"metres\">{:.2f}</element>\n",
        event.isHighTide ? "high" : "low", ++sequence, instantText(event.timestamp, offset),
        instantText(event.timestamp, 0), event.tidelevel * 0.3048);
  }
  closeDay();
  return text + "      </area>\n   </forecast>\n</product>\n";
}

}  // namespace

const Bytes& forecastDocument() {
  static const Bytes bytes = forecastOf(yearEvents());
  return bytes;
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
      provider(std::make_unique<TideDataProvider>(host, files, diskCache, nullptr)) {}

bool writePlainly(const std::string& folder, const std::vector<PlainFile>& files) {
  bool fine = true;
  for (const auto& [name, bytes] : files) {
    const std::string path = folder + "/" + name;
    const std::string temporary = folder + "/.tmp" + name;
    const int file = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    fine = ::write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) && fine;
    fine = ::close(file) == 0 && ::rename(temporary.c_str(), path.c_str()) == 0 && fine;
  }
  return fine;
}

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
