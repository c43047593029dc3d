#include "services/StreamRatesService.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <utility>

#include <fmt/format.h>

#include "services/JsonText.h"
#include "services/RequestValues.h"

namespace marlune::services {
namespace {

constexpr std::string_view kStreams = "/uktidalapi-premium/api/V2/Streams/";
constexpr std::string_view kRates = "/TidalStreamRates";
constexpr double kCircle = 2 * std::numbers::pi;

ServiceAnswer json(std::string body, int status = 200) {
  return {status, "application/json; charset=utf-8", std::move(body), {}};
}

ServiceAnswer refusal(int status, std::string_view why) {
  return json(fmt::format(R"({{ "statusCode": {}, "message": "{}" }})", status, why), status);
}

std::string_view stationIn(std::string_view path) {
  if (!path.starts_with(kStreams) || !path.ends_with(kRates) || path.size() < kStreams.size() + kRates.size())
    return {};
  return path.substr(kStreams.size(), path.size() - kStreams.size() - kRates.size());
}

bool couldBeStation(std::string_view id) {
  constexpr std::size_t longest = 64;
  return id.size() <= longest && std::all_of(id.begin(), id.end(), [](char c) {
           return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
                  c == '-';
         });
}

// The tip of the stream goes round an ellipse twice in a lunar day; what the sun adds makes it greater at
// springs, two days after new and full moon, and smaller at neaps.
class Ellipse {
 public:
  explicit Ellipse(const ListedStation& station) {
    unsigned mark = 7;
    for (const char c : station.id) mark = mark * 31 + static_cast<unsigned char>(c);
    _axis = (mark % 180) * kCircle / 360;
    _major = 0.4 + static_cast<double>(mark / 180 % 100) / 80;
    _minor = _major * (static_cast<double>(mark / 18000 % 31) - 15) / 60;
    _phase = (station.latitude * 19 + station.longitude * 37) * kCircle / 360;
  }

  std::string row(std::int64_t time) const {
    constexpr double hour = 3600;
    constexpr double moonsPeriod = 12.4206012 * hour;
    constexpr double sunsPeriod = 12 * hour;
    constexpr double springs = 947182440 + 48 * hour;  // the moon was new on 6 January 2000, 18:14
    constexpr double sunsShare = 0.35;
    const auto since = static_cast<double>(time) - springs;
    const double moon = kCircle * since / moonsPeriod - _phase;
    const double sun = kCircle * since / sunsPeriod - _phase;
    const double along = _major * (std::cos(moon) + sunsShare * std::cos(sun));
    const double across = _minor * (std::sin(moon) + sunsShare * std::sin(sun));
    const double east = along * std::sin(_axis) + across * std::cos(_axis);
    const double north = along * std::cos(_axis) - across * std::sin(_axis);
    const auto tenths = (std::lround(std::atan2(east, north) * 3600 / kCircle) + 3600) % 3600;
    return fmt::format(R"({{"DateTime":"{}Z","Speed":{},"Bearing":{}}})", instantText(time),
                       shortNumber(std::hypot(east, north), 3),
                       shortNumber(static_cast<double>(tenths) / 10, 1));
  }

 private:
  double _axis = 0;
  double _major = 0;  // metres per second
  double _minor = 0;  // negative where it turns the other way
  double _phase = 0;
};

}  // namespace

StreamRatesService::StreamRatesService(std::shared_ptr<const ListedStations> lists)
    : _lists(std::move(lists)) {}

std::vector<std::string> StreamRatesService::prefixes() const {
  return {std::string(kStreams)};
}

ServiceAnswer StreamRatesService::answer(const ServiceRequest& request) const {
  if (!request.headers.contains("ocp-apim-subscription-key"))
    return refusal(401,
                   "No subscription key came with the request. Send one in the header "
                   "Ocp-Apim-Subscription-Key; here any will do.");
  const std::string_view id = stationIn(request.path);
  if (id.empty()) return refusal(404, "There is nothing at this path.");
  ListedStation station{std::string(id), {}, 51, 1.4, 0};
  const ListedStation* known = _lists->find(StationList::streams, id);
  if (known != nullptr) station = *known;
  if (known == nullptr && !(_lists->isEmpty(StationList::streams) && couldBeStation(id)))
    return refusal(404, "There is no stream station of this id.");
  const auto begin = instantOf(request.argument("dateTime").value_or(""), {"yyyy-MM-ddTHH:mm:ssZ"});
  const auto hours = numberOf<std::int64_t>(request.argument("duration"));
  const auto minutes = numberOf<std::int64_t>(request.argument("interval"));
  constexpr std::int64_t longest = std::int64_t{366} * 24;
  constexpr std::int64_t widest = 1440;
  if (!begin || !hours || *hours < 1 || *hours > longest || !minutes || *minutes < 1 || *minutes > widest)
    return refusal(400,
                   "dateTime must be an instant, duration whole hours up to those of a year, and interval "
                   "minutes up to those of a day.");
  const Ellipse ellipse(station);
  std::string rows;
  for (std::int64_t time = *begin; time < *begin + *hours * 3600; time += *minutes * 60) {
    if (!rows.empty()) rows += ',';
    rows += ellipse.row(time);
  }
  return json("[" + rows + "]");
}

}  // namespace marlune::services
