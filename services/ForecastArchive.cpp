#include "services/ForecastArchive.h"

#include <zstd.h>

#include <cstddef>
#include <memory>

namespace marlune::services {

std::optional<std::string> packedForecast(std::string_view document, Packing packing) {
  const std::unique_ptr<ZSTD_CCtx, decltype(&ZSTD_freeCCtx)> packer(ZSTD_createCCtx(), ZSTD_freeCCtx);
  if (!packer) return std::nullopt;
  const int level = packing == Packing::small ? 19 : 3;
  if (ZSTD_isError(ZSTD_CCtx_setParameter(packer.get(), ZSTD_c_compressionLevel, level)) != 0 ||
      ZSTD_isError(ZSTD_CCtx_setParameter(packer.get(), ZSTD_c_checksumFlag, 1)) != 0)
    return std::nullopt;
  std::string packed(ZSTD_compressBound(document.size()), '\0');
  const std::size_t size =
      ZSTD_compress2(packer.get(), packed.data(), packed.size(), document.data(), document.size());
  if (ZSTD_isError(size) != 0) return std::nullopt;
  packed.resize(size);
  return packed;
}

}  // namespace marlune::services
