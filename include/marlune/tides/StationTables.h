#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/tides/StationList.h"
#include "marlune/tides/TideStation.h"

namespace marlune {

/// The stations of a catalogue and the tables over them: never changed once made, so safe from any thread.
/// It requires that nobody changes id, state or coordinate of a station that is in it.
class MARLUNE_API StationTables {
 public:
  using Stations = StationList::Stations;

  StationTables() = default;

  /// These tables with more stations, in order. One without state or id is skipped; a later station takes the
  /// id of an earlier one, but both stay in their states' lists.
  std::shared_ptr<const StationTables> adding(const Stations& stations) const;

  /// Every station once, in the order in which its id was first added, with the questions by id and place.
  const std::shared_ptr<const StationList>& list() const { return list_; }

  std::size_t stateCount() const { return byState_.size(); }
  /// Ascending by UTF-16 code unit.
  std::vector<std::string> states() const;
  /// Ascending by name, by UTF-16 code unit, equal names as added; nothing for an unknown state.
  std::optional<Stations> ofState(std::string_view state) const;

 private:
  using StateTable = std::unordered_map<std::string, Stations, TextHash, std::equal_to<>>;

  StationTables(std::shared_ptr<const StationList> list, StateTable byState)
      : list_(std::move(list)), byState_(std::move(byState)) {}

  const std::shared_ptr<const StationList> list_ = std::make_shared<const StationList>();
  const StateTable byState_{};
};

}  // namespace marlune
