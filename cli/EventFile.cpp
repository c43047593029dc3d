#include "cli/EventFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <simdjson.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <system_error>

#include "cli/JsonFile.h"
#include "cli/Values.h"

namespace marlune::cli {
namespace {

constexpr std::size_t kLargestFile = std::size_t{64} << 20;

std::string reason(int error) {
  return std::generic_category().message(error);
}

class EventReader {
 public:
  explicit EventReader(std::string_view name) : name_(name) {}

  TideEvent read(simdjson::dom::element element) {
    ++position_;
    simdjson::dom::object object;
    if (element.get(object) != simdjson::SUCCESS) throw wrong("is no object");
    TideEvent event(seconds(object), level(object), flag(object, "isHighTide"));
    event.tideLevelInMeters = flag(object, "tideLevelInMeters");
    event.isIntermediary = flag(object, "isIntermediary");
    return event;
  }

 private:
  WrongCall wrong(std::string_view what) const {
    return WrongCall(fmt::format("{}: event {} {}", name_, position_, what));
  }

  std::int64_t seconds(simdjson::dom::object object) const {
    const auto value = memberOf(object, "timestamp");
    if (!value) return 0;
    std::int64_t whole = 0;
    if (value->get(whole) == simdjson::SUCCESS) return whole;
    double number = 0;
    constexpr double limit = 9223372036854775808.0;
    if (value->get(number) != simdjson::SUCCESS || number != std::trunc(number) || number < -limit ||
        number >= limit) {
      throw wrong("has a \"timestamp\" that is no whole number of seconds");
    }
    return static_cast<std::int64_t>(number);
  }

  double level(simdjson::dom::object object) const {
    const auto value = memberOf(object, "tidelevel");
    double number = 0;
    if (value && value->get(number) != simdjson::SUCCESS)
      throw wrong("has a \"tidelevel\" that is no number");
    return number;
  }

  bool flag(simdjson::dom::object object, std::string_view key) const {
    const auto value = memberOf(object, key);
    bool truth = false;
    if (value && value->get(truth) != simdjson::SUCCESS) {
      throw wrong(fmt::format("has \"{}\" neither true nor false", key));
    }
    return truth;
  }

  std::string_view name_;
  std::size_t position_ = 0;
};

EventSource::Fetch parseFetch(const std::string& word) {
  const auto last = word.rfind(',');
  const auto first = last == std::string::npos || last == 0 ? std::string::npos : word.rfind(',', last - 1);
  if (first == std::string::npos) {
    throw WrongCall(fmt::format("EVENTS beginning with @ are @ID,FROM,TO: \"{}\"", word));
  }
  const auto from = parseInstant(std::string_view(word).substr(first + 1, last - first - 1));
  const auto to = parseInstant(std::string_view(word).substr(last + 1));
  if (!from || !to) {
    throw WrongCall(
        fmt::format("FROM and TO in @ID,FROM,TO are instants like 2026-03-05T12:00:00Z or seconds "
                    "since 1970: \"{}\"",
                    word));
  }
  return {word.substr(1, first - 1), *from, *to};
}

}  // namespace

std::string readFile(const std::string& path, AtLimit atLimit) {
  const auto fail = [&](const std::string& why) {
    return Failure(fmt::format("cannot read {}: {}", path, why));
  };
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) throw fail(reason(errno));
  std::string bytes;
  std::array<char, 65536> buffer{};
  ssize_t count = 0;
  while ((count = ::read(file, buffer.data(), buffer.size())) != 0 && bytes.size() <= kLargestFile) {
    if (count > 0) bytes.append(buffer.data(), static_cast<std::size_t>(count));
    if (count < 0 && errno != EINTR) break;
  }
  const int error = count < 0 ? errno : 0;
  ::close(file);
  if (error != 0) throw fail(reason(error));
  if (bytes.size() > kLargestFile && atLimit == AtLimit::fail) throw fail("it is larger than 64 MiB");
  return bytes;
}

std::vector<TideEvent> parseEvents(std::string_view json, std::string_view name) {
  simdjson::dom::parser parser;
  const auto array = arrayOf(parser, json, name, "event objects");
  std::vector<TideEvent> events;
  EventReader reader(name);
  for (const simdjson::dom::element element : array) events.push_back(reader.read(element));
  return events;
}

EventSource readEventSource(const std::string& word) {
  if (word.starts_with('@')) return {{}, parseFetch(word)};
  try {
    return {parseEvents(readFile(word), word), std::nullopt};
  } catch (const Failure& failure) {
    throw WrongCall(failure.what());
  }
}

}  // namespace marlune::cli
