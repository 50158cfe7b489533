#ifndef NYX_TESTS_PRIMARY_ROWS_H
#define NYX_TESTS_PRIMARY_ROWS_H

/// \file
/// The fields of every primary row: where the file format has them, and where the compiler put them.

#include "pattern/object_types.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

template <class T>
inline constexpr bool is_offset_pointer = false;
template <class T>
inline constexpr bool is_offset_pointer<NYX_OFFSET_PTR<T>> = true;

struct ROW_FIELD {
    const char *name;
    std::size_t stored_offset, stored_width; ///< the format's
    std::size_t offset, width;               ///< the row's
    bool is_pointer;
};

template <class T>
std::vector<ROW_FIELD> row_fields();

// Standard layout, so offsetof has a meaning for rows with constructors as well.
#define ROW_FIELDS(type, ...)                                                                                          \
    template <>                                                                                                        \
    inline std::vector<ROW_FIELD> row_fields<type>() {                                                                 \
        using ROW = type##_PRIMARY;                                                                                    \
        return {__VA_ARGS__};                                                                                          \
    }
#define FIELD(member, stored_offset, stored_width)                                                                     \
    ROW_FIELD {                                                                                                        \
#member, stored_offset, stored_width, offsetof(ROW, member), sizeof(ROW::member),                              \
            is_offset_pointer < decltype(ROW::member)>                                                                 \
    }

ROW_FIELDS(NYX_MODULE, FIELD(m_type_data, 0, 4), FIELD(m_first_port, 4, 4), FIELD(m_num_ports, 8, 4),
           FIELD(m_type_bits, 12, 1))
ROW_FIELDS(NYX_INSTANCE, FIELD(m_inst_header_ptr, 0, 8), FIELD(m_module_ptr, 8, 8), FIELD(m_parent_ptr, 16, 8),
           FIELD(m_name_id, 24, 4), FIELD(m_next_in_module, 28, 4), FIELD(m_prev_in_module, 32, 4),
           FIELD(m_unique_suffix, 36, 4))
ROW_FIELDS(NYX_PORT, FIELD(m_net_ptr, 0, 8), FIELD(m_parent_ptr, 8, 8), FIELD(m_name_id, 16, 4),
           FIELD(m_next_on_net, 20, 4), FIELD(m_prev_on_net, 24, 4))
ROW_FIELDS(NYX_NET, FIELD(m_name_id, 0, 4), FIELD(m_next_in_module, 4, 4), FIELD(m_prev_in_module, 8, 4),
           FIELD(m_unique_suffix, 12, 4), FIELD(m_bits, 16, 1))
ROW_FIELDS(NYX_INST_PORT, FIELD(m_inst_ptr, 0, 8), FIELD(m_net_ptr, 8, 8), FIELD(m_next_on_net, 16, 4),
           FIELD(m_prev_on_net, 20, 4))
ROW_FIELDS(NYX_INST_HEADER, FIELD(m_db_name_id, 0, 4), FIELD(m_module_name_id, 4, 4), FIELD(m_num_ports, 8, 4),
           FIELD(m_reference_count, 12, 4))
#define BUS_FIELDS(type)                                                                                               \
    ROW_FIELDS(type, FIELD(m_members_ptr, 0, 8), FIELD(m_left_index, 8, 4), FIELD(m_name_id, 12, 4),                   \
               FIELD(m_next_in_module, 16, 4), FIELD(m_prev_in_module, 20, 4), FIELD(m_right_index, 24, 4))
BUS_FIELDS(NYX_PORT_BUS)
BUS_FIELDS(NYX_NET_BUS)
BUS_FIELDS(NYX_INSTANCE_BUS)
#undef BUS_FIELDS
ROW_FIELDS(NYX_INTERFACE, FIELD(m_parent_ptr, 0, 8), FIELD(m_ports_ptr, 8, 8), FIELD(m_port_buses_ptr, 16, 8),
           FIELD(m_bits, 24, 1))
ROW_FIELDS(NYX_HIER_INSTANCE, FIELD(m_hier_module_ptr, 0, 8), FIELD(m_inst_header_ptr, 8, 8),
           FIELD(m_parent_ptr, 16, 8), FIELD(m_name_id, 24, 4), FIELD(m_next_sibling, 28, 4),
           FIELD(m_prev_sibling, 32, 4))
ROW_FIELDS(NYX_HIER_MODULE, FIELD(m_first_port, 0, 4), FIELD(m_num_ports, 4, 4))
ROW_FIELDS(NYX_HIER_PORT, FIELD(m_parent_ptr, 0, 8), FIELD(m_name_id, 8, 4))
ROW_FIELDS(NYX_CONSTRAINT_ARG, FIELD(m_name_id, 0, 4), FIELD(m_next, 4, 4), FIELD(m_prev, 8, 4),
           FIELD(m_value_repr, 12, 4))
ROW_FIELDS(NYX_CONSTRAINT_COLLECTION, FIELD(m_hier_instances_ptr, 0, 8), FIELD(m_inst_ports_ptr, 8, 8),
           FIELD(m_instances_ptr, 16, 8), FIELD(m_nets_ptr, 24, 8), FIELD(m_ports_ptr, 32, 8),
           FIELD(m_relative_objects_ptr, 40, 8), FIELD(m_sdc_clocks_ptr, 48, 8))
ROW_FIELDS(NYX_CONSTRAINT_STMT, FIELD(m_head_arg, 0, 4))
ROW_FIELDS(NYX_ENTITY, FIELD(m_library_name_id, 0, 4))
ROW_FIELDS(NYX_RELATIVE_OBJECT, FIELD(m_path_segment_ids_ptr, 0, 8), FIELD(m_object_type, 8, 1))
ROW_FIELDS(NYX_SDC_CLOCK, FIELD(m_name_id, 0, 4))
ROW_FIELDS(NYX_SOURCE_FILE, FIELD(m_path_segment_ids_ptr, 0, 8))
#define TRAIT_FIELDS(type)                                                                                             \
    ROW_FIELDS(type, FIELD(m_trait_lookup_ptr, 0, 8), FIELD(m_description_id, 8, 4), FIELD(m_group_id, 12, 4),         \
               FIELD(m_internal_storage_name_id, 16, 4), FIELD(m_storage_name_id, 20, 4), FIELD(m_value_type, 24, 1))
TRAIT_FIELDS(NYX_BYTE1_TRAIT)
TRAIT_FIELDS(NYX_BYTE4_TRAIT)
TRAIT_FIELDS(NYX_BYTE8_TRAIT)
#undef TRAIT_FIELDS
#undef FIELD
#undef ROW_FIELDS

/// Where an offset pointer at `field` leads; null for null.
inline const void *offset_target(const void *field) {
    std::int64_t distance;
    std::memcpy(&distance, field, sizeof(distance));
    return distance == 1 ? nullptr : static_cast<const char *>(field) + distance;
}

/// Gives every field of a row a value that no fresh row has: pointers lead to `target`, the bytes of all others are
/// `fill`.
template <class T>
void fill_row(typename NYX_OBJECT_TRAITS<T>::impl *row, const void *target, int fill) {
    for (const ROW_FIELD &field : row_fields<T>()) {
        char *const at = reinterpret_cast<char *>(row) + field.offset;
        if (field.is_pointer) {
            const std::int64_t distance = static_cast<const char *>(target) - at;
            std::memcpy(at, &distance, sizeof(distance));
        } else {
            std::memset(at, fill, field.width);
        }
    }
}

/// Whether a row is as fill_row() with these arguments leaves it.
template <class T>
testing::AssertionResult is_filled(const typename NYX_OBJECT_TRAITS<T>::impl *row, const void *target, int fill) {
    for (const ROW_FIELD &field : row_fields<T>()) {
        const char *const at = reinterpret_cast<const char *>(row) + field.offset;
        const bool same = field.is_pointer ? offset_target(at) == target
                                           : std::count(at, at + field.width, static_cast<char>(fill)) ==
                                                 static_cast<std::ptrdiff_t>(field.width);
        if (!same)
            return testing::AssertionFailure() << field.name;
    }
    return testing::AssertionSuccess();
}

#endif
