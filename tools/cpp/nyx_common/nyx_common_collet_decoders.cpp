#include "nyx_common/nyx_common_collet_decoders.h"

#include "nyx_report/nyx_report.h"

#include <lz4.h>
#include <zstd.h>

namespace NYX::detail {

bool lz4_decompress(const char *in, unsigned size, char *out, unsigned capacity, unsigned &decompressed) {
    const int result = LZ4_decompress_safe(in, out, static_cast<int>(size), static_cast<int>(capacity));
    if (result < 0)
        return false;
    decompressed = static_cast<unsigned>(result);
    return true;
}

ZSTD_DECOMPRESSOR::ZSTD_DECOMPRESSOR() : m_context(ZSTD_createDCtx()) {
    NYX_CHECK_MSG(m_context != nullptr, "Failed to create ZSTD decoder context");
}

ZSTD_DECOMPRESSOR::ZSTD_DECOMPRESSOR(ZSTD_DECOMPRESSOR &&other) noexcept
    : m_context(std::exchange(other.m_context, nullptr)) {}

ZSTD_DECOMPRESSOR &ZSTD_DECOMPRESSOR::operator=(ZSTD_DECOMPRESSOR &&other) noexcept {
    std::swap(m_context, other.m_context);
    return *this;
}

ZSTD_DECOMPRESSOR::~ZSTD_DECOMPRESSOR() {
    ZSTD_freeDCtx(m_context);
}

void ZSTD_DECOMPRESSOR::check_usable() const {
    NYX_CHECK_MSG(m_context != nullptr, "ZSTD_DECODER has already been invalidated!");
}

bool ZSTD_DECOMPRESSOR::decompress(const char *in, unsigned size, char *out, unsigned capacity,
                                   unsigned &decompressed) {
    const std::size_t result = ZSTD_decompressDCtx(m_context, out, capacity, in, size);
    if (ZSTD_isError(result))
        return false;
    decompressed = static_cast<unsigned>(result);
    return true;
}

} // namespace NYX::detail
