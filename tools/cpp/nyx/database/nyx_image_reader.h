#ifndef NYX_IMAGE_READER_H
#define NYX_IMAGE_READER_H

/// \file
/// Looks at an image that may say anything. A pointer is followed only when it leads to the start of an allocated block
/// that is large enough for what is read there; a block belongs to one owner, so what claims it a second time is wrong.

#include "memory/nyx_segment.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

/// A fault, in words.
struct NYX_IMAGE_FAULT {
    std::string text;
};

class NYX_IMAGE_READER {
public:
    /// `manager`'s blocks must be sound. O(blocks), and a bit for eight bytes up to the last allocated one: a free end
    /// costs nothing, however long it is.
    explicit NYX_IMAGE_READER(NYX_SEGMENT_MANAGER *manager);
    /// The same with the map of the allocated blocks, which must be sound.
    NYX_IMAGE_READER(NYX_SEGMENT_MANAGER *manager, NYX_BLOCK_MAP blocks);

    const char *base() const { return m_base; }
    /// Bytes of the segment. No link leads further.
    std::size_t size() const { return m_size; }
    std::size_t offset_of(const void *at) const {
        return static_cast<std::size_t>(reinterpret_cast<std::uintptr_t>(at) -
                                        reinterpret_cast<std::uintptr_t>(m_base));
    }

    /// Throws NYX_IMAGE_FAULT.
    [[noreturn]] static void fail(const char *format, ...) __attribute__((format(printf, 1, 2)));

    /// The words of an image. `at` must lie in it.
    static std::int64_t word(const void *at) {
        std::int64_t value;
        std::memcpy(&value, at, sizeof(value));
        return value;
    }
    /// The target of a link that is null when it is 1, as a number: it may lie anywhere.
    static std::uintptr_t target(const void *link) {
        const std::int64_t distance = word(link);
        return distance == 1 ? 0 : reinterpret_cast<std::uintptr_t>(link) + static_cast<std::uintptr_t>(distance);
    }
    /// The target of a link that is never null; 0 when it was never assigned.
    static std::uintptr_t fast_target(const void *link) {
        const std::int64_t distance = word(link);
        return distance == 0 ? 0 : reinterpret_cast<std::uintptr_t>(link) + static_cast<std::uintptr_t>(distance);
    }

    /// Bytes that the user of the allocated block at `address` has; 0 if no such block starts there, or another one
    /// has claimed it.
    std::size_t usable(std::uintptr_t address) const {
        const std::uintptr_t offset = address - reinterpret_cast<std::uintptr_t>(m_base);
        return m_unclaimed.has(offset) ? units_of(address) * 8 - 8 : 0;
    }
    /// Takes the block, which must hold `bytes` bytes, for its only owner. `what` is for the fault.
    const char *claim(std::uintptr_t address, std::size_t bytes, const char *what) {
        // Any block holds that of the smallest one, whose head need not be read.
        constexpr std::size_t smallest =
            NYX::MEM_ALGO::segment_algorithm::BlockCtrlBytes - NYX::MEM_ALGO::segment_algorithm::PayloadPerAllocation;
        const std::uintptr_t offset = address - reinterpret_cast<std::uintptr_t>(m_base);
        if (!m_unclaimed.has(offset) || (bytes > smallest && usable(address) < bytes))
            fail("%s at offset %lld is no block of %zu bytes", what, static_cast<long long>(offset), bytes);
        m_unclaimed.remove(offset);
        return reinterpret_cast<const char *>(address);
    }
    /// Whether a link to the segment's manager leads there.
    bool leads_to_manager(const void *link) const { return target(link) == reinterpret_cast<std::uintptr_t>(m_base); }

    /// Calls `visit(block)` with each allocated block that nobody has claimed.
    template <class VISIT>
    void for_each_unclaimed(VISIT &&visit) const {
        m_unclaimed.for_each([&](std::size_t offset) { visit(m_base + offset); });
    }

private:
    static std::uint64_t units_of(std::uintptr_t user) {
        return static_cast<std::uint64_t>(word(reinterpret_cast<const void *>(user - 8))) & (~std::uint64_t(0) >> 2);
    }

    const char *m_base;
    std::size_t m_size;
    NYX_BLOCK_MAP m_unclaimed;
};

/// A tree of Boost's containers: the head's three links at `head`, nodes of three links with the value behind them.
/// Calls `visit(value)` with the `value_bytes` bytes of each node, in order. Checks that there are `count` nodes, that
/// their links agree, and that the tree is balanced by its colours; claims their blocks.
class NYX_IMAGE_TREE {
public:
    NYX_IMAGE_TREE(NYX_IMAGE_READER &reader, const char *what) : m_reader(reader), m_what(what) {}

    template <class VISIT>
    void walk(const char *head, std::uint64_t count, std::size_t value_bytes, VISIT &&visit) {
        m_values.clear();
        collect(head, count, value_bytes);
        for (const char *const value : m_values)
            visit(value);
    }

private:
    void collect(const char *head, std::uint64_t count, std::size_t value_bytes);

    NYX_IMAGE_READER &m_reader;
    const char *m_what;
    std::vector<const char *> m_values;
};

#endif
