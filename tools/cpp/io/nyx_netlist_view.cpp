#include "io/nyx_netlist_view.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <unordered_set>

namespace {

NYX_YOSYS_DIRECTION get_direction(const NYX_PORT *port) {
    return port->is_input()    ? NYX_YOSYS_DIRECTION::INPUT
           : port->is_output() ? NYX_YOSYS_DIRECTION::OUTPUT
           : port->is_bidir()  ? NYX_YOSYS_DIRECTION::INOUT
                               : NYX_YOSYS_DIRECTION::UNKNOWN;
}

/// The name and the range of a bus; `upto` is the trait of those whose range doesn't tell the direction.
template <class BUS>
void set_range(const BUS *bus, const NYX_BOOL_TRAIT *upto, NYX_VIEW_VECTOR &vector) {
    vector.name = nyx_decode_name(bus->get_name());
    vector.offset = std::min(bus->get_left_index(), bus->get_right_index());
    vector.upto = bus->get_left_index() < bus->get_right_index() ||
                  (bus->get_left_index() == bus->get_right_index() && NYX_NETLIST_TRAITS::get(bus, upto));
}

} // namespace

NYX_PORT_VIEW::NYX_PORT_VIEW(NYX_MODULE *module) {
    const NYX_NETLIST_TRAITS traits = NYX_NETLIST_TRAITS::find(module->get_db());
    std::unordered_set<NYX_PORT_BUS *> seen;
    for (NYX_PORT *const port : module->iter_ports()) {
        if (!port->get_parent())
            continue;
        NYX_PORT_BUS *const bus = port->get_bus();
        if (bus && !seen.insert(bus).second)
            continue;
        NYX_VIEW_PORT view;
        if (bus) {
            set_range(bus, traits.m_port_bus_upto, view);
            view.is_signed = NYX_NETLIST_TRAITS::get(bus, traits.m_port_bus_signed);
            for (NYX_PORT *const member : bus->iter_ports())
                if (member)
                    view.ports.push_back(member);
            std::reverse(view.ports.begin(), view.ports.end());
        } else {
            view.name = nyx_decode_name(port->get_name());
            view.is_signed = NYX_NETLIST_TRAITS::get(port, traits.m_port_signed);
            view.is_scalar = true;
            view.ports.push_back(port);
        }
        view.direction = get_direction(view.ports.front());
        m_ports.push_back(std::move(view));
    }
}

NYX_NETLIST_VIEW::NYX_NETLIST_VIEW(NYX_MODULE *module)
    : m_module(module)
    , m_traits(NYX_NETLIST_TRAITS::find(module->get_db())) {
    number_nets();
    NYX_PORT_VIEW ports(module);
    m_ports = ports.get_ports();
    for (NYX_VIEW_PORT &port : m_ports)
        for (const NYX_PORT *const bit : port.ports) {
            const NYX_YOSYS_BIT number = get_bit(bit->get_net());
            port.bits.push_back(number == s_nyx_unconnected ? get_fresh_bit() : number);
        }
    make_names();
}

void NYX_NETLIST_VIEW::number_nets() {
    for (NYX_NET *const net : m_module->iter_nets()) {
        const std::string constant = NYX_NETLIST_TRAITS::get(net, m_traits.m_net_constant);
        if (const std::size_t digit = std::string_view("01xz").find(constant);
            constant.size() == 1 && digit != std::string_view::npos) {
            m_bits.emplace(net, NYX_YOSYS_BIT(std::uint32_t(NYX_YOSYS_BIT::ZERO) + std::uint32_t(digit)));
            continue;
        }
        // Of the supplies that no reader made, one that comes in by a port is a signal like others.
        if (net->is_ground() || net->is_power()) {
            const auto ports = net->iter_ports();
            if (std::all_of(ports.begin(), ports.end(), [](const NYX_PORT *port) { return port->is_output(); })) {
                m_bits.emplace(net, net->is_ground() ? NYX_YOSYS_BIT::ZERO : NYX_YOSYS_BIT::ONE);
                continue;
            }
        }
        m_bits.emplace(net, NYX_YOSYS_BIT(m_next_number++));
    }
    m_num_nets = m_next_number - 2;
}

void NYX_NETLIST_VIEW::make_names() {
    for (NYX_NET *const net : m_module->iter_nets()) {
        const NYX_YOSYS_BIT bit = get_bit(net);
        if (net->get_bus() || NYX_NETLIST_TRAITS::get(net, m_traits.m_net_unnamed) ||
            (nyx_is_constant(bit) && !NYX_NETLIST_TRAITS::get(net, m_traits.m_net_constant).empty()))
            continue;
        NYX_VIEW_NAME name;
        name.name = nyx_decode_name(net->get_name());
        name.bits.push_back(bit);
        name.is_scalar = true;
        name.hidden = NYX_NETLIST_TRAITS::is_hidden(net, name.name, m_traits.m_net_hidden_unlike);
        name.is_signed = NYX_NETLIST_TRAITS::get(net, m_traits.m_net_signed);
        name.net = net;
        m_names.push_back(std::move(name));
    }
    for (NYX_NET_BUS *const bus : m_module->iter_net_buses())
        make_bus(bus);
}

void NYX_NETLIST_VIEW::make_bus(NYX_NET_BUS *bus) {
    NYX_VIEW_NAME name;
    set_range(bus, m_traits.m_net_bus_upto, name);
    name.hidden = NYX_NETLIST_TRAITS::is_hidden(bus, name.name, m_traits.m_net_bus_hidden_unlike);
    name.is_signed = NYX_NETLIST_TRAITS::get(bus, m_traits.m_net_bus_signed);
    name.is_scalar = NYX_NETLIST_TRAITS::get(bus, m_traits.m_net_bus_scalar);
    name.net_bus = bus;
    std::vector<NYX_YOSYS_BIT> own;
    for (const NYX_NET *const net : bus->iter_nets())
        own.push_back(get_bit(net));
    std::reverse(own.begin(), own.end());
    name.bits = own;
    const std::string text = nyx_decode_name(NYX_NETLIST_TRAITS::get(bus, m_traits.m_net_bus_bits));
    if (text == "'")
        name.bits.clear();
    else if (!text.empty()) {
        name.bits.clear();
        for (const std::string &token : nyx_split_tokens(text)) {
            const NYX_BIT_RUN run = NYX_BIT_RUN::from_token(token);
            if (run.kind == NYX_BIT_RUN::KIND::OWN)
                for (unsigned i = 0; i < run.count && name.bits.size() < own.size(); ++i)
                    name.bits.push_back(own[name.bits.size()]);
            else
                follow(run, name.bits, name);
        }
        name.bits.resize(own.size(), s_nyx_unconnected);
    }
    for (NYX_YOSYS_BIT &bit : name.bits)
        if (bit == s_nyx_unconnected)
            bit = get_fresh_bit();
    m_names.push_back(std::move(name));
}

void NYX_NETLIST_VIEW::index_names() {
    if (m_indexed)
        return;
    m_indexed = true;
    for (NYX_NET *const net : m_module->iter_nets())
        if (!net->get_bus())
            m_nets_by_name.emplace(net->get_name(), net);
    for (NYX_NET_BUS *const bus : m_module->iter_net_buses())
        m_buses_by_name.emplace(bus->get_name(), bus);
}

void NYX_NETLIST_VIEW::follow(const NYX_BIT_RUN &run, std::vector<NYX_YOSYS_BIT> &bits, const NYX_VIEW_VECTOR &own) {
    if (run.kind == NYX_BIT_RUN::KIND::CONSTANTS) {
        for (const char digit : run.name)
            bits.push_back(NYX_YOSYS_BIT(std::uint32_t(NYX_YOSYS_BIT::ZERO) +
                                         std::uint32_t(std::string_view("01xz").find(digit))));
        return;
    }
    index_names();
    const auto warn = [&] {
        m_warnings.push_back("module \"" + m_module->get_name() + "\": \"" + own.name + "\" is a name of \"" +
                             run.name + "\", which is no more");
    };
    if (run.kind == NYX_BIT_RUN::KIND::NET) {
        const auto net = m_nets_by_name.find(run.name);
        if (net == m_nets_by_name.end())
            warn();
        bits.push_back(net == m_nets_by_name.end() ? s_nyx_unconnected : get_bit(net->second));
        return;
    }
    const auto bus = m_buses_by_name.find(run.name);
    if (bus == m_buses_by_name.end())
        warn();
    const int step = run.from <= run.to ? 1 : -1;
    for (int index = run.from;; index += step) {
        const NYX_NET *net = nullptr;
        if (bus != m_buses_by_name.end() &&
            index >= std::min(bus->second->get_left_index(), bus->second->get_right_index()) &&
            index <= std::max(bus->second->get_left_index(), bus->second->get_right_index()))
            net = (*bus->second)[index];
        bits.push_back(get_bit(net));
        if (index == run.to || bits.size() > own.bits.capacity())
            break;
    }
}

NYX_VIEW_BASE::NYX_VIEW_BASE(NYX_MODULE *module) {
    is_implied = NYX_NETLIST_TRAITS::get(module, NYX_NETLIST_TRAITS::find(module->get_db()).m_module_implied);
    type = nyx_decode_name(is_implied && module->is_atom() ? module->get_atom_type() : module->get_name());
    ports = NYX_PORT_VIEW(module).get_ports();
}

const NYX_VIEW_BASE &NYX_CELL_VIEWER::get_base(NYX_MODULE *module) {
    if (module != m_last_module) {
        std::unique_ptr<NYX_VIEW_BASE> &base = m_bases[module];
        if (!base)
            base = std::make_unique<NYX_VIEW_BASE>(module);
        m_last_module = module;
        m_last_base = base.get();
    }
    return *m_last_base;
}

void NYX_CELL_VIEWER::look_at(NYX_INSTANCE *instance, NYX_NETLIST_VIEW &view, NYX_VIEW_CELL &cell) {
    const NYX_NETLIST_TRAITS &traits = view.get_traits();
    cell.base = &get_base(instance->get_module());
    cell.has_directions = !NYX_NETLIST_TRAITS::get(instance, traits.m_instance_no_directions);
    cell.directions.clear();
    cell.connections.clear();
    cell.bits.clear();
    std::vector<std::string> omitted;
    if (traits.m_instance_omitted && !instance->is_default_value(traits.m_instance_omitted))
        omitted = nyx_split_tokens(nyx_decode_name(instance->get_value(traits.m_instance_omitted)));
    for (const NYX_VIEW_PORT &port : cell.base->ports) {
        const auto begin = std::uint32_t(cell.bits.size());
        bool is_connected = false;
        for (const NYX_PORT *const bit : port.ports) {
            const NYX_INST_PORT *const inst_port = instance->get_inst_port_by_index(bit->get_index());
            cell.bits.push_back(view.get_bit(inst_port ? inst_port->get_net() : nullptr));
            is_connected = is_connected || cell.bits.back() != s_nyx_unconnected;
        }
        if (!is_connected) {
            cell.bits.resize(begin);
            if (!omitted.empty() &&
                std::find(omitted.begin(), omitted.end(), nyx_encode_name(port.name)) != omitted.end())
                continue;
        }
        for (std::size_t i = begin; i < cell.bits.size(); ++i)
            if (cell.bits[i] == s_nyx_unconnected)
                cell.bits[i] = view.get_fresh_bit();
        cell.connections.push_back({&port, {begin, std::uint32_t(cell.bits.size()) - begin}});
        if (port.direction != NYX_YOSYS_DIRECTION::UNKNOWN)
            cell.directions.push_back(&port);
    }
    if (!traits.m_instance_directions || instance->is_default_value(traits.m_instance_directions))
        return;
    for (const std::string &token :
         nyx_split_tokens(nyx_decode_name(instance->get_value(traits.m_instance_directions))))
        for (const NYX_VIEW_PORT &port : cell.base->ports)
            if (token.substr(1) == nyx_encode_name(port.name)) {
                if (token[0] == '+')
                    cell.directions.push_back(&port);
                else
                    std::erase(cell.directions, &port);
            }
}

template <class T>
std::vector<NYX_VIEW_VALUE> nyx_view_values(const T *object, bool attributes, const NYX_NETLIST_TRAITS &traits) {
    std::vector<NYX_VIEW_VALUE> values;
    for (const auto &[property, value] : object->iter_properties()) {
        NYX_VIEW_VALUE view{NYX_VIEW_VALUE::KIND::STRING, {}, {}};
        if (nyx_decode_property(property, view.name) != attributes)
            continue;
        if (const std::string *const text = boost::get<std::string>(&value))
            view.text = nyx_decode_name(*text);
        else if (nyx_decode_integer(value, view.text))
            view.kind = NYX_VIEW_VALUE::KIND::INTEGER;
        else if (nyx_decode_bits(value, view.text))
            view.kind = NYX_VIEW_VALUE::KIND::BITS;
        else {
            const float *const single = boost::get<float>(&value);
            const double number = single ? double(*single) : boost::get<double>(value);
            // What is no number in a netlist file is a text there.
            view.kind = std::isfinite(number) ? NYX_VIEW_VALUE::KIND::REAL : NYX_VIEW_VALUE::KIND::STRING;
            view.text = nyx_format_real(number);
        }
        values.push_back(std::move(view));
    }
    if (attributes) {
        std::string source = object->get_src_location();
        if (!source.empty()) {
            source += nyx_decode_name(NYX_NETLIST_TRAITS::get(object, traits.get_source(object)));
            values.push_back({NYX_VIEW_VALUE::KIND::STRING, "src", std::move(source)});
        }
    }
    std::sort(values.begin(), values.end(),
              [](const NYX_VIEW_VALUE &a, const NYX_VIEW_VALUE &b) { return a.name < b.name; });
    return values;
}

template std::vector<NYX_VIEW_VALUE> nyx_view_values(const NYX_MODULE *, bool, const NYX_NETLIST_TRAITS &);
template std::vector<NYX_VIEW_VALUE> nyx_view_values(const NYX_INSTANCE *, bool, const NYX_NETLIST_TRAITS &);
template std::vector<NYX_VIEW_VALUE> nyx_view_values(const NYX_NET *, bool, const NYX_NETLIST_TRAITS &);
template std::vector<NYX_VIEW_VALUE> nyx_view_values(const NYX_NET_BUS *, bool, const NYX_NETLIST_TRAITS &);

std::vector<NYX_VIEW_VALUE> nyx_view_module_attributes(const NYX_MODULE *module, const NYX_DB *design,
                                                       const NYX_NETLIST_TRAITS &traits) {
    std::vector<NYX_VIEW_VALUE> attributes = nyx_view_values(module, true, traits);
    const auto mark = [&attributes](const char *name) {
        if (std::none_of(attributes.begin(), attributes.end(),
                         [name](const NYX_VIEW_VALUE &value) { return value.name == name; }))
            attributes.push_back({NYX_VIEW_VALUE::KIND::BITS, name, std::string(31, '0') + '1'});
    };
    if (module->is_leaf())
        mark("blackbox");
    if (module->get_db() == design && (design->is_user() || design->is_device())) {
        if (!module->is_top_module() || !module->is_hierarchy())
            std::erase_if(attributes, [](const NYX_VIEW_VALUE &value) { return value.name == "top"; });
        else if (!NYX_NETLIST_TRAITS::get(module, traits.m_module_unmarked_top))
            mark("top");
    }
    return attributes;
}

std::vector<NYX_FURTHER_NAME> nyx_find_further_names(NYX_MODULE *module) {
    std::vector<NYX_FURTHER_NAME> further;
    const NYX_NETLIST_VIEW view(module);
    std::vector<NYX_NET *> nets(view.get_num_nets());
    for (NYX_NET *const net : module->iter_nets())
        if (const NYX_YOSYS_BIT bit = view.get_bit(net); !nyx_is_constant(bit))
            nets[std::uint32_t(bit) - 2] = net;
    for (const NYX_VIEW_NAME &name : view.get_names()) {
        if (!name.net_bus || NYX_NETLIST_TRAITS::get(name.net_bus, view.get_traits().m_net_bus_bits).empty())
            continue;
        for (std::size_t i = 0; i < name.bits.size(); ++i) {
            const auto number = std::uint32_t(name.bits[i]) - 2;
            if (nyx_is_constant(name.bits[i]) || number >= nets.size() || nets[number]->get_bus() == name.net_bus)
                continue;
            const auto index = static_cast<long long>(name.upto ? name.bits.size() - 1 - i : i) + name.offset;
            further.push_back(
                {name.is_scalar ? name.name : name.name + "[" + std::to_string(index) + "]", nets[number]});
        }
    }
    return further;
}

std::vector<NYX_MODULE *> nyx_find_netlist_modules(NYX_DB *db) {
    std::vector<NYX_MODULE *> modules;
    std::unordered_set<NYX_MODULE *> seen;
    for (NYX_MODULE *const module : db->iter_modules())
        if (seen.insert(module).second)
            modules.push_back(module);
    for (std::size_t i = 0; i < modules.size(); ++i)
        for (NYX_INSTANCE *const instance : modules[i]->iter_instances())
            if (!instance->module_in_same_db() && seen.insert(instance->get_module()).second)
                modules.push_back(instance->get_module());
    return modules;
}
