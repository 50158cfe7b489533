#include "netlist/nyx_schema.h"

#include "nyx/nyx_byte_trait.h"

#include <string>

namespace {

// The module's version stands for what its code writes and no column shows.
constexpr std::uint64_t s_module_version = 4;
constexpr std::uint64_t s_traits_version = 1;

// The versions of the objects that hold a trait's values, by the width of the trait.
std::uint64_t lookup_version(const std::string &class_name) {
    return class_name == "NYX_BYTE1_TRAIT" ? 5 : 4;
}

void append(std::vector<NYX_SCHEMA_MEMBER> *members, std::uint64_t id, const std::string &name) {
    if (members != nullptr)
        members->push_back(NYX_SCHEMA_MEMBER{id, name});
}

} // namespace

std::uint64_t nyx_hash_bytes(const void *bytes, std::size_t size) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (std::size_t i = 0; i < size; ++i)
        hash = (hash ^ static_cast<const unsigned char *>(bytes)[i]) * 0x100000001b3;
    return hash;
}

long nyx_hash_address(const void *address) {
    return static_cast<long>(nyx_hash_bytes(&address, sizeof(address)));
}

std::uint64_t nyx_get_class_schema_id(const char *class_name, NYX_TABLE_SCHEMA table, NYX_SCHEMA_KIND kind,
                                      std::vector<NYX_SCHEMA_MEMBER> *members) {
    std::uint64_t schema = 0;
    if (kind == NYX_SCHEMA_KIND::VERSIONED) {
        append(members, s_module_version, class_name);
        schema = nyx_hash_combine(s_module_version, table(members));
    } else {
        schema = table(members);
    }
    if (kind == NYX_SCHEMA_KIND::TABLE_ONLY)
        return schema;
    if (kind == NYX_SCHEMA_KIND::TRAIT_WIDTH) {
        const std::uint64_t version = lookup_version(class_name);
        append(members, version, std::string(class_name) + "_LOOKUP");
        return nyx_hash_combine(schema, version);
    }
    return nyx_hash_combine(schema, nyx_get_trait_schema_id(class_name, members));
}

std::uint64_t nyx_get_trait_schema_id(const char *class_name, std::vector<NYX_SCHEMA_MEMBER> *members) {
    append(members, s_traits_version, std::string(class_name) + " (trait schema)");
    // int, float, double, time, string, bool and application data, each by the width of its values.
    std::uint64_t schema = s_traits_version;
    schema = nyx_hash_combine(schema, NYX_BYTE4_TRAIT::get_schema_id(members));
    schema = nyx_hash_combine(schema, NYX_BYTE4_TRAIT::get_schema_id(members));
    schema = nyx_hash_combine(schema, NYX_BYTE8_TRAIT::get_schema_id(members));
    schema = nyx_hash_combine(schema, NYX_BYTE8_TRAIT::get_schema_id(members));
    schema = nyx_hash_combine(schema, NYX_BYTE4_TRAIT::get_schema_id(members));
    schema = nyx_hash_combine(schema, NYX_BYTE1_TRAIT::get_schema_id(members));
    return nyx_hash_combine(schema, NYX_BYTE8_TRAIT::get_schema_id(members));
}
