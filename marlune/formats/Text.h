#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Export.h"

namespace marlune {

/// The decimal number at the start of `text`: blanks and one sign may stand before it, anything after it.
/// What is no number is 0, what is too large is infinite, what is too small is 0. Never reads a locale.
MARLUNE_API double lenientDouble(std::string_view text);

/// The whole number at the start of `text`, in the same lenient way; what does not fit is held at the
/// nearest 64-bit value.
MARLUNE_API std::int64_t lenientInteger(std::string_view text);

/// The number that the whole of `text` is: a decimal, perhaps with a sign and an exponent. Nothing for any
/// other text, blanks at its ends included, and for what no double holds. Never reads a locale.
MARLUNE_API std::optional<double> decimalNumber(std::string_view text);

/// The shortest decimal that reads back as exactly `value`, always with a fraction or an exponent: "10.0",
/// "-0.1275", "-0.0"; below 0.0001 and from 2^54 on "1e-05", "1.5e+17". Also "nan", "inf" and "-inf".
MARLUNE_API std::string shortestDecimal(double value);

/// `text` without the Unicode white space and newlines at its ends.
MARLUNE_API std::string_view trimmed(std::string_view text);

/// Plain comparison of two UTF-8 texts by UTF-16 code units: below 0, 0 or above 0. It differs from the order
/// of the bytes only where a character beyond the basic plane meets one from U+E000 to U+FFFF.
MARLUNE_API int comparePlain(std::string_view a, std::string_view b);

/// The lines of a UTF-8 text, split at every newline character (LF, VT, FF, CR, NEL, LS, PS); between the
/// two of a CR LF stands an empty line.
MARLUNE_API std::vector<std::string_view> linesOf(std::string_view text);

/// Is `text` well-formed UTF-8?
MARLUNE_API bool isUtf8(std::string_view text);

}  // namespace marlune
