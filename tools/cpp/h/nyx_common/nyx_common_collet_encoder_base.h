#ifndef NYX_COMMON_COLLET_ENCODER_BASE_H
#define NYX_COMMON_COLLET_ENCODER_BASE_H

/// \file
/// What the encoders do alike: they cut their input into chunks and write each as a frame.
///
///     4 bytes    size of the block, little-endian, greater than 0
///     the block  one compressed chunk
///
/// Every chunk but the last holds `chunk_size` bytes, the last one what is left. Frames follow one another without a
/// count and without an end mark, and nothing carries over from one to the next.

#include "nyx_report/nyx_report.h"

#include <gsl/span>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

#define NYX_COMMON_API __attribute__((visibility("default")))

static_assert(std::endian::native == std::endian::little, "size words are stored as they lie in memory");

namespace NYX {

/// Cuts into chunks. OSTREAM has `write(const char *, size)`; each frame is one call of it. CODEC has
///
///     unsigned compress(const char *in, unsigned size, char *out, unsigned capacity)
///
/// which returns the size of the block, or 0 when it could not make one.
///
/// Move-only. One that was moved from ends the run when it is used. For one thread at a time; encoders share nothing.
template <class CODEC, class OSTREAM>
class COLLET_ENCODER_BASE {
public:
    static constexpr std::size_t s_size_word = sizeof(std::uint32_t);

    /// Takes all of `in`. With `flush`, what is left of a chunk becomes a frame as well; without it, it waits for more
    /// input. False if the codec could not compress a chunk: the encoder is of no further use then.
    bool encode(gsl::span<const char> in, bool flush) {
        CODEC &codec = static_cast<CODEC &>(*this);
        codec.check_usable();
        NYX_CHECK_MSG(m_pending_in_buffer, "Encoder has already been invalidated!");
        const char *at = in.data();
        std::size_t left = in.size();
        while (left != 0) {
            // A whole chunk needs no copy.
            if (m_pending_size == 0 && left >= m_chunk_size) {
                if (!write_frame(codec, at, m_chunk_size))
                    return false;
                at += m_chunk_size;
                left -= m_chunk_size;
                continue;
            }
            const std::size_t taken = std::min<std::size_t>(left, m_chunk_size - m_pending_size);
            std::memcpy(m_pending_in_buffer.get() + m_pending_size, at, taken);
            m_pending_size += static_cast<unsigned>(taken);
            at += taken;
            left -= taken;
            if (m_pending_size == m_chunk_size && !flush_pending(codec))
                return false;
        }
        return !flush || m_pending_size == 0 || flush_pending(codec);
    }

protected:
    COLLET_ENCODER_BASE(unsigned chunk_size, unsigned bound, OSTREAM stream)
        : m_chunk_size(chunk_size)
        , m_bound(bound)
        , m_stream(std::move(stream)) {
        NYX_CHECK_MSG(chunk_size > 0, "chunk_size must be a positive integer");
        // Not filled: a chunk may be far larger than what is ever put into one.
        m_pending_in_buffer = std::make_unique_for_overwrite<char[]>(chunk_size);
        m_out_buffer = std::make_unique_for_overwrite<char[]>(std::size_t(bound) + s_size_word);
    }
    COLLET_ENCODER_BASE(COLLET_ENCODER_BASE &&) = default;
    COLLET_ENCODER_BASE &operator=(COLLET_ENCODER_BASE &&) = default;
    ~COLLET_ENCODER_BASE() = default;

private:
    bool flush_pending(CODEC &codec) {
        const unsigned size = std::exchange(m_pending_size, 0);
        return write_frame(codec, m_pending_in_buffer.get(), size);
    }

    bool write_frame(CODEC &codec, const char *in, unsigned size) {
        const std::uint32_t block_size = codec.compress(in, size, m_out_buffer.get() + s_size_word, m_bound);
        if (block_size == 0)
            return false;
        std::memcpy(m_out_buffer.get(), &block_size, s_size_word);
        m_stream.write(m_out_buffer.get(), s_size_word + block_size);
        return true;
    }

    std::unique_ptr<char[]> m_pending_in_buffer; ///< the chunk that is being filled
    std::unique_ptr<char[]> m_out_buffer;        ///< size word and block, which are written together
    unsigned m_chunk_size;
    unsigned m_bound; ///< what a block may take
    unsigned m_pending_size = 0;
    OSTREAM m_stream;
};

} // namespace NYX

#endif
