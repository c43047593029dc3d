#include "services/PortLists.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include <cctz/time_zone.h>
#include <fmt/format.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "services/JsonList.h"

namespace marlune::services {
namespace {

using Value = rapidjson::Value;

bool isZone(std::string_view name) {
  const bool plain = !name.empty() && name.front() != '/' && name.find("..") == std::string_view::npos &&
                     std::all_of(name.begin(), name.end(), [](char c) {
                       return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                              c == '/' || c == '_' || c == '-' || c == '+';
                     });
  cctz::time_zone zone;
  return plain && cctz::load_time_zone(std::string(name), &zone);
}

// What is wrong with the port, or an empty text.
std::string fillFromBureau(const Value& feature, Port& port) {
  const Value* properties = member(&feature, "properties");
  port.id = textOf(member(properties, "AAC"));
  port.name = inOrdinaryCase(textOf(member(properties, "PORT_NAME")));
  port.region = inOrdinaryCase(textOf(member(properties, "STATE_NAME")));
  port.zone = textOf(member(properties, "TIME_ZONE"));
  const Value* available = member(properties, "AVAIL_FLAG");
  const Value* type = member(properties, "TYPE");
  if (available != nullptr && textOf(available) != "Y") return "no predictions are available";
  if (type != nullptr && textOf(type) != "TIDE") return "is no tide port";
  if (port.region.empty()) return "has no state";
  if (!isZone(port.zone)) return fmt::format("has the unknown zone \"{}\"", port.zone);
  const auto latitude = numberOf(member(properties, "LAT"));
  const auto longitude = numberOf(member(properties, "LON"));
  if (!latitude || !longitude) return "has no place";
  port.latitude = *latitude;
  port.longitude = *longitude;
  return {};
}

std::string fillFromAdmiralty(const Value& feature, Port& port) {
  const Value* properties = member(&feature, "properties");
  port.id = textOf(member(properties, "Id"));
  port.name = inOrdinaryCase(textOf(member(properties, "Name")));
  port.region = textOf(member(properties, "Country"));
  if (port.region.empty()) return "has no country";
  const Value* place = member(member(&feature, "geometry"), "coordinates");
  if (place == nullptr || !place->IsArray() || place->Size() != 2) return "has no place";
  const auto longitude = numberOf(&(*place)[0]);
  const auto latitude = numberOf(&(*place)[1]);
  if (!latitude || !longitude) return "has no place";
  port.latitude = *latitude;
  port.longitude = *longitude;
  return {};
}

std::string fill(PortList list, const Value& feature, Port& port) {
  if (textOf(member(&feature, "type")) != "Feature") return "is no feature";
  std::string problem =
      list == PortList::bureau ? fillFromBureau(feature, port) : fillFromAdmiralty(feature, port);
  if (!isCode(port.id)) return "has no code";
  if (!problem.empty()) return problem;
  if (port.name.empty()) return "has no name";
  if (!isPlace(port.latitude, port.longitude)) return "lies nowhere on earth";
  return {};
}

PortsRead failed(std::string why) {
  PortsRead read;
  read.error = std::move(why);
  return read;
}

// In a row of ports ordered by id and, within an id, by their place in the list.
void dropRepeated(PortsRead& read) {
  std::vector<Port> once;
  for (Port& port : read.ports) {
    if (once.empty() || once.back().id != port.id)
      once.push_back(std::move(port));
    else
      read.problems.push_back(fmt::format("{} \"{}\": its code is another's before", port.id, port.name));
  }
  read.ports = std::move(once);
}

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void write(Writer& writer, const char* key, std::string_view text) {
  writer.Key(key);
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void writeProperties(Writer& writer, PortList list, const Port& port) {
  writer.Key("properties");
  writer.StartObject();
  if (list == PortList::bureau) {
    write(writer, "AAC", port.id);
    write(writer, "PORT_NAME", port.name);
    write(writer, "STATE_NAME", port.region);
    write(writer, "TIME_ZONE", port.zone);
    writer.Key("LAT");
    writer.Double(port.latitude);
    writer.Key("LON");
    writer.Double(port.longitude);
  } else {
    write(writer, "Id", port.id);
    write(writer, "Name", port.name);
    write(writer, "Country", port.region);
  }
  writer.EndObject();
}

std::string featureText(PortList list, const Port& port) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartObject();
  write(writer, "type", "Feature");
  writeProperties(writer, list, port);
  writer.Key("geometry");
  writer.StartObject();
  write(writer, "type", "Point");
  writer.Key("coordinates");
  writer.StartArray();
  writer.Double(port.longitude);
  writer.Double(port.latitude);
  writer.EndArray();
  writer.EndObject();
  writer.EndObject();
  return {buffer.GetString(), buffer.GetSize()};
}

bool isLetter(char c) {
  // Bytes of letters beyond ASCII belong to the word and stay as they are.
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || static_cast<unsigned char>(c) >= 0x80;
}

char small(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

PortsRead readPorts(PortList list, std::string_view json) {
  rapidjson::Document document;
  if (std::string error = readJson(json, document); !error.empty()) return failed(std::move(error));
  const Value* features = member(&document, "features");
  if (features == nullptr || !features->IsArray()) return failed("holds no list of features");

  PortsRead read;
  std::size_t number = 0;
  for (const Value& feature : features->GetArray()) {
    ++number;
    Port port;
    const std::string problem = fill(list, feature, port);
    if (problem.empty())
      read.ports.push_back(std::move(port));
    else
      read.problems.push_back(fmt::format("feature {} {} \"{}\": {}", number, port.id, port.name, problem));
  }
  std::stable_sort(read.ports.begin(), read.ports.end(),
                   [](const Port& a, const Port& b) { return a.id < b.id; });
  dropRepeated(read);
  return read;
}

std::string portsDocument(PortList list, const std::vector<Port>& ports) {
  std::string document = "{\"type\":\"FeatureCollection\",\"features\":[\n";
  for (const Port& port : ports) {
    document += featureText(list, port);
    document += &port == &ports.back() ? "\n" : ",\n";
  }
  return document + "]}\n";
}

std::string_view portsFileName(PortList list) {
  return list == PortList::bureau ? "stations_australia.json" : "stations_uk.json";
}

std::string_view defaultPort(PortList list) {
  return list == PortList::bureau ? "VIC_TP002" : "0082";
}

std::string inOrdinaryCase(std::string_view name) {
  constexpr std::array<std::string_view, 6> smallWords = {"of", "the", "on", "in", "upon", "and"};
  std::string out(name);
  if (std::any_of(name.begin(), name.end(), [](char c) { return c >= 'a' && c <= 'z'; })) return out;
  for (std::size_t at = 0; at < name.size();) {
    std::size_t end = at;
    // An apostrophe belongs to its word: "KING'S" is one.
    while (end < name.size() && (isLetter(name[end]) || (end > at && name[end] == '\''))) ++end;
    for (std::size_t i = at + 1; i < end; ++i) out[i] = small(name[i]);
    std::string word(name.substr(at, end - at));
    std::transform(word.begin(), word.end(), word.begin(), small);
    if (at > 0 && std::find(smallWords.begin(), smallWords.end(), word) != smallWords.end())
      out[at] = small(name[at]);
    at = std::max(end, at + 1);
  }
  return out;
}

}  // namespace marlune::services
