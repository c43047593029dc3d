#include "marlune/providers/BOMTideParser.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

#include "marlune/platform/Iso8601.h"
#include "marlune/platform/Text.h"

namespace marlune {

namespace {

// About a year of events, as documents hold them; room for more is made as they come.
constexpr std::size_t bytesPerEvent = 200;
constexpr std::size_t mostForeseen = 2048;

}  // namespace

const std::vector<TideEvent>& BOMTideParser::getTideEventsFromData(std::string_view data) {
  resetState();
  events.clear();
  events.reserve(std::min(data.size() / bytesPerEvent, mostForeseen));
  if (auto fault = XmlReader::read(data, *this)) {
    parsingElement = false;
    didParseTideLevel = false;
    if (log_) log_->line(fmt::format("BOMTideParser error: {}", *fault));
    error = std::move(fault);
  }
  return events;
}

const std::vector<TideEvent>& BOMTideParser::getTideEventsFromData(const Data& data) {
  return getTideEventsFromData(data ? std::string_view(*data) : std::string_view());
}

void BOMTideParser::resetState() {
  parsingElement = false;
  didParseTideLevel = false;
  currentEvent.reset();
  error.reset();
}

void BOMTideParser::startElement(std::string_view name, const XmlAttributes& attributes) {
  if (name != "element" || attributes.find("type") != "tide_forecast") return;
  const auto instance = attributes.find("instance");
  const auto time = attributes.find("time-utc");
  if (!instance || !time) return;
  resetState();
  currentEvent.emplace(iso8601Seconds(*time).value_or(0), 0.0, *instance == "high");
  currentEvent->tideLevelInMeters = true;
  parsingElement = true;
}

// Of several runs of text the last one counts, whatever it holds.
void BOMTideParser::text(std::string_view text) {
  if (!parsingElement || !currentEvent) return;
  currentEvent->tidelevel = lenientDouble(text);
  didParseTideLevel = true;
}

void BOMTideParser::endElement(std::string_view name) {
  if (name != "element" || !didParseTideLevel || !currentEvent || currentEvent->timestamp == 0) return;
  events.push_back(*currentEvent);
  resetState();
}

}  // namespace marlune
