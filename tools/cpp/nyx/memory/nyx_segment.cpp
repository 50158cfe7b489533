#include "memory/nyx_segment.h"

#include "memory/nyx_virtual_memory.h"
#include "nyx_report/nyx_report_exception.h"

#include <limits>

using NYX::MEM_ALGO::segment_algorithm;

namespace {

constexpr std::size_t s_control_bytes = sizeof(NYX_SEGMENT_MANAGER);
static_assert(sizeof(segment_algorithm) == 104);

// The size of a copy of `other` that is `extra` bytes larger: those count if a block fits in them. What can't be
// expressed is passed on as a size that the system refuses.
std::size_t copy_size(const NYX_SEGMENT &other, std::size_t extra) {
    const std::size_t size = other.algorithm().get_size();
    constexpr std::size_t s_max = std::numeric_limits<std::size_t>::max();
    return extra < segment_algorithm::BlockCtrlBytes ? size : extra > s_max - size ? s_max : size + extra;
}

} // namespace

NYX_SEGMENT::NYX_SEGMENT(std::size_t size) : m_size(size), m_data(nullptr), m_manager(nullptr) {
    if (size < segment_algorithm::MinSegmentBytes)
        NYX_RAISE_RUNTIME_ERROR("NYX_SEGMENT::NYX_SEGMENT", "Failed to create managed segment");
    m_data = NYX::VIRTUAL_MEMORY::reserve_and_commit(size, s_control_bytes);
    try {
        m_manager = new (m_data) NYX_SEGMENT_MANAGER(size);
    } catch (...) {
        NYX::VIRTUAL_MEMORY::release(m_data, m_size);
        throw;
    }
}

NYX_SEGMENT::NYX_SEGMENT(const NYX_SEGMENT &other, std::size_t extra)
    : m_size(copy_size(other, extra))
    , m_data(nullptr)
    , m_manager(nullptr) {
    m_data = NYX::VIRTUAL_MEMORY::reserve_and_commit(m_size, 0);
    m_manager = reinterpret_cast<NYX_SEGMENT_MANAGER *>(m_data);
    try {
        other.algorithm().clone(std::span<char>(m_data, m_size));
        if (m_size != algorithm().get_size())
            algorithm().grow(m_size - algorithm().get_size());
    } catch (...) {
        NYX::VIRTUAL_MEMORY::release(m_data, m_size);
        throw;
    }
}

NYX_SEGMENT::NYX_SEGMENT(FOR_IMAGE, std::size_t size, std::size_t image_size)
    : m_size(size)
    , m_data(NYX::VIRTUAL_MEMORY::reserve_and_commit(size, image_size))
    , m_manager(nullptr) {
    try {
        m_walk = std::make_unique<NYX_IMAGE_WALK>(m_data, image_size);
    } catch (...) {
        NYX::VIRTUAL_MEMORY::release(m_data, m_size);
        throw;
    }
}

NYX_SEGMENT::~NYX_SEGMENT() {
    if (m_data != nullptr)
        NYX::VIRTUAL_MEMORY::release(m_data, m_size);
}

void NYX_SEGMENT::attach_image() {
    m_manager = reinterpret_cast<NYX_SEGMENT_MANAGER *>(m_data);
    algorithm().adopt_image(*m_walk);
}

void NYX_SEGMENT::grow_to_reservation() {
    const std::size_t size = algorithm().get_size();
    if (m_size - size >= segment_algorithm::BlockCtrlBytes)
        algorithm().grow(m_size - size);
}

NYX_SEGMENT_MANAGER *NYX_SEGMENT::detach() {
    NYX_SEGMENT_MANAGER *const manager = m_manager;
    m_manager = nullptr;
    m_data = nullptr;
    return manager;
}

void NYX_SEGMENT::release_range(NYX_SEGMENT_MANAGER *manager, std::size_t size) {
    NYX::VIRTUAL_MEMORY::release(manager, size);
}
