#include "marlune/providers/BOMTideParser.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

#include "marlune/formats/Iso8601.h"
#include "marlune/formats/Text.h"
#include "marlune/formats/XmlReader.h"

namespace marlune {

namespace {

// About a year of events, as documents hold them; room for more is made as they come.
constexpr std::size_t bytesPerEvent = 200;
constexpr std::size_t mostForeseen = 2048;

}  // namespace

/// Builds the parser's events from the markup of a document.
class BOMTideParser::Elements : public XmlHandler {
 public:
  explicit Elements(BOMTideParser& parser) : parser_(parser) {}

  void startElement(std::string_view name, const XmlAttributes& attributes) override {
    if (name != "element" || attributes.find("type") != "tide_forecast") return;
    const auto instance = attributes.find("instance");
    const auto time = attributes.find("time-utc");
    if (!instance || !time) return;
    parser_.resetState();
    auto& event = parser_.currentEvent.emplace(iso8601Seconds(*time).value_or(0), 0.0, *instance == "high");
    event.tideLevelInMeters = true;
    parser_.parsingElement = true;
  }

  /// Of several runs of text the last one counts, whatever it holds.
  void text(std::string_view text) override {
    if (!parser_.parsingElement || !parser_.currentEvent) return;
    parser_.currentEvent->tidelevel = lenientDouble(text);
    parser_.didParseTideLevel = true;
  }

  void endElement(std::string_view name) override {
    const auto& event = parser_.currentEvent;
    if (name != "element" || !parser_.didParseTideLevel || !event || event->timestamp == 0) return;
    parser_.events.push_back(*event);
    parser_.resetState();
  }

  bool wantsContent() const override { return true; }

 private:
  BOMTideParser& parser_;
};

const std::vector<TideEvent>& BOMTideParser::getTideEventsFromData(std::string_view data) {
  resetState();
  events.clear();
  events.reserve(std::min(data.size() / bytesPerEvent, mostForeseen));
  Elements elements(*this);
  if (auto fault = XmlReader::read(data, elements)) {
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

}  // namespace marlune
