#ifndef NYX_GEOMETRY_H
#define NYX_GEOMETRY_H

/// \file
/// Placement values: points, boxes, the eight orientations of the plane, and transforms made of an orientation and an
/// offset. Plain values in the design's database units; they hold no references and may be used from any thread.
///
/// They are stored as they are in table columns, so their layouts are part of the file format. Coordinates may have any
/// value: all arithmetic wraps around at 32 bits, as two's complement does. A damaged file may hold an orientation that
/// is none of the eight; it may be copied, compared, hashed and named, and the members that apply one say what they do.

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"

#include <algorithm>
#include <compare>
#include <cstddef>
#include <limits>
#include <type_traits>

/// A place in the plane.
class NYX_API NYX_POINT {
public:
    /// The origin.
    constexpr NYX_POINT() noexcept = default;
    constexpr NYX_POINT(int x, int y) noexcept : m_x(x), m_y(y) {}

    constexpr int get_x() const noexcept { return m_x; }
    constexpr int get_y() const noexcept { return m_y; }
    constexpr void set_x(int x) noexcept { m_x = x; }
    constexpr void set_y(int y) noexcept { m_y = y; }
    constexpr void set(int x, int y) noexcept {
        m_x = x;
        m_y = y;
    }

    /// Adds `dx` and `dy`.
    void move(int dx, int dy) noexcept;

    /// Applies the orientation of `transform`, then adds its offset. An orientation that is none of the eight leaves
    /// the point as it is.
    void transform(const NYX_TRANSFORM &transform) noexcept;
    /// The same into `result`, which may be this point. An orientation that is none of the eight leaves `result`
    /// untouched.
    void transform(const NYX_TRANSFORM &transform, NYX_POINT &result) const noexcept;

    friend constexpr bool operator==(const NYX_POINT &a, const NYX_POINT &b) noexcept = default;
    /// By x, then by y.
    friend constexpr auto operator<=>(const NYX_POINT &a, const NYX_POINT &b) noexcept = default;

    /// Different for different points.
    std::size_t hash() const noexcept;
    /// For __hash__: never -1, by which Python tells an error.
    long int python_hash() const noexcept;
    /// Found by boost::hash.
    friend std::size_t hash_value(const NYX_POINT &point) noexcept { return point.hash(); }

private:
    int m_x = 0;
    int m_y = 0;
};

/// A rectangle along the axes. It is closed: its borders belong to it, and it may be as thin as a line or a point.
///
/// A box whose left is right of its right or whose bottom is above its top is inverted: it holds no point. It comes
/// from the default constructor, from intersecting what is disjoint, or from the setters.
class NYX_API NYX_BOX {
public:
    /// The empty box: inverted so far that including a point gives just that point.
    constexpr NYX_BOX() noexcept = default;
    constexpr NYX_BOX(int left, int bottom, int right, int top) noexcept
        : m_left(left)
        , m_bottom(bottom)
        , m_right(right)
        , m_top(top) {}
    /// The arguments are corners as named; they are not sorted.
    constexpr NYX_BOX(const NYX_POINT &left_bottom, const NYX_POINT &right_top) noexcept
        : NYX_BOX(left_bottom.get_x(), left_bottom.get_y(), right_top.get_x(), right_top.get_y()) {}

    constexpr int get_left() const noexcept { return m_left; }
    constexpr int get_bottom() const noexcept { return m_bottom; }
    constexpr int get_right() const noexcept { return m_right; }
    constexpr int get_top() const noexcept { return m_top; }
    constexpr void set_left(int left) noexcept { m_left = left; }
    constexpr void set_bottom(int bottom) noexcept { m_bottom = bottom; }
    constexpr void set_right(int right) noexcept { m_right = right; }
    constexpr void set_top(int top) noexcept { m_top = top; }

    /// right - left. Negative for a box that is inverted sideways, but for the wrapping: a box wider than the largest
    /// int has a negative width too, and the empty box the width 1. Test is_valid before relying on it.
    int get_width() const noexcept;
    /// top - bottom, with the notes on get_width.
    int get_height() const noexcept;

    /// The middle between left and right; half a unit is rounded towards left. Never overflows. An inverted box has the
    /// middle of its borders, rounded in the same way.
    int get_x_center() const noexcept;
    /// The middle between bottom and top; half a unit is rounded towards bottom. Otherwise as get_x_center.
    int get_y_center() const noexcept;

    /// True if `point` lies inside or on the border; false for an inverted box.
    constexpr bool contains(const NYX_POINT &point) const noexcept {
        return m_left <= point.get_x() && point.get_x() <= m_right && m_bottom <= point.get_y() &&
               point.get_y() <= m_top;
    }

    /// True if a point lies in both boxes; boxes that touch share the points of their borders. False if either is
    /// inverted.
    constexpr bool overlaps(const NYX_BOX &other) const noexcept {
        return is_valid() && other.is_valid() && m_left <= other.m_right && other.m_left <= m_right &&
               m_bottom <= other.m_top && other.m_bottom <= m_top;
    }

    /// Moves borders outwards as far as it takes to hold the point; the box is valid afterwards. An inverted box other
    /// than the empty one keeps those of its borders that lie beyond the point.
    constexpr void include(int x, int y) noexcept {
        m_left = std::min(m_left, x);
        m_bottom = std::min(m_bottom, y);
        m_right = std::max(m_right, x);
        m_top = std::max(m_top, y);
    }
    constexpr void include(const NYX_POINT &point) noexcept { include(point.get_x(), point.get_y()); }
    /// Moves borders outwards as far as it takes to hold `other`. An inverted `other` holds no point and changes
    /// nothing: its borders are not looked at.
    constexpr void include(const NYX_BOX &other) noexcept {
        if (other.is_inverted())
            return;
        include(other.m_left, other.m_bottom);
        include(other.m_right, other.m_top);
    }

    /// Keeps what lies in `other` too. Inverted afterwards if the boxes have no point in common or either was inverted.
    constexpr void intersect(const NYX_BOX &other) noexcept { intersect(other, *this); }
    /// The same into `result`, which may be either box.
    constexpr void intersect(const NYX_BOX &other, NYX_BOX &result) const noexcept {
        result = NYX_BOX(std::max(m_left, other.m_left), std::max(m_bottom, other.m_bottom),
                         std::min(m_right, other.m_right), std::min(m_top, other.m_top));
    }

    /// Makes the box the image of itself under `transform`: what was its points, transformed, is its points. An
    /// inverted box stays inverted. Checks that the orientation is one of the eight.
    void transform(const NYX_TRANSFORM &transform);
    /// The same into `result`, which may be this box.
    void transform(const NYX_TRANSFORM &transform, NYX_BOX &result) const;

    constexpr bool is_inverted() const noexcept { return m_left > m_right || m_bottom > m_top; }
    constexpr bool is_valid() const noexcept { return !is_inverted(); }
    explicit constexpr operator bool() const noexcept { return is_valid(); }

    /// Border by border: two inverted boxes may differ.
    friend constexpr bool operator==(const NYX_BOX &a, const NYX_BOX &b) noexcept = default;

private:
    int m_left = std::numeric_limits<int>::max();
    int m_bottom = std::numeric_limits<int>::max();
    int m_right = std::numeric_limits<int>::min();
    int m_top = std::numeric_limits<int>::min();
};

/// One of the eight ways to lay a cell on the grid: four turns, and the same four mirrored.
///
/// The constants of the class are orientations, so NYX_ORIENTATION::W.get_name() can be written; they convert to VALUE,
/// also as a case label. VALUE is a scoped enumeration, for its enumerators carry the names of the constants.
class NYX_API NYX_ORIENTATION {
public:
    /// Stored in rows. A damaged file may hold a value above FE.
    enum class NYX_API VALUE : unsigned char {
        N,  ///< (x, y): as drawn
        S,  ///< (-x, -y): turned by 180 degrees
        W,  ///< (-y, x): turned by 90 degrees counterclockwise
        E,  ///< (y, -x): turned by 90 degrees clockwise
        FN, ///< (-x, y): mirrored at the y axis
        FS, ///< (x, -y): mirrored at the x axis
        FW, ///< (y, x): mirrored at the rising diagonal
        FE, ///< (-y, -x): mirrored at the falling diagonal
    };
    static constexpr std::size_t COUNT = 8;

    static const NYX_ORIENTATION N, S, W, E, FN, FS, FW, FE;

    /// The names, by value.
    static const char *const s_names[COUNT];

    /// N.
    constexpr NYX_ORIENTATION() noexcept = default;
    constexpr NYX_ORIENTATION(VALUE value) noexcept : m_value(value) {}

    constexpr VALUE as_value() const noexcept { return m_value; }
    constexpr operator VALUE() const noexcept { return m_value; }

    /// True unless the value is above FE.
    constexpr bool is_valid() const noexcept { return static_cast<unsigned char>(m_value) < COUNT; }

    /// The orientation that has the effect of this one followed by `next`. Checks that both are among the eight.
    NYX_ORIENTATION concat(const NYX_ORIENTATION &next) const;

    /// Such as "FN"; "?" for a value that is none of the eight. Static text.
    const char *get_name() const noexcept;

    friend constexpr bool operator==(NYX_ORIENTATION a, NYX_ORIENTATION b) noexcept { return a.m_value == b.m_value; }
    friend constexpr auto operator<=>(NYX_ORIENTATION a, NYX_ORIENTATION b) noexcept { return a.m_value <=> b.m_value; }
    // With a conversion in either direction, comparing with a VALUE would be ambiguous without these.
    friend constexpr bool operator==(NYX_ORIENTATION a, VALUE b) noexcept { return a.m_value == b; }
    friend constexpr auto operator<=>(NYX_ORIENTATION a, VALUE b) noexcept { return a.m_value <=> b; }

    constexpr std::size_t hash() const noexcept { return static_cast<unsigned char>(m_value); }
    constexpr long int python_hash() const noexcept { return static_cast<unsigned char>(m_value); }
    /// Found by boost::hash.
    friend constexpr std::size_t hash_value(NYX_ORIENTATION orientation) noexcept { return orientation.hash(); }

private:
    /// The results of concat: the row is what comes first.
    static const VALUE s_concatenation_matrix[COUNT][COUNT];

    VALUE m_value = VALUE::N;
};

inline constexpr NYX_ORIENTATION NYX_ORIENTATION::N{VALUE::N};
inline constexpr NYX_ORIENTATION NYX_ORIENTATION::S{VALUE::S};
inline constexpr NYX_ORIENTATION NYX_ORIENTATION::W{VALUE::W};
inline constexpr NYX_ORIENTATION NYX_ORIENTATION::E{VALUE::E};
inline constexpr NYX_ORIENTATION NYX_ORIENTATION::FN{VALUE::FN};
inline constexpr NYX_ORIENTATION NYX_ORIENTATION::FS{VALUE::FS};
inline constexpr NYX_ORIENTATION NYX_ORIENTATION::FW{VALUE::FW};
inline constexpr NYX_ORIENTATION NYX_ORIENTATION::FE{VALUE::FE};

/// Where a cell lies in its parent: an orientation about the origin, then a shift by the offset.
class NYX_API NYX_TRANSFORM {
public:
    /// The identity.
    constexpr NYX_TRANSFORM() noexcept = default;
    constexpr NYX_TRANSFORM(int x_offset, int y_offset, NYX_ORIENTATION orientation) noexcept
        : m_offset(x_offset, y_offset)
        , m_orientation(orientation) {}
    /// An orientation alone is a transform, too: with zero offset.
    constexpr NYX_TRANSFORM(NYX_ORIENTATION orientation) noexcept : m_orientation(orientation) {}
    constexpr NYX_TRANSFORM(NYX_ORIENTATION::VALUE orientation) noexcept : m_orientation(orientation) {}

    constexpr NYX_POINT get_offset() const noexcept { return m_offset; }
    constexpr int get_x_offset() const noexcept { return m_offset.get_x(); }
    constexpr int get_y_offset() const noexcept { return m_offset.get_y(); }
    constexpr NYX_ORIENTATION get_orientation() const noexcept { return m_orientation; }
    constexpr void set_offset(const NYX_POINT &offset) noexcept { m_offset = offset; }
    constexpr void set_x_offset(int x_offset) noexcept { m_offset.set_x(x_offset); }
    constexpr void set_y_offset(int y_offset) noexcept { m_offset.set_y(y_offset); }
    constexpr void set_orientation(NYX_ORIENTATION orientation) noexcept { m_orientation = orientation; }

    /// Makes this the transform that has the effect of this one followed by `next`: from the cell to its parent, say,
    /// and on to the grandparent. Checks that both orientations are among the eight.
    void concat(const NYX_TRANSFORM &next);
    /// The same into `result`, which may be either transform.
    void concat(const NYX_TRANSFORM &next, NYX_TRANSFORM &result) const;

    /// Makes this the transform that undoes this one, in either order. Checks that the orientation is among the eight.
    void invert();
    /// The same into `result`, which may be this transform.
    void invert(NYX_TRANSFORM &result) const;

    friend constexpr bool operator==(const NYX_TRANSFORM &a, const NYX_TRANSFORM &b) noexcept {
        return a.m_offset == b.m_offset && a.m_orientation == b.m_orientation;
    }
    /// By offset, then by orientation.
    friend constexpr std::strong_ordering operator<=>(const NYX_TRANSFORM &a, const NYX_TRANSFORM &b) noexcept {
        const std::strong_ordering by_offset = a.m_offset <=> b.m_offset;
        return by_offset != 0 ? by_offset : a.m_orientation <=> b.m_orientation;
    }

    std::size_t hash() const noexcept;
    /// For __hash__: never -1, by which Python tells an error.
    long int python_hash() const noexcept;
    /// Found by boost::hash.
    friend std::size_t hash_value(const NYX_TRANSFORM &transform) noexcept { return transform.hash(); }

private:
    NYX_POINT m_offset;
    NYX_ORIENTATION m_orientation;
    /// Zero, so that equal transforms are equal bytes in a saved file. Takes no part in comparisons.
    unsigned char m_padding[3] = {};
};

static_assert(sizeof(NYX_POINT) == 8 && sizeof(NYX_BOX) == 16);
static_assert(sizeof(NYX_ORIENTATION) == 1 && sizeof(NYX_TRANSFORM) == 12);
static_assert(std::is_trivially_copyable_v<NYX_POINT> && std::is_standard_layout_v<NYX_POINT>);
static_assert(std::is_trivially_copyable_v<NYX_BOX> && std::is_standard_layout_v<NYX_BOX>);
static_assert(std::is_trivially_copyable_v<NYX_ORIENTATION> && std::is_standard_layout_v<NYX_ORIENTATION>);
static_assert(std::is_trivially_copyable_v<NYX_TRANSFORM> && std::is_standard_layout_v<NYX_TRANSFORM>);

#endif
