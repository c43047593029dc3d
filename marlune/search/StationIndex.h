#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "marlune/search/IndexTrie.h"
#include "marlune/search/NearDuplicates.h"
#include "marlune/search/PrefixTrie.h"
#include "marlune/search/TextNumbers.h"
#include "marlune/tides/TideStation.h"

namespace marlune {

/// Stations by number, in order of insertion, with what near-duplicates are told by. One thread at a time.
///
/// The stations of its lists are owned together: to count references in each of some thousand records that
/// lie all over the memory takes longer than to find them. While one of them is held, all records are kept.
class StationTable {
 public:
  using StationPtr = std::shared_ptr<TideStation>;
  using Stations = std::vector<StationPtr>;

  std::uint32_t add(const StationPtr& station);
  /// Removes near-duplicates from a list of stations.
  void dedupe(std::vector<std::uint32_t>& stations);
  Stations stations(const std::vector<std::uint32_t>& numbers) const;

 private:
  const std::shared_ptr<Stations> stations_ = std::make_shared<Stations>();
  TextNumbers names_;
  NearDuplicates duplicates_;
};

/// Answers what stations belong to a query, see TideStationSearchProvider. One thread at a time.
class StationIndex {
 public:
  using StationPtr = StationTable::StationPtr;
  using Stations = StationTable::Stations;

  /// Indexes a station by its name and, where it differs, its state.
  void addStation(const StationPtr& station);

  /// Sorts what was added, so that the next question need not.
  void prepare();

  /// Those whose name or state begins with the query, then those that hold it, without near-duplicates;
  /// nothing without any.
  std::optional<Stations> findMatches(std::string_view query);

 private:
  using Numbers = std::vector<std::uint32_t>;

  void insert(std::string_view text, std::uint32_t station);
  /// Appends the inner matches that are not equal to one that is there already.
  void append(Numbers& matches, const Numbers& inner);

  StationTable table_;
  TextFolder folder_;
  PrefixTrie<std::uint32_t> prefixTrie;
  IndexTrie<std::uint32_t> indexTrie;
  TextNumbers ids_;
  Numbers idOf_;  // by station; none without an id
  Numbers seen_;  // by id: the last question in whose answer it is
  std::uint32_t question_ = 0;
};

}  // namespace marlune
