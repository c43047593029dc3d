#include "services/RequestValues.h"

#include <array>

#include <cctz/civil_time.h>
#include <fmt/format.h>

namespace marlune::services {
namespace {

constexpr std::string_view kFields = "yMdHms";
constexpr int kFirstYear = 1900;
constexpr int kLastYear = 2100;

std::optional<std::int64_t> instantIn(std::string_view text, std::string_view pattern) {
  if (text.size() != pattern.size()) return std::nullopt;
  std::array<int, kFields.size()> fields{};
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto field = kFields.find(pattern[i]);
    if (field == std::string_view::npos) {
      if (text[i] != pattern[i]) return std::nullopt;
      continue;
    }
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
    fields[field] = fields[field] * 10 + (text[i] - '0');
  }
  const cctz::civil_second at(fields[0], fields[1], fields[2], fields[3], fields[4], fields[5]);
  // Fields beyond their range would be carried over into the next ones.
  if (at.month() != fields[1] || at.day() != fields[2] || at.hour() != fields[3] ||
      at.minute() != fields[4] || at.second() != fields[5])
    return std::nullopt;
  if (at.year() < kFirstYear || at.year() > kLastYear) return std::nullopt;
  return at - cctz::civil_second(1970, 1, 1);
}

}  // namespace

std::optional<std::int64_t> instantOf(std::string_view text,
                                      std::initializer_list<std::string_view> patterns) {
  for (const std::string_view pattern : patterns) {
    if (const auto instant = instantIn(text, pattern)) return instant;
  }
  return std::nullopt;
}

std::string instantText(std::int64_t time, std::string_view between) {
  const cctz::civil_second at = cctz::civil_second(1970, 1, 1) + time;
  return fmt::format("{:04}-{:02}-{:02}{}{:02}:{:02}:{:02}", at.year(), at.month(), at.day(), between,
                     at.hour(), at.minute(), at.second());
}

}  // namespace marlune::services
