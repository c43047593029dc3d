#include <fmt/format.h>

#include <fstream>
#include <string>
#include <string_view>

#include "support/Measure.h"
#include "support/Process.h"
#include "support/Subjects.h"

// The peak of a process that holds the whole catalogue and ten station-years, above that of one that holds
// nothing. Both are this program, run again with a word that tells which.

namespace {

using namespace marlune;
using namespace marlune::bench;

constexpr std::size_t stations = 10;
constexpr double mebibytesAtMost = 24;

// The first stations of the catalogue.
std::vector<std::shared_ptr<TideStation>> someStations(TideDataProvider& provider) {
  auto all = provider.getAllTideStations();
  require(all.size() > 3000, "the whole catalogue");
  all.resize(stations);
  return all;
}

// The most memory that this process ever had, in KiB. The system's own account of a process that has ended
// will not do: it begins with that of the process that started it.
int printPeak() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (!line.starts_with("VmHWM:")) continue;
    fmt::print("{}\n", std::stol(line.substr(6)));
    return 0;
  }
  return 1;
}

int holdEverything(const std::string& folder) {
  Setting setting(folder);
  std::size_t events = 0;
  for (const auto& place : someStations(*setting.provider)) {
    for (int month = 1; month <= 12; ++month) {
      require(setting.provider->populateCacheForStation(place, year, month), "a month of a year file");
      const auto list = setting.provider->getTideData(*place->stationId, year, month);
      if (list) events += list->size();
    }
  }
  // The months hold the year but what lies in the years beside it by the station's own time.
  return events > stations * 1400 ? printPeak() : 1;
}

double medianPeak(const std::vector<std::string>& words, const std::string& output) {
  std::vector<double> peaks;
  for (int i = 0; i < 9; ++i) {
    const ProcessRun done = runProcess(words, output);
    require(done.status == 0, "a process of the measurement ended with " + std::to_string(done.status));
    double kilobytes = 0;
    require(static_cast<bool>(std::ifstream(output) >> kilobytes), "a process did not tell its peak");
    peaks.push_back(kilobytes / 1024);
  }
  return medianOf(peaks);
}

}  // namespace

int main(int count, char** arguments) {
  const std::string_view word = count > 1 ? arguments[1] : "";
  if (word == "nothing") return printPeak();
  if (word == "everything" && count > 2) return holdEverything(arguments[2]);

  const WorkFolder folder(workPlace());
  {
    Setting setting(folder.path());
    for (const auto& place : someStations(*setting.provider)) {
      const bool saved = setting.files->saveFileInContainer(
          kGroupContainerName, setting.provider->fileNameForStation(*place->stationId, year), yearDocument());
      require(saved, "cannot write below " + folder.path());
    }
  }
  const std::string output = folder.path() + "/output";
  const double everything = medianPeak({arguments[0], "everything", folder.path()}, output);
  const double nothing = medianPeak({arguments[0], "nothing"}, output);
  const double above = everything - nothing;
  fmt::print("{:<34} {:>10} {:>10} {:>10}\n", "peak memory, MiB", "full", "empty", "above");
  fmt::print("{:<34} {:>10.1f} {:>10.1f} {:>10.1f}  <= {} MiB  {}\n", "catalogue and ten station-years",
             everything, nothing, above, mebibytesAtMost, above <= mebibytesAtMost ? "met" : "MISSED");
  return 0;
}
