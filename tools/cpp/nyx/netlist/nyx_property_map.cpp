#include "netlist/nyx_property_map.h"

#include "memory/nyx_app_block.h"

#include <new>

namespace {

// The block of a value that has one.
unsigned char *block_of(const NYX_STORED_PROPERTY &value) {
    const auto *const block = boost::get<NYX_OFFSET_PTR<unsigned char>>(&value);
    return block != nullptr ? block->get() : nullptr;
}

} // namespace

NYX_PROPERTY_MAP::~NYX_PROPERTY_MAP() {
    for_each(
        [this](unsigned, const NYX_ROW_PROPERTIES &values) { destroy(const_cast<NYX_ROW_PROPERTIES *>(&values)); });
}

NYX_ROW_PROPERTIES &NYX_PROPERTY_MAP::find_or_make(unsigned row) {
    if (NYX_ROW_PROPERTIES *const found = find(row))
        return *found;
    m_distances.make_room(row, 1);
    NYX_SEGMENT_MANAGER *const manager = m_distances.get_segment_manager();
    NYX_SEGMENT_ALLOCATOR<NYX_ROW_PROPERTIES> allocator(manager);
    auto *const made = ::new (allocator.allocate(1).get()) NYX_ROW_PROPERTIES(manager);
    m_distances.insert_or_assign(row, reinterpret_cast<const char *>(made) - reinterpret_cast<const char *>(this));
    return *made;
}

void NYX_PROPERTY_MAP::erase(unsigned row) {
    NYX_ROW_PROPERTIES *const values = find(row);
    if (values == nullptr)
        return;
    m_distances.erase(row);
    destroy(values);
}

void NYX_PROPERTY_MAP::destroy(NYX_ROW_PROPERTIES *values) {
    NYX_SEGMENT_MANAGER *const manager = m_distances.get_segment_manager();
    for (const auto &[name_id, value] : *values)
        if (unsigned char *const block = block_of(value))
            nyx_free_app_block(*manager, block);
    values->~NYX_ROW_PROPERTIES();
    NYX_SEGMENT_ALLOCATOR<NYX_ROW_PROPERTIES>(manager).deallocate(values, 1);
}

long NYX_PROPERTY_MAP::get_bytes() const {
    constexpr std::size_t node_bytes = 3 * sizeof(void *) + sizeof(NYX_ROW_PROPERTIES::value_type);
    std::size_t bytes = m_distances.get_bytes() + m_distances.size() * sizeof(NYX_ROW_PROPERTIES);
    for_each([&bytes](unsigned, const NYX_ROW_PROPERTIES &values) {
        bytes += values.size() * node_bytes;
        for (const auto &[name_id, value] : values)
            if (const unsigned char *const block = block_of(value))
                bytes += s_nyx_app_block_head + nyx_view_app_block(block).get_size();
    });
    return static_cast<long>(bytes);
}
