#include "netlist/nyx_property_map.h"

#include "memory/nyx_app_block.h"

namespace {

// The block of a value that has one.
const NYX_OFFSET_PTR<unsigned char> *block_of(const NYX_STORED_PROPERTY &value) {
    return boost::get<NYX_OFFSET_PTR<unsigned char>>(&value);
}

} // namespace

void nyx_free_property_blocks(NYX_ROW_PROPERTIES &properties) {
    NYX_SEGMENT_MANAGER &manager = *properties.get_allocator().get_segment_manager();
    for (auto &[name_id, value] : properties) {
        if (const auto *const block = block_of(value); block != nullptr && *block != nullptr) {
            nyx_free_app_block(manager, block->get());
            value = NYX_OFFSET_PTR<unsigned char>();
        }
    }
}

long nyx_get_property_bytes(const NYX_ROW_PROPERTIES &properties) {
    constexpr std::size_t node_bytes = 3 * sizeof(void *) + sizeof(NYX_ROW_PROPERTIES::value_type);
    std::size_t bytes = properties.size() * node_bytes;
    for (const auto &[name_id, value] : properties)
        if (const auto *const block = block_of(value); block != nullptr && *block != nullptr)
            bytes += s_nyx_app_block_head + nyx_view_app_block(block->get()).get_size();
    return static_cast<long>(bytes);
}
