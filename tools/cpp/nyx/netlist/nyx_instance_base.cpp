// The base module of an instance: how it is referred to, and how an instance gets another one with its inst ports
// carried along.

#include "database/nyx_db_linker.h"
#include "database/nyx_db_persistent.h"
#include "netlist/nyx_chain.h"
#include "netlist/nyx_db_observer.h"
#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_release_run.h"
#include "nyx/nyx_inst_port.h"
#include "nyx/nyx_instance.h"
#include "nyx/nyx_module.h"
#include "nyx/nyx_param_values.h"
#include "nyx/nyx_port.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"
#include "traits/nyx_attributes.h"

#include <boost/format.hpp>

#include <algorithm>
#include <utility>

// ---- References

void NYX_INSTANCE::check_base_module(const NYX_DB_PERSISTENT *persistent, const NYX_MODULE *module,
                                     const NYX_PARAM_VALUES *params, const char *function) {
    const NYX_DB_PERSISTENT *const base = nyx_get_persistent(module);
    if (base == persistent)
        return;
    // A definition module stands for its variants, and making those is nothing that this library can do so far.
    if (base->get_type() == NYX_DB_TYPE::DEFINITION || base->get_type() == NYX_DB_TYPE::WORKING_LIBRARY)
        NYX_RAISE_RUNTIME_ERROR(function, "Cannot use module " + module->get_name() +
                                              ": instances of modules in definition libraries are not supported");
    NYX_CHECK_AS(persistent->get_type() != NYX_DB_TYPE::DEVICE && base->get_type() != NYX_DB_TYPE::DEVICE,
                 "!top_db->is_device() && !leaf_db->is_device()", "Device dbs are not supported");
    if (params != nullptr && !params->empty())
        NYX_RAISE_INVALID_ARGUMENT(function,
                                   "Cannot specify parameters for non-definition module " + module->get_name());
}

NYX_INST_HEADER *NYX_INSTANCE::add_reference(NYX_DB_PERSISTENT *persistent, NYX_MODULE *module) {
    if (nyx_get_persistent(module) == persistent) {
        ++nyx_cell(&NYX_MODULE_TABLE::m_reference_count, module->get_impl());
        return nullptr;
    }
    NYX_INST_HEADER *const header = NYX_INST_HEADER::find_or_create(persistent, module, nullptr);
    header->increase_reference_count();
    return header;
}

void NYX_INSTANCE::drop_reference(NYX_MODULE *module, NYX_INST_HEADER *header) {
    if (header != nullptr) {
        header->decrease_reference_count();
        return;
    }
    std::uint32_t &ref_count = nyx_cell(&NYX_MODULE_TABLE::m_reference_count, module->get_impl());
    NYX_CHECK(ref_count > 0);
    --ref_count;
}

void NYX_INSTANCE::set_base(NYX_MODULE *new_module, NYX_INST_HEADER *new_header) {
    NYX_INSTANCE_IMPL *const impl = get_impl();
    impl->m_module_ptr = new_header != nullptr ? nullptr : new_module->get_impl();
    impl->m_inst_header_ptr = new_header != nullptr ? new_header->get_impl() : nullptr;
}

// ---- Another base module

void NYX_INSTANCE::set_module(NYX_MODULE *new_module) {
    if (new_module == nullptr)
        NYX_RAISE_INVALID_ARGUMENT("NYX_INSTANCE::set_module", "New module cannot be NULL");
    NYX_MODULE *const current_module = get_module();
    if (new_module == current_module)
        return;
    NYX_CHECK_AS(nyx_get_persistent(current_module) == nyx_get_persistent(new_module),
                 "current_module->get_db() == new_module->get_db()",
                 "Current and new module need to be in same database");
    NYX_CHECK_MSG(current_module->get_num_ports() == new_module->get_num_ports(),
                  "Current and new module need the same number of ports");
    NYX_CHECK_AS(new_module != get_parent(), "parent != module", "A module cannot be instantiated in itself");
    for (unsigned i = 0; i < current_module->get_num_ports(); ++i) {
        const NYX_PORT *const port = current_module->get_port_by_index(i);
        const NYX_PORT *const new_port = new_module->get_port_by_index(i);
        NYX_CHECK_AS((port == nullptr) == (new_port == nullptr) &&
                         (port == nullptr || port->get_name() == new_port->get_name()),
                     "port->get_name() == new_port->get_name()",
                     "Current and new module need to have the same ports with the same names");
    }
    NYX_INST_HEADER *const old_header = get_inst_header();
    set_base(new_module, add_reference(nyx_get_persistent(this), new_module));
    drop_reference(current_module, old_header);
    nyx_notify<NYX_INSTANCE>(&NYX_OBSERVER<NYX_INSTANCE>::module_changed, this, current_module);
}

void NYX_INSTANCE::change_module(NYX_MODULE *new_module, const PORT_NAME_MAP &port_names) {
    change_module_internal(new_module, port_names);
}

void NYX_INSTANCE::change_module_internal(NYX_MODULE *new_module, const PORT_NAME_MAP &port_names) {
    constexpr const char *function = "NYX_INSTANCE::change_module_internal";
    if (new_module == nullptr)
        NYX_RAISE_INVALID_ARGUMENT(function, "New module cannot be NULL");
    NYX_CHECK_AS(new_module != get_parent(), "parent != module", "A module cannot be instantiated in itself");
    NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(this);
    check_base_module(persistent, new_module, nullptr, function);
    NYX_MODULE *const old_module = get_module();

    const unsigned new_size = new_module->get_num_ports();
    ROW_MAP new_to_old(new_size, NO_ROW);
    std::vector<NYX_INST_PORT *> left_out;
    for (NYX_INST_PORT *const inst_port : iter_inst_ports()) {
        if (!inst_port->is_valid())
            continue;
        const NYX_PORT *const port = inst_port->get_port();
        if (port == nullptr) { // deleted while this database was closed
            left_out.push_back(inst_port);
            continue;
        }
        const std::string name = port->get_name();
        const auto mapped = port_names.find(name);
        const NYX_PORT *const new_port =
            new_module->find_port((mapped != port_names.end() ? mapped->second : name).c_str());
        if (new_port == nullptr) {
            left_out.push_back(inst_port);
            continue;
        }
        unsigned &old_index = new_to_old[new_port->get_index()];
        if (old_index != NO_ROW)
            NYX_RAISE_INVALID_ARGUMENT(
                function,
                (boost::format("Cannot map inst ports %1% and %2% to same port %3% on new base module %4%.") %
                 get_inst_port_by_index(old_index)->get_name() % name % new_port->get_name() % new_module->get_name())
                    .str());
        old_index = port->get_index();
    }

    // What can fail comes before the first change, but for inst ports that no port is left for: they are gone then.
    NYX_INST_HEADER *const new_header = add_reference(persistent, new_module);
    NYX_INST_PORT_ID new_first;
    try {
        new_first = reserve_run(new_size, new_to_old);
        reserve_attributes({{this, new_first}}, new_to_old);
        for (NYX_INST_PORT *const inst_port : left_out)
            inst_port->deallocate();
        // Who was told of that may have given values to what is about to move.
        if (!left_out.empty())
            reserve_attributes({{this, new_first}}, new_to_old);
    } catch (...) {
        release_reserved_run(new_first, new_size);
        drop_reference(new_module, new_header);
        throw;
    }
    NYX_INST_HEADER *const old_header = get_inst_header();
    set_base(new_module, new_header);
    const unsigned prev_size = get_num_inst_ports();
    INST_PORT_MOVES moves;
    update_inst_port_array(new_size, new_to_old, new_first, moves);
    NYX_CHECK(new_size != prev_size || prev_size == get_num_inst_ports());
    drop_reference(old_module, old_header);
    tell_moves(moves);
    for (unsigned i = 0; i < new_size; ++i) {
        NYX_PORT *const port = new_module->get_port_by_index(i);
        if (port != nullptr && get_inst_port_by_index(i) == nullptr)
            NYX_INST_PORT::allocate(this, port, nullptr);
    }
    nyx_notify<NYX_INSTANCE>(&NYX_OBSERVER<NYX_INSTANCE>::module_changed, this, old_module);
}

// ---- The run of inst ports

NYX_INST_PORT_ID NYX_INSTANCE::reserve_run(unsigned int new_size, const ROW_MAP &row_map) {
    const NYX_INST_PORT_ID first = nyx_cell(&NYX_INSTANCE_TABLE::m_first_inst_port, get_impl());
    if (new_size == 0)
        return NYX_INST_PORT_ID::INVALID;
    // The present run will do if each row that moves goes towards its front and none passes another: then the place of
    // each is free when its turn comes.
    bool fits = new_size <= get_num_inst_ports();
    unsigned lowest = 0;
    for (unsigned i = 0; i < row_map.size() && fits; ++i) {
        if (row_map[i] == NO_ROW)
            continue;
        fits = row_map[i] >= i && row_map[i] >= lowest;
        lowest = row_map[i] + 1;
    }
    if (fits)
        return first;
    NYX_INST_PORT_TABLE &table = nyx_get_persistent(this)->table<NYX_INST_PORT>();
    return NYX_INST_PORT_TABLE::get_id(table.allocate(new_size));
}

void NYX_INSTANCE::release_reserved_run(NYX_INST_PORT_ID run, unsigned int size) {
    if (run != NYX_INST_PORT_ID::INVALID && run != nyx_cell(&NYX_INSTANCE_TABLE::m_first_inst_port, get_impl()))
        nyx_release_run(nyx_get_persistent(this)->table<NYX_INST_PORT>(), run, size);
}

void NYX_INSTANCE::reserve_attributes(RUNS runs, const ROW_MAP &row_map) {
    // The runs of a database share the room for values of their rows, so it is taken for all of them at once.
    const auto root_of = [](const RUNS::value_type &run) { return nyx_get_persistent(run.first); };
    std::sort(runs.begin(), runs.end(), [&root_of](const auto &a, const auto &b) {
        return std::pair(root_of(a), a.second) < std::pair(root_of(b), b.second);
    });
    NYX_ROW_MOVES moves;
    for (auto at = runs.begin(); at != runs.end();) {
        NYX_DB_PERSISTENT *const root = root_of(*at);
        const bool has_values = nyx_has_trait_values(root, nyx_bearer_class<NYX_INST_PORT>.kind);
        moves.clear();
        for (; at != runs.end() && root_of(*at) == root; ++at) {
            const auto &[instance, new_first] = *at;
            const unsigned first = nyx_cell(&NYX_INSTANCE_TABLE::m_first_inst_port, instance->get_impl()).get();
            for (unsigned i = 0; has_values && i < row_map.size(); ++i)
                if (row_map[i] != NO_ROW && first + row_map[i] != new_first.get() + i)
                    moves.emplace_back(first + row_map[i], new_first.get() + i);
        }
        nyx_make_room_for_traits<NYX_INST_PORT>(root, moves);
    }
}

bool NYX_INSTANCE::deallocate_left_out(const ROW_MAP &row_map) {
    std::vector<bool> is_kept(get_num_inst_ports());
    for (const unsigned index : row_map) {
        if (index == NO_ROW)
            continue;
        NYX_CHECK(index < is_kept.size());
        is_kept[index] = true;
    }
    bool has_deallocated = false;
    for (unsigned i = 0; i < is_kept.size(); ++i) {
        if (is_kept[i])
            continue;
        if (NYX_INST_PORT *const inst_port = get_inst_port_by_index(i)) {
            inst_port->deallocate();
            has_deallocated = true;
        }
    }
    return has_deallocated;
}

void NYX_INSTANCE::update_inst_port_array(unsigned int new_size, const ROW_MAP &row_map, NYX_INST_PORT_ID new_first,
                                          INST_PORT_MOVES &moves) {
    NYX_INSTANCE_IMPL *const impl = get_impl();
    NYX_INST_PORT_TABLE &table = nyx_get_persistent(impl)->table<NYX_INST_PORT>();
    NYX_INST_PORT_ID &first = nyx_cell(&NYX_INSTANCE_TABLE::m_first_inst_port, impl);
    std::uint32_t &size = nyx_cell(&NYX_INSTANCE_TABLE::m_num_inst_ports, impl);
    const NYX_INST_PORT_ID old_first = first;
    const unsigned old_size = size;

    NYX_CHECK(row_map.size() <= new_size);
    for (unsigned i = 0; i < row_map.size(); ++i) {
        if (row_map[i] == NO_ROW)
            continue;
        NYX_CHECK(row_map[i] < old_size);
        const NYX_INST_PORT_ID from(old_first.get() + row_map[i]);
        const NYX_INST_PORT_ID to(new_first.get() + i);
        NYX_INST_PORT_IMPL *const from_row = table.get(from);
        if (from == to || !from_row->m_inst_ptr)
            continue;
        NYX_INST_PORT_IMPL *const to_row = table.get(to);
        NYX_CHECK_MSG(!to_row->m_inst_ptr, "An inst port of instance %s has no place in the new run",
                      get_name().c_str());
        table.move(from, to);
        nyx_move_traits<NYX_INST_PORT>(table.get(from), table.get(to));
        if (to_row->m_net_ptr)
            nyx_relink_moved<NYX_INST_PORT>(to_row->m_net_ptr.get(), to_row);
        table.reset(from);
        if (nyx_is_observed<NYX_INST_PORT>())
            moves.emplace_back(from_row, to_row);
    }
    first = new_first;
    size = new_size;

    const bool in_place = new_first == old_first;
    const unsigned kept = in_place ? new_size : 0;
    for (unsigned i = kept; i < old_size; ++i)
        NYX_CHECK_MSG(!table.get(NYX_INST_PORT_ID(old_first.get() + i))->m_inst_ptr,
                      "An inst port of instance %s has no place in the new run", get_name().c_str());
    nyx_release_run(table, NYX_INST_PORT_ID(old_first.get() + kept), old_size - kept);
    if (NYX_INST_HEADER *const header = get_inst_header())
        header->set_num_ports(new_size);
}

void NYX_INSTANCE::tell_moves(const INST_PORT_MOVES &moves) {
    for (const auto &[from, to] : moves)
        nyx_notify<NYX_INST_PORT>(&NYX_OBSERVER<NYX_INST_PORT>::moved, from, to);
}
