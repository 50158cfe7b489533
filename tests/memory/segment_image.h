#ifndef NYX_TEST_SEGMENT_IMAGE_H
#define NYX_TEST_SEGMENT_IMAGE_H

#include "memory/nyx_segment.h"
#include "memory/nyx_virtual_memory.h"
#include "nyx_barebones/nyx_barebones_notifier.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

/// The bytes at an offset behind an address, as a T.
template <class T>
T stored(const void *base, std::size_t offset) {
    T result;
    std::memcpy(&result, static_cast<const char *>(base) + offset, sizeof(T));
    return result;
}

/// Overwrites the bytes at an offset behind an address.
template <class T>
void store(void *base, std::size_t offset, const T &value) {
    std::memcpy(static_cast<char *>(base) + offset, &value, sizeof(T));
}

/// Steps of a randomised test: NYX_MODEL_STEPS when that is set.
inline unsigned model_steps(unsigned by_default) {
    const char *const text = std::getenv("NYX_MODEL_STEPS");
    return text != nullptr && *text != '\0' ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : by_default;
}

/// A regular expression for exactly this text, for EXPECT_DEATH.
inline std::string literally(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (std::string_view("\\^$.|?*+()[]{}").find(c) != std::string_view::npos)
            result += '\\';
        result += c;
    }
    return result;
}

/// What a failed check says: the expression, and the text if there is one.
inline std::string failed_check(std::string_view expression, std::string_view text = {}) {
    std::string said = "check failed: ";
    said.append(expression);
    if (!text.empty())
        said.append(": ").append(text);
    return literally(said.append(" ["));
}

/// A segment's bytes at another address, copied as they are.
class IMAGE_COPY {
public:
    explicit IMAGE_COPY(const NYX_SEGMENT &original) : IMAGE_COPY(original.get_segment_manager()) {}
    explicit IMAGE_COPY(const NYX_SEGMENT_MANAGER *original)
        : m_original(reinterpret_cast<const char *>(original))
        , m_size(nyx_get_algorithm(original)->get_size())
        , m_data(NYX::VIRTUAL_MEMORY::reserve_and_commit(m_size, m_size)) {
        const auto &algorithm = *nyx_get_algorithm(original);
        // A free last block may lie in memory that was never committed, its control bytes and the end block don't.
        std::size_t used = m_size;
        std::size_t end_block = m_size;
        algorithm.for_each_block([&](const auto &block) {
            used = block.allocated ? m_size : block.offset + 40;
            end_block = block.offset + block.units * 8;
        });
        algorithm.unpoison_free_blocks();
        std::memcpy(m_data, m_original, used);
        std::memcpy(m_data + end_block, m_original + end_block, 16);
        algorithm.poison_free_blocks();
    }
    IMAGE_COPY(const IMAGE_COPY &) = delete;
    IMAGE_COPY &operator=(const IMAGE_COPY &) = delete;
    ~IMAGE_COPY() {
        set_writable(true);
        NYX_SEGMENT::release_range(manager(), m_size);
    }

    NYX_SEGMENT_MANAGER *manager() { return reinterpret_cast<NYX_SEGMENT_MANAGER *>(m_data); }

    /// What an address in the original is here.
    template <class T>
    std::remove_const_t<T> *at(T *original) const {
        const auto offset = reinterpret_cast<const char *>(original) - m_original;
        return reinterpret_cast<std::remove_const_t<T> *>(m_data + offset);
    }

    /// A write to an image that isn't writable ends the process.
    void set_writable(bool writable) { NYX::VIRTUAL_MEMORY::protect(m_data, m_size, writable); }

private:
    const char *m_original;
    std::size_t m_size;
    char *m_data;
};

/// Follows the allocation notices of one segment for its lifetime, and tells whether they and the segment agree. Blocks
/// that are there already count as told of.
class BLOCK_LEDGER final : private NYX_BAREBONES_NOTIFIER::LISTENER {
public:
    explicit BLOCK_LEDGER(NYX_SEGMENT &segment) : m_segment(segment) {
        segment.algorithm().for_each_block([&](const auto &block) {
            if (block.allocated)
                m_live.insert(segment.data() + block.offset + 16);
        });
        m_previous = NYX_BAREBONES_NOTIFIER::set_listener(this);
    }
    ~BLOCK_LEDGER() override { NYX_BAREBONES_NOTIFIER::set_listener(m_previous); }
    BLOCK_LEDGER(const BLOCK_LEDGER &) = delete;
    BLOCK_LEDGER &operator=(const BLOCK_LEDGER &) = delete;

    /// The blocks that were told of are the ones that are there, and the segment has no fault.
    void expect_balanced() const {
        ASSERT_EQ(m_segment.algorithm().find_fault(), "");
        std::set<const void *> there;
        m_segment.algorithm().for_each_block([&](const auto &block) {
            if (block.allocated)
                there.insert(m_segment.data() + block.offset + 16);
        });
        EXPECT_EQ(m_live, there);
    }

private:
    // Fewer bytes than were asked for are usable where a container would rather have had more than it needs.
    void allocated(const void *ptr, std::size_t, std::size_t usable) override {
        EXPECT_EQ(usable, m_segment.get_segment_manager()->size(ptr));
        EXPECT_TRUE(m_live.insert(ptr).second) << "told of twice";
    }
    void deallocated(const void *ptr, std::size_t requested, std::size_t usable) override {
        EXPECT_EQ(requested, usable);
        EXPECT_EQ(usable, m_segment.get_segment_manager()->size(ptr));
        EXPECT_EQ(m_live.erase(ptr), 1u) << "never told of";
    }

    NYX_SEGMENT &m_segment;
    std::set<const void *> m_live;
    NYX_BAREBONES_NOTIFIER::LISTENER *m_previous = nullptr;
};

/// Takes all of a segment but one free block of `left` bytes (a multiple of 8, and 0 or from 32 on) for its lifetime.
class JUNK {
public:
    JUNK(NYX_SEGMENT &segment, std::size_t left) : JUNK(segment.algorithm(), left) {}
    JUNK(NYX::MEM_ALGO::segment_algorithm &algorithm, std::size_t left) : m_algorithm(algorithm) {
        void *const gap = left == 0 ? nullptr : m_algorithm.allocate(left);
        for (std::size_t size = std::size_t(1) << 30; size > 0; size /= 2)
            while (void *const block = m_algorithm.allocate(size))
                m_blocks.push_back(block);
        m_algorithm.deallocate(gap);
    }
    JUNK(const JUNK &) = delete;
    JUNK &operator=(const JUNK &) = delete;
    ~JUNK() {
        for (void *const block : m_blocks)
            m_algorithm.deallocate(block);
    }

private:
    NYX::MEM_ALGO::segment_algorithm &m_algorithm;
    std::vector<void *> m_blocks;
};

/// Runs `attempt(left)`, which tells whether it succeeded, in segments with more and more room, byte by byte in the
/// units that a segment can tell apart, until it succeeds. \returns the number of failures.
template <class ATTEMPT>
unsigned with_growing_room(ATTEMPT &&attempt) {
    unsigned failures = 0;
    for (std::size_t left = 0; left < (std::size_t(1) << 20); left += left == 0 ? 32 : 8) {
        if (attempt(left))
            return failures;
        ++failures;
        if (testing::Test::HasFailure())
            break;
    }
    ADD_FAILURE() << "never succeeded, or failed in another way";
    return failures;
}

#endif
