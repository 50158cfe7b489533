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

    const char *base() const { return m_base; }
    /// Bytes up to the end of the last allocated block. No link leads further.
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
        if (offset >= m_size || offset % 8 != 0)
            return 0;
        const std::size_t unit = offset / 8;
        if ((m_starts[unit / 64] >> unit % 64 & 1) == 0)
            return 0;
        return units_of(address) * 8 - 8;
    }
    /// Takes the block, which must hold `bytes` bytes, for its only owner. `what` is for the fault.
    const char *claim(std::uintptr_t address, std::size_t bytes, const char *what) {
        if (usable(address) < bytes)
            fail("%s at offset %lld is no block of %zu bytes", what,
                 static_cast<long long>(address - reinterpret_cast<std::uintptr_t>(m_base)), bytes);
        const std::size_t unit = (address - reinterpret_cast<std::uintptr_t>(m_base)) / 8;
        m_starts[unit / 64] &= ~(std::uint64_t(1) << unit % 64);
        return reinterpret_cast<const char *>(address);
    }
    /// Whether a link to the segment's manager leads there.
    bool leads_to_manager(const void *link) const { return target(link) == reinterpret_cast<std::uintptr_t>(m_base); }

    /// Calls `visit(block)` with each allocated block that nobody has claimed.
    template <class VISIT>
    void for_each_unclaimed(VISIT &&visit) const {
        for (std::size_t i = 0; i < m_starts.size(); ++i)
            for (std::uint64_t bits = m_starts[i]; bits != 0; bits &= bits - 1)
                visit(m_base + (i * 64 + static_cast<std::size_t>(__builtin_ctzll(bits))) * 8);
    }

private:
    static std::uint64_t units_of(std::uintptr_t user) {
        return static_cast<std::uint64_t>(word(reinterpret_cast<const void *>(user - 8))) & (~std::uint64_t(0) >> 2);
    }

    const char *m_base;
    std::size_t m_size;
    std::vector<std::uint64_t> m_starts; ///< a bit for each unit: the user's part of an unclaimed block starts there
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
