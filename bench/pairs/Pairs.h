#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace marlune::bench {

/// One side of a comparison. `run` is timed; `prepare`, where there is one, runs before each `run` and is
/// not. `runs` is how often in a repetition, 0 for as often as takes the time that is asked for.
struct Side {
  std::function<void()> run;
  std::function<void()> prepare = {};
  int runs = 0;
};

/// What the library does beside what the same work costs at least. Ratios are promised because they hold on
/// any machine; where a figure is promised too, it stands beside them. 0 means that none is.
struct Pair {
  std::string name;
  Side library;
  Side reference;
  double ratioAtMost = 0;
  double microsecondsAtMost = 0;
  double megabytesPerSecondAtLeast = 0;
  std::size_t bytes = 0;  ///< what one run of the library reads
};

/// Registers both sides with the benchmark library, for the report at the end.
void addPair(Pair pair);

// What is measured, a source file each. Called by main() in the order of the report.
void addDocumentPairs();
void addForecastPairs();
void addAdmiraltyPairs();
void addRangePairs();
void addMergePairs();
void addStationPairs();
void addGlobalPairs();
void addCurvePairs();
void addWorldDocumentPairs();
void addSearchPairs();
void addOceanMarinePairs();
void addOceanObservationPairs();
void addOceanCurrentPairs();

}  // namespace marlune::bench
