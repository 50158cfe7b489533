#ifndef NYX_COMMON_COLLET_ENCODERS_H
#define NYX_COMMON_COLLET_ENCODERS_H

/// \file
/// The encoders: LZ4 blocks and Zstandard frames.

#include "nyx_common/nyx_common_collet_encoder_base.h"

#include <utility>

struct ZSTD_CCtx_s;

namespace NYX {

/// \name Bounds
/// The bytes that the block of a chunk of `chunk_size` bytes may take. Part of the format: a reader refuses a size word
/// above it.
/// \{

/// 0 for a chunk that LZ4 does not take, above 0x7E000000. A chunk that doesn't fit in an int ends the run.
NYX_COMMON_API unsigned lz4_collet_bound(unsigned chunk_size);
/// Ends the run for a chunk whose frame would have no 32-bit size; see is_zstd_collet().
NYX_COMMON_API unsigned zstd_collet_bound(unsigned chunk_size);
/// Whether a chunk of that size can be coded.
NYX_COMMON_API bool is_lz4_collet(unsigned chunk_size);
NYX_COMMON_API bool is_zstd_collet(unsigned chunk_size);
/// \}

namespace detail {

NYX_COMMON_API unsigned lz4_compress(const char *in, unsigned size, char *out, unsigned capacity);

/// Owns a context of the library; null once it was moved from.
class NYX_COMMON_API ZSTD_COMPRESSOR {
public:
    ZSTD_COMPRESSOR(int compression_level, bool checksum);
    ZSTD_COMPRESSOR(ZSTD_COMPRESSOR &&other) noexcept;
    ZSTD_COMPRESSOR &operator=(ZSTD_COMPRESSOR &&other) noexcept;
    ~ZSTD_COMPRESSOR();

    void check_usable() const;
    unsigned compress(const char *in, unsigned size, char *out, unsigned capacity);

private:
    ZSTD_CCtx_s *m_context;
    int m_compression_level;
    bool m_checksum;
};

} // namespace detail

/// Writes LZ4 blocks. encode() is false for a chunk that LZ4 does not take.
template <class OSTREAM>
class LZ4_ENCODER : public COLLET_ENCODER_BASE<LZ4_ENCODER<OSTREAM>, OSTREAM> {
    using BASE = COLLET_ENCODER_BASE<LZ4_ENCODER<OSTREAM>, OSTREAM>;

public:
    /// `chunk_size` must be positive and fit in an int; anything else ends the run.
    LZ4_ENCODER(unsigned chunk_size, OSTREAM stream)
        : BASE(chunk_size, lz4_collet_bound(chunk_size), std::move(stream)) {}

private:
    friend BASE;
    void check_usable() const {}
    unsigned compress(const char *in, unsigned size, char *out, unsigned capacity) {
        return detail::lz4_compress(in, size, out, capacity);
    }
};

/// Writes Zstandard frames.
template <class OSTREAM>
class ZSTD_ENCODER : public COLLET_ENCODER_BASE<ZSTD_ENCODER<OSTREAM>, OSTREAM> {
    using BASE = COLLET_ENCODER_BASE<ZSTD_ENCODER<OSTREAM>, OSTREAM>;

public:
    /// `compression_level` must be between ZSTD_minCLevel() and ZSTD_maxCLevel(), and `chunk_size` positive; anything
    /// else ends the run. `frame_checksum` adds 4 bytes to each block by which a decoder, of whatever age, notices
    /// damage.
    ZSTD_ENCODER(unsigned chunk_size, OSTREAM stream, int compression_level, bool frame_checksum = false)
        : BASE(chunk_size, zstd_collet_bound(chunk_size), std::move(stream))
        , m_compressor(compression_level, frame_checksum) {}

private:
    friend BASE;
    void check_usable() const { m_compressor.check_usable(); }
    unsigned compress(const char *in, unsigned size, char *out, unsigned capacity) {
        return m_compressor.compress(in, size, out, capacity);
    }

    detail::ZSTD_COMPRESSOR m_compressor;
};

} // namespace NYX

#endif
