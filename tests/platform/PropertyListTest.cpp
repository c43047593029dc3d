#include "marlune/formats/PropertyList.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

using namespace std::literals;

namespace marlune {
namespace {

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;
using Uid = PropertyList::Uid;

std::string be(std::uint64_t value, int size) {
  std::string bytes;
  while (size-- > 0) bytes.push_back(size < 8 ? static_cast<char>(value >> (8 * size)) : '\0');
  return bytes;
}

/// A binary list of these objects (the first is the root), references of one byte.
std::string binary(const std::vector<std::string>& objects, std::uint64_t top = 0, int offsetSize = 1) {
  std::string bytes = "bplist00";
  std::string offsets;
  for (const auto& object : objects) {
    offsets += be(bytes.size(), offsetSize);
    bytes += object;
  }
  const std::size_t table = bytes.size();
  return bytes + offsets + std::string(6, '\0') + be(static_cast<std::uint64_t>(offsetSize), 1) + "\1" +
         be(objects.size(), 8) + be(top, 8) + be(table, 8);
}

std::string xml(std::string_view content) {
  return "<plist version=\"1.0\">" + std::string(content) + "</plist>";
}

void expectRead(const std::vector<std::pair<std::string, PropertyList>>& cases) {
  for (const auto& [bytes, expected] : cases) EXPECT_EQ(readPropertyList(bytes), expected) << bytes;
}

void expectRefused(const std::vector<std::string>& cases) {
  for (const auto& bytes : cases) EXPECT_FALSE(readPropertyList(bytes)) << bytes;
}

// What Python's own module writes is read by interop.property_lists; here is what it does not write.

TEST(BinaryPropertyList, OtherFormsOfValuesAreRead) {
  const std::string hundred(100, 'x');
  const std::string one = "\x10\x01";
  expectRead({
      {binary({"\x12\xFF\xFF\xFF\xFF"}), 4294967295},  // up to four bytes are unsigned
      {binary({"\x14" + be(0, 8) + be(7, 8)}), 7},
      {binary({"\x82\x01\x02\x03"}), Uid{0x010203}},
      {binary({"\x5F\x13" + be(100, 8) + hundred}), hundred},
      {binary({"\x61\xFF\xFF"}), "\uFFFF"},
      {binary({"\xC1\x01", one}), Array{1}},
      {binary({"\xD2\x01\x01\x02\x03", "\x51z", one, "\x10\x02"}), Dictionary{{"z", 2}}},  // the last counts
  });
}

TEST(BinaryPropertyList, BrokenValuesAreRefused) {
  const std::string hundred(100, 'x');
  const std::string one = "\x10\x01";
  expectRefused({
      binary({"\x14" + be(1, 8) + be(0, 8)}),
      binary({"\x5F\x23" + be(100, 8) + hundred}),                              // the count is no integer
      binary({"\x5F\x13" + be(~0ull, 8) + hundred}), binary({"\x52\xC3\xA9"}),  // not ASCII
      binary({"\x62\xD8\x3D\x00\x41"s}),                                        // and before a letter
      binary({"\x61\xDE\x00"s}),                                                // low surrogate alone
      binary({"\x6F\x13" + be(1ull << 63, 8) + "ab"}),                          // twice the count is 0
      binary({"\xD1\x01\x01", one}),                                            // a key that is no text
      binary({"\xA1\x02", one}),                                                // no such object
      binary({"\xA1\x00"s}),                                                    // itself
  });
}

TEST(BinaryPropertyList, TrailerIsChecked) {
  const std::string good = binary({"\xA1\x01", "\x10\x2A"});
  ASSERT_TRUE(readPropertyList(good));
  const auto with = [&](std::size_t fromEnd, std::string_view bytes) {
    std::string changed = good;
    return changed.replace(changed.size() - fromEnd, bytes.size(), bytes);
  };
  const std::vector<std::string> bad = {
      with(26, "\0"sv),    // offsets of no bytes
      with(25, "\0"sv),    // references of no bytes
      with(24, be(3, 8)),  // more than offsets
      with(16, be(2, 8)),  // no such root
      with(8, be(8, 8)),   // no objects before the table
      with(34, "\x07"),    // an object in the magic word
  };
  for (std::size_t i = 0; i < bad.size(); ++i) EXPECT_FALSE(readPropertyList(bad[i])) << "case " << i;
  for (std::size_t size = 0; size < good.size(); ++size) {
    EXPECT_FALSE(readPropertyList(std::string_view(good).substr(0, size))) << size;
  }
}

TEST(BinaryPropertyList, SharedReferencesCannotExplode) {
  // Arrays that each hold the next one ten times: 10^levels values in a few hundred bytes.
  const auto laughs = [](std::uint64_t levels) {
    std::vector<std::string> arrays;
    for (std::uint64_t i = 1; i <= levels; ++i) {
      arrays.push_back("\xAA");
      for (int k = 0; k < 10; ++k) arrays.back() += be(i, 1);
    }
    arrays.push_back("\xA0");
    return readPropertyList(binary(arrays, 0, 2));
  };
  EXPECT_TRUE(laughs(5));
  EXPECT_FALSE(laughs(6));

  // One text of a million bytes, held many times.
  const auto copies = [](std::uint64_t count) {
    const auto size = static_cast<std::size_t>(count);
    return readPropertyList(binary({"\x5F\x12" + be(1'000'000, 4) + std::string(1'000'000, 'x'),
                                    "\xAF\x10" + be(count, 1) + std::string(size, '\0')},
                                   1, 3));
  };
  EXPECT_TRUE(copies(60));
  EXPECT_FALSE(copies(250));
}

TEST(BinaryPropertyList, DepthIsBounded) {
  const auto nested = [](std::size_t depth) {
    PropertyList list = Array{};
    for (std::size_t i = 1; i < depth; ++i) list = Array{std::move(list)};
    return list;
  };
  const PropertyList deepest = nested(PropertyList::maximumDepth - 1);
  for (const auto write : {writeBinaryPropertyList, writeXmlPropertyList}) {
    const auto bytes = write(deepest);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(readPropertyList(*bytes), deepest);
    EXPECT_FALSE(write(nested(PropertyList::maximumDepth)));
  }
  std::string arrays;
  for (std::size_t i = 0; i < PropertyList::maximumDepth; ++i)
    arrays = fmt::format("<array>{}</array>", arrays);
  EXPECT_FALSE(readPropertyList(xml(arrays)));
}

TEST(XmlPropertyList, OtherFormsOfValuesAreRead) {
  expectRead({
      {xml("<integer>\n +7 \t</integer>"), 7},
      {xml("<integer>-0XfF</integer>"), -255},
      {xml("<real>+infinity</real>"), std::numeric_limits<double>::infinity()},
      {xml("<string> a&amp;b&lt;<![CDATA[<c>&]]>&#233;<!-- no -->\n</string>"), " a&b<<c>&\u00E9\n"},
      {xml("<dict><key>a</key><true/><key>a</key><false/></dict>"), Dictionary{{"a", false}}},
      {"<!DOCTYPE plist SYSTEM \"nowhere.dtd\">" + xml("<true/>"), true},
  });
}

TEST(XmlPropertyList, BrokenValuesAreRefused) {
  const std::pair<const char*, std::vector<const char*>> contents[] = {
      {"integer", {"18446744073709551616", "-9223372036854775809", "", "--1", "1 2", "0x", "1.0"}},
      {"real", {"1e999", "1,5", "nan(1)", ""}},
      {"date", {"2023-02-29T12:00:00Z", "2023-02-28T24:00:00Z", "2023-02-28T12:00:00+0100", "2023-02-28"}},
      {"data", {"AAE", "A", "A===", "AAECAw====", "AA==AA==", "AA-_"}},
      {"string", {"a<b/>", "\xE9"}},
      {"true", {"1"}},
      {"dict", {"<key>a</key>", "<key>a</key><key>b</key>", "<true/>", "a"}},
      {"array", {"<key>a</key>", "<plist><true/></plist>"}},
  };
  for (const auto& [tag, texts] : contents) {
    for (const char* text : texts) expectRefused({xml(fmt::format("<{0}>{1}</{0}>", tag, text))});
  }
  expectRefused({xml(""), xml("<true/><true/>"), xml("<key>a</key>"), xml("<null/>"), xml("<true/>x"),
                 xml("<array></dict>"), xml("<array>").substr(0, 28), "<true/>", "", "{ a = b; }",
                 "<html><plist><true/></plist></html>"});
}

TEST(PropertyList, WritersRefuseWhatCannotBeReadBack) {
  const std::pair<PropertyList, std::pair<bool, bool>> cases[] = {
      // value, is there a binary form, is there an XML form
      {"\xC3", {false, false}},
      {Dictionary{{"\xFF", 1}}, {false, false}},
      {"\uFFFE", {true, false}},
      {dateFromSeconds(253402300800), {true, false}},
      {PropertyList::ofData(std::string(20u << 20, 'x')), {true, false}},
      {PropertyList::ofData(std::string(PropertyList::maximumBytes + 1, 'x')), {false, false}},
      {Array(PropertyList::maximumValues, true), {false, false}},
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const auto& [list, exists] = cases[i];
    const auto asBinary = writeBinaryPropertyList(list);
    const auto asXml = writeXmlPropertyList(list);
    EXPECT_EQ(asBinary.has_value(), exists.first) << "case " << i;
    EXPECT_EQ(asXml.has_value(), exists.second) << "case " << i;
    EXPECT_TRUE(!asBinary || readPropertyList(*asBinary)) << "case " << i;
  }
}

}  // namespace
}  // namespace marlune
