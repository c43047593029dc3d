#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <sys/single_threaded.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "marlune/search/SearchText.h"
#include "marlune/search/StationIndex.h"
#include "marlune/tides/StationFile.h"
#include "pairs/AllocationCount.h"
#include "pairs/Pairs.h"
#include "support/Measure.h"
#include "support/Subjects.h"

// The search: every question beside a bare scan of all folded names, and what the index costs.

namespace marlune::bench {

namespace {

using Stations = StationIndex::Stations;
using Random = std::mt19937;

constexpr std::size_t catalogueStations = 3500;
constexpr std::size_t globalPoints = 12'000;
constexpr std::size_t indexBytesAtMost = 8U << 20;

std::string generatedWord(Random& random) {
  static constexpr const char* onsets[] = {"b", "br", "c", "ch", "d", "f", "g",  "gr", "h", "j",
                                           "k", "l",  "m", "n",  "p", "r", "s",  "sh", "t", "tr",
                                           "v", "w",  "y", "z",  "þ", "q", "st", "bl", "",  "ç"};
  static constexpr const char* nuclei[] = {"a", "e", "i", "o", "u", "ai", "ou", "á", "ø", "ö", "y", "ee"};
  static constexpr const char* codas[] = {"", "", "", "n", "r", "l", "s", "m", "t", "ck", "rd", "ng"};
  std::string word;
  for (auto left = 2 + random() % 2; left > 0; --left) {
    word += onsets[random() % std::size(onsets)];
    word += nuclei[random() % std::size(nuclei)];
    word += codas[random() % std::size(codas)];
  }
  if (word[0] >= 'a' && word[0] <= 'z') word[0] = static_cast<char>(word[0] - 'a' + 'A');
  return word;
}

std::string generatedName(Random& random) {
  static constexpr const char* kinds[] = {"Harbour", "Point",          "Bay", "Island", "Bridge",
                                          "Port",    "River entrance", "Pier"};
  std::string name = generatedWord(random);
  if (random() % 2 == 0) name += " " + generatedWord(random);
  if (random() % 3 != 0) name += std::string(" ") + kinds[random() % std::size(kinds)];
  if (random() % 3 == 0) name += ", " + generatedWord(random) + " " + kinds[random() % std::size(kinds)];
  return name;
}

/// The shipped catalogue, filled up with generated stations of its states, and generated worldwide points,
/// two thirds with a city.
Stations subjects(std::size_t points) {
  Random random(1);
  Stations stations = station_file::stationsOf(resource("stations_master_usa2.txt")).value();
  const std::size_t real = stations.size();
  require(real > 3000 && real <= catalogueStations, "the shipped catalogue");
  std::vector<std::string> cities;
  for (int i = 0; i < 4000; ++i) cities.push_back(generatedWord(random));
  while (stations.size() < catalogueStations + points) {
    const bool global = stations.size() >= catalogueStations;
    auto station = std::make_shared<TideStation>();
    station->stationId = fmt::format("{}{}", global ? "global_" : "9", stations.size());
    station->stationName = generatedName(random);
    station->stateId = !global             ? *stations[random() % real]->stateId
                       : random() % 3 != 0 ? cities[random() % cities.size()]
                                           : std::string();
    station->isGlobal = station->hasResolvedName = global;
    station->coordinate = {std::uniform_real_distribution<>(-70, 70)(random),
                           std::uniform_real_distribution<>(-180, 180)(random)};
    stations.push_back(std::move(station));
  }
  return stations;
}

/// Every name and state in one block, folded, and a scan of it from end to end: the least that a search
/// without an index does. It gives the numbers of the stations that hold the query, each once.
class Scan {
 public:
  explicit Scan(const Stations& stations) {
    for (std::uint32_t number = 0; number < stations.size(); ++number) {
      const TideStation& station = *stations[number];
      for (const auto& text : {station.stationName, station.stateId}) {
        if (text && texts_.insert(*text)) owners_.push_back(number);
      }
    }
  }

  const std::vector<std::uint32_t>& run(const FoldedQuery& query) {
    found_.clear();
    const std::string_view bytes = texts_.bytes();
    const char* const end = bytes.data() + bytes.size();
    const char* at = bytes.data();
    std::uint32_t text = 0;
    while ((at = static_cast<const char*>(::memmem(at, static_cast<std::size_t>(end - at), query.text.data(),
                                                   query.text.size()))) != nullptr) {
      const auto position = static_cast<std::size_t>(at - bytes.data());
      while (text + 1 < texts_.size() && texts_.begin(text + 1) <= position) ++text;
      if (found_.empty() || found_.back() != owners_[text]) found_.push_back(owners_[text]);
      if (text + 1 == texts_.size()) break;
      at = bytes.data() + texts_.begin(text + 1);
    }
    return found_;
  }

  const FoldedTexts& texts() const { return texts_; }

 private:
  FoldedTexts texts_;
  std::vector<std::uint32_t> owners_;
  std::vector<std::uint32_t> found_;
};

/// Half beginnings of words, half pieces out of texts, of one to ten letters; and every letter alone.
std::vector<std::string> queriesOver(const FoldedTexts& texts) {
  Random random(2);
  std::vector<std::string> queries = {"æ", "ø", "þ", "ç", "ö"};
  for (char letter = 'a'; letter <= 'z'; ++letter) queries.emplace_back(1, letter);
  while (queries.size() < 3000) {
    const auto number = static_cast<std::uint32_t>(random() % texts.size());
    const std::string text = texts.bytes().data() + texts.begin(number);
    std::size_t begin = random() % text.size();
    const bool atStart = random() % 2 == 0;
    while (begin > 0 &&
           (isContinuation(text[begin]) || (atStart && !texts.startsWord(texts.begin(number) + begin))))
      --begin;
    std::size_t end = begin;
    for (auto letters = 1 + random() % 10; letters > 0 && end < text.size(); --letters) {
      for (++end; end < text.size() && isContinuation(text[end]);) ++end;
    }
    if (text[begin] != ' ' && text[end - 1] != ' ') queries.push_back(text.substr(begin, end - begin));
  }
  return queries;
}

/// Stations, their index and their scan, kept for the whole run.
struct Subject {
  explicit Subject(std::size_t points) : stations(subjects(points)), scan(stations) {
    for (const auto& station : stations) index.addStation(station);
    index.prepare();
  }

  Stations stations;
  StationIndex index;
  Scan scan;
};

double microsecondsOf(const std::function<void()>& run) {
  std::vector<double> times;
  for (int i = 0; i < 7; ++i) {
    const double begun = processorSeconds();
    run();
    times.push_back(1e6 * (processorSeconds() - begun));
  }
  return medianOf(times);
}

struct Timed {
  std::string query;
  double library = 0;
  double scan = 0;
};

/// What each query takes, the quickest first, its answer checked against the scan's.
std::vector<Timed> timed(Subject& subject, const std::vector<std::string>& queries) {
  std::vector<Timed> all;
  for (const std::string& query : queries) {
    const FoldedQuery folded(query);
    const auto answer = subject.index.findMatches(query);
    auto& hits = subject.scan.run(folded);
    // The scan finds single letters inside words too, and near-duplicates.
    const std::size_t found = answer ? answer->size() : 0;
    require(found <= hits.size() && (found > 0) >= (folded.characters >= 3 && !hits.empty()), query);
    if (folded.characters >= 3) require(10 * found >= 9 * hits.size(), query);
    all.push_back({query, microsecondsOf([&] { benchmark::DoNotOptimize(subject.index.findMatches(query)); }),
                   microsecondsOf([&] { benchmark::DoNotOptimize(subject.scan.run(folded).data()); })});
  }
  std::sort(all.begin(), all.end(), [](const Timed& a, const Timed& b) { return a.library < b.library; });
  return all;
}

void addQuery(const std::string& name, const std::shared_ptr<Subject>& subject, const Timed& query,
              double microsecondsAtMost) {
  addPair({.name = fmt::format("search, {} \"{}\"", name, query.query),
           .library = {.run = [=] { benchmark::DoNotOptimize(subject->index.findMatches(query.query)); }},
           .reference = {.run =
                             [=, folded = FoldedQuery(query.query)] {
                               benchmark::DoNotOptimize(subject->scan.run(folded).data());
                             }},
           .ratioAtMost = 2,
           .microsecondsAtMost = microsecondsAtMost});
}

void addQueries(const std::shared_ptr<Subject>& subject, const std::vector<std::string>& queries) {
  const auto all = timed(*subject, queries);
  const auto ratio = [](const Timed& query) { return query.library / query.scan; };
  addQuery("the median", subject, all[all.size() / 2], 150);
  addQuery("the 99th percentile", subject, all[all.size() * 99 / 100], 150);
  addQuery("the slowest", subject, all.back(), 0);
  addQuery("the worst ratio", subject,
           *std::max_element(all.begin(), all.end(),
                             [&](const Timed& a, const Timed& b) { return ratio(a) < ratio(b); }),
           0);
}

Side buildOf(const std::shared_ptr<Subject>& subject) {
  const auto made = std::make_shared<std::unique_ptr<StationIndex>>();
  return {.run =
              [=] {
                *made = std::make_unique<StationIndex>();
                for (const auto& station : subject->stations) (*made)->addStation(station);
                (*made)->prepare();
              },
          .prepare = [=] { made->reset(); }};
}

void addBuild(const std::shared_ptr<Subject>& subject, const std::shared_ptr<Subject>& tenfold) {
  const Side build = buildOf(subject);
  const MemoryCount count;
  build.run();
  fmt::print("search index of {} stations: {:.2f} MiB, {:.2f} at most while it was built\n",
             subject->stations.size(), static_cast<double>(count.held()) / (1 << 20),
             static_cast<double>(count.most()) / (1 << 20));
  require(count.most() <= indexBytesAtMost, "the index of the search is below 8 MiB");
  addPair({.name = "search index",
           .library = build,
           .reference = {.run = [=] { benchmark::DoNotOptimize(Scan(subject->stations).texts().size()); }},
           .microsecondsAtMost = 40'000});
  addPair({.name = "search index, ten times the points",
           .library = buildOf(tenfold),
           .reference = buildOf(subject),
           .ratioAtMost = 12});
}

void addGrowth(const std::shared_ptr<Subject>& subject, const std::shared_ptr<Subject>& tenfold,
               const std::vector<std::string>& queries) {
  const auto askAll = [&](const std::shared_ptr<Subject>& asked) -> Side {
    return {.run = [=] {
      for (std::size_t i = 0; i < queries.size(); i += 10) {
        benchmark::DoNotOptimize(asked->index.findMatches(queries[i]));
      }
    }};
  };
  addPair({.name = "search, 300 queries, ten times the points",
           .library = askAll(tenfold),
           .reference = askAll(subject),
           .ratioAtMost = 12});
}

}  // namespace

void addSearchPairs() {
  // Counting references costs what it costs where there are threads.
  std::thread([] {}).join();
  require(__libc_single_threaded == 0, "a process with threads");
  const auto subject = std::make_shared<Subject>(globalPoints);
  const auto tenfold = std::make_shared<Subject>(10 * globalPoints);
  const auto queries = queriesOver(subject->scan.texts());
  addQueries(subject, queries);
  addBuild(subject, tenfold);
  addGrowth(subject, tenfold, queries);
}

}  // namespace marlune::bench
