#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "marlune/tides/TideStation.h"

namespace marlune {

/// The favourites in memory, and the reckoning by which a save brings them together with what other processes
/// wrote meanwhile. Knows no files and calls nobody. Safe from any thread; saves must follow one another.
///
///     const auto merge = table.merge({idsInFile, true});
///     if (write(merge.ids)) table.saved(merge); else table.notSaved(merge);
///
/// Three states of an id meet in a merge: in memory, in the file, and as the file was seen last. What this
/// process changed since then holds; for the rest an id new in the file was added elsewhere, and one gone
/// from it was removed elsewhere.
class FavoriteTable {
 public:
  using StationPtr = std::shared_ptr<TideStation>;
  using Ids = std::vector<std::string>;
  using Moment = std::uint64_t;  ///< between two changes of this process
  /// An id of the file with its station; without one, no station has that id.
  using Found = std::vector<std::pair<std::string, StationPtr>>;

  void add(const StationPtr& station);
  void remove(const std::string& stationId);
  bool contains(const std::string& stationId) const;
  /// In ascending order of their ids.
  std::vector<StationPtr> stations() const;
  /// Was anything added or removed since the last save?
  bool isDirty() const;
  Moment now() const;

  /// Adds what a load found. What was added or removed since the moment `since`, at which it began to read,
  /// is left alone; an older removal that was not saved is taken back. Ids without a station count as seen,
  /// so that the next save drops them, only where the catalogue is whole.
  void addLoaded(const Found& found, Moment since, bool isCatalogueWhole);

  struct InFile {
    Ids ids;
    bool isWhole = false;  ///< else the file cannot be read and an absent id tells nothing
  };
  struct Merge {
    Ids ids;                                    ///< what to write, ascending
    std::map<std::string, StationPtr> globals;  ///< the worldwide points of this process among them
    std::set<std::string> others;               ///< those of them that other processes added
    Ids gone;                                   ///< removed by other processes
    std::set<std::string> obsolete;  ///< what this process knew or removed, and is in `ids` no more
    Moment moment = 0;
  };
  Merge merge(const InFile& file) const;
  /// After merge.ids were written, or could not be. Neither leaves the table dirty, save for later changes;
  /// but what could not be written still counts as this process's change in the next merge.
  /// saved() tells whether it took favourites of this process out of the list.
  bool saved(const Merge& merge);
  void notSaved(const Merge& merge);
  /// Adds the stations that were found for merge.others. Tells whether any came in.
  bool addOthers(const Found& found, const Merge& merge);
  /// Tells what ids the archive holds.
  void sawArchive(std::set<std::string> ids);

 private:
  // Called with the mutex held.
  bool changedAfter(const std::string& stationId, Moment moment) const;

  mutable std::mutex mutex_;
  // Guarded by the mutex.
  std::map<std::string, StationPtr> favorites_;
  std::map<std::string, Moment> changes_;  // the last change of each id by this process
  std::set<std::string> seen_;             // in the file, as last read or written; without those of others
  std::set<std::string> archived_;         // in the archive, as last read or written
  Moment now_ = 0;
  Moment written_ = 0;  // changes up to here are in the file
  Moment clean_ = 0;    // changes up to here were in a save
};

}  // namespace marlune
