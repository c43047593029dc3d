#include "marlune/providers/TideDataArchiver.h"

#include <gtest/gtest.h>
#include <zstd.h>

#include "providers/Archives.h"
#include "support/MemoryFileSystem.h"

namespace marlune::testing {
namespace {

const Bytes kXml = "<?xml version=\"1.0\"?>\n<product>\n" + Bytes(3000, ' ') + "</product>\n";

Bytes raw(ArchiveStep filter, const Bytes& content) {
  return archiveOf(archive_write_set_format_raw, filter, {{"data", content}});
}

const std::vector<ArchiveStep> kFilters = {archive_write_add_filter_gzip, archive_write_add_filter_xz,
                                           archive_write_add_filter_zstd};

TEST(TideDataArchiverTest, GivesBackWhatItPacks) {
  const auto packed = TideDataArchiver::archive(kXml);
  ASSERT_TRUE(packed);
  EXPECT_LT(packed->size(), 200U);
  EXPECT_EQ(TideDataArchiver::unarchive(*packed), kXml);
  EXPECT_FALSE(TideDataArchiver::archive("no document"));
  EXPECT_FALSE(TideDataArchiver::archive("<a>" + Bytes(TideDataArchiver::maximumSize, ' ')));

  const auto files = std::make_shared<MemoryFileSystem>();
  ASSERT_TRUE(files->write("/f", "/f/a.archive", *packed, FileSystem::Durability::cache));
  const TideDataArchiver archiver(files);
  const Data document = archiver.unarchiveFile("/f/a.archive");
  ASSERT_TRUE(document);
  EXPECT_EQ(*document, kXml);
  EXPECT_FALSE(archiver.unarchiveFile("/f/b.archive"));
}

TEST(TideDataArchiverTest, ReadsEveryFormAndNoneOfThemCut) {
  std::vector<Bytes> whole = {archiveOf(archive_write_set_format_zip, nullptr, {{"a.xml", kXml}}),
                              archiveOf(archive_write_set_format_ustar, nullptr, {{"a.xml", kXml}})};
  for (const ArchiveStep filter : kFilters) {
    whole.push_back(raw(filter, kXml));
    whole.push_back(archiveOf(archive_write_set_format_pax, filter, {{"a.xml", kXml}}));
  }
  for (std::size_t form = 0; form < whole.size(); ++form) {
    const Bytes& bytes = whole[form];
    EXPECT_EQ(TideDataArchiver::unarchive(bytes), kXml) << form;
    for (const std::size_t kept : {bytes.size() / 2, bytes.size() / 4, std::size_t{6}, std::size_t{1}}) {
      EXPECT_FALSE(TideDataArchiver::unarchive(bytes.substr(0, kept))) << form << " cut to " << kept;
    }
  }
}

TEST(TideDataArchiverTest, ChoosesAmongFilesAndNeverFollowsTheirNames) {
  const ArchiveEntry folder{"f/", "", AE_IFDIR};
  const ArchiveEntry text{"read.me", "<not this>"};
  const ArchiveEntry outside{"../../outside.XML", kXml};
  const struct {
    std::vector<ArchiveEntry> entries;
    bool found;
  } cases[] = {
      {{folder, text, outside, {"second.xml", "<second/>"}}, true},
      {{folder, {"/etc/anything", kXml}}, true},
      {{text, {"other", kXml}}, false},
      {{folder, {"link.xml", "", AE_IFLNK}}, false},
      {{{"a.xml", ""}}, false},
  };
  for (const ArchiveStep format : {archive_write_set_format_zip, archive_write_set_format_ustar}) {
    for (const auto& c : cases) {
      const auto got = TideDataArchiver::unarchive(archiveOf(format, nullptr, c.entries));
      EXPECT_EQ(got.has_value(), c.found) << c.entries.back().name;
      EXPECT_EQ(got.value_or(kXml), kXml);
    }
    const std::vector<ArchiveEntry> crowd(TideDataArchiver::maximumEntries + 1, {"a.xml", kXml});
    EXPECT_FALSE(TideDataArchiver::unarchive(archiveOf(format, nullptr, crowd)));
  }
}

TEST(TideDataArchiverTest, TakesOnlyWhatBeginsAsXml) {
  using namespace std::string_literals;
  const std::pair<Bytes, bool> cases[] = {{"\xEF\xBB\xBF \r\n\t<a/>", true},
                                          {"\xFF\xFE \0<\0a\0/\0>\0"s, true},
                                          {"\xFE\xFF\0 \0<\0a\0/\0>"s, true},
                                          {"\xFF\xFE"
                                           "<\1"s,
                                           false},
                                          {"{\"error\":401}", false},
                                          {Bytes(4096, '\0'), false}};
  for (const auto& [content, isXml] : cases) {
    for (const ArchiveStep filter : kFilters) {
      EXPECT_EQ(TideDataArchiver::unarchive(raw(filter, content)).has_value(), isXml) << content;
    }
    EXPECT_FALSE(TideDataArchiver::unarchive(content)) << "unpacked, as an error page is: " << content;
  }
  EXPECT_FALSE(TideDataArchiver::unarchive(kXml));
  EXPECT_FALSE(TideDataArchiver::unarchive(""));
}

TEST(TideDataArchiverTest, NoFlippedBitPassesForAForecast) {
  Bytes document = "<forecast>";
  for (int i = 0; i < 300; ++i) document += "<e level=\"" + std::to_string(i * 7919 % 1000) + "\"/>";
  document += "</forecast>";
  const auto packed = TideDataArchiver::archive(document);
  ASSERT_TRUE(packed);
  for (std::size_t bit = 0; bit < packed->size() * 8; ++bit) {
    Bytes flipped = *packed;
    flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
    // A few bits mean nothing.
    EXPECT_EQ(TideDataArchiver::unarchive(flipped).value_or(document), document) << bit;
  }
  for (std::size_t kept = 0; kept < packed->size(); ++kept) {
    EXPECT_FALSE(TideDataArchiver::unarchive(packed->substr(0, kept))) << kept;
  }
  EXPECT_EQ(TideDataArchiver::archive(document), packed) << "the same bytes whenever it is packed";
}

TEST(TideDataArchiverTest, ReadsEveryFrameOfZstd) {
  using namespace std::string_literals;
  const auto packed = [](const Bytes& content, std::initializer_list<std::pair<ZSTD_cParameter, int>> how) {
    ZSTD_CCtx* const context = ZSTD_createCCtx();
    for (const auto& [parameter, value] : how) ZSTD_CCtx_setParameter(context, parameter, value);
    Bytes bytes(ZSTD_compressBound(content.size()), '\0');
    bytes.resize(ZSTD_compress2(context, bytes.data(), bytes.size(), content.data(), content.size()));
    ZSTD_freeCCtx(context);
    return bytes;
  };
  const Bytes whole = packed(kXml, {{ZSTD_c_checksumFlag, 1}});
  const Bytes hugeWindow = "\x28\xB5\x2F\xFD\0\xA8\x21\0\0<a/>"s;  // 2 GiB
  const Bytes wellPacked = "<a>" + Bytes(200'000, ' ') + "</a>";   // much more than foreseen
  const Bytes skipped = "\x53\x2A\x4D\x18\x03\0\0\0abc"s;
  const Bytes head = packed(kXml.substr(0, 20), {});
  const Bytes tail = packed(kXml.substr(20), {{ZSTD_c_contentSizeFlag, 0}});
  const Bytes old = "\x27\xB5\x2F\xFD"s + whole.substr(4);  // the magic number of version 0.7
  Bytes crowd;
  for (int i = 0; i < 5000; ++i) crowd += skipped;
  const std::pair<Bytes, std::optional<Bytes>> cases[] = {
      {packed(kXml, {}), kXml},
      {hugeWindow, "<a/>"},
      {packed(wellPacked, {{ZSTD_c_contentSizeFlag, 0}}), wellPacked},
      {skipped + head + skipped + tail + skipped, kXml},
      {head + tail.substr(0, tail.size() - 1), std::nullopt},
      {whole + "x", std::nullopt},
      {whole + skipped.substr(0, 9), std::nullopt},
      {head + old, std::nullopt},
      {skipped, std::nullopt},
      {crowd + whole, std::nullopt},
      {packed("{}", {}), std::nullopt},
  };
  for (const auto& [bytes, document] : cases) {
    EXPECT_TRUE(TideDataArchiver::unarchive(bytes) == document) << bytes.size() << " bytes";
  }
}

TEST(TideDataArchiverTest, StopsBeforeABomb) {
  const ArchiveStep zstd = archive_write_add_filter_zstd;
  const Bytes most = "<" + Bytes(TideDataArchiver::maximumSize - 1, 'x');
  EXPECT_EQ(TideDataArchiver::unarchive(raw(zstd, most)), most) << "16 MiB are just allowed";
  for (const ArchiveStep filter : {zstd, ArchiveStep{archive_write_add_filter_gzip}}) {
    EXPECT_FALSE(TideDataArchiver::unarchive(raw(filter, most + "x")));
  }
  // Files that are passed over count as well.
  EXPECT_FALSE(TideDataArchiver::unarchive(
      archiveOf(archive_write_set_format_ustar, zstd, {{"a.xml", kXml}, {"big", Bytes(most.size(), '\0')}})));
  for (const ArchiveStep filter : kFilters) {
    EXPECT_FALSE(TideDataArchiver::unarchive(raw(filter, raw(filter, kXml)))) << "packed twice";
  }
}

}  // namespace
}  // namespace marlune::testing
