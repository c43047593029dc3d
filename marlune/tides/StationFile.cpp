#include "marlune/tides/StationFile.h"

#include <array>
#include <cstring>
#include <optional>
#include <string>

#include "marlune/formats/Text.h"

namespace marlune::station_file {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

using Fields = std::array<std::string_view, 8>;

std::optional<Fields> fieldsOf(std::string_view line) {
  Fields fields;
  for (std::size_t i = 0; i + 1 < fields.size(); ++i) {
    const std::size_t end = line.find('~');
    if (end == std::string_view::npos) return std::nullopt;
    fields[i] = line.substr(0, end);
    line.remove_prefix(end + 1);
  }
  if (line.find('~') != std::string_view::npos) return std::nullopt;
  fields.back() = line;
  return fields;
}

void fill(TideStation& station, const Fields& fields) {
  station.stationId.emplace(fields[0]);
  station.stationExtId.emplace(fields[1]);
  station.isSubordinate = lenientInteger(fields[2]) != 0;
  station.coordinate = {lenientDouble(fields[3]), lenientDouble(fields[4])};
  station.stationName.emplace(fields[5]);
  station.stateId.emplace(fields[6]);
  station.timezoneName.emplace(fields[7]);
  station.country.emplace("United States");
}

std::optional<std::string_view> readable(std::string_view text) {
  if (!isUtf8(text)) return std::nullopt;
  if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
  return text;
}

}  // namespace

std::shared_ptr<TideStation> stationOfLine(std::string_view line) {
  const auto fields = fieldsOf(line);
  if (!fields) return nullptr;
  auto station = std::make_shared<TideStation>();
  fill(*station, *fields);
  return station;
}

std::optional<std::vector<std::shared_ptr<TideStation>>> stationsOf(std::string_view text) {
  const auto content = readable(text);
  if (!content) return std::nullopt;
  std::vector<std::shared_ptr<TideStation>> stations;
  for (const std::string_view line : linesOf(*content)) {
    if (auto station = stationOfLine(line)) stations.push_back(std::move(station));
  }
  return stations;
}

std::shared_ptr<TideStation> stationOf(std::string_view text, std::string_view stationId) {
  const auto content = readable(text);
  if (!content) return nullptr;
  for (const std::string_view line : linesOf(*content)) {
    if (line.substr(0, line.find('~')) != stationId) continue;
    if (auto station = stationOfLine(line)) return station;
  }
  return nullptr;
}

}  // namespace marlune::station_file
