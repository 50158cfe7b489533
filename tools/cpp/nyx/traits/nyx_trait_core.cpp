#include "traits/nyx_trait_core.h"

#include "database/nyx_db_linker.h"
#include "memory/nyx_app_block.h"
#include "names/nyx_name_mgr_impl.h"
#include "nyx_report/nyx_report_exception.h"
#include "traits/nyx_trait_object_type.h"
#include "traits/nyx_trait_output.h"

#include <bit>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

namespace {

// The name of an identifier, empty if there is none.
[[gnu::noinline]] std::string find_name(const NYX_NAME_MANAGER &names, NYX_NAME_ID id) {
    std::string text;
    names.find_name(id, text);
    return text;
}

// Errors are raised out of line: the reads of values around them are to be short.
[[noreturn, gnu::noinline]] void raise_null_object(const char *class_name, const char *function) {
    NYX_RAISE_INVALID_ARGUMENT((std::string(class_name) + "::" + function).c_str(), "Obj cannot be NULL");
}

[[noreturn, gnu::noinline]] void raise_null_trait(const NYX_BEARER_CLASS &objects, const char *function) {
    NYX_RAISE_INVALID_ARGUMENT((std::string(objects.name) + "::" + function).c_str(), "Input trait cannot be NULL");
}

// A member of a class of objects, for the places of texts: "X::find_" with "int" gives "X::find_int_trait".
std::string member_name(const NYX_BEARER_CLASS &objects, const char *function, const char *type) {
    std::string name = std::string(objects.name) + "::" + function;
    return *type != 0 ? name + type + "_trait" : name;
}

template <class WIDTH>
WIDTH *find_width_trait(const NYX_DB_PERSISTENT *root, const std::string &name, NYX_TRAIT_OBJ_TYPE kind) {
    if constexpr (std::is_same_v<WIDTH, NYX_BYTE1_TRAIT>)
        return root->find_byte1_trait(name, kind);
    else if constexpr (std::is_same_v<WIDTH, NYX_BYTE4_TRAIT>)
        return root->find_byte4_trait(name, kind);
    else
        return root->find_byte8_trait(name, kind);
}

void register_trait(NYX_DB_PERSISTENT *root, NYX_BYTE1_TRAIT *trait, NYX_TRAIT_OBJ_TYPE kind) {
    root->register_byte1_trait(trait, kind);
}
void register_trait(NYX_DB_PERSISTENT *root, NYX_BYTE4_TRAIT *trait, NYX_TRAIT_OBJ_TYPE kind) {
    root->register_byte4_trait(trait, kind);
}
void register_trait(NYX_DB_PERSISTENT *root, NYX_BYTE8_TRAIT *trait, NYX_TRAIT_OBJ_TYPE kind) {
    root->register_byte8_trait(trait, kind);
}

// The block of a value of an application, which is stored as its distance from the trait's row.
unsigned char *block_at(const NYX_APP_TRAIT *trait, long long distance) {
    return reinterpret_cast<unsigned char *>(const_cast<NYX_APP_TRAIT *>(trait)) + distance;
}
long long distance_of(const NYX_APP_TRAIT *trait, const unsigned char *block) {
    return block - reinterpret_cast<const unsigned char *>(trait);
}

// A block that goes again unless it is kept.
class NEW_BLOCK {
public:
    NEW_BLOCK(NYX_SEGMENT_MANAGER &manager, const NYX_APP_DATA &data)
        : m_manager(manager)
        , m_block(nyx_make_app_block(manager, data)) {}
    ~NEW_BLOCK() {
        if (m_block != nullptr)
            nyx_free_app_block(m_manager, m_block);
    }
    NEW_BLOCK(const NEW_BLOCK &) = delete;
    NEW_BLOCK &operator=(const NEW_BLOCK &) = delete;

    const unsigned char *get() const { return m_block; }
    void keep() { m_block = nullptr; }

private:
    NYX_SEGMENT_MANAGER &m_manager;
    unsigned char *m_block;
};

// From a value to what is stored. Names are entered in the database of `root`.
template <class TRAIT>
typename NYX_TRAIT_TYPE<TRAIT>::raw encode([[maybe_unused]] NYX_DB_PERSISTENT *root,
                                           typename NYX_TRAIT_TYPE<TRAIT>::parameter value) {
    if constexpr (std::is_same_v<TRAIT, NYX_STRING_TRAIT>)
        return std::bit_cast<int>(root->names().get_id(value.c_str()).get());
    else if constexpr (std::is_same_v<TRAIT, NYX_BOOL_TRAIT>)
        return value ? 1 : 0;
    else
        return std::bit_cast<typename NYX_TRAIT_TYPE<TRAIT>::raw>(value);
}

// Floating-point values by their bits, as the storage compares them.
template <class TRAIT>
bool same_value(typename NYX_TRAIT_TYPE<TRAIT>::parameter a, typename NYX_TRAIT_TYPE<TRAIT>::parameter b) {
    if constexpr (std::is_same_v<TRAIT, NYX_STRING_TRAIT>)
        return std::strcmp(a.c_str(), b.c_str()) == 0;
    else if constexpr (std::is_floating_point_v<typename NYX_TRAIT_TYPE<TRAIT>::value>)
        return encode<TRAIT>(nullptr, a) == encode<TRAIT>(nullptr, b);
    else
        return a == b;
}

} // namespace

void nyx_check_db(const NYX_BEARER_CLASS &objects, const char *function, const NYX_DB *db, const char *type) {
    if (db == nullptr)
        NYX_RAISE_INVALID_ARGUMENT(member_name(objects, function, type).c_str(), "Input database cannot be NULL");
}

// ---- Values as they are stored

template <class WIDTH>
void nyx_set_raw(WIDTH *trait, NYX_BEARER object, typename NYX_TRAIT_WIDTH<WIDTH>::raw value) {
    if (object.root == nullptr)
        raise_null_object(NYX_TRAIT_WIDTH<WIDTH>::s_name, "set_value");
    nyx_values_of(trait).set(object.kind, object.id, value);
}

template <class WIDTH>
bool nyx_is_default_raw(const WIDTH *trait, NYX_BEARER object) {
    if (object.root == nullptr)
        raise_null_object(NYX_TRAIT_WIDTH<WIDTH>::s_name, "is_default_value");
    return nyx_values_of(trait).find(object.kind, object.id) == nullptr;
}

template <class WIDTH>
WIDTH *nyx_get_width_trait(NYX_DB_PERSISTENT *root, typename NYX_OBJECT_TRAITS<WIDTH>::id id) {
    if (id == NYX_OBJECT_TRAITS<WIDTH>::id::INVALID)
        return nullptr;
    auto *const table = &root->table<WIDTH>();
    NYX_CHECK_AS(id.get() < table->num_allocated(), "trait_id < table->num_allocated()");
    return table->get(id);
}

// ---- Traits

template <class TRAIT>
TRAIT *NYX_TRAIT_CORE<TRAIT>::allocate(NYX_DB_PERSISTENT *root, const std::string &name, PARAMETER default_value,
                                       const std::string &group, const std::string &description,
                                       const std::string &internal_name, NYX_TRAIT_OBJ_TYPE kind) {
    using TABLE = typename NYX_OBJECT_TRAITS<WIDTH>::table;
    using LOOKUP = NYX_TRAIT_LOOKUP<typename TYPE::raw>;
    NYX_SEGMENT_MANAGER *const manager = root->get_segment_manager();
    NYX_NAME_MANAGER &names = root->names();
    const auto enter = [&names](const std::string &text) { return names.get_id(text.c_str()); };

    // A text as the default is entered first.
    [[maybe_unused]] typename TYPE::raw raw_default = 0;
    if constexpr (!std::is_same_v<TRAIT, NYX_APP_TRAIT>)
        raw_default = encode<TRAIT>(root, default_value);
    const NYX_NAME_ID internal_id =
        internal_name.empty() ? NYX_NAME_ID::INVALID : enter(nyx_get_storage_name(internal_name, kind));
    const NYX_NAME_ID storage_id = enter(nyx_get_storage_name(name, kind));
    const NYX_NAME_ID group_id = enter(group);
    const NYX_NAME_ID description_id = enter(description);

    // What a full segment leaves half done is taken back.
    const auto destroy = [manager](LOOKUP *lookup) { manager->destroy_ptr(lookup); };
    std::unique_ptr<LOOKUP, decltype(destroy)> lookup(
        manager->construct<LOOKUP>(boost::interprocess::anonymous_instance)(manager), destroy);
    lookup->m_object_type = kind;
    TABLE &table = root->table<WIDTH>();
    const auto free_row = [&table](typename NYX_OBJECT_TRAITS<WIDTH>::impl *row) { table.deallocate(row); };
    std::unique_ptr<typename NYX_OBJECT_TRAITS<WIDTH>::impl, decltype(free_row)> row(table.allocate(), free_row);
    auto *const trait = static_cast<TRAIT *>(static_cast<WIDTH *>(row.get()));
    row->m_trait_lookup_ptr = lookup.get();
    row->m_description_id = description_id;
    row->m_group_id = group_id;
    row->m_internal_storage_name_id = internal_id;
    row->m_storage_name_id = storage_id;
    row->m_value_type = TYPE::s_value_type;

    if constexpr (std::is_same_v<TRAIT, NYX_APP_TRAIT>) {
        NEW_BLOCK block(*manager, default_value);
        lookup->m_default_value = distance_of(trait, block.get());
        register_trait(root, trait, kind);
        block.keep();
    } else {
        lookup->m_default_value = raw_default;
        register_trait(root, trait, kind);
    }
    row.release();
    lookup.release();
    // Reads of this database that found no such trait find one now.
    NYX_DB_LINKER::get().trait_links().forget_absences(root);
    return trait;
}

template <class TRAIT>
TRAIT *NYX_TRAIT_CORE<TRAIT>::find_trait(const NYX_DB_PERSISTENT *root, const std::string &name,
                                         NYX_TRAIT_OBJ_TYPE kind) {
    WIDTH *const trait = find_width_trait<WIDTH>(root, name, kind);
    return trait != nullptr && nyx_row_of(trait)->m_value_type == TYPE::s_value_type ? static_cast<TRAIT *>(trait)
                                                                                     : nullptr;
}

template <class TRAIT>
TRAIT *NYX_TRAIT_CORE<TRAIT>::get_trait(NYX_DB_PERSISTENT *root, WIDTH_ID id) {
    return static_cast<TRAIT *>(nyx_get_width_trait<WIDTH>(root, id));
}

template <class TRAIT>
auto NYX_TRAIT_CORE<TRAIT>::decode_linked([[maybe_unused]] const TRAIT *trait, [[maybe_unused]] typename TYPE::raw raw)
    -> VALUE {
    if constexpr (std::is_same_v<TRAIT, NYX_STRING_TRAIT>) {
        const NYX_NAME_MANAGER &names = nyx_get_persistent(trait)->names();
        const NYX_NAME_ID id(std::bit_cast<unsigned>(raw));
        const char *const stored = names.get_impl().find_string(id);
        return __builtin_expect(stored != nullptr && !id.fields.bus.is_bus, 1) ? std::string(stored)
                                                                               : find_name(names, id);
    } else if constexpr (std::is_same_v<TRAIT, NYX_APP_TRAIT>) {
        return nyx_view_app_block(block_at(trait, raw));
    } else {
        return VALUE();
    }
}

template <class TRAIT>
bool NYX_TRAIT_CORE<TRAIT>::is_own(NYX_BEARER object, const TRAIT *trait) {
    return __builtin_expect(object.root == nyx_get_persistent(trait), 1);
}

template <class TRAIT>
auto NYX_TRAIT_CORE<TRAIT>::get_elsewhere(const TRAIT *trait, NYX_BEARER object) -> VALUE {
    const TRAIT *const found =
        object.root == nullptr ? nullptr : NYX_DB_LINKER::get().find_corresponding_trait(trait, object.root);
    return found != nullptr ? decode(found, nyx_get_raw<WIDTH>(found, object)) : get_default_value(trait);
}

template <class TRAIT>
bool NYX_TRAIT_CORE<TRAIT>::is_default_elsewhere(const TRAIT *trait, NYX_BEARER object) {
    if (object.root == nullptr)
        raise_null_object(TYPE::s_name, "is_default_value");
    const TRAIT *const found = NYX_DB_LINKER::get().find_corresponding_trait(trait, object.root);
    return found == nullptr || nyx_is_default_raw<WIDTH>(found, object);
}

template <class TRAIT>
auto NYX_TRAIT_CORE<TRAIT>::get_default_value(const TRAIT *trait) -> VALUE {
    return decode(trait, nyx_values_of<WIDTH>(trait).m_default_value);
}

template <class TRAIT>
auto NYX_TRAIT_CORE<TRAIT>::get_value(const TRAIT *trait, NYX_BEARER object) -> VALUE {
    return is_own(object, trait) ? decode(trait, nyx_get_raw<WIDTH>(trait, object)) : get_elsewhere(trait, object);
}

template <class TRAIT>
void NYX_TRAIT_CORE<TRAIT>::set_value(TRAIT *trait, NYX_BEARER object, PARAMETER value) {
    if constexpr (std::is_same_v<TRAIT, NYX_STRING_TRAIT> || std::is_same_v<TRAIT, NYX_APP_TRAIT>)
        if (object.root == nullptr)
            raise_null_object(TYPE::s_name, "set_value");
    if constexpr (std::is_same_v<TRAIT, NYX_APP_TRAIT>) {
        NYX_SEGMENT_MANAGER &manager = *nyx_get_persistent(trait)->get_segment_manager();
        const long long default_distance = nyx_values_of<WIDTH>(trait).m_default_value;
        const bool to_default = value == nyx_view_app_block(block_at(trait, default_distance));
        const long long distance = nyx_get_raw<WIDTH>(trait, object);
        const bool was_default = distance == default_distance;
        if (was_default && to_default)
            return;
        unsigned char *const old = block_at(trait, distance);
        if (to_default) {
            nyx_set_raw<WIDTH>(trait, object, default_distance);
            nyx_free_app_block(manager, old);
            return;
        }
        if (!was_default && nyx_view_app_block(old).get_size() == value.get_size()) {
            // The new bytes may be the old ones.
            if (value.get_size() != 0)
                std::memmove(old + s_nyx_app_block_head, value.get_data(), value.get_size());
            return;
        }
        // The new block before the old one goes: the value may lie in that, and stays if the segment is full.
        NEW_BLOCK block(manager, value);
        nyx_set_raw<WIDTH>(trait, object, distance_of(trait, block.get()));
        block.keep();
        if (!was_default)
            nyx_free_app_block(manager, old);
    } else {
        nyx_set_raw<WIDTH>(trait, object, encode<TRAIT>(nyx_get_persistent(trait), value));
    }
}

template <class TRAIT>
bool NYX_TRAIT_CORE<TRAIT>::is_default_value(const TRAIT *trait, NYX_BEARER object) {
    return is_own(object, trait) ? nyx_is_default_raw<WIDTH>(trait, object) : is_default_elsewhere(trait, object);
}

template <class TRAIT>
std::string NYX_TRAIT_CORE<TRAIT>::output_to_str(const TRAIT *trait, NYX_BEARER object) {
    if (object.root == nullptr)
        raise_null_object(TYPE::s_name, "output_to_str");
    return nyx_format_trait_line(trait, TYPE::s_text, TRAIT::convert_value_to_str(get_value(trait, object)).c_str(),
                                 TRAIT::convert_value_to_str(get_default_value(trait)));
}

template <class TRAIT>
std::string NYX_TRAIT_CORE<TRAIT>::output_to_str(const TRAIT *trait) {
    return nyx_format_trait_line(trait, TYPE::s_text, nullptr, TRAIT::convert_value_to_str(get_default_value(trait)));
}

// ---- What the members of objects do

template <class TRAIT>
void NYX_TRAIT_CORE<TRAIT>::check_trait(const NYX_BEARER_CLASS &objects, const char *function, const TRAIT *trait) {
    if (__builtin_expect(trait == nullptr, 0))
        raise_null_trait(objects, function);
}

bool nyx_trait_exists(const NYX_BEARER_CLASS &objects, const NYX_DB *db, const std::string &name) {
    nyx_check_db(objects, "trait_exists", db);
    if (name.empty())
        NYX_RAISE_INVALID_ARGUMENT((std::string(objects.name) + "::trait_exists").c_str(), "Input name cannot be NULL");
    return nyx_get_root_of_db(db)->trait_exists(name, objects.kind);
}

template <class TRAIT>
TRAIT *NYX_TRAIT_CORE<TRAIT>::create(const NYX_BEARER_CLASS &objects, NYX_DB *db, const std::string &name,
                                     PARAMETER default_value, const std::string &group, const std::string &description,
                                     const std::string &internal_name) {
    const auto function = [&objects] { return member_name(objects, "create_", TYPE::s_text); };
    nyx_check_db(objects, "create_", db, TYPE::s_text);
    if (name.empty())
        NYX_RAISE_INVALID_ARGUMENT(function().c_str(), "Cannot create a trait with an empty name");
    // Names end at a NUL, and the text of the object type behind this one would be lost.
    if (name.find('\0') != std::string::npos || internal_name.find('\0') != std::string::npos)
        NYX_RAISE_INVALID_ARGUMENT(function().c_str(), "Cannot create a trait with a NUL in its name");
    if (nyx_trait_exists(objects, db, name))
        NYX_RAISE_RUNTIME_ERROR(function().c_str(), std::string(objects.name) + " already has trait named " + name);
    if (!internal_name.empty() && nyx_trait_exists(objects, db, internal_name))
        NYX_RAISE_RUNTIME_ERROR(function().c_str(),
                                std::string(objects.name) + " already has trait using internal name " + internal_name);
    return allocate(nyx_get_root_of_db(db), name, default_value, group, description, internal_name, objects.kind);
}

template <class TRAIT>
TRAIT *NYX_TRAIT_CORE<TRAIT>::find(const NYX_BEARER_CLASS &objects, const NYX_DB *db, const std::string &name) {
    nyx_check_db(objects, "find_", db, TYPE::s_text);
    if (name.empty())
        NYX_RAISE_INVALID_ARGUMENT(member_name(objects, "find_", TYPE::s_text).c_str(), "Input name cannot be empty");
    return find_trait(nyx_get_root_of_db(db), name, objects.kind);
}

template <class TRAIT>
TRAIT *NYX_TRAIT_CORE<TRAIT>::find_or_create(const NYX_BEARER_CLASS &objects, NYX_DB *db, const std::string &name,
                                             PARAMETER default_value, const std::string &group,
                                             const std::string &description, const std::string &internal_name) {
    const auto raise = [&objects](const std::string &text) {
        NYX_RAISE_RUNTIME_ERROR(member_name(objects, "find_or_create_", TYPE::s_text).c_str(), objects.name + text);
    };
    TRAIT *trait = internal_name.empty() ? nullptr : find(objects, db, internal_name);
    if (trait == nullptr) {
        trait = find(objects, db, name);
        if (trait == nullptr)
            return create(objects, db, name, default_value, group, description, internal_name);
        if (!internal_name.empty())
            raise(" already has an internal trait named " + name + ".");
    }
    const VALUE known = get_default_value(trait);
    if (!same_value<TRAIT>(known, default_value))
        raise(" already has trait named " + name + " with a default value of " + TRAIT::convert_value_to_str(known) +
              " that does not match the input default value of " + TRAIT::convert_value_to_str(default_value));
    return trait;
}

template <class TRAIT>
bool NYX_TRAIT_CORE<TRAIT>::is_empty(const NYX_BEARER_CLASS &objects, const TRAIT *trait) {
    check_trait(objects, "trait_is_empty", trait);
    return nyx_values_of<WIDTH>(trait).is_empty();
}

template <class TRAIT>
auto NYX_TRAIT_CORE<TRAIT>::get(const NYX_BEARER_CLASS &objects, const TRAIT *trait, NYX_BEARER object) -> VALUE {
    check_trait(objects, "get_value", trait);
    return get_value(trait, object);
}

template <class TRAIT>
void NYX_TRAIT_CORE<TRAIT>::set(const NYX_BEARER_CLASS &objects, TRAIT *trait, NYX_BEARER object, PARAMETER value) {
    check_trait(objects, "set_value", trait);
    set_value(trait, object, value);
}

template <class TRAIT>
bool NYX_TRAIT_CORE<TRAIT>::is_default(const NYX_BEARER_CLASS &objects, const TRAIT *trait, NYX_BEARER object) {
    check_trait(objects, "is_default_value", trait);
    return is_default_value(trait, object);
}

template <class TRAIT>
std::string NYX_TRAIT_CORE<TRAIT>::to_str(const NYX_BEARER_CLASS &objects, const TRAIT *trait, NYX_BEARER object) {
    check_trait(objects, "convert_value_to_str", trait);
    return TRAIT::convert_value_to_str(get_value(trait, object));
}

template void nyx_set_raw(NYX_BYTE1_TRAIT *, NYX_BEARER, signed char);
template void nyx_set_raw(NYX_BYTE4_TRAIT *, NYX_BEARER, int);
template void nyx_set_raw(NYX_BYTE8_TRAIT *, NYX_BEARER, long long);
template bool nyx_is_default_raw(const NYX_BYTE1_TRAIT *, NYX_BEARER);
template bool nyx_is_default_raw(const NYX_BYTE4_TRAIT *, NYX_BEARER);
template bool nyx_is_default_raw(const NYX_BYTE8_TRAIT *, NYX_BEARER);
template NYX_BYTE1_TRAIT *nyx_get_width_trait<NYX_BYTE1_TRAIT>(NYX_DB_PERSISTENT *, NYX_BYTE1_TRAIT_ID);
template NYX_BYTE4_TRAIT *nyx_get_width_trait<NYX_BYTE4_TRAIT>(NYX_DB_PERSISTENT *, NYX_BYTE4_TRAIT_ID);
template NYX_BYTE8_TRAIT *nyx_get_width_trait<NYX_BYTE8_TRAIT>(NYX_DB_PERSISTENT *, NYX_BYTE8_TRAIT_ID);
template struct NYX_TRAIT_CORE<NYX_BOOL_TRAIT>;
template struct NYX_TRAIT_CORE<NYX_INT_TRAIT>;
template struct NYX_TRAIT_CORE<NYX_STRING_TRAIT>;
template struct NYX_TRAIT_CORE<NYX_FLOAT_TRAIT>;
template struct NYX_TRAIT_CORE<NYX_DOUBLE_TRAIT>;
template struct NYX_TRAIT_CORE<NYX_TIME_TRAIT>;
template struct NYX_TRAIT_CORE<NYX_APP_TRAIT>;
