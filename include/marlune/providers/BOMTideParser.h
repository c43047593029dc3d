#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "marlune/base/Data.h"
#include "marlune/base/Export.h"
#include "marlune/platform/Log.h"
#include "marlune/tides/TideEvent.h"

namespace marlune {

/// Reads a tide forecast of the Bureau of Meteorology: the highs and lows of its `<element
/// type="tide_forecast" instance time-utc>` elements, at any depth, in metres. One thread, one parse at a
/// time.
///
///     BOMTideParser parser(log);
///     draw(parser.getTideEventsFromData(xml));
class MARLUNE_API BOMTideParser {
 public:
  /// `log` receives a line for a document that is not well-formed; it may be none.
  explicit BOMTideParser(std::shared_ptr<Log> log = nullptr) : log_(std::move(log)) {}

  /// The events of a document in document order. One that is not well-formed is logged and gives what stands
  /// before the fault.
  const std::vector<TideEvent>& getTideEventsFromData(std::string_view data);
  const std::vector<TideEvent>& getTideEventsFromData(const Data& data);

  /// Forgets the element that is being read, and the error; events stay.
  void resetState();

  bool parsingElement = false;            ///< a forecast element has been opened, its level is awaited
  bool didParseTideLevel = false;         ///< text of that element has been read as a level
  std::vector<TideEvent> events;          ///< of the current parse, in document order
  std::optional<TideEvent> currentEvent;  ///< the event that is being built
  std::optional<std::string> error;       ///< what was wrong with the document, for people

 private:
  class Elements;

  const std::shared_ptr<Log> log_;
};

}  // namespace marlune
