#include "marlune/formats/XmlReader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace marlune {
namespace {

/// Writes down what it sees.
class Recorder : public XmlHandler {
 public:
  void startElement(std::string_view name, const XmlAttributes& attributes) override {
    seen += "<" + std::string(name) + std::string(attributes.find("a").value_or("")) + ">";
  }
  void endElement(std::string_view name) override { seen += "</" + std::string(name) + ">"; }
  void text(std::string_view text) override { seen += "[" + std::string(text) + "]"; }
  bool wantsContent() const override { return true; }

  std::string seen;
};

std::string seenIn(const std::string& document) {
  Recorder recorder;
  const auto error = XmlReader::read(document, recorder);
  return error ? "error" : recorder.seen;
}

std::string repeated(const std::string& text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

TEST(XmlReader, HandsOverARunOfTextWhole) {
  EXPECT_EQ(seenIn("<r>one\ntwo &amp; <![CDATA[three]]>&#x41;<b/>four<!-- -->five</r>"),
            "<r>[one\ntwo & threeA]<b></b>[four][five]</r>");
  const std::string longRun = repeated("line of text\n", 20'000);
  EXPECT_EQ(seenIn("<r>" + longRun + "</r>"), "<r>[" + longRun + "]</r>");
}

TEST(XmlReader, UnderstandsEncodings) {
  EXPECT_EQ(seenIn("<?xml version=\"1.0\" encoding=\"Windows-1252\"?><r a=\"\x80\xE9\"/>"),
            "<r\xE2\x82\xAC\xC3\xA9></r>");
  EXPECT_EQ(seenIn("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r>\xE9</r>"), "<r>[\xC3\xA9]</r>");
  EXPECT_EQ(seenIn("\xEF\xBB\xBF<r/>"), "<r></r>");
  EXPECT_EQ(seenIn(std::string("\xFF\xFE<\0r\0/\0>\0", 10)), "<r></r>");
  for (const char* bad : {"<r>\xFF</r>", "<?xml version=\"1.0\" encoding=\"Windows-1252\"?><r>\x81</r>",
                          "<?xml version=\"1.0\" encoding=\"klingon\"?><r/>", "", " ", "<r/><r/>", "<r></s>",
                          "\n<?xml version=\"1.0\"?><r/>", "<r a='1' a='2'/>", "<r>&unknown;</r>"}) {
    EXPECT_EQ(seenIn(bad), "error") << bad;
  }
}

TEST(XmlReader, BoundsWhatHostileDocumentsCost) {
  std::string entities = "<!DOCTYPE r [<!ENTITY e0 \"0123456789\">";
  for (int i = 1; i < 12; ++i) {
    const std::string before = "&e" + std::to_string(i - 1) + ";";
    entities += "<!ENTITY e" + std::to_string(i) + " \"" + repeated(before, 10) + "\">";
  }
  std::string defaults = "<!DOCTYPE r [";
  for (int i = 0; i < 20'000; ++i) defaults += "<!ATTLIST r b" + std::to_string(i) + " CDATA 'v'>";
  const std::vector<std::string> documents{
      entities + "]><r>&e11;</r>", defaults + "]><r>" + repeated("<r/>", 200'000) + "</r>",
      repeated("<r>", XmlReader::maximumDepth + 1) + repeated("</r>", XmlReader::maximumDepth + 1),
      "<!DOCTYPE r [<!ATTLIST r a CDATA '" + std::string(1000, '1') + "'>]><r/>",
      "<r a='" + std::string(XmlReader::maximumSize, 'x') + "'/>"};
  for (const auto& document : documents) EXPECT_EQ(seenIn(document), "error") << document.substr(0, 60);
  EXPECT_NE(seenIn(repeated("<r>", XmlReader::maximumDepth) + repeated("</r>", XmlReader::maximumDepth)),
            "error");
  EXPECT_EQ(seenIn("<!DOCTYPE r [<!ENTITY x SYSTEM \"file:///etc/passwd\">]><r>&x;</r>"), "<r></r>");
  EXPECT_EQ(seenIn("<!DOCTYPE r [<!ENTITY x \"y\"><!ATTLIST r a CDATA 'd'>]><r>&x;</r>"), "<rd>[y]</r>");
}

}  // namespace
}  // namespace marlune
