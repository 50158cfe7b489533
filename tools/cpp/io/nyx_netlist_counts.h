#ifndef NYX_NETLIST_COUNTS_H
#define NYX_NETLIST_COUNTS_H

#include "nyx/nyx.h"

#include <cstdint>
#include <string>
#include <vector>

/// What a module of a netlist consists of. Single bits are counted as bits, vectors and names as what a netlist file
/// shows.
struct NYX_MODULE_COUNTS {
    std::string name;
    bool is_top = false;
    bool is_leaf = false;
    /// It stands for a cell type that the netlist did not define.
    bool is_implied = false;
    std::uint64_t cells = 0;
    /// Of them, those of modules with contents of their own, and the others.
    std::uint64_t hier_cells = 0;
    std::uint64_t leaf_cells = 0;
    /// Named nets and vectors of nets, further names of the same bits included; their bits; and the different nets.
    std::uint64_t names = 0;
    std::uint64_t name_bits = 0;
    std::uint64_t nets = 0;
    std::uint64_t ports = 0;
    std::uint64_t port_bits = 0;
    /// Ports of cells that the netlist mentions; those of them that are connected to nothing.
    std::uint64_t pins = 0;
    std::uint64_t open_pins = 0;
    std::uint64_t pin_bits = 0;
    std::uint64_t net_pin_bits = 0;
    std::uint64_t constant_pin_bits = 0;
    std::uint64_t cell_parameters = 0;
    std::uint64_t cell_attributes = 0;
    std::uint64_t net_attributes = 0;
    /// What stands for numbers that are too large.
    static constexpr std::uint64_t s_many = ~std::uint64_t(0);
    /// Unfolded: the instances below one of this module, those of leaves, the others, and the levels.
    std::uint64_t paths = 0;
    std::uint64_t leaf_paths = 0;
    std::uint64_t hier_paths = 0;
    std::uint32_t depth = 0;

    /// Adds up all but what is unfolded.
    void add(const NYX_MODULE_COUNTS &other);
};

/// All modules of the netlist in their order. O(size of the netlist).
std::vector<NYX_MODULE_COUNTS> nyx_count_netlist(NYX_DB *db);

#endif
