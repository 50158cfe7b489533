#ifndef NYX_STRING_POOL_H
#define NYX_STRING_POOL_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

/// Strings by number: equal strings have the same number, numbers count from 0 in the order of arrival. What get()
/// returns stays where it is, ends in a NUL, and lives as long as the pool.
class NYX_STRING_POOL {
public:
    std::uint32_t add(std::string_view text);
    std::string_view get(std::uint32_t number) const { return {m_entries[number].text, m_entries[number].size}; }
    const char *get_c_str(std::uint32_t number) const { return m_entries[number].text; }
    std::uint32_t get_size() const { return std::uint32_t(m_entries.size()); }

private:
    struct ENTRY {
        const char *text;
        std::uint32_t size;
        std::uint32_t hash;
    };

    const char *store(std::string_view text);
    void grow();

    std::vector<ENTRY> m_entries;
    /// Open addressing over the numbers, a power of two of them, at most three quarters full.
    std::vector<std::uint32_t> m_slots;
    std::vector<std::unique_ptr<char[]>> m_blocks;
    std::size_t m_block_left = 0;
    char *m_block_next = nullptr;
};

#endif
