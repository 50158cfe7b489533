#ifndef NYX_PAGE_H
#define NYX_PAGE_H

/// \file
/// One page of rows. A page is 4096-aligned in memory, so the low 12 bits of a row's address tell its place in the page
/// and the rest tells the page: a handle that is nothing but a row's address still knows its identifier and its table.
///
///      0   8  link to the table that owns the column
///      8   4  identifier of row 0
///     12   4  slot of the first free row; s_capacity: none. Zero and unused on a page without a free list
///     16      rows
///
/// 4088 bytes are asked of the segment, since a block of that size takes exactly 4096: consecutive pages stack, and a
/// page's last word is the first one of the next block's header.
///
/// While a row of a page with a free list is free, its first two bytes are the slot of the next free row; it carries no
/// other mark. Bytes of the image are accessed as two types here, so links go through memcpy.

#include "memory/nyx_segment.h"
#include "memory/nyx_serialization.h"
#include "memory/nyx_type_name.h"
#include "nyx/nyx_defs.h"
#include "nyx_report/nyx_report.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>

/// A page of rows of type T, numbered by ID. FLAG 1: rows are allocated and freed one at a time; FLAG 0: they are there
/// from the page's creation on. A page owns its rows but never runs their destructors.
template <class T, class ID, bool FLAG>
class NYX_PAGE {
public:
    using row_type = T;
    using id_type = ID;

    static constexpr std::size_t s_alignment = 4096;
    static constexpr std::size_t s_storage_size = 4088;
    static constexpr std::size_t s_head_size = 16;
    static constexpr unsigned s_capacity = (s_storage_size - s_head_size) / sizeof(T);
    static constexpr bool s_has_free_list = FLAG;

    static_assert(sizeof(ID) == 4);
    static_assert(alignof(T) <= s_head_size / 2, "rows start 16 bytes into the page");
    static_assert(!FLAG || sizeof(T) >= sizeof(std::uint16_t), "a free row holds a link");
    static_assert(s_capacity > 1);

    /// Number of the page in its column that holds an identifier: id / s_capacity, as one multiplication by the
    /// reciprocal in units of 2^-64, which is exact for 32-bit identifiers. A compiler's division by a constant takes
    /// seven steps for some capacities, and this stands on the way to every row.
    static constexpr std::uint32_t page_number_of(ID id) {
        __extension__ using uint128 = unsigned __int128;
        constexpr std::uint64_t reciprocal = ~std::uint64_t(0) / s_capacity + 1;
        return static_cast<std::uint32_t>((static_cast<uint128>(reciprocal) * id.get()) >> 64);
    }

    /// Builds a page in 4088 bytes at a multiple of 4096. All rows are in T's initial state, and free where the page
    /// has a free list.
    static NYX_PAGE *construct(void *storage, const NYX_FAST_OFFSET_PTR<void> &owner, unsigned first_row_index) {
        NYX_CHECK((intptr_t)storage % s_alignment == 0);
        std::memset(storage, 0, s_storage_size);
        NYX_PAGE *const page = ::new (storage) NYX_PAGE(owner, first_row_index);
        for (unsigned slot = 0; slot < s_capacity; ++slot) {
            ::new (static_cast<void *>(&page->m_data[slot])) T();
            if constexpr (FLAG)
                store_link(&page->m_data[slot], slot + 1);
        }
        return page;
    }

    /// The page that a row of any column with these row and identifier types lies in.
    static NYX_PAGE *from_row(T *row) {
        return reinterpret_cast<NYX_PAGE *>(reinterpret_cast<std::uintptr_t>(row) & ~std::uintptr_t(s_alignment - 1));
    }
    static const NYX_PAGE *from_row(const T *row) { return from_row(const_cast<T *>(row)); }

    /// Pops the first free row and puts it in T's initial state.
    T *allocate() requires FLAG {
        NYX_CHECK(m_first_free < s_capacity);
        T *const row = &m_data[m_first_free];
        m_first_free = load_link(row);
        // Padding included: what a row doesn't use is zero in the image.
        std::memset(static_cast<void *>(row), 0, sizeof(T));
        return ::new (static_cast<void *>(row)) T();
    }

    /// Pushes a row on the free list; it is the next one that allocate gives. Behind the link it is left in T's initial
    /// state, so that who looks at it by mistake follows nothing.
    void deallocate(T *row) requires FLAG {
        const unsigned slot = get_index(row);
        std::memset(static_cast<void *>(row), 0, sizeof(T));
        ::new (static_cast<void *>(row)) T();
        store_link(row, m_first_free);
        m_first_free = slot;
    }

    bool has_free_row() const { return m_first_free < s_capacity; }

    /// The row in a slot.
    T *get(int index_within_page) {
        NYX_CHECK_AS(index_within_page >= 0 && index_within_page < static_cast<int>(s_capacity),
                     "index_within_page >= 0 && index_within_page < s_capacity");
        return &m_data[index_within_page];
    }
    const T *get(int index_within_page) const { return const_cast<NYX_PAGE *>(this)->get(index_within_page); }

    /// The same for a slot that is known to be in the page.
    T *get_unchecked(unsigned slot) { return &m_data[slot]; }
    const T *get_unchecked(unsigned slot) const { return &m_data[slot]; }

    /// The slot of a row, from its address.
    unsigned get_index(const T *row) const {
        const std::uintptr_t data = reinterpret_cast<std::uintptr_t>(row);
        const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(m_data);
        if (__builtin_expect(data - begin >= s_capacity * sizeof(T), 0))
            fail_out_of_bounds();
        return static_cast<unsigned>(((data & (s_alignment - 1)) - s_head_size) / sizeof(T));
    }

    ID get_id(const T *row) const { return ID(m_first_row_index + get_index(row)); }

    /// Identifier of row 0.
    unsigned first_row_index() const { return m_first_row_index; }

    /// The table that owns the column.
    void *owner() const { return m_owner.get(); }

private:
    NYX_PAGE(const NYX_FAST_OFFSET_PTR<void> &owner, unsigned first_row_index)
        : m_owner(owner)
        , m_first_row_index(first_row_index)
        , m_first_free(0) {}
    ~NYX_PAGE() {}

    static void store_link(T *row, unsigned slot) {
        const std::uint16_t link = static_cast<std::uint16_t>(slot);
        std::memcpy(static_cast<void *>(row), &link, sizeof(link));
    }
    static unsigned load_link(const T *row) {
        std::uint16_t link;
        std::memcpy(&link, static_cast<const void *>(row), sizeof(link));
        return link;
    }

    [[noreturn, gnu::cold, gnu::noinline]] static void fail_out_of_bounds() {
        NYX_REPORT::detail::assert_at_line("(intptr_t)this->m_data <= (const intptr_t) data && (const intptr_t) data < "
                                           "(intptr_t)(&this->m_data[s_capacity])",
                                           __FILE__, __LINE__, "Indexing data out of bounds in NYX_PAGE<%s,%s>",
                                           std::string(nyx_type_name<T>()).c_str(),
                                           std::string(nyx_type_name<ID>()).c_str());
    }

    NYX_FAST_OFFSET_PTR<void> m_owner;
    std::uint32_t m_first_row_index;
    std::uint32_t m_first_free;
    // Rows are constructed one by one, and not at all while the page is one of an image that was read in.
    union {
        T m_data[s_capacity];
    };
};

#endif
