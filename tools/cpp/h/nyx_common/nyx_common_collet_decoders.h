#ifndef NYX_COMMON_COLLET_DECODERS_H
#define NYX_COMMON_COLLET_DECODERS_H

/// \file
/// The decoders: LZ4 blocks and Zstandard frames.

#include "nyx_common/nyx_common_collet_decoder_base.h"
#include "nyx_common/nyx_common_collet_encoders.h"

#include <utility>

struct ZSTD_DCtx_s;

namespace NYX {

namespace detail {

NYX_COMMON_API bool lz4_decompress(const char *in, unsigned size, char *out, unsigned capacity, unsigned &decompressed);

/// Owns a context of the library; null once it was moved from.
class NYX_COMMON_API ZSTD_DECOMPRESSOR {
public:
    ZSTD_DECOMPRESSOR();
    ZSTD_DECOMPRESSOR(ZSTD_DECOMPRESSOR &&other) noexcept;
    ZSTD_DECOMPRESSOR &operator=(ZSTD_DECOMPRESSOR &&other) noexcept;
    ~ZSTD_DECOMPRESSOR();

    void check_usable() const;
    bool decompress(const char *in, unsigned size, char *out, unsigned capacity, unsigned &decompressed);

private:
    ZSTD_DCtx_s *m_context;
};

} // namespace detail

/// Reads LZ4 blocks.
template <class ISTREAM>
class LZ4_DECODER : public COLLET_DECODER_BASE<LZ4_DECODER<ISTREAM>, ISTREAM> {
    using BASE = COLLET_DECODER_BASE<LZ4_DECODER<ISTREAM>, ISTREAM>;

public:
    /// As the encoder's.
    LZ4_DECODER(unsigned chunk_size, ISTREAM stream)
        : BASE(chunk_size, lz4_collet_bound(chunk_size), std::move(stream)) {}

private:
    friend BASE;
    void check_usable() const {}
    bool decompress(const char *in, unsigned size, char *out, unsigned capacity, unsigned &decompressed) {
        return detail::lz4_decompress(in, size, out, capacity, decompressed);
    }
};

/// Reads Zstandard frames, with and without checksum. A checksum that does not fit is a corrupted block.
template <class ISTREAM>
class ZSTD_DECODER : public COLLET_DECODER_BASE<ZSTD_DECODER<ISTREAM>, ISTREAM> {
    using BASE = COLLET_DECODER_BASE<ZSTD_DECODER<ISTREAM>, ISTREAM>;

public:
    /// As the encoder's.
    ZSTD_DECODER(unsigned chunk_size, ISTREAM stream)
        : BASE(chunk_size, zstd_collet_bound(chunk_size), std::move(stream)) {}

private:
    friend BASE;
    void check_usable() const { m_decompressor.check_usable(); }
    bool decompress(const char *in, unsigned size, char *out, unsigned capacity, unsigned &decompressed) {
        return m_decompressor.decompress(in, size, out, capacity, decompressed);
    }

    detail::ZSTD_DECOMPRESSOR m_decompressor;
};

} // namespace NYX

#endif
