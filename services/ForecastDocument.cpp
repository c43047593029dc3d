#include "services/ForecastDocument.h"

#include <cmath>
#include <iterator>

#include <cctz/civil_time.h>
#include <cctz/time_zone.h>
#include <fmt/compile.h>
#include <fmt/format.h>

#include "services/MoonPhases.h"
#include "services/XmlText.h"

namespace marlune::services {
namespace {

constexpr std::int64_t kMinute = 60;

cctz::time_point<cctz::seconds> instant(std::int64_t time) {
  return cctz::time_point<cctz::seconds>(cctz::seconds(time));
}

std::string civilText(const cctz::civil_second& at) {
  return fmt::format(FMT_COMPILE("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}"), at.year(), at.month(), at.day(),
                     at.hour(), at.minute(), at.second());
}

std::string utcText(std::int64_t time) {
  return civilText(cctz::civil_second(1970, 1, 1) + time) + "Z";
}

std::string localText(std::int64_t time, const cctz::time_zone& zone) {
  const auto local = zone.lookup(instant(time));
  const int minutes = local.offset / 60;
  return fmt::format(FMT_COMPILE("{}{}{:02}:{:02}"), civilText(local.cs), minutes < 0 ? '-' : '+',
                     std::abs(minutes) / 60, std::abs(minutes) % 60);
}

// The first second of a day, also where it begins after a clock change.
std::int64_t startOf(const cctz::civil_day& day, const cctz::time_zone& zone) {
  return cctz::convert(cctz::civil_second(day), zone).time_since_epoch().count();
}

const char* phaseText(MoonPhase::Kind kind) {
  switch (kind) {
    case MoonPhase::Kind::newMoon:
      return "0";
    case MoonPhase::Kind::firstQuarter:
      return "-0.5";
    case MoonPhase::Kind::fullMoon:
      return "1";
    case MoonPhase::Kind::lastQuarter:
      break;
  }
  return "0.5";
}

/// Writes one document; the parts in the order in which they stand.
class ForecastWriter {
 public:
  ForecastWriter(const Port& port, int year, const cctz::time_zone& zone)
      : _port(port),
        _year(year),
        _zone(zone),
        _begin(startOf(cctz::civil_day(year, 1, 1), zone)),
        _end(startOf(cctz::civil_day(year + 1, 1, 1), zone)) {}

  std::string write(const RegionalPorts::Tides& tides) {
    head(tides.notice);
    yearPeriod(tides.datum);
    const auto phases = moonPhases(_begin, _end);
    auto phase = phases.begin();
    auto tide = tides.extremes.begin();
    int index = 0;
    for (cctz::civil_day day(_year, 1, 1); day.year() == _year; ++day) {
      const std::int64_t end = startOf(day + 1, _zone);
      openPeriod(++index, startOf(day, _zone), end);
      for (; phase != phases.end() && phase->time < end; ++phase)
        put("            <element type=\"moon_phase\">{}</element>\n", phaseText(phase->kind));
      for (int sequence = 1; tide != tides.extremes.end() && minuteOf(*tide) < end; ++tide)
        element(*tide, sequence++);
      _out += "         </forecast-period>\n";
    }
    _out += "      </area>\n   </forecast>\n</product>\n";
    return std::move(_out);
  }

  static std::int64_t minuteOf(const TideExtreme& extreme) {
    const std::int64_t later = extreme.time + kMinute / 2;
    return later - ((later % kMinute) + kMinute) % kMinute;
  }

 private:
  template <typename... Parts>
  void put(fmt::format_string<Parts...> form, Parts&&... parts) {
    fmt::format_to(std::back_inserter(_out), form, std::forward<Parts>(parts)...);
  }

  void head(std::string_view notice) {
    const std::string tz = escapedXml(_zone.lookup(instant(_begin)).abbr);
    // A fixed date, so that one year is the same bytes whenever it is made.
    const std::int64_t issued = startOf(cctz::civil_day(_year - 1, 3, 1), cctz::utc_time_zone());
    put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<product xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" version=\"1.4\">\n"
        "   <amoc>\n      <source>\n"
        "         <sender>Marlune local services</sender>\n"
        "         <region>Australia</region>\n"
        "         <office>None of the Bureau of Meteorology's</office>\n"
        "         <copyright>{}</copyright>\n"
        "         <disclaimer>Predicted by this project from openly licensed tidal constants. "
        "NOT FOR NAVIGATION.</disclaimer>\n      </source>\n",
        escapedXml(notice));
    put("      <identifier>{}</identifier>\n      <issue-time-utc>{}</issue-time-utc>\n"
        "      <issue-time-local tz=\"{}\">{}</issue-time-local>\n      <sent-time>{}</sent-time>\n",
        forecastProduct(_port.id), utcText(issued), tz, localText(issued, _zone), utcText(issued));
    put("      <validity-bgn-time-local tz=\"{}\">{}</validity-bgn-time-local>\n"
        "      <validity-end-time-local tz=\"{}\">{}</validity-end-time-local>\n",
        tz, localText(_begin, _zone), tz, localText(_end - 1, _zone));
    put("      <status>T</status>\n      <service>OCS</service>\n      <product-type>F</product-type>\n"
        "      <phase>NEW</phase>\n   </amoc>\n   <forecast>\n"
        "      <area aac=\"{}\" description=\"{}\" type=\"location\">\n",
        escapedXml(_port.id), escapedXml(_port.name));
  }

  void yearPeriod(std::string_view datum) {
    put("         <forecast-period start-time-local=\"{}\" end-time-local=\"{}\" start-time-utc=\"{}\" "
        "end-time-utc=\"{}\">\n            <element type=\"tide_forecast_datum\">{}</element>\n"
        "         </forecast-period>\n",
        localText(_begin, _zone), localText(_end - 1, _zone), utcText(_begin), utcText(_end),
        escapedXml(datum));
  }

  void openPeriod(int index, std::int64_t begin, std::int64_t end) {
    put("         <forecast-period index=\"{}\" start-time-local=\"{}\" end-time-local=\"{}\" "
        "start-time-utc=\"{}\" end-time-utc=\"{}\">\n",
        index, localText(begin, _zone), localText(end - 1, _zone), utcText(begin), utcText(end - kMinute));
  }

  void element(const TideExtreme& extreme, int sequence) {
    const std::int64_t time = minuteOf(extreme);
    // Rounded here, so that what rounds to zero has no sign.
    const double level = static_cast<double>(std::llround(extreme.level * 100)) / 100;
    put("            <element type=\"tide_forecast\" instance=\"{}\" sequence=\"{}\" time-local=\"{}\" "
        "time-utc=\"{}\" units=\"metres\">{:.2f}</element>\n",
        extreme.high ? "high" : "low", sequence, localText(time, _zone), utcText(time), level);
  }

  const Port& _port;
  const int _year;
  const cctz::time_zone _zone;
  const std::int64_t _begin;
  const std::int64_t _end;
  std::string _out;
};

}  // namespace

std::string_view forecastProduct(std::string_view portId) {
  return portId == "QLD_TS001" || portId == "VIC_TS001" ? "IDO59002" : "IDO59001";
}

std::optional<std::string> forecastDocument(const RegionalPorts& ports, const Port& port, int year) {
  cctz::time_zone zone;
  if (!cctz::load_time_zone(port.zone, &zone)) return std::nullopt;
  // Half a minute earlier: an extreme belongs to the year that its minute lies in.
  const auto tides = ports.tides(port, startOf(cctz::civil_day(year, 1, 1), zone) - kMinute / 2,
                                 startOf(cctz::civil_day(year + 1, 1, 1), zone) - kMinute / 2);
  if (!tides) return std::nullopt;
  return ForecastWriter(port, year, zone).write(*tides);
}

}  // namespace marlune::services
