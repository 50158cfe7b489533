#include "database/nyx_db_image_check.h"

#include "constraints/nyx_constraint_arg_table.h"
#include "constraints/nyx_constraint_collection_table.h"
#include "constraints/nyx_constraint_stmt_table.h"
#include "constraints/nyx_entity_table.h"
#include "constraints/nyx_relative_object_table.h"
#include "constraints/nyx_sdc_clock_table.h"
#include "constraints/nyx_source_file_table.h"
#include "database/nyx_db_persistent.h"
#include "database/nyx_image_reader.h"
#include "hierarchy/nyx_hier_instance_table.h"
#include "hierarchy/nyx_hier_module_table.h"
#include "hierarchy/nyx_hier_port_table.h"
#include "memory/nyx_app_block.h"
#include "names/nyx_name_mgr_impl.h"
#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_inst_port_table.h"
#include "netlist/nyx_instance_bus_table.h"
#include "netlist/nyx_instance_table.h"
#include "netlist/nyx_interface_members.h"
#include "netlist/nyx_interface_table.h"
#include "netlist/nyx_module_table.h"
#include "netlist/nyx_net_bus_table.h"
#include "netlist/nyx_net_table.h"
#include "netlist/nyx_port_bus_table.h"
#include "netlist/nyx_port_table.h"
#include "traits/nyx_byte1_trait_table.h"
#include "traits/nyx_byte4_trait_table.h"
#include "traits/nyx_byte8_trait_table.h"
#include "traits/nyx_trait_object_type.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

// What the manager puts in front of a named object: the node of its index and the object's header; and of an unnamed
// one: the header alone.
namespace {

constexpr std::size_t s_object_header_bytes = 16;
constexpr std::size_t s_named_index_offset = 104;
constexpr std::size_t s_unique_index_offset = 136;

using ull = unsigned long long;

std::uint32_t half_word(const char *at) {
    std::uint32_t value;
    std::memcpy(&value, at, sizeof(value));
    return value;
}

// Rows that a page can hold in any column without the identifiers running out.
constexpr std::uint64_t s_max_rows = ~std::uint32_t(0);

} // namespace

class NYX_DB_IMAGE_CHECKER {
public:
    /// With `faults` it looks at everything, goes on behind a fault, and tells all; without, it looks at what has to be
    /// right before anything is used, and throws the first.
    NYX_DB_IMAGE_CHECKER(NYX_IMAGE_READER reader, bool may_change, std::vector<std::string> *faults)
        : m_reader(std::move(reader))
        , m_may_change(may_change)
        , m_faults(faults) {}

    NYX_DB_PERSISTENT *check(NYX_DB_TYPE type) {
        NYX_DB_PERSISTENT *const root = find_root();
        // The tables say which root they belong to, so the root comes first.
        m_root = reinterpret_cast<std::uintptr_t>(root);
        if (root->get_type() != type)
            NYX_IMAGE_READER::fail("the root is of type %u, the file of type %u", unsigned(root->get_type()),
                                   unsigned(type));
        check_names(root);
        check_tables(root);
        return root;
    }

private:
    using READER = NYX_IMAGE_READER;

    // Runs a part of the check that others don't build on.
    template <class CHECK>
    void part(CHECK &&check) {
        if (m_faults == nullptr)
            return check();
        try {
            check();
        } catch (const NYX_IMAGE_FAULT &fault) {
            m_faults->push_back(fault.text);
        }
    }

    NYX_DB_PERSISTENT *find_root() {
        const char *const index = m_reader.base() + s_named_index_offset;
        const char *const head = index + 8;
        const char *const unique = m_reader.base() + s_unique_index_offset;
        if (READER::word(index) != 1 || READER::word(unique) != 0 || READER::target(unique + 8) != 0 ||
            READER::target(unique + 16) != reinterpret_cast<std::uintptr_t>(unique + 8) ||
            READER::target(unique + 24) != reinterpret_cast<std::uintptr_t>(unique + 8))
            READER::fail("an index of objects is damaged");
        const char *root = nullptr;
        const std::size_t bytes = s_object_header_bytes + sizeof(NYX_DB_PERSISTENT) + 4;
        NYX_IMAGE_TREE(m_reader, "the index of objects").walk(head, 1, bytes, [&](const char *header) {
            const char *const value = header + s_object_header_bytes;
            // Bytes of the object, characters of its name, alignment, kind of object and size of a character.
            constexpr unsigned char expected[] = {0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 8, 0x21};
            if (READER::word(header) != sizeof(NYX_DB_PERSISTENT) || std::memcmp(header + 8, expected + 8, 4) != 0 ||
                std::memcmp(value + sizeof(NYX_DB_PERSISTENT), NYX_DB_PERSISTENT::s_object_name, 4) != 0)
                READER::fail("the object in the index is no root");
            root = value;
        });
        return reinterpret_cast<NYX_DB_PERSISTENT *>(const_cast<char *>(root));
    }

    // The object that an unnamed construction has put behind a link.
    template <class T>
    T *claim_object(const void *link, const char *what, std::uintptr_t address) {
        static_assert(s_object_header_bytes == 16);
        const char *const header =
            m_reader.claim(address - s_object_header_bytes, s_object_header_bytes + sizeof(T), what);
        if (READER::word(header) != static_cast<std::int64_t>(sizeof(T)))
            READER::fail("%s at offset %zu has another size", what, m_reader.offset_of(link));
        return reinterpret_cast<T *>(address);
    }

    // A vector of the segment: allocator, start, size, capacity. The elements, and how many.
    std::pair<const char *, std::uint64_t> check_vector(const void *vector, std::size_t element_bytes,
                                                        const char *what) {
        const char *const at = static_cast<const char *>(vector);
        const auto size = static_cast<std::uint64_t>(READER::word(at + 16));
        const auto capacity = static_cast<std::uint64_t>(READER::word(at + 24));
        if (!m_reader.leads_to_manager(at))
            READER::fail("%s has another allocator", what);
        if (size > capacity || capacity > m_reader.size() / element_bytes)
            READER::fail("%s has %llu elements in room for %llu", what, ull(size), ull(capacity));
        if (capacity == 0) {
            // A vector that grows asks for more behind what it has.
            if (READER::target(at + 8) != 0)
                READER::fail("%s has no room, but a place", what);
            return {nullptr, 0};
        }
        return {m_reader.claim(READER::target(at + 8), capacity * element_bytes, what), size};
    }

    struct BUCKETS {
        const char *links; ///< null if there are none, nor elements
        const char *start; ///< node without an element, behind which the list of all begins
        std::uint64_t count;
        std::uint64_t num_elements;
    };

    // A hash map without its nodes. One bucket more than there are leads to the start of the list, the others to the
    // node in front of their first one.
    template <class MAP>
    BUCKETS check_buckets(const MAP &map, const char *what) {
        static_assert(sizeof(map) == 64);
        constexpr std::size_t node_bytes = (sizeof(typename MAP::value_type) + 7) / 8 * 8 + 16;
        const char *const at = reinterpret_cast<const char *>(&map);
        // Which pair of functions is in use, then the allocators of buckets and nodes, and behind the counts the
        // greatest load, which is 1.
        if (static_cast<unsigned char>(*at) > 3 || !m_reader.leads_to_manager(at + 8) ||
            !m_reader.leads_to_manager(at + 16) || half_word(at + 40) != 0x3F800000)
            READER::fail("%s has another allocator or load", what);
        const auto buckets = static_cast<std::uint64_t>(READER::word(at + 24));
        const auto count = static_cast<std::uint64_t>(READER::word(at + 32));
        if (buckets == 0 || (buckets & (buckets - 1)) != 0 || buckets > m_reader.size() / 8 ||
            count > m_reader.size() / 16)
            READER::fail("%s has %llu elements in %llu buckets", what, ull(count), ull(buckets));
        const std::uintptr_t first_bucket = READER::target(at + 56);
        // As many elements as there are buckets, as long as there are any.
        if (const auto most = static_cast<std::uint64_t>(READER::word(at + 48));
            most != (first_bucket != 0 ? buckets : 0))
            READER::fail("%s has room for %llu elements in %llu buckets", what, ull(most), ull(buckets));
        if (first_bucket == 0) {
            if (count != 0)
                READER::fail("%s has elements and no buckets", what);
            return {nullptr, nullptr, buckets, 0};
        }
        const char *const links = m_reader.claim(first_bucket, (buckets + 1) * 8, what);
        return {links, m_reader.claim(READER::target(links + buckets * 8), node_bytes, what), buckets, count};
    }

    template <class MAP>
    static std::uint64_t mixed_hash(const typename MAP::key_type &key) {
        using HASH = typename MAP::hasher;
        if constexpr (std::is_same_v<HASH, NYX_ROW_HASH<typename MAP::key_type>>)
            return nyx_spread_row(key.get());
        else
            return nyx_mix_hash(HASH()(key));
    }

    // A hash map: its buckets and nodes. `check_element(element)` looks at what a node holds.
    template <class MAP, class CHECK_ELEMENT>
    void check_map(const MAP &map, const char *what, bool hashes, CHECK_ELEMENT &&check_element) {
        using ELEMENT = typename MAP::value_type;
        constexpr std::size_t next_link = (sizeof(ELEMENT) + 7) / 8 * 8;
        const auto [bucket_array, start, buckets, count] = check_buckets(map, what);
        if (bucket_array == nullptr)
            return;
        std::uintptr_t before = reinterpret_cast<std::uintptr_t>(start);
        std::uint64_t found = 0;
        std::uint64_t num_groups = 0;
        std::uint64_t previous_bucket = ~std::uint64_t(0);
        for (std::uintptr_t node = READER::target(start + next_link); node != 0; ++found) {
            if (found == count)
                READER::fail("%s has more than its %llu elements", what, ull(count));
            const char *const raw = m_reader.claim(node, next_link + 16, what);
            const ELEMENT &element = *reinterpret_cast<const ELEMENT *>(raw);
            check_element(element);
            const std::uint64_t info = static_cast<std::uint64_t>(READER::word(raw + next_link + 8));
            const std::uint64_t bucket = info & (~std::uint64_t(0) >> 1);
            if (bucket >= buckets)
                READER::fail("%s has an element in bucket %llu of %llu", what, ull(bucket), ull(buckets));
            if (hashes && (mixed_hash<MAP>(element.first) & (buckets - 1)) != bucket)
                READER::fail("%s has an element in the wrong bucket", what);
            if (bucket != previous_bucket) {
                ++num_groups;
                if (READER::target(bucket_array + bucket * 8) != before)
                    READER::fail("%s: bucket %llu leads elsewhere", what, ull(bucket));
            }
            previous_bucket = bucket;
            before = node;
            node = READER::target(raw + next_link);
        }
        if (found != count)
            READER::fail("%s has %llu elements, not %llu", what, ull(found), ull(count));
        // No bucket leads anywhere else; a bucket in two places has failed above.
        std::uint64_t num_used = 0;
        for (std::uint64_t bucket = 0; bucket < buckets; ++bucket)
            num_used += READER::target(bucket_array + bucket * 8) != 0;
        if (num_used != num_groups)
            READER::fail("%s has %llu buckets in use of %llu", what, ull(num_groups), ull(num_used));
    }

    // A map of rows: its directory, and each leaf's marks and counts. What the values mean is the caller's.
    template <class VALUE>
    void check_values(const NYX_ROW_MAP<VALUE> &map, const char *what) {
        const char *const at = reinterpret_cast<const char *>(&map);
        const std::uint64_t num_leaves = half_word(at + 16);
        if (!m_reader.leads_to_manager(at))
            READER::fail("%s have another allocator", what);
        if (num_leaves > s_nyx_most_leaves)
            READER::fail("%s have a directory for %llu leaves", what, ull(num_leaves));
        std::uint64_t size = 0;
        if (num_leaves == 0) {
            if (READER::target(at + 8) != 0)
                READER::fail("%s have no leaves, but a directory", what);
        } else {
            const char *const directory = m_reader.claim(READER::target(at + 8), num_leaves * 8, what);
            for (std::uint64_t i = 0; i < num_leaves; ++i)
                if (READER::word(directory + i * 8) != 0)
                    size += check_leaf<VALUE>(READER::fast_target(directory + i * 8), what);
        }
        if (size != map.size())
            READER::fail("%s are %llu, not %u", what, ull(size), map.size());
    }

    // The number of values in a leaf.
    template <class VALUE>
    unsigned check_leaf(std::uintptr_t address, const char *what) {
        const std::size_t usable = m_reader.usable(address);
        const auto &leaf = *reinterpret_cast<const NYX_ROW_LEAF *>(m_reader.claim(address, sizeof(NYX_ROW_LEAF), what));
        if (!NYX_ROW_MAP<VALUE>::is_capacity(leaf.m_capacity) ||
            usable < NYX_ROW_MAP<VALUE>::leaf_bytes(leaf.m_capacity))
            READER::fail("%s: a leaf has room for %u in a block of %zu bytes", what, leaf.m_capacity, usable);
        unsigned size = 0;
        for (unsigned word = 0; word < leaf.m_is_set.size(); ++word) {
            if (leaf.m_num_before[word] != (leaf.is_packed() ? size : 0))
                READER::fail("%s: a leaf counts %u values in front of word %u, where there are %u", what,
                             leaf.m_num_before[word], word, size);
            size += nyx_count_bits(leaf.m_is_set[word]);
        }
        if (leaf.m_size != size || size > leaf.m_capacity)
            READER::fail("%s: a leaf has %u values, counts %u, and has room for %u", what, size, leaf.m_size,
                         leaf.m_capacity);
        return size;
    }

    // One of the root's maps, whose values are identifiers of rows.
    template <class MAP>
    void check_row_map(const MAP &map, std::uint64_t limit, const char *what) {
        check_map(map, what, true, [&](const typename MAP::value_type &element) {
            if (element.second.get() >= limit)
                READER::fail("%s leads to row %u of %llu", what, element.second.get(), ull(limit));
        });
    }

    // The traits of one width: their rows, which walks go over, and the map that leads to them by name.
    template <class TRAIT, class MAP>
    void check_traits(const MAP &map, const NYX_DB_PERSISTENT *root, const char *what) {
        using ID = typename MAP::mapped_type;
        auto &table = root->table<TRAIT>();
        for (unsigned i = 0; i < table.iter_limit(); ++i)
            if (const auto &row = *table.get(ID(i)); row.m_storage_name_id != NYX_NAME_ID::INVALID)
                check_trait(row, root);
        check_map(map, what, true, [&](const typename MAP::value_type &element) {
            // The plain name of an internal trait is reserved: it leads nowhere.
            if (element.second == ID::INVALID)
                return;
            const unsigned id = element.second.get();
            if (id >= table.iter_limit())
                READER::fail("%s leads to row %u of %llu", what, id, ull(table.iter_limit()));
            const auto &row = *table.get(element.second);
            const bool is_internal = row.m_internal_storage_name_id != NYX_NAME_ID::INVALID;
            if (row.m_storage_name_id == NYX_NAME_ID::INVALID ||
                element.first != (is_internal ? row.m_internal_storage_name_id : row.m_storage_name_id))
                READER::fail("%s leads to row %u by the name of another trait", what, id);
        });
    }

    // A trait: its names, its type, and its values, which are an object of their own with sound maps in it. The single
    // values are looked at if there is time for that.
    template <class ROW>
    void check_trait(const ROW &row, const NYX_DB_PERSISTENT *root) {
        const char *const what = "the values of a trait";
        using LOOKUP = std::remove_cvref_t<decltype(*row.m_trait_lookup_ptr)>;
        const LOOKUP &values =
            *claim_object<LOOKUP>(&row.m_trait_lookup_ptr, what, READER::target(&row.m_trait_lookup_ptr));
        const NYX_TRAIT_OBJ_TYPE object_type = values.m_object_type;
        if (object_type >= NYX_TRAIT_OBJ_TYPE::ALL_SPARSE)
            READER::fail("a trait is for objects of type %u", unsigned(object_type));
        if (!has_width(row.m_value_type, sizeof(values.m_default_value)))
            READER::fail("a trait has values of type %u in %zu bytes", unsigned(row.m_value_type),
                         sizeof(values.m_default_value));
        check_trait_name(row.m_storage_name_id, object_type);
        if (row.m_internal_storage_name_id != NYX_NAME_ID::INVALID)
            check_trait_name(row.m_internal_storage_name_id, object_type);
        const bool in_depth = m_faults != nullptr;
        // Where the type is the application's, anything asks for the default: a value is set only if it is another one.
        if (in_depth || row.m_value_type == NYX_TRAIT_VALUE_TYPE::APP_TRAIT_VALUE)
            check_trait_value(row, values.m_default_value);
        for (unsigned kind = 0; kind < LOOKUP::s_num_kinds; ++kind) {
            const std::uint64_t limit = in_depth ? num_objects(root, NYX_TRAIT_OBJ_TYPE(kind)) : 0;
            const typename LOOKUP::MAP &map = values.map(NYX_TRAIT_OBJ_TYPE(kind));
            check_values(map, what);
            // A walk leads from one database to itself.
            if (NYX_TRAIT_OBJ_TYPE(kind) == NYX_TRAIT_OBJ_TYPE::DB_SPARSE && map.find_from(1) != map.s_no_row)
                READER::fail("a trait has a value of database %u of 1", map.find_from(1));
            if (!in_depth)
                continue;
            map.for_each([&](unsigned object, auto value) {
                if (object >= limit)
                    READER::fail("a trait has a value of object %u of %llu", object, ull(limit));
                if (value == values.m_default_value)
                    READER::fail("a trait keeps its default for object %u", object);
                check_trait_value(row, value);
            });
        }
    }

    static bool has_width(NYX_TRAIT_VALUE_TYPE type, std::size_t bytes) {
        switch (type) {
        case NYX_TRAIT_VALUE_TYPE::BOOL_TRAIT_VALUE:
            return bytes == 1;
        case NYX_TRAIT_VALUE_TYPE::INT_TRAIT_VALUE:
        case NYX_TRAIT_VALUE_TYPE::STRING_TRAIT_VALUE:
        case NYX_TRAIT_VALUE_TYPE::FLOAT_TRAIT_VALUE:
            return bytes == 4;
        case NYX_TRAIT_VALUE_TYPE::DOUBLE_TRAIT_VALUE:
        case NYX_TRAIT_VALUE_TYPE::TIME_TRAIT_VALUE:
        case NYX_TRAIT_VALUE_TYPE::APP_TRAIT_VALUE:
            return bytes == 8;
        }
        return false;
    }

    // The name that callers know ends where the text of the type of objects begins.
    void check_trait_name(NYX_NAME_ID id, NYX_TRAIT_OBJ_TYPE object_type) {
        check_name_id(id, "a trait");
        const char *const text = m_names->get_impl().find_string(id);
        if (std::strstr(text, nyx_get_trait_object_type_text(object_type)) == nullptr)
            READER::fail("a trait for objects of type %u is stored as '%.100s'", unsigned(object_type), text);
    }

    template <class ROW, class RAW>
    void check_trait_value(const ROW &row, RAW value) {
        if constexpr (sizeof(RAW) == 4) {
            if (row.m_value_type == NYX_TRAIT_VALUE_TYPE::STRING_TRAIT_VALUE)
                check_name_id(NYX_NAME_ID(static_cast<std::uint32_t>(value)), "a trait");
        } else if constexpr (sizeof(RAW) == 8) {
            // The distance from the row to a block of the bytes' number and the bytes.
            if (row.m_value_type != NYX_TRAIT_VALUE_TYPE::APP_TRAIT_VALUE)
                return;
            const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(&row) + static_cast<std::uintptr_t>(value);
            const std::size_t usable = m_reader.usable(address);
            const char *const block = m_reader.claim(address, s_nyx_app_block_head, "a value of a trait");
            if (half_word(block) > usable - s_nyx_app_block_head)
                READER::fail("a value of a trait has %u bytes in a block of %zu", half_word(block), usable);
        }
    }

    // Rows of the objects that bear a kind of traits.
    static std::uint64_t num_objects(const NYX_DB_PERSISTENT *root, NYX_TRAIT_OBJ_TYPE kind) {
        switch (kind) {
#define NYX_TRAIT_KIND(type, one, many, word)                                                                          \
    case NYX_TRAIT_OBJ_TYPE::word##_SPARSE:                                                                            \
        return num_objects<type>(root);
#include "traits/nyx_trait_kinds.def"
        default:
            return 0;
        }
    }
    template <class T>
    static std::uint64_t num_objects(const NYX_DB_PERSISTENT *root) {
        if constexpr (std::is_same_v<T, NYX_DB>)
            return 1;
        else
            return root->table<T>().iter_limit();
    }

    void check_names(NYX_DB_PERSISTENT *root);
    void check_strings(const NYX_NAME_MANAGER_IMPL::STRINGS &strings, const NYX_NAME_MANAGER_IMPL::NAMESPACE &names,
                       std::uint64_t limit, const char *what);
    void check_counts(const NYX_NAME_MANAGER_IMPL::COUNTS &counts, const char *what);
    void check_tables(NYX_DB_PERSISTENT *root);
    template <class TABLE>
    void check_table(const void *link);
    template <class COLUMN>
    void check_column(const COLUMN &column, std::uintptr_t table, std::uint64_t rows, const char *what);
    template <class PAGE>
    void check_free_pages(const NYX_FREE_LIST_COLUMN<PAGE> &column, std::uint64_t num_allocated, const char *what);
    template <class TABLE>
    void check_free_cells(TABLE &table);
    template <class PAGE>
    void check_free_chunks(const NYX_CHUNK_COLUMN<PAGE> &column, std::uint64_t num_allocated, const char *what);

    template <class TABLE>
    void check_properties(const TABLE &table);
    template <class TABLE>
    void check_bus_arrays(const TABLE &table);
    void check_interface_lists(const NYX_INTERFACE_TABLE &table);
    void check_name_id(NYX_NAME_ID id, const char *what);

    NYX_IMAGE_READER m_reader;
    const bool m_may_change;
    std::vector<std::string> *const m_faults;
    std::uintptr_t m_root = 0;
    const NYX_NAME_MANAGER *m_names = nullptr;
};

void NYX_DB_IMAGE_CHECKER::check_strings(const NYX_NAME_MANAGER_IMPL::STRINGS &strings,
                                         const NYX_NAME_MANAGER_IMPL::NAMESPACE &names, std::uint64_t limit,
                                         const char *what) {
    const auto [links, count] = check_vector(&strings, sizeof(NYX_NAME_STRING_PTR), what);
    if (count > limit)
        READER::fail("%s has %llu names", what, ull(count));
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uintptr_t address = READER::target(links + i * 8);
        // Any block may be taken for a text: where it has no NUL, the size of the next block ends it, whose high bytes
        // are zero.
        if (m_faults != nullptr) {
            const std::size_t bytes = m_reader.usable(address);
            if (bytes == 0 || std::memchr(reinterpret_cast<const char *>(address), 0, bytes) == nullptr)
                READER::fail("%s: name %llu is no text", what, ull(i));
        }
        m_reader.claim(address, 1, what);
    }
    if (!m_may_change) {
        if (const std::uint64_t num_elements = check_buckets(names, what).num_elements; num_elements != count)
            READER::fail("%s has %llu of %llu names in its map", what, ull(num_elements), ull(count));
        return;
    }
    // A node for each string, and each node a string. The hashes would have to be computed anew from all texts.
    std::vector<bool> seen(m_faults != nullptr ? count : 0);
    std::uint64_t num_nodes = 0;
    check_map(names, what, m_faults != nullptr, [&, begin = links, end = count](const auto &element) {
        const std::uint64_t id = element.second.get();
        if (id >= end || READER::target(&element.first) != READER::target(begin + id * 8))
            READER::fail("%s: an element of the map is not name %llu", what, ull(id));
        if (!seen.empty()) {
            if (seen[id])
                READER::fail("%s: name %llu is in the map twice", what, ull(id));
            seen[id] = true;
        }
        ++num_nodes;
    });
    if (num_nodes != count)
        READER::fail("%s has %llu of %llu names in its map", what, ull(num_nodes), ull(count));
}

void NYX_DB_IMAGE_CHECKER::check_counts(const NYX_NAME_MANAGER_IMPL::COUNTS &counts, const char *what) {
    check_map(counts, what, m_faults != nullptr, [&](const NYX_NAME_MANAGER_IMPL::COUNTS::value_type &element) {
        if (m_faults != nullptr)
            check_name_id(element.first, what);
    });
}

void NYX_DB_IMAGE_CHECKER::check_names(NYX_DB_PERSISTENT *root) {
    const auto *const impl =
        claim_object<NYX_NAME_MANAGER_IMPL>(&root->m_names, "the name manager", READER::target(&root->m_names));
    if (!m_reader.leads_to_manager(&impl->segment))
        READER::fail("the name manager belongs to another segment");
    constexpr std::uint64_t max_names = std::uint64_t(1) << 31;
    constexpr std::uint64_t max_bus_names = std::uint64_t(1) << 23;
    check_strings(impl->id_reverse_lookup, impl->id_namespace, max_names, "the table of names");
    check_strings(impl->bus_id_reverse_lookup, impl->bus_id_namespace, max_bus_names, "the table of bus names");
    m_names = &root->m_names;
    part([&] { check_counts(impl->id_count, "the counters of names"); });
    part([&] { check_counts(impl->bus_id_count, "the counters of bus names"); });
}

void NYX_DB_IMAGE_CHECKER::check_name_id(NYX_NAME_ID id, const char *what) {
    if (id == NYX_NAME_ID::INVALID || m_names->get_impl().find_string(id) == nullptr)
        READER::fail("%s: there is no name %u", what, id.get());
}

// The values of rows: a map from rows to trees from names to values. The trees are looked at if there is time for that.
template <class TABLE>
void NYX_DB_IMAGE_CHECKER::check_properties(const TABLE &table) {
    const char *const what = TABLE::s_name;
    using VALUE = NYX_ROW_PROPERTIES::value_type;
    static_assert(sizeof(VALUE) == 24);
    check_map(table.m_properties, what, true, [&](const auto &element) {
        if (element.first.get() >= table.iter_limit())
            READER::fail("%s has properties of row %u of %u", what, element.first.get(), table.iter_limit());
        if (m_faults == nullptr)
            return;
        const char *const tree = reinterpret_cast<const char *>(&element.second);
        if (!m_reader.leads_to_manager(tree))
            READER::fail("%s: the properties of row %u have another allocator", what, element.first.get());
        NYX_IMAGE_TREE(m_reader, what)
            .walk(tree + 16, static_cast<std::uint64_t>(READER::word(tree + 8)), sizeof(VALUE), [&](const char *value) {
                check_name_id(NYX_NAME_ID(half_word(value)), what);
                // The number of the variant's type, then its value.
                const std::uint32_t type = half_word(value + 8);
                if (type > 7)
                    READER::fail("%s has a property of type %u", what, type);
                if (type == 0 && static_cast<unsigned char>(value[16]) > 1)
                    READER::fail("%s has a property that is neither true nor false", what);
                if (type == 4)
                    check_name_id(NYX_NAME_ID(half_word(value + 16)), what);
                if (type == 7 && READER::target(value + 16) != 0)
                    m_reader.claim(READER::target(value + 16), 1, what);
            });
    });
}

// The array of a bus holds an identifier for each position. Of free rows nothing but the name can be relied on.
template <class TABLE>
void NYX_DB_IMAGE_CHECKER::check_bus_arrays(const TABLE &table) {
    using ID = typename TABLE::id_type;
    for (unsigned i = 0; i < table.iter_limit(); ++i) {
        const auto *const row = table.get(ID(i));
        if (row->m_name_id != NYX_NAME_ID::INVALID)
            m_reader.claim(READER::target(&row->m_members_ptr), static_cast<std::size_t>(row->get_size()) * 4,
                           "the array of a bus");
    }
}

// The lists of an interface are vectors, each there from its first member on.
void NYX_DB_IMAGE_CHECKER::check_interface_lists(const NYX_INTERFACE_TABLE &table) {
    for (unsigned i = 0; i < table.iter_limit(); ++i) {
        const NYX_INTERFACE_ID id(i);
        if (*table.m_name_id.get(id) == NYX_NAME_ID::INVALID)
            continue;
        const NYX_INTERFACE_IMPL *const row = table.get(id);
        for (const auto *const link : {&row->m_ports_ptr, &row->m_port_buses_ptr}) {
            constexpr const char *what = "the members of an interface";
            if (const std::uintptr_t list = READER::target(link))
                check_vector(m_reader.claim(list, sizeof(NYX_INTERFACE_MEMBERS<NYX_PORT>), what), 8, what);
        }
    }
}

template <class PAGE>
void NYX_DB_IMAGE_CHECKER::check_free_pages(const NYX_FREE_LIST_COLUMN<PAGE> &column, std::uint64_t num_allocated,
                                            const char *what) {
    std::uint64_t num_free = 0;
    std::vector<std::uintptr_t> with_free_row;
    for (std::size_t i = 0; i < column.get_num_pages(); ++i) {
        const char *const page = reinterpret_cast<const char *>(column.get_page(i));
        std::uint32_t slot = half_word(page + 12);
        unsigned length = 0;
        for (; slot < PAGE::s_capacity; ++length) {
            if (length == PAGE::s_capacity)
                READER::fail("%s: the free rows of page %zu are a circle", what, i);
            std::uint16_t next;
            std::memcpy(&next, page + PAGE::s_head_size + slot * sizeof(typename PAGE::row_type), sizeof(next));
            slot = next;
        }
        if (slot != PAGE::s_capacity)
            READER::fail("%s: the free rows of page %zu lead to slot %u", what, i, slot);
        num_free += length;
        if (length != 0)
            with_free_row.push_back(reinterpret_cast<std::uintptr_t>(page));
    }
    if (column.get_num_rows() - num_free != num_allocated)
        READER::fail("%s has %llu rows, %llu of them free, but %llu in use", what, ull(column.get_num_rows()),
                     ull(num_free), ull(num_allocated));

    const char *const set = reinterpret_cast<const char *>(&column) + 48;
    static_assert(sizeof(column) == 48 + 40);
    if (!m_reader.leads_to_manager(set))
        READER::fail("%s: the free pages have another allocator", what);
    std::sort(with_free_row.begin(), with_free_row.end());
    std::size_t at = 0;
    NYX_IMAGE_TREE(m_reader, what).walk(set + 16, with_free_row.size(), 8, [&](const char *link) {
        if (READER::fast_target(link) != with_free_row[at++])
            READER::fail("%s: the free pages are not those with a free row", what);
    });
    if (static_cast<std::uint64_t>(READER::word(set + 8)) != with_free_row.size())
        READER::fail("%s: %zu pages have a free row", what, with_free_row.size());
}

// The cells of free rows, whose chains are sound: who takes such a row relies on it that all of it is in its initial
// state.
template <class TABLE>
void NYX_DB_IMAGE_CHECKER::check_free_cells(TABLE &table) {
    using PAGE = typename std::decay_t<decltype(table.m_primary)>::page_type;
    for (std::size_t i = 0; i < table.m_primary.get_num_pages(); ++i) {
        const char *const page = reinterpret_cast<const char *>(table.m_primary.get_page(i));
        std::uint16_t slot = static_cast<std::uint16_t>(half_word(page + 12));
        while (slot < PAGE::s_capacity) {
            const typename TABLE::id_type id(static_cast<unsigned>(i * PAGE::s_capacity + slot));
            TABLE::for_each_column([&](const char *name, auto column) {
                const auto *const cell = (table.*column).get(id);
                using CELL = std::remove_cvref_t<decltype(*cell)>;
                static const CELL s_initial{};
                if (std::memcmp(static_cast<const void *>(cell), static_cast<const void *>(&s_initial), sizeof(CELL)) !=
                    0)
                    READER::fail("%s: row %u is free, but has something in %s", TABLE::s_name, id.get(), name);
            });
            std::memcpy(&slot, page + PAGE::s_head_size + slot * sizeof(typename PAGE::row_type), sizeof(slot));
        }
    }
}

template <class PAGE>
void NYX_DB_IMAGE_CHECKER::check_free_chunks(const NYX_CHUNK_COLUMN<PAGE> &column, std::uint64_t num_allocated,
                                             const char *what) {
    const char *const map = reinterpret_cast<const char *>(&column) + 48;
    static_assert(sizeof(column) == 48 + 40 + 8);
    const long long highest = column.get_highest_start();
    const long long tail = column.get_free_tail();
    if (!m_reader.leads_to_manager(map))
        READER::fail("%s: the free chunks have another allocator", what);
    if (highest < 0 || tail < 0 || ull(highest + tail) != column.get_num_rows())
        READER::fail("%s has %lld and %lld rows of %llu", what, highest, tail, ull(column.get_num_rows()));
    const auto count = static_cast<std::uint64_t>(READER::word(map + 8));
    if (count > ull(highest))
        READER::fail("%s has %llu free chunks", what, ull(count));
    std::vector<std::pair<long long, long long>> chunks; // from where to where
    long long previous_size = 1;
    NYX_IMAGE_TREE(m_reader, what).walk(map + 16, count, 8, [&](const char *chunk) {
        const int size = static_cast<int>(half_word(chunk));
        const int start = static_cast<int>(half_word(chunk + 4));
        if (size < previous_size || start < 0 || static_cast<long long>(start) + size > highest)
            READER::fail("%s has a free chunk of %d rows from %d on", what, size, start);
        previous_size = size;
        chunks.emplace_back(start, static_cast<long long>(start) + size);
    });
    std::sort(chunks.begin(), chunks.end());
    long long end = 0;
    long long num_free = 0;
    for (const auto &[from, to] : chunks) {
        if (from < end)
            READER::fail("%s has free chunks that overlap at %lld", what, from);
        end = to;
        num_free += to - from;
    }
    if (ull(highest - num_free) != num_allocated)
        READER::fail("%s has %lld rows, %lld of them free, but %llu in use", what, highest, num_free,
                     ull(num_allocated));
}

template <class COLUMN>
void NYX_DB_IMAGE_CHECKER::check_column(const COLUMN &column, std::uintptr_t table, std::uint64_t rows,
                                        const char *what) {
    using PAGE = typename COLUMN::page_type;
    const char *const at = reinterpret_cast<const char *>(&column);
    if (READER::fast_target(at) != table || !m_reader.leads_to_manager(at + 40))
        READER::fail("%s: a column belongs to another table or segment", what);
    const auto [links, num_pages] = check_vector(at + 8, 8, what);
    if (num_pages * PAGE::s_capacity > s_max_rows || num_pages * PAGE::s_capacity < rows)
        READER::fail("%s: a column has %llu pages for %llu rows", what, ull(num_pages), ull(rows));
    for (std::uint64_t i = 0; i < num_pages; ++i) {
        const std::uintptr_t address = READER::fast_target(links + i * 8);
        if (address % PAGE::s_alignment != 0)
            READER::fail("%s: page %llu is not aligned", what, ull(i));
        const char *const page = m_reader.claim(address, PAGE::s_storage_size, what);
        if (READER::fast_target(page) != table || half_word(page + 8) != i * PAGE::s_capacity)
            READER::fail("%s: page %llu belongs elsewhere", what, ull(i));
    }
}

template <class TABLE>
void NYX_DB_IMAGE_CHECKER::check_table(const void *link) {
    const char *const what = TABLE::s_name;
    const std::uintptr_t address = READER::fast_target(link);
    const TABLE &table = *claim_object<TABLE>(link, what, address);
    if (READER::fast_target(&table.m_persistent) != m_root)
        READER::fail("%s belongs to another root", what);
    const std::uint64_t num_allocated = table.num_allocated();
    check_column(table.m_primary, address, table.iter_limit(), what);
    if (num_allocated > table.iter_limit())
        READER::fail("%s has %llu rows in use of %u", what, ull(num_allocated), table.iter_limit());
    if constexpr (std::decay_t<decltype(table.m_primary)>::page_type::s_has_free_list)
        check_free_pages(table.m_primary, num_allocated, what);
    else
        check_free_chunks(table.m_primary, num_allocated, what);
    TABLE::for_each_column(
        [&](const char *, auto column) { check_column(table.*column, address, table.m_primary.get_num_rows(), what); });
    if constexpr (TABLE::s_has_properties)
        check_properties(table);
    if (m_faults == nullptr)
        return;
    if constexpr (std::decay_t<decltype(table.m_primary)>::page_type::s_has_free_list)
        check_free_cells(const_cast<TABLE &>(table));
}

void NYX_DB_IMAGE_CHECKER::check_tables(NYX_DB_PERSISTENT *root) {
    // The links stand in front of all else, in the order of the members.
    const auto *links = reinterpret_cast<const std::int64_t *>(root);
    part([&] { check_table<NYX_MODULE_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_INSTANCE_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_INSTANCE_BUS_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_PORT_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_PORT_BUS_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_NET_BUS_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_INST_PORT_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_NET_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_INTERFACE_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_INST_HEADER_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_BYTE1_TRAIT_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_BYTE4_TRAIT_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_BYTE8_TRAIT_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_HIER_INSTANCE_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_HIER_MODULE_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_HIER_PORT_TABLE>(links); });
    ++links;
    links = reinterpret_cast<const std::int64_t *>(
        claim_object<NYX_DB_USER_DATA>(links, "the design entry", READER::fast_target(links)));
    part([&] { check_table<NYX_RELATIVE_OBJECT_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_CONSTRAINT_COLLECTION_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_CONSTRAINT_STMT_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_CONSTRAINT_ARG_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_SOURCE_FILE_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_ENTITY_TABLE>(links); });
    ++links;
    part([&] { check_table<NYX_SDC_CLOCK_TABLE>(links); });
    ++links;

    if (m_faults != nullptr && !m_faults->empty())
        return; // what follows asks the tables
    part([&] {
        check_row_map(root->m_module_nameid_to_objid, root->m_module_table->iter_limit(), "the map of modules");
    });
    part([&] { check_traits<NYX_BYTE1_TRAIT>(root->m_byte1_trait_nameid_to_objid, root, "the map of byte1 traits"); });
    part([&] { check_traits<NYX_BYTE4_TRAIT>(root->m_byte4_trait_nameid_to_objid, root, "the map of byte4 traits"); });
    part([&] { check_traits<NYX_BYTE8_TRAIT>(root->m_byte8_trait_nameid_to_objid, root, "the map of byte8 traits"); });
    part([&] {
        check_row_map(root->m_inst_header_key_to_id, root->m_inst_header_table->iter_limit(),
                      "the map of inst headers");
    });
    if (m_faults != nullptr) {
        part([&] { check_bus_arrays(*root->m_port_bus_table); });
        part([&] { check_bus_arrays(*root->m_net_bus_table); });
        part([&] { check_bus_arrays(*root->m_instance_bus_table); });
        part([&] { check_interface_lists(*root->m_interface_table); });
    }
    const NYX_MODULE_ID top = root->m_top_module_id;
    if (root->m_module_table->num_allocated() != 0 && top.get() >= root->m_module_table->iter_limit() &&
        (root->m_type == NYX_DB_TYPE::USER || root->m_type == NYX_DB_TYPE::DEVICE))
        READER::fail("the top module is row %u of %u", top.get(), root->m_module_table->iter_limit());
}

NYX_DB_PERSISTENT *nyx_find_sound_root(NYX_SEGMENT_MANAGER *manager, NYX_BLOCK_MAP blocks, NYX_DB_TYPE type,
                                       bool may_change) {
    try {
        return NYX_DB_IMAGE_CHECKER(NYX_IMAGE_READER(manager, std::move(blocks)), may_change, nullptr).check(type);
    } catch (const NYX_IMAGE_FAULT &) {
        return nullptr;
    }
}

std::vector<std::string> nyx_find_image_faults(NYX_SEGMENT_MANAGER *manager, NYX_DB_TYPE type) {
    std::vector<std::string> faults;
    if (std::string fault = nyx_get_algorithm(manager)->find_fault(); !fault.empty()) {
        faults.push_back(std::move(fault));
        return faults;
    }
    try {
        NYX_DB_IMAGE_CHECKER(NYX_IMAGE_READER(manager), true, &faults).check(type);
    } catch (const NYX_IMAGE_FAULT &fault) {
        faults.push_back(fault.text);
    }
    return faults;
}
