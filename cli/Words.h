#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace marlune::cli {

/// The words of a line as a shell splits them: blanks separate; '...' keeps everything, "..." everything but
/// backslash before `"`, `\`, `$` and a backquote; a backslash keeps the next character; `#` at the beginning
/// of a word begins a comment. Nothing is expanded. Throws WrongCall for a quote without an end.
std::vector<std::string> splitWords(std::string_view line);

}  // namespace marlune::cli
