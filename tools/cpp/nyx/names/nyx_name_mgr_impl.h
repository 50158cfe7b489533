#ifndef NYX_NAME_MGR_IMPL_H
#define NYX_NAME_MGR_IMPL_H

/// \file
/// What a name manager keeps in the segment. The order of the members, the containers' types, the hash functions and
/// the bucket counts are part of the file format.

#include "memory/nyx_segment.h"
#include "memory/nyx_serialization.h"
#include "memory/nyx_stored_map.h"
#include "names/nyx_name_mgr.h"

#include <boost/container/vector.hpp>
#include <cstdint>
#include <cstring>
#include <string_view>

using NYX_NAME_STRING_PTR = NYX_OFFSET_PTR<const char>;

/// Hash of a name, before mixing.
struct NYX_NAME_HASH {
    std::size_t operator()(std::string_view text) const {
        std::uint64_t h = 0;
#pragma GCC unroll 8
        for (const char c : text)
            h ^= h * 32 + ((h >> 2) + static_cast<std::uint64_t>(static_cast<signed char>(c)));
        return h;
    }
    std::size_t operator()(const NYX_NAME_STRING_PTR &text) const {
        return (*this)(std::string_view(text.get()));
    }
};

struct NYX_NAME_EQUAL {
    bool operator()(const NYX_NAME_STRING_PTR &a, const NYX_NAME_STRING_PTR &b) const {
        return std::strcmp(a.get(), b.get()) == 0;
    }
};

struct NYX_NAME_MANAGER_IMPL {
    using STRINGS = boost::container::vector<NYX_NAME_STRING_PTR, NYX_SEGMENT_ALLOCATOR<NYX_NAME_STRING_PTR>>;
    using NAMESPACE = NYX_SEGMENT_UNORDERED_MAP<NYX_NAME_STRING_PTR, NYX_NAME_ID, NYX_NAME_HASH, NYX_NAME_EQUAL>;
    using COUNTS = NYX_SEGMENT_UNORDERED_MAP<NYX_NAME_ID, NYX_NAME_COUNT>;

    explicit NYX_NAME_MANAGER_IMPL(NYX_SEGMENT_MANAGER *manager);
    ~NYX_NAME_MANAGER_IMPL();

    void clear();

    /// The string of an identifier, the base of a bus-bit name for one of those; null if the identifier is beyond the
    /// table.
    const char *find_string(NYX_NAME_ID id) const {
        const bool is_bus = id.fields.bus.is_bus;
        const STRINGS &strings = is_bus ? bus_id_reverse_lookup : id_reverse_lookup;
        const unsigned index = is_bus ? unsigned(id.fields.bus.name_index) : id.get();
        return index < strings.size() ? strings[index].get() : nullptr;
    }

    STRINGS id_reverse_lookup;
    NAMESPACE id_namespace;
    COUNTS id_count;
    STRINGS bus_id_reverse_lookup;
    NAMESPACE bus_id_namespace;
    COUNTS bus_id_count;
    NYX_OFFSET_PTR<NYX_SEGMENT_MANAGER> segment;
};

static_assert(sizeof(NYX_NAME_MANAGER_IMPL::STRINGS) == 32);
static_assert(sizeof(NYX_NAME_MANAGER_IMPL::NAMESPACE) == 64 && sizeof(NYX_NAME_MANAGER_IMPL::COUNTS) == 64);
static_assert(sizeof(NYX_NAME_MANAGER_IMPL) == 328);

#endif
