#ifndef NYX_DB_PERSISTENT_H
#define NYX_DB_PERSISTENT_H

/// \file
/// The root of a database's segment: the named object "NYX", from which everything in it is reached. It is saved and
/// loaded byte for byte, so it holds self-relative pointers, identifiers and containers of the segment, and nothing of
/// the process. What a database needs from outside, the linker knows by the root's address.

#include "memory/nyx_serialization.h"
#include "memory/nyx_stored_map.h"
#include "names/nyx_name_mgr.h"
#include "netlist/nyx_object_traits.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_stats.h"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// What makes the header of a module in another database unique: nothing of it may be said twice.
struct INST_HEADER_KEY {
    INST_HEADER_KEY(std::string_view params_key, bool is_user_group, NYX_NAME_ID db_name_id,
                    NYX_NAME_ID module_name_id);

    friend bool operator==(const INST_HEADER_KEY &a, const INST_HEADER_KEY &b) = default;

    std::uint64_t m_params_hash; ///< of the parameters' key, of the empty string without parameters
    bool m_is_user_group;        ///< the other database is in the user's group, not the default one
    // Keys lie in the image, and no byte of it is left to chance.
    std::uint8_t m_zeros[3] = {};
    NYX_NAME_ID m_db_name_id;
    NYX_NAME_ID m_module_name_id;
    std::uint32_t m_zero = 0;
};

/// Order of the parts is part of the file format.
std::size_t hash_value(const INST_HEADER_KEY &key);

class NYX_DB_GROUP;
class NYX_DB_PERSISTENT;

/// The tables of what comes from design entry rather than from netlists.
struct NYX_DB_USER_DATA {
    NYX_DB_USER_DATA(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    NYX_FAST_OFFSET_PTR<NYX_RELATIVE_OBJECT_TABLE> m_relative_object_table;
    NYX_FAST_OFFSET_PTR<NYX_CONSTRAINT_COLLECTION_TABLE> m_constraint_collection_table;
    NYX_FAST_OFFSET_PTR<NYX_CONSTRAINT_STMT_TABLE> m_constraint_stmt_table;
    NYX_FAST_OFFSET_PTR<NYX_CONSTRAINT_ARG_TABLE> m_constraint_arg_table;
    NYX_FAST_OFFSET_PTR<NYX_SOURCE_FILE_TABLE> m_source_file_table;
    NYX_FAST_OFFSET_PTR<NYX_ENTITY_TABLE> m_entity_table;
    NYX_FAST_OFFSET_PTR<NYX_SDC_CLOCK_TABLE> m_sdc_clock_table;
};

/// Built once, by the creation of a database, and never destroyed: it goes with the segment.
class NYX_DB_PERSISTENT {
public:
    /// The name of the root in the segment.
    static constexpr const char *s_object_name = "NYX";

    /// Builds the name manager, the maps and all tables. boost::interprocess::bad_alloc when the segment is too small.
    NYX_DB_PERSISTENT(NYX_SEGMENT_MANAGER *manager, NYX_DB_TYPE type);
    NYX_DB_PERSISTENT(const NYX_DB_PERSISTENT &) = delete;
    NYX_DB_PERSISTENT &operator=(const NYX_DB_PERSISTENT &) = delete;

    NYX_DB_TYPE get_type() const { return m_type; }
    NYX_SEGMENT_MANAGER *get_segment_manager() const;
    NYX_NAME_MANAGER &names() { return m_names; }
    const NYX_NAME_MANAGER &names() const { return m_names; }

    /// The table of the objects of type T.
    template <class T>
    typename NYX_OBJECT_TRAITS<T>::table &table() const;

    /// \name Top module
    /// Of DEVICE and USER databases; others raise NYX_RUNTIME_ERROR, "Top module is defined for user databases only".
    /// \{

    /// Raises what is told above, in the name of `function`.
    void check_has_top_module(const char *function) const;
    /// Null in a database without modules, and when the module that was the top is gone.
    NYX_MODULE *get_top_module() const;
    /// `module` must be one of this database.
    void set_top_module(NYX_MODULE *module);
    /// Raises NYX_RUNTIME_ERROR when a module of that name exists, the top module included, and when there is no top
    /// module: "Can't rename top module as there is none".
    void rename_top_module(const char *new_name);
    /// \}

    /// \name Look-ups by name
    /// Null for a name that isn't there; the name is not entered.
    /// \{
    NYX_MODULE *find_module(const char *name) const;
    NYX_BYTE1_TRAIT *find_byte1_trait(const std::string &name, NYX_TRAIT_OBJ_TYPE object_type) const;
    NYX_BYTE4_TRAIT *find_byte4_trait(const std::string &name, NYX_TRAIT_OBJ_TYPE object_type) const;
    NYX_BYTE8_TRAIT *find_byte8_trait(const std::string &name, NYX_TRAIT_OBJ_TYPE object_type) const;
    /// Whether the name is taken: a trait of any width is filed under it, or it is the plain name of one that has an
    /// internal name, under which nothing is found.
    bool trait_exists(const std::string &name, NYX_TRAIT_OBJ_TYPE object_type) const;
    /// INVALID if no header has the key.
    NYX_INST_HEADER_ID find_inst_header(const INST_HEADER_KEY &key) const;
    /// The key under which a header is filed. Its flag need not be what the trait "is_user_group" says: that has a
    /// plain name, and who sets it by that does not file the header anew.
    INST_HEADER_KEY get_inst_header_key(NYX_INST_HEADER_ID id) const;
    /// \}

    /// \name Registration
    /// One entry in the map of the kind. Traits and headers that are there already end the run.
    /// \{
    void register_module(NYX_NAME_ID name_id, NYX_MODULE_ID id);
    void unregister_module(NYX_NAME_ID name_id);
    /// A trait is filed under its internal name if it has one, and then keeps others from taking its plain name. All or
    /// nothing when the segment is full.
    void register_byte1_trait(NYX_BYTE1_TRAIT *trait, NYX_TRAIT_OBJ_TYPE object_type);
    void register_byte4_trait(NYX_BYTE4_TRAIT *trait, NYX_TRAIT_OBJ_TYPE object_type);
    void register_byte8_trait(NYX_BYTE8_TRAIT *trait, NYX_TRAIT_OBJ_TYPE object_type);
    void register_inst_header(const INST_HEADER_KEY &key, NYX_INST_HEADER_ID id);
    void unregister_inst_header(const INST_HEADER_KEY &key);
    /// \}

    /// Shows a visitor the traits for objects of one type, or of all types for ALL_SPARSE: those of 1, of 4, then of 8
    /// bytes, each in the order in which they were declared. Internal ones only if `include_internal` is set.
    void visit(NYX_TRAIT_OBJ_TYPE object_type, NYX_SPARSE_TRAIT_VISITOR *visitor, bool include_internal) const;

    /// True when a header is in use: the database refers to another one. A database for which it is false is a leaf.
    bool has_inst_headers() const;

    /// Finds or opens the databases that the headers name, and links them to the database of this root, which must be
    /// registered. References that are marked as the user's are looked for in `group`, all others in the default group;
    /// null is that, too. `visited` has the databases with headers that were reached since the outermost opening, and
    /// gets those that are reached here. Not under the lock.
    ///
    /// Raises NYX_RUNTIME_ERROR as told for NYX_DB::open(). What was opened is linked then, so that it goes with this
    /// database.
    void open_sub_dbs(NYX_DB_GROUP *group, std::set<const NYX_DB_PERSISTENT *> &visited);

    /// How the segment is spent: every table, the name manager and the maps. Warns when what they account for differs
    /// from what is used by more than the blocks' own overhead. O(blocks).
    NYX_STATS get_stats() const;

    /// The number of the stored layout of everything in the segment. Its parts are appended to `members` when given.
    static std::uint64_t get_schema_id(std::vector<NYX_SCHEMA_MEMBER> *members);

private:
    friend class NYX_DB_IMAGE_CHECKER; // looks at all before anything is used

    template <class ID>
    using NAME_TO_ID = NYX_SEGMENT_UNORDERED_MAP<NYX_NAME_ID, ID>;
    using KEY_TO_HEADER = NYX_SEGMENT_UNORDERED_MAP<INST_HEADER_KEY, NYX_INST_HEADER_ID>;

    template <class T, class ID>
    T *find_trait(const NAME_TO_ID<ID> &map, const std::string &name, NYX_TRAIT_OBJ_TYPE object_type) const;
    template <class T, class ID>
    void register_trait(NAME_TO_ID<ID> &map, const T *trait);
    long own_bytes() const;

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_MODULE_TABLE> m_module_table;
    NYX_FAST_OFFSET_PTR<NYX_INSTANCE_TABLE> m_instance_table;
    NYX_FAST_OFFSET_PTR<NYX_INSTANCE_BUS_TABLE> m_instance_bus_table;
    NYX_FAST_OFFSET_PTR<NYX_PORT_TABLE> m_port_table;
    NYX_FAST_OFFSET_PTR<NYX_PORT_BUS_TABLE> m_port_bus_table;
    NYX_FAST_OFFSET_PTR<NYX_NET_BUS_TABLE> m_net_bus_table;
    NYX_FAST_OFFSET_PTR<NYX_INST_PORT_TABLE> m_inst_port_table;
    NYX_FAST_OFFSET_PTR<NYX_NET_TABLE> m_net_table;
    NYX_FAST_OFFSET_PTR<NYX_INTERFACE_TABLE> m_interface_table;
    NYX_FAST_OFFSET_PTR<NYX_INST_HEADER_TABLE> m_inst_header_table;
    NYX_FAST_OFFSET_PTR<NYX_BYTE1_TRAIT_TABLE> m_byte1_trait_table;
    NYX_FAST_OFFSET_PTR<NYX_BYTE4_TRAIT_TABLE> m_byte4_trait_table;
    NYX_FAST_OFFSET_PTR<NYX_BYTE8_TRAIT_TABLE> m_byte8_trait_table;
    NYX_FAST_OFFSET_PTR<NYX_HIER_INSTANCE_TABLE> m_hier_instance_table;
    NYX_FAST_OFFSET_PTR<NYX_HIER_MODULE_TABLE> m_hier_module_table;
    NYX_FAST_OFFSET_PTR<NYX_HIER_PORT_TABLE> m_hier_port_table;
    NYX_FAST_OFFSET_PTR<NYX_DB_USER_DATA> m_user_data;
    NYX_NAME_MANAGER m_names;
    NAME_TO_ID<NYX_MODULE_ID> m_module_nameid_to_objid;
    NYX_MODULE_ID m_top_module_id;
    NYX_DB_TYPE m_type;
    std::uint64_t m_reserved = 0;
    NAME_TO_ID<NYX_BYTE1_TRAIT_ID> m_byte1_trait_nameid_to_objid;
    NAME_TO_ID<NYX_BYTE4_TRAIT_ID> m_byte4_trait_nameid_to_objid;
    NAME_TO_ID<NYX_BYTE8_TRAIT_ID> m_byte8_trait_nameid_to_objid;
    KEY_TO_HEADER m_inst_header_key_to_id;
};

static_assert(sizeof(INST_HEADER_KEY) == 24 && sizeof(NYX_DB_USER_DATA) == 56 && sizeof(NYX_DB_PERSISTENT) == 480);

#define NYX_ROOT_TABLE(type, link)                                                                                     \
    template <>                                                                                                        \
    inline NYX_OBJECT_TRAITS<type>::table &NYX_DB_PERSISTENT::table<type>() const {                                    \
        return *link;                                                                                                  \
    }
NYX_ROOT_TABLE(NYX_MODULE, m_module_table)
NYX_ROOT_TABLE(NYX_INSTANCE, m_instance_table)
NYX_ROOT_TABLE(NYX_INSTANCE_BUS, m_instance_bus_table)
NYX_ROOT_TABLE(NYX_PORT, m_port_table)
NYX_ROOT_TABLE(NYX_PORT_BUS, m_port_bus_table)
NYX_ROOT_TABLE(NYX_NET_BUS, m_net_bus_table)
NYX_ROOT_TABLE(NYX_INST_PORT, m_inst_port_table)
NYX_ROOT_TABLE(NYX_NET, m_net_table)
NYX_ROOT_TABLE(NYX_INTERFACE, m_interface_table)
NYX_ROOT_TABLE(NYX_INST_HEADER, m_inst_header_table)
NYX_ROOT_TABLE(NYX_BYTE1_TRAIT, m_byte1_trait_table)
NYX_ROOT_TABLE(NYX_BYTE4_TRAIT, m_byte4_trait_table)
NYX_ROOT_TABLE(NYX_BYTE8_TRAIT, m_byte8_trait_table)
NYX_ROOT_TABLE(NYX_HIER_INSTANCE, m_hier_instance_table)
NYX_ROOT_TABLE(NYX_HIER_MODULE, m_hier_module_table)
NYX_ROOT_TABLE(NYX_HIER_PORT, m_hier_port_table)
NYX_ROOT_TABLE(NYX_RELATIVE_OBJECT, m_user_data->m_relative_object_table)
NYX_ROOT_TABLE(NYX_CONSTRAINT_COLLECTION, m_user_data->m_constraint_collection_table)
NYX_ROOT_TABLE(NYX_CONSTRAINT_STMT, m_user_data->m_constraint_stmt_table)
NYX_ROOT_TABLE(NYX_CONSTRAINT_ARG, m_user_data->m_constraint_arg_table)
NYX_ROOT_TABLE(NYX_SOURCE_FILE, m_user_data->m_source_file_table)
NYX_ROOT_TABLE(NYX_ENTITY, m_user_data->m_entity_table)
NYX_ROOT_TABLE(NYX_SDC_CLOCK, m_user_data->m_sdc_clock_table)
#undef NYX_ROOT_TABLE

#endif
