#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "marlune/base/Export.h"

namespace marlune {

/// The attributes of one start tag, in document order, valid during the call that hands them over.
class MARLUNE_API XmlAttributes {
 public:
  /// The value of the attribute of that exact name, or nothing.
  std::optional<std::string_view> find(std::string_view name) const {
    for (const char* const* pair = pairs_; *pair != nullptr; pair += 2) {
      const char* const key = pair[0];
      std::size_t same = 0;
      while (same < name.size() && key[same] == name[same] && key[same] != '\0') ++same;
      if (same == name.size() && key[same] == '\0') return pair[1];
    }
    return std::nullopt;
  }

 private:
  friend class XmlReader;
  explicit XmlAttributes(const char* const* pairs) : pairs_(pairs) {}
  const char* const* pairs_;  // name, value, name, value, ..., null
};

/// Receives the markup of a document, in order. All text is UTF-8 and valid during the call only.
class MARLUNE_API XmlHandler {
 public:
  virtual ~XmlHandler() = default;
  virtual void startElement(std::string_view name, const XmlAttributes& attributes) = 0;
  virtual void endElement(std::string_view) {}
  /// The whole run of text between two markup events; never empty.
  virtual void text(std::string_view) {}
  /// Whether endElement and text are of any use to this handler.
  virtual bool wantsContent() const { return false; }
};

/// Event-driven XML. Not namespace-aware; no external entity is ever loaded. UTF-8, UTF-16, ISO-8859-1,
/// US-ASCII and Windows-1252 documents are understood.
class MARLUNE_API XmlReader {
 public:
  /// A larger document and a deeper element are errors, which bounds memory and time.
  static constexpr std::size_t maximumSize = std::size_t{16} << 20;
  static constexpr std::size_t maximumDepth = 10'000;

  /// Reads a document to its end. Returns nothing when it was well-formed, else what is wrong and where;
  /// the handler has then seen the markup before the fault. Needs no state: safe from any thread.
  static std::optional<std::string> read(std::string_view document, XmlHandler& handler);
};

}  // namespace marlune
