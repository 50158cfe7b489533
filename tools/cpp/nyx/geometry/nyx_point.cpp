#include "nyx/nyx_geometry.h"

#include "geometry/nyx_arithmetic.h"

#include <array>
#include <bit>

static_assert(std::bit_cast<std::array<int, 2>>(NYX_POINT(1, 2)) == std::array{1, 2}, "the stored order of the fields");

void NYX_POINT::move(int dx, int dy) noexcept {
    set(nyx_wrapping_add(m_x, dx), nyx_wrapping_add(m_y, dy));
}

void NYX_POINT::transform(const NYX_TRANSFORM &transform) noexcept {
    this->transform(transform, *this);
}

void NYX_POINT::transform(const NYX_TRANSFORM &transform, NYX_POINT &result) const noexcept {
    using enum NYX_ORIENTATION::VALUE;
    const int minus_x = nyx_wrapping_neg(m_x);
    const int minus_y = nyx_wrapping_neg(m_y);
    NYX_POINT image;
    switch (transform.get_orientation()) {
    case N:
        image.set(m_x, m_y);
        break;
    case S:
        image.set(minus_x, minus_y);
        break;
    case W:
        image.set(minus_y, m_x);
        break;
    case E:
        image.set(m_y, minus_x);
        break;
    case FN:
        image.set(minus_x, m_y);
        break;
    case FS:
        image.set(m_x, minus_y);
        break;
    case FW:
        image.set(m_y, m_x);
        break;
    case FE:
        image.set(minus_y, minus_x);
        break;
    default:
        return;
    }
    image.move(transform.get_x_offset(), transform.get_y_offset());
    result = image;
}

std::size_t NYX_POINT::hash() const noexcept {
    return nyx_mix_bits(std::uint64_t{static_cast<std::uint32_t>(m_x)} << 32 | static_cast<std::uint32_t>(m_y));
}

long int NYX_POINT::python_hash() const noexcept {
    return nyx_to_python_hash(hash());
}
