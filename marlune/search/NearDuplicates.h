#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

namespace marlune {

/// Removes near-duplicates from lists of stations: of one name and 60.0 km apart at most, on a flat map. It
/// knows what decides that of every station, by number in order of insertion, and keeps its memory from list
/// to list. Of some thousand stations of one name each is compared with those around it only. One thread at a
/// time.
class NearDuplicates {
 public:
  /// Degrees, any value; equal names in lower case have one number, the numbers without gaps.
  void insert(double latitude, double longitude, std::uint32_t name, bool isGlobal);

  /// Each station of the list is compared with those kept so far, in order; at the first duplicate it takes
  /// that one's place where only that one is a global point, and goes otherwise.
  void removeFrom(std::vector<std::uint32_t>& stations);

 private:
  struct Place {
    double latitude = 0;
    double longitude = 0;
    bool isGlobal = false;
  };
  /// The kept stations of a name, by their indices in the list.
  struct Kept {
    std::uint32_t list = 0;  // of which list the rest is; other lists' are void
    std::uint32_t count = 0;
    std::uint32_t first = 0;
    std::uint32_t last = 0;
  };
  /// A piece of the map for one name. Two stations of it that are near lie in the same or neighbouring ones.
  struct Cell {
    std::uint32_t name = 0;
    double row = 0;
    double column = 0;
    bool operator==(const Cell&) const = default;
  };
  struct CellHash {
    std::size_t operator()(const Cell& cell) const;
  };
  static Cell cellOf(const Place& place, std::uint32_t name, double row);
  static bool areNear(const Place& a, const Place& b);

  void begin(std::size_t stations);
  void look(std::uint32_t station, std::uint32_t name);
  std::uint32_t duplicateOf(const Place& place, std::uint32_t name) const;
  void chain(std::uint32_t index, std::uint32_t name);
  Cell cellOfKept(std::uint32_t index) const;
  void placeInGrid(std::uint32_t index);
  void replace(std::uint32_t index, std::uint32_t station);

  std::vector<Place> places_;          // by station
  std::vector<std::uint32_t> nameOf_;  // by station
  std::vector<bool> isAlone_;          // by name: one station has it, at a place that can be near to itself
  std::vector<std::uint32_t> listOf_;  // by name of one station: the last list in which it is kept

  std::uint32_t list_ = 0;
  std::vector<std::uint32_t> kept_;  // stations
  std::vector<std::uint32_t> next_;  // by index in kept_: the next of that name
  std::vector<Kept> byName_;
  std::unordered_map<Cell, std::vector<std::uint32_t>, CellHash> grid_;  // indices, of names with many
};

}  // namespace marlune
