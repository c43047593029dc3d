#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Data.h"
#include "marlune/platform/FileAccess.h"
#include "marlune/tides/TideStation.h"

namespace marlune {

/// The files of the favourites in the shared container: what their bytes mean, and how they are replaced. See
/// docs/formats.md. Keeps no state: safe from any thread and beside other processes.
class FavoriteFiles {
 public:
  using Ids = std::vector<std::string>;
  using Stations = std::vector<std::shared_ptr<TideStation>>;

  static constexpr std::string_view listName = "favorites.plist";
  static constexpr std::string_view archiveName = "favorites_global.archive";
  static constexpr std::string_view compareName = "chartcompare.plist";

  explicit FavoriteFiles(std::shared_ptr<FileAccess> files);

  /// The texts of a list, in its order; nothing when the bytes are no property list of an array. What is no
  /// text is passed over.
  static std::optional<Ids> idsIn(const Data& bytes);
  /// Nothing when an id is not UTF-8 or they are too much for a property list.
  static std::optional<Bytes> listOf(const Ids& ids);

  /// The worldwide points of an archive that have an id; nothing when the bytes are no archive of a list.
  static std::optional<Stations> globalsIn(const Data& bytes);
  static std::optional<Bytes> archiveOf(const Stations& stations);

  /// A file of the container at one moment.
  struct Seen {
    std::optional<FileIdentity> state;  ///< nothing: no file
    Data bytes;                         ///< null: no file, or it cannot be read
  };
  Seen look(std::string_view name) const;
  Data read(std::string_view name) const { return look(name).bytes; }

  /// The list that is to be loaded: the container's, else an older one among the documents, which then moves
  /// into the container. Nothing without a readable one.
  std::optional<Ids> listToLoad() const;
  /// The older list, which stays where it is.
  std::optional<Ids> olderList() const;

  /// Held while the files are read, merged and written, so that saves of several processes take turns; empty
  /// where that is not to be had, and then update() alone keeps them apart as far as it can.
  FileSystem::Turn takeTurn() const;

  /// Makes a file's new content of what it holds, again and again until no other process changed it in
  /// between; when that does not end, as if none had. It is written flushed and whole. False when it was not,
  /// also when `contentFor` had nothing to write.
  bool update(std::string_view name,
              const std::function<std::optional<Bytes>(const Seen& seen)>& contentFor) const;
  /// Flushed and whole; what was there before does not matter.
  void replace(std::string_view name, const Bytes& bytes) const;
  void remove(std::string_view name) const;
  /// Keeps what a file held that cannot be read by us, before it is replaced, under its name and ".damaged".
  void keepDamaged(std::string_view name, const Seen& seen) const;

 private:
  const std::shared_ptr<FileAccess> files_;
};

}  // namespace marlune
