#include "database/nyx_db_persistent.h"

#include "constraints/nyx_constraint_arg_table.h"
#include "constraints/nyx_constraint_collection_table.h"
#include "constraints/nyx_constraint_stmt_table.h"
#include "constraints/nyx_entity_table.h"
#include "constraints/nyx_relative_object_table.h"
#include "constraints/nyx_sdc_clock_table.h"
#include "constraints/nyx_source_file_table.h"
#include "hierarchy/nyx_hier_instance_table.h"
#include "hierarchy/nyx_hier_module_table.h"
#include "hierarchy/nyx_hier_port_table.h"
#include "names/nyx_name_mgr_impl.h"
#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_inst_port_table.h"
#include "netlist/nyx_instance_bus_table.h"
#include "netlist/nyx_instance_table.h"
#include "netlist/nyx_interface_table.h"
#include "netlist/nyx_module_table.h"
#include "netlist/nyx_net_bus_table.h"
#include "netlist/nyx_net_table.h"
#include "netlist/nyx_port_bus_table.h"
#include "netlist/nyx_port_table.h"
#include "netlist/nyx_schema.h"
#include "nyx/nyx_db.h"
#include "nyx_report/nyx_report_exception.h"
#include "traits/nyx_byte1_trait_table.h"
#include "traits/nyx_byte4_trait_table.h"
#include "traits/nyx_byte8_trait_table.h"
#include "traits/nyx_trait_object_type.h"

#include <boost/format.hpp>

namespace {

constexpr std::uint64_t s_root_version = 24;
// Stands for the layout of the containers, and is theirs no longer than their library is pinned.
constexpr std::uint64_t s_containers_version = 107300;

// A block's header, and what rounding and the least block size cost at most.
constexpr long s_block_overhead = 40;

template <class TABLE>
NYX_FAST_OFFSET_PTR<TABLE> &make_table(NYX_FAST_OFFSET_PTR<TABLE> &link, NYX_DB_PERSISTENT *persistent,
                                       NYX_SEGMENT_MANAGER *manager) {
    link = nyx_clear_object_padding(
        manager->construct<TABLE>(boost::interprocess::anonymous_instance)(persistent, manager));
    return link;
}

template <class MAP>
MAP make_map(NYX_SEGMENT_MANAGER *manager) {
    return MAP(NYX_SEGMENT_INITIAL_BUCKETS, typename MAP::hasher(), typename MAP::key_equal(), manager);
}

} // namespace

INST_HEADER_KEY::INST_HEADER_KEY(std::string_view params_key, bool is_user_group, NYX_NAME_ID db_name_id,
                                 NYX_NAME_ID module_name_id)
    : m_params_hash(nyx_hash_bytes(params_key.data(), params_key.size()))
    , m_is_user_group(is_user_group)
    , m_db_name_id(db_name_id)
    , m_module_name_id(module_name_id) {}

// The map of headers is stored with the buckets that this has put them in, so the hash is written out and not left to a
// library, which may change its own.
std::size_t hash_value(const INST_HEADER_KEY &key) {
    std::uint64_t seed = 0;
    for (std::uint64_t value : {std::uint64_t(key.m_module_name_id.get()), std::uint64_t(key.m_db_name_id.get()),
                                std::uint64_t(key.m_is_user_group), key.m_params_hash}) {
        constexpr std::uint64_t factor = 0xc6a4a7935bd1e995;
        value *= factor;
        value ^= value >> 47;
        value *= factor;
        seed = (seed ^ value) * factor + 0xe6546b64;
    }
    return seed;
}

NYX_DB_USER_DATA::NYX_DB_USER_DATA(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager) {
    make_table(m_relative_object_table, persistent, manager);
    make_table(m_constraint_collection_table, persistent, manager);
    make_table(m_constraint_stmt_table, persistent, manager);
    make_table(m_constraint_arg_table, persistent, manager);
    make_table(m_source_file_table, persistent, manager);
    make_table(m_entity_table, persistent, manager);
    make_table(m_sdc_clock_table, persistent, manager);
}

NYX_DB_PERSISTENT::NYX_DB_PERSISTENT(NYX_SEGMENT_MANAGER *manager, NYX_DB_TYPE type)
    : m_names(manager)
    , m_module_nameid_to_objid(make_map<NAME_TO_ID<NYX_MODULE_ID>>(manager))
    , m_top_module_id(0)
    , m_type(type)
    , m_byte1_trait_nameid_to_objid(make_map<NAME_TO_ID<NYX_BYTE1_TRAIT_ID>>(manager))
    , m_byte4_trait_nameid_to_objid(make_map<NAME_TO_ID<NYX_BYTE4_TRAIT_ID>>(manager))
    , m_byte8_trait_nameid_to_objid(make_map<NAME_TO_ID<NYX_BYTE8_TRAIT_ID>>(manager))
    , m_inst_header_key_to_id(make_map<KEY_TO_HEADER>(manager)) {
    make_table(m_module_table, this, manager);
    make_table(m_instance_table, this, manager);
    make_table(m_instance_bus_table, this, manager);
    make_table(m_port_table, this, manager);
    make_table(m_port_bus_table, this, manager);
    make_table(m_net_bus_table, this, manager);
    make_table(m_inst_port_table, this, manager);
    make_table(m_net_table, this, manager);
    make_table(m_interface_table, this, manager);
    make_table(m_inst_header_table, this, manager);
    make_table(m_byte1_trait_table, this, manager);
    make_table(m_byte4_trait_table, this, manager);
    make_table(m_byte8_trait_table, this, manager);
    make_table(m_hier_instance_table, this, manager);
    make_table(m_hier_module_table, this, manager);
    make_table(m_hier_port_table, this, manager);
    make_table(m_user_data, this, manager);
}

NYX_SEGMENT_MANAGER *NYX_DB_PERSISTENT::get_segment_manager() const {
    return m_names.get_impl().segment.get();
}

// ---- Top module

void NYX_DB_PERSISTENT::check_has_top_module(const char *function) const {
    if (m_type != NYX_DB_TYPE::DEVICE && m_type != NYX_DB_TYPE::USER)
        NYX_RAISE_RUNTIME_ERROR(function, "Top module is defined for user databases only");
}

NYX_MODULE *NYX_DB_PERSISTENT::get_top_module() const {
    check_has_top_module("NYX_DB_PERSISTENT::get_top_module");
    if (m_module_table->num_allocated() == 0)
        return nullptr;
    NYX_MODULE_IMPL *const module = m_module_table->get(m_top_module_id);
    return *m_module_table->m_name_id.get(m_top_module_id) == NYX_NAME_ID::INVALID ? nullptr : module;
}

void NYX_DB_PERSISTENT::set_top_module(NYX_MODULE *module) {
    check_has_top_module("NYX_DB_PERSISTENT::set_top_module");
    m_top_module_id = NYX_MODULE_TABLE::get_id(static_cast<NYX_MODULE_IMPL *>(module));
}

void NYX_DB_PERSISTENT::rename_top_module(const char *new_name) {
    constexpr const char *function = "NYX_DB_PERSISTENT::rename_top_module";
    check_has_top_module(function);
    if (get_top_module() == nullptr)
        NYX_RAISE_RUNTIME_ERROR(function, "Can't rename top module as there is none");
    const NYX_NAME_ID new_id = m_names.get_id(new_name);
    if (m_module_nameid_to_objid.find(new_id) != m_module_nameid_to_objid.end())
        NYX_RAISE_RUNTIME_ERROR(
            function,
            (boost::format("Can't rename top module as a module with this name already exists: %1%") % new_name).str());
    NYX_NAME_ID &name_id = *m_module_table->m_name_id.get(m_top_module_id);
    // The new entry comes first: when the segment is full, the module keeps its name.
    m_module_nameid_to_objid.emplace(new_id, m_top_module_id);
    m_module_nameid_to_objid.erase(name_id);
    name_id = new_id;
}

// ---- Look-ups and registration

NYX_MODULE *NYX_DB_PERSISTENT::find_module(const char *name) const {
    const NYX_NAME_ID name_id = m_names.find_id(name);
    if (name_id == NYX_NAME_ID::INVALID)
        return nullptr;
    const auto found = m_module_nameid_to_objid.find(name_id);
    return found == m_module_nameid_to_objid.end() ? nullptr : m_module_table->get(found->second);
}

template <class T, class ID>
T *NYX_DB_PERSISTENT::find_trait(const NAME_TO_ID<ID> &map, const std::string &name,
                                 NYX_TRAIT_OBJ_TYPE object_type) const {
    if (name.find('\0') != std::string::npos)
        return nullptr; // no trait has one, and what stands in front of it may be a trait's name
    const NYX_NAME_ID name_id = m_names.find_id(nyx_get_storage_name(name, object_type).c_str());
    if (name_id == NYX_NAME_ID::INVALID)
        return nullptr;
    const auto *const found = nyx_find_stored(map, nyx_mix_hash(hash_value(name_id)),
                                              [name_id](const auto &entry) { return entry.first == name_id; });
    if (found == nullptr || found->second == ID::INVALID)
        return nullptr;
    const ID trait_id = found->second;
    auto *const table = &this->table<T>();
    NYX_CHECK_AS(trait_id.get() < table->iter_limit(), "trait_id < table->iter_limit()");
    auto *const trait = table->get(trait_id);
    // "xINST_" on ports and "x" on inst ports are stored under one name.
    return trait->m_trait_lookup_ptr->m_object_type == object_type ? trait : nullptr;
}

bool NYX_DB_PERSISTENT::trait_exists(const std::string &name, NYX_TRAIT_OBJ_TYPE object_type) const {
    if (name.find('\0') != std::string::npos)
        return false;
    const NYX_NAME_ID name_id = m_names.find_id(nyx_get_storage_name(name, object_type).c_str());
    const auto is_in = [name_id](const auto &map) {
        return nyx_find_stored(map, nyx_mix_hash(hash_value(name_id)),
                               [name_id](const auto &entry) { return entry.first == name_id; }) != nullptr;
    };
    return name_id != NYX_NAME_ID::INVALID &&
           (is_in(m_byte4_trait_nameid_to_objid) || is_in(m_byte8_trait_nameid_to_objid) ||
            is_in(m_byte1_trait_nameid_to_objid));
}

NYX_BYTE1_TRAIT *NYX_DB_PERSISTENT::find_byte1_trait(const std::string &name, NYX_TRAIT_OBJ_TYPE object_type) const {
    return find_trait<NYX_BYTE1_TRAIT>(m_byte1_trait_nameid_to_objid, name, object_type);
}

NYX_BYTE4_TRAIT *NYX_DB_PERSISTENT::find_byte4_trait(const std::string &name, NYX_TRAIT_OBJ_TYPE object_type) const {
    return find_trait<NYX_BYTE4_TRAIT>(m_byte4_trait_nameid_to_objid, name, object_type);
}

NYX_BYTE8_TRAIT *NYX_DB_PERSISTENT::find_byte8_trait(const std::string &name, NYX_TRAIT_OBJ_TYPE object_type) const {
    return find_trait<NYX_BYTE8_TRAIT>(m_byte8_trait_nameid_to_objid, name, object_type);
}

NYX_INST_HEADER_ID NYX_DB_PERSISTENT::find_inst_header(const INST_HEADER_KEY &key) const {
    const auto found = m_inst_header_key_to_id.find(key);
    return found == m_inst_header_key_to_id.end() ? NYX_INST_HEADER_ID::INVALID : found->second;
}

INST_HEADER_KEY NYX_DB_PERSISTENT::get_inst_header_key(NYX_INST_HEADER_ID id) const {
    const NYX_INST_HEADER_IMPL &row = *m_inst_header_table->get(id);
    INST_HEADER_KEY key("", true, row.m_db_name_id, row.m_module_name_id);
    key.m_is_user_group = find_inst_header(key) == id;
    return key;
}

void NYX_DB_PERSISTENT::register_module(NYX_NAME_ID name_id, NYX_MODULE_ID id) {
    m_module_nameid_to_objid.emplace(name_id, id);
}

void NYX_DB_PERSISTENT::unregister_module(NYX_NAME_ID name_id) {
    m_module_nameid_to_objid.erase(name_id);
}

template <class T, class ID>
void NYX_DB_PERSISTENT::register_trait(NAME_TO_ID<ID> &map, const T *trait) {
    const typename NYX_OBJECT_TRAITS<T>::impl *const row = trait->get_impl();
    const bool is_internal = trait->is_internal();
    const NYX_NAME_ID filed_under = is_internal ? row->m_internal_storage_name_id : row->m_storage_name_id;
    map.insert_or_assign(filed_under, table<T>().get_id(row));
    if (!is_internal)
        return;
    try {
        map.insert_or_assign(row->m_storage_name_id, ID::INVALID);
    } catch (...) {
        map.erase(filed_under);
        throw;
    }
}

void NYX_DB_PERSISTENT::register_byte1_trait(NYX_BYTE1_TRAIT *trait, NYX_TRAIT_OBJ_TYPE object_type) {
    NYX_CHECK(find_byte1_trait(trait->get_name(), object_type) == nullptr);
    register_trait(m_byte1_trait_nameid_to_objid, trait);
}

void NYX_DB_PERSISTENT::register_byte4_trait(NYX_BYTE4_TRAIT *trait, NYX_TRAIT_OBJ_TYPE object_type) {
    NYX_CHECK(find_byte4_trait(trait->get_name(), object_type) == nullptr);
    register_trait(m_byte4_trait_nameid_to_objid, trait);
}

void NYX_DB_PERSISTENT::register_byte8_trait(NYX_BYTE8_TRAIT *trait, NYX_TRAIT_OBJ_TYPE object_type) {
    NYX_CHECK(find_byte8_trait(trait->get_name(), object_type) == nullptr);
    register_trait(m_byte8_trait_nameid_to_objid, trait);
}

void NYX_DB_PERSISTENT::register_inst_header(const INST_HEADER_KEY &key, NYX_INST_HEADER_ID id) {
    const auto result = m_inst_header_key_to_id.emplace(key, id);
    NYX_CHECK_MSG(result.second, "Attempt to register inst header with the same INST_HEADER_KEY");
}

void NYX_DB_PERSISTENT::unregister_inst_header(const INST_HEADER_KEY &key) {
    m_inst_header_key_to_id.erase(key);
}

bool NYX_DB_PERSISTENT::has_inst_headers() const {
    return m_inst_header_table->num_allocated() != 0;
}

// ---- Statistics and schema

// The root, what it owns as single objects, and the tables themselves.
long NYX_DB_PERSISTENT::own_bytes() const {
    std::size_t bytes = sizeof(*this) + sizeof(NYX_DB_USER_DATA) + sizeof(NYX_NAME_MANAGER_IMPL);
#define NYX_OBJECT_TYPE(type) bytes += sizeof(type##_TABLE);
#include "memory/nyx_object_types.def"
    return static_cast<long>(bytes);
}

NYX_STATS NYX_DB_PERSISTENT::get_stats() const {
    const NYX::MEM_ALGO::segment_algorithm &algorithm = *nyx_get_algorithm(get_segment_manager());
    const unsigned long long size = algorithm.get_size();
    const unsigned long long free = algorithm.get_free_memory();
    NYX_CHECK(size >= free);
    NYX_STATS stats(size, free);
    stats.add_type_stats(m_module_table->get_stats());
    stats.add_type_stats(m_instance_table->get_stats());
    stats.add_type_stats(m_instance_bus_table->get_stats());
    stats.add_type_stats(m_port_table->get_stats());
    stats.add_type_stats(m_port_bus_table->get_stats());
    stats.add_type_stats(m_net_bus_table->get_stats());
    stats.add_type_stats(m_inst_port_table->get_stats());
    stats.add_type_stats(m_net_table->get_stats());
    stats.add_type_stats(m_interface_table->get_stats());
    stats.add_type_stats(m_inst_header_table->get_stats());
    stats.add_type_stats(m_byte1_trait_table->get_stats());
    stats.add_type_stats(m_byte4_trait_table->get_stats());
    stats.add_type_stats(m_byte8_trait_table->get_stats());
    stats.add_type_stats(m_hier_instance_table->get_stats());
    stats.add_type_stats(m_hier_module_table->get_stats());
    stats.add_type_stats(m_hier_port_table->get_stats());
    stats.add_type_stats(m_user_data->m_relative_object_table->get_stats());
    stats.add_type_stats(m_user_data->m_constraint_collection_table->get_stats());
    stats.add_type_stats(m_user_data->m_constraint_stmt_table->get_stats());
    stats.add_type_stats(m_user_data->m_constraint_arg_table->get_stats());
    stats.add_type_stats(m_user_data->m_source_file_table->get_stats());
    stats.add_type_stats(m_user_data->m_entity_table->get_stats());
    stats.add_type_stats(m_user_data->m_sdc_clock_table->get_stats());
    stats.add_type_stats(m_names.get_stats());

    NYX_TYPE_STATS own("NYX_DB_PERSISTENT", -1, -1);
    const auto add = [&own](const char *name, long bytes) { own.add_field_stats(NYX_FIELD_STATS(name, bytes, -1, 0)); };
    add("self", own_bytes());
    add("module_nameid_to_objid", nyx_stored_map_bytes(m_module_nameid_to_objid));
    add("byte1_trait_nameid_to_objid", nyx_stored_map_bytes(m_byte1_trait_nameid_to_objid));
    add("byte4_trait_nameid_to_objid", nyx_stored_map_bytes(m_byte4_trait_nameid_to_objid));
    add("byte8_trait_nameid_to_objid", nyx_stored_map_bytes(m_byte8_trait_nameid_to_objid));
    add("inst_header_key_to_id", nyx_stored_map_bytes(m_inst_header_key_to_id));
    stats.add_type_stats(own);

    long long accounted = static_cast<long long>(algorithm.get_first_block_offset());
    for (const NYX_TYPE_STATS &type : stats.get_type_stats())
        for (const NYX_FIELD_STATS &field : type.get_field_stats())
            accounted += field.get_bytes();
    long long blocks = 0;
    algorithm.for_each_block(
        [&blocks](const NYX::MEM_ALGO::segment_algorithm::BLOCK &block) { blocks += block.allocated; });
    const long long used = static_cast<long long>(stats.get_used());
    if (used < accounted || used > accounted + blocks * s_block_overhead)
        NYX_REPORT::warn("The DB used %lld bytes , but %lld bytes were accounted for", used, accounted);
    return stats;
}

std::uint64_t NYX_DB_PERSISTENT::get_schema_id(std::vector<NYX_SCHEMA_MEMBER> *members) {
    if (members != nullptr)
        members->push_back(NYX_SCHEMA_MEMBER{s_root_version, "NYX_DB_PERSISTENT"});
    std::uint64_t schema = s_root_version;
    for (const std::uint64_t id :
         {NYX_MODULE::get_schema_id(members), NYX_INSTANCE::get_schema_id(members),
          NYX_INSTANCE_BUS::get_schema_id(members), NYX_PORT::get_schema_id(members),
          NYX_PORT_BUS::get_schema_id(members), NYX_NET_BUS::get_schema_id(members),
          NYX_INST_PORT::get_schema_id(members), NYX_NET::get_schema_id(members), NYX_INTERFACE::get_schema_id(members),
          NYX_INST_HEADER::get_schema_id(members), NYX_BYTE1_TRAIT::get_schema_id(members),
          NYX_BYTE4_TRAIT::get_schema_id(members), NYX_BYTE8_TRAIT::get_schema_id(members),
          NYX_HIER_MODULE::get_schema_id(members), NYX_HIER_INSTANCE::get_schema_id(members),
          NYX_HIER_PORT::get_schema_id(members), s_containers_version, NYX_NAME_MANAGER::get_schema_id(members)})
        schema = nyx_hash_combine(schema, id);
    std::uint64_t user_data = 0;
    for (const std::uint64_t id :
         {NYX_RELATIVE_OBJECT::get_schema_id(members), NYX_CONSTRAINT_COLLECTION::get_schema_id(members),
          NYX_CONSTRAINT_STMT::get_schema_id(members), NYX_CONSTRAINT_ARG::get_schema_id(members),
          NYX_SOURCE_FILE::get_schema_id(members), NYX_ENTITY::get_schema_id(members),
          NYX_SDC_CLOCK::get_schema_id(members)})
        user_data = nyx_hash_combine(user_data, id);
    return nyx_hash_combine(schema, user_data);
}
