#include "memory/nyx_row_map.h"

#include "nyx_report/nyx_report.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <type_traits>

void NYX_ROW_LEAF::set(unsigned place) {
    m_is_set[place / 64] |= std::uint64_t(1) << (place % 64);
    ++m_size;
    if (is_packed())
        for (unsigned word = 0; word < m_num_before.size(); ++word)
            m_num_before[word] = static_cast<std::uint16_t>(m_num_before[word] + (word > place / 64));
}

void NYX_ROW_LEAF::reset(unsigned place) {
    m_is_set[place / 64] &= ~(std::uint64_t(1) << (place % 64));
    --m_size;
    if (is_packed())
        for (unsigned word = 0; word < m_num_before.size(); ++word)
            m_num_before[word] = static_cast<std::uint16_t>(m_num_before[word] - (word > place / 64));
}

template <class VALUE>
NYX_ROW_MAP<VALUE>::NYX_ROW_MAP(const NYX_ROW_MAP &other) : NYX_ROW_MAP(other.m_allocator.get_segment_manager()) {
    if (other.m_num_leaves == 0)
        return;
    make_directory(other.m_num_leaves);
    for (unsigned number = 0; number < m_num_leaves; ++number)
        if (const NYX_ROW_LEAF *const leaf = other.get_leaf(number))
            set_leaf(number, copy_leaf(leaf, leaf->m_capacity));
    m_size = other.m_size;
}

template <class VALUE>
void NYX_ROW_MAP<VALUE>::swap(NYX_ROW_MAP &other) noexcept {
    std::swap(m_directory_ptr, other.m_directory_ptr);
    std::swap(m_num_leaves, other.m_num_leaves);
    std::swap(m_size, other.m_size);
}

// ---- The directory

template <class VALUE>
void NYX_ROW_MAP<VALUE>::set_leaf(unsigned number, const NYX_ROW_LEAF *leaf) {
    LINK *const link = nyx_get_not_null(m_directory_ptr) + number;
    *link = leaf == nullptr ? 0 : reinterpret_cast<const char *>(leaf) - reinterpret_cast<const char *>(link);
}

// A directory with room for so many leaves in place of a smaller one.
template <class VALUE>
void NYX_ROW_MAP<VALUE>::make_directory(unsigned num_leaves) {
    LINK *const directory = reinterpret_cast<LINK *>(m_allocator.allocate(num_leaves * sizeof(LINK)).get());
    std::memset(directory, 0, num_leaves * sizeof(LINK));
    LINK *const old_directory = m_directory_ptr.get();
    const unsigned old_num_leaves = m_num_leaves;
    // Links are distances from where they stand.
    const LINK shift = reinterpret_cast<const char *>(old_directory) - reinterpret_cast<const char *>(directory);
    for (unsigned number = 0; number < old_num_leaves; ++number)
        directory[number] = old_directory[number] == 0 ? 0 : old_directory[number] + shift;
    m_directory_ptr = directory;
    m_num_leaves = num_leaves;
    if (old_directory != nullptr)
        m_allocator.deallocate(reinterpret_cast<char *>(old_directory), old_num_leaves * sizeof(LINK));
}

// ---- Leaves

template <class VALUE>
NYX_ROW_LEAF *NYX_ROW_MAP<VALUE>::make_leaf(unsigned capacity) {
    auto *const leaf = ::new (m_allocator.allocate(leaf_bytes(capacity)).get()) NYX_ROW_LEAF;
    leaf->m_capacity = static_cast<std::uint16_t>(capacity);
    std::memset(values(leaf), 0, capacity * sizeof(VALUE));
    return leaf;
}

// A leaf with the rows and values of another one, which has no more room.
template <class VALUE>
NYX_ROW_LEAF *NYX_ROW_MAP<VALUE>::copy_leaf(const NYX_ROW_LEAF *leaf, unsigned capacity) {
    NYX_ROW_LEAF *const copy = make_leaf(capacity);
    copy->m_is_set = leaf->m_is_set;
    copy->m_size = leaf->m_size;
    if (copy->is_packed() == leaf->is_packed()) {
        copy->m_num_before = leaf->m_num_before;
        std::memcpy(values(copy), values(leaf), leaf->m_capacity * sizeof(VALUE));
        return copy;
    }
    unsigned index = 0;
    for (unsigned place = 0; (place = leaf->find_from(place)) != s_nyx_leaf_rows; ++place)
        values(copy)[place] = values(leaf)[index++];
    return copy;
}

template <class VALUE>
void NYX_ROW_MAP<VALUE>::free_leaf(unsigned number) {
    NYX_ROW_LEAF *const leaf = get_leaf(number);
    set_leaf(number, nullptr);
    m_allocator.deallocate(reinterpret_cast<char *>(leaf), leaf_bytes(leaf->m_capacity));
}

// The room that a leaf is to have for so many values: that of a new one, as many as its neighbour in front of it has,
// for a walk fills a leaf as it has filled the last one.
template <class VALUE>
unsigned NYX_ROW_MAP<VALUE>::get_capacity_for(unsigned number, unsigned count) const {
    unsigned capacity = s_first_capacity;
    if (get_leaf(number) == nullptr && number != 0)
        if (const NYX_ROW_LEAF *const neighbour = get_leaf(number - 1))
            count = std::max<unsigned>(count, neighbour->m_size);
    while (capacity < count)
        capacity *= 2;
    return capacity <= s_nyx_leaf_most_packed ? capacity : s_nyx_leaf_rows;
}

template <class VALUE>
void NYX_ROW_MAP<VALUE>::make_room(unsigned row, unsigned count) {
    if (count == 0)
        return;
    count = std::min(count, s_nyx_leaf_rows);
    const unsigned number = row / s_nyx_leaf_rows;
    if (number >= m_num_leaves)
        make_directory(std::max(number + 1, std::min(2 * m_num_leaves, s_nyx_most_leaves)));
    NYX_ROW_LEAF *const leaf = get_leaf(number);
    if (leaf == nullptr) {
        set_leaf(number, make_leaf(get_capacity_for(number, count)));
    } else if (leaf->is_packed() && leaf->m_size + count > leaf->m_capacity) {
        const NYX_ROW_LEAF *const larger = copy_leaf(leaf, get_capacity_for(number, leaf->m_size + count));
        free_leaf(number);
        set_leaf(number, larger);
    }
}

// ---- Values

template <class VALUE>
void NYX_ROW_MAP<VALUE>::insert(unsigned row, VALUE value) {
    make_room(row, 1);
    NYX_ROW_LEAF *const leaf = get_leaf(row / s_nyx_leaf_rows);
    const unsigned place = row % s_nyx_leaf_rows;
    VALUE *const at = values(leaf) + leaf->index(place);
    if (leaf->is_packed())
        std::memmove(at + 1, at, static_cast<std::size_t>(values(leaf) + leaf->m_size - at) * sizeof(VALUE));
    *at = value;
    leaf->set(place);
    ++m_size;
}

template <class VALUE>
void NYX_ROW_MAP<VALUE>::erase(unsigned row) {
    VALUE *const at = find(row);
    if (at == nullptr)
        return;
    NYX_ROW_LEAF *const leaf = get_leaf(row / s_nyx_leaf_rows);
    VALUE *last = at;
    if (leaf->is_packed()) {
        last = values(leaf) + leaf->m_size - 1;
        std::memmove(at, at + 1, static_cast<std::size_t>(last - at) * sizeof(VALUE));
    }
    *last = 0;
    leaf->reset(row % s_nyx_leaf_rows);
    --m_size;
}

template <class VALUE>
void NYX_ROW_MAP<VALUE>::move(unsigned from, unsigned to) {
    NYX_CHECK(from != to);
    const VALUE *const stored = find(from);
    if (stored == nullptr)
        return;
    const VALUE value = *stored;
    // In another leaf nothing is lost if there is no room; within one leaf there is the room of the value itself.
    const bool is_same_leaf = from / s_nyx_leaf_rows == to / s_nyx_leaf_rows;
    if (is_same_leaf)
        erase(from);
    insert_or_assign(to, value);
    if (!is_same_leaf)
        erase(from);
}

template <class VALUE>
void NYX_ROW_MAP<VALUE>::clear() {
    if (m_num_leaves == 0)
        return;
    for (unsigned number = 0; number < m_num_leaves; ++number)
        if (get_leaf(number) != nullptr)
            free_leaf(number);
    m_allocator.deallocate(reinterpret_cast<char *>(m_directory_ptr.get()), m_num_leaves * sizeof(LINK));
    m_directory_ptr = nullptr;
    m_num_leaves = 0;
    m_size = 0;
}

template <class VALUE>
unsigned NYX_ROW_MAP<VALUE>::find_from(unsigned row) const {
    unsigned place = row % s_nyx_leaf_rows;
    for (unsigned number = row / s_nyx_leaf_rows; number < m_num_leaves; ++number, place = 0) {
        const NYX_ROW_LEAF *const leaf = get_leaf(number);
        if (leaf == nullptr)
            continue;
        if (const unsigned found = leaf->find_from(place); found != s_nyx_leaf_rows)
            return number * s_nyx_leaf_rows + found;
    }
    return s_no_row;
}

template <class VALUE>
std::size_t NYX_ROW_MAP<VALUE>::get_bytes() const {
    std::size_t bytes = m_num_leaves * sizeof(LINK);
    for (unsigned number = 0; number < m_num_leaves; ++number)
        if (const NYX_ROW_LEAF *const leaf = get_leaf(number))
            bytes += leaf_bytes(leaf->m_capacity);
    return bytes;
}

template class NYX_ROW_MAP<signed char>;
template class NYX_ROW_MAP<int>;
template class NYX_ROW_MAP<long long>;
