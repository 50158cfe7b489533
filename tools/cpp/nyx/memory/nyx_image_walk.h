#ifndef NYX_IMAGE_WALK_H
#define NYX_IMAGE_WALK_H

/// \file
/// The blocks of an image from outside, looked at while it is read: the head of a block that has just been written is
/// in the cache, and a large image has millions of them.

#include "nyx/nyx_api.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

/// Where blocks start: a bit for each 8 bytes of a segment, set where the user's part of a block begins. Grows with
/// what is added: what an image says of its size may be anything.
class NYX_BLOCK_MAP {
public:
    /// Whether one starts at `offset`, which may be any number.
    bool has(std::size_t offset) const {
        return offset % 8 == 0 && offset / 512 < m_words.size() && (m_words[offset / 512] & bit(offset)) != 0;
    }
    /// `offset` must be a multiple of 8.
    void add(std::size_t offset) {
        if (offset / 512 >= m_words.size())
            m_words.resize(offset / 512 + 1);
        m_words[offset / 512] |= bit(offset);
    }
    /// Takes out one that is there.
    void remove(std::size_t offset) { m_words[offset / 512] &= ~bit(offset); }

    /// Calls `visit(offset)` for each in ascending order.
    template <class VISIT>
    void for_each(VISIT &&visit) const {
        for (std::size_t i = 0; i < m_words.size(); ++i)
            for (std::uint64_t bits = m_words[i]; bits != 0; bits &= bits - 1)
                visit((i * 64 + static_cast<std::size_t>(__builtin_ctzll(bits))) * 8);
    }

private:
    static std::uint64_t bit(std::size_t offset) { return std::uint64_t(1) << offset / 8 % 64; }

    std::vector<std::uint64_t> m_words;
};

/// Walks over the blocks of an image from the first one to the end block, as far as it has been read, and compares what
/// they and the control area say of each other. Nothing is followed out of the image, nor written to it.
class NYX_API NYX_IMAGE_WALK {
public:
    /// `image` is where the `size` bytes are going to be. No segment has less than 224.
    NYX_IMAGE_WALK(const char *image, std::size_t size);

    /// The first `bytes` bytes are there; ascending from call to call. False if they can't be those of a segment, for
    /// good.
    bool advance(std::size_t bytes);

    /// All bytes were there, and agreed.
    bool is_sound() const { return m_state == STATE::SOUND; }

    /// \name Of a sound image
    /// \{
    /// Offset of the end block.
    std::size_t end() const { return m_end; }
    /// Of all blocks but the end block.
    const NYX_BLOCK_MAP &blocks() const { return m_blocks; }
    /// Offsets of the free ones.
    const std::vector<std::size_t> &free_blocks() const { return m_free_blocks; }
    /// Hands over the map, without the free ones.
    NYX_BLOCK_MAP take_allocated_blocks();
    /// \}

private:
    enum class STATE { CONTROL_AREA, BLOCKS, SOUND, UNSOUND };

    std::uint64_t word(std::size_t offset) const;
    bool read_control_area();
    bool walk(std::size_t bytes);

    const char *const m_image;
    const std::size_t m_size;
    std::size_t m_end = 0;
    std::size_t m_next;                ///< offset of the block that comes next
    std::uint64_t m_previous_head = 0; ///< second word of the one in front of it
    std::uint64_t m_allocated_units = 0;
    STATE m_state = STATE::CONTROL_AREA;
    NYX_BLOCK_MAP m_blocks;
    std::vector<std::size_t> m_free_blocks;
};

#endif
