#include "services/TidalEventsService.h"

#include <array>
#include <utility>

#include <fmt/format.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "services/RequestValues.h"

namespace marlune::services {
namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

constexpr std::string_view kStations = "/uktidalapi-premium/api/V2/Stations/";
constexpr std::string_view kEvents = "/TidalEventsForDateRange";

ServiceAnswer json(std::string body, int status = 200) {
  return {status, "application/json; charset=utf-8", std::move(body), {}};
}

ServiceAnswer refusal(int status, std::string_view why) {
  return json(fmt::format("{{ \"statusCode\": {}, \"message\": \"{}\" }}", status, why), status);
}

std::optional<std::int64_t> rangeEnd(const std::optional<std::string>& text) {
  return instantOf(text.value_or(""), {"yyyy-MM-dd", "yyyy-MM-dd HH:mm:ss", "yyyy-MM-ddTHH:mm:ss"});
}

// Predictions are no finer than a second. Still three of eight times get a fraction, of one, two and three
// digits, because the service's own times have such.
std::string_view fractionOf(std::int64_t time) {
  constexpr std::array<std::string_view, 8> fractions = {".5", ".25", ".125", "", "", "", "", ""};
  return fractions[static_cast<std::size_t>(((time % 8) + 8) % 8)];
}

void write(Writer& writer, const char* key, const std::string& text) {
  writer.Key(key);
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void writeNo(Writer& writer, const char* key) {
  writer.Key(key);
  writer.Bool(false);
}

std::string eventsDocument(const std::vector<TideExtreme>& extremes) {
  constexpr std::size_t dayLength = 10;
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartArray();
  for (const TideExtreme& extreme : extremes) {
    writer.StartObject();
    write(writer, "EventType", extreme.high ? "HighWater" : "LowWater");
    write(writer, "DateTime", instantText(extreme.time) + std::string(fractionOf(extreme.time)));
    writeNo(writer, "IsApproximateTime");
    writer.Key("Height");
    writer.Double(extreme.level);
    writeNo(writer, "IsApproximateHeight");
    writeNo(writer, "Filtered");
    write(writer, "Date", instantText(extreme.time).substr(0, dayLength) + "T00:00:00");
    writer.EndObject();
  }
  writer.EndArray();
  return {buffer.GetString(), buffer.GetSize()};
}

std::string_view portIdIn(std::string_view path) {
  if (!path.starts_with(kStations) || !path.ends_with(kEvents) ||
      path.size() < kStations.size() + kEvents.size())
    return {};
  return path.substr(kStations.size(), path.size() - kStations.size() - kEvents.size());
}

}  // namespace

TidalEventsService::TidalEventsService(std::shared_ptr<const RegionalPorts> ports)
    : _ports(std::move(ports)) {}

std::vector<std::string> TidalEventsService::prefixes() const {
  return {"/uktidalapi-premium/"};
}

ServiceAnswer TidalEventsService::answer(const ServiceRequest& request) const {
  if (!request.headers.contains("ocp-apim-subscription-key"))
    return refusal(401,
                   "No subscription key came with the request. Send one in the header "
                   "Ocp-Apim-Subscription-Key; here any will do.");
  const std::string_view id = portIdIn(request.path);
  if (id.empty()) return refusal(404, "There is nothing at this path.");
  const Port* port = _ports->find(PortList::admiralty, id);
  if (port == nullptr) return refusal(404, "There is no station of this number.");

  constexpr std::int64_t longest = std::int64_t{3660} * 86400;
  const auto begin = rangeEnd(request.argument("StartDate"));
  const auto end = rangeEnd(request.argument("EndDate"));
  if (!begin || !end || *end < *begin || *end - *begin > longest)
    return refusal(400,
                   "StartDate and EndDate must be instants of the years 1900 to 2100, in this order "
                   "and at most ten years apart.");
  // The last instant belongs to the range, but no fraction of a second after it.
  const auto tides = _ports->tides(*port, *begin, *end + (fractionOf(*end).empty() ? 1 : 0));
  if (!tides) return refusal(404, "There are no tides for this station.");
  return json(eventsDocument(tides->extremes));
}

}  // namespace marlune::services
