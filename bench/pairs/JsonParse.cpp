#include "pairs/JsonParse.h"

#include "simdjson.h"

namespace marlune::bench {

struct JsonParse::Parser {
  simdjson::dom::parser parser;
};

JsonParse::JsonParse() : parser_(std::make_unique<Parser>()) {}
JsonParse::~JsonParse() = default;

bool JsonParse::parse(std::string_view text) {
  return parser_->parser.parse(text.data(), text.size()).error() == simdjson::SUCCESS;
}

}  // namespace marlune::bench
