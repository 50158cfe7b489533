#ifndef NYX_COMMON_COLLET_DECODER_BASE_H
#define NYX_COMMON_COLLET_DECODER_BASE_H

/// \file
/// What the decoders do alike: they read frames, as nyx_common_collet_encoder_base.h tells them, and deliver bytes.

#include "nyx_common/nyx_common_collet_encoder_base.h"

#include <gsl/span>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

namespace NYX {

/// Why bytes could not be delivered.
struct COLLET_DECODER_FAILURE {
    enum class REASON : unsigned {
        none = 0,      ///< they were
        eof = 1,       ///< the stream ended in front of a frame
        truncated = 2, ///< the stream ended within a frame
        corrupted = 3, ///< no block has such a size, or the block does not decompress
    };
    REASON reason = REASON::none;
};

/// Delivers what an encoder of the same codec and the same `chunk_size` took in. ISTREAM has `read(char *, size)`,
/// which returns how many bytes it read. CODEC has
///
///     bool decompress(const char *in, unsigned size, char *out, unsigned capacity, unsigned &decompressed)
///
/// Move-only. One that was moved from ends the run when it is used. For one thread at a time; decoders share nothing.
template <class CODEC, class ISTREAM>
class COLLET_DECODER_BASE {
public:
    static constexpr std::size_t s_size_word = sizeof(std::uint32_t);

    /// Fills all of `out`. What a chunk holds beyond it is kept for the next call. After a failure the content of `out`
    /// is unspecified, and the decoder is of no further use.
    COLLET_DECODER_FAILURE decode(gsl::span<char> out) {
        using REASON = COLLET_DECODER_FAILURE::REASON;
        CODEC &codec = static_cast<CODEC &>(*this);
        codec.check_usable();
        NYX_CHECK_MSG(m_pending_in_buffer, "Decoder has already been invalidated!");
        char *at = out.data();
        std::size_t left = out.size();
        deliver(at, left);
        while (left != 0) {
            std::uint32_t block_size = 0;
            const std::size_t got = m_stream.read(reinterpret_cast<char *>(&block_size), s_size_word);
            if (got < s_size_word)
                return {got == 0 ? REASON::eof : REASON::truncated};
            if (block_size == 0 || block_size > m_bound)
                return {REASON::corrupted};
            if (m_stream.read(m_pending_in_buffer.get(), block_size) < block_size)
                return {REASON::truncated};
            // A chunk that is wanted as a whole goes where it is wanted.
            const bool direct = left >= m_chunk_size;
            unsigned size = 0;
            if (!codec.decompress(m_pending_in_buffer.get(), block_size, direct ? at : m_out_buffer.get(), m_chunk_size,
                                  size))
                return {REASON::corrupted};
            if (direct) {
                at += size;
                left -= size;
            } else {
                m_delivered = 0;
                m_pending_size = size;
                deliver(at, left);
            }
        }
        return {};
    }

protected:
    COLLET_DECODER_BASE(unsigned chunk_size, unsigned bound, ISTREAM stream)
        : m_bound(bound)
        , m_chunk_size(chunk_size)
        , m_stream(std::move(stream)) {
        NYX_CHECK_MSG(chunk_size > 0, "chunk_size must be a positive integer");
        m_pending_in_buffer = std::make_unique_for_overwrite<char[]>(std::size_t(bound) + s_size_word);
        m_out_buffer = std::make_unique_for_overwrite<char[]>(chunk_size);
    }
    COLLET_DECODER_BASE(COLLET_DECODER_BASE &&) = default;
    COLLET_DECODER_BASE &operator=(COLLET_DECODER_BASE &&) = default;
    ~COLLET_DECODER_BASE() = default;

private:
    void deliver(char *&at, std::size_t &left) {
        const std::size_t size = std::min<std::size_t>(left, m_pending_size);
        if (size == 0)
            return;
        std::memcpy(at, m_out_buffer.get() + m_delivered, size);
        m_delivered += static_cast<unsigned>(size);
        m_pending_size -= static_cast<unsigned>(size);
        at += size;
        left -= size;
    }

    std::unique_ptr<char[]> m_pending_in_buffer; ///< the block just read
    std::unique_ptr<char[]> m_out_buffer;        ///< a chunk of which a part is still to be delivered
    unsigned m_bound;                            ///< what a block may take
    unsigned m_chunk_size;
    unsigned m_delivered = 0;    ///< bytes of the out buffer that are gone
    unsigned m_pending_size = 0; ///< bytes behind them that are not
    ISTREAM m_stream;
};

} // namespace NYX

#endif
