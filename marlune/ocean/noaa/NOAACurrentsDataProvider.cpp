#include "marlune/ocean/noaa/NOAACurrentsDataProvider.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "marlune/formats/Text.h"
#include "marlune/ocean/noaa/CurrentStation.h"
#include "marlune/ocean/noaa/CurrentsOfDays.h"
#include "marlune/ocean/source/BothOf.h"
#include "marlune/ocean/source/GroupFiles.h"
#include "marlune/ocean/source/NearestStationMemo.h"
#include "marlune/ocean/source/OceanSource.h"
#include "marlune/time/Calendar.h"

namespace marlune {

namespace {

using Answer = NOAACurrentsDataProvider::Answer;
using Station = std::shared_ptr<const CurrentStation>;

constexpr std::string_view defaultBaseURL = "https://coops.marlune.example";
constexpr std::string_view stationFile = "current_stations_usa.json";

enum class Product { series, maxSlack };

/// Days in UTC by their first instants, both included.
struct DayRange {
  std::int64_t first = 0;
  std::int64_t last = 0;

  bool holds(std::int64_t instant) const { return instant >= first && instant < last + CurrentsPeriod::day; }
  bool operator==(const DayRange&) const = default;
};

DayRange monthOf(std::int64_t instant) {
  const CivilTime civil = TimeZone().civil(instant);
  const std::int64_t first = TimeZone().instant({civil.year, civil.month, 1});
  return {first, first + (daysInMonth(civil.month, civil.year) - 1) * CurrentsPeriod::day};
}

bool isMonth(const DayRange& days) {
  return days == monthOf(days.first);
}

std::vector<DayRange> monthsOf(const DayRange& days) {
  std::vector<DayRange> months;
  for (DayRange month = monthOf(days.first); month.first <= days.last;
       month = monthOf(month.last + CurrentsPeriod::day)) {
    months.push_back(month);
  }
  return months;
}

std::string monthName(const DayRange& month) {
  return ocean_times::utcDay(month.first).substr(0, 6);
}

std::string dayFileName(const CurrentStation& station, std::int64_t day) {
  return fmt::format(FMT_COMPILE("noaa_currents_{}_{}_{}.json"), station.id, station.bin,
                     ocean_times::utcDay(day));
}

std::string slackFileName(const CurrentStation& station, const DayRange& month) {
  return fmt::format(FMT_COMPILE("noaa_slack_{}_{}_{}.json"), station.id, station.bin, monthName(month));
}

NearestStationMemo<CurrentStation>::Stations loadStations(const Host& host) {
  const auto bytes = host.resources->read(stationFile);
  auto reading = bytes ? CurrentStation::readList(*bytes)
                       : CurrentStation::Reading{{}, fmt::format("there is no {}", stationFile)};
  if (reading.error) host.log->line("Error loading current stations: " + *reading.error);
  return std::move(reading.stations);
}

/// What the days of some questions give, and the answer to the last of them, which often comes again.
class Processed {
 public:
  explicit Processed(CurrentsOfDays days) : days_(std::move(days)) {}

  bool empty() const { return days_.empty(); }

  Answer answerTo(const CurrentsPeriod& period, double lat, double lng) {
    const bool isKnown = last_ && period == lastPeriod_ && last_->latitude == lat && last_->longitude == lng;
    if (isKnown) return last_;
    lastPeriod_ = period;
    return last_ = days_.within(period, lat, lng);
  }

 private:
  const CurrentsOfDays days_;
  CurrentsPeriod lastPeriod_;
  Answer last_;
};

}  // namespace

struct NOAACurrentsDataProvider::State : OceanSource {
  using ProcessedPointer = std::shared_ptr<Processed>;

  /// Empty when it failed; no rows where there was nothing to ask for.
  using Download = std::shared_ptr<const CurrentPredictions>;

  /// What the files tell of some days, and what they lack.
  struct Stored {
    CurrentPredictions points;
    CurrentPredictions maxSlack;
    std::set<std::int64_t> lackingDays;    // by their first instants
    std::set<std::int64_t> lackingMonths;  // as well
  };

  explicit State(const Host& sourceHost)
      : OceanSource(sourceHost, "noaa-currents"),
        baseURL(ocean::baseAddress(host.settings, host.settings.coopsBaseURL, defaultBaseURL)),
        files(host),
        stations([asked = host] { return loadStations(asked); }),
        requests(std::make_shared<JoinedRequests<ProcessedPointer>>(queue)),
        downloads(std::make_shared<JoinedRequests<Download>>(queue)) {}

  static Task<Station> nearestStation(std::shared_ptr<State> state, double lat, double lng,
                                      std::string locationId);
  static Task<Answer> currents(std::shared_ptr<State> state, double lat, double lng, Date from, Date to,
                               std::string locationId);
  /// What to answer questions about some days with. Remembered under the key when nothing failed.
  static Task<ProcessedPointer> load(std::shared_ptr<State> state, Station station, DayRange days,
                                     std::string key);
  static Task<Download> download(std::shared_ptr<State> state, Station station, std::optional<DayRange> days,
                                 Product product);
  static Task<Download> fetch(std::shared_ptr<State> state, Station station, DayRange days, Product product,
                              std::string url);
  /// Begins to fetch what the disk lacks of the months of some days.
  static void fetchMonths(const std::shared_ptr<State>& state, const Station& station, const DayRange& days,
                          const std::set<std::int64_t>& lackingMonths);
  static Task<void> fetchMonth(std::shared_ptr<State> state, Station station, DayRange month, bool lacksDays,
                               bool lacksList, std::string key);

  Stored stored(const CurrentStation& station, const DayRange& days);
  void storeDays(const CurrentStation& station, const CurrentPredictions& rows) const;

  const std::string baseURL;
  const GroupFiles files;
  NearestStationMemo<CurrentStation> stations;
  BoundedCache<ProcessedPointer> processedCacheByKey{maxOceanCacheItems};
  std::set<std::string> monthFetchInProgress;
  /// Months that came whole; where a day of one has no rows, asking again would not help.
  BoundedCache<bool> fetchedMonths{maxOceanCacheItems};
  const std::shared_ptr<JoinedRequests<ProcessedPointer>> requests;
  const std::shared_ptr<JoinedRequests<Download>> downloads;  // by address
};

namespace {

std::string urlOf(const std::string& baseURL, const CurrentStation& station, const DayRange& days,
                  Product product) {
  return fmt::format(
      FMT_COMPILE("{}/api/prod/datagetter?begin_date={}&end_date={}&station={}&product=currents_predictions"
                  "&time_zone=gmt&units=english&application=Korvantis&format=json&bin={}{}"),
      baseURL, ocean_times::utcDay(days.first), ocean_times::utcDay(days.last), station.id, station.bin,
      product == Product::maxSlack ? "&interval=MAX_SLACK" : "");
}

/// From the first to the last of some days.
std::optional<DayRange> rangeOf(const std::set<std::int64_t>& days) {
  return days.empty() ? std::nullopt : std::optional(DayRange{*days.begin(), *days.rbegin()});
}

/// From the first to the last of the days that lie in some months.
std::optional<DayRange> rangeOf(const std::set<std::int64_t>& months, const DayRange& days) {
  if (months.empty()) return std::nullopt;
  return DayRange{std::max(*months.begin(), days.first), std::min(monthOf(*months.rbegin()).last, days.last)};
}

template <class IsLacking>
void addLacking(CurrentPredictions& rows, const std::shared_ptr<const CurrentPredictions>& downloaded,
                IsLacking isLacking) {
  if (downloaded) {
    for (const auto& row : *downloaded) {
      if (isLacking(row.time)) rows.push_back(row);
    }
  }
  putInTimeOrder(rows, [](const CurrentPrediction& row) { return row.time; });
}

}  // namespace

Task<Station> NOAACurrentsDataProvider::State::nearestStation(std::shared_ptr<State> state, double lat,
                                                              double lng, std::string locationId) {
  co_await resumeOn(state->queue);
  co_return ocean::isPlace(lat, lng) ? state->stations.find(locationId, lat, lng) : nullptr;
}

Task<Answer> NOAACurrentsDataProvider::State::currents(std::shared_ptr<State> state, double lat, double lng,
                                                       Date from, Date to, std::string locationId) {
  co_await resumeOn(state->queue);
  if (!ocean::isPlace(lat, lng)) co_return nullptr;
  const Station station = state->stations.find(locationId, lat, lng);
  if (!station) {
    state->host.log->line(fmt::format("NOAA Currents: No station found within 50km of {}, {}",
                                      shortestDecimal(lat), shortestDecimal(lng)));
    co_return nullptr;
  }
  const auto period = CurrentsPeriod::of(from, to);
  if (!period) co_return nullptr;
  // Questions about the same days share what they give, from which each is answered with its own period.
  const DayRange days{period->firstDay(), period->lastDay()};
  const std::string key = fmt::format(FMT_COMPILE("{},{},{}-{}"), station->id, station->bin,
                                      ocean_times::utcDay(days.first), ocean_times::utcDay(days.last));
  if (const auto* known = state->processedCacheByKey.find(key)) {
    co_return (*known)->answerTo(*period, lat, lng);
  }
  auto asked = askTogether<ProcessedPointer>(
      state->requests, key, [state, station, days, key] { return load(state, station, days, key); });
  const ProcessedPointer processed = co_await std::move(asked);
  co_return processed ? processed->answerTo(*period, lat, lng) : nullptr;
}

Task<NOAACurrentsDataProvider::State::ProcessedPointer> NOAACurrentsDataProvider::State::load(
    std::shared_ptr<State> state, Station station, DayRange days, std::string key) {
  Stored stored = state->stored(*station, days);
  const auto listRange = rangeOf(stored.lackingMonths, days);
  auto both = bothOf(download(state, station, rangeOf(stored.lackingDays), Product::series),
                     download(state, station, listRange, Product::maxSlack));
  const auto [series, maxSlack] = co_await std::move(both);
  addLacking(stored.points, series,
             [&](std::int64_t time) { return stored.lackingDays.contains(CurrentsPeriod::dayOf(time)); });
  addLacking(stored.maxSlack, maxSlack,
             [&](std::int64_t time) { return stored.lackingMonths.contains(monthOf(time).first); });
  const bool isWhole = series && maxSlack;
  if (listRange && isMonth(*listRange)) stored.lackingMonths.clear();  // asking again would not help
  const auto processed = std::make_shared<Processed>(CurrentsOfDays(
      std::move(stored.points), stored.maxSlack, {days.first, days.last + CurrentsPeriod::day - 1}));
  if (isWhole) fetchMonths(state, station, days, stored.lackingMonths);
  if (isWhole && !processed->empty()) state->processedCacheByKey.store(key, processed);
  co_return processed;
}

NOAACurrentsDataProvider::State::Stored NOAACurrentsDataProvider::State::stored(const CurrentStation& station,
                                                                                const DayRange& days) {
  Stored found;
  for (std::int64_t day = days.first; day <= days.last; day += CurrentsPeriod::day) {
    const std::size_t before = found.points.size();
    const auto bytes = files.read(dayFileName(station, day));
    if (bytes) current_predictions::addFile(*bytes, readers, found.points);
    const auto added = found.points.begin() + static_cast<std::ptrdiff_t>(before);
    const auto isOther = [day](const CurrentPrediction& row) {
      return CurrentsPeriod::dayOf(row.time) != day;
    };
    found.points.erase(std::remove_if(added, found.points.end(), isOther), found.points.end());
    if (found.points.size() == before) found.lackingDays.insert(day);
  }
  for (const DayRange& month : monthsOf(days)) {
    const auto bytes = files.read(slackFileName(station, month));
    auto reading = bytes ? current_predictions::readAnswer(*bytes, readers) : current_predictions::Reading();
    bool isThere = false;
    for (auto& row : reading.rows) {
      if (!month.holds(row.time)) continue;
      found.maxSlack.push_back(std::move(row));
      isThere = true;
    }
    if (!isThere) found.lackingMonths.insert(month.first);
  }
  return found;
}

void NOAACurrentsDataProvider::State::storeDays(const CurrentStation& station,
                                                const CurrentPredictions& rows) const {
  const CurrentPrediction* const end = rows.data() + rows.size();
  for (const CurrentPrediction* begin = rows.data(); begin != end;) {
    const std::int64_t day = CurrentsPeriod::dayOf(begin->time);
    const CurrentPrediction* next = begin;
    while (next != end && CurrentsPeriod::dayOf(next->time) == day) ++next;
    files.write(dayFileName(station, day), current_predictions::fileOf(begin, next));
    begin = next;
  }
}

Task<NOAACurrentsDataProvider::State::Download> NOAACurrentsDataProvider::State::download(
    std::shared_ptr<State> state, Station station, std::optional<DayRange> days, Product product) {
  if (!days) co_return std::make_shared<const CurrentPredictions>();
  const std::string url = urlOf(state->baseURL, *station, *days, product);
  auto asked = askTogether<Download>(state->downloads, url, [state, station, range = *days, product, url] {
    return fetch(state, station, range, product, url);
  });
  co_return co_await std::move(asked);
}

Task<NOAACurrentsDataProvider::State::Download> NOAACurrentsDataProvider::State::fetch(
    std::shared_ptr<State> state, Station station, DayRange days, Product product, std::string url) {
  const HttpAnswer answer = co_await ocean::fetch(state->fetcher, url);
  std::string error = ocean::failureOf(answer);
  current_predictions::Reading reading;
  if (error.empty()) {
    reading = current_predictions::readAnswer(*answer.body, state->readers);
    error = reading.error.value_or(std::string());
  }
  if (!error.empty()) {
    state->host.log->line("Error fetching NOAA currents: " + error);
    co_return nullptr;
  }
  // Of a day beyond those asked for there may be a part only.
  std::erase_if(reading.rows, [&](const CurrentPrediction& row) { return !days.holds(row.time); });
  if (product == Product::series) {
    state->storeDays(*station, reading.rows);
  } else if (isMonth(days) && !reading.rows.empty()) {
    // Only so, whoever asked, that a list on the disk is always that of a whole month.
    state->files.write(slackFileName(*station, days), *answer.body);
  }
  co_return std::make_shared<const CurrentPredictions>(std::move(reading.rows));
}

void NOAACurrentsDataProvider::State::fetchMonths(const std::shared_ptr<State>& state, const Station& station,
                                                  const DayRange& days,
                                                  const std::set<std::int64_t>& lackingMonths) {
  for (const DayRange& month : monthsOf(days)) {
    const std::string name = monthName(month);
    const std::string key = fmt::format(FMT_COMPILE("{}_{}_{}"), station->id, station->bin, name);
    if (state->monthFetchInProgress.contains(key) || state->fetchedMonths.find(key) != nullptr) continue;
    bool lacksDays = false;
    for (std::int64_t day = month.first; day <= month.last && !lacksDays; day += CurrentsPeriod::day) {
      lacksDays = !state->files.exists(dayFileName(*station, day));
    }
    const bool lacksList = lackingMonths.contains(month.first);
    if (!lacksDays && !lacksList) continue;
    const CivilTime civil = TimeZone().civil(month.first);
    state->host.log->line(fmt::format("NOAA Currents: Background fetch {}-{:02} for station {}", civil.year,
                                      civil.month, station->id));
    state->monthFetchInProgress.insert(key);
    start(fetchMonth(state, station, month, lacksDays, lacksList, key), [] {});
  }
}

Task<void> NOAACurrentsDataProvider::State::fetchMonth(std::shared_ptr<State> state, Station station,
                                                       DayRange month, bool lacksDays, bool lacksList,
                                                       std::string key) {
  co_await resumeOn(state->queue);  // behind the answers to those who wait
  const auto range = [month](bool isLacking) { return isLacking ? std::optional(month) : std::nullopt; };
  auto both = bothOf(download(state, station, range(lacksDays), Product::series),
                     download(state, station, range(lacksList), Product::maxSlack));
  const auto [series, maxSlack] = co_await std::move(both);
  if (series && maxSlack) state->fetchedMonths.store(key, true);
  state->monthFetchInProgress.erase(key);
}

NOAACurrentsDataProvider::NOAACurrentsDataProvider(const Host& host)
    : state_(std::make_shared<State>(host)) {}

NOAACurrentsDataProvider::~NOAACurrentsDataProvider() {
  state_->close();
}

Task<Answer> NOAACurrentsDataProvider::getDailyOceanCurrentData(double lat, double lng, Date date,
                                                                TimeZone timezone, std::string locationId) {
  using Seconds = std::chrono::duration<double>;
  return getOceanCurrentData(lat, lng, date - Seconds(21'600), date + Seconds(86'400), timezone,
                             std::move(locationId));
}

Task<Answer> NOAACurrentsDataProvider::getOceanCurrentData(double lat, double lng, Date from, Date to,
                                                           TimeZone, std::string locationId) {
  return inOwnChain(State::currents(state_, lat, lng, from, to, std::move(locationId)));
}

Task<Station> NOAACurrentsDataProvider::nearestStation(double lat, double lng, std::string locationId) {
  return inOwnChain(State::nearestStation(state_, lat, lng, std::move(locationId)));
}

}  // namespace marlune
