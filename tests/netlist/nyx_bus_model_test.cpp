// Port buses and interfaces against a plain model, while ports come, go and move.
#include "bus_test_support.h"

#include <map>
#include <optional>
#include <random>

using namespace bus_test;

namespace {

/// What a module's ports, buses and interfaces should be, by names.
class BUS_MODEL {
public:
    BUS_MODEL(NYX_DB *db, unsigned seed) : m_random(seed), m_module(make_module(db, "model", STRINGS(8))) {}

    void step() {
        switch (pick(12)) {
        case 0:
        case 1:
        case 2:
            add_port();
            break;
        case 3:
            remove_port();
            break;
        case 4:
            add_bus();
            break;
        case 5:
            remove_bus();
            break;
        case 6:
        case 7:
            set_port();
            break;
        case 8:
            change_range();
            break;
        case 9:
            add_or_remove_interface();
            break;
        case 10:
            change_interface_member();
            break;
        default:
            move_ports();
        }
    }

    void check() const {
        for (const auto &[name, bus] : m_buses) {
            NYX_PORT_BUS *const real = m_module->find_port_bus(name.c_str());
            ASSERT_NE(real, nullptr) << name;
            STRINGS expected;
            const int step = bus.left <= bus.right ? 1 : -1;
            for (int index = bus.left; index != bus.right + step; index += step) {
                const auto member = bus.members.find(index);
                expected.push_back(member != bus.members.end() ? member->second : "-");
            }
            EXPECT_EQ(names_of(real->iter_ports()), expected) << name;
            expect_interface(real->get_interface(), bus.interface);
        }
        for (const auto &[name, port] : m_ports) {
            const NYX_PORT *const real = m_module->find_port(name.c_str());
            ASSERT_NE(real, nullptr) << name;
            ASSERT_EQ(real->get_bus() != nullptr, port.bus.has_value()) << name;
            if (port.bus) {
                EXPECT_EQ(real->get_bus()->get_name(), *port.bus);
            }
            expect_interface(real->get_interface(), port.bus ? m_buses.at(*port.bus).interface : port.interface);
        }
        for (const auto &[name, members] : m_interfaces) {
            NYX_INTERFACE *const real = m_module->find_interface(name.c_str());
            ASSERT_NE(real, nullptr) << name;
            EXPECT_EQ(names_of(real->iter_ports()), members.ports) << name;
            EXPECT_EQ(names_of(real->iter_port_buses()), members.buses) << name;
        }
    }

private:
    struct PORT {
        std::optional<std::string> bus;
        std::string interface; // its own; empty for none
    };
    struct BUS {
        int left = 0;
        int right = 0;
        std::map<int, std::string> members;
        std::string interface;
    };
    struct MEMBERS {
        STRINGS ports;
        STRINGS buses;
    };

    unsigned pick(std::size_t count) { return static_cast<unsigned>(m_random() % count); }
    std::string new_name(const char *stem) { return stem + std::to_string(m_next_name++); }
    template <class MAP>
    auto any(MAP &map) {
        return std::next(map.begin(), pick(map.size()));
    }
    static void erase(STRINGS &names, const std::string &name) {
        names.erase(std::find(names.begin(), names.end(), name));
    }
    static void expect_interface(const NYX_INTERFACE *interface, const std::string &expected) {
        EXPECT_EQ(interface != nullptr ? interface->get_name() : "", expected);
    }
    NYX_PORT *real_port(const std::string &name) const { return m_module->find_port(name.c_str()); }
    NYX_PORT_BUS *real_bus(const std::string &name) const { return m_module->find_port_bus(name.c_str()); }

    void add_port() {
        for (unsigned index = 0; index < m_module->get_num_ports(); ++index) {
            if (m_module->get_port_by_index(index) == nullptr) {
                const std::string name = new_name("p");
                NYX_PORT::allocate(m_module, name, index);
                m_ports[name];
                return;
            }
        }
        m_module->increase_num_ports(1 + pick(150));
    }

    void leave_bus(const std::string &name) {
        PORT &port = m_ports.at(name);
        if (!port.bus)
            return;
        auto &members = m_buses.at(*port.bus).members;
        for (auto at = members.begin(); at != members.end(); ++at) {
            if (at->second == name) {
                members.erase(at);
                break;
            }
        }
        port.bus.reset();
    }

    void remove_port() {
        if (m_ports.empty())
            return;
        const std::string name = any(m_ports)->first;
        leave_bus(name);
        if (const std::string &interface = m_ports.at(name).interface; !interface.empty())
            erase(m_interfaces.at(interface).ports, name);
        m_ports.erase(name);
        real_port(name)->deallocate();
    }

    void add_bus() {
        BUS bus;
        bus.left = static_cast<int>(pick(20)) - 10;
        bus.right = static_cast<int>(pick(20)) - 10;
        const std::string name = new_name("b");
        NYX_PORT_BUS::allocate(m_module, name, bus.left, bus.right);
        m_buses[name] = bus;
    }

    void remove_bus() {
        if (m_buses.empty())
            return;
        const auto at = any(m_buses);
        real_bus(at->first)->deallocate();
        for (const auto &[index, port] : at->second.members)
            m_ports.at(port).bus.reset();
        if (!at->second.interface.empty())
            erase(m_interfaces.at(at->second.interface).buses, at->first);
        m_buses.erase(at);
    }

    void set_port() {
        if (m_buses.empty() || m_ports.empty())
            return;
        auto &[bus_name, bus] = *any(m_buses);
        auto &[port_name, port] = *any(m_ports);
        const auto [low, high] = std::minmax(bus.left, bus.right);
        const int index = low + static_cast<int>(pick(static_cast<std::size_t>(high - low + 1)));
        NYX_PORT_BUS *const real = real_bus(bus_name);
        if (port.bus) {
            real_bus(*port.bus)->remove_port(real_port(port_name));
            leave_bus(port_name);
        } else if (const auto member = bus.members.find(index); member != bus.members.end()) {
            real->set_port(index, nullptr);
            m_ports.at(member->second).bus.reset();
            bus.members.erase(member);
        } else {
            real->set_port(index, real_port(port_name));
            bus.members[index] = port_name;
            port.bus = bus_name;
        }
    }

    void change_range() {
        if (m_buses.empty())
            return;
        auto &[name, bus] = *any(m_buses);
        int left = static_cast<int>(pick(20)) - 10;
        int right = static_cast<int>(pick(20)) - 10;
        if ((left >= right) != (bus.left >= bus.right))
            std::swap(left, right);
        if ((left >= right) != (bus.left >= bus.right))
            return; // of a single index
        real_bus(name)->set_indices(left, right);
        bus.left = left;
        bus.right = right;
        const auto [low, high] = std::minmax(left, right);
        for (auto at = bus.members.begin(); at != bus.members.end();) {
            if (at->first >= low && at->first <= high) {
                ++at;
            } else {
                m_ports.at(at->second).bus.reset();
                at = bus.members.erase(at);
            }
        }
    }

    void add_or_remove_interface() {
        if (m_interfaces.size() < 4) {
            const std::string name = new_name("i");
            NYX_INTERFACE::allocate(m_module, name);
            m_interfaces[name];
            return;
        }
        const auto at = any(m_interfaces);
        m_module->find_interface(at->first.c_str())->deallocate();
        for (const std::string &port : at->second.ports)
            m_ports.at(port).interface.clear();
        for (const std::string &bus : at->second.buses)
            m_buses.at(bus).interface.clear();
        m_interfaces.erase(at);
    }

    void change_interface_member() {
        if (m_interfaces.empty())
            return;
        auto &[interface_name, members] = *any(m_interfaces);
        if (!m_ports.empty() && pick(3) != 0) {
            auto &[name, port] = *any(m_ports);
            if (!port.interface.empty()) {
                m_module->find_interface(port.interface.c_str())->remove_port(real_port(name));
                erase(m_interfaces.at(port.interface).ports, name);
                port.interface.clear();
            } else if (!port.bus) {
                m_module->find_interface(interface_name.c_str())->add_port(real_port(name));
                members.ports.push_back(name);
                port.interface = interface_name;
            }
        } else if (!m_buses.empty()) {
            auto &[name, bus] = *any(m_buses);
            if (!bus.interface.empty()) {
                m_module->find_interface(bus.interface.c_str())->remove_port_bus(real_bus(name));
                erase(m_interfaces.at(bus.interface).buses, name);
                bus.interface.clear();
            } else {
                m_module->find_interface(interface_name.c_str())->add_port_bus(real_bus(name));
                members.buses.push_back(name);
                bus.interface = interface_name;
            }
        }
    }

    void move_ports() {
        if (pick(2) != 0)
            m_module->update_num_ports();
        else
            m_module->increase_num_ports(pick(40));
    }

    std::mt19937 m_random;
    NYX_MODULE *m_module;
    unsigned m_next_name = 0;
    std::map<std::string, PORT> m_ports;
    std::map<std::string, BUS> m_buses;
    std::map<std::string, MEMBERS> m_interfaces;
};

class BusModel : public DESIGN, public testing::WithParamInterface<unsigned> {};

TEST_P(BusModel, AgreesAfterEachChange) {
    BUS_MODEL model(db, GetParam());
    for (int step = 0; step < 3000; ++step) {
        model.step();
        if (step % 20 == 0) {
            model.check();
            if (HasFatalFailure() || HasNonfatalFailure())
                FAIL() << "at step " << step;
        }
        if (step % 500 == 0)
            expect_sound(db);
    }
    model.check();
}

INSTANTIATE_TEST_SUITE_P(Seeds, BusModel, testing::Range(1u, 5u));

} // namespace
