#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace marlune {

/// A row of a timeline: a typed event with two title lines and an icon. Offered to the application, which
/// defines the values of `type`; the library makes none itself. Unsynchronised.
class TTEvent {
 public:
  TTEvent() = default;
  explicit TTEvent(std::int32_t eventType) : type(eventType) {}

  std::int32_t type = 0;
  std::int64_t timestamp = 0;  ///< seconds since 1970 (UTC)
  std::optional<std::string> title1;
  std::optional<std::string> title2;
  std::shared_ptr<void> icon;  ///< the application's own image object
};

}  // namespace marlune
