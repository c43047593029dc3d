#pragma once

#include <memory>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/ocean/noaa/NOAACurrentsDataProvider.h"
#include "marlune/ocean/noaa/NOAATemperatureDataProvider.h"
#include "marlune/ocean/noaa/NOAAWindDataProvider.h"
#include "marlune/ocean/nws/NWSWindForecastProvider.h"
#include "marlune/ocean/openmeteo/OpenMeteoDataProvider.h"
#include "marlune/ocean/openmeteo/OpenMeteoWindProvider.h"
#include "marlune/ocean/records/OceanCurrentData.h"
#include "marlune/ocean/records/SwellData.h"
#include "marlune/ocean/records/WaterTempData.h"
#include "marlune/ocean/records/WindData.h"
#include "marlune/ocean/source/SeriesDiskCache.h"
#include "marlune/ocean/ukho/UKHOCurrentsDataProvider.h"
#include "marlune/platform/Host.h"
#include "marlune/tasks/Task.h"
#include "marlune/tasks/UniqueFunction.h"
#include "marlune/time/Date.h"
#include "marlune/time/TimeZone.h"

namespace marlune {

/// What the water is like at a place on a day: the one door to temperature, swell, wind and currents. The
/// region of the application decides which source may answer:
///
///     question                       "usa"                          "worldwide"     any other
///     water temperature              station, else marine forecast  marine forecast as worldwide
///     air temperature, observed wind station                        nothing         nothing
///     wind forecast of the weather
///     service                        gridpoint                      nothing         nothing
///     swell, wind                    forecast                       forecast        forecast
///     currents, their coverage       US stations                    UK stations     nothing
///
/// A place is a latitude and a longitude in degrees (finite, the latitude within 90); `timezone` is the zone
/// in whose calendar days are cut; `locationId` names the place in the application, and in the sources'
/// caches. What cannot be had is an empty pointer; why is in the log. Records are shared: nobody changes
/// them.
///
/// Every operation is a task, and has a form with a completion, which is called exactly once. Completions
/// run, and awaiting tasks resume, on background threads of the service's, up to four at a time and in no
/// fixed order: one that is slow delays no other, and four delay the fifth. None comes inside the call that
/// asks, except for a question asked while or after the service ends, which is answered there, with nothing.
/// Calls are safe from any thread. Questions to different sources run side by side; equal ones share a
/// request.
///
/// A service made with the constructor may be destroyed while questions are open, also by a completion, but
/// not while another thread calls it. Each question is then answered with nothing before the destructor
/// returns, except a completion that destroys the service, which ends after that, and a question to a wind
/// provider that others hold too, which is answered when that provider is done.
///
///     auto swell = co_await OceanDataServiceProvider::shared().getDailySwellData(
///         36.95, -122.02, now, zone, "398997177");  // in a Task
///     OceanDataServiceProvider::shared().getDailyWindDataFor(36.95, -122.02, now, zone, "398997177",
///                                                            [](auto wind) { ... });
class MARLUNE_API OceanDataServiceProvider final {
 public:
  template <class Record>
  using Answer = std::shared_ptr<const Record>;
  template <class Record>
  using Completion = UniqueFunction<void(Answer<Record>)>;

  /// The service of the process, over the installed host (see marlune.h).
  static OceanDataServiceProvider& shared();

  /// Services that are made with the same wind source share what it remembers; a question that waits for one
  /// that others hold too is answered, with nothing, when that source has answered or ends.
  OceanDataServiceProvider(const Host& host, const std::shared_ptr<SeriesDiskCache>& diskCache,
                           std::shared_ptr<OpenMeteoWindProvider> windForecast);
  ~OceanDataServiceProvider();
  OceanDataServiceProvider(const OceanDataServiceProvider&) = delete;
  OceanDataServiceProvider& operator=(const OceanDataServiceProvider&) = delete;

  // --- Temperature, degrees Celsius ---

  /// The one sample of water temperature nearest to `time`, if it lies within an hour and a half.
  Task<Answer<WaterTempData>> getTemperatureDataAtTime(double lat, double lng, Date time, TimeZone timezone,
                                                       std::string locationId);
  void getTemperatureDataAtTimeFor(double lat, double lng, Date time, TimeZone timezone,
                                   std::string locationId, Completion<WaterTempData> completionHandler);
  /// Water temperature of the day that contains `date`.
  Task<Answer<WaterTempData>> getDailyTemperatureData(double lat, double lng, Date date, TimeZone timezone,
                                                      std::string locationId);
  void getDailyTemperatureDataFor(double lat, double lng, Date date, TimeZone timezone,
                                  std::string locationId, Completion<WaterTempData> completionHandler);
  /// The same of the air, as observed.
  Task<Answer<WaterTempData>> getDailyObservedAirTemperatureData(double lat, double lng, Date date,
                                                                 TimeZone timezone, std::string locationId);
  void getDailyObservedAirTemperatureDataFor(double lat, double lng, Date date, TimeZone timezone,
                                             std::string locationId,
                                             Completion<WaterTempData> completionHandler);

  // --- Swell, heights in feet ---

  Task<Answer<SwellData>> getDailySwellData(double lat, double lng, Date date, TimeZone timezone,
                                            std::string locationId);
  void getDailySwellDataFor(double lat, double lng, Date date, TimeZone timezone, std::string locationId,
                            Completion<SwellData> completionHandler);

  // --- Currents, knots ---

  /// From six hours before `date` to a day after it, whatever the zone. So `date` is where the day begins:
  /// pass its first instant in the place's zone, and a slack that began before midnight is there too.
  Task<Answer<OceanCurrentData>> getDailyOceanCurrentData(double lat, double lng, Date date,
                                                          TimeZone timezone, std::string locationId);
  void getDailyOceanCurrentDataFor(double lat, double lng, Date date, TimeZone timezone,
                                   std::string locationId, Completion<OceanCurrentData> completionHandler);
  Task<Answer<OceanCurrentData>> getOceanCurrentData(double lat, double lng, Date from, Date to,
                                                     TimeZone timezone, std::string locationId);
  void getOceanCurrentDataFor(double lat, double lng, Date from, Date to, TimeZone timezone,
                              std::string locationId, Completion<OceanCurrentData> completionHandler);
  /// Is there a station of currents near enough?
  Task<bool> hasCurrentsCoverage(double lat, double lng, std::string locationId);
  void hasCurrentsCoverageFor(double lat, double lng, std::string locationId,
                              UniqueFunction<void(bool)> completionHandler);

  // --- Wind ---

  /// The forecast that covers the whole world, in miles per hour.
  Task<Answer<WindData>> getDailyWindData(double lat, double lng, Date date, TimeZone timezone,
                                          std::string locationId);
  void getDailyWindDataFor(double lat, double lng, Date date, TimeZone timezone, std::string locationId,
                           Completion<WindData> completionHandler);
  /// As a station observed it, in knots.
  Task<Answer<WindData>> getDailyObservedWindData(double lat, double lng, Date date, TimeZone timezone,
                                                  std::string locationId);
  void getDailyObservedWindDataFor(double lat, double lng, Date date, TimeZone timezone,
                                   std::string locationId, Completion<WindData> completionHandler);
  /// The weather service's forecast of the gridpoint, in knots.
  Task<Answer<WindData>> getDailyForecastWindData(double lat, double lng, Date date, TimeZone timezone,
                                                  std::string locationId);
  void getDailyForecastWindDataFor(double lat, double lng, Date date, TimeZone timezone,
                                   std::string locationId, Completion<WindData> completionHandler);

  // --- The sources behind the questions, each with operations of its own ---

  // They are made with the service, whatever the region, and end with it.
  OpenMeteoDataProvider& service() const;  ///< marine forecast; its currents answer no question above
  NOAACurrentsDataProvider& noaaCurrents() const;
  UKHOCurrentsDataProvider& ukhoCurrents() const;
  NOAATemperatureDataProvider& noaaWaterTemp() const;
  NOAATemperatureDataProvider& noaaAirTemp() const;
  NOAAWindDataProvider& noaaWind() const;
  NWSWindForecastProvider& nwsWind() const;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune
