#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "marlune/providers/PendingOperations.h"
#include "marlune/providers/TideDataProvider.h"
#include "marlune/providers/YearDownloads.h"

namespace marlune {

/// What a month request carries.
struct TideDataProvider::MonthRequest {
  std::string fileName;
  StationPtr station;
  std::int64_t year = 0;
  int month = 0;
  Date date;
  std::shared_ptr<PendingOperations::Mark> mark;
  bool notify = false;
  YearDownloads::Moment looked = {};  // when the disk did not have the year
};

/// What a refresh carries.
struct TideDataProvider::RefreshRequest {
  StationPtr station;
  std::shared_ptr<PendingOperations::Mark> mark;
  Date now;  // when it began
};

}  // namespace marlune
