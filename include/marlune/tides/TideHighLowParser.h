#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/tides/TideEvent.h"

namespace marlune {

/// Reads a prediction document of highs and lows: the tide service's `<s id>` and `<e t l w>` elements, or
/// the `<pr t v type>` elements of NOAA's prediction XML, at any depth. One thread, one parse at a time.
///
///     TideHighLowParser parser;
///     if (auto events = parser.getElements(bytes)) draw(*events);
class MARLUNE_API TideHighLowParser {
 public:
  /// Marks a missing bound.
  static constexpr std::int64_t unbounded = -1;

  /// Every event of the document in document order; nothing when it is not well-formed.
  std::optional<std::vector<TideEvent>> getElements(std::string_view data);

  /// The events from `start` to `end`, seconds since 1970, both inclusive, -1 for no bound; nothing when the
  /// document is not well-formed to its end. An element that lacks one of its attributes is skipped. A "pr"
  /// time that is none counts as 0.
  std::optional<std::vector<TideEvent>> getElementsInRange(std::string_view data, std::int64_t start,
                                                           std::int64_t end);

  std::optional<std::string> stationId;  ///< "id" of the last "s" element of the current parse
  std::vector<TideEvent> tideEvents;     ///< what the current parse has collected, in document order
  std::optional<std::string> error;      ///< what was wrong with the document, for people

 private:
  class Elements;
  void collect(std::int64_t time, std::string_view level, std::string_view kind);

  std::int64_t startTimestamp = unbounded;
  std::int64_t endTimestamp = unbounded;
};

}  // namespace marlune
