#pragma once

namespace marlune {

/// Names of the notifications that a provider posts, with their user information.
namespace notifications {
inline constexpr const char* fetchBegun = "TideData_FetchHighLowTideBegun";  ///< none
inline constexpr const char* fetchCompleted =
    "TideData_FetchHighLowTideCompleted";                                         ///< "tidestation", "date"
inline constexpr const char* fetchError = "TideData_FetchHighLowTideError";       ///< "tidestation", "date"
inline constexpr const char* refreshFailed = "kMainModelTideDataDownloadFailed";  ///< "error": std::string
inline constexpr const char* downloaded = "downloadedTideData";  ///< "filename", "duration": double, s
inline constexpr const char* downloadFailed =
    "downloadTideDataFailed";  ///< "filename", "duration": double, s
inline constexpr const char* globalPointsLoaded = "TideData_GlobalTidePointsLoaded";  ///< none
}  // namespace notifications

}  // namespace marlune
