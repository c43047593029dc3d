#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/Measure.h"
#include "support/Process.h"
#include "support/Subjects.h"

// A new process that prints a range of a month that lies on the disk, beside one that only reads the files.

namespace {

using namespace marlune;
using namespace marlune::bench;

constexpr int runsOfEach = 400;
constexpr double ratioAtMost = 1.5;
constexpr std::int64_t begin = 1'772'668'800;  // 2026-03-05 00:00 UTC
constexpr std::int64_t end = begin + std::int64_t{14} * 86'400;

struct Side {
  const char* name;
  std::vector<std::string> words;
  std::vector<double> wall = {};
  std::vector<double> processor = {};
};

std::string contentOf(const std::string& path) {
  std::ifstream stream(path);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

void run(Side& side, const std::string& output) {
  const ProcessRun done = runProcess(side.words, output);
  require(done.status == 0, fmt::format("{} ended with {}", side.name, done.status));
  side.wall.push_back(done.wall);
  side.processor.push_back(done.processor);
}

void print(const Side& side) {
  fmt::print("{:<34} {:>10.2f} {:>10.2f} {:>10}\n", side.name, medianOf(side.wall), medianOf(side.processor),
             std::filesystem::file_size(side.words[0]) / 1024);
}

}  // namespace

int main() {
  const WorkFolder folder(workPlace());
  placeYearFile(folder.path());
  std::string monthFile;
  std::vector<TideEvent> expected;
  {
    const Setting setting(folder.path());
    require(setting.provider->populateCacheForStation(station(), year, 3), "March of the year file");
    expected = *setting.provider->getTideDataByTimestamp(station(), begin, end);
    monthFile = *setting.files->pathInContainer(kGroupContainerName, "tcache_398997177_2026_3.bin");
    // Only the month file is left to answer from.
    setting.files->removeFileInContainer(kGroupContainerName, "2026398997177.xml");
  }
  const std::string output = folder.path() + "/output";
  Side command{
      "range printed by the command",
      {MARLUNE_BENCH_COMMAND, "--data", folder.path(), "--resources", MARLUNE_BENCH_RESOURCES, "--json",
       "tides", "range", std::string(stationId), std::to_string(begin), std::to_string(end)}};
  Side reader{"the same files only read",
              {MARLUNE_BENCH_READER, MARLUNE_BENCH_RESOURCES "/stations_master_usa2.txt",
               "/usr/share/zoneinfo/America/Los_Angeles", monthFile}};

  run(command, output);
  const std::string printed = contentOf(output);
  require(occurrences(printed, "\"timestamp\"") == expected.size(), "as many events printed as there are");
  for (const TideEvent& event : expected) {
    require(occurrences(printed, fmt::format("\"timestamp\":{},", event.timestamp)) == 1,
            "an event is missing");
  }
  run(reader, output);
  const auto read = std::filesystem::file_size(monthFile) +
                    std::filesystem::file_size(MARLUNE_BENCH_RESOURCES "/stations_master_usa2.txt");
  require(std::stoull(contentOf(output)) > read, "the reader reads every file");

  // In turn, so that what else the machine does hits both alike.
  for (int i = 0; i < runsOfEach; ++i) {
    run(i % 2 == 0 ? command : reader, output);
    run(i % 2 == 0 ? reader : command, output);
  }
  fmt::print("{:<34} {:>10} {:>10} {:>10}\n", "whole processes, medians", "wall ms", "proc. ms", "size KiB");
  print(command);
  print(reader);
  const double wall = medianOf(command.wall) / medianOf(reader.wall);
  const double processor = medianOf(command.processor) / medianOf(reader.processor);
  fmt::print("{:<34} {:>10.2f} {:>10.2f}  ratio <= {:.1f}  {}\n", "ratio", wall, processor, ratioAtMost,
             processor <= ratioAtMost ? "met" : "MISSED");
  return 0;
}
