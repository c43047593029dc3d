#include "marlune/providers/AdmiraltyEvents.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "marlune/formats/JsonReader.h"

namespace marlune::admiralty_events {

namespace {

// More than a year of events; room for more is made as they come.
constexpr std::size_t mostForeseen = 2048;

/// Reads the fixed parts of a text one after the other and remembers whether all were there.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  int number(std::size_t digits) {
    if (text_.size() < digits) return fail();
    int value = 0;
    for (std::size_t i = 0; i < digits; ++i) {
      const int digit = text_[i] - '0';
      if (digit < 0 || digit > 9) return fail();
      value = value * 10 + digit;
    }
    text_.remove_prefix(digits);
    return value;
  }
  void skip(char wanted) {
    if (text_.starts_with(wanted)) {
      text_.remove_prefix(1);
    } else {
      fail();
    }
  }
  std::size_t left() const { return text_.size(); }
  bool fine() const { return fine_; }

 private:
  int fail() {
    fine_ = false;
    return 0;
  }
  std::string_view text_;
  bool fine_ = true;
};

std::optional<TideEvent> eventOf(simdjson::dom::object object) {
  using simdjson::dom::element;
  std::optional<element> type;
  std::optional<element> time;
  std::optional<element> height;
  for (const simdjson::dom::key_value_pair member : object) {
    if (!type && member.key == "EventType") {
      type = member.value;
    } else if (!time && member.key == "DateTime") {
      time = member.value;
    } else if (!height && member.key == "Height") {
      height = member.value;
    }
  }
  const auto metres = height ? json::number(*height) : std::nullopt;
  if (!metres) return std::nullopt;
  // Applications compare with levels that have passed through 32 bits.
  const double level = static_cast<float>(*metres);
  if (!std::isfinite(level)) return std::nullopt;
  const auto text = time ? json::text(*time) : std::nullopt;
  TideEvent event(text ? instantOf(*text).value_or(0) : 0, level, type && json::text(*type) == "HighWater");
  event.tideLevelInMeters = true;
  return event;
}

}  // namespace

std::optional<std::int64_t> instantOf(std::string_view text) {
  Scanner scan(text);
  const int year = scan.number(4);
  scan.skip('-');
  const int month = scan.number(2);
  scan.skip('-');
  const int day = scan.number(2);
  scan.skip('T');
  const int hour = scan.number(2);
  scan.skip(':');
  const int minute = scan.number(2);
  scan.skip(':');
  const int second = scan.number(2);
  int fraction = 0;
  if (scan.fine() && scan.left() > 0) {
    scan.skip('.');
    const std::size_t digits = scan.left();
    if (digits < 1 || digits > 3) return std::nullopt;
    fraction = scan.number(digits);
  }
  if (!scan.fine() || hour > 23 || minute > 59 || second > 59) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year{year},
                                         std::chrono::month{static_cast<unsigned>(month)},
                                         std::chrono::day{static_cast<unsigned>(day)}};
  if (!date.ok()) return std::nullopt;
  const std::int64_t days = std::chrono::sys_days{date}.time_since_epoch().count();
  const int ofDay = hour * 3600 + minute * 60 + second;
  const std::int64_t instant = days * 86'400 + ofDay;
  return instant < 0 && fraction > 0 ? instant + 1 : instant;  // toward zero
}

Reading read(std::string_view json) {
  if (json.size() > maximumSize) return {{}, "The document is larger than 16 MiB."};
  JsonReader reader;
  const auto root = reader.read(json);
  if (!root) return {{}, std::string(reader.error())};
  simdjson::dom::array list;
  if (root->get(list) != simdjson::SUCCESS || list.size() == 0) return {};
  Reading reading;
  reading.events.emplace();
  reading.events->reserve(std::min(list.size(), mostForeseen));
  for (const simdjson::dom::element element : list) {
    simdjson::dom::object object;
    if (element.get(object) != simdjson::SUCCESS) continue;
    if (const auto event = eventOf(object)) reading.events->push_back(*event);
  }
  return reading;
}

}  // namespace marlune::admiralty_events
