#ifndef NYX_ROW_MAP_H
#define NYX_ROW_MAP_H

/// \file
/// Values of some of a table's rows, by the number of the row. Rows with a value tend to be many, or neighbours, and
/// are asked for in their order; so the values lie in that order, in leaves of 1024 rows each, which a directory leads
/// to. A read is three loads and needs no hash; a value costs what it holds and a share of its leaf: 168 bytes for up
/// to 1024 rows, and 8 bytes in the directory for each 1024 rows up to the last one that has had a value.
///
///     map        0  link to the segment manager           leaf      0  a bit for each row: whether it has a value
///                8  link to the directory                         128  for each 64 rows, the values in front of them
///               16  leaves that the directory has room for        160  number of values, 16 bits
///               20  number of values                              162  values that there is room for, 16 bits
///     directory  0  links to the leaves, 0 is none                168  the values
///
/// There is room for 4 (8, if they are bytes) to 256 values, a power of two, which lie one behind the other in the
/// order of their rows, with zeros behind them; or for all 1024, which lie at the places of their rows, with zeros
/// where there is none and in place of the numbers at 128. A link is the distance from itself to its target.

#include "memory/nyx_segment.h"
#include "memory/nyx_serialization.h"
#include "nyx_report/nyx_report.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

/// Rows that a leaf is for.
inline constexpr unsigned s_nyx_leaf_rows = 1024;
/// The most values that a leaf keeps one behind the other. A quarter of the rows: then room for all of them is no more
/// than what other maps take, and finding and adding a value costs next to nothing.
inline constexpr unsigned s_nyx_leaf_most_packed = 256;

/// Leaves that 2^32 rows have.
inline constexpr unsigned s_nyx_most_leaves = 1u << 22;

/// The bits of a word, counted without an instruction that not all processors have.
[[gnu::always_inline]] constexpr unsigned nyx_count_bits(std::uint64_t word) {
    word -= (word >> 1) & 0x5555555555555555u;
    word = (word & 0x3333333333333333u) + ((word >> 2) & 0x3333333333333333u);
    word = (word + (word >> 4)) & 0x0f0f0f0f0f0f0f0fu;
    return static_cast<unsigned>((word * 0x0101010101010101u) >> 56);
}
static_assert(nyx_count_bits(~std::uint64_t(0)) == 64 && nyx_count_bits(0x8000000000000101u) == 3);

/// The values of 1024 rows. Stored.
struct NYX_ROW_LEAF {
    std::array<std::uint64_t, s_nyx_leaf_rows / 64> m_is_set{};
    std::array<std::uint16_t, s_nyx_leaf_rows / 64> m_num_before{};
    std::uint16_t m_size = 0;
    std::uint16_t m_capacity = 0;
    std::uint32_t m_unused = 0;

    bool is_packed() const { return m_capacity != s_nyx_leaf_rows; }
    [[gnu::always_inline]] bool has(unsigned place) const { return (m_is_set[place / 64] >> (place % 64) & 1) != 0; }
    /// Where the value of a row is, or would be, among the values.
    [[gnu::always_inline]] unsigned index(unsigned place) const {
        if (!is_packed())
            return place;
        const std::uint64_t before = m_is_set[place / 64] & ((std::uint64_t(1) << (place % 64)) - 1);
        return m_num_before[place / 64] + nyx_count_bits(before);
    }
    /// The first row from `place` on that has a value; s_nyx_leaf_rows if there is none.
    unsigned find_from(unsigned place) const {
        for (unsigned word = place / 64; word < m_is_set.size(); ++word) {
            std::uint64_t rows = m_is_set[word];
            if (word == place / 64)
                rows &= ~std::uint64_t(0) << (place % 64);
            if (rows != 0)
                return word * 64 + static_cast<unsigned>(std::countr_zero(rows));
        }
        return s_nyx_leaf_rows;
    }
    void set(unsigned place);
    void reset(unsigned place);
};
static_assert(sizeof(NYX_ROW_LEAF) == 168);

/// VALUE is an integer of up to 8 bytes. References to values are good until the next change.
template <class VALUE>
class NYX_ROW_MAP {
public:
    /// Where a walk over rows ends; no row has that number.
    static constexpr unsigned s_no_row = ~0u;

    explicit NYX_ROW_MAP(NYX_SEGMENT_MANAGER *manager) : m_allocator(manager) {}
    /// boost::interprocess::bad_alloc when the segment is full.
    NYX_ROW_MAP(const NYX_ROW_MAP &other);
    NYX_ROW_MAP(NYX_ROW_MAP &&other) noexcept : m_allocator(other.m_allocator) { swap(other); }
    NYX_ROW_MAP &operator=(NYX_ROW_MAP other) noexcept {
        swap(other);
        return *this;
    }
    ~NYX_ROW_MAP() { clear(); }
    /// Both are in one segment.
    void swap(NYX_ROW_MAP &other) noexcept;

    NYX_SEGMENT_MANAGER *get_segment_manager() const { return m_allocator.get_segment_manager(); }
    unsigned size() const { return m_size; }
    bool empty() const { return m_size == 0; }

    /// The value of a row; null if it has none. O(1).
    [[gnu::always_inline]] const VALUE *find(unsigned row) const {
        const unsigned number = row / s_nyx_leaf_rows;
        const NYX_ROW_LEAF *const leaf = number < m_num_leaves ? get_leaf(number) : nullptr;
        const unsigned place = row % s_nyx_leaf_rows;
        return leaf != nullptr && leaf->has(place) ? &values(leaf)[leaf->index(place)] : nullptr;
    }
    [[gnu::always_inline]] VALUE *find(unsigned row) { return const_cast<VALUE *>(std::as_const(*this).find(row)); }

    /// Gives a row a value, in place of the one that it may have. O(1) but for the values of up to 255 rows that make
    /// way. boost::interprocess::bad_alloc, with no value changed, when the segment is full.
    void insert_or_assign(unsigned row, VALUE value) {
        if (VALUE *const stored = find(row))
            *stored = value;
        else
            insert(row, value);
    }
    /// Takes a row's value. The room stays, for the next value of one of its neighbours. O(1) as above.
    void erase(unsigned row);
    /// Takes all values, and gives back all that the map has taken.
    void clear();

    /// The value of `from`, if it has one, becomes that of `to`, which must be another row, and `from` has none then.
    /// Where `to` has no value yet and is in another leaf it takes room, as insert_or_assign does.
    void move(unsigned from, unsigned to);
    /// Sees to it that values of `count` more rows in the leaf of `row` need no allocation: more than have one now, so
    /// what two calls ask for doesn't add up.
    /// boost::interprocess::bad_alloc, with no value changed, when the segment is full.
    void make_room(unsigned row, unsigned count);

    /// The first row from `row` on that has a value; s_no_row if there is none. O(leaves) at worst.
    unsigned find_from(unsigned row) const;
    /// Calls `action(row, value)` for all rows with a value, in their order. It may change the value, but not the map.
    template <class ACTION>
    void for_each(ACTION &&action) const {
        for (unsigned number = 0; number < m_num_leaves; ++number) {
            const NYX_ROW_LEAF *const leaf = get_leaf(number);
            if (leaf == nullptr)
                continue;
            for (unsigned place = 0; (place = leaf->find_from(place)) != s_nyx_leaf_rows; ++place)
                action(number * s_nyx_leaf_rows + place, values(leaf)[leaf->index(place)]);
        }
    }

    /// Bytes that the map takes of the segment, besides itself. O(leaves).
    std::size_t get_bytes() const;

    /// Whether a leaf may have room for so many values.
    static bool is_capacity(unsigned capacity) {
        return capacity == s_nyx_leaf_rows ||
               (std::has_single_bit(capacity) && capacity >= s_first_capacity && capacity <= s_nyx_leaf_most_packed);
    }
    /// Bytes of a leaf with room for so many values.
    static constexpr std::size_t leaf_bytes(std::size_t capacity) {
        return sizeof(NYX_ROW_LEAF) + capacity * sizeof(VALUE);
    }
    /// The values of a leaf.
    static const VALUE *values(const NYX_ROW_LEAF *leaf) { return reinterpret_cast<const VALUE *>(leaf + 1); }

private:
    using LINK = std::int64_t;
    // The least room of a leaf: whole words, which a block has anyway.
    static constexpr unsigned s_first_capacity = sizeof(VALUE) == 1 ? 8 : 4;

    static VALUE *values(NYX_ROW_LEAF *leaf) { return reinterpret_cast<VALUE *>(leaf + 1); }
    [[gnu::always_inline]] const NYX_ROW_LEAF *get_leaf(unsigned number) const {
        const LINK *const link = nyx_get_not_null(m_directory_ptr) + number;
        return *link == 0 ? nullptr
                          : reinterpret_cast<const NYX_ROW_LEAF *>(reinterpret_cast<const char *>(link) + *link);
    }
    NYX_ROW_LEAF *get_leaf(unsigned number) {
        return const_cast<NYX_ROW_LEAF *>(std::as_const(*this).get_leaf(number));
    }
    void set_leaf(unsigned number, const NYX_ROW_LEAF *leaf);
    void make_directory(unsigned num_leaves);
    NYX_ROW_LEAF *make_leaf(unsigned capacity);
    unsigned get_capacity_for(unsigned number, unsigned count) const;
    NYX_ROW_LEAF *copy_leaf(const NYX_ROW_LEAF *leaf, unsigned capacity);
    void free_leaf(unsigned number);
    // A value for a row that has none.
    void insert(unsigned row, VALUE value);

    // Stored, in this order.
    NYX_SEGMENT_ALLOCATOR<char> m_allocator;
    NYX_OFFSET_PTR<LINK> m_directory_ptr;
    std::uint32_t m_num_leaves = 0;
    std::uint32_t m_size = 0;
};

static_assert(sizeof(NYX_ROW_MAP<int>) == 24);

/// Rows that are to move: from, to.
using NYX_ROW_MOVES = std::vector<std::pair<unsigned, unsigned>>;

/// Sees to it that all of these moves of values together, in order of where they go to, need no allocation.
/// boost::interprocess::bad_alloc, with no value changed, when the segment is full.
template <class MAP>
void nyx_make_room_for_moves(MAP &map, const NYX_ROW_MOVES &moves) {
    if (map.empty())
        return;
    const auto leaf_of = [](unsigned row) { return row / s_nyx_leaf_rows; };
    unsigned previous = 0;
    for (auto at = moves.begin(); at != moves.end();) {
        const unsigned to = at->second;
        unsigned count = 0; // values that come from another leaf
        for (; at != moves.end() && leaf_of(at->second) == leaf_of(to); ++at) {
            NYX_CHECK(at->second >= previous);
            previous = at->second;
            count += leaf_of(at->first) != leaf_of(to) && map.find(at->first) != nullptr;
        }
        map.make_room(to, count);
    }
}

extern template class NYX_ROW_MAP<signed char>;
extern template class NYX_ROW_MAP<int>;
extern template class NYX_ROW_MAP<long long>;

#endif
