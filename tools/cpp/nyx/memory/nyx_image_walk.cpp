#include "memory/nyx_image_walk.h"

#include "memory/nyx_rbtree_best_fit.h"

#include <algorithm>
#include <cstring>

namespace {

using NYX::MEM_ALGO::segment_algorithm;

// The control area; the image's layout is in docs/segment.md.
constexpr std::size_t s_extra_bytes_offset = 32;
constexpr std::size_t s_allocated_offset = 40;
constexpr std::size_t s_size_offset = 48;
constexpr std::size_t s_reserved_offset = 64;
constexpr std::size_t s_reserved_end = 104;
constexpr std::size_t s_first_block = sizeof(segment_algorithm) + segment_algorithm::SegmentManagerBytes;
static_assert(s_first_block == 168);

// The second word of a block's head.
constexpr std::size_t s_unit = segment_algorithm::Alignment;
constexpr std::uint64_t s_allocated_bit = std::uint64_t(1) << 63;
constexpr std::uint64_t s_prev_allocated_bit = std::uint64_t(1) << 62;
constexpr std::uint64_t s_units_mask = s_prev_allocated_bit - 1;

} // namespace

NYX_IMAGE_WALK::NYX_IMAGE_WALK(const char *image, std::size_t size)
    : m_image(image)
    , m_size(size)
    , m_next(s_first_block) {
    if (size < segment_algorithm::MinSegmentBytes)
        m_state = STATE::UNSOUND;
}

std::uint64_t NYX_IMAGE_WALK::word(std::size_t offset) const {
    std::uint64_t value;
    std::memcpy(&value, m_image + offset, sizeof(value));
    return value;
}

bool NYX_IMAGE_WALK::advance(std::size_t bytes) {
    if (m_state == STATE::CONTROL_AREA && bytes >= segment_algorithm::MinSegmentBytes)
        m_state = read_control_area() ? STATE::BLOCKS : STATE::UNSOUND;
    if (m_state == STATE::BLOCKS && !walk(bytes))
        m_state = STATE::UNSOUND;
    return m_state != STATE::UNSOUND;
}

bool NYX_IMAGE_WALK::read_control_area() {
    if (word(0) != 0 || word(s_extra_bytes_offset) != segment_algorithm::SegmentManagerBytes ||
        word(s_size_offset) != m_size || word(s_allocated_offset) > m_size - s_first_block)
        return false;
    for (std::size_t offset = s_reserved_offset; offset < s_reserved_end; offset += sizeof(std::uint64_t))
        if (word(offset) != 0)
            return false;
    const std::uint64_t end_units = (m_size - s_first_block) / s_unit - segment_algorithm::EndCtrlBlockUnits;
    m_end = s_first_block + end_units * s_unit;
    // The first block has no other one in front of it. Instead, it says where the end block is.
    m_previous_head = s_allocated_bit;
    return word(s_first_block) == end_units;
}

bool NYX_IMAGE_WALK::walk(std::size_t bytes) {
    std::size_t next = m_next;
    std::uint64_t previous = m_previous_head;
    std::uint64_t allocated_units = m_allocated_units;
    // As far as heads are there.
    const std::size_t last_head = std::min<std::size_t>(m_end - 1, bytes - segment_algorithm::AllocatedCtrlBytes);
    while (next <= last_head) {
        const std::uint64_t head = word(next + sizeof(std::uint64_t));
        if (((head & s_prev_allocated_bit) != 0) != ((previous & s_allocated_bit) != 0))
            return false;
        const std::uint64_t units = head & s_units_mask;
        const std::uint64_t left = (m_end - next) / s_unit;
        // The rest is what a block more has to fit in, or nothing.
        if (units < segment_algorithm::BlockCtrlUnits || units > left ||
            (units < left && left - units < segment_algorithm::BlockCtrlUnits))
            return false;
        m_blocks.add(next + segment_algorithm::AllocatedCtrlBytes);
        if ((head & s_allocated_bit) != 0) {
            allocated_units += units;
            if ((head & s_prev_allocated_bit) == 0 && word(next) != (previous & s_units_mask))
                return false;
        } else {
            // Free neighbours would be one block.
            if ((head & s_prev_allocated_bit) == 0)
                return false;
            m_free_blocks.push_back(next);
        }
        previous = head;
        next += units * s_unit;
    }
    m_next = next;
    m_previous_head = previous;
    m_allocated_units = allocated_units;
    if (bytes < m_size)
        return true;
    const std::uint64_t end = word(m_end + sizeof(std::uint64_t));
    const bool last_is_allocated = (previous & s_allocated_bit) != 0;
    if ((end & s_allocated_bit) == 0 || (end & s_units_mask) != (m_end - s_first_block) / s_unit ||
        ((end & s_prev_allocated_bit) != 0) != last_is_allocated ||
        (!last_is_allocated && word(m_end) != (previous & s_units_mask)) ||
        allocated_units * s_unit != word(s_allocated_offset))
        return false;
    m_state = STATE::SOUND;
    return true;
}

NYX_BLOCK_MAP NYX_IMAGE_WALK::take_allocated_blocks() {
    for (const std::size_t block : m_free_blocks)
        m_blocks.remove(block + segment_algorithm::AllocatedCtrlBytes);
    return std::move(m_blocks);
}
