#include "marlune/formats/XmlReader.h"

// Makes the header declare the bounds on entities, which every packaged build of the library has.
#define XML_DTD
#include <expat.h>
#include <fmt/core.h>

#include <memory>
#include <type_traits>

namespace marlune {

namespace {

// A document may be made larger by the entities that it declares, but not by much: no document of ours
// declares any.
constexpr float mostAmplification = 8.0F;
constexpr unsigned long long amplificationCountedFrom = 1U << 20U;

// Default attributes are added to every element of their kind, so that a few bytes an element could cost any
// amount of work.
constexpr int mostDefaultAttributes = 16;
constexpr std::size_t longestDefault = 64;

// Code points of the bytes 0x80 to 0x9F in Windows-1252; -1 where no character is assigned. All other
// bytes stand for themselves. Source: the mapping table that the Unicode consortium publishes for cp1252.
constexpr int windows1252[32] = {0x20AC, -1,     0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, -1,     0x017D, -1,
                                 -1,     0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, -1,     0x017E, 0x0178};

bool sameIgnoringCase(std::string_view text, std::string_view lower) {
  if (text.size() != lower.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i] >= 'A' && text[i] <= 'Z' ? static_cast<char>(text[i] + ('a' - 'A')) : text[i];
    if (c != lower[i]) return false;
  }
  return true;
}

int XMLCALL otherEncoding(void*, const XML_Char* name, XML_Encoding* encoding) {
  if (!sameIgnoringCase(name, "windows-1252") && !sameIgnoringCase(name, "cp1252")) return XML_STATUS_ERROR;
  for (int byte = 0; byte < 256; ++byte) {
    encoding->map[byte] = byte >= 0x80 && byte < 0xA0 ? windows1252[byte - 0x80] : byte;
  }
  encoding->convert = nullptr;
  encoding->release = nullptr;
  encoding->data = nullptr;
  return XML_STATUS_OK;
}

struct ParserFree {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserFree>;

}  // namespace

/// One reading of one document.
class XmlReading {
 public:
  XmlReading(XML_Parser parser, XmlHandler& handler) : parser_(parser), handler_(handler) {}

  static void XMLCALL onEnd(void* self, const XML_Char* name) { of(self).end(name); }
  static void XMLCALL onEndUnseen(void* self, const XML_Char*) { --of(self).depth_; }
  static void XMLCALL onText(void* self, const XML_Char* text, int length) {
    of(self).text_.append(text, static_cast<std::size_t>(length));
  }
  static void XMLCALL onBoundary(void* self, const XML_Char*) { of(self).flushText(); }
  static void XMLCALL onAttributeDeclaration(void* self, const XML_Char*, const XML_Char*, const XML_Char*,
                                             const XML_Char* value, int) {
    const bool isLong = value != nullptr && std::string_view(value).size() > longestDefault;
    if (isLong || ++of(self).declared_ > mostDefaultAttributes) {
      of(self).stop("the attributes that are declared cost too much");
    }
  }
  static void XMLCALL onInstruction(void* self, const XML_Char*, const XML_Char*) { of(self).flushText(); }

  const char* failure() const { return failure_; }

  void start(std::string_view name, const XmlAttributes& attributes) {
    flushText();
    if (++depth_ > XmlReader::maximumDepth) {
      return stop("elements are nested too deeply");
    }
    handler_.startElement(name, attributes);
  }

 private:
  static XmlReading& of(void* self) { return *static_cast<XmlReading*>(self); }

  void stop(const char* failure) {
    failure_ = failure;
    XML_StopParser(parser_, XML_FALSE);
  }

  void end(std::string_view name) {
    --depth_;
    flushText();
    handler_.endElement(name);
  }

  // The parser hands text over in pieces, at line ends, entities and its own buffer's edges.
  void flushText() {
    if (text_.empty()) return;
    handler_.text(text_);
    text_.clear();
  }

  XML_Parser parser_;
  XmlHandler& handler_;
  std::string text_;
  std::size_t depth_ = 0;
  int declared_ = 0;
  const char* failure_ = nullptr;
};

std::optional<std::string> XmlReader::read(std::string_view document, XmlHandler& handler) {
  if (document.size() > maximumSize) return fmt::format("the document is larger than {} bytes", maximumSize);
  const Parser parser(XML_ParserCreate(nullptr));
  if (!parser) return "out of memory";

  struct Callbacks {
    static void XMLCALL start(void* self, const XML_Char* name, const XML_Char** pairs) {
      static_cast<XmlReading*>(self)->start(name, XmlAttributes(pairs));
    }
  };
  XmlReading reading(parser.get(), handler);
  XML_SetUserData(parser.get(), &reading);
  XML_SetBillionLaughsAttackProtectionMaximumAmplification(parser.get(), mostAmplification);
  XML_SetBillionLaughsAttackProtectionActivationThreshold(parser.get(), amplificationCountedFrom);
  XML_SetAttlistDeclHandler(parser.get(), XmlReading::onAttributeDeclaration);
  XML_SetUnknownEncodingHandler(parser.get(), otherEncoding, nullptr);
  // The depth needs the ends in any case; the rest costs more and only some handlers look at it.
  const bool content = handler.wantsContent();
  XML_SetElementHandler(parser.get(), Callbacks::start,
                        content ? XmlReading::onEnd : XmlReading::onEndUnseen);
  if (content) {
    XML_SetCharacterDataHandler(parser.get(), XmlReading::onText);
    XML_SetCommentHandler(parser.get(), XmlReading::onBoundary);
    XML_SetProcessingInstructionHandler(parser.get(), XmlReading::onInstruction);
  }
  if (XML_Parse(parser.get(), document.data(), static_cast<int>(document.size()), XML_TRUE) ==
      XML_STATUS_OK) {
    return std::nullopt;
  }
  const char* const what =
      reading.failure() != nullptr ? reading.failure() : XML_ErrorString(XML_GetErrorCode(parser.get()));
  return fmt::format("{} at line {}, column {}", what, XML_GetCurrentLineNumber(parser.get()),
                     XML_GetCurrentColumnNumber(parser.get()));
}

}  // namespace marlune
