#include "nyx/nyx_geometry.h"

#include "geometry/nyx_arithmetic.h"

#include "nyx_report/nyx_report.h"

#include <array>
#include <bit>

static_assert(std::bit_cast<std::array<unsigned char, 12>>(NYX_TRANSFORM(0x04030201, 0x08070605,
                                                                         NYX_ORIENTATION::FE)) ==
                  std::array<unsigned char, 12>{1, 2, 3, 4, 5, 6, 7, 8, 7, 0, 0, 0},
              "the stored order of the fields, little-endian, with a tail of zeros");

void NYX_TRANSFORM::concat(const NYX_TRANSFORM &next) {
    concat(next, *this);
}

void NYX_TRANSFORM::concat(const NYX_TRANSFORM &next, NYX_TRANSFORM &result) const {
    NYX_TRANSFORM both;
    both.m_orientation = m_orientation.concat(next.m_orientation);
    m_offset.transform(next, both.m_offset);
    result = both;
}

void NYX_TRANSFORM::invert() {
    invert(*this);
}

void NYX_TRANSFORM::invert(NYX_TRANSFORM &result) const {
    using enum NYX_ORIENTATION::VALUE;
    // The offset is taken back first, so it appears under the inverse orientation. Mirrorings are their own inverses.
    const int x = m_offset.get_x();
    const int y = m_offset.get_y();
    const int minus_x = nyx_wrapping_neg(x);
    const int minus_y = nyx_wrapping_neg(y);
    switch (m_orientation) {
    case N:
        result = NYX_TRANSFORM(minus_x, minus_y, N);
        return;
    case S:
        result = NYX_TRANSFORM(x, y, S);
        return;
    case W:
        result = NYX_TRANSFORM(minus_y, x, E);
        return;
    case E:
        result = NYX_TRANSFORM(y, minus_x, W);
        return;
    case FN:
        result = NYX_TRANSFORM(x, minus_y, FN);
        return;
    case FS:
        result = NYX_TRANSFORM(minus_x, y, FS);
        return;
    case FW:
        result = NYX_TRANSFORM(minus_y, minus_x, FW);
        return;
    case FE:
        result = NYX_TRANSFORM(y, x, FE);
        return;
    }
    NYX_CHECK_AS(false, "false", "Unknown orientation");
}

std::size_t NYX_TRANSFORM::hash() const noexcept {
    return nyx_mix_bits(m_offset.hash() + m_orientation.hash());
}

long int NYX_TRANSFORM::python_hash() const noexcept {
    return nyx_to_python_hash(hash());
}
