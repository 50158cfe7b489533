#include "io/nyx_netlist_counts.h"

#include "io/nyx_netlist_view.h"

#include <algorithm>
#include <unordered_map>

namespace {

NYX_MODULE_COUNTS count_module(NYX_MODULE *module, NYX_CELL_VIEWER &viewer) {
    NYX_MODULE_COUNTS counts;
    NYX_NETLIST_VIEW view(module);
    const NYX_VIEW_BASE &base = viewer.get_base(module);
    counts.name = base.is_implied ? base.type : nyx_decode_name(module->get_name());
    counts.is_leaf = module->is_leaf();
    counts.is_implied = base.is_implied;
    const NYX_DB *const db = module->get_db();
    counts.is_top = (db->is_user() || db->is_device()) && module->is_top_module();
    counts.nets = view.get_num_nets();
    counts.ports = view.get_ports().size();
    for (const NYX_VIEW_PORT &port : view.get_ports())
        counts.port_bits += port.bits.size();
    counts.names = view.get_names().size();
    for (const NYX_VIEW_NAME &name : view.get_names()) {
        counts.name_bits += name.bits.size();
        counts.net_attributes += (name.net ? nyx_view_values(name.net, true, view.get_traits())
                                           : nyx_view_values(name.net_bus, true, view.get_traits()))
                                     .size();
    }
    NYX_VIEW_CELL cell;
    for (NYX_INSTANCE *const instance : module->iter_instances()) {
        ++counts.cells;
        ++(instance->is_leaf() ? counts.leaf_cells : counts.hier_cells);
        viewer.look_at(instance, view, cell);
        counts.pins += cell.connections.size();
        for (const NYX_VIEW_CELL::CONNECTION &connection : cell.connections)
            counts.open_pins += connection.bits.count == 0;
        counts.pin_bits += cell.bits.size();
        counts.constant_pin_bits += std::uint64_t(std::count_if(cell.bits.begin(), cell.bits.end(), nyx_is_constant));
        counts.cell_parameters += nyx_view_values(instance, false, view.get_traits()).size();
        counts.cell_attributes += nyx_view_values(instance, true, view.get_traits()).size();
    }
    counts.net_pin_bits = counts.pin_bits - counts.constant_pin_bits;
    return counts;
}

/// Unfolded counts from the leaves up. A module may be reached on more paths than one could visit or a number could
/// hold, and hierarchies may be deeper than the stack.
class UNFOLDER {
public:
    struct TOTAL {
        std::uint64_t paths = 0;
        std::uint64_t leaf_paths = 0;
        std::uint64_t hier_paths = 0;
        std::uint32_t depth = 0;
    };

    const TOTAL &unfold(NYX_MODULE *module) {
        std::vector<NYX_MODULE *> way{module};
        while (!way.empty()) {
            NYX_MODULE *const last = way.back();
            if (m_totals.contains(last)) {
                way.pop_back();
                continue;
            }
            // A module stays on the way until all that it uses are known.
            std::unordered_map<NYX_MODULE *, std::uint64_t> &uses = m_uses[last];
            if (uses.empty())
                for (NYX_INSTANCE *const instance : last->iter_instances())
                    ++uses[instance->get_module()];
            const std::size_t length = way.size();
            for (const auto &[base, count] : uses)
                if (!m_totals.contains(base))
                    way.push_back(base);
            if (way.size() > length)
                continue;
            m_totals.emplace(last, sum_up(uses));
            m_uses.erase(last);
        }
        return m_totals.find(module)->second;
    }

private:
    static void add_product(std::uint64_t &sum, std::uint64_t count, std::uint64_t each) {
        std::uint64_t product = 0;
        if (__builtin_mul_overflow(count, each, &product) || __builtin_add_overflow(sum, product, &sum))
            sum = NYX_MODULE_COUNTS::s_many;
    }

    TOTAL sum_up(const std::unordered_map<NYX_MODULE *, std::uint64_t> &uses) const {
        TOTAL total;
        for (const auto &[base, count] : uses) {
            const TOTAL &below = m_totals.find(base)->second;
            add_product(total.paths, count, below.paths);
            add_product(total.paths, count, 1);
            add_product(total.leaf_paths, count, base->is_leaf() ? 1 : below.leaf_paths);
            add_product(total.hier_paths, count, below.hier_paths);
            add_product(total.hier_paths, count, !base->is_leaf());
            total.depth = std::max(total.depth, 1 + below.depth);
        }
        return total;
    }

    std::unordered_map<NYX_MODULE *, TOTAL> m_totals;
    std::unordered_map<NYX_MODULE *, std::unordered_map<NYX_MODULE *, std::uint64_t>> m_uses;
};

} // namespace

void NYX_MODULE_COUNTS::add(const NYX_MODULE_COUNTS &other) {
    cells += other.cells;
    hier_cells += other.hier_cells;
    leaf_cells += other.leaf_cells;
    names += other.names;
    name_bits += other.name_bits;
    nets += other.nets;
    ports += other.ports;
    port_bits += other.port_bits;
    pins += other.pins;
    open_pins += other.open_pins;
    pin_bits += other.pin_bits;
    net_pin_bits += other.net_pin_bits;
    constant_pin_bits += other.constant_pin_bits;
    cell_parameters += other.cell_parameters;
    cell_attributes += other.cell_attributes;
    net_attributes += other.net_attributes;
}

std::vector<NYX_MODULE_COUNTS> nyx_count_netlist(NYX_DB *db) {
    std::vector<NYX_MODULE_COUNTS> all;
    NYX_CELL_VIEWER viewer;
    UNFOLDER unfolder;
    for (NYX_MODULE *const module : nyx_find_netlist_modules(db)) {
        NYX_MODULE_COUNTS counts = count_module(module, viewer);
        const UNFOLDER::TOTAL &total = unfolder.unfold(module);
        counts.paths = total.paths;
        counts.leaf_paths = total.leaf_paths;
        counts.hier_paths = total.hier_paths;
        counts.depth = total.depth;
        all.push_back(std::move(counts));
    }
    return all;
}
