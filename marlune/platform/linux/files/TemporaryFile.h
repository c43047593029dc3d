#pragma once

#include <time.h>

#include <optional>
#include <string>
#include <string_view>

#include "marlune/platform/linux/files/WholeFile.h"

namespace marlune {

/// A file on its way to its name: lies in the folder of its destination under a name of its own, locked, and
/// is removed again unless it is renamed. For one thread.
class TemporaryFile {
 public:
  static constexpr std::string_view prefix = ".marlune-tmp-";

  enum class Outcome {
    done,
    failed,
    vanished,  ///< the temporary is gone: someone took it for an orphan, or the folder with it
  };

  /// Makes the file; after a failure operator bool is false and errno says why.
  explicit TemporaryFile(std::string_view folder);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  explicit operator bool() const { return static_cast<bool>(file_); }

  /// Fills the file; `modified` is its time of modification, else the time of writing.
  bool fill(std::string_view bytes, const std::optional<timespec>& modified, bool flush);

  /// Gives the file its name, over whatever file had it.
  Outcome rename(const std::string& path);

  /// Removes the temporary files in `folder` whose writers are gone.
  static void sweep(const std::string& folder);

 private:
  std::string path_;  // empty: nothing to remove
  FileDescriptor file_;
};

}  // namespace marlune
