#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "marlune/base/Data.h"

/// Undoes gzip and zstd by the libraries of their own, which look at the check sums. Pure functions, safe
/// from any thread.
///
///     if (unpacking::isZstd(bytes)) document = unpacking::unzstd(bytes, maximumSize);
namespace marlune::unpacking {

/// More frames than this in one zstd are none.
inline constexpr std::size_t maximumFrames = 4096;

bool isGzip(std::string_view packed);
bool isZstd(std::string_view packed);

/// What gzip holds, in one member or several. Nothing for what is damaged, cut, followed by anything else,
/// or longer than `limit` bytes.
std::optional<Bytes> gunzipped(std::string_view packed, std::size_t limit);

/// What zstd holds, in one frame or several, perhaps with frames to be skipped among them. Nothing for what
/// is damaged as far as its check sum shows, which a frame may lack, for what is cut or followed by anything
/// else, wants a dictionary, or is longer than `limit` bytes. The room that it takes is that of the content
/// alone, whatever window a frame asks for.
std::optional<Bytes> unzstd(std::string_view packed, std::size_t limit);

}  // namespace marlune::unpacking
