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

template <class MAP, std::size_t... INDEX>
std::array<MAP, sizeof...(INDEX)> make_maps(NYX_SEGMENT_MANAGER *manager, std::index_sequence<INDEX...>) {
    return {{(static_cast<void>(INDEX), MAP(manager))...}};
}

} // namespace

template <class RAW>
NYX_TRAIT_LOOKUP<RAW>::NYX_TRAIT_LOOKUP(NYX_SEGMENT_MANAGER *manager)
    : m_maps(make_maps<MAP>(manager, std::make_index_sequence<s_num_kinds>())) {}

template <class RAW>
bool NYX_TRAIT_LOOKUP<RAW>::is_empty() const {
    return std::all_of(m_maps.begin(), m_maps.end(), [](const MAP &values) { return values.empty(); });
}

template <class RAW>
void NYX_TRAIT_LOOKUP<RAW>::reset_all_objects_having_this_trait() {
    NYX_CHECK_AS(m_object_type < NYX_TRAIT_OBJ_TYPE::ALL_SPARSE, "false", "Invalid object type");
    map(m_object_type).clear();
}

template <class RAW>
NYX_ANY_ID NYX_TRAIT_LOOKUP<RAW>::begin(NYX_TRAIT_OBJ_TYPE kind) const {
    return NYX_ANY_ID(map(kind).find_from(0));
}

template <class RAW>
NYX_ANY_ID NYX_TRAIT_LOOKUP<RAW>::next(NYX_TRAIT_OBJ_TYPE kind, NYX_ANY_ID id) const {
    return id == NYX_ANY_ID::INVALID ? id : NYX_ANY_ID(map(kind).find_from(id.get() + 1));
}
static_assert(NYX_ROW_MAP<int>::s_no_row == NYX_ANY_ID().get());

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
    stats.add_field_stats(NYX_FIELD_STATS(#one "_lookup", long(m_maps[index++].get_bytes()), -1, 0));
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
