#pragma once

#include <cstddef>

/// Thresholds that tell data from error pages and whole months from fragments. They differ from path to path,
/// and the differences are wanted.
namespace marlune::year_file_rules {

inline constexpr std::size_t bytesToKeepDownload = 2501;  ///< a year download, to be kept
inline constexpr std::size_t bytesToKeepArchive = 51;     ///< a download of a packed year, to be kept
inline constexpr std::size_t bytesOfStoredYear = 2500;    ///< a year file, to be parsed by a month request
inline constexpr std::size_t bytesOfRangeTransfer = 251;  ///< a range fetch's transfer, to be kept
inline constexpr std::size_t bytesOfFavorite = 51;        ///< a favourite's download, to be kept
inline constexpr std::size_t fewestBytes = 51;            ///< less than this is of use to nobody
inline constexpr std::size_t bytesToUseDownload = 51;     ///< what a download hands on, to be parsed

inline constexpr std::size_t eventsToUseMonth = 29;  ///< more than this: a month needs no second reading
inline constexpr std::size_t eventsCachedAbove =
    30;  ///< more than this: a month counts as cached for requests

}  // namespace marlune::year_file_rules
