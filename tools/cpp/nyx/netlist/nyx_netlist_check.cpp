#include "netlist/nyx_netlist_check.h"

#include "database/nyx_db_persistent.h"
#include "hierarchy/nyx_hier_instance_table.h"
#include "netlist/nyx_bus_kind.h"
#include "netlist/nyx_chain.h"
#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_interface_members.h"
#include "netlist/nyx_naming.h"
#include "nyx/nyx_inst_port.h"
#include "nyx/nyx_instance.h"
#include "nyx/nyx_module.h"
#include "nyx_report/nyx_report_exception.h"
#include "traits/nyx_builtin_traits.h"
#include "traits/nyx_byte4_trait_table.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <tuple>
#include <type_traits>
#include <unordered_map>

namespace {

// The rows of one table: which addresses are rows, and which rows some list has led to.
template <class T>
class ROWS {
public:
    using TRAITS = NYX_OBJECT_TRAITS<T>;
    using TABLE = typename TRAITS::table;
    using ROW = typename TRAITS::impl;
    using ID = typename TRAITS::id;

    explicit ROWS(const NYX_DB_PERSISTENT &persistent) : m_table(persistent.table<T>()), m_seen(m_table.iter_limit()) {
        for (std::size_t page = 0; page < m_table.m_primary.get_num_pages(); ++page)
            m_pages.push_back(reinterpret_cast<std::uintptr_t>(m_table.m_primary.get_page(page)));
        std::sort(m_pages.begin(), m_pages.end());
    }

    TABLE &table() const { return m_table; }
    bool has(ID id) const { return id.get() < m_seen.size(); }
    ROW *get(ID id) const { return m_table.get(id); }

    // The identifier of the row at an address, none if there is no row of this table.
    std::optional<ID> find_id(const void *address) const {
        using PAGE = typename std::remove_reference_t<decltype(m_table.m_primary)>::page_type;
        const auto value = reinterpret_cast<std::uintptr_t>(address);
        const auto page = value & ~std::uintptr_t(PAGE::s_alignment - 1);
        if (!std::binary_search(m_pages.begin(), m_pages.end(), page))
            return std::nullopt;
        const std::uintptr_t offset = value - page;
        if (offset < PAGE::s_head_size || (offset - PAGE::s_head_size) % sizeof(ROW) != 0 ||
            (offset - PAGE::s_head_size) / sizeof(ROW) >= PAGE::s_capacity)
            return std::nullopt;
        const ID id = TABLE::get_id(static_cast<const ROW *>(address));
        return has(id) && m_table.get(id) == address ? std::optional(id) : std::nullopt;
    }

    // Marks a row; false if it is marked already.
    bool see(ID id) {
        if (m_seen[id.get()])
            return false;
        m_seen[id.get()] = true;
        ++m_num_seen;
        return true;
    }
    bool is_seen(ID id) const { return m_seen[id.get()]; }
    unsigned num_seen() const { return m_num_seen; }

private:
    TABLE &m_table;
    std::vector<std::uintptr_t> m_pages;
    std::vector<bool> m_seen;
    unsigned m_num_seen = 0;
};

class CHECKER {
public:
    CHECKER(const NYX_DB_PERSISTENT &persistent, std::size_t max_faults)
        : m_names(persistent.names())
        , m_persistent(persistent)
        , m_max_faults(max_faults)
        , m_rows(ROWS<NYX_MODULE>(persistent), ROWS<NYX_PORT>(persistent), ROWS<NYX_NET>(persistent),
                 ROWS<NYX_INSTANCE>(persistent), ROWS<NYX_INST_PORT>(persistent), ROWS<NYX_INST_HEADER>(persistent),
                 ROWS<NYX_PORT_BUS>(persistent), ROWS<NYX_NET_BUS>(persistent), ROWS<NYX_INSTANCE_BUS>(persistent),
                 ROWS<NYX_INTERFACE>(persistent)) {}

    std::vector<std::string> run() {
        for_each_live_module([this](NYX_MODULE_ID id, NYX_MODULE_IMPL *module) { check_module(id, module); });
        for_each_live_module([this](NYX_MODULE_ID id, NYX_MODULE_IMPL *module) { check_contents(id, module); });
        for_each_live_module([this](NYX_MODULE_ID id, NYX_MODULE_IMPL *module) { check_references(id, module); });
        check_headers();
        check_connections();
        check_own_interfaces("port", NYX_TRAIT_OBJ_TYPE::PORT_SPARSE, m_interface_of_port);
        check_own_interfaces("port bus", NYX_TRAIT_OBJ_TYPE::PORT_BUS_SPARSE, m_interface_of_port_bus);
        check_all_seen<NYX_NET>("net");
        check_all_seen<NYX_INSTANCE>("instance");
        check_all_seen<NYX_PORT_BUS>("port bus");
        check_all_seen<NYX_NET_BUS>("net bus");
        check_all_seen<NYX_INSTANCE_BUS>("instance bus");
        check_all_seen<NYX_INTERFACE>("interface");
        return std::move(m_faults);
    }

private:
    template <class T>
    ROWS<T> &rows() {
        return std::get<ROWS<T>>(m_rows);
    }

    template <class... PARTS>
    void fault(PARTS &&...parts) {
        if (m_faults.size() >= m_max_faults)
            return;
        std::string text;
        ((text += to_text(parts)), ...);
        m_faults.push_back(std::move(text));
    }
    static const std::string &to_text(const std::string &part) { return part; }
    static std::string to_text(const char *part) { return part; }
    template <class NUMBER>
    static std::string to_text(NUMBER part) {
        return std::to_string(part);
    }
    template <class T, class U>
    static std::string to_text(NYX_ID<T, U> id) {
        return id == NYX_ID<T, U>::INVALID ? std::string("none") : std::to_string(id.get());
    }

    // How a fault names an object: its class, its name as far as there is one, and its identifier.
    template <class ID>
    std::string label(const char *kind, NYX_NAME_ID name_id, ID id) const {
        std::string name;
        if (name_id == NYX_NAME_ID::INVALID || !m_names.find_name(name_id, name))
            name = "?";
        return std::string(kind) + " '" + name + "' (" + std::to_string(id.get()) + ")";
    }
    std::string label_module(NYX_MODULE_ID id) {
        return label("module", *rows<NYX_MODULE>().table().m_name_id.get(id), id);
    }
    bool check_name(NYX_NAME_ID name_id, const std::string &what) {
        std::string name;
        if (name_id != NYX_NAME_ID::INVALID && m_names.find_name(name_id, name))
            return true;
        fault(what, ": its name ", name_id, " is not a name of this database");
        return false;
    }

    template <class VISIT>
    void for_each_live_module(VISIT &&visit) {
        ROWS<NYX_MODULE> &modules = rows<NYX_MODULE>();
        for (unsigned i = 0; i < modules.table().iter_limit(); ++i) {
            const NYX_MODULE_ID id(i);
            if (*modules.table().m_name_id.get(id) != NYX_NAME_ID::INVALID)
                visit(id, modules.get(id));
        }
    }

    // Claims the rows of a run for its owner; gives the length that may be walked.
    template <class T>
    unsigned claim_run(NYX_ID<T, unsigned> first, unsigned length, const std::string &owner) {
        ROWS<T> &all = rows<T>();
        if (length == 0)
            return 0;
        if (first == NYX_ID<T, unsigned>::INVALID || std::uint64_t(first.get()) + length > all.table().iter_limit()) {
            fault(owner, ": its run of ", length, " rows from ", first, " ends beyond the ", all.table().iter_limit(),
                  " rows of ", NYX_OBJECT_TRAITS<T>::table::s_name);
            return 0;
        }
        for (unsigned i = 0; i < length; ++i) {
            if (!all.see(NYX_ID<T, unsigned>(first.get() + i)))
                fault(owner, ": row ", first.get() + i, " of ", NYX_OBJECT_TRAITS<T>::table::s_name,
                      " is in another run, too");
        }
        return length;
    }

    // Goes along a list from its head as far as it is sound. `visit` gets the identifier and the row of each element.
    template <class T, class OWNER_IMPL, class VISIT>
    void check_chain(OWNER_IMPL *owner, const std::string &owner_label, const char *list, std::vector<bool> *seen,
                     VISIT &&visit) {
        using CHAIN = NYX_CHAIN<T, OWNER_IMPL>;
        using ID = typename NYX_OBJECT_TRAITS<T>::id;
        ROWS<T> &all = rows<T>();
        ID previous;
        for (ID id = nyx_chain_head<T>(owner); id != ID::INVALID;) {
            if (!all.has(id)) {
                fault(owner_label, ": its list of ", list, " leads from ", previous, " to ", id,
                      ", which is no row of ", NYX_OBJECT_TRAITS<T>::table::s_name);
                return;
            }
            const bool fresh = seen != nullptr ? !(*seen)[id.get()] : all.see(id);
            if (!fresh) {
                fault(owner_label, ": its list of ", list, " leads from ", previous, " to ", id,
                      ", which is in a list already");
                return;
            }
            if (seen != nullptr)
                (*seen)[id.get()] = true;
            auto *const row = all.get(id);
            if (CHAIN::prev(all.table(), *row, id) != previous)
                fault(owner_label, ": in its list of ", list, " the one before ", id, " is ", previous, ", but ", id,
                      " refers to ", CHAIN::prev(all.table(), *row, id));
            visit(id, row);
            previous = id;
            id = CHAIN::next(all.table(), *row, id);
        }
        if constexpr (requires { CHAIN::s_tail; }) {
            const ID tail = nyx_cell(CHAIN::s_tail, owner);
            if (tail != previous)
                fault(owner_label, ": its list of ", list, " ends at ", previous, ", but the end is said to be ", tail);
        }
    }

    void check_module(NYX_MODULE_ID id, NYX_MODULE_IMPL *module) {
        const NYX_MODULE_TABLE &table = rows<NYX_MODULE>().table();
        const std::string label = label_module(id);
        const NYX_NAME_ID name_id = *table.m_name_id.get(id);
        std::string name;
        if (check_name(name_id, label) && m_names.find_name(name_id, name) &&
            m_persistent.find_module(name.c_str()) != module)
            fault(label, ": the index of modules does not lead to it");
        if ((module->m_type_bits & 3) == 3)
            fault(label, ": it is both an sgate and an atom");
        rows<NYX_MODULE>().see(id);
        const unsigned num_ports = claim_run<NYX_PORT>(module->m_first_port, module->m_num_ports, label);
        for (unsigned i = 0; i < num_ports; ++i)
            check_port(module, label, NYX_PORT_ID(module->m_first_port.get() + i));
    }

    void check_port(NYX_MODULE_IMPL *module, const std::string &module_label, NYX_PORT_ID id) {
        ROWS<NYX_PORT> &ports = rows<NYX_PORT>();
        const NYX_PORT_IMPL *const port = ports.get(id);
        const std::string port_label = module_label + ": " + label("port", port->m_name_id, id);
        if (port->m_parent_ptr == nullptr) {
            if (port->m_net_ptr != nullptr)
                fault(port_label, ": it is deleted, but on a net");
            return;
        }
        if (port->m_parent_ptr.get() != module)
            fault(port_label, ": it is in the run of this module, but belongs to another one");
        check_name(port->m_name_id, port_label);
        check_bus_link<NYX_PORT_BUS>(*ports.table().m_bus_ptr.get(id), id, port_label);
        if (port->m_net_ptr != nullptr) {
            if (rows<NYX_NET>().find_id(port->m_net_ptr.get()))
                ++m_num_port_links;
            else
                fault(port_label, ": it refers to a net that does not exist");
        }
    }

    // A member's link to its bus, and the bus's link back. The array is only as long as the bus says; whether its block
    // holds that much is a matter of the segment.
    template <class BUS, class POINTER, class ID>
    void check_bus_link(const POINTER &bus_ptr, ID member, const std::string &member_label) {
        if (bus_ptr == nullptr)
            return;
        ROWS<BUS> &buses = rows<BUS>();
        const auto bus_id = buses.find_id(bus_ptr.get());
        if (!bus_id) {
            fault(member_label, ": it refers to a bus that does not exist");
            return;
        }
        m_members[reinterpret_cast<std::uintptr_t>(bus_ptr.get())].push_back(member.get());
    }

    void check_contents(NYX_MODULE_ID id, NYX_MODULE_IMPL *module) {
        const std::string label = label_module(id);
        check_chain<NYX_INSTANCE>(module, label, "instances", nullptr,
                                  [&](NYX_INSTANCE_ID instance_id, NYX_INSTANCE_IMPL *instance) {
                                      check_instance(module, label, instance_id, instance);
                                  });
        check_chain<NYX_NET>(module, label, "nets", nullptr,
                             [&](NYX_NET_ID net_id, NYX_NET_IMPL *net) { check_net(module, label, net_id, net); });
        check_buses<NYX_PORT_BUS>(module, label, "port bus", "port buses");
        check_buses<NYX_NET_BUS>(module, label, "net bus", "net buses");
        check_buses<NYX_INSTANCE_BUS>(module, label, "instance bus", "instance buses");
        check_chain<NYX_INTERFACE>(
            module, label, "interfaces", nullptr, [&](NYX_INTERFACE_ID interface_id, NYX_INTERFACE_IMPL *interface) {
                const std::string what =
                    label + ": " +
                    this->label("interface", *rows<NYX_INTERFACE>().table().m_name_id.get(interface_id), interface_id);
                check_name(*rows<NYX_INTERFACE>().table().m_name_id.get(interface_id), what);
                if (interface->m_parent_ptr.get() != module)
                    fault(what, ": it belongs to another module");
                check_interface_members<NYX_PORT>(module, what, "port", interface_id, interface, m_interface_of_port);
                check_interface_members<NYX_PORT_BUS>(module, what, "port bus", interface_id, interface,
                                                      m_interface_of_port_bus);
            });
    }

    using INTERFACE_OF = std::unordered_map<unsigned, NYX_INTERFACE_ID>; // by the number of a member

    // Port buses of the module have been walked before.
    template <class T>
    void check_interface_members(const NYX_MODULE_IMPL *module, const std::string &what, const char *kind,
                                 NYX_INTERFACE_ID id, const NYX_INTERFACE_IMPL *interface, INTERFACE_OF &all) {
        const NYX_INTERFACE_MEMBERS<T> *const members = nyx_interface_members<T>(interface);
        if (members == nullptr)
            return;
        for (const NYX_OFFSET_PTR<T> &member : *members) {
            const auto member_id = rows<T>().find_id(member.get());
            if (!member_id)
                fault(what, ": a ", kind, " in its list does not exist");
            else if (!all.try_emplace(member_id->get(), id).second)
                fault(what, ": ", kind, " ", *member_id, " is in a list of an interface twice");
            else if (!is_of_module(rows<T>().get(*member_id), module))
                fault(what, ": ", kind, " ", *member_id, " is in its list, but not one of the module");
        }
    }
    bool is_of_module(const NYX_PORT_IMPL *port, const NYX_MODULE_IMPL *module) {
        return port->m_parent_ptr.get() == module;
    }
    bool is_of_module(const NYX_PORT_BUS_IMPL *bus, const NYX_MODULE_IMPL *module) {
        const auto found = m_module_of_port_bus.find(bus);
        return found != m_module_of_port_bus.end() && found->second == module;
    }

    // What ports or port buses say of their own interface, against the lists of the interfaces.
    void check_own_interfaces(const char *kind, NYX_TRAIT_OBJ_TYPE type, INTERFACE_OF &listed) {
        if (const NYX_BYTE4_TRAIT *const trait =
                m_persistent.find_byte4_trait(std::string("interface_id") + NYX_INTERNAL_SUFFIX, type)) {
            trait->get_impl()->m_trait_lookup_ptr->map(type).for_each([&](unsigned member, int interface) {
                const auto found = listed.find(member);
                if (found == listed.end() || found->second.get() != static_cast<unsigned>(interface))
                    fault(kind, " ", member, " says that it is in interface ", static_cast<unsigned>(interface),
                          ", which does not list it");
                else
                    listed.erase(found);
            });
        }
        for (const auto &[member, interface] : listed)
            fault(kind, " ", member, " is in the list of interface ", interface, ", but does not say so");
    }

    void check_instance(NYX_MODULE_IMPL *module, const std::string &module_label, NYX_INSTANCE_ID id,
                        NYX_INSTANCE_IMPL *instance) {
        const NYX_INSTANCE_TABLE &table = rows<NYX_INSTANCE>().table();
        const std::string what = module_label + ": " + label("instance", instance->m_name_id, id);
        check_name(instance->m_name_id, what);
        if (instance->m_parent_ptr.get() != module)
            fault(what, ": it is in the list of this module, but belongs to another one");
        check_bus_link<NYX_INSTANCE_BUS>(*table.m_bus_ptr.get(id), id, what);
        std::optional<unsigned> base_num_ports;
        const NYX_MODULE_IMPL *base = nullptr;
        if ((instance->m_module_ptr == nullptr) == (instance->m_inst_header_ptr == nullptr)) {
            fault(what, ": it has ", instance->m_module_ptr == nullptr ? "neither" : "both",
                  " a base module and a header");
        } else if (instance->m_module_ptr != nullptr) {
            base = instance->m_module_ptr.get();
            if (const auto base_id = rows<NYX_MODULE>().find_id(base);
                base_id && rows<NYX_MODULE>().is_seen(*base_id)) {
                base_num_ports = base->m_num_ports;
                ++m_module_uses[base_id->get()];
            } else {
                base = nullptr;
                fault(what, ": its base module does not exist");
            }
        } else if (const auto header_id = rows<NYX_INST_HEADER>().find_id(instance->m_inst_header_ptr.get())) {
            base_num_ports = instance->m_inst_header_ptr->m_num_ports;
            ++m_header_uses[header_id->get()];
        } else {
            fault(what, ": its header does not exist");
        }
        const unsigned num_inst_ports = *table.m_num_inst_ports.get(id);
        if (base_num_ports && *base_num_ports != num_inst_ports)
            fault(what, ": it has ", num_inst_ports, " inst ports and its base module ", *base_num_ports, " ports");
        const NYX_INST_PORT_ID first = *table.m_first_inst_port.get(id);
        const unsigned length = claim_run<NYX_INST_PORT>(first, num_inst_ports, what);
        for (unsigned i = 0; i < length; ++i)
            check_inst_port(instance, what, NYX_INST_PORT_ID(first.get() + i), base, i);
    }

    void check_inst_port(NYX_INSTANCE_IMPL *instance, const std::string &instance_label, NYX_INST_PORT_ID id,
                         const NYX_MODULE_IMPL *base, unsigned index) {
        const NYX_INST_PORT_IMPL *const inst_port = rows<NYX_INST_PORT>().get(id);
        if (inst_port->m_inst_ptr == nullptr) {
            if (inst_port->m_net_ptr != nullptr)
                fault(instance_label, ": inst port ", index, " is deleted, but on a net");
            return;
        }
        if (inst_port->m_inst_ptr.get() != instance)
            fault(instance_label, ": inst port ", index, " belongs to another instance");
        if (base != nullptr && index < base->m_num_ports) {
            const NYX_PORT_ID port(base->m_first_port.get() + index);
            if (rows<NYX_PORT>().has(port) && rows<NYX_PORT>().get(port)->m_parent_ptr == nullptr)
                fault(instance_label, ": inst port ", index, " stands for a port that is deleted");
        }
        if (inst_port->m_net_ptr == nullptr)
            return;
        if (rows<NYX_NET>().find_id(inst_port->m_net_ptr.get()))
            ++m_num_inst_port_links;
        else
            fault(instance_label, ": inst port ", index, " refers to a net that does not exist");
    }

    void check_net(NYX_MODULE_IMPL *module, const std::string &module_label, NYX_NET_ID id, NYX_NET_IMPL *net) {
        const std::string what = module_label + ": " + label("net", net->m_name_id, id);
        check_name(net->m_name_id, what);
        if ((net->m_bits & 3) == 3)
            fault(what, ": it is both power and ground");
        check_bus_link<NYX_NET_BUS>(*rows<NYX_NET>().table().m_bus_ptr.get(id), id, what);
        if (*rows<NYX_NET>().table().m_bus_ptr.get(id) != nullptr)
            m_module_of_bus_net[id.get()] = module;
        check_chain<NYX_PORT>(net, what, "ports", &m_ports_on_nets, [&](NYX_PORT_ID port_id, NYX_PORT_IMPL *port) {
            if (port->m_net_ptr.get() != net)
                fault(what, ": port ", port_id, " is in its list, but on another net");
            if (port->m_parent_ptr.get() != module)
                fault(what, ": port ", port_id, " is in its list, but not a port of the module");
            ++m_num_ports_on_nets;
        });
        check_chain<NYX_INST_PORT>(net, what, "inst ports", &m_inst_ports_on_nets,
                                   [&](NYX_INST_PORT_ID port_id, NYX_INST_PORT_IMPL *inst_port) {
                                       if (inst_port->m_net_ptr.get() != net)
                                           fault(what, ": inst port ", port_id, " is in its list, but on another net");
                                       const void *const instance = inst_port->m_inst_ptr.get();
                                       if (!rows<NYX_INSTANCE>().find_id(instance))
                                           fault(what, ": inst port ", port_id, " is in its list, but of no instance");
                                       else if (inst_port->m_inst_ptr->m_parent_ptr.get() != module)
                                           fault(what, ": inst port ", port_id,
                                                 " is in its list, but of an instance in another module");
                                       ++m_num_inst_ports_on_nets;
                                   });
    }

    template <class BUS>
    void check_buses(NYX_MODULE_IMPL *module, const std::string &module_label, const char *kind, const char *list) {
        check_chain<BUS>(module, module_label, list, nullptr, [&](auto id, auto *bus) {
            const std::string what = module_label + ": " + label(kind, bus->m_name_id, id);
            check_name(bus->m_name_id, what);
            const long long size = bus->get_size();
            std::vector<unsigned> members;
            for (long long position = 0; bus->m_members_ptr != nullptr && position < size; ++position) {
                const auto member = bus->m_members_ptr[position];
                if (member != decltype(member)::INVALID)
                    members.push_back(member.get());
            }
            if constexpr (std::is_same_v<BUS, NYX_PORT_BUS>)
                m_module_of_port_bus[bus] = module;
            // Those that say that they are in it, from their own links; nets and ports have been walked before.
            std::vector<unsigned> &said = m_members[reinterpret_cast<std::uintptr_t>(bus)];
            std::sort(members.begin(), members.end());
            std::sort(said.begin(), said.end());
            if (members != said)
                fault(what, ": it lists ", members.size(), " members, and ", said.size(),
                      " objects say that they are in it, which are not the same");
            for (const unsigned member : said)
                check_bus_member(module, what, typename MEMBERS_OF<BUS>::ID(member));
        });
    }
    template <class BUS>
    struct MEMBERS_OF {
        using ID = typename NYX_OBJECT_TRAITS<typename NYX_BUS_KIND<BUS>::MEMBER>::id;
    };

    // Of members that have been walked, so that they are rows; of nets the lists of modules tell.
    void check_bus_member(const NYX_MODULE_IMPL *module, const std::string &what, NYX_PORT_ID id) {
        if (rows<NYX_PORT>().get(id)->m_parent_ptr.get() != module)
            fault(what, ": port ", id, " is in it, but not one of the module");
    }
    void check_bus_member(const NYX_MODULE_IMPL *module, const std::string &what, NYX_INSTANCE_ID id) {
        if (rows<NYX_INSTANCE>().get(id)->m_parent_ptr.get() != module)
            fault(what, ": instance ", id, " is in it, but not one of the module");
    }
    void check_bus_member(const NYX_MODULE_IMPL *module, const std::string &what, NYX_NET_ID id) {
        const auto found = m_module_of_bus_net.find(id.get());
        if (found == m_module_of_bus_net.end() || found->second != module)
            fault(what, ": net ", id, " is in it, but not one of the module");
    }

    void check_references(NYX_MODULE_ID id, NYX_MODULE_IMPL *module) {
        const unsigned count = nyx_cell(&NYX_MODULE_TABLE::m_reference_count, module);
        const auto uses = m_module_uses.find(id.get());
        const unsigned expected = uses == m_module_uses.end() ? 0 : uses->second;
        // Relative objects count as well.
        if (count < expected)
            fault(label_module(id), ": its reference count is ", count, ", but ", expected, " instances use it");
    }

    void check_headers() {
        ROWS<NYX_INST_HEADER> &headers = rows<NYX_INST_HEADER>();
        for (unsigned i = 0; i < headers.table().iter_limit(); ++i) {
            const NYX_INST_HEADER_ID id(i);
            const NYX_INST_HEADER_IMPL *const header = headers.get(id);
            const auto found = m_header_uses.find(i);
            const unsigned uses = found == m_header_uses.end() ? 0 : found->second;
            if (header->m_module_name_id == NYX_NAME_ID::INVALID) {
                if (uses != 0)
                    fault("inst header ", i, ": it is deleted, but ", uses, " instances use it");
                continue;
            }
            const std::string what = label("inst header of module", header->m_module_name_id, id);
            check_name(header->m_module_name_id, what);
            check_name(header->m_db_name_id, what);
            if (header->m_reference_count < uses)
                fault(what, ": its reference count is ", header->m_reference_count, ", but ", uses,
                      " instances use it");
        }
    }

    void check_connections() {
        if (m_num_port_links != m_num_ports_on_nets)
            fault(m_num_port_links, " ports say that they are on a net, and ", m_num_ports_on_nets,
                  " are in the lists of nets");
        if (m_num_inst_port_links != m_num_inst_ports_on_nets)
            fault(m_num_inst_port_links, " inst ports say that they are on a net, and ", m_num_inst_ports_on_nets,
                  " are in the lists of nets");
    }

    template <class T>
    void check_all_seen(const char *kind) {
        if (rows<T>().num_seen() != rows<T>().table().num_allocated())
            fault("the database has ", rows<T>().table().num_allocated(), " rows of class ", kind, ", and ",
                  rows<T>().num_seen(), " are in the lists of modules");
    }

    const NYX_NAME_MANAGER &m_names;
    const NYX_DB_PERSISTENT &m_persistent;
    std::size_t m_max_faults;
    std::vector<std::string> m_faults;
    std::tuple<ROWS<NYX_MODULE>, ROWS<NYX_PORT>, ROWS<NYX_NET>, ROWS<NYX_INSTANCE>, ROWS<NYX_INST_PORT>,
               ROWS<NYX_INST_HEADER>, ROWS<NYX_PORT_BUS>, ROWS<NYX_NET_BUS>, ROWS<NYX_INSTANCE_BUS>,
               ROWS<NYX_INTERFACE>>
        m_rows;
    std::vector<bool> m_ports_on_nets = std::vector<bool>(rows<NYX_PORT>().table().iter_limit());
    std::vector<bool> m_inst_ports_on_nets = std::vector<bool>(rows<NYX_INST_PORT>().table().iter_limit());
    std::unordered_map<unsigned, unsigned> m_module_uses;
    std::unordered_map<unsigned, unsigned> m_header_uses;
    std::unordered_map<std::uintptr_t, std::vector<unsigned>> m_members;       // by bus: who refers to it
    std::unordered_map<unsigned, const NYX_MODULE_IMPL *> m_module_of_bus_net; // whose list a net in a bus is in
    std::unordered_map<const NYX_PORT_BUS_IMPL *, const NYX_MODULE_IMPL *> m_module_of_port_bus;
    INTERFACE_OF m_interface_of_port; // by the lists of the interfaces
    INTERFACE_OF m_interface_of_port_bus;
    std::size_t m_num_port_links = 0;
    std::size_t m_num_ports_on_nets = 0;
    std::size_t m_num_inst_port_links = 0;
    std::size_t m_num_inst_ports_on_nets = 0;
};

} // namespace

std::vector<std::string> nyx_check_base_modules(const NYX_DB_PERSISTENT &persistent, std::size_t max_faults) {
    std::vector<std::string> faults;
    NYX_INSTANCE_TABLE &instances = persistent.table<NYX_INSTANCE>();
    NYX_INST_PORT_TABLE &inst_ports = persistent.table<NYX_INST_PORT>();
    for (unsigned i = 0; i < instances.iter_limit(); ++i) {
        const NYX_INSTANCE_ID id(i);
        const NYX_INSTANCE_IMPL *const instance = instances.get(id);
        // Free rows have no parent, and those of this database have been looked at.
        if (instance->m_parent_ptr == nullptr || instance->m_inst_header_ptr == nullptr)
            continue;
        const NYX_MODULE *module = nullptr;
        try {
            module = instance->get_module();
        } catch (const NYX_RUNTIME_ERROR &) {
            continue; // its database is not open
        }
        const NYX_INST_PORT_ID first = *instances.m_first_inst_port.get(id);
        const unsigned num_inst_ports = std::min(*instances.m_num_inst_ports.get(id), module->get_num_ports());
        for (unsigned index = 0; index < num_inst_ports; ++index) {
            if (faults.size() == max_faults)
                return faults;
            if (inst_ports.get(NYX_INST_PORT_ID(first.get() + index))->is_valid() &&
                module->get_port_by_index(index) == nullptr)
                faults.push_back("module '" + instance->get_parent()->get_name() + "': instance '" +
                                 instance->get_name() + "' (" + std::to_string(i) + "): inst port " +
                                 std::to_string(index) + " stands for a port that module '" + module->get_name() +
                                 "' of database '" + module->get_db()->get_name() +
                                 "' has lost; update_num_ports() of that module takes it away");
        }
    }
    return faults;
}

std::vector<std::string> nyx_check_netlist(const NYX_DB_PERSISTENT &persistent, std::size_t max_faults) {
    return CHECKER(persistent, max_faults).run();
}
