#include "marlune/ocean/source/SeriesDiskCache.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <deque>
#include <iterator>
#include <string>
#include <utility>

#include "marlune/formats/JsonReader.h"
#include "marlune/formats/JsonReaders.h"
#include "marlune/formats/JsonText.h"
#include "marlune/formats/Text.h"
#include "marlune/tasks/OwnedQueue.h"

namespace marlune {

namespace {

using simdjson::dom::element;
using simdjson::dom::object;

constexpr double longestKept = 2'592'000.0;  // seconds: 30 days
constexpr std::array<std::string_view, 4> sweptPrefixes = {"noaa_water_temperature_", "noaa_air_temperature_",
                                                           "noaa_wind_", "nws_wind_"};

/// Seconds since 1970 of a time in nanoseconds.
double secondsOfModification(const FileIdentity& identity) {
  constexpr std::int64_t second = 1'000'000'000;
  const std::int64_t whole = identity.modified / second;
  return static_cast<double>(whole) + static_cast<double>(identity.modified % second) * 1e-9;
}

bool readAttributes(element pairs, std::optional<TimeSeriesData::Attributes>& attributes) {
  object members;
  if (pairs.get(members) != simdjson::SUCCESS) return false;
  attributes.emplace();
  for (const auto& [name, held] : members) {
    const auto text = json::text(held);
    if (!text) return false;
    attributes->emplace_hint(attributes->end(), name, *text);
  }
  return true;
}

/// The samples of one file lie together: they come and go together, and many small blocks cost more than what
/// is in them.
using Samples = std::deque<TimeSeriesData>;

bool readSample(element entry, Samples& samples) {
  object members;
  if (entry.get(members) != simdjson::SUCCESS) return false;
  TimeSeriesData& sample = samples.emplace_back(Date(), 0.0);
  std::optional<double> date;
  std::optional<double> value;
  for (const auto& [key, member] : members) {
    if (key == "t") {
      date = json::number(member);
    } else if (key == "v") {
      value = json::number(member);
    } else if (key == "s" && !member.is_null()) {
      const auto text = json::text(member);
      if (!text) return false;
      sample.series.emplace(*text);
    } else if (key == "a" && !member.is_null()) {
      if (!readAttributes(member, sample.attributes)) return false;
    }
  }
  if (!date || !value) return false;
  sample.date = dateFromSeconds(*date);
  sample.value = *value;
  return true;
}

std::optional<TimeSeries> seriesOf(JsonReader& reader, std::string_view bytes) {
  const auto root = reader.read(bytes);
  simdjson::dom::array entries;
  if (!root || root->get(entries) != simdjson::SUCCESS) return std::nullopt;
  const auto samples = std::make_shared<Samples>();
  for (const element entry : entries) {
    if (!readSample(entry, *samples)) return std::nullopt;
  }
  TimeSeries series;
  series.reserve(samples->size());
  for (const TimeSeriesData& sample : *samples) series.emplace_back(samples, &sample);
  return series;
}

/// Nothing for what JSON cannot hold: a number that is none, a text that is no UTF-8.
std::optional<std::string> documentOf(const TimeSeries& samples) {
  std::string text = "[";
  for (const auto& sample : samples) {
    const double date = secondsOf(sample->date);
    if (!std::isfinite(date) || !std::isfinite(sample->value)) return std::nullopt;
    fmt::format_to(std::back_inserter(text), FMT_COMPILE("{}{{\"t\":{},\"v\":{}"), text.size() > 1 ? "," : "",
                   date, sample->value);
    // Without a fraction it would read back as the whole number, which has no sign.
    if (sample->value == 0.0 && std::signbit(sample->value)) text += ".0";
    if (sample->attributes && !sample->attributes->empty()) {
      text += ",\"a\":{";
      bool first = true;
      for (const auto& [name, value] : *sample->attributes) {
        if (!isUtf8(name) || !isUtf8(value)) return std::nullopt;
        if (!std::exchange(first, false)) text += ',';
        appendJsonText(text, name);
        text += ':';
        appendJsonText(text, value);
      }
      text += '}';
    }
    if (sample->series) {
      if (!isUtf8(*sample->series)) return std::nullopt;
      text += ",\"s\":";
      appendJsonText(text, *sample->series);
    }
    text += '}';
  }
  text += ']';
  return text;
}

/// Series lie directly in the container.
std::optional<std::string> pathOf(const std::optional<std::string>& folder, std::string_view name) {
  return name.find('/') == std::string_view::npos ? pathInside(folder, name) : std::nullopt;
}

bool isSwept(std::string_view name) {
  return std::any_of(sweptPrefixes.begin(), sweptPrefixes.end(),
                     [name](std::string_view prefix) { return name.starts_with(prefix); });
}

void sweep(const Host& host, const std::string& folder) {
  const double oldest = secondsOf(host.clock->now()) - longestKept;
  for (const std::string& name : host.files->list(folder).value_or(std::vector<std::string>())) {
    if (!isSwept(name)) continue;
    const auto path = pathInside(folder, name);
    const auto identity = path ? host.files->identity(*path) : std::nullopt;
    if (!identity || !(secondsOfModification(*identity) < oldest)) continue;
    if (!host.files->remove(*path)) host.log->line("Series cache: could not delete " + name);
  }
}

}  // namespace

struct SeriesDiskCache::State {
  explicit State(const Host& installed) : host(installed) {}

  /// Sweeps once, and only if the folder exists.
  void startSweep(const std::string& folder) {
    if (!host.files->exists(folder) || sweepStarted.exchange(true)) return;
    sweeping = std::make_unique<OwnedQueue>(host.executors->makeQueue("series-sweep", 1));
    sweeping->post([host = host, folder] { sweep(host, folder); });
  }

  const Host host;
  JsonReaders readers;
  std::atomic<bool> sweepStarted = false;
  std::unique_ptr<OwnedQueue> sweeping;  // set by the thread that starts the sweep
};

SeriesDiskCache::SeriesDiskCache(const Host& host) : state_(std::make_unique<State>(host)) {}

SeriesDiskCache::~SeriesDiskCache() {
  if (state_->sweeping) state_->sweeping->close();
}

std::optional<TimeSeries> SeriesDiskCache::load(std::string_view name, std::optional<double> maxAge) const {
  const Host& host = state_->host;
  const auto folder = host.folders->container(kGroupContainerName);
  if (folder && !state_->sweepStarted.load(std::memory_order_relaxed)) state_->startSweep(*folder);
  const auto path = pathOf(folder, name);
  if (!path) return std::nullopt;
  const auto reader = state_->readers.take();
  std::array<char, 8192> room;  // a day's series fits
  const auto isYoung = [&](const FileIdentity& file) {
    return !maxAge || !(secondsOf(host.clock->now()) - secondsOfModification(file) > *maxAge);
  };
  const auto size = host.files->readIntoIf(isYoung, *path, room);
  if (!size) return std::nullopt;
  if (*size <= room.size()) return seriesOf(*reader, {room.data(), *size});
  const auto bytes = host.files->read(*path);
  return bytes ? seriesOf(*reader, *bytes) : std::nullopt;
}

void SeriesDiskCache::save(const TimeSeries& samples, std::string_view name) const {
  const Host& host = state_->host;
  const auto folder = host.folders->container(kGroupContainerName);
  const auto path = pathOf(folder, name);
  const auto document = documentOf(samples);
  if (!path) {
    host.log->line(fmt::format("Series cache: there is no folder for {}", name));
  } else if (!document) {
    host.log->line(fmt::format("Series cache: {} has a number or a text that JSON cannot hold", name));
  } else if (!host.files->write(*folder, *path, *document, FileSystem::Durability::cache)) {
    host.log->line(fmt::format("Series cache: could not write {}", name));
  }
}

}  // namespace marlune
