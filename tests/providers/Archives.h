#pragma once

#include <archive.h>
#include <archive_entry.h>

#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Data.h"

namespace marlune::testing {

/// One entry of an archive that a test makes.
struct ArchiveEntry {
  std::string name;
  Bytes content;
  unsigned type = AE_IFREG;
};

using ArchiveStep = int (*)(::archive*);

/// An archive in any form of the archive library, such as `archive_write_set_format_ustar` behind
/// `archive_write_add_filter_gzip`, which may be null.
inline Bytes archiveOf(ArchiveStep format, ArchiveStep filter, const std::vector<ArchiveEntry>& entries) {
  Bytes bytes(std::size_t{1} << 20, '\0');
  for (const ArchiveEntry& entry : entries) bytes.resize(bytes.size() + 2 * entry.content.size());
  std::size_t used = 0;
  ::archive* const writer = archive_write_new();
  format(writer);
  if (filter != nullptr) filter(writer);
  archive_write_set_bytes_in_last_block(writer, 1);
  archive_write_open_memory(writer, bytes.data(), bytes.size(), &used);
  for (const ArchiveEntry& entry : entries) {
    archive_entry* const head = archive_entry_new();
    archive_entry_set_pathname(head, entry.name.c_str());
    archive_entry_set_filetype(head, entry.type);
    archive_entry_set_perm(head, 0644);
    archive_entry_set_size(head, static_cast<la_int64_t>(entry.content.size()));
    archive_write_header(writer, head);
    archive_write_data(writer, entry.content.data(), entry.content.size());
    archive_entry_free(head);
  }
  archive_write_close(writer);
  archive_write_free(writer);
  bytes.resize(used);
  return bytes;
}

}  // namespace marlune::testing
