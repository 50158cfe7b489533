#ifndef NYX_COLUMN_H
#define NYX_COLUMN_H

/// \file
/// The pages of one field of one table, in identifier order: page i holds the identifiers i * s_capacity to
/// (i + 1) * s_capacity - 1. A column lives in the segment as part of its table and is found again in a loaded image as
/// it is. Three forms:
///
///   NYX_COLUMN            rows are there as soon as their page is: a secondary column, one field of another object
///   NYX_FREE_LIST_COLUMN  rows are allocated and freed one at a time
///   NYX_CHUNK_COLUMN      rows are allocated in runs of consecutive identifiers
///
/// Pages never go back to the segment while the column lives, except through clear() and, right after they were added,
/// shrink().

#include "memory/nyx_page.h"
#include "memory/nyx_segment.h"

#include <boost/container/map.hpp>
#include <boost/container/set.hpp>
#include <boost/container/vector.hpp>
#include <boost/numeric/conversion/cast.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

template <class PAGE>
class NYX_COLUMN {
public:
    using page_type = PAGE;
    using row_type = typename PAGE::row_type;
    using id_type = typename PAGE::id_type;

    /// `owner` is the table; pages copy the link. Both must lie in the same segment as the column.
    NYX_COLUMN(void *owner, NYX_SEGMENT_MANAGER *manager) : m_owner(owner), m_pages(manager), m_manager(manager) {}
    NYX_COLUMN(const NYX_COLUMN &) = delete;
    NYX_COLUMN &operator=(const NYX_COLUMN &) = delete;
    ~NYX_COLUMN() { release_pages(); }

    /// The row of an identifier; ends the run when its page isn't there. O(1), and touches nothing of the page.
    row_type *get(id_type id) {
        const std::uint32_t page_index = PAGE::page_number_of(id);
        NYX_CHECK(page_index < m_pages.size());
        // The page's first row index is page_index * s_capacity by construction; computing it saves reading the head,
        // and leaves a slot below s_capacity.
        const std::uint32_t slot = id.get() - page_index * PAGE::s_capacity;
        return page_at(first_page_pointer()[page_index])->get_unchecked(slot);
    }
    const row_type *get(id_type id) const { return const_cast<NYX_COLUMN *>(this)->get(id); }

    static page_type *get_page_from_row(row_type *row) { return PAGE::from_row(row); }
    static const page_type *get_page_from_row(const row_type *row) { return PAGE::from_row(row); }

    /// The identifier of a row, from its address alone; ends the run for an address outside a page's rows. O(1).
    static id_type get_id(const row_type *row) { return PAGE::from_row(row)->get_id(row); }

    /// Appends one page. boost::interprocess::bad_alloc when the segment is full, boost::numeric::positive_overflow
    /// when the identifiers run out; the column is unchanged then.
    void grow() { append_page(); }

    /// Takes the last page, in which nothing is used, back from the column and returns it to the segment.
    void shrink() { remove_last_page(); }

    /// Returns every page to the segment. Rows and links to them are gone.
    void clear() {
        release_pages();
        m_pages.clear();
    }

    std::size_t get_num_pages() const { return m_pages.size(); }
    page_type *get_page(std::size_t page_number) { return page_at(m_pages[page_number]); }
    const page_type *get_page(std::size_t page_number) const { return page_at(m_pages[page_number]); }

    /// Rows in the pages.
    std::uint64_t get_num_rows() const { return std::uint64_t(m_pages.size()) * PAGE::s_capacity; }

    /// Bytes asked of the segment for pages.
    std::size_t get_bytes() const { return m_pages.size() * PAGE::s_storage_size; }

    void *owner() const { return m_owner.get(); }
    NYX_SEGMENT_MANAGER *get_segment_manager() const { return m_manager.get(); }

    /// Identifier of row 0 of a page. Page counts are held as int by some callers and row identifiers end before
    /// INVALID; what doesn't fit raises boost::numeric::positive_overflow.
    static std::uint32_t first_row_index_of(std::uint64_t page_number) {
        boost::numeric_cast<int>(page_number + 1);
        boost::numeric_cast<std::uint32_t>((page_number + 1) * PAGE::s_capacity);
        return static_cast<std::uint32_t>(page_number * PAGE::s_capacity);
    }

protected:
    page_type *append_page() {
        const std::uint32_t first_row_index = first_row_index_of(m_pages.size());
        void *const storage = m_manager->allocate_aligned(PAGE::s_storage_size, PAGE::s_alignment);
        nyx_notify_allocated(*m_manager, storage, PAGE::s_storage_size);
        page_type *const page = PAGE::construct(storage, m_owner, first_row_index);
        try {
            m_pages.emplace_back(page);
        } catch (...) {
            release_page(page);
            throw;
        }
        return page;
    }

    /// Takes back an append_page of an operation that fails further on.
    void remove_last_page() {
        release_page(page_at(m_pages.back()));
        m_pages.pop_back();
    }

    // Without the type of the page, so that all columns share one vector class and one set class.
    using page_pointer = NYX_FAST_OFFSET_PTR<void>;
    static page_type *page_at(const page_pointer &pointer) { return static_cast<page_type *>(pointer.get()); }

    // Where the page links start. The vector's own access tests its pointer for null at every read, which is a third of
    // what get(id) costs; here the vector is known to have elements. Its layout is the file's, and pinned: allocator,
    // start, size, capacity.
    const page_pointer *first_page_pointer() const {
        static_assert(sizeof(m_pages) == 4 * sizeof(std::int64_t));
        const char *const start = reinterpret_cast<const char *>(&m_pages) + sizeof(std::int64_t);
        std::int64_t distance;
        std::memcpy(&distance, start, sizeof(distance));
        return reinterpret_cast<const page_pointer *>(start + distance);
    }

    NYX_FAST_OFFSET_PTR<void> m_owner;
    boost::container::vector<page_pointer, NYX_SEGMENT_ALLOCATOR<page_pointer>> m_pages;
    NYX_OFFSET_PTR<NYX_SEGMENT_MANAGER> m_manager;

private:
    void release_page(page_type *page) {
        nyx_notify_deallocated(*m_manager, page);
        m_manager->deallocate(page);
    }
    void release_pages() {
        for (const page_pointer &page : m_pages)
            release_page(page_at(page));
    }
};

/// Primary column of objects that are allocated one at a time.
///
/// Invariant: the free-page set holds exactly the pages with a free row.
template <class PAGE>
class NYX_FREE_LIST_COLUMN : public NYX_COLUMN<PAGE> {
    using BASE = NYX_COLUMN<PAGE>;
    static_assert(PAGE::s_has_free_list);

public:
    using typename BASE::page_type;
    using typename BASE::row_type;

    NYX_FREE_LIST_COLUMN(void *owner, NYX_SEGMENT_MANAGER *manager)
        : BASE(owner, manager)
        , m_free_pages(std::less<page_pointer>(), manager) {}

    /// A row in T's initial state, from the page with the lowest address that has one, so that the used part of the
    /// segment stays dense. `fresh_page` tells whether the column grew by a page. Failures as those of grow.
    row_type *allocate(bool &fresh_page) {
        fresh_page = free_list_empty();
        if (fresh_page)
            grow();
        return allocate_from_free_list();
    }

    /// The same, where there is a free row for certain.
    row_type *allocate_from_free_list() {
        NYX_CHECK_MSG(!free_list_empty(), "Attempt to allocate from empty free list");
        const auto first = m_free_pages.begin();
        page_type *const page = BASE::page_at(*first);
        row_type *const row = page->allocate();
        if (!page->has_free_row())
            m_free_pages.erase(first);
        return row;
    }

    /// Frees a row; its identifier is handed out again. May throw boost::interprocess::bad_alloc when the segment is
    /// full and the row's page had no free row; nothing has changed then.
    void deallocate(row_type *row) {
        page_type *const page = BASE::get_page_from_row(row);
        page->get_index(row);
        if (!page->has_free_row())
            m_free_pages.insert(page_pointer(page));
        page->deallocate(row);
    }

    bool free_list_empty() const { return m_free_pages.empty(); }

    void grow() {
        page_type *const page = BASE::append_page();
        try {
            m_free_pages.insert(page_pointer(page));
        } catch (...) {
            BASE::remove_last_page();
            throw;
        }
    }

    void clear() {
        m_free_pages.clear();
        BASE::clear();
    }

private:
    using typename BASE::page_pointer;

    boost::container::set<page_pointer, std::less<page_pointer>, NYX_SEGMENT_ALLOCATOR<page_pointer>> m_free_pages;
};

/// Primary column of objects that are allocated in runs: a module's ports and their like have consecutive identifiers.
/// The rows of a run may lie on several pages, so callers go from row to row by identifier.
///
/// Invariant: below m_highest_start every row is in a run that was handed out or in a free chunk; from there on
/// m_free_tail rows are unused.
template <class PAGE>
class NYX_CHUNK_COLUMN : public NYX_COLUMN<PAGE> {
    using BASE = NYX_COLUMN<PAGE>;
    static_assert(!PAGE::s_has_free_list);

public:
    using typename BASE::id_type;
    using typename BASE::row_type;

    NYX_CHUNK_COLUMN(void *owner, NYX_SEGMENT_MANAGER *manager)
        : BASE(owner, manager)
        , m_free_chunks(std::less<int>(), manager) {}

    /// The first row of a run of `size` rows: the smallest free chunk that holds it, else the rows behind all others.
    /// `grew` tells whether pages were added. Rows of a chunk that is used again are as they were left. Failures as
    /// those of grow, and only where pages have to be added; those that were are given back then. O(log free chunks)
    /// and the pages.
    row_type *allocate_chunk(int size, bool &grew) {
        int start = try_chunk(size);
        grew = start < 0;
        if (grew) {
            const int grow_by = size - m_free_tail;
            NYX_CHECK(grow_by > 0);
            grow_pages((grow_by - 1) / static_cast<int>(PAGE::s_capacity) + 1);
            start = try_chunk(size);
            NYX_CHECK(start >= 0);
        }
        return BASE::get(id_type(static_cast<unsigned>(start)));
    }

    /// Rows that the pages have once a run of `size` rows is allocated: more than now if that adds pages.
    std::uint64_t get_num_rows_after(int size) const {
        if (size <= m_free_tail || m_free_chunks.lower_bound(size) != m_free_chunks.end())
            return BASE::get_num_rows();
        const std::uint64_t missing = static_cast<std::uint64_t>(size) - static_cast<std::uint64_t>(m_free_tail);
        return BASE::get_num_rows() + (missing + PAGE::s_capacity - 1) / PAGE::s_capacity * PAGE::s_capacity;
    }

    /// Gives a run, or a part of one, back. Neighbouring chunks are not merged: runs tend to be asked for again in the
    /// sizes they had.
    void deallocate_chunk(int start, int size) { m_free_chunks.emplace(size, start); }

    /// Rows in the pages that are in no run. O(free chunks).
    int num_free() const {
        int result = m_free_tail;
        for (const auto &[size, start] : m_free_chunks)
            result += size;
        return result;
    }

    /// The first identifier that was never handed out.
    int get_highest_start() const { return m_highest_start; }
    /// Rows in the pages from there on.
    int get_free_tail() const { return m_free_tail; }

    /// Appends one page to the tail.
    void grow() { grow_pages(1); }

    void clear() {
        m_free_chunks.clear();
        BASE::clear();
        m_highest_start = 0;
        m_free_tail = 0;
    }

private:
    // Appends `count` pages, or none.
    void grow_pages(int count) {
        // Identifiers are held as int here, and so is the one behind the last row.
        const long long added = static_cast<long long>(count) * PAGE::s_capacity;
        boost::numeric_cast<int>(m_highest_start + m_free_tail + added);
        int appended = 0;
        try {
            for (; appended < count; ++appended)
                BASE::append_page();
        } catch (...) {
            for (; appended > 0; --appended)
                BASE::remove_last_page();
            throw;
        }
        m_free_tail += static_cast<int>(added);
    }

    // The start of a run of `size` rows, or -1.
    int try_chunk(int size) {
        NYX_CHECK_MSG(size > 0, "Allocation size is not greater than zero");
        const auto best = m_free_chunks.lower_bound(size);
        if (best != m_free_chunks.end()) {
            const int chunk_size = best->first;
            const int chunk_start = best->second;
            NYX_CHECK_AS(static_cast<long long>(chunk_start) + chunk_size <= m_highest_start,
                         "chunk_start + chunk_size <= m_highest_start", "Chunk higher than highest?");
            if (chunk_size == size) {
                m_free_chunks.erase(best);
                return chunk_start;
            }
            // The remainder goes on in the same node, so that a full segment still serves what it has.
            auto remainder = m_free_chunks.extract(best);
            remainder.key() = chunk_size - size;
            remainder.mapped() = chunk_start + size;
            m_free_chunks.insert(std::move(remainder));
            return chunk_start;
        }
        if (size > m_free_tail)
            return -1;
        const int start = m_highest_start;
        m_highest_start += size;
        m_free_tail -= size;
        return start;
    }

    boost::container::multimap<int, int, std::less<int>, NYX_SEGMENT_ALLOCATOR<std::pair<const int, int>>>
        m_free_chunks;
    int m_highest_start = 0;
    int m_free_tail = 0;
};

#endif
