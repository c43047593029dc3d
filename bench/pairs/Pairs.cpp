#include "pairs/Pairs.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "support/Measure.h"

namespace marlune::bench {

namespace {

std::deque<Pair>& pairs() {
  static std::deque<Pair> all;
  return all;
}

void runSide(benchmark::State& state, const Side& side) {
  if (!side.prepare) {
    for (auto iteration : state) side.run();
    return;
  }
  for (auto iteration : state) {
    side.prepare();
    const double begun = processorSeconds();
    side.run();
    state.SetIterationTime(processorSeconds() - begun);
  }
}

void registerSide(const std::string& name, const Side& side) {
  auto* made =
      benchmark::RegisterBenchmark(name.c_str(), [&side](benchmark::State& state) { runSide(state, side); });
  made->Unit(benchmark::kMicrosecond);
  if (side.prepare) made->UseManualTime();
  if (side.runs > 0) made->Iterations(side.runs);
}

/// Keeps the time of every repetition, by name.
class Collector : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.iterations == 0) continue;
      // Runs with a preparation have their processor time set by hand, in place of the real one.
      const bool byHand = !run.run_name.time_type.empty();
      const double seconds = byHand ? run.real_accumulated_time : run.cpu_accumulated_time;
      times_[run.run_name.function_name].push_back(1e6 * seconds / static_cast<double>(run.iterations));
    }
  }
  /// In microseconds; 0 for what did not run.
  double median(const std::string& name) const {
    const auto found = times_.find(name);
    return found == times_.end() ? 0 : medianOf(found->second);
  }

 private:
  std::map<std::string, std::vector<double>> times_;
};

void printPair(const Pair& pair, double library, double reference) {
  const double ratio = library / reference;
  std::string wanted;
  bool met = true;
  if (pair.ratioAtMost > 0) {
    wanted = fmt::format("ratio <= {:.1f}", pair.ratioAtMost);
    met = ratio <= pair.ratioAtMost;
  }
  if (pair.microsecondsAtMost > 0) {
    wanted += fmt::format("{}<= {} us", wanted.empty() ? "" : ", ", pair.microsecondsAtMost);
    met = met && library <= pair.microsecondsAtMost;
  }
  std::string speed;
  if (pair.bytes > 0) {
    const double megabytesPerSecond = static_cast<double>(pair.bytes) / library;
    speed = fmt::format("{:.0f} MB/s", megabytesPerSecond);
    if (pair.megabytesPerSecondAtLeast > 0) {
      wanted += fmt::format("{}>= {:.0f} MB/s", wanted.empty() ? "" : ", ", pair.megabytesPerSecondAtLeast);
      met = met && megabytesPerSecond >= pair.megabytesPerSecondAtLeast;
    }
  }
  const char* const verdict = wanted.empty() ? "" : met ? "met" : "MISSED";
  fmt::print("{:<34} {:>10.2f} {:>10.2f} {:>7.2f}  {:<9} {:<28} {}\n", pair.name, library, reference, ratio,
             speed, wanted, verdict);
}

}  // namespace

void addPair(Pair pair) {
  const Pair& kept = pairs().emplace_back(std::move(pair));
  registerSide(kept.name + "/library", kept.library);
  registerSide(kept.name + "/reference", kept.reference);
}

}  // namespace marlune::bench

int main(int count, char** arguments) {
  using namespace marlune::bench;
  // The two sides in turn, in no fixed order, so that what else the machine does hits both alike.
  std::vector<std::string> words = {arguments[0], "--benchmark_enable_random_interleaving=true",
                                    "--benchmark_repetitions=15", "--benchmark_min_time=0.03"};
  words.insert(words.end(), arguments + 1, arguments + count);
  std::vector<char*> all;
  all.reserve(words.size());
  for (std::string& word : words) all.push_back(word.data());
  int given = static_cast<int>(all.size());
  benchmark::Initialize(&given, all.data());
  if (benchmark::ReportUnrecognizedArguments(given, all.data())) return 2;

  addDocumentPairs();
  addForecastPairs();
  addAdmiraltyPairs();
  addRangePairs();
  addMergePairs();
  addStationPairs();
  addGlobalPairs();
  addCurvePairs();
  addWorldDocumentPairs();
  addSearchPairs();
  addOceanMarinePairs();
  addOceanObservationPairs();
  addOceanCurrentPairs();

  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  fmt::print("\n{:<34} {:>10} {:>10} {:>7}\n", "processor time, medians", "library us", "ref. us", "ratio");
  for (const Pair& pair : pairs()) {
    const double library = collector.median(pair.name + "/library");
    const double reference = collector.median(pair.name + "/reference");
    if (library > 0 && reference > 0) printPair(pair, library, reference);
  }
  return 0;
}
