#include "marlune/tides/TideHighLowParser.h"

#include <algorithm>
#include <chrono>

#include "marlune/formats/Text.h"
#include "marlune/formats/XmlReader.h"

namespace marlune {

namespace {

// About a year of events, as documents hold them; room for more is made as they come.
constexpr std::size_t bytesPerEvent = 36;
constexpr std::size_t mostForeseen = 2048;

/// Reads the parts of a text one after the other; a part that is not there spoils the whole.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  std::optional<int> number(std::size_t mostDigits) {
    std::size_t digits = 0;
    int value = 0;
    while (digits < mostDigits && digits < text_.size() && text_[digits] >= '0' && text_[digits] <= '9') {
      value = value * 10 + (text_[digits++] - '0');
    }
    if (digits == 0) return std::nullopt;
    text_.remove_prefix(digits);
    return value;
  }
  bool skip(char wanted) {
    if (!text_.starts_with(wanted)) return false;
    text_.remove_prefix(1);
    return true;
  }
  bool atEnd() const { return text_.empty(); }

 private:
  std::string_view text_;
};

// "yyyy-MM-dd HH:mm" in UTC, in seconds since 1970; nothing for any other text and for dates that do not
// exist. Digits are ASCII, whatever the locale.
std::optional<std::int64_t> utcMinute(std::string_view text) {
  Scanner scan(text);
  const auto year = scan.number(4);
  if (!year || !scan.skip('-')) return std::nullopt;
  const auto month = scan.number(2);
  if (!month || !scan.skip('-')) return std::nullopt;
  const auto day = scan.number(2);
  if (!day || !scan.skip(' ')) return std::nullopt;
  while (scan.skip(' ')) continue;
  const auto hour = scan.number(2);
  if (!hour || !scan.skip(':')) return std::nullopt;
  const auto minute = scan.number(2);
  if (!minute || !scan.atEnd() || *hour > 23 || *minute > 59) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year{*year},
                                         std::chrono::month{static_cast<unsigned>(*month)},
                                         std::chrono::day{static_cast<unsigned>(*day)}};
  if (!date.ok()) return std::nullopt;
  const std::int64_t days = std::chrono::sys_days{date}.time_since_epoch().count();
  return days * 86400 + std::int64_t{*hour} * 3600 + std::int64_t{*minute} * 60;
}

}  // namespace

/// Hands what the elements of a document say to the parser.
class TideHighLowParser::Elements : public XmlHandler {
 public:
  explicit Elements(TideHighLowParser& parser) : parser_(parser) {}

  void startElement(std::string_view name, const XmlAttributes& attributes) override {
    if (name == "e") {
      const auto time = attributes.find("t");
      const auto level = attributes.find("l");
      const auto kind = attributes.find("w");
      if (time && level && kind) parser_.collect(lenientInteger(*time), *level, *kind);
    } else if (name == "s") {
      const auto id = attributes.find("id");
      parser_.stationId = id ? std::optional<std::string>(*id) : std::nullopt;
    } else if (name == "pr") {
      const auto time = attributes.find("t");
      const auto level = attributes.find("v");
      const auto kind = attributes.find("type");
      if (time && level && kind) parser_.collect(utcMinute(*time).value_or(0), *level, *kind);
    }
  }

 private:
  TideHighLowParser& parser_;
};

std::optional<std::vector<TideEvent>> TideHighLowParser::getElements(std::string_view data) {
  return getElementsInRange(data, unbounded, unbounded);
}

std::optional<std::vector<TideEvent>> TideHighLowParser::getElementsInRange(std::string_view data,
                                                                            std::int64_t start,
                                                                            std::int64_t end) {
  startTimestamp = start;
  endTimestamp = end;
  tideEvents.clear();
  tideEvents.reserve(std::min(data.size() / bytesPerEvent, mostForeseen));
  stationId.reset();
  Elements elements(*this);
  error = XmlReader::read(data, elements);
  if (error) return std::nullopt;
  return tideEvents;
}

void TideHighLowParser::collect(std::int64_t time, std::string_view level, std::string_view kind) {
  if (startTimestamp != unbounded && time < startTimestamp) return;
  if (endTimestamp != unbounded && time > endTimestamp) return;
  tideEvents.emplace_back(time, lenientDouble(level), kind == "H");
}

}  // namespace marlune
