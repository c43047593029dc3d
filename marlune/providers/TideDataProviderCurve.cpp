#include <utility>

#include "marlune/providers/TideDataProvider.h"

// The curve section of the provider: the published names of what TideCurve.h does.

namespace marlune {

std::optional<TideEvent> TideDataProvider::previousEventImmediatelyBeforeTimestamp(
    double t, const Events& events) const {
  return curve::previousEventBefore(t, events);
}

std::int64_t TideDataProvider::nextEventTimestampImmediatelyAfterTimestamp(double t,
                                                                           const Events& events) const {
  return curve::nextTimestampAfter(t, events);
}

std::optional<TideEvent> TideDataProvider::nextEventAfterTimestamp(double t, const Events& events) const {
  return curve::nextEventAfter(t, events);
}

TideDataProvider::Events TideDataProvider::interopolateTideLevelsBetweenStartEvent(
    const TideEvent& startEvent, const TideEvent& endEvent, std::int64_t interval) const {
  return curve::levelsBetween(startEvent, endEvent, interval);
}

std::optional<curve::CurvePoints> TideDataProvider::interopolateTideLevelsWithEvents(
    const Events& events, std::int64_t interval, std::string stationName) const {
  return curve::pointsByDate(events, interval, std::make_shared<const std::string>(std::move(stationName)));
}

std::optional<std::vector<curve::CurvePoint>> TideDataProvider::orderedTideLevelsWithEvents(
    const Events& events, std::int64_t interval, std::string stationName, Date afterTime,
    std::int64_t maxCount) const {
  return curve::orderedPoints(events, interval, std::make_shared<const std::string>(std::move(stationName)),
                              afterTime, maxCount);
}

double TideDataProvider::interopolateTideLevel(const Events& events, double timestamp) const {
  return curve::levelAt(events, timestamp);
}

std::optional<std::vector<Date>> TideDataProvider::getOccurancesOfReferenceTideLevel(
    double level, const Events& events) const {
  return curve::crossings(level, events);
}

bool TideDataProvider::checkTideLevel(double level, const TideEvent& a, const TideEvent& b) const {
  return curve::levelOccursBetween(level, a, b);
}

}  // namespace marlune
