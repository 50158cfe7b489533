#ifndef GEOMETRY_TEST_SUPPORT_H
#define GEOMETRY_TEST_SUPPORT_H

/// \file
/// What the tests of the placement values share: readable failures, random values, and a model of the orientations that
/// was written down from drawings, as matrices, and not from the classes.

#include "nyx/nyx_geometry.h"

#include <array>
#include <cstdint>
#include <limits>
#include <ostream>
#include <random>

inline void PrintTo(const NYX_POINT &point, std::ostream *out) {
    *out << '(' << point.get_x() << ", " << point.get_y() << ')';
}

inline void PrintTo(const NYX_BOX &box, std::ostream *out) {
    *out << '[' << box.get_left() << ", " << box.get_bottom() << ", " << box.get_right() << ", " << box.get_top()
         << ']';
}

inline void PrintTo(const NYX_ORIENTATION &orientation, std::ostream *out) {
    *out << orientation.get_name();
}

inline void PrintTo(const NYX_TRANSFORM &transform, std::ostream *out) {
    *out << transform.get_orientation().get_name() << " + (" << transform.get_x_offset() << ", "
         << transform.get_y_offset() << ')';
}

namespace geometry_test {

constexpr int MIN = std::numeric_limits<int>::min();
constexpr int MAX = std::numeric_limits<int>::max();

constexpr std::array<NYX_ORIENTATION, 8> ORIENTATIONS = {NYX_ORIENTATION::N,  NYX_ORIENTATION::S,  NYX_ORIENTATION::W,
                                                         NYX_ORIENTATION::E,  NYX_ORIENTATION::FN, NYX_ORIENTATION::FS,
                                                         NYX_ORIENTATION::FW, NYX_ORIENTATION::FE};

/// What a damaged file may hold.
constexpr NYX_ORIENTATION BAD_ORIENTATION = static_cast<NYX_ORIENTATION::VALUE>(8);
constexpr NYX_ORIENTATION WORST_ORIENTATION = static_cast<NYX_ORIENTATION::VALUE>(255);

/// The image of (x, y) is (xx * x + xy * y, yx * x + yy * y).
struct MATRIX {
    int xx, xy, yx, yy;
};
/// By value of the orientation: four turns, and the four behind a mirror.
constexpr MATRIX MATRICES[8] = {{1, 0, 0, 1},  {-1, 0, 0, -1}, {0, -1, 1, 0}, {0, 1, -1, 0},
                                {-1, 0, 0, 1}, {1, 0, 0, -1},  {0, 1, 1, 0},  {0, -1, -1, 0}};

/// 64 bits wide, so that it is exact, and cut to 32 bits as the last step.
inline NYX_POINT model_image(const NYX_POINT &point, const NYX_TRANSFORM &transform) {
    const MATRIX &m = MATRICES[static_cast<unsigned char>(transform.get_orientation().as_value())];
    const std::int64_t x = point.get_x();
    const std::int64_t y = point.get_y();
    return {static_cast<int>(m.xx * x + m.xy * y + transform.get_x_offset()),
            static_cast<int>(m.yx * x + m.yy * y + transform.get_y_offset())};
}

inline NYX_POINT image(NYX_POINT point, const NYX_TRANSFORM &transform) {
    point.transform(transform);
    return point;
}

/// Random values, the same in each run. Half of the coordinates are small, and extremes are frequent among the others.
class RANDOM {
public:
    int coordinate() {
        switch (m_engine() % 8) {
        case 0:
            return MIN;
        case 1:
            return MAX;
        case 2:
        case 3:
            return static_cast<int>(static_cast<std::uint32_t>(m_engine()));
        default:
            return small_coordinate();
        }
    }
    int small_coordinate() { return static_cast<int>(m_engine() % 2001) - 1000; }
    NYX_POINT point() { return {coordinate(), coordinate()}; }
    NYX_ORIENTATION orientation() { return ORIENTATIONS[m_engine() % 8]; }
    NYX_TRANSFORM transform() { return {coordinate(), coordinate(), orientation()}; }
    NYX_TRANSFORM small_transform() { return {small_coordinate(), small_coordinate(), orientation()}; }
    /// Valid and inverted alike.
    NYX_BOX small_box() { return {small_coordinate(), small_coordinate(), small_coordinate(), small_coordinate()}; }

private:
    std::mt19937_64 m_engine{20240229};
};

} // namespace geometry_test

#endif
