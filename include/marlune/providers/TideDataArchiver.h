#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "marlune/base/Data.h"
#include "marlune/base/Export.h"
#include "marlune/platform/FileSystem.h"

namespace marlune {

/// Packs the XML document of a station's year into an archive and takes it out again. Keeps no state: safe
/// from any thread.
///
///     TideDataArchiver archiver(host.files);
///     if (auto xml = archiver.unarchiveFile("/.../2024VIC_TP002.archive")) parse(*xml);
class MARLUNE_API TideDataArchiver {
 public:
  /// Larger documents and archives are none, however well they are packed.
  static constexpr std::size_t maximumSize = std::size_t{16} << 20;
  /// An archive with more entries than this, folders included, is none.
  static constexpr int maximumEntries = 64;

  explicit TideDataArchiver(std::shared_ptr<FileSystem> files) : files_(std::move(files)) {}

  /// The document in the archive at an absolute path, as unarchive() gives it; an empty pointer when there is
  /// no such file too.
  Data unarchiveFile(const std::string& path) const;

  /// The document in an archive: gzip, xz or zstd around the document itself or around a tar, a plain tar, or
  /// a zip. Of several files it is the first whose name ends in ".xml", or the only one. Nothing for what is
  /// none of these, is cut or damaged (save inside zstd without a checksum), or holds something that does not
  /// begin as XML does; nor for a document that is not packed at all, as the error pages of a server are not.
  /// Names in an archive lead nowhere.
  static std::optional<Bytes> unarchive(std::string_view archive);

  /// An archive that holds `xml`: one frame of zstd with a checksum, which tells a damaged one. The same
  /// document gives the same bytes. Nothing for what unarchive() would not give back.
  static std::optional<Bytes> archive(std::string_view xml);

 private:
  const std::shared_ptr<FileSystem> files_;
};

}  // namespace marlune
