#include "nyx/nyx_geometry.h"

#include "geometry/nyx_arithmetic.h"

#include "nyx_report/nyx_report.h"

#include <array>
#include <bit>
#include <numeric>

static_assert(std::bit_cast<std::array<int, 4>>(NYX_BOX(1, 2, 3, 4)) == std::array{1, 2, 3, 4},
              "the stored order of the fields");

int NYX_BOX::get_width() const noexcept {
    return nyx_wrapping_sub(m_right, m_left);
}
int NYX_BOX::get_height() const noexcept {
    return nyx_wrapping_sub(m_top, m_bottom);
}
int NYX_BOX::get_x_center() const noexcept {
    return std::midpoint(m_left, m_right);
}
int NYX_BOX::get_y_center() const noexcept {
    return std::midpoint(m_bottom, m_top);
}

void NYX_BOX::transform(const NYX_TRANSFORM &transform) {
    this->transform(transform, *this);
}

void NYX_BOX::transform(const NYX_TRANSFORM &transform, NYX_BOX &result) const {
    using enum NYX_ORIENTATION::VALUE;
    // Each border of the image comes from one border of this box, at the offset plus or minus its distance.
    const int ox = transform.get_x_offset();
    const int oy = transform.get_y_offset();
    const auto plus = nyx_wrapping_add;
    const auto minus = nyx_wrapping_sub;
    switch (transform.get_orientation()) {
    case N:
        result = NYX_BOX(plus(ox, m_left), plus(oy, m_bottom), plus(ox, m_right), plus(oy, m_top));
        return;
    case S:
        result = NYX_BOX(minus(ox, m_right), minus(oy, m_top), minus(ox, m_left), minus(oy, m_bottom));
        return;
    case W:
        result = NYX_BOX(minus(ox, m_top), plus(oy, m_left), minus(ox, m_bottom), plus(oy, m_right));
        return;
    case E:
        result = NYX_BOX(plus(ox, m_bottom), minus(oy, m_right), plus(ox, m_top), minus(oy, m_left));
        return;
    case FN:
        result = NYX_BOX(minus(ox, m_right), plus(oy, m_bottom), minus(ox, m_left), plus(oy, m_top));
        return;
    case FS:
        result = NYX_BOX(plus(ox, m_left), minus(oy, m_top), plus(ox, m_right), minus(oy, m_bottom));
        return;
    case FW:
        result = NYX_BOX(plus(ox, m_bottom), plus(oy, m_left), plus(ox, m_top), plus(oy, m_right));
        return;
    case FE:
        result = NYX_BOX(minus(ox, m_top), minus(oy, m_right), minus(ox, m_bottom), minus(oy, m_left));
        return;
    }
    NYX_CHECK_AS(false, "false", "Unknown orientation");
}
