#include "marlune/providers/TideDataArchiver.h"

#include <archive.h>
#include <archive_entry.h>
#include <zstd.h>

#include <algorithm>
#include <utility>

#include "marlune/providers/Unpacking.h"

namespace marlune {

namespace {

struct ReaderFree {
  void operator()(::archive* reader) const { archive_read_free(reader); }
};
using Reader = std::unique_ptr<::archive, ReaderFree>;

// Forecasts are packed to about a twentieth.
constexpr std::size_t foreseenRatio = 24;

// The first bytes of xz. No other filter of the archive library is let in: filters within filters could
// multiply the work of reading a few bytes without any of it showing in the output.
constexpr std::string_view xzMagic(
    "\xFD"
    "7zXZ\0",
    6);

// After a byte-order mark and blanks comes a tag.
bool beginsAsXml(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
    const std::size_t low = text.starts_with("\xFF\xFE") ? 2 : 3;
    for (std::size_t at = 2; at + 1 < text.size(); at += 2) {
      const char character = text[at - 2 + low];
      if (text[at + 3 - low] != '\0') return false;
      if (blanks.find(character) == std::string_view::npos) return character == '<';
    }
    return false;
  }
  if (text.starts_with(utf8Mark)) text.remove_prefix(utf8Mark.size());
  const std::size_t first = text.find_first_not_of(blanks);
  return first != std::string_view::npos && text[first] == '<';
}

bool endsInXml(archive_entry* entry) {
  const char* name = archive_entry_pathname(entry);
  if (name == nullptr) name = archive_entry_pathname_utf8(entry);
  if (name == nullptr) return false;
  const std::string_view text(name);
  if (text.size() < 4) return false;
  std::string ending(text.substr(text.size() - 4));
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
  return ending == ".xml";
}

enum class Forms { all, tarOnly };

Reader open(std::string_view bytes, Forms forms) {
  Reader reader(archive_read_new());
  if (!reader) return nullptr;
  bool ready = archive_read_support_format_tar(reader.get()) == ARCHIVE_OK;
  if (forms == Forms::tarOnly) {
    // What is behind a filter already has no second one and is no zip.
  } else if (bytes.starts_with(xzMagic)) {
    // The bare form takes anything, so it is let in only behind a filter, which knows its own.
    ready = ready && archive_read_append_filter(reader.get(), ARCHIVE_FILTER_XZ) == ARCHIVE_OK &&
            archive_read_support_format_raw(reader.get()) == ARCHIVE_OK;
  } else {
    // By its directory, which stands at the end: half an archive has none.
    ready = ready && archive_read_support_format_zip_seekable(reader.get()) == ARCHIVE_OK;
  }
  ready = ready && archive_read_open_memory(reader.get(), bytes.data(), bytes.size()) == ARCHIVE_OK;
  if (!ready) return nullptr;
  return reader;
}

/// Takes files out of one archive, up to a number of bytes in all.
class Extraction {
 public:
  Extraction(Reader reader, std::size_t foreseen) : reader_(std::move(reader)), foreseen_(foreseen) {}

  /// Goes through to the end, so that what is cut or damaged anywhere shows.
  std::optional<Bytes> run() {
    bool isNamed = false;
    std::size_t files = 0;
    Bytes chosen;
    for (int entries = 0; entries <= TideDataArchiver::maximumEntries; ++entries) {
      archive_entry* entry = nullptr;
      const int result = archive_read_next_header(reader_.get(), &entry);
      if (result == ARCHIVE_EOF) {
        if (!isNamed && files != 1) return std::nullopt;
        return chosen;
      }
      // A warning is about a name that the locale cannot show.
      if (result != ARCHIVE_OK && result != ARCHIVE_WARN) return std::nullopt;
      auto content = read();
      if (!content) return std::nullopt;
      if (archive_entry_filetype(entry) != AE_IFREG || archive_entry_hardlink(entry) != nullptr) continue;
      ++files;
      const bool better = !isNamed && endsInXml(entry);
      if (better || (!isNamed && files == 1)) chosen = std::move(*content);
      isNamed = isNamed || better;
    }
    return std::nullopt;
  }

 private:
  std::optional<Bytes> read() {
    Bytes content;
    content.reserve(std::min(foreseen_, left_));
    for (;;) {
      const void* block = nullptr;
      std::size_t size = 0;
      la_int64_t offset = 0;
      const int result = archive_read_data_block(reader_.get(), &block, &size, &offset);
      if (result == ARCHIVE_EOF) return content;
      // No document has holes.
      if (result != ARCHIVE_OK || size > left_ || offset != static_cast<la_int64_t>(content.size()))
        return std::nullopt;
      content.append(static_cast<const char*>(block), size);
      left_ -= size;
    }
  }

  const Reader reader_;
  const std::size_t foreseen_;
  std::size_t left_ = TideDataArchiver::maximumSize;
};

}  // namespace

Data TideDataArchiver::unarchiveFile(const std::string& path) const {
  const auto bytes = files_->read(path);
  if (!bytes) return nullptr;
  auto document = unarchive(*bytes);
  return document ? makeData(std::move(*document)) : nullptr;
}

std::optional<Bytes> TideDataArchiver::unarchive(std::string_view archive) {
  if (archive.empty() || archive.size() > maximumSize) return std::nullopt;
  Forms forms = Forms::all;
  Bytes unpacked;
  const bool isGzip = unpacking::isGzip(archive);
  if (isGzip || unpacking::isZstd(archive)) {
    constexpr std::size_t ofTar = std::size_t{128} << 10;  // heads and padding around the documents
    constexpr std::size_t limit = maximumSize + ofTar;
    auto held = isGzip ? unpacking::gunzipped(archive, limit) : unpacking::unzstd(archive, limit);
    if (!held) return std::nullopt;
    if (beginsAsXml(*held)) return held->size() <= maximumSize ? std::move(held) : std::nullopt;
    unpacked = std::move(*held);
    archive = unpacked;
    forms = Forms::tarOnly;
  }
  Reader reader = open(archive, forms);
  if (!reader) return std::nullopt;
  auto document = Extraction(std::move(reader), archive.size() * foreseenRatio).run();
  if (!document || !beginsAsXml(*document)) return std::nullopt;
  return document;
}

std::optional<Bytes> TideDataArchiver::archive(std::string_view xml) {
  if (xml.size() > maximumSize || !beginsAsXml(xml)) return std::nullopt;
  const std::unique_ptr<ZSTD_CCtx, decltype(&ZSTD_freeCCtx)> context(ZSTD_createCCtx(), ZSTD_freeCCtx);
  if (!context) return std::nullopt;
  constexpr int level = 19;
  Bytes bytes(ZSTD_compressBound(xml.size()), '\0');
  // A single call, so the frame tells the size of the document.
  const bool ready =
      ZSTD_isError(ZSTD_CCtx_setParameter(context.get(), ZSTD_c_compressionLevel, level)) == 0 &&
      ZSTD_isError(ZSTD_CCtx_setParameter(context.get(), ZSTD_c_checksumFlag, 1)) == 0;
  const std::size_t size = ZSTD_compress2(context.get(), bytes.data(), bytes.size(), xml.data(), xml.size());
  if (!ready || ZSTD_isError(size) != 0) return std::nullopt;
  bytes.resize(size);
  return bytes;
}

}  // namespace marlune
