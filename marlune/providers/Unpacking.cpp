#include "marlune/providers/Unpacking.h"

#include <zlib.h>
#include <zstd.h>
#include <zstd_errors.h>

#include <algorithm>
#include <memory>

namespace marlune::unpacking {

namespace {

constexpr std::string_view gzipMagic("\x1F\x8B", 2);
constexpr std::string_view frameMagic("\x28\xB5\x2F\xFD", 4);

/// How much a gzip holds, as its last four bytes tell (little-endian), and one byte more to see the end in.
std::size_t foreseenSize(std::string_view gzip) {
  constexpr std::size_t mostRatio = 1032;  // of deflate
  std::size_t told = 0;
  for (std::size_t i = 1; i <= 4 && i <= gzip.size(); ++i) {
    told = told << 8 | static_cast<unsigned char>(gzip[gzip.size() - i]);
  }
  return std::min(told, gzip.size() * mostRatio) + 1;
}

bool isSkippableFrame(std::string_view bytes) {
  constexpr unsigned char first = 0x50;  // to 0x5F
  return bytes.size() >= 4 && (static_cast<unsigned char>(bytes[0]) & 0xF0U) == first &&
         bytes.substr(1, 3) == "\x2A\x4D\x18";
}

struct Foreseen {
  std::size_t size = 0;
  bool isTold = true;  // by every frame, and then binding
};

/// Goes through the frames without undoing them. Each must be of the one format that has check sums: the
/// library may know older ones, too.
std::optional<Foreseen> foreseenOf(std::string_view zstd, std::size_t limit) {
  constexpr std::size_t ratio = 24;  // of forecasts
  Foreseen foreseen;
  for (std::size_t frames = 0; !zstd.empty(); ++frames) {
    if (frames == maximumFrames || !isZstd(zstd)) return std::nullopt;
    const std::size_t length = ZSTD_findFrameCompressedSize(zstd.data(), zstd.size());
    if (ZSTD_isError(length) != 0 || length > zstd.size()) return std::nullopt;
    const auto content = ZSTD_getFrameContentSize(zstd.data(), length);
    if (content == ZSTD_CONTENTSIZE_ERROR) return std::nullopt;
    if (content == ZSTD_CONTENTSIZE_UNKNOWN) {
      foreseen.isTold = false;
      foreseen.size += length * ratio;
    } else if (content > limit) {
      return std::nullopt;
    } else {
      foreseen.size += content;
    }
    zstd.remove_prefix(length);
  }
  if (foreseen.isTold && foreseen.size > limit) return std::nullopt;
  return foreseen;
}

}  // namespace

bool isGzip(std::string_view packed) {
  return packed.starts_with(gzipMagic);
}

bool isZstd(std::string_view packed) {
  return packed.starts_with(frameMagic) || isSkippableFrame(packed);
}

std::optional<Bytes> gunzipped(std::string_view packed, std::size_t limit) {
  constexpr int gzipOnly = 15 + 16;
  z_stream stream{};
  if (inflateInit2(&stream, gzipOnly) != Z_OK) return std::nullopt;
  const std::unique_ptr<z_stream, int (*)(z_stream*)> owned(&stream, inflateEnd);
  // zlib promises not to write to its input.
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  stream.avail_in = static_cast<uInt>(packed.size());
  Bytes bytes;
  bytes.resize(std::min(limit, foreseenSize(packed)));
  std::size_t filled = 0;
  for (;;) {
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data() + filled);
    stream.avail_out = static_cast<uInt>(bytes.size() - filled);
    const int result = inflate(&stream, Z_NO_FLUSH);
    filled = bytes.size() - stream.avail_out;
    if (result == Z_STREAM_END) {
      if (stream.avail_in == 0) break;
      if (inflateReset(&stream) != Z_OK) return std::nullopt;
    } else if ((result != Z_OK && result != Z_BUF_ERROR) || stream.avail_out > 0 || bytes.size() == limit) {
      return std::nullopt;  // damaged, cut, or too much
    } else {
      bytes.resize(std::min(limit, bytes.size() * 2));
    }
  }
  bytes.erase(filled);
  return bytes;
}

std::optional<Bytes> unzstd(std::string_view packed, std::size_t limit) {
  const auto foreseen = foreseenOf(packed, limit);
  const std::unique_ptr<ZSTD_DCtx, decltype(&ZSTD_freeDCtx)> context(ZSTD_createDCtx(), ZSTD_freeDCtx);
  if (!foreseen || !context) return std::nullopt;
  Bytes bytes;
  for (std::size_t room = foreseen->size;; room *= 4) {
    bytes.resize(std::min(limit, room));
    // In one piece rather than as a stream, which would keep a window as large as a frame asks for beside it.
    const std::size_t result =
        ZSTD_decompressDCtx(context.get(), bytes.data(), bytes.size(), packed.data(), packed.size());
    if (ZSTD_isError(result) == 0) {
      bytes.resize(result);
      return bytes;
    }
    const bool wantsRoom = ZSTD_getErrorCode(result) == ZSTD_error_dstSize_tooSmall;
    if (foreseen->isTold || !wantsRoom || bytes.size() == limit) return std::nullopt;
  }
}

}  // namespace marlune::unpacking
