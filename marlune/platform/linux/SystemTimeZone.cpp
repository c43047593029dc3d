#include "marlune/platform/linux/SystemTimeZone.h"

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "marlune/platform/linux/files/WholeFile.h"

namespace marlune {
namespace {

std::optional<std::string> environmentVariable(const char* name) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): read once, as the host is made
  if (value == nullptr) return std::nullopt;
  return std::string(value);
}

/// The zone of a name or of the path of a zone file: what stands after "zoneinfo/", without the folders of
/// the variants with and without leap seconds.
std::optional<TimeZone> zoneOf(std::string_view text) {
  constexpr std::string_view database = "/zoneinfo/";
  const std::size_t at = text.rfind(database);
  if (at != std::string_view::npos) text.remove_prefix(at + database.size());
  for (const std::string_view variant : {"posix/", "right/"}) {
    if (text.starts_with(variant)) text.remove_prefix(variant.size());
  }
  return TimeZone::named(text);
}

std::string_view firstWord(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) return {};
  text.remove_prefix(begin);
  return text.substr(0, text.find_first_of(blanks));
}

}  // namespace

SystemTimeZone::SystemTimeZone() : SystemTimeZone(environmentVariable("TZ"), "/etc") {}

SystemTimeZone::SystemTimeZone(std::optional<std::string> variable, std::string configurationFolder)
    : variable_(std::move(variable)), folder_(std::move(configurationFolder)) {}

TimeZone SystemTimeZone::current() const {
  if (variable_) {
    std::string_view name = *variable_;
    if (name.empty()) return TimeZone();
    if (name.front() == ':') name.remove_prefix(1);
    if (const auto zone = zoneOf(name)) return *zone;
  }
  std::error_code none;
  const auto target = std::filesystem::read_symlink(folder_ + "/localtime", none);
  if (!none) {
    if (const auto zone = zoneOf(target.string())) return *zone;
  }
  if (const auto name = readWholeFile(folder_ + "/timezone")) {
    if (const auto zone = zoneOf(firstWord(*name))) return *zone;
  }
  return TimeZone();
}

}  // namespace marlune
