#include "nyx_common/nyx_common_collet_encoders.h"

#include "nyx_report/nyx_report.h"

#include <climits>
#include <cstdint>
#include <limits>
#include <lz4.h>
#include <zstd.h>

namespace NYX {

namespace {

constexpr unsigned s_lz4_max_chunk = 0x7E000000;

// By formula and not by the library: a newer library may have another bound, and the format has this one.
std::uint64_t zstd_bound(std::uint64_t chunk_size) {
    constexpr std::uint64_t small_chunk = 0x20000;
    return chunk_size + (chunk_size >> 8) + (chunk_size < small_chunk ? (small_chunk - chunk_size) >> 11 : 0);
}

} // namespace

bool is_lz4_collet(unsigned chunk_size) {
    return chunk_size > 0 && chunk_size <= s_lz4_max_chunk;
}

bool is_zstd_collet(unsigned chunk_size) {
    return chunk_size > 0 &&
           zstd_bound(chunk_size) <= std::numeric_limits<std::uint32_t>::max() - sizeof(std::uint32_t);
}

unsigned lz4_collet_bound(unsigned chunk_size) {
    NYX_CHECK_MSG(chunk_size <= unsigned(INT_MAX), "chunk_size %u does not fit in an int", chunk_size);
    return chunk_size <= s_lz4_max_chunk ? chunk_size + chunk_size / 255 + 16 : 0;
}

unsigned zstd_collet_bound(unsigned chunk_size) {
    NYX_CHECK_AS(chunk_size == 0 || is_zstd_collet(chunk_size), "is_zstd_collet(chunk_size)",
                 "a frame for a chunk_size of %u has no 32-bit size", chunk_size);
    return static_cast<unsigned>(zstd_bound(chunk_size));
}

namespace detail {

unsigned lz4_compress(const char *in, unsigned size, char *out, unsigned capacity) {
    const int result = LZ4_compress_default(in, out, static_cast<int>(size), static_cast<int>(capacity));
    return result > 0 ? static_cast<unsigned>(result) : 0;
}

ZSTD_COMPRESSOR::ZSTD_COMPRESSOR(int compression_level, bool checksum)
    : m_context(ZSTD_createCCtx())
    , m_compression_level(compression_level)
    , m_checksum(checksum) {
    NYX_CHECK_MSG(compression_level >= ZSTD_minCLevel(),
                  "compression_level must be greater or equal to ZSTD_minCLevel()");
    NYX_CHECK_MSG(compression_level <= ZSTD_maxCLevel(), "compression_level must be less or equal to ZSTD_maxCLevel()");
    NYX_CHECK_MSG(m_context != nullptr, "Failed to create ZSTD encoder context");
    // Parameters are kept from frame to frame; the plain call knows none.
    if (m_checksum) {
        ZSTD_CCtx_setParameter(m_context, ZSTD_c_compressionLevel, compression_level);
        ZSTD_CCtx_setParameter(m_context, ZSTD_c_checksumFlag, 1);
    }
}

ZSTD_COMPRESSOR::ZSTD_COMPRESSOR(ZSTD_COMPRESSOR &&other) noexcept
    : m_context(std::exchange(other.m_context, nullptr))
    , m_compression_level(other.m_compression_level)
    , m_checksum(other.m_checksum) {}

ZSTD_COMPRESSOR &ZSTD_COMPRESSOR::operator=(ZSTD_COMPRESSOR &&other) noexcept {
    std::swap(m_context, other.m_context);
    std::swap(m_compression_level, other.m_compression_level);
    std::swap(m_checksum, other.m_checksum);
    return *this;
}

ZSTD_COMPRESSOR::~ZSTD_COMPRESSOR() {
    ZSTD_freeCCtx(m_context);
}

void ZSTD_COMPRESSOR::check_usable() const {
    NYX_CHECK_MSG(m_context != nullptr, "ZSTD_ENCODER has already been invalidated!");
}

unsigned ZSTD_COMPRESSOR::compress(const char *in, unsigned size, char *out, unsigned capacity) {
    const std::size_t result = m_checksum ? ZSTD_compress2(m_context, out, capacity, in, size)
                                          : ZSTD_compressCCtx(m_context, out, capacity, in, size, m_compression_level);
    return ZSTD_isError(result) ? 0 : static_cast<unsigned>(result);
}

} // namespace detail

} // namespace NYX
