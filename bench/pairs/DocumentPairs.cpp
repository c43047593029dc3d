#include <benchmark/benchmark.h>
#include <expat.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "pairs/Pairs.h"
#include "support/Measure.h"
#include "support/Subjects.h"

// Year documents, the months cut out of them, and the month files.

namespace marlune::bench {

namespace {

void XMLCALL emptyStart(void*, const XML_Char*, const XML_Char**) {}
void XMLCALL emptyEnd(void*, const XML_Char*) {}

void emptyPass(const Bytes& document) {
  XML_Parser parser = XML_ParserCreate(nullptr);
  XML_SetElementHandler(parser, emptyStart, emptyEnd);
  const auto status = XML_Parse(parser, document.data(), static_cast<int>(document.size()), XML_TRUE);
  benchmark::DoNotOptimize(status);
  XML_ParserFree(parser);
}

void addMonthOfDocument(const std::shared_ptr<Setting>& setting) {
  const auto place = station();
  const auto months =
      setting->provider->getHighLowTideDataFromNSData(makeData(yearDocument()), place, year, 6);
  require(months && months->size() > 115 && months->size() < 140, "June of the year document");
  // A pointer that was handed in before is remembered; a new one each time is a new document.
  const auto data = std::make_shared<Data>();
  addPair({.name = "month of a year document",
           .library = {.run =
                           [=] {
                             auto events =
                                 setting->provider->getHighLowTideDataFromNSData(*data, place, year, 6);
                             benchmark::DoNotOptimize(events);
                           },
                       .prepare = [=] { *data = makeData(yearDocument()); }},
           .reference = {.run = [] { emptyPass(yearDocument()); }, .prepare = [] {}},
           .ratioAtMost = 1.3});
}

/// Containers that hold nothing but the year file, each to be used once: to empty a used one would leave the
/// file system with removed files to look after, which some do as the next ones are made.
class FreshContainers {
 public:
  explicit FreshContainers(const std::string& parent) : folder_(parent) {}

  bool exist() const { return folder_.exists(); }

  /// The data folder of one.
  std::string next() {
    if (used_ == made_) make(50);
    return nameOf(used_++);
  }

 private:
  std::string nameOf(int number) const { return folder_.path() + "/" + std::to_string(number); }
  void make(int more) {
    for (const int until = made_ + more; made_ < until; ++made_) placeYearFile(nameOf(made_));
    waitUntilSettled();
  }

  WorkFolder folder_;
  int made_ = 0;
  int used_ = 0;
};

// Month files of the usual size.
std::vector<PlainFile> monthFiles(int months) {
  const Bytes bytes = TideEventDiskCache::encode({yearEvents().begin(), yearEvents().begin() + 124});
  std::vector<PlainFile> files;
  for (int month = 1; month <= months; ++month) {
    files.push_back({"tcache_398997177_2026_" + std::to_string(month) + ".bin", bytes});
  }
  return files;
}

void addMonthsOfFile(const std::string& where, const std::string& parent) {
  const auto containers = std::make_shared<FreshContainers>(parent);
  if (!containers->exist()) return;
  const auto place = station();
  const auto setting = std::make_shared<std::unique_ptr<Setting>>();
  const auto renew = [=] { *setting = std::make_unique<Setting>(containers->next()); };
  const auto populate = [=](int first, int last) {
    bool all = true;
    for (int month = first; month <= last; ++month) {
      all = (*setting)->provider->populateCacheForStation(place, year, month) && all;
    }
    return all;
  };
  renew();
  require(populate(1, 12), "twelve months of a year file");
  for (int month = 1; month <= 12; ++month) {
    const auto list = (*setting)->provider->getTideData(stationId, year, month);
    require(list && list->size() > 100, "a month is missing");
    require((*setting)->diskCache->cachedEvents(stationId, year, month).has_value(),
            "a month file is missing");
  }
  addPair({.name = "twelve months of a year file, " + where,
           .library = {.run = [=] { populate(1, 12); }, .prepare = renew, .runs = 5},
           .reference = {.run = [=] { populate(1, 1); }, .prepare = renew, .runs = 5},
           .ratioAtMost = 1.5});

  // What of that is the file system's: the other eleven months beside the writing of eleven files.
  const auto folder = std::make_shared<std::string>();
  const auto enter = [=] { *folder = *(*setting)->host.folders->container(kGroupContainerName); };
  renew();
  enter();
  const auto files = monthFiles(11);
  require(writePlainly(*folder, files), "eleven files written plainly");
  addPair({.name = "its last eleven months, " + where,
           .library = {.run = [=] { populate(2, 12); },
                       .prepare =
                           [=] {
                             renew();
                             populate(1, 1);
                           },
                       .runs = 5},
           .reference = {.run = [=] { writePlainly(*folder, files); },
                         .prepare =
                             [=] {
                               renew();
                               enter();
                             },
                         .runs = 5}});
}

bool readPlainly(const char* path, std::array<char, 8192>& buffer) {
  const int file = ::open(path, O_RDONLY | O_CLOEXEC);
  struct stat status {};
  const bool fine = ::fstat(file, &status) == 0 &&
                    ::read(file, buffer.data(), static_cast<std::size_t>(status.st_size)) == status.st_size;
  ::close(file);
  return fine;
}

void addMonthFile(const std::shared_ptr<WorkFolder>& folder) {
  const auto setting = std::make_shared<Setting>(folder->path());
  const auto place = station();
  require(setting->provider->populateCacheForStation(place, year, 3), "March of the year file");
  const auto path = setting->files->pathInContainer(kGroupContainerName, "tcache_398997177_2026_3.bin");
  const auto buffer = std::make_shared<std::array<char, 8192>>();
  require(path && readPlainly(path->c_str(), *buffer), "the month file does not lie where it should");
  const auto stored = setting->diskCache->cachedEvents(stationId, year, 3);
  const auto list = setting->provider->getTideData(stationId, year, 3);
  require(stored && list && stored->size() > list->size(), "the month file holds the margins as well");
  addPair({.name = "month file read",
           .library = {.run =
                           [=] {
                             auto events = setting->diskCache->cachedEvents(stationId, year, 3);
                             benchmark::DoNotOptimize(events);
                           }},
           .reference = {.run = [=, name = *path, keep = folder] { readPlainly(name.c_str(), *buffer); }},
           .ratioAtMost = 1.3});
}

}  // namespace

void addDocumentPairs() {
  const auto folder = std::make_shared<WorkFolder>(workPlace());
  require(folder->exists(), "cannot make a folder in " + workPlace());
  placeYearFile(folder->path());
  waitUntilSettled();
  addMonthOfDocument(std::make_shared<Setting>(folder->path()));
  addMonthsOfFile("on disk", workPlace());
  addMonthsOfFile("in memory", "/dev/shm");
  addMonthFile(folder);
}

}  // namespace marlune::bench
