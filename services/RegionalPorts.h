#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "services/PortLists.h"
#include "services/TidePredictor.h"
#include "services/WorldStations.h"

namespace marlune::services {

/// The ports of the resource files and their tides: those of the nearest station of the world's table.
/// Development data: NOT FOR NAVIGATION. Read when first asked for; may be called from any thread.
class RegionalPorts {
 public:
  struct Tides {
    std::string datum;   ///< what levels count from, "LAT"
    std::string notice;  ///< what the licence of the constants wants shown
    std::vector<TideExtreme> extremes;
  };

  RegionalPorts(std::string resourcesFolder, std::shared_ptr<const WorldTable> world);

  /// Null for an unknown port, and when the list cannot be read.
  const Port* find(PortList list, std::string_view id) const;

  /// Highs and lows with begin <= time < end, levels in metres. Nothing when the table cannot be
  /// read. The nearest station may be far: 300 km for the loneliest port of the north of Australia.
  std::optional<Tides> tides(const Port& port, std::int64_t begin, std::int64_t end) const;

 private:
  void read() const;

  const std::string _folder;
  const std::shared_ptr<const WorldTable> _world;
  mutable std::once_flag _read;
  mutable std::vector<Port> _bureau;
  mutable std::vector<Port> _admiralty;
};

}  // namespace marlune::services
