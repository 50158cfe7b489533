// Columns are stored as they lie in memory: whatever changes these sizes changes the format of every file.
#include "memory/nyx_column.h"

namespace {

struct ROW {
    unsigned m_value;
};

template <bool FREE_LIST>
using PAGE = NYX_PAGE<ROW, NYX_NET_ID, FREE_LIST>;
using PAGE_LINK = NYX_FAST_OFFSET_PTR<PAGE<true>>;
using PAGE_LINKS = boost::container::vector<PAGE_LINK, NYX_SEGMENT_ALLOCATOR<PAGE_LINK>>;
using FREE_PAGES = boost::container::set<PAGE_LINK, std::less<PAGE_LINK>, NYX_SEGMENT_ALLOCATOR<PAGE_LINK>>;
using FREE_CHUNKS =
    boost::container::multimap<int, int, std::less<int>, NYX_SEGMENT_ALLOCATOR<std::pair<const int, int>>>;

static_assert(sizeof(NYX_SEGMENT_ALLOCATOR<ROW>) == 8, "one link to the segment manager");
static_assert(sizeof(PAGE_LINKS) == 32, "allocator, link to the elements, size, capacity");
static_assert(sizeof(FREE_PAGES) == 40 && sizeof(FREE_CHUNKS) == 40, "allocator, size, head of a tree");

static_assert(sizeof(NYX_COLUMN<PAGE<false>>) == 48, "owner, pages, segment manager");
static_assert(sizeof(NYX_FREE_LIST_COLUMN<PAGE<true>>) == 88, "and the free pages");
static_assert(sizeof(NYX_CHUNK_COLUMN<PAGE<false>>) == 96, "and the free chunks with two counts");

static_assert(sizeof(PAGE<true>) == 4088 && sizeof(PAGE<false>) == 4088, "what is asked of the segment for a page");

} // namespace
