#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/tides/TideEvent.h"

/// The Admiralty's answer for a port's highs and lows: a JSON list of objects with "EventType", "DateTime"
/// and "Height". See docs/formats.md. Pure functions, safe from any thread.
///
///     const auto reading = admiralty_events::read(bytes);
///     if (reading.events) draw(*reading.events);
namespace marlune::admiralty_events {

/// A longer document is an error.
inline constexpr std::size_t maximumSize = std::size_t{16} << 20;

struct Reading {
  /// In document order, levels in metres; absent where the text is no list of at least one element.
  std::optional<std::vector<TideEvent>> events;
  /// What keeps the text from being JSON, for people.
  std::optional<std::string> error;
};

/// Everything but objects with a numeric "Height" is passed over. A "DateTime" that is none counts as 0. Of
/// members of the same name the first counts.
Reading read(std::string_view json);

/// The instant of "yyyy-MM-ddTHH:mm:ss" in UTC, perhaps with a fraction of one to three digits, in seconds
/// since 1970, truncated; nothing for any other text and for dates that do not exist.
std::optional<std::int64_t> instantOf(std::string_view text);

}  // namespace marlune::admiralty_events
