#include "marlune/global/GlobalTides.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "marlune/formats/Iso8601.h"
#include "marlune/formats/JsonReader.h"
#include "marlune/formats/JsonReaders.h"

namespace marlune::global_tides {

namespace {

using simdjson::dom::element;

/// A field that may stand once; later ones of its name do not count.
template <class T>
class Field {
 public:
  /// False when the value is of another type.
  bool take(element value, std::optional<T> (*read)(element)) {
    if (seen_) return true;
    seen_ = true;
    if (value.is_null()) return true;
    value_ = read(value);
    return value_.has_value();
  }
  const std::optional<T>& value() const { return value_; }

 private:
  bool seen_ = false;
  std::optional<T> value_;
};

struct Event {
  Field<std::string_view> time;
  Field<double> level;
  Field<bool> isHigh;
  Field<bool> levelInMeters;

  bool take(std::string_view key, element field) {
    if (key == "time") return time.take(field, json::text);
    if (key == "level") return level.take(field, json::number);
    if (key == "is_high") return isHigh.take(field, json::flag);
    if (key == "level_in_meters") return levelInMeters.take(field, json::flag);
    return true;
  }
};

struct Response {
  Field<std::string_view> source;
  Field<bool> levelInMeters;
  Field<simdjson::dom::array> events;

  static std::optional<simdjson::dom::array> list(element field) {
    simdjson::dom::array result;
    return field.get_array().get(result) == simdjson::SUCCESS ? std::optional(result) : std::nullopt;
  }
  bool take(std::string_view key, element field) {
    if (key == "source") return source.take(field, json::text);
    if (key == "level_in_meters") return levelInMeters.take(field, json::flag);
    if (key == "tide_events") return events.take(field, list);
    return true;
  }
};

template <class Record>
std::optional<Record> recordOf(element value) {
  simdjson::dom::object fields;
  if (value.get_object().get(fields) != simdjson::SUCCESS) return std::nullopt;
  Record record;
  for (const auto field : fields) {
    if (!record.take(field.key, field.value)) return std::nullopt;
  }
  return record;
}

}  // namespace

std::vector<TideEvent> eventsOf(std::string_view json, JsonReaders& readers) {
  const auto reader = readers.take();
  const auto root = reader->read(json);
  const auto response = root ? recordOf<Response>(*root) : std::nullopt;
  if (!response || !response->events.value()) return {};
  const bool metersByDefault = response->levelInMeters.value().value_or(true);
  std::vector<TideEvent> events;
  events.reserve(response->events.value()->size());
  for (const element value : *response->events.value()) {
    const auto event = recordOf<Event>(value);
    if (!event || !event->time.value() || !event->level.value()) return {};
    const auto timestamp = iso8601SecondsWithoutFraction(*event->time.value());
    if (!timestamp) continue;
    events.emplace_back(*timestamp, *event->level.value(), event->isHigh.value().value_or(false));
    events.back().tideLevelInMeters = event->levelInMeters.value().value_or(metersByDefault);
  }
  return events;
}

}  // namespace marlune::global_tides
