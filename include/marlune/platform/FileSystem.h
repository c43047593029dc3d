#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Data.h"
#include "marlune/base/Export.h"

namespace marlune {

/// What tells one state of a file from another without reading it.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t size = 0;
  std::int64_t modified = 0;  ///< nanoseconds since 1970, as stored with the file
  std::int64_t changed = 0;   ///< nanoseconds since 1970, kept by the system, not settable
  /// The last change lies far enough back that a later one is sure to show in `changed`. While this is
  /// false, equal identities do not prove equal content.
  bool settled = false;

  /// Same file in the same state, as far as can be told; `settled` does not take part.
  bool sameAs(const FileIdentity& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           modified == other.modified && changed == other.changed;
  }
};

/// Does a path hold the same file in the same state, or none both times?
inline bool isSameState(const std::optional<FileIdentity>& a, const std::optional<FileIdentity>& b) {
  return a ? b && a->sameAs(*b) : !b;
}

/// Whole-file access by absolute path. Calls are safe from any thread and from several processes at once.
/// Nothing here logs or throws: what fails answers nothing or false.
class MARLUNE_API FileSystem {
 public:
  /// How durable a write must be.
  enum class Durability {
    cache,     ///< can be fetched again: atomic, not flushed
    userData,  ///< the user's own: flushed to the disk before it takes its name
  };

  virtual ~FileSystem() = default;

  /// The content of the regular file at `path`; nothing when it cannot be read whole or is larger than 64
  /// MiB.
  virtual std::optional<Bytes> read(const std::string& path) = 0;

  /// The same into room of the caller's, for small files that are read often: the size of the file, of which
  /// nothing is in `room` when it is larger than that.
  virtual std::optional<std::size_t> readInto(const std::string& path, std::span<char> room) {
    const auto bytes = read(path);
    if (!bytes) return std::nullopt;
    if (bytes->size() <= room.size()) std::copy(bytes->begin(), bytes->end(), room.begin());
    return bytes->size();
  }

  /// The same of a file in a state that is wanted; nothing for another, which is not read. What is asked
  /// about is what is read then, where the file system can hold on to it.
  virtual std::optional<std::size_t> readIntoIf(const std::function<bool(const FileIdentity&)>& isWanted,
                                                const std::string& path, std::span<char> room) {
    const auto state = identity(path);
    return state && isWanted(*state) ? readInto(path, room) : std::nullopt;
  }

  /// The identity of what lies at `path`, or nothing when nothing does.
  virtual std::optional<FileIdentity> identity(const std::string& path) = 0;

  /// Writes `bytes` to `path`, whole or not at all: beside it under a name of its own, then renamed over it.
  /// A reader, and a process killed at any moment, leaves or sees the old content or the new. The folder
  /// `folder`, which must hold `path`, is made if it is missing; deeper folders are not. Temporary files
  /// that killed processes left in it are swept at the first write into a folder.
  virtual bool write(const std::string& folder, const std::string& path, std::string_view bytes,
                     Durability durability) = 0;

  enum class Outcome { written, failed, changed };

  /// As write(), but leaves alone what is no longer in the state `expected` (nothing: no file), and says so.
  /// That is looked at last of all before the file takes its name. Who writes in the very moment between the
  /// two goes unseen: only a lock could keep it out, and a process that is suspended would go on holding it.
  virtual Outcome writeIfUnchanged(const std::string& folder, const std::string& path, std::string_view bytes,
                                   Durability durability, const std::optional<FileIdentity>& expected) {
    if (!isSameState(identity(path), expected)) return Outcome::changed;
    return write(folder, path, bytes, durability) ? Outcome::written : Outcome::failed;
  }

  /// Held, for moments, by who reads files of `folder`, changes what they say and writes them back, so that
  /// threads and processes that do so take turns. Nobody else is kept out. Empty where there are no turns, or
  /// when another has had its turn for a second, since it may be suspended: who asked then goes on without.
  using Turn = std::shared_ptr<void>;
  [[nodiscard]] virtual Turn takeTurn(const std::string& folder) {
    static_cast<void>(folder);
    return nullptr;
  }

  /// Removes the file at `path`; false when it could not, also when there is none.
  virtual bool remove(const std::string& path) = 0;

  /// Is there a file or folder at `path`?
  virtual bool exists(const std::string& path) = 0;

  /// Moves a file over whatever has the new name, also across file systems (then by an atomic write). A
  /// folder there goes with all that is in it, unless the file itself lies in it, and comes back where the
  /// move fails. `folder` as for `write`.
  virtual bool move(const std::string& from, const std::string& folder, const std::string& to) = 0;

  /// The names in `folder`, in no order and without ".", ".." and temporary files of writers; nothing when it
  /// cannot be listed.
  virtual std::optional<std::vector<std::string>> list(const std::string& folder) = 0;
};

}  // namespace marlune
