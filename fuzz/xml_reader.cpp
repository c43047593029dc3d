#include "marlune/formats/XmlReader.h"

#include <vector>

#include "fuzz/Target.h"
#include "marlune/formats/Text.h"

namespace {

/// Sees to it that elements nest, texts are whole, and all is UTF-8.
class Checker : public XmlHandler {
 public:
  explicit Checker(bool content) : content_(content) {}
  bool wantsContent() const override { return content_; }
  void startElement(std::string_view name, const XmlAttributes& attributes) override {
    MARLUNE_FUZZ_REQUIRE(!name.empty() && isUtf8(name));
    if (const auto value = attributes.find("t")) MARLUNE_FUZZ_REQUIRE(isUtf8(*value));
    MARLUNE_FUZZ_REQUIRE(!attributes.find(""));
    open_.emplace_back(name);
    MARLUNE_FUZZ_REQUIRE(open_.size() <= XmlReader::maximumDepth);
    ++elements_;
  }

  void endElement(std::string_view name) override {
    MARLUNE_FUZZ_REQUIRE(!open_.empty() && open_.back() == name);
    open_.pop_back();
  }

  void text(std::string_view run) override {
    MARLUNE_FUZZ_REQUIRE(content_ && !run.empty() && isUtf8(run) && !open_.empty());
  }

  bool allClosed() const { return open_.empty(); }
  std::size_t elements() const { return elements_; }

 private:
  bool content_;
  std::vector<std::string> open_;
  std::size_t elements_ = 0;
};

}  // namespace

MARLUNE_FUZZ_TARGET(document) {
  Checker withContent(true);
  Checker without(false);
  const auto error = XmlReader::read(document, withContent);
  MARLUNE_FUZZ_REQUIRE(XmlReader::read(document, without) == error);
  MARLUNE_FUZZ_REQUIRE(withContent.elements() == without.elements());
  MARLUNE_FUZZ_REQUIRE(error || (withContent.allClosed() && withContent.elements() > 0));
  MARLUNE_FUZZ_REQUIRE(!error || !error->empty());
}
