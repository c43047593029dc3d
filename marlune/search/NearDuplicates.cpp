#include "marlune/search/NearDuplicates.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>

namespace marlune {

namespace {

constexpr double kilometersApart = 60.0;
constexpr double clearlyApart = 61.0;  // whatever the roots and squares are rounded to
constexpr double kilometersOfDegree = 111.0;
constexpr double radians = std::numbers::pi / 180;
// A little more than 60 km, so that what rounding does never parts two near stations by a whole cell.
constexpr double rowDegrees = 0.541;
constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();
// Up to here looking at each of a name is faster than any table.
constexpr std::uint32_t fewOfName = 24;

/// The smallest that the cosine gets, whatever its sign, between two angles.
double leastCosine(double from, double to) {
  const auto quarter = [](double angle) { return std::floor(angle / std::numbers::pi - 0.5); };
  if (quarter(from) != quarter(to)) return 0;
  return std::min(std::abs(std::cos(from)), std::abs(std::cos(to)));
}

}  // namespace

std::size_t NearDuplicates::CellHash::operator()(const Cell& cell) const {
  const std::hash<double> hash;
  return (hash(cell.row) * 31 + hash(cell.column)) * 31 + cell.name;
}

bool NearDuplicates::areNear(const Place& a, const Place& b) {
  const double northSouth = (a.latitude - b.latitude) * kilometersOfDegree;
  if (std::abs(northSouth) > clearlyApart) return false;
  const double middle = (a.latitude + b.latitude) / 2 * radians;
  const double eastWest = (a.longitude - b.longitude) * kilometersOfDegree * std::cos(middle);
  return std::sqrt(northSouth * northSouth + eastWest * eastWest) <= kilometersApart;
}

NearDuplicates::Cell NearDuplicates::cellOf(const Place& place, std::uint32_t name, double row) {
  // Degrees of longitude are narrowest at one of the mean latitudes of this row and its neighbours.
  const double narrowest = leastCosine((row - 1) * rowDegrees * radians, (row + 2) * rowDegrees * radians);
  return {name, row, std::floor(place.longitude * narrowest / rowDegrees)};
}

NearDuplicates::Cell NearDuplicates::cellOfKept(std::uint32_t index) const {
  const Place& place = places_[kept_[index]];
  return cellOf(place, nameOf_[kept_[index]], std::floor(place.latitude / rowDegrees));
}

void NearDuplicates::insert(double latitude, double longitude, std::uint32_t name, bool isGlobal) {
  places_.push_back({latitude, longitude, isGlobal});
  nameOf_.push_back(name);
  if (name == isAlone_.size()) {
    isAlone_.push_back(std::isfinite(latitude) && std::isfinite(longitude));
    listOf_.push_back(0);
    byName_.emplace_back();
  } else {
    isAlone_[name] = false;
  }
}

std::uint32_t NearDuplicates::duplicateOf(const Place& place, std::uint32_t name) const {
  const Kept& named = byName_[name];
  if (named.list != list_) return none;
  if (named.count <= fewOfName) {
    std::uint32_t index = named.first;
    for (std::uint32_t seen = 0; seen < named.count; ++seen, index = next_[index]) {
      if (areNear(places_[kept_[index]], place)) return index;
    }
    return none;
  }
  std::uint32_t first = none;
  const double ownRow = std::floor(place.latitude / rowDegrees);
  for (const double row : {ownRow - 1, ownRow, ownRow + 1}) {
    const double own = cellOf(place, name, row).column;
    for (const double column : {own - 1, own, own + 1}) {
      const auto found = grid_.find({name, row, column});
      if (found == grid_.end()) continue;
      for (const std::uint32_t index : found->second) {
        if (index < first && areNear(places_[kept_[index]], place)) first = index;
      }
    }
  }
  return first;
}

void NearDuplicates::placeInGrid(std::uint32_t index) {
  grid_[cellOfKept(index)].push_back(index);
}

void NearDuplicates::chain(std::uint32_t index, std::uint32_t name) {
  Kept& named = byName_[name];
  if (named.list != list_) named = {list_, 0, index, index};
  next_[named.last] = index;
  named.last = index;
  ++named.count;
  if (named.count == fewOfName + 1) {
    std::uint32_t each = named.first;
    for (std::uint32_t seen = 0; seen < named.count; ++seen, each = next_[each]) placeInGrid(each);
  } else if (named.count > fewOfName) {
    placeInGrid(index);
  }
}

void NearDuplicates::replace(std::uint32_t index, std::uint32_t station) {
  const bool inGrid = byName_[nameOf_[station]].count > fewOfName;
  if (inGrid) std::erase(grid_[cellOfKept(index)], index);
  kept_[index] = station;
  if (inGrid) placeInGrid(index);
}

void NearDuplicates::look(std::uint32_t station, std::uint32_t name) {
  const Place& place = places_[station];
  const auto index = static_cast<std::uint32_t>(kept_.size());
  if (!std::isfinite(place.latitude) || !std::isfinite(place.longitude)) {
    kept_.push_back(station);  // near to nothing, not even itself
    return;
  }
  const std::uint32_t duplicate = duplicateOf(place, name);
  if (duplicate == none) {
    kept_.push_back(station);
    chain(index, name);
  } else if (places_[kept_[duplicate]].isGlobal && !place.isGlobal) {
    replace(duplicate, station);
  }
}

void NearDuplicates::begin(std::size_t stations) {
  kept_.clear();
  kept_.reserve(stations);
  if (next_.size() < stations) next_.resize(stations);
  if (!grid_.empty()) grid_.clear();
  if (++list_ != 0) return;
  // The numbers of lists begin again.
  std::fill(byName_.begin(), byName_.end(), Kept());
  std::fill(listOf_.begin(), listOf_.end(), 0);
  list_ = 1;
}

void NearDuplicates::removeFrom(std::vector<std::uint32_t>& stations) {
  begin(stations.size());
  for (const std::uint32_t station : stations) {
    const std::uint32_t name = nameOf_[station];
    if (!isAlone_[name]) {
      look(station, name);
    } else if (listOf_[name] != list_) {
      // Only its own repetition can be its duplicate.
      listOf_[name] = list_;
      kept_.push_back(station);
    }
  }
  stations.swap(kept_);
}

}  // namespace marlune
