// Speaks property lists and archives over standard input and output, for plist_check.py.
//
//   property_list_tool binary|xml     the list on standard input, written again in that form
//   property_list_tool archive        an archive of stations, one line of input each: the fields between tabs
//   property_list_tool stations       the archive on standard input as such lines; "-" is no text
//
// Many inputs go through one process: each is preceded by its length in decimal and a newline, each answer
// too; the length -1 stands for "not a property list".

#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "marlune/formats/KeyedArchive.h"
#include "marlune/formats/PropertyList.h"
#include "marlune/tides/TideStation.h"

namespace {

using namespace marlune;

std::optional<std::string> textIn(const std::string& field) {
  return field == "-" ? std::nullopt : std::optional(field);
}

std::optional<Bytes> archiveStations(const std::string& lines) {
  std::vector<TideStation> stations;
  std::istringstream input(lines);
  for (std::string line; std::getline(input, line);) {
    std::vector<std::string> fields;
    std::istringstream parts(line);
    for (std::string field; std::getline(parts, field, '\t');) fields.push_back(field);
    fields.resize(10);
    TideStation& station = stations.emplace_back(
        textIn(fields[0]), textIn(fields[1]), fields[2] == "true", std::stod(fields[3]), std::stod(fields[4]),
        textIn(fields[5]), textIn(fields[6]), textIn(fields[7]), textIn(fields[8]));
    station.isGlobal = fields[9] == "true";
  }
  std::vector<KeyedArchiver::Object> objects;
  objects.reserve(stations.size());
  for (const auto& station : stations) objects.push_back(KeyedArchiver::object("TideStation", station));
  return KeyedArchiver::archiveList(objects);
}

std::optional<Bytes> showStations(const std::string& bytes) {
  const auto archive = KeyedUnarchiver::open(bytes);
  const auto list = archive ? archive->rootList() : std::nullopt;
  if (!list) return std::nullopt;
  std::ostringstream lines;
  lines << std::boolalpha;
  for (const KeyedDecoder& object : *list) {
    if (!object.isKindOf("TideStation")) continue;
    const TideStation station(object);
    lines << station.stationId.value_or("-") << '\t' << station.stationExtId.value_or("-") << '\t'
          << station.isSubordinate << '\t' << station.coordinate.latitude << '\t'
          << station.coordinate.longitude << '\t' << station.stationName.value_or("-") << '\t'
          << station.stateId.value_or("-") << '\t' << station.country.value_or("-") << '\t'
          << station.timezoneName.value_or("-") << '\t' << station.isGlobal << '\n';
  }
  return lines.str();
}

std::optional<Bytes> answer(const std::string& command, const std::string& input) {
  if (command == "archive") return archiveStations(input);
  if (command == "stations") return showStations(input);
  const auto list = readPropertyList(input);
  if (!list) return std::nullopt;
  return command == "xml" ? writeXmlPropertyList(*list) : writeBinaryPropertyList(*list);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  for (std::string length; std::getline(std::cin, length);) {
    std::string input(std::stoul(length), '\0');
    std::cin.read(input.data(), static_cast<std::streamsize>(input.size()));
    if (const auto bytes = answer(argv[1], input)) {
      std::cout << bytes->size() << '\n' << *bytes;
    } else {
      std::cout << "-1\n";
    }
    std::cout.flush();
  }
  return 0;
}
