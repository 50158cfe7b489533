#include "traits/nyx_trait_object_type.h"

#include <cstddef>
#include <iterator>

const char *nyx_get_trait_object_type_text(NYX_TRAIT_OBJ_TYPE object_type) {
    static constexpr const char *s_texts[] = {"MODULE_SPARSE",
                                              "PORT_SPARSE",
                                              "NET_SPARSE",
                                              "INSTANCE_SPARSE",
                                              "INSTANCE_BUS_SPARSE",
                                              "INST_PORT_SPARSE",
                                              "PORT_BUS_SPARSE",
                                              "NET_BUS_SPARSE",
                                              "RELATIVE_OBJECT_SPARSE",
                                              "DB_SPARSE",
                                              "CONSTRAINT_STMT_SPARSE",
                                              "SOURCE_FILE_SPARSE",
                                              "ENTITY_SPARSE",
                                              "SDC_CLOCK_SPARSE",
                                              "INST_HEADER_SPARSE",
                                              "HIER_MODULE_SPARSE",
                                              "INTERFACE_SPARSE"};
    static_assert(std::size(s_texts) == std::size_t(NYX_TRAIT_OBJ_TYPE::ALL_SPARSE));
    const std::size_t index = static_cast<std::size_t>(object_type);
    return index < std::size(s_texts) ? s_texts[index] : "";
}

std::string nyx_get_storage_name(const std::string &name, NYX_TRAIT_OBJ_TYPE object_type) {
    return name + nyx_get_trait_object_type_text(object_type);
}
