#include "marlune/ocean/nws/NWSGridpoint.h"

#include <utf8proc.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "marlune/formats/Iso8601.h"
#include "marlune/formats/JsonReader.h"

namespace marlune::nws_gridpoint {

namespace {

using simdjson::dom::element;
using simdjson::dom::object;

constexpr std::int64_t hour = 3'600;
constexpr std::size_t longestAddress = 2'000;  // bytes; services take no longer ones
// A day has 24 hours, and 25 at a clock change; far more come only of intervals that lie upon each other.
constexpr std::size_t mostSamples = 10'000;

/// The object under "properties".
std::optional<object> propertiesOf(JsonReader& reader, std::string_view answer) {
  const auto root = reader.read(answer);
  object members;
  object properties;
  if (!root || root->get(members) != simdjson::SUCCESS) return std::nullopt;
  if (members["properties"].get(properties) != simdjson::SUCCESS) return std::nullopt;
  return properties;
}

/// What the values of a layer are multiplied by; nothing for a unit that is no text.
std::optional<double> factorOf(object layer) {
  constexpr double knotsPerMeterPerSecond = 1.9438447;
  constexpr double knotsPerKilometerPerHour = 0.539957;
  element unit;
  if (layer["uom"].get(unit) != simdjson::SUCCESS || unit.is_null()) return 1.0;
  const auto code = json::text(unit);
  if (!code) return std::nullopt;
  return *code == "wmoUnit:m_s-1" ? knotsPerMeterPerSecond : knotsPerKilometerPerHour;
}

/// False for an entry that spoils the answer.
bool readEntry(element entry, double factor, std::vector<Interval>& intervals) {
  object members;
  if (entry.get(members) != simdjson::SUCCESS) return false;
  std::optional<std::string_view> time;
  std::optional<double> value;
  for (const auto& [key, member] : members) {
    if (key == "validTime") {
      time = json::text(member);
    } else if (key == "value" && !member.is_null()) {
      value = json::number(member);
      if (!value) return false;
    }
  }
  if (!time) return false;
  const auto valid = value ? validTimeOf(*time) : std::nullopt;
  if (valid && std::isfinite(*value * factor))
    intervals.push_back({valid->start, valid->end, *value * factor});
  return true;
}

enum class Scaled { no, yes };

bool readLayer(element value, Scaled scaled, std::vector<Interval>& intervals) {
  object layer;
  if (value.get(layer) != simdjson::SUCCESS) return false;
  const auto factor = factorOf(layer);
  simdjson::dom::array values;
  if (!factor || layer["values"].get(values) != simdjson::SUCCESS) return false;
  intervals.clear();
  for (const element entry : values) {
    if (!readEntry(entry, scaled == Scaled::yes ? *factor : 1.0, intervals)) return false;
  }
  return true;
}

/// Reads the whole number at the start of `text`, if there is one with `unit` behind it, off it.
std::optional<std::int64_t> takeNumber(std::string_view& text, char unit) {
  constexpr std::int64_t most = 1'000'000'000;
  std::int64_t number = 0;
  std::size_t at = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
    number = std::min(number * 10 + (text[at] - '0'), most);
  }
  if (at == 0 || at == text.size() || text[at] != unit) return std::nullopt;
  text.remove_prefix(at + 1);
  return number;
}

/// Seconds of a duration as "P1DT5H".
std::optional<std::int64_t> durationOf(std::string_view text) {
  struct Unit {
    char letter;
    std::int64_t seconds;
  };
  constexpr std::int64_t longest = 100'000'000'000;
  constexpr Unit ofTime[] = {{'H', hour}, {'M', 60}, {'S', 1}};
  if (!text.starts_with('P')) return std::nullopt;
  text.remove_prefix(1);
  const auto days = takeNumber(text, 'D');
  std::int64_t seconds = days.value_or(0) * 86'400;
  if (text.starts_with('T')) {
    text.remove_prefix(1);
    bool hasTime = false;
    for (const Unit& unit : ofTime) {
      const auto number = takeNumber(text, unit.letter);
      seconds += number.value_or(0) * unit.seconds;
      hasTime = hasTime || number;
    }
    if (!hasTime) return std::nullopt;
  } else if (!days) {
    return std::nullopt;
  }
  return text.empty() ? std::optional(std::min(seconds, longest)) : std::nullopt;
}

/// Looks up, for instants in ascending order, the value that holds; of several the one that holds longest.
class Lookup {
 public:
  Lookup(const std::vector<Interval>& intervals, std::int64_t from, std::int64_t to) {
    for (const Interval& interval : intervals) {
      if (interval.start < to && interval.end > from) within_.push_back(&interval);
    }
    std::stable_sort(within_.begin(), within_.end(),
                     [](const Interval* a, const Interval* b) { return a->start < b->start; });
  }

  std::optional<double> at(std::int64_t instant) {
    for (; next_ < within_.size() && within_[next_]->start <= instant; ++next_) {
      if (longest_ == nullptr || within_[next_]->end > longest_->end) longest_ = within_[next_];
    }
    return longest_ != nullptr && longest_->end > instant ? std::optional(longest_->value) : std::nullopt;
  }

 private:
  std::vector<const Interval*> within_;
  std::size_t next_ = 0;
  const Interval* longest_ = nullptr;  // of those that have begun
};

struct Hour {
  std::int64_t instant;
  double speed;
};

std::optional<std::vector<Hour>> hoursOf(const std::vector<Interval>& speeds, std::int64_t from,
                                         std::int64_t to) {
  std::vector<Hour> hours;
  for (const Interval& speed : speeds) {
    const std::int64_t before = std::max(from - speed.start, std::int64_t{0});
    std::int64_t instant = speed.start + (before + hour - 1) / hour * hour;
    for (; instant < std::min(speed.end, to); instant += hour) {
      if (hours.size() == mostSamples) return std::nullopt;
      hours.push_back({instant, speed.value});
    }
  }
  std::stable_sort(hours.begin(), hours.end(),
                   [](const Hour& a, const Hour& b) { return a.instant < b.instant; });
  return hours;
}

bool isLetterOrDigit(utf8proc_int32_t codePoint) {
  switch (utf8proc_category(codePoint)) {
    case UTF8PROC_CATEGORY_LU:
    case UTF8PROC_CATEGORY_LL:
    case UTF8PROC_CATEGORY_LT:
    case UTF8PROC_CATEGORY_LM:
    case UTF8PROC_CATEGORY_LO:
    case UTF8PROC_CATEGORY_ND:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::optional<std::string> addressOf(std::string_view answer, JsonReaders& readers) {
  const auto reader = readers.take();
  const auto properties = propertiesOf(*reader, answer);
  auto address = properties ? json::textOf(*properties, "forecastGridData") : std::nullopt;
  const bool fits = address && !address->empty() && address->size() <= longestAddress;
  return fits ? std::move(address) : std::nullopt;
}

std::shared_ptr<const Wind> windOf(std::string_view answer, JsonReaders& readers) {
  const auto reader = readers.take();
  const auto properties = propertiesOf(*reader, answer);
  if (!properties) return nullptr;
  auto wind = std::make_shared<Wind>();
  int layers = 0;
  // Gridpoints have dozens of members: one walk over them, not one for each layer.
  for (const auto& [key, member] : *properties) {
    if (!key.starts_with("wind")) continue;
    const bool isSpeed = key == "windSpeed";
    const bool isGust = key == "windGust";
    if (!isSpeed && !isGust && key != "windDirection") continue;
    auto& intervals = isSpeed ? wind->speed : isGust ? wind->gust : wind->direction;
    if (!readLayer(member, isSpeed || isGust ? Scaled::yes : Scaled::no, intervals)) return nullptr;
    layers |= isSpeed ? 1 : isGust ? 2 : 4;
  }
  return layers == 7 ? wind : nullptr;
}

std::optional<TimeSeries> samplesOf(const Wind& wind, std::int64_t from, std::int64_t to) {
  const auto hours = hoursOf(wind.speed, from, to);
  if (!hours) return std::nullopt;
  Lookup gusts(wind.gust, from, to);
  Lookup directions(wind.direction, from, to);
  TimeSeries samples;
  samples.reserve(hours->size());
  for (const auto& [instant, speed] : *hours) {
    std::optional<TimeSeriesData::Attributes> attributes;
    const auto add = [&attributes](std::string_view name, std::optional<double> value) {
      if (!value) return;
      if (!attributes) attributes.emplace();
      attributes->emplace(name, numberAttribute(*value));
    };
    add(ocean_attributes::direction, directions.at(instant));
    add(ocean_attributes::gust, gusts.at(instant));
    samples.push_back(std::make_shared<const TimeSeriesData>(dateFromSeconds(static_cast<double>(instant)),
                                                             speed, std::move(attributes),
                                                             std::string(ocean_series::wind)));
  }
  return samples;
}

std::optional<ValidTime> validTimeOf(std::string_view text) {
  const std::size_t slash = text.find('/');
  if (slash == std::string_view::npos) return std::nullopt;
  const auto start = iso8601Seconds(text.substr(0, slash));
  const auto duration = durationOf(text.substr(slash + 1));
  if (!start || !duration) return std::nullopt;
  return ValidTime{*start, *start + *duration};
}

std::string locationKey(std::string_view locationId) {
  std::string key;
  while (!locationId.empty()) {
    utf8proc_int32_t codePoint = 0;
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(locationId.data()),
                                         static_cast<utf8proc_ssize_t>(locationId.size()), &codePoint);
    const std::size_t taken = length > 0 ? static_cast<std::size_t>(length) : 1;
    if (length > 0 && isLetterOrDigit(codePoint)) key.append(locationId.substr(0, taken));
    locationId.remove_prefix(taken);
  }
  return key;
}

std::string gridKey(std::string_view address) {
  constexpr std::string_view part = "/gridpoints/";
  const std::size_t at = address.find(part);
  if (at == std::string_view::npos) return "grid";
  std::string key(address.substr(at + part.size()));
  std::replace(key.begin(), key.end(), '/', '_');
  std::replace(key.begin(), key.end(), ',', '-');
  return key;
}

}  // namespace marlune::nws_gridpoint
