#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "services/WorldStations.h"

namespace marlune::services {

/// Reads the table of the world's stations, line by line. For WorldStations::load() alone; its bytes are
/// taken for what anyone may have written.
class WorldTableReader {
 public:
  WorldTableReader(const HarmonicDatabase& database, WorldStations& world);

  /// Fills the stations. Empty, or why it could not.
  std::string read(const std::string& file);

 private:
  using Fields = std::vector<std::string_view>;

  void readLine(std::string_view line);
  void readColumns(const Fields& fields);
  std::optional<WorldStation> placeOf(const Fields& fields) const;
  bool readConstants(std::string_view text, WorldStation& station) const;
  void add(WorldStation station);

  WorldStations& _world;
  std::unordered_map<std::string_view, std::size_t> _constituents;  // their names to the database's index
  std::vector<std::optional<std::size_t>> _columns;  // the table's constituents; none where not known
  std::unordered_map<std::string, std::size_t> _references;
  std::unordered_set<std::int64_t> _ids;
};

}  // namespace marlune::services
