#pragma once

#include <memory>
#include <string_view>

namespace marlune::bench {

/// The bare parse of the JSON library, into a tree that nobody looks at, with its room kept between
/// documents.
class JsonParse {
 public:
  JsonParse();
  ~JsonParse();
  bool parse(std::string_view text);

 private:
  struct Parser;
  std::unique_ptr<Parser> parser_;
};

}  // namespace marlune::bench
