#include "io/nyx_yosys_importer.h"

#include "io/nyx_netlist_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <unordered_map>
#include <unordered_set>

namespace {

using BASE = NYX_YOSYS_PLAN::BASE;

std::string name_bit(std::string_view name, long long index) {
    return nyx_encode_name(std::string(name) + "[" + std::to_string(index) + "]");
}

bool is_scalar(const NYX_YOSYS_VECTOR &vector) {
    return vector.bits.count == 1 && vector.offset == 0 && !vector.upto;
}

/// The index of a bit of a vector, counted from the least significant one.
int get_index(const NYX_YOSYS_VECTOR &vector, std::uint32_t bit) {
    return int(vector.upto ? std::int64_t(vector.offset) + std::max(1u, vector.bits.count) - 1 - bit
                           : std::int64_t(vector.offset) + bit);
}

class IMPORTER {
public:
    IMPORTER(const NYX_YOSYS_NETLIST &netlist, const NYX_YOSYS_PLAN &plan, NYX_DB *design, NYX_DB *library,
             const NYX_PROGRESS &progress)
        : m_netlist(netlist)
        , m_plan(plan)
        , m_design(design)
        , m_library(library)
        , m_progress(progress) {
        m_traits[0] = NYX_NETLIST_TRAITS::create(design);
        if (library)
            m_traits[1] = NYX_NETLIST_TRAITS::create(library);
    }

    std::vector<std::string> run();

private:
    static constexpr std::uint32_t s_none = ~0u;

    std::string_view get(std::uint32_t string) const { return m_netlist.strings.get(string); }
    std::string get_name(std::uint32_t string) const { return nyx_encode_name(get(string)); }

    bool goes_to_library(const BASE &base) const { return m_library && base.is_black_box && base.is_used; }
    /// A name that no net of the module has, like the one that is given.
    std::string find_free_name(std::string name) const;

    void make_module(const BASE &base);
    void make_ports(const BASE &base, NYX_MODULE *module);
    void fill_module(const NYX_YOSYS_MODULE &module);
    void number_bits();
    std::uint32_t get_slot(NYX_YOSYS_BIT bit) const;
    void claim_bits();
    void make_names();
    void make_vector(const NYX_YOSYS_NAME &name, std::uint32_t number);
    void make_unnamed();
    void describe_bits(const NYX_YOSYS_NAME &name, std::uint32_t number, NYX_NET_BUS *bus);
    NYX_NET *get_net(NYX_YOSYS_BIT bit);
    void connect_ports();
    void make_cells();
    void omit_ports(const NYX_YOSYS_CELL &cell, const BASE &base, NYX_INSTANCE *instance);

    template <class T>
    void set_values(T *object, NYX_YOSYS_RANGE range, bool are_attributes);
    template <class T>
    bool set_source(T *object, std::string_view text);

    const NYX_YOSYS_NETLIST &m_netlist;
    const NYX_YOSYS_PLAN &m_plan;
    NYX_DB *m_design;
    NYX_DB *m_library;
    const NYX_PROGRESS &m_progress;
    std::array<NYX_NETLIST_TRAITS, 2> m_traits;
    std::vector<std::string> m_warnings;
    std::uint64_t m_cells_done = 0;
    std::uint64_t m_num_cells = 0;

    /// By base: the module, and the index of the first bit of each of its ports.
    std::vector<NYX_MODULE *> m_modules;
    std::vector<std::vector<std::uint32_t>> m_first_ports;

    // The module that is being filled.
    const NYX_YOSYS_MODULE *m_from = nullptr;
    NYX_MODULE *m_module = nullptr;
    NYX_NETLIST_TRAITS *m_trait = nullptr;
    /// Numbers of bits that are far apart are mapped to slots; else the number is the slot.
    std::unordered_map<std::uint32_t, std::uint32_t> m_slots;
    std::uint32_t m_num_slots = 0;
    struct OWNER {
        std::uint32_t name = s_none; ///< which of the module's names
        std::uint32_t bit = 0;       ///< which bit of that
    };
    std::vector<OWNER> m_owners;
    std::vector<NYX_NET *> m_nets;
    std::array<NYX_NET *, 4> m_constants{};
    /// Names of the file that are like those that are made up here.
    std::unordered_set<std::string_view> m_taken;
    std::vector<NYX_NET *> m_pins;
    std::string m_buffer;
};

template <class T>
bool IMPORTER::set_source(T *object, std::string_view text) {
    std::string file;
    std::string rest;
    unsigned line = 0;
    if (!nyx_split_source(text, file, line, rest))
        return false;
    object->set_src_location(file.c_str(), line);
    if (!rest.empty())
        object->set_value(m_trait->get_source(object), nyx_encode_name(rest));
    return true;
}

template <class T>
void IMPORTER::set_values(T *object, NYX_YOSYS_RANGE range, bool are_attributes) {
    for (std::uint32_t i = range.begin; i < range.begin + range.count; ++i) {
        const NYX_YOSYS_VALUE &value = m_from->values[i];
        const std::string_view name = get(value.name);
        const std::string_view text =
            value.kind == NYX_YOSYS_VALUE::KIND::INTEGER ? std::string_view() : get(value.text);
        if (are_attributes && name == "src" && value.kind == NYX_YOSYS_VALUE::KIND::STRING && set_source(object, text))
            continue;
        const std::string property = are_attributes ? nyx_encode_attribute(name) : nyx_encode_parameter(name);
        switch (value.kind) {
        case NYX_YOSYS_VALUE::KIND::BITS:
            object->set_property(property, nyx_encode_bits(text, m_buffer));
            break;
        case NYX_YOSYS_VALUE::KIND::STRING:
            object->set_property(property, nyx_encode_name(text));
            break;
        case NYX_YOSYS_VALUE::KIND::INTEGER:
            object->set_property(property, static_cast<long long>(value.integer));
            break;
        case NYX_YOSYS_VALUE::KIND::LONG_INTEGER:
            object->set_property(property, nyx_encode_integer(text, m_buffer));
            break;
        case NYX_YOSYS_VALUE::KIND::REAL:
            object->set_property(property, std::stod(std::string(text)));
            break;
        }
    }
}

std::vector<std::string> IMPORTER::run() {
    const std::vector<BASE> &bases = m_plan.get_bases();
    m_first_ports.resize(bases.size());
    for (const BASE &base : bases)
        make_module(base);
    if (m_plan.get_top() != NYX_YOSYS_PLAN::s_none && !bases[m_plan.get_top()].is_black_box) {
        NYX_MODULE *const top = m_modules[m_plan.get_top()];
        m_design->set_top_module(top);
        if (m_plan.is_top_unmarked())
            top->set_value(m_traits[0].m_module_unmarked_top, true);
    }
    for (const NYX_YOSYS_MODULE &module : m_netlist.modules)
        m_num_cells += module.cells.size();
    for (std::uint32_t i = 0; i < m_netlist.modules.size(); ++i) {
        m_module = m_modules[i];
        m_trait = &m_traits[goes_to_library(bases[i])];
        fill_module(m_netlist.modules[i]);
    }
    return std::move(m_warnings);
}

void IMPORTER::make_module(const BASE &base) {
    NYX_DB *const db = goes_to_library(base) ? m_library : m_design;
    NYX_NETLIST_TRAITS &traits = m_traits[goes_to_library(base)];
    std::string name = get_name(base.type);
    // Cells of one undefined type may have ports of different widths, as those of generic cells have.
    for (unsigned variant = 2; db->find_local_module(name.c_str()); ++variant)
        name = get_name(base.type) + ":" + std::to_string(variant);
    std::uint32_t num_ports = 0;
    for (const BASE::PORT &port : base.ports)
        num_ports += std::max(1u, port.width);
    NYX_MODULE *const module = NYX_MODULE::allocate(
        db, name, num_ports, base.is_black_box ? NYX_MODULE::TYPE::ATOM : NYX_MODULE::TYPE::HIERARCHY);
    if (base.is_black_box)
        module->set_atom_type(get_name(base.type));
    if (!base.module)
        module->set_value(traits.m_module_implied, true);
    m_trait = &traits;
    m_modules.push_back(module);
    make_ports(base, module);
}

void IMPORTER::make_ports(const BASE &base, NYX_MODULE *module) {
    std::vector<std::uint32_t> &first_ports = m_first_ports[m_modules.size() - 1];
    std::uint32_t index = 0;
    struct BUS {
        NYX_YOSYS_PORT port;
        std::uint32_t first;
    };
    std::vector<BUS> buses;
    for (std::uint32_t i = 0; i < base.ports.size(); ++i) {
        const BASE::PORT &known = base.ports[i];
        NYX_YOSYS_PORT port;
        if (base.module)
            port = base.module->ports[i];
        port.name = known.name;
        port.direction = known.direction;
        port.bits.count = std::max(1u, known.width);
        first_ports.push_back(index);
        const std::string_view name = get(port.name);
        if (!is_scalar(port))
            buses.push_back({port, index});
        for (std::uint32_t bit = 0; bit < port.bits.count; ++bit) {
            NYX_PORT *const made = NYX_PORT::allocate(
                module, is_scalar(port) ? nyx_encode_name(name) : name_bit(name, get_index(port, bit)), index++);
            if (port.direction == NYX_YOSYS_DIRECTION::INPUT)
                made->set_input();
            else if (port.direction == NYX_YOSYS_DIRECTION::OUTPUT)
                made->set_output();
            else if (port.direction == NYX_YOSYS_DIRECTION::INOUT)
                made->set_bidir();
            if (port.is_signed && is_scalar(port))
                made->set_value(m_trait->m_port_signed, true);
        }
    }
    // Lists of buses begin with the newest.
    for (auto bus = buses.rbegin(); bus != buses.rend(); ++bus) {
        const std::uint32_t last = bus->port.bits.count - 1;
        NYX_PORT_BUS *const made = NYX_PORT_BUS::allocate(module, get_name(bus->port.name), get_index(bus->port, last),
                                                          get_index(bus->port, 0));
        for (std::uint32_t bit = 0; bit <= last; ++bit)
            made->set_port(get_index(bus->port, bit), module->get_port_by_index(bus->first + bit));
        if (bus->port.is_signed)
            made->set_value(m_trait->m_port_bus_signed, true);
        if (bus->port.upto && last == 0)
            made->set_value(m_trait->m_port_bus_upto, true);
    }
}

void IMPORTER::fill_module(const NYX_YOSYS_MODULE &module) {
    m_from = &module;
    set_values(m_module, module.parameters, false);
    set_values(m_module, module.attributes, true);
    if (!module.memories.empty())
        m_module->set_value(m_trait->m_module_memories,
                            NYX_APP_DATA(unsigned(module.memories.size()),
                                         reinterpret_cast<const unsigned char *>(module.memories.data())));
    number_bits();
    claim_bits();
    make_names();
    make_unnamed();
    connect_ports();
    make_cells();
}

void IMPORTER::number_bits() {
    std::uint32_t highest = 0;
    for (const NYX_YOSYS_BIT bit : m_from->bits)
        if (!nyx_is_constant(bit))
            highest = std::max(highest, std::uint32_t(bit));
    m_slots.clear();
    m_num_slots = highest + 1;
    if (highest / 8 > m_from->bits.size() + 1000) {
        m_num_slots = 0;
        for (const NYX_YOSYS_BIT bit : m_from->bits)
            if (!nyx_is_constant(bit) && m_slots.emplace(std::uint32_t(bit), m_num_slots).second)
                ++m_num_slots;
    }
    m_owners.assign(m_num_slots, OWNER());
    m_nets.assign(m_num_slots, nullptr);
    m_constants.fill(nullptr);
    m_taken.clear();
    for (const NYX_YOSYS_NAME &name : m_from->names)
        if (const std::string_view text = get(name.name); text.starts_with("1'b") || text.starts_with("$bit$"))
            m_taken.insert(text);
}

std::string IMPORTER::find_free_name(std::string name) const {
    const std::size_t length = name.size();
    for (unsigned number = 2; m_taken.contains(name); ++number)
        name = name.substr(0, length) + ":" + std::to_string(number);
    return name;
}

std::uint32_t IMPORTER::get_slot(NYX_YOSYS_BIT bit) const {
    return m_slots.empty() ? std::uint32_t(bit) : m_slots.find(std::uint32_t(bit))->second;
}

void IMPORTER::claim_bits() {
    std::vector<std::uint32_t> ports;
    for (const NYX_YOSYS_PORT &port : m_from->ports)
        ports.push_back(port.name);
    std::sort(ports.begin(), ports.end());
    // Ports first, then names that somebody gave, then those that a tool made up.
    const auto get_rank = [&ports](const NYX_YOSYS_NAME &name) {
        return std::binary_search(ports.begin(), ports.end(), name.name) ? 0 : name.hidden ? 2 : 1;
    };
    for (int rank = 0; rank < 3; ++rank)
        for (std::uint32_t i = 0; i < m_from->names.size(); ++i) {
            const NYX_YOSYS_NAME &name = m_from->names[i];
            if (get_rank(name) != rank)
                continue;
            for (std::uint32_t j = 0; j < name.bits.count; ++j) {
                const NYX_YOSYS_BIT bit = m_from->bits[name.bits.begin + j];
                if (nyx_is_constant(bit))
                    continue;
                OWNER &owner = m_owners[get_slot(bit)];
                if (owner.name == s_none)
                    owner = {i, j};
            }
        }
}

void IMPORTER::make_names() {
    // Lists begin with the newest, so that they come out in the order of the file.
    for (auto i = std::uint32_t(m_from->names.size()); i-- > 0;) {
        const NYX_YOSYS_NAME &name = m_from->names[i];
        const NYX_YOSYS_BIT first = is_scalar(name) ? m_from->bits[name.bits.begin] : NYX_YOSYS_BIT::X;
        if (nyx_is_constant(first) || m_owners[get_slot(first)].name != i) {
            make_vector(name, i);
            continue;
        }
        NYX_NET *const net = NYX_NET::allocate(m_module, get_name(name.name));
        m_nets[get_slot(first)] = net;
        set_values(net, name.attributes, true);
        NYX_NETLIST_TRAITS::set_hidden(net, get(name.name), m_trait->m_net_hidden_unlike, name.hidden);
        if (name.is_signed)
            net->set_value(m_trait->m_net_signed, true);
    }
}

void IMPORTER::make_vector(const NYX_YOSYS_NAME &name, std::uint32_t number) {
    // A name of no bits gets a bus of one, as there is none smaller.
    const std::uint32_t last = std::max(1u, name.bits.count) - 1;
    NYX_NET_BUS *const bus =
        NYX_NET_BUS::allocate(m_module, get_name(name.name), get_index(name, last), get_index(name, 0));
    std::uint32_t num_own = 0;
    for (auto bit = name.bits.count; bit-- > 0;) {
        const NYX_YOSYS_BIT number_of_bit = m_from->bits[name.bits.begin + bit];
        if (nyx_is_constant(number_of_bit))
            continue;
        const std::uint32_t slot = get_slot(number_of_bit);
        if (m_owners[slot].name != number || m_owners[slot].bit != bit)
            continue;
        const int index = get_index(name, bit);
        m_nets[slot] = NYX_NET::allocate(m_module, name_bit(get(name.name), index));
        bus->set_net(index, m_nets[slot]);
        ++num_own;
    }
    set_values(bus, name.attributes, true);
    NYX_NETLIST_TRAITS::set_hidden(bus, get(name.name), m_trait->m_net_bus_hidden_unlike, name.hidden);
    if (name.is_signed)
        bus->set_value(m_trait->m_net_bus_signed, true);
    if (name.upto && last == 0)
        bus->set_value(m_trait->m_net_bus_upto, true);
    if (name.bits.count == 0)
        bus->set_value(m_trait->m_net_bus_bits, NYX_BIT_RUN{NYX_BIT_RUN::KIND::CONSTANTS}.to_token());
    else if (num_own != name.bits.count)
        describe_bits(name, number, bus);
}

void IMPORTER::describe_bits(const NYX_YOSYS_NAME &name, std::uint32_t number, NYX_NET_BUS *bus) {
    using RUN = NYX_BIT_RUN;
    if (is_scalar(name))
        bus->set_value(m_trait->m_net_bus_scalar, true);
    std::string text;
    RUN run{RUN::KIND::OWN};
    bool has_run = false;
    int step = 0;
    const auto end_run = [&] {
        if (has_run)
            nyx_append_token(text, run.to_token());
        has_run = false;
    };
    for (std::uint32_t bit = 0; bit < name.bits.count; ++bit) {
        const NYX_YOSYS_BIT value = m_from->bits[name.bits.begin + bit];
        if (nyx_is_constant(value)) {
            if (!has_run || run.kind != RUN::KIND::CONSTANTS) {
                end_run();
                run = {RUN::KIND::CONSTANTS};
            }
            run.name += nyx_digit_of(value);
            has_run = true;
            continue;
        }
        const OWNER owner = m_owners[get_slot(value)];
        if (owner.name == number && owner.bit == bit) {
            if (!has_run || run.kind != RUN::KIND::OWN) {
                end_run();
                run = {RUN::KIND::OWN};
            }
            ++run.count;
            has_run = true;
            continue;
        }
        const NYX_YOSYS_NAME &other = m_from->names[owner.name];
        const std::string other_name = get_name(other.name);
        if (is_scalar(other)) {
            end_run();
            run = {RUN::KIND::NET, other_name};
        } else {
            const int index = get_index(other, owner.bit);
            if (has_run && run.kind == RUN::KIND::BUS && run.name == other_name &&
                (index == run.to + 1 || index == run.to - 1) && (step == 0 || index == run.to + step)) {
                step = index - run.to;
                run.to = index;
                continue;
            }
            end_run();
            run = {RUN::KIND::BUS, other_name, index, index};
            step = 0;
        }
        has_run = true;
    }
    end_run();
    bus->set_value(m_trait->m_net_bus_bits, nyx_encode_name(text));
}

void IMPORTER::make_unnamed() {
    for (const NYX_YOSYS_BIT bit : m_from->bits) {
        if (nyx_is_constant(bit))
            continue;
        NYX_NET *&net = m_nets[get_slot(bit)];
        if (!net) {
            net = NYX_NET::allocate(m_module, find_free_name("$bit$" + std::to_string(std::uint32_t(bit))));
            net->set_value(m_trait->m_net_unnamed, true);
        }
    }
}

NYX_NET *IMPORTER::get_net(NYX_YOSYS_BIT bit) {
    if (!nyx_is_constant(bit))
        return m_nets[get_slot(bit)];
    const char digit = nyx_digit_of(bit);
    NYX_NET *&net = m_constants[std::uint32_t(bit) - std::uint32_t(NYX_YOSYS_BIT::ZERO)];
    if (!net) {
        net = NYX_NET::allocate(m_module, find_free_name(std::string("1'b") + digit));
        if (digit == '0')
            net->set_is_ground(true);
        else if (digit == '1')
            net->set_is_power(true);
        net->set_value(m_trait->m_net_constant, std::string(1, digit));
    }
    return net;
}

void IMPORTER::connect_ports() {
    std::uint32_t index = 0;
    for (const NYX_YOSYS_PORT &port : m_from->ports)
        for (std::uint32_t bit = 0; bit < port.bits.count; ++bit)
            m_module->get_port_by_index(index++)->connect(get_net(m_from->bits[port.bits.begin + bit]));
}

void IMPORTER::make_cells() {
    for (const NYX_YOSYS_CELL &cell : m_from->cells) {
        const NYX_YOSYS_PLAN::USE &use = m_plan.find_use(cell);
        const BASE &base = m_plan.get_bases()[use.base];
        const NYX_YOSYS_SHAPE &shape = m_netlist.shapes[cell.shape];
        NYX_INSTANCE *const instance = NYX_INSTANCE::allocate(m_module, get_name(cell.name), m_modules[use.base]);
        // Inst ports stand in the order of the base's ports, connections in that of the file.
        m_pins.assign(instance->get_num_inst_ports(), nullptr);
        const NYX_YOSYS_BIT *bit = m_from->bits.data() + cell.bits.begin;
        std::uint32_t num_mentioned = 0;
        for (std::size_t i = 0; i < shape.ports.size(); ++i) {
            if (shape.ports[i].width == NYX_YOSYS_SHAPE::s_absent)
                continue;
            ++num_mentioned;
            const std::uint32_t first = m_first_ports[use.base][use.ports[i]];
            for (std::uint32_t j = 0; j < shape.ports[i].width; ++j)
                m_pins[first + j] = get_net(*bit++);
        }
        auto pin = m_pins.begin();
        for (NYX_INST_PORT *const inst_port : instance->iter_inst_ports())
            if (NYX_NET *const net = *pin++)
                inst_port->connect(net);
        if (num_mentioned != base.ports.size())
            omit_ports(cell, base, instance);
        if (!shape.has_directions)
            instance->set_value(m_trait->m_instance_no_directions, true);
        if (!use.directions.empty())
            instance->set_value(m_trait->m_instance_directions, nyx_encode_name(use.directions));
        NYX_NETLIST_TRAITS::set_hidden(instance, get(cell.name), m_trait->m_instance_hidden_unlike, cell.hidden);
        set_values(instance, cell.parameters, false);
        set_values(instance, cell.attributes, true);
        if (m_progress && ++m_cells_done % 256 == 0)
            m_progress(m_cells_done, m_num_cells);
    }
}

void IMPORTER::omit_ports(const NYX_YOSYS_CELL &cell, const BASE &base, NYX_INSTANCE *instance) {
    const NYX_YOSYS_SHAPE &shape = m_netlist.shapes[cell.shape];
    std::string omitted;
    for (const BASE::PORT &port : base.ports)
        if (std::none_of(shape.ports.begin(), shape.ports.end(), [&port](const NYX_YOSYS_SHAPE::PORT &other) {
                return other.name == port.name && other.width != NYX_YOSYS_SHAPE::s_absent;
            }))
            nyx_append_token(omitted, get_name(port.name));
    instance->set_value(m_trait->m_instance_omitted, nyx_encode_name(omitted));
}

} // namespace

std::vector<std::string> nyx_import_yosys(const NYX_YOSYS_NETLIST &netlist, const NYX_YOSYS_PLAN &plan, NYX_DB *design,
                                          NYX_DB *library, const NYX_PROGRESS &progress) {
    return IMPORTER(netlist, plan, design, library, progress).run();
}

unsigned long long nyx_estimate_size(const NYX_YOSYS_NETLIST &netlist) {
    unsigned long long bytes = netlist.strings.get_size() * 256ull;
    for (const NYX_YOSYS_MODULE &module : netlist.modules)
        bytes += module.cells.size() * 512ull + module.bits.size() * 256ull + module.values.size() * 512ull +
                 module.names.size() * 1024ull;
    return std::bit_ceil((bytes >> 20) + 64) * 4;
}
