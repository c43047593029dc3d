#pragma once

#include <memory>
#include <optional>
#include <string>

#include "cli/Answer.h"
#include "marlune/ocean/records/OceanCurrentData.h"
#include "marlune/ocean/records/SwellData.h"
#include "marlune/ocean/records/TimeSeriesData.h"
#include "marlune/ocean/records/WaterTempData.h"
#include "marlune/ocean/records/WindData.h"
#include "marlune/time/TimeZone.h"

/// The records of ocean conditions in both forms of an answer. People read times in `zone`; a record that is
/// not there is null, and people then read `absent`.
namespace marlune::cli {

Answer answerOf(const std::shared_ptr<const WaterTempData>& record, const TimeZone& zone,
                const std::string& absent);
Answer answerOf(const std::shared_ptr<const SwellData>& record, const TimeZone& zone,
                const std::string& absent);
Answer answerOf(const std::shared_ptr<const WindData>& record, const TimeZone& zone,
                const std::string& absent);
/// The record itself does not say the unit of its speeds.
Answer answerOf(const std::shared_ptr<const OceanCurrentData>& record, const TimeZone& zone,
                const std::string& absent, const std::string& speedUnit);
Answer answerOf(std::optional<TimeSeries> samples, const TimeZone& zone, const std::string& absent);

}  // namespace marlune::cli
