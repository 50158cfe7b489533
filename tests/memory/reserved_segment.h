#ifndef NYX_TEST_RESERVED_SEGMENT_H
#define NYX_TEST_RESERVED_SEGMENT_H

#include "memory/nyx_sanitizer.h"
#include "memory/nyx_segment.h"
#include "memory/nyx_virtual_memory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <vector>

/// \file
/// What the tests of the segment's allocator share: a segment in a larger reservation, and looks at its raw words.

using NYX::MEM_ALGO::segment_algorithm;

inline constexpr std::size_t GiB = std::size_t(1) << 30;
inline constexpr std::size_t s_first_block = 168;
inline constexpr std::uint64_t s_prev_allocated_bit = std::uint64_t(1) << 62;
inline constexpr std::uint64_t s_allocated_bit = std::uint64_t(1) << 63;

/// Size of a fresh segment whose one free block has `units` units.
constexpr std::size_t size_for_units(std::size_t units) {
    return s_first_block + 8 * units + 16;
}

/// The largest request that a block of `units` units serves.
constexpr std::size_t bytes_for_units(std::size_t units) {
    return 8 * units - 8;
}

/// A segment of `size` bytes at the start of `reserved` bytes of address space, so that it can grow. Owns both.
class RESERVED_SEGMENT {
public:
    explicit RESERVED_SEGMENT(std::size_t size, std::size_t reserved = 0)
        : RESERVED_SEGMENT(UNBUILT{}, reserved != 0 ? reserved : size) {
        ::new (m_base) NYX_SEGMENT_MANAGER(size);
    }
    ~RESERVED_SEGMENT() { NYX_SEGMENT::release_range(manager(), m_reserved); }
    RESERVED_SEGMENT(const RESERVED_SEGMENT &) = delete;
    RESERVED_SEGMENT &operator=(const RESERVED_SEGMENT &) = delete;

    /// A copy of `other` made by clone().
    struct CLONE {};
    RESERVED_SEGMENT(CLONE, const RESERVED_SEGMENT &other, std::size_t reserved)
        : RESERVED_SEGMENT(UNBUILT{}, reserved) {
        other.algorithm().clone({m_base, m_reserved});
    }

    /// A copy of the bytes of `other`, as if it had been written to a file and read back, before post_load().
    struct BYTES {};
    RESERVED_SEGMENT(BYTES, const RESERVED_SEGMENT &other, std::size_t reserved)
        : RESERVED_SEGMENT(UNBUILT{}, reserved) {
        const std::size_t size = other.algorithm().get_size();
        NYX::VIRTUAL_MEMORY::commit(m_base, size);
        // What lies between the committed span and the end block is zero to a reader of the whole image.
        const std::size_t committed = std::min<std::size_t>(other.algorithm().get_committed(), size);
        other.algorithm().unpoison_free_blocks();
        copy_without_sanitizer(m_base, other.m_base, committed);
        if (committed < size)
            copy_without_sanitizer(m_base + other.end_offset(), other.m_base + other.end_offset(), 16);
        other.algorithm().poison_free_blocks();
    }

    char *base() { return m_base; }
    const char *base() const { return m_base; }
    std::size_t reserved() const { return m_reserved; }
    NYX_SEGMENT_MANAGER *manager() { return reinterpret_cast<NYX_SEGMENT_MANAGER *>(m_base); }
    segment_algorithm &algorithm() { return *reinterpret_cast<segment_algorithm *>(m_base); }
    const segment_algorithm &algorithm() const { return *reinterpret_cast<const segment_algorithm *>(m_base); }
    segment_algorithm *operator->() { return &algorithm(); }
    const segment_algorithm *operator->() const { return &algorithm(); }

    std::uint64_t word(std::size_t offset) const {
        std::uint64_t value;
        std::memcpy(&value, m_base + offset, sizeof(value));
        return value;
    }
    void set_word(std::size_t offset, std::uint64_t value) { std::memcpy(m_base + offset, &value, sizeof(value)); }

    std::size_t offset_of(const void *ptr) const { return static_cast<const char *>(ptr) - m_base; }
    /// Offset of the block of a user pointer.
    std::size_t block_of(const void *ptr) const { return offset_of(ptr) - 16; }
    /// Units of the block of a user pointer, from the word right below it.
    std::size_t units_of(const void *ptr) const {
        return word(offset_of(ptr) - 8) & ~(s_allocated_bit | s_prev_allocated_bit);
    }
    std::size_t end_offset() const { return s_first_block + 8 * word(s_first_block); }

    /// The blocks in address order: "a5 f100" is an allocated block of 5 units and a free one of 100.
    std::string layout() const {
        std::string text;
        algorithm().for_each_block([&text](const segment_algorithm::BLOCK &block) {
            text += (text.empty() ? "" : " ") + std::string(block.allocated ? "a" : "f") + std::to_string(block.units);
        });
        return text;
    }

    void *allocate_units(std::size_t units) { return algorithm().allocate(bytes_for_units(units)); }

    /// Blocks of these sizes, one behind the other in a fresh segment.
    std::vector<void *> allocate_all(const std::vector<std::size_t> &units) {
        std::vector<void *> blocks;
        for (const std::size_t n : units)
            blocks.push_back(allocate_units(n));
        return blocks;
    }

    struct RESULT {
        void *ptr;
        std::size_t received;
        void *reuse;
    };
    /// raw_allocation_command that gives null instead of throwing.
    RESULT command(int flags, std::size_t limit, std::size_t preferred, void *reuse = nullptr,
                   std::size_t sizeof_object = 1) {
        segment_algorithm::size_type size = preferred;
        void *const ptr = algorithm().raw_allocation_command(flags | boost::interprocess::nothrow_allocation, limit,
                                                             size, reuse, sizeof_object);
        return {ptr, size, reuse};
    }

private:
    struct UNBUILT {};
    RESERVED_SEGMENT(UNBUILT, std::size_t reserved)
        : m_base(NYX::VIRTUAL_MEMORY::reserve_and_commit(reserved, 0))
        , m_reserved(reserved) {}

#if defined(NYX_ADDRESS_SANITIZER)
    __attribute__((no_sanitize("address"), noinline))
#endif
    static void
    copy_without_sanitizer(char *to, const char *from, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i)
            reinterpret_cast<volatile char *>(to)[i] = from[i];
    }

    char *m_base;
    std::size_t m_reserved;
};

#endif
