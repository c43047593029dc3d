#include "marlune/ocean/TimeSeriesData.h"

#include "marlune/platform/Text.h"

namespace marlune {

std::string numberAttribute(double value) {
  return shortestDecimal(value == 0.0 ? 0.0 : value);
}

}  // namespace marlune
