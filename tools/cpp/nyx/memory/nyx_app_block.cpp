#include "memory/nyx_app_block.h"

#include <cstdint>
#include <cstring>

bool NYX_APP_DATA::operator==(const NYX_APP_DATA &other) const {
    return m_size == other.m_size && (m_size == 0 || std::memcmp(m_data, other.m_data, m_size) == 0);
}

unsigned char *nyx_make_app_block(NYX_SEGMENT_MANAGER &manager, const NYX_APP_DATA &data) {
    const std::size_t bytes = s_nyx_app_block_head + data.get_size();
    auto *const block = static_cast<unsigned char *>(manager.allocate(bytes));
    nyx_notify_allocated(manager, block, bytes);
    const std::uint32_t size = data.get_size();
    std::memcpy(block, &size, sizeof(size));
    if (size != 0)
        std::memcpy(block + s_nyx_app_block_head, data.get_data(), size);
    return block;
}

void nyx_free_app_block(NYX_SEGMENT_MANAGER &manager, unsigned char *block) {
    nyx_notify_deallocated(manager, block);
    manager.deallocate(block);
}

NYX_APP_DATA nyx_view_app_block(const unsigned char *block) {
    std::uint32_t size;
    std::memcpy(&size, block, sizeof(size));
    return NYX_APP_DATA(size, block + s_nyx_app_block_head);
}
