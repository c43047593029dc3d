#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "marlune/base/Export.h"

namespace marlune {

/// The UTF-16 code units of a UTF-8 text; nothing when the text is not well-formed.
MARLUNE_API std::optional<std::u16string> utf16FromUtf8(std::string_view text);

/// The UTF-8 text of big-endian UTF-16 code units. Nothing when a surrogate stands alone or a byte is left
/// over.
MARLUNE_API std::optional<std::string> utf8FromUtf16BigEndian(std::string_view bytes);

}  // namespace marlune
