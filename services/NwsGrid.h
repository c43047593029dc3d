#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace marlune::services {

/// Cells of the Weather Service's forecast grids: each belongs to an office and has two numbers. The offices
/// and about what they cover are real, the numbers of the cells are not.
struct NwsCell {
  std::string office;  ///< "MTR"
  int x = 0;
  int y = 0;

  bool operator==(const NwsCell&) const = default;
};

struct NwsPlace {
  double latitude = 0;
  double longitude = 0;
};

/// The cell that covers a place; nothing outside the United States and their coastal waters, which are known
/// roughly.
std::optional<NwsCell> nwsCellAt(const NwsPlace& place);

/// The middle of a cell; nothing when there is no such office or cell. Half a cell further is its edge.
std::optional<NwsPlace> nwsPlaceOf(const NwsCell& cell, double eastward = 0, double northward = 0);

}  // namespace marlune::services
