#ifndef BUS_TEST_SUPPORT_H
#define BUS_TEST_SUPPORT_H

#include "netlist/netlist_test_support.h"

/// What the tests of the three classes of buses share: each class behind the same names.
namespace bus_test {

using namespace netlist_test;
using DIMENSIONS = std::vector<NYX_BUS_DIMENSION>;

struct PORTS {
    using BUS = NYX_PORT_BUS;
    using MEMBER = NYX_PORT;
    static constexpr const char *s_member = "port";
    static constexpr const char *s_prefix = "PORT_BUS:";
    static constexpr const char *s_empty_name = "Port Bus must have non-empty name";
    static constexpr const char *s_lost = "Bus 'a' is empty and can't find its parent";
    static constexpr const char *s_unnamed = "Port bus name cannot be empty";
    static constexpr const char *s_table = "NYX_PORT_BUS_TABLE";

    static MEMBER *make(NYX_MODULE *module, const std::string &name) {
        unsigned index = 0;
        while (module->get_port_by_index(index) != nullptr)
            ++index;
        return NYX_PORT::allocate(module, name, index);
    }
    static MEMBER *get(const BUS *bus, const std::vector<int> &index) { return bus->get_port(index); }
    static std::vector<MEMBER *> get_all(const BUS *bus, const DIMENSIONS &parts) { return bus->get_ports(parts); }
    static std::vector<MEMBER *> get_all(const BUS *bus, const std::string &query) { return bus->get_ports(query); }
    static void set(BUS *bus, int index, MEMBER *member) { bus->set_port(index, member); }
    static void set(BUS *bus, const std::vector<int> &index, MEMBER *member) { bus->set_port(index, member); }
    static int remove(BUS *bus, MEMBER *member) { return bus->remove_port(member); }
    static auto iter(BUS *bus) { return bus->iter_ports(); }
    static auto const_iter(const BUS *bus) { return bus->const_iter_ports(); }
    static auto buses(NYX_MODULE *module) { return module->iter_port_buses(); }
    static BUS *find(NYX_MODULE *module, const char *name) { return module->find_port_bus(name); }
};

struct NETS {
    using BUS = NYX_NET_BUS;
    using MEMBER = NYX_NET;
    static constexpr const char *s_member = "net";
    static constexpr const char *s_prefix = "NET_BUS:";
    static constexpr const char *s_empty_name = "Net bus must have non-empty name";
    static constexpr const char *s_lost = "Net bus 'a' is empty and can't find its parent";
    static constexpr const char *s_unnamed = "Net bus name cannot be empty";
    static constexpr const char *s_table = "NYX_NET_BUS_TABLE";

    static MEMBER *make(NYX_MODULE *module, const std::string &name) { return NYX_NET::allocate(module, name); }
    static MEMBER *get(const BUS *bus, const std::vector<int> &index) { return bus->get_net(index); }
    static std::vector<MEMBER *> get_all(const BUS *bus, const DIMENSIONS &parts) { return bus->get_nets(parts); }
    static std::vector<MEMBER *> get_all(const BUS *bus, const std::string &query) { return bus->get_nets(query); }
    static void set(BUS *bus, int index, MEMBER *member) { bus->set_net(index, member); }
    static void set(BUS *bus, const std::vector<int> &index, MEMBER *member) { bus->set_net(index, member); }
    static int remove(BUS *bus, MEMBER *member) { return bus->remove_net(member); }
    static auto iter(BUS *bus) { return bus->iter_nets(); }
    static auto const_iter(const BUS *bus) { return bus->const_iter_nets(); }
    static auto buses(NYX_MODULE *module) { return module->iter_net_buses(); }
    static BUS *find(NYX_MODULE *module, const char *name) { return module->find_net_bus(name); }
};

struct INSTANCES {
    using BUS = NYX_INSTANCE_BUS;
    using MEMBER = NYX_INSTANCE;
    static constexpr const char *s_member = "instance";
    static constexpr const char *s_prefix = "INSTANCE_BUS:";
    static constexpr const char *s_empty_name = "bus must have non-empty name";
    static constexpr const char *s_lost = "bus 'a' is empty and can't find its parent";
    static constexpr const char *s_unnamed = "Instance bus name cannot be empty";
    static constexpr const char *s_table = "NYX_INSTANCE_BUS_TABLE";

    static MEMBER *make(NYX_MODULE *module, const std::string &name) {
        NYX_MODULE *leaf = module->get_db()->find_local_module("leaf");
        if (leaf == nullptr)
            leaf = make_module(module->get_db(), "leaf", {}, NYX_MODULE::TYPE::ATOM);
        return NYX_INSTANCE::allocate(module, name, leaf);
    }
    static MEMBER *get(const BUS *bus, const std::vector<int> &index) { return bus->get_instance(index); }
    static std::vector<MEMBER *> get_all(const BUS *bus, const DIMENSIONS &parts) { return bus->get_instances(parts); }
    static std::vector<MEMBER *> get_all(const BUS *bus, const std::string &query) { return bus->get_instances(query); }
    static void set(BUS *bus, int index, MEMBER *member) { bus->set_instance(index, member); }
    static void set(BUS *bus, const std::vector<int> &index, MEMBER *member) { bus->set_instance(index, member); }
    static int remove(BUS *bus, MEMBER *member) { return bus->remove_instance(member); }
    static auto iter(BUS *bus) { return bus->iter_instances(); }
    static auto const_iter(const BUS *bus) { return bus->const_iter_instances(); }
    static auto buses(NYX_MODULE *module) { return module->iter_instance_buses(); }
    static BUS *find(NYX_MODULE *module, const char *name) { return module->find_instance_bus(name); }
};

using KINDS = testing::Types<PORTS, NETS, INSTANCES>;

/// A module "m" with room for sixteen ports.
template <class KIND>
class BUS_TEST : public DESIGN {
protected:
    using BUS = typename KIND::BUS;
    using MEMBER = typename KIND::MEMBER;
    using MEMBERS = std::vector<MEMBER *>;

    MEMBER *make(const std::string &name) { return KIND::make(module, name); }

    /// A bus whose member at each index is named by it.
    BUS *make_full(const std::string &name, int left, int right) {
        BUS *const bus = BUS::allocate(module, name, left, right);
        const int step = left <= right ? 1 : -1;
        for (int index = left;; index += step) {
            KIND::set(bus, index, make(name + std::to_string(index)));
            if (index == right)
                return bus;
        }
    }

    /// The names of a query's members, "-" for null.
    static STRINGS query(const BUS *bus, const std::string &text) { return names_of(KIND::get_all(bus, text)); }

    NYX_MODULE *module = make_module(db, "m", STRINGS(16));
};

/// What a statement raises: the text without its place, and the function that it names.
#define EXPECT_RAISED(statement, EXCEPTION, text, function)                                                            \
    EXPECT_EQ(raised<EXCEPTION>([&] { statement; }), (std::pair<std::string, std::string>((text), (function))))

} // namespace bus_test

#endif
