#include "services/ListedStations.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <utility>

namespace marlune::services {

ListedStations::ListedStations(std::string resourcesFolder) : _folder(std::move(resourcesFolder)) {}

const std::vector<ListedStation>& ListedStations::stations(StationList list) const {
  One& one = _lists.at(static_cast<std::size_t>(list));
  std::call_once(one.read, [&] {
    std::ifstream in(_folder + "/" + std::string(stationsFileName(list)), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    one.stations = readStations(list, text).stations;
    std::stable_sort(one.stations.begin(), one.stations.end(),
                     [](const ListedStation& a, const ListedStation& b) { return a.id < b.id; });
  });
  return one.stations;
}

const ListedStation* ListedStations::find(StationList list, std::string_view id) const {
  const auto& all = stations(list);
  const auto found =
      std::lower_bound(all.begin(), all.end(), id,
                       [](const ListedStation& one, std::string_view wanted) { return one.id < wanted; });
  return found == all.end() || found->id != id ? nullptr : &*found;
}

bool ListedStations::isEmpty(StationList list) const {
  return stations(list).empty();
}

}  // namespace marlune::services
