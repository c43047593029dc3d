#include "marlune/providers/TideDataArchiver.h"

#include <archive.h>
#include <archive_entry.h>
#include <zlib.h>

#include <algorithm>
#include <utility>

namespace marlune {

namespace {

struct ReaderFree {
  void operator()(::archive* reader) const { archive_read_free(reader); }
};
using Reader = std::unique_ptr<::archive, ReaderFree>;

struct WriterFree {
  void operator()(::archive* writer) const { archive_write_free(writer); }
};
using Writer = std::unique_ptr<::archive, WriterFree>;

// Forecasts are packed to about a twentieth.
constexpr std::size_t foreseenRatio = 24;

// The first bytes of what each filter makes. One of them is chosen here and no other is let in: filters
// within filters could multiply the work of reading a few bytes without any of it showing in the output.
struct Packing {
  std::string_view magic;
  int filter;
};
constexpr Packing packings[] = {{{"\xFD"
                                  "7zXZ\0",
                                  6},
                                 ARCHIVE_FILTER_XZ},
                                {{"\x28\xB5\x2F\xFD", 4}, ARCHIVE_FILTER_ZSTD}};
constexpr std::string_view gzipMagic("\x1F\x8B", 2);

/// How much a gzip holds, as its last four bytes tell (little-endian), and one byte more to see the end in.
std::size_t foreseenSize(std::string_view gzip) {
  constexpr std::size_t mostRatio = 1032;  // of deflate
  std::size_t told = 0;
  for (std::size_t i = 1; i <= 4 && i <= gzip.size(); ++i) {
    told = told << 8 | static_cast<unsigned char>(gzip[gzip.size() - i]);
  }
  return std::min(told, gzip.size() * mostRatio) + 1;
}

/// What gzip holds, in one member or several, up to `limit` bytes. By hand, since the archive library does
/// not look at the checksums.
std::optional<Bytes> gunzipped(std::string_view packed, std::size_t limit) {
  constexpr int gzipOnly = 15 + 16;
  z_stream stream{};
  if (inflateInit2(&stream, gzipOnly) != Z_OK) return std::nullopt;
  const std::unique_ptr<z_stream, int (*)(z_stream*)> owned(&stream, inflateEnd);
  // zlib promises not to write to its input.
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  stream.avail_in = static_cast<uInt>(packed.size());
  Bytes bytes;
  bytes.resize(std::min(limit, foreseenSize(packed)));
  std::size_t filled = 0;
  for (;;) {
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data() + filled);
    stream.avail_out = static_cast<uInt>(bytes.size() - filled);
    const int result = inflate(&stream, Z_NO_FLUSH);
    filled = bytes.size() - stream.avail_out;
    if (result == Z_STREAM_END) {
      if (stream.avail_in == 0) break;
      if (inflateReset(&stream) != Z_OK) return std::nullopt;
    } else if ((result != Z_OK && result != Z_BUF_ERROR) || stream.avail_out > 0 || bytes.size() == limit) {
      return std::nullopt;  // damaged, cut, or too much
    } else {
      bytes.resize(std::min(limit, bytes.size() * 2));
    }
  }
  bytes.resize(filled);
  return bytes;
}

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
  const auto packing = std::find_if(std::begin(packings), std::end(packings),
                                    [&](const Packing& p) { return bytes.starts_with(p.magic); });
  bool ready = archive_read_support_format_tar(reader.get()) == ARCHIVE_OK;
  if (forms == Forms::tarOnly) {
    // What is behind a filter already has no second one and is no zip.
  } else if (packing != std::end(packings)) {
    // The bare form takes anything, so it is let in only behind a filter, which knows its own.
    ready = ready && archive_read_append_filter(reader.get(), packing->filter) == ARCHIVE_OK &&
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

la_ssize_t appendTo(::archive*, void* bytes, const void* block, std::size_t size) {
  static_cast<Bytes*>(bytes)->append(static_cast<const char*>(block), size);
  return static_cast<la_ssize_t>(size);
}

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
  Bytes behindGzip;
  if (archive.starts_with(gzipMagic)) {
    constexpr std::size_t ofTar = std::size_t{128} << 10;  // heads and padding around the documents
    auto held = gunzipped(archive, maximumSize + ofTar);
    if (!held) return std::nullopt;
    if (beginsAsXml(*held)) return held->size() <= maximumSize ? held : std::nullopt;
    behindGzip = std::move(*held);
    archive = behindGzip;
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
  Bytes bytes;
  const Writer writer(archive_write_new());
  if (!writer) return std::nullopt;
  archive_entry* const entry = archive_entry_new();
  if (entry == nullptr) return std::nullopt;
  const std::unique_ptr<archive_entry, decltype(&archive_entry_free)> owned(entry, archive_entry_free);
  archive_entry_set_filetype(entry, AE_IFREG);
  archive_entry_set_size(entry, static_cast<la_int64_t>(xml.size()));
  ::archive* const raw = writer.get();
  const bool written =
      archive_write_set_format_raw(raw) == ARCHIVE_OK && archive_write_add_filter_gzip(raw) == ARCHIVE_OK &&
      archive_write_set_filter_option(raw, "gzip", "compression-level", "9") == ARCHIVE_OK &&
      archive_write_set_filter_option(raw, "gzip", "timestamp", nullptr) == ARCHIVE_OK &&
      archive_write_set_bytes_in_last_block(raw, 1) == ARCHIVE_OK &&
      archive_write_open(raw, &bytes, nullptr, appendTo, nullptr) == ARCHIVE_OK &&
      archive_write_header(raw, entry) == ARCHIVE_OK &&
      archive_write_data(raw, xml.data(), xml.size()) == static_cast<la_ssize_t>(xml.size()) &&
      archive_write_close(raw) == ARCHIVE_OK;
  if (!written) return std::nullopt;
  return bytes;
}

}  // namespace marlune
