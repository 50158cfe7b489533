#include "io/nyx_string_pool.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

namespace {

constexpr std::uint32_t s_free = ~0u;
constexpr std::size_t s_block_size = 256 << 10;

} // namespace

std::uint32_t NYX_STRING_POOL::add(std::string_view text) {
    if ((m_entries.size() + 1) * 4 > m_slots.size() * 3)
        grow();
    const std::uint32_t hash = std::uint32_t(std::hash<std::string_view>()(text));
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t slot = hash & mask;; slot = (slot + 1) & mask) {
        const std::uint32_t number = m_slots[slot];
        if (number == s_free) {
            if (m_entries.size() >= s_free || text.size() >= s_free)
                throw std::length_error("too many strings");
            const auto fresh = std::uint32_t(m_entries.size());
            m_entries.push_back({store(text), std::uint32_t(text.size()), hash});
            m_slots[slot] = fresh;
            return fresh;
        }
        if (m_entries[number].hash == hash && get(number) == text)
            return number;
    }
}

const char *NYX_STRING_POOL::store(std::string_view text) {
    const std::size_t size = text.size() + 1;
    char *to = nullptr;
    if (size > s_block_size / 4) {
        m_blocks.push_back(std::make_unique<char[]>(size));
        to = m_blocks.back().get();
    } else {
        if (size > m_block_left) {
            m_blocks.push_back(std::make_unique<char[]>(s_block_size));
            m_block_next = m_blocks.back().get();
            m_block_left = s_block_size;
        }
        to = m_block_next;
        m_block_next += size;
        m_block_left -= size;
    }
    std::copy(text.begin(), text.end(), to);
    to[text.size()] = '\0';
    return to;
}

void NYX_STRING_POOL::grow() {
    m_slots.assign(std::max<std::size_t>(64, m_slots.size() * 2), s_free);
    const std::size_t mask = m_slots.size() - 1;
    for (std::uint32_t number = 0; number < m_entries.size(); ++number) {
        std::size_t slot = m_entries[number].hash & mask;
        while (m_slots[slot] != s_free)
            slot = (slot + 1) & mask;
        m_slots[slot] = number;
    }
}
