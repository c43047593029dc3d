#include "services/ForecastArchive.h"

#include <archive.h>
#include <archive_entry.h>

#include <memory>

namespace marlune::services {
namespace {

la_ssize_t append(archive*, void* to, const void* bytes, std::size_t count) {
  static_cast<std::string*>(to)->append(static_cast<const char*>(bytes), count);
  return static_cast<la_ssize_t>(count);
}

}  // namespace

std::optional<std::string> packedForecast(std::string_view document, Packing packing) {
  const char* level = packing == Packing::small ? "9" : "6";
  const std::unique_ptr<archive, decltype(&archive_write_free)> packer(archive_write_new(),
                                                                       archive_write_free);
  const std::unique_ptr<archive_entry, decltype(&archive_entry_free)> entry(archive_entry_new(),
                                                                            archive_entry_free);
  if (!packer || !entry) return std::nullopt;
  archive_entry_set_filetype(entry.get(), AE_IFREG);
  std::string packed;
  const bool opened =
      archive_write_set_format_raw(packer.get()) == ARCHIVE_OK &&
      archive_write_add_filter_gzip(packer.get()) == ARCHIVE_OK &&
      archive_write_set_filter_option(packer.get(), "gzip", "compression-level", level) == ARCHIVE_OK &&
      // The same document gives the same bytes whenever it is packed.
      archive_write_set_filter_option(packer.get(), "gzip", "timestamp", nullptr) == ARCHIVE_OK &&
      archive_write_set_bytes_in_last_block(packer.get(), 1) == ARCHIVE_OK &&
      archive_write_open(packer.get(), &packed, nullptr, append, nullptr) == ARCHIVE_OK;
  const auto size = static_cast<la_ssize_t>(document.size());
  if (!opened || archive_write_header(packer.get(), entry.get()) != ARCHIVE_OK ||
      archive_write_data(packer.get(), document.data(), document.size()) != size ||
      archive_write_close(packer.get()) != ARCHIVE_OK)
    return std::nullopt;
  return packed;
}

}  // namespace marlune::services
