#include "traits/nyx_trait_lookup.h"

#include "nyx_report/nyx_report.h"
#include "traits/nyx_bearer.h"
#include "traits/nyx_bearer_tables.h"

#include <algorithm>
#include <utility>

namespace {

template <class RAW>
struct SCHEMA;
template <>
struct SCHEMA<signed char> {
    static constexpr const char *s_name = "NYX_BYTE1_TRAIT_LOOKUP";
    static constexpr std::uint64_t s_version = 5;
};
template <>
struct SCHEMA<int> {
    static constexpr const char *s_name = "NYX_BYTE4_TRAIT_LOOKUP";
    static constexpr std::uint64_t s_version = 4;
};
template <>
struct SCHEMA<long long> {
    static constexpr const char *s_name = "NYX_BYTE8_TRAIT_LOOKUP";
    static constexpr std::uint64_t s_version = 4;
};

template <class MAP>
MAP make_map(NYX_SEGMENT_MANAGER *manager) {
    return MAP(NYX_SEGMENT_INITIAL_BUCKETS, typename MAP::hasher(), typename MAP::key_equal(), manager);
}

template <class MAP, std::size_t... INDEX>
std::array<MAP, sizeof...(INDEX)> make_maps(NYX_SEGMENT_MANAGER *manager, std::index_sequence<INDEX...>) {
    return {{(static_cast<void>(INDEX), make_map<MAP>(manager))...}};
}

} // namespace

template <class RAW>
NYX_TRAIT_LOOKUP<RAW>::NYX_TRAIT_LOOKUP(NYX_SEGMENT_MANAGER *manager)
    : m_maps(make_maps<MAP>(manager, std::make_index_sequence<s_num_kinds>())) {}

template <class RAW>
void NYX_TRAIT_LOOKUP<RAW>::set(NYX_TRAIT_OBJ_TYPE kind, NYX_ANY_ID id, RAW value) {
    RAW *const stored = const_cast<RAW *>(find(kind, id));
    if (value == m_default_value) {
        if (stored != nullptr)
            map(kind).erase(id);
    } else if (stored != nullptr) {
        *stored = value;
    } else {
        nyx_insert_stored(map(kind), nyx_spread_row(id.get()), id, value);
    }
}

template <class RAW>
bool NYX_TRAIT_LOOKUP<RAW>::is_empty() const {
    return std::all_of(m_maps.begin(), m_maps.end(), [](const MAP &values) { return values.empty(); });
}

template <class RAW>
void NYX_TRAIT_LOOKUP<RAW>::reset_all_objects_having_this_trait() {
    NYX_CHECK_AS(m_object_type < NYX_TRAIT_OBJ_TYPE::ALL_SPARSE, "false", "Invalid object type");
    // A map that is cleared keeps its buckets; one that goes does not.
    MAP &values = map(m_object_type);
    MAP none = make_map<MAP>(values.get_allocator().get_segment_manager());
    values.swap(none);
}

template <class RAW>
NYX_ANY_ID NYX_TRAIT_LOOKUP<RAW>::begin(NYX_TRAIT_OBJ_TYPE kind) const {
    const MAP &values = map(kind);
    return values.empty() ? NYX_ANY_ID::INVALID : values.begin()->first;
}

template <class RAW>
NYX_ANY_ID NYX_TRAIT_LOOKUP<RAW>::next(NYX_TRAIT_OBJ_TYPE kind, NYX_ANY_ID id) const {
    const MAP &values = map(kind);
    auto at = values.find(id);
    return at == values.end() || ++at == values.end() ? NYX_ANY_ID::INVALID : at->first;
}

#define NYX_TRAIT_KIND(type, one, many, word)                                                                          \
    template <class RAW>                                                                                               \
    type *NYX_TRAIT_LOOKUP<RAW>::one##_lookup_begin(NYX_DB_PERSISTENT *persistent) const {                             \
        return nyx_get_bearer<type>(persistent, begin(NYX_TRAIT_OBJ_TYPE::word##_SPARSE));                             \
    }                                                                                                                  \
    template <class RAW>                                                                                               \
    type *NYX_TRAIT_LOOKUP<RAW>::one##_lookup_increment(NYX_DB_PERSISTENT *persistent, type *object) const {           \
        return nyx_get_bearer<type>(persistent, next(NYX_TRAIT_OBJ_TYPE::word##_SPARSE, nyx_bearer(object).id));       \
    }
#include "traits/nyx_trait_kinds.def"

template <class RAW>
NYX_TYPE_STATS NYX_TRAIT_LOOKUP<RAW>::get_stats() const {
    NYX_TYPE_STATS stats(SCHEMA<RAW>::s_name, -1, -1);
    stats.add_field_stats(NYX_FIELD_STATS("self", long(sizeof(*this)), -1, 0));
    unsigned index = 0;
#define NYX_TRAIT_KIND(type, one, many, word)                                                                          \
    stats.add_field_stats(NYX_FIELD_STATS(#one "_lookup", nyx_stored_map_bytes(m_maps[index++]), -1, 0));
#include "traits/nyx_trait_kinds.def"
    return stats;
}

template <class RAW>
std::uint64_t NYX_TRAIT_LOOKUP<RAW>::get_schema_id(std::vector<NYX_SCHEMA_MEMBER> *members) {
    if (members != nullptr)
        members->push_back(NYX_SCHEMA_MEMBER{SCHEMA<RAW>::s_version, SCHEMA<RAW>::s_name});
    return SCHEMA<RAW>::s_version;
}

template class NYX_TRAIT_LOOKUP<signed char>;
template class NYX_TRAIT_LOOKUP<int>;
template class NYX_TRAIT_LOOKUP<long long>;
