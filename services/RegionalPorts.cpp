#include "services/RegionalPorts.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

namespace marlune::services {
namespace {

std::vector<Port> portsIn(const std::string& folder, PortList list) {
  std::ifstream in(folder + "/" + std::string(portsFileName(list)), std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  return readPorts(list, text).ports;
}

}  // namespace

RegionalPorts::RegionalPorts(std::string resourcesFolder, std::shared_ptr<const WorldTable> world)
    : _folder(std::move(resourcesFolder)), _world(std::move(world)) {}

void RegionalPorts::read() const {
  std::call_once(_read, [this] {
    _bureau = portsIn(_folder, PortList::bureau);
    _admiralty = portsIn(_folder, PortList::admiralty);
  });
}

const Port* RegionalPorts::find(PortList list, std::string_view id) const {
  read();
  const std::vector<Port>& ports = list == PortList::bureau ? _bureau : _admiralty;
  const auto found =
      std::lower_bound(ports.begin(), ports.end(), id,
                       [](const Port& port, std::string_view wanted) { return port.id < wanted; });
  return found == ports.end() || found->id != id ? nullptr : &*found;
}

std::optional<RegionalPorts::Tides> RegionalPorts::tides(const Port& port, std::int64_t begin,
                                                         std::int64_t end) const {
  const WorldStations* world = _world->stations();
  if (world == nullptr) return std::nullopt;
  const auto [station, kilometres] = world->nearest(port.latitude, port.longitude);
  if (station == nullptr) return std::nullopt;
  return Tides{station->datum, world->sources()[station->source].notice,
               TidePredictor(_world->harmonics()).extremes(world->harmonics(*station), begin, end)};
}

}  // namespace marlune::services
