#ifndef NYX_YOSYS_NETLIST_H
#define NYX_YOSYS_NETLIST_H

/// \file
/// A netlist as a Yosys JSON file tells it, in compact form: about a tenth of the text. Strings are numbers of the
/// pool, and what belongs to one cell or name is a range of its module's vectors.

#include "io/nyx_string_pool.h"

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

/// One bit of a port, a connection or a name: a number that stands for a signal of its module, or a constant.
enum class NYX_YOSYS_BIT : std::uint32_t { ZERO = ~3u, ONE, X, Z };

inline bool nyx_is_constant(NYX_YOSYS_BIT bit) {
    return bit >= NYX_YOSYS_BIT::ZERO;
}
/// The digit of a constant.
inline char nyx_digit_of(NYX_YOSYS_BIT bit) {
    return "01xz"[std::uint32_t(bit) - std::uint32_t(NYX_YOSYS_BIT::ZERO)];
}

enum class NYX_YOSYS_DIRECTION : std::uint8_t { UNKNOWN, INPUT, OUTPUT, INOUT };

/// The word of a netlist file; "inout" also where none is known.
inline const char *nyx_name_of(NYX_YOSYS_DIRECTION direction) {
    return direction == NYX_YOSYS_DIRECTION::INPUT    ? "input"
           : direction == NYX_YOSYS_DIRECTION::OUTPUT ? "output"
                                                      : "inout";
}

struct NYX_YOSYS_RANGE {
    std::uint32_t begin = 0;
    std::uint32_t count = 0;
};

/// A parameter or an attribute.
struct NYX_YOSYS_VALUE {
    enum class KIND : std::uint8_t {
        BITS,   ///< text: digits 0, 1, x and z
        STRING, ///< text
        INTEGER,
        LONG_INTEGER, ///< text: as written, for it has more than 63 bits
        REAL,         ///< text: as written
    };
    std::uint32_t name;
    KIND kind;
    std::uint32_t text;
    std::int64_t integer;
};

/// The vector of bits of a port or of a name, and how it is counted: `bits` goes from the least significant one.
struct NYX_YOSYS_VECTOR {
    std::uint32_t name = 0;
    NYX_YOSYS_RANGE bits;
    /// The least index.
    std::int32_t offset = 0;
    bool upto = false;
    bool is_signed = false;
};

struct NYX_YOSYS_PORT : NYX_YOSYS_VECTOR {
    NYX_YOSYS_DIRECTION direction = NYX_YOSYS_DIRECTION::UNKNOWN;
};

struct NYX_YOSYS_NAME : NYX_YOSYS_VECTOR {
    bool hidden = false;
    NYX_YOSYS_RANGE attributes;
};

/// How a cell is connected but for the bits: which ports, in which order, how wide. Cells of a kind share one.
struct NYX_YOSYS_SHAPE {
    /// The width of a port that the cell has but doesn't connect.
    static constexpr std::uint32_t s_absent = ~0u;
    struct PORT {
        std::uint32_t name;
        std::uint32_t width;
        NYX_YOSYS_DIRECTION direction;
        bool operator==(const PORT &) const = default;
    };
    std::vector<PORT> ports;
    /// Whether the file gave directions.
    bool has_directions = false;
    bool operator==(const NYX_YOSYS_SHAPE &) const = default;
};

struct NYX_YOSYS_CELL {
    std::uint32_t name = 0;
    std::uint32_t type = 0;
    std::uint32_t shape = 0;
    bool hidden = false;
    /// The bits of all connections in the order of the shape.
    NYX_YOSYS_RANGE bits;
    NYX_YOSYS_RANGE parameters;
    NYX_YOSYS_RANGE attributes;
};

struct NYX_YOSYS_MODULE {
    std::uint32_t name = 0;
    NYX_YOSYS_RANGE attributes;
    NYX_YOSYS_RANGE parameters;
    std::vector<NYX_YOSYS_PORT> ports;
    std::vector<NYX_YOSYS_CELL> cells;
    std::vector<NYX_YOSYS_NAME> names;
    std::vector<NYX_YOSYS_BIT> bits;
    std::vector<NYX_YOSYS_VALUE> values;
    /// The section "memories" as it stands in the file; empty if there is none.
    std::string memories;
};

struct NYX_YOSYS_NETLIST {
    NYX_STRING_POOL strings;
    std::deque<NYX_YOSYS_MODULE> modules;
    std::vector<NYX_YOSYS_SHAPE> shapes;
};

#endif
