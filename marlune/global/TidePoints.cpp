#include "marlune/global/TidePoints.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "marlune/formats/JsonReader.h"
#include "marlune/formats/JsonReaders.h"
#include "marlune/formats/Text.h"

namespace marlune::tide_points {

namespace {

using simdjson::dom::element;

/// A point as it was sent. Texts lie in the document's tree.
struct Point {
  std::int64_t id = 0;
  Coordinate place;
  std::string_view name;
  std::string_view city;
  std::string_view country;
  std::string_view timezone;
};

/// Takes the fields of one point, of which the first of each name counts.
class PointReader {
 public:
  /// Null when the value is no point as it must be.
  const Point* read(element value) {
    simdjson::dom::object fields;
    if (value.get_object().get(fields) != simdjson::SUCCESS) return nullptr;
    for (const auto field : fields) {
      if (!take(field.key, field.value)) return nullptr;
    }
    constexpr unsigned required = id | latitude | longitude;
    return (seen_ & required) == required ? &point_ : nullptr;
  }

 private:
  enum Field : unsigned { id = 1, latitude = 2, longitude = 4, name = 8, city = 16, country = 32, zone = 64 };

  // By length first: that is most of what there is to compare.
  bool take(std::string_view key, element value) {
    switch (key.size()) {
      case 2:
        if (key == "id") return takeRequired(id, json::integer(value), point_.id);
        break;
      case 3:
        if (key == "lat") return takeRequired(latitude, json::number(value), point_.place.latitude);
        if (key == "lon") return takeRequired(longitude, json::number(value), point_.place.longitude);
        break;
      case 4:
        if (key == "name") return takeText(name, value, point_.name);
        if (key == "city") return takeText(city, value, point_.city);
        break;
      case 7:
        if (key == "country") return takeText(country, value, point_.country);
        break;
      case 8:
        if (key == "timezone") return takeText(zone, value, point_.timezone);
        break;
      default:
        break;
    }
    return true;
  }

  bool isFirst(Field field) {
    const bool first = (seen_ & field) == 0;
    seen_ |= field;
    return first;
  }

  template <class T>
  bool takeRequired(Field field, const std::optional<T>& value, T& place) {
    if (!isFirst(field)) return true;
    if (value) place = *value;
    return value.has_value();
  }

  bool takeText(Field field, element value, std::string_view& place) {
    if (!isFirst(field) || value.is_null()) return true;
    const auto text = json::text(value);
    if (text) place = trimmed(*text);
    return text.has_value();
  }

  Point point_;
  unsigned seen_ = 0;
};

void fill(TideStation& station, const Point& point) {
  const fmt::format_int id(point.id);
  std::string& stationId = station.stationId.emplace("global_");
  stationId.append(id.data(), id.size());
  station.stationExtId.emplace(id.data(), id.size());
  station.coordinate = point.place;
  station.hasResolvedName = !point.name.empty();
  if (point.name.empty()) {
    station.stationName.emplace(coordinateLabel(point.place));
  } else {
    station.stationName.emplace(point.name);
  }
  station.stateId.emplace(point.city);
  station.country.emplace(point.country);
  if (point.timezone.empty()) {
    station.timezoneName.emplace(zoneOfLongitude(point.place.longitude));
  } else {
    station.timezoneName.emplace(point.timezone);
  }
  station.isGlobal = true;
}

/// Makes stations that lie many to a block, which saves allocations. One of them that is kept keeps its
/// block, some 20 KB; blocks are small, so that a handful of favourites does not keep the whole list.
class StationBlocks {
 public:
  std::shared_ptr<TideStation> next() {
    if (used_ == size) {
      block_ = std::make_shared<Block>();
      used_ = 0;
    }
    return {block_, &(*block_)[used_++]};
  }

 private:
  static constexpr std::size_t size = 64;
  using Block = std::array<TideStation, size>;
  std::shared_ptr<Block> block_;
  std::size_t used_ = size;
};

/// Degrees with three decimals, rounded as their exact value is.
std::string threeDecimals(double degrees) {
  const double thousandths = degrees * 1000;
  const double below = std::floor(thousandths);
  const double rest = thousandths - below;
  // The product is off by far less than this, so only near a half it does not tell which way to go.
  constexpr double unsure = 1e-6;
  if (!(degrees < 1000) || std::fabs(rest - 0.5) < unsure) {
    return fmt::format(FMT_COMPILE("{:.3f}"), degrees);
  }
  const int number = static_cast<int>(below) + (rest > 0.5 ? 1 : 0);
  return fmt::format(FMT_COMPILE("{}.{:03}"), number / 1000, number % 1000);
}

}  // namespace

std::optional<std::vector<std::shared_ptr<TideStation>>> stationsOf(std::string_view json,
                                                                    JsonReaders& readers) {
  const auto reader = readers.take();
  const auto root = reader->read(json);
  simdjson::dom::array points;
  if (!root || root->get_array().get(points) != simdjson::SUCCESS) return std::nullopt;
  std::vector<std::shared_ptr<TideStation>> stations;
  stations.reserve(points.size());
  StationBlocks blocks;
  for (const element value : points) {
    PointReader reading;
    const Point* const point = reading.read(value);
    if (point == nullptr) return std::nullopt;
    fill(*stations.emplace_back(blocks.next()), *point);
  }
  return stations;
}

std::string coordinateLabel(Coordinate place) {
  return fmt::format(FMT_COMPILE("{}°{} {}°{}"), threeDecimals(std::fabs(place.latitude)),
                     place.latitude >= 0 ? 'N' : 'S', threeDecimals(std::fabs(place.longitude)),
                     place.longitude >= 0 ? 'E' : 'W');
}

std::string zoneOfLongitude(double longitude) {
  const double hours = std::round(longitude / 15);  // halves away from zero
  if (hours == 0) return "Etc/GMT";
  if (hours >= 12) return "Etc/GMT-12";
  if (hours < -12) return "Etc/GMT+12";
  return fmt::format(FMT_COMPILE("Etc/GMT{}{}"), hours > 0 ? '-' : '+', static_cast<int>(std::fabs(hours)));
}

}  // namespace marlune::tide_points
