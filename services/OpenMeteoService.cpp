#include "services/OpenMeteoService.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include <cctz/time_zone.h>
#include <fmt/format.h>

#include "services/JsonText.h"
#include "services/OpenMeteoVariables.h"
#include "services/RequestValues.h"

namespace marlune::services {
namespace {

constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kHour = 3600;

struct Question {
  std::string api;  // "marine" or "forecast"
  float latitude = 0;
  float longitude = 0;
  std::string zone;
  std::int64_t offset = 0;
  std::int64_t begin = 0;  // in the place's time
  std::int64_t hours = 0;
  OpenMeteoUnits units;
  std::vector<const OpenMeteoVariable*> variables;
};

ServiceAnswer json(std::string body, int status = 200) {
  return {status, "application/json; charset=utf-8", std::move(body), {}};
}

// The middle of the cell of the model's grid, in the precision that the service reckons in.
float onGrid(double degrees, double lowest, double cell) {
  const auto index = static_cast<float>(std::floor((degrees - lowest) / cell));
  return static_cast<float>(lowest) + (index + 0.5F) * static_cast<float>(cell);
}

std::string readPlace(const ServiceRequest& request, Question& question) {
  const auto latitude = numberOf<double>(request.argument("latitude"));
  const auto longitude = numberOf<double>(request.argument("longitude"));
  if (!latitude || !longitude) return "Parameter 'latitude' and 'longitude' must be given as numbers";
  if (!(std::abs(*latitude) <= 90))
    return fmt::format("Latitude must be in range of -90 to 90°. Given: {:.1f}.", *latitude);
  if (!(std::abs(*longitude) <= 180))
    return fmt::format("Longitude must be in range of -180 to 180°. Given: {:.1f}.", *longitude);
  const double cell = question.api == "marine" ? 1.0 / 12 : 0.1;
  question.latitude = onGrid(*latitude, -90, cell);
  question.longitude = onGrid(*longitude, -180, cell);
  return {};
}

std::string readTimes(const ServiceRequest& request, std::int64_t now, Question& question) {
  question.zone = request.argument("timezone").value_or("GMT");
  cctz::time_zone zone;
  if (!cctz::load_time_zone(question.zone, &zone)) return "Invalid timezone";
  question.offset = zone.lookup(std::chrono::system_clock::from_time_t(now)).offset;
  const std::int64_t local = now + question.offset;
  question.begin = local - ((local % kDay) + kDay) % kDay;
  const std::string days = request.argument("forecast_days").value_or("7");
  constexpr std::int64_t mostDays = 16;
  const auto count = numberOf<std::int64_t>(std::string_view(days));
  if (!count || *count < 0 || *count > mostDays)
    return fmt::format("Forecast days is invalid. Allowed range 0 to {}. Given {}.", mostDays, days);
  question.hours = *count * 24;
  return {};
}

std::string readVariables(const ServiceRequest& request, Question& question) {
  const std::string list = request.argument("hourly").value_or("");
  for (std::size_t begin = 0; begin < list.size();) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    const std::string name = list.substr(begin, end - begin);
    const OpenMeteoVariable* variable = OpenMeteoVariable::find(question.api, name);
    if (variable == nullptr)
      return fmt::format("Cannot initialize WeatherVariable from invalid String value {} for key hourly",
                         name);
    const auto& known = question.variables;
    if (std::find(known.begin(), known.end(), variable) == known.end())
      question.variables.push_back(variable);
    begin = end + 1;
  }
  return {};
}

// The model of the sea knows nothing on land, and there are cells of which it does not know all: here those
// of every fifth column lack the water's temperature before dawn, and of every seventh the current.
bool isKnown(const Question& question, const OpenMeteoVariable& variable, std::int64_t time) {
  if (question.api != "marine") return true;
  if (isInland(double{question.latitude}, double{question.longitude})) return false;
  constexpr int cells = 12;
  const auto column = static_cast<int>(std::floor((double{question.longitude} + 180) * cells));
  if (variable.unit == OpenMeteoVariable::Unit::celsius && column % 5 == 0) {
    const std::int64_t hour = time / kHour % 24;
    return hour < 3 || hour > 5;
  }
  return !(variable.name.starts_with("ocean_current") && column % 7 == 0);
}

std::string series(const Question& question, const OpenMeteoVariable& variable) {
  const PlaceWeather weather(double{question.latitude}, double{question.longitude});
  std::string out;
  for (std::int64_t hour = 0; hour < question.hours; ++hour) {
    const std::int64_t time = question.begin + hour * kHour - question.offset;
    if (hour > 0) out += ',';
    out += isKnown(question, variable, time) ? variable.text(weather, time, question.units) : "null";
  }
  return out;
}

std::string abbreviation(std::int64_t offset) {
  if (offset == 0) return "GMT";
  const std::int64_t minutes = std::abs(offset) / 60;
  const char sign = offset < 0 ? '-' : '+';
  if (minutes % 60 == 0) return fmt::format("GMT{}{}", sign, minutes / 60);
  return fmt::format("GMT{}{}:{:02}", sign, minutes / 60, minutes % 60);
}

std::string document(const Question& question) {
  constexpr std::size_t toTheMinute = 16;
  std::string units = R"("time":"iso8601")";
  std::string hourly;
  for (std::int64_t hour = 0; hour < question.hours; ++hour)
    hourly += fmt::format("{}\"{}\"", hour > 0 ? "," : "",
                          instantText(question.begin + hour * kHour).substr(0, toTheMinute));
  hourly = "\"time\":[" + hourly + "]";
  for (const OpenMeteoVariable* variable : question.variables) {
    units += fmt::format(R"(,"{}":"{}")", variable->name, variable->unitText(question.units));
    hourly += fmt::format(R"(,"{}":[{}])", variable->name, series(question, *variable));
  }
  // How long it took is no figure that could be the same again; the number of values stands in for it.
  const double took =
      static_cast<double>(question.hours) * static_cast<double>(question.variables.size()) / 1024;
  return fmt::format(
      R"({{"latitude":{},"longitude":{},"generationtime_ms":{},"utc_offset_seconds":{},"timezone":"{}",)"
      R"("timezone_abbreviation":"{}","elevation":0.0,"hourly_units":{{{}}},"hourly":{{{}}}}})",
      question.latitude, question.longitude, took, question.offset, escapedJson(question.zone),
      abbreviation(question.offset), units, hourly);
}

}  // namespace

OpenMeteoService::OpenMeteoService(std::function<std::int64_t()> now) : _now(std::move(now)) {}

std::vector<std::string> OpenMeteoService::prefixes() const {
  return {"/v1/marine", "/v1/forecast"};
}

ServiceAnswer OpenMeteoService::answer(const ServiceRequest& request) const {
  Question question;
  question.api = request.path.substr(std::string_view("/v1/").size());
  if (question.api != "marine" && question.api != "forecast")
    return json(R"({"error":true,"reason":"Not Found"})", 404);
  question.units = {request.argument("length_unit").value_or("metric"),
                    request.argument("wind_speed_unit").value_or("kmh")};
  std::string reason = readPlace(request, question);
  if (reason.empty()) reason = readTimes(request, _now(), question);
  if (reason.empty()) reason = readVariables(request, question);
  if (reason.empty() && !question.units.known())
    reason = "Cannot initialize a unit from invalid String value";
  if (!reason.empty())
    return json(fmt::format(R"({{"error":true,"reason":"{}"}})", escapedJson(reason)), 400);
  return json(document(question));
}

}  // namespace marlune::services
