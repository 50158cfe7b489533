#ifndef NYX_YOSYS_PLAN_H
#define NYX_YOSYS_PLAN_H

#include "io/nyx_yosys_netlist.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

/// What an import needs to know of a netlist as a whole before it makes anything: which module each cell uses, which
/// modules have to be made up for cell types that the file does not define, and which module is the top. Making it
/// finds all that can be wrong with a netlist that could be read.
class NYX_YOSYS_PLAN {
public:
    /// A module that will be made: one of the file, or one for an undefined cell type.
    struct BASE {
        /// The module of the file; null for an undefined type.
        const NYX_YOSYS_MODULE *module = nullptr;
        std::uint32_t type = 0;
        struct PORT {
            std::uint32_t name;
            std::uint32_t width; ///< 0 while unknown
            NYX_YOSYS_DIRECTION direction;
        };
        std::vector<PORT> ports;
        bool is_black_box = false;
        bool is_used = false;

        std::uint32_t find_port(std::uint32_t name) const;
    };

    /// How the cells of one type and shape use their base.
    struct USE {
        std::uint32_t base;
        /// For each port of the shape, in its order, the index of the base's port.
        std::vector<std::uint32_t> ports;
        /// Ports whose direction the cells tell otherwise than by those that they mention: see the trait
        /// "netlist.directions".
        std::string directions = {};
    };

    static constexpr std::uint32_t s_none = ~0u;

    /// `top` is the name of the top module; if empty, it is the one marked as such, or else the only one that no other
    /// uses. Throws NYX_IO_ERROR, with `file` in front, for the first fault.
    NYX_YOSYS_PLAN(const NYX_YOSYS_NETLIST &netlist, const std::string &file, const std::string &top);

    /// Those of the file come first, in its order.
    const std::vector<BASE> &get_bases() const { return m_bases; }
    /// By the cell's type and shape.
    const USE &find_use(const NYX_YOSYS_CELL &cell) const;
    /// s_none in a file of nothing but black boxes.
    std::uint32_t get_top() const { return m_top; }
    /// Neither the file nor the caller named the top.
    bool is_top_unmarked() const { return m_top_unmarked; }

private:
    static std::uint64_t get_key(std::uint32_t type, std::uint32_t shape) { return std::uint64_t(type) << 32 | shape; }

    [[noreturn]] void fail(const std::string &pointer, const std::string &text) const;
    std::string quote(std::uint32_t name) const;
    std::string point_at(const NYX_YOSYS_MODULE &module, const char *section, std::uint32_t name) const;

    void add_modules();
    void resolve_cells();
    USE use_defined(const NYX_YOSYS_MODULE &module, const NYX_YOSYS_CELL &cell, std::uint32_t base);
    USE use_undefined(const NYX_YOSYS_CELL &cell);
    void describe_directions();
    static bool try_merge(BASE &base, const NYX_YOSYS_SHAPE &shape);
    void find_recursion() const;
    void choose_top(const std::string &top);

    const NYX_YOSYS_NETLIST &m_netlist;
    const std::string &m_file;
    std::vector<BASE> m_bases;
    /// By the string of the name, the base of a module of the file.
    std::unordered_map<std::uint32_t, std::uint32_t> m_by_name;
    /// By the string of an undefined type, its bases: one for each set of widths.
    std::unordered_map<std::uint32_t, std::vector<std::uint32_t>> m_undefined;
    std::unordered_map<std::uint64_t, USE> m_uses;
    std::uint32_t m_top = s_none;
    bool m_top_unmarked = false;
};

/// Whether an attribute counts as set: bits that are not all 0, or any number but 0.
bool nyx_is_true(const NYX_YOSYS_NETLIST &netlist, const NYX_YOSYS_VALUE &value);

#endif
