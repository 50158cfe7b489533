#include "io/nyx_yosys_plan.h"

#include "io/nyx_io_error.h"
#include "io/nyx_netlist_text.h"

#include <algorithm>

bool nyx_is_true(const NYX_YOSYS_NETLIST &netlist, const NYX_YOSYS_VALUE &value) {
    if (value.kind == NYX_YOSYS_VALUE::KIND::INTEGER)
        return value.integer != 0;
    return value.kind == NYX_YOSYS_VALUE::KIND::BITS && netlist.strings.get(value.text).find('1') != std::string::npos;
}

std::uint32_t NYX_YOSYS_PLAN::BASE::find_port(std::uint32_t name) const {
    for (std::uint32_t i = 0; i < ports.size(); ++i)
        if (ports[i].name == name)
            return i;
    return s_none;
}

NYX_YOSYS_PLAN::NYX_YOSYS_PLAN(const NYX_YOSYS_NETLIST &netlist, const std::string &file, const std::string &top)
    : m_netlist(netlist)
    , m_file(file) {
    add_modules();
    resolve_cells();
    describe_directions();
    find_recursion();
    choose_top(top);
}

void NYX_YOSYS_PLAN::fail(const std::string &pointer, const std::string &text) const {
    throw NYX_IO_ERROR(nyx_printable(m_file) + ": " + (pointer.empty() ? "" : pointer + ": ") + text);
}

std::string NYX_YOSYS_PLAN::quote(std::uint32_t name) const {
    return "\"" + nyx_printable(m_netlist.strings.get(name)) + "\"";
}

std::string NYX_YOSYS_PLAN::point_at(const NYX_YOSYS_MODULE &module, const char *section, std::uint32_t name) const {
    return "/modules/" + nyx_pointer_step(m_netlist.strings.get(module.name)) + "/" + section + "/" +
           nyx_pointer_step(m_netlist.strings.get(name));
}

void NYX_YOSYS_PLAN::add_modules() {
    for (const NYX_YOSYS_MODULE &module : m_netlist.modules) {
        m_by_name.emplace(module.name, std::uint32_t(m_bases.size()));
        BASE base;
        base.module = &module;
        base.type = module.name;
        for (const NYX_YOSYS_PORT &port : module.ports) {
            if (port.bits.count == 0)
                fail(point_at(module, "ports", port.name),
                     "a port needs at least one bit; take it out, and out of the cells of the module");
            base.ports.push_back({port.name, port.bits.count, port.direction});
        }
        for (std::uint32_t i = 0; i < module.attributes.count; ++i) {
            const NYX_YOSYS_VALUE &value = module.values[module.attributes.begin + i];
            if (m_netlist.strings.get(value.name) == "blackbox" && nyx_is_true(m_netlist, value))
                base.is_black_box = true;
        }
        if (base.is_black_box && !module.cells.empty())
            fail(point_at(module, "cells", module.cells.front().name),
                 "a black box has no cells; take its attribute \"blackbox\" away or the cells out");
        m_bases.push_back(std::move(base));
    }
}

void NYX_YOSYS_PLAN::resolve_cells() {
    for (const NYX_YOSYS_MODULE &module : m_netlist.modules)
        for (const NYX_YOSYS_CELL &cell : module.cells) {
            const std::uint64_t key = get_key(cell.type, cell.shape);
            if (m_uses.contains(key))
                continue;
            const auto found = m_by_name.find(cell.type);
            m_uses.emplace(key,
                           found != m_by_name.end() ? use_defined(module, cell, found->second) : use_undefined(cell));
        }
}

NYX_YOSYS_PLAN::USE NYX_YOSYS_PLAN::use_defined(const NYX_YOSYS_MODULE &module, const NYX_YOSYS_CELL &cell,
                                                std::uint32_t base_index) {
    BASE &base = m_bases[base_index];
    base.is_used = true;
    USE use{base_index, {}};
    for (const NYX_YOSYS_SHAPE::PORT &port : m_netlist.shapes[cell.shape].ports) {
        const std::uint32_t index = base.find_port(port.name);
        const std::string place = point_at(module, "cells", cell.name);
        if (index == s_none)
            fail(place, "module " + quote(cell.type) + " has no port " + quote(port.name) +
                            "; take the connection out or add the port");
        const BASE::PORT &defined = base.ports[index];
        if (port.width != 0 && port.width != NYX_YOSYS_SHAPE::s_absent && port.width != defined.width)
            fail(place, "port " + quote(port.name) + " is connected to " + std::to_string(port.width) +
                            " bits, but module " + quote(cell.type) + " gives it " + std::to_string(defined.width) +
                            "; run Yosys' hierarchy -check");
        if (port.direction != NYX_YOSYS_DIRECTION::UNKNOWN && port.direction != defined.direction)
            fail(place, "port " + quote(port.name) + " is told to be " + nyx_name_of(port.direction) + ", but module " +
                            quote(cell.type) + " makes it " + nyx_name_of(defined.direction));
        use.ports.push_back(index);
    }
    return use;
}

bool NYX_YOSYS_PLAN::try_merge(BASE &base, const NYX_YOSYS_SHAPE &shape) {
    const auto get_width = [](const NYX_YOSYS_SHAPE::PORT &port) {
        return port.width == NYX_YOSYS_SHAPE::s_absent ? 0 : port.width;
    };
    for (const NYX_YOSYS_SHAPE::PORT &port : shape.ports) {
        const std::uint32_t index = base.find_port(port.name);
        if (index == s_none)
            continue;
        const BASE::PORT &known = base.ports[index];
        if (get_width(port) != 0 && known.width != 0 && get_width(port) != known.width)
            return false;
        if (port.direction != NYX_YOSYS_DIRECTION::UNKNOWN && known.direction != NYX_YOSYS_DIRECTION::UNKNOWN &&
            port.direction != known.direction)
            return false;
    }
    for (const NYX_YOSYS_SHAPE::PORT &port : shape.ports) {
        const std::uint32_t index = base.find_port(port.name);
        if (index == s_none) {
            base.ports.push_back({port.name, get_width(port), port.direction});
            continue;
        }
        BASE::PORT &known = base.ports[index];
        known.width = std::max(known.width, get_width(port));
        if (known.direction == NYX_YOSYS_DIRECTION::UNKNOWN)
            known.direction = port.direction;
    }
    return true;
}

NYX_YOSYS_PLAN::USE NYX_YOSYS_PLAN::use_undefined(const NYX_YOSYS_CELL &cell) {
    const NYX_YOSYS_SHAPE &shape = m_netlist.shapes[cell.shape];
    std::vector<std::uint32_t> &candidates = m_undefined[cell.type];
    std::uint32_t chosen = s_none;
    for (const std::uint32_t candidate : candidates)
        if (try_merge(m_bases[candidate], shape)) {
            chosen = candidate;
            break;
        }
    if (chosen == s_none) {
        chosen = std::uint32_t(m_bases.size());
        candidates.push_back(chosen);
        BASE base;
        base.type = cell.type;
        base.is_black_box = true;
        base.is_used = true;
        try_merge(base, shape);
        m_bases.push_back(std::move(base));
    }
    USE use{chosen, {}};
    for (const NYX_YOSYS_SHAPE::PORT &port : shape.ports)
        use.ports.push_back(m_bases[chosen].find_port(port.name));
    return use;
}

/// When all is known of the bases: a later cell may have told the direction of a port.
void NYX_YOSYS_PLAN::describe_directions() {
    for (auto &[key, use] : m_uses) {
        const NYX_YOSYS_SHAPE &shape = m_netlist.shapes[std::uint32_t(key)];
        if (!shape.has_directions)
            continue;
        for (std::size_t i = 0; i < shape.ports.size(); ++i) {
            const NYX_YOSYS_SHAPE::PORT &port = shape.ports[i];
            const bool is_told = port.direction != NYX_YOSYS_DIRECTION::UNKNOWN;
            const bool is_known = m_bases[use.base].ports[use.ports[i]].direction != NYX_YOSYS_DIRECTION::UNKNOWN;
            const bool is_mentioned = port.width != NYX_YOSYS_SHAPE::s_absent;
            if (is_told != (is_known && is_mentioned))
                nyx_append_token(use.directions,
                                 (is_told ? "+" : "-") + nyx_encode_name(m_netlist.strings.get(port.name)));
        }
    }
}

const NYX_YOSYS_PLAN::USE &NYX_YOSYS_PLAN::find_use(const NYX_YOSYS_CELL &cell) const {
    return m_uses.at(get_key(cell.type, cell.shape));
}

void NYX_YOSYS_PLAN::find_recursion() const {
    // A walk in depth, with the modules on the way marked; hierarchies may be deeper than the stack.
    enum STATE : char { NEW, ON_WAY, DONE };
    std::vector<STATE> states(m_bases.size(), NEW);
    struct STEP {
        std::uint32_t base;
        std::size_t next_cell;
    };
    std::vector<STEP> way;
    for (std::uint32_t start = 0; start < m_netlist.modules.size(); ++start) {
        if (states[start] != NEW)
            continue;
        way.push_back({start, 0});
        states[start] = ON_WAY;
        while (!way.empty()) {
            const NYX_YOSYS_MODULE *const module = m_bases[way.back().base].module;
            if (!module || way.back().next_cell == module->cells.size()) {
                states[way.back().base] = DONE;
                way.pop_back();
                continue;
            }
            const NYX_YOSYS_CELL &cell = module->cells[way.back().next_cell++];
            const std::uint32_t base = find_use(cell).base;
            if (states[base] == ON_WAY)
                fail(point_at(*module, "cells", cell.name),
                     "module " + quote(cell.type) + " contains itself; a netlist can't be recursive");
            if (states[base] == NEW) {
                states[base] = ON_WAY;
                way.push_back({base, 0});
            }
        }
    }
}

void NYX_YOSYS_PLAN::choose_top(const std::string &top) {
    if (!top.empty()) {
        for (std::uint32_t i = 0; i < m_netlist.modules.size(); ++i)
            if (m_netlist.strings.get(m_bases[i].type) == top)
                m_top = i;
        if (m_top == s_none)
            fail("/modules", "there is no module \"" + nyx_printable(top) + "\" to be the top");
        return;
    }
    std::vector<std::uint32_t> marked;
    std::vector<std::uint32_t> unused;
    for (std::uint32_t i = 0; i < m_netlist.modules.size(); ++i) {
        const NYX_YOSYS_MODULE &module = *m_bases[i].module;
        for (std::uint32_t j = 0; j < module.attributes.count; ++j) {
            const NYX_YOSYS_VALUE &value = module.values[module.attributes.begin + j];
            if (m_netlist.strings.get(value.name) == "top" && nyx_is_true(m_netlist, value))
                marked.push_back(i);
        }
        if (!m_bases[i].is_used && !m_bases[i].is_black_box)
            unused.push_back(i);
    }
    const std::vector<std::uint32_t> &candidates = marked.empty() ? unused : marked;
    if (candidates.size() > 1)
        fail("/modules", "both " + quote(m_bases[candidates[0]].type) + " and " + quote(m_bases[candidates[1]].type) +
                             " could be the top module; choose one with --top");
    if (!candidates.empty())
        m_top = candidates.front();
    m_top_unmarked = marked.empty();
}
