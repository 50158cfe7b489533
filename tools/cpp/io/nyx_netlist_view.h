#ifndef NYX_NETLIST_VIEW_H
#define NYX_NETLIST_VIEW_H

/// \file
/// A module as a netlist file shows it: vectors in place of single bits, numbers in place of nets.

#include "io/nyx_netlist_text.h"
#include "io/nyx_yosys_netlist.h"
#include "nyx/nyx.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

/// A port, or a name of nets, with its bits from the least significant one.
struct NYX_VIEW_VECTOR {
    std::string name;
    std::vector<NYX_YOSYS_BIT> bits;
    /// The least index.
    int offset = 0;
    bool upto = false;
    bool is_signed = false;
    /// One bit without an index.
    bool is_scalar = false;
};

struct NYX_VIEW_PORT : NYX_VIEW_VECTOR {
    NYX_YOSYS_DIRECTION direction = NYX_YOSYS_DIRECTION::UNKNOWN;
    /// The module's ports, one for each bit.
    std::vector<NYX_PORT *> ports;
};

struct NYX_VIEW_NAME : NYX_VIEW_VECTOR {
    bool hidden = false;
    /// The object that bears the attributes: one of the two.
    NYX_NET *net = nullptr;
    NYX_NET_BUS *net_bus = nullptr;
};

/// The ports of a module without the nets on them. What a cell of the module can be connected by.
class NYX_PORT_VIEW {
public:
    explicit NYX_PORT_VIEW(NYX_MODULE *module);
    const std::vector<NYX_VIEW_PORT> &get_ports() const { return m_ports; }

private:
    std::vector<NYX_VIEW_PORT> m_ports;
};

/// One bit of a port or a pin that is on no net.
constexpr NYX_YOSYS_BIT s_nyx_unconnected = NYX_YOSYS_BIT(1);

class NYX_NETLIST_VIEW {
public:
    /// Numbers begin at 2. O(size of the module).
    explicit NYX_NETLIST_VIEW(NYX_MODULE *module);

    const NYX_NETLIST_TRAITS &get_traits() const { return m_traits; }
    const std::vector<NYX_VIEW_PORT> &get_ports() const { return m_ports; }
    /// Nets and net buses that have a name of their own in the file.
    const std::vector<NYX_VIEW_NAME> &get_names() const { return m_names; }
    /// A number that no net has.
    NYX_YOSYS_BIT get_fresh_bit() { return NYX_YOSYS_BIT(m_next_number++); }
    /// How many numbers are nets: 2 and those behind it.
    std::uint32_t get_num_nets() const { return m_num_nets; }
    /// s_nyx_unconnected for null.
    NYX_YOSYS_BIT get_bit(const NYX_NET *net) const { return net ? m_bits.find(net)->second : s_nyx_unconnected; }

    /// Names that a bus told and nobody has any more: their bits are unconnected now.
    const std::vector<std::string> &get_warnings() const { return m_warnings; }

private:
    void number_nets();
    void make_names();
    void make_bus(NYX_NET_BUS *bus);
    void follow(const NYX_BIT_RUN &run, std::vector<NYX_YOSYS_BIT> &bits, const NYX_VIEW_VECTOR &own);
    void index_names();

    NYX_MODULE *m_module;
    NYX_NETLIST_TRAITS m_traits;
    std::vector<NYX_VIEW_PORT> m_ports;
    std::vector<NYX_VIEW_NAME> m_names;
    std::unordered_map<const NYX_NET *, NYX_YOSYS_BIT> m_bits;
    std::uint32_t m_next_number = 2;
    std::uint32_t m_num_nets = 0;
    bool m_indexed = false;
    std::unordered_map<std::string, NYX_NET *> m_nets_by_name;
    std::unordered_map<std::string, NYX_NET_BUS *> m_buses_by_name;
    std::vector<std::string> m_warnings;
};

/// A module as the base of cells.
struct NYX_VIEW_BASE {
    explicit NYX_VIEW_BASE(NYX_MODULE *module);

    /// The type that its cells have in the file.
    std::string type;
    /// The file does not define it.
    bool is_implied = false;
    std::vector<NYX_VIEW_PORT> ports;
};

/// The connections of one instance. Made to be filled again and again.
struct NYX_VIEW_CELL {
    struct CONNECTION {
        const NYX_VIEW_PORT *port;
        /// Part of m_bits, from the least significant one; empty for a port that is connected to nothing.
        NYX_YOSYS_RANGE bits;
    };
    const NYX_VIEW_BASE *base = nullptr;
    std::vector<CONNECTION> connections;
    /// Whether the file repeats directions with the cell, and those of which ports.
    bool has_directions = true;
    std::vector<const NYX_VIEW_PORT *> directions;
    std::vector<NYX_YOSYS_BIT> bits;
};

/// Looks at the instances of all modules of a netlist.
class NYX_CELL_VIEWER {
public:
    const NYX_VIEW_BASE &get_base(NYX_MODULE *module);
    /// `view` is that of the instance's parent. Bits of a connected port that are on no net get fresh numbers.
    void look_at(NYX_INSTANCE *instance, NYX_NETLIST_VIEW &view, NYX_VIEW_CELL &cell);

private:
    std::unordered_map<NYX_MODULE *, std::unique_ptr<NYX_VIEW_BASE>> m_bases;
    NYX_MODULE *m_last_module = nullptr;
    const NYX_VIEW_BASE *m_last_base = nullptr;
};

/// A parameter or attribute as netlist files write it.
struct NYX_VIEW_VALUE {
    enum class KIND { BITS, STRING, INTEGER, REAL } kind;
    std::string name;
    std::string text;
};

/// The parameters or the attributes of an object, the source location among the latter, by name.
template <class T>
std::vector<NYX_VIEW_VALUE> nyx_view_values(const T *object, bool attributes, const NYX_NETLIST_TRAITS &traits);

/// The attributes of a module of the netlist whose top is that of `design`: as nyx_view_values(), and the marks of a
/// black box and of the top.
std::vector<NYX_VIEW_VALUE> nyx_view_module_attributes(const NYX_MODULE *module, const NYX_DB *design,
                                                       const NYX_NETLIST_TRAITS &traits);

/// A name for a bit that has its net's name elsewhere.
struct NYX_FURTHER_NAME {
    std::string name; ///< with the index, if the name has one
    NYX_NET *net;
};
/// The further names of a module's nets. O(size of the module).
std::vector<NYX_FURTHER_NAME> nyx_find_further_names(NYX_MODULE *module);

/// The modules that a netlist of `db` consists of: its own, and those that they use in other databases; all in the
/// order of their creation.
std::vector<NYX_MODULE *> nyx_find_netlist_modules(NYX_DB *db);

#endif
