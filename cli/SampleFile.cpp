#include "cli/SampleFile.h"

#include <fmt/format.h>

#include "cli/Errors.h"
#include "cli/EventFile.h"
#include "cli/JsonFile.h"

namespace marlune::cli {
namespace {

class SampleReader {
 public:
  explicit SampleReader(std::string_view name) : name_(name) {}

  std::shared_ptr<const TimeSeriesData> read(simdjson::dom::element element) {
    ++position_;
    simdjson::dom::object object;
    if (element.get(object) != simdjson::SUCCESS) throw wrong("is no object");
    return std::make_shared<const TimeSeriesData>(
        dateFromSeconds(number(object, "date")), number(object, "value"), attributes(object), series(object));
  }

 private:
  WrongCall wrong(std::string_view what) const {
    return WrongCall(fmt::format("{}: sample {} {}", name_, position_, what));
  }

  double number(simdjson::dom::object object, std::string_view key) const {
    const auto value = memberOf(object, key);
    double result = 0;
    if (value && value->get(result) != simdjson::SUCCESS) {
      throw wrong(fmt::format("has a \"{}\" that is no number", key));
    }
    return result;
  }

  std::optional<std::string> series(simdjson::dom::object object) const {
    const auto value = memberOf(object, "series");
    if (!value) return std::nullopt;
    std::string_view text;
    if (value->get(text) != simdjson::SUCCESS) throw wrong("has a \"series\" that is no text");
    return std::string(text);
  }

  std::optional<TimeSeriesData::Attributes> attributes(simdjson::dom::object object) const {
    const auto value = memberOf(object, "attributes");
    if (!value) return std::nullopt;
    simdjson::dom::object pairs;
    if (value->get(pairs) != simdjson::SUCCESS) throw wrong("has \"attributes\" that are no object");
    TimeSeriesData::Attributes result;
    for (const auto& [key, held] : pairs) {
      std::string_view text;
      if (held.get(text) != simdjson::SUCCESS) {
        throw wrong(fmt::format("has an attribute \"{}\" that is no text", key));
      }
      result.insert_or_assign(std::string(key), std::string(text));
    }
    return result;
  }

  std::string_view name_;
  std::size_t position_ = 0;
};

}  // namespace

TimeSeries parseSamples(std::string_view json, std::string_view name) {
  simdjson::dom::parser parser;
  TimeSeries samples;
  SampleReader reader(name);
  for (const simdjson::dom::element element : arrayOf(parser, json, name, "sample objects")) {
    samples.push_back(reader.read(element));
  }
  return samples;
}

TimeSeries readSamples(const std::string& path) {
  try {
    return parseSamples(readFile(path), path);
  } catch (const Failure& failure) {
    throw WrongCall(failure.what());
  }
}

}  // namespace marlune::cli
