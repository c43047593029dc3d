#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "marlune/base/Export.h"
#include "marlune/ocean/records/TimeSeriesData.h"
#include "marlune/platform/Host.h"

namespace marlune {

/// Keeps time series as files in the shared container of the application group, so that the application, its
/// widgets and a background refresh do not fetch the same observations twice. The form is in docs/formats.md.
/// Each operation touches only the file named, and a file is written whole or not at all. Safe from any
/// thread; the operations read and write the disk where they are called.
///
///     if (const auto samples = cache.load("noaa_wind_9413450_20250305.json", 1800)) use(*samples);
class MARLUNE_API SeriesDiskCache final {
 public:
  /// The cache of the process, over the installed host (see marlune.h).
  static SeriesDiskCache& shared();

  explicit SeriesDiskCache(const Host& host);
  /// Waits for a sweep that runs.
  ~SeriesDiskCache();
  SeriesDiskCache(const SeriesDiskCache&) = delete;
  SeriesDiskCache& operator=(const SeriesDiskCache&) = delete;

  /// The series in a file that is at most `maxAge` seconds old, by its modification time and the wall clock;
  /// of any age without one. Nothing for a file that is missing, older or no series. The first call that
  /// finds the container there also starts the sweep, in the background.
  std::optional<TimeSeries> load(std::string_view name, std::optional<double> maxAge) const;

  /// Writes the series, over a file of that name. What fails is logged.
  void save(const TimeSeries& samples, std::string_view name) const;

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

}  // namespace marlune
