/// \file
/// A long random run of edits on a netlist in two databases against a plain model of it. Every so many steps the two
/// are compared in all they hold, the netlist's own invariants are checked, and a copy of the image at another address
/// must say the same.

#include "memory/segment_image.h"

#include "database/nyx_db_impl.h"
#include "netlist/nyx_chain.h"
#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_netlist_check.h"
#include "nyx/nyx.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct MODEL_MODULE;
struct MODEL_INSTANCE;

struct MODEL_PIN {
    MODEL_INSTANCE *instance = nullptr; // null for a port of the module
    unsigned index = 0;

    bool operator==(const MODEL_PIN &) const = default;
};

struct MODEL_NET {
    std::string name;
    std::list<MODEL_PIN> ports, pins; // newest first
    NYX_NET *handle = nullptr;
};

struct MODEL_PORT {
    std::string name;
    MODEL_NET *net = nullptr;
    int direction = 0; // bit 0: input, bit 1: output
};

struct MODEL_INSTANCE {
    std::string name;
    MODEL_MODULE *parent = nullptr;
    MODEL_MODULE *base = nullptr;
    struct PIN {
        bool exists = false;
        MODEL_NET *net = nullptr;
    };
    std::vector<PIN> pins;
    NYX_INSTANCE *handle = nullptr;
};

struct MODEL_MODULE {
    std::string name;
    unsigned level = 0; // a module has instances of lower ones only
    NYX_DB *db = nullptr;
    std::vector<std::optional<MODEL_PORT>> ports;
    std::list<std::unique_ptr<MODEL_NET>> nets;           // newest first
    std::list<std::unique_ptr<MODEL_INSTANCE>> instances; // oldest first
    NYX_MODULE *handle = nullptr;
};

/// What is compared: everything, as text.
class DUMP {
public:
    static std::string of(const MODEL_MODULE &module) {
        std::ostringstream out;
        out << "module " << module.name << '\n';
        for (std::size_t i = 0; i < module.ports.size(); ++i) {
            out << "  port " << i << ' ';
            if (const auto &port = module.ports[i])
                out << port->name << ' ' << port->direction << ' ' << (port->net ? port->net->name : "-") << '\n';
            else
                out << "empty\n";
        }
        for (const auto &net : module.nets) {
            out << "  net " << net->name << ':';
            for (const MODEL_PIN &port : net->ports)
                out << ' ' << module.ports[port.index]->name;
            for (const MODEL_PIN &pin : net->pins)
                out << ' ' << pin.instance->name << '.' << pin.index;
            out << '\n';
        }
        for (const auto &instance : module.instances) {
            out << "  instance " << instance->name << " of " << instance->base->name << ':';
            for (const auto &pin : instance->pins)
                out << ' ' << (!pin.exists ? "empty" : pin.net != nullptr ? pin.net->name : "-");
            out << '\n';
        }
        return out.str();
    }

    /// From the rows alone, so that it works on any copy of the image.
    static std::string of(const NYX_DB_PERSISTENT &root, const NYX_MODULE_IMPL *module) {
        std::ostringstream out;
        const auto name = [&root](NYX_NAME_ID id) {
            std::string text;
            EXPECT_TRUE(root.names().find_name(id, text));
            return text;
        };
        const auto net_name = [&](const NYX_NET_IMPL *net) { return net != nullptr ? name(net->m_name_id) : "-"; };
        out << "module " << name(nyx_cell(&NYX_MODULE_TABLE::m_name_id, module)) << '\n';
        NYX_PORT_TABLE &ports = root.table<NYX_PORT>();
        for (unsigned i = 0; i < module->m_num_ports; ++i) {
            const NYX_PORT_ID id(module->m_first_port.get() + i);
            const NYX_PORT_IMPL *const port = ports.get(id);
            out << "  port " << i << ' ';
            if (port->m_parent_ptr != nullptr)
                out << name(port->m_name_id) << ' ' << (*ports.m_trait_bits.get(id) & 3) << ' '
                    << net_name(port->m_net_ptr.get()) << '\n';
            else
                out << "empty\n";
        }
        const auto index_of = [&](const NYX_INST_PORT_IMPL *pin) {
            return NYX_INST_PORT_TABLE::get_id(pin).get() -
                   nyx_cell(&NYX_INSTANCE_TABLE::m_first_inst_port, pin->m_inst_ptr.get()).get();
        };
        for (const auto *net = nyx_chain_first<NYX_NET>(module); net;
             net = nyx_chain_next<NYX_NET, NYX_MODULE_IMPL>(net)) {
            out << "  net " << name(net->m_name_id) << ':';
            for (const auto *port = nyx_chain_first<NYX_PORT>(net); port;
                 port = nyx_chain_next<NYX_PORT, NYX_NET_IMPL>(port))
                out << ' ' << name(port->m_name_id);
            for (const auto *pin = nyx_chain_first<NYX_INST_PORT>(net); pin;
                 pin = nyx_chain_next<NYX_INST_PORT, NYX_NET_IMPL>(pin))
                out << ' ' << name(pin->m_inst_ptr->m_name_id) << '.' << index_of(pin);
            out << '\n';
        }
        for (const auto *instance = nyx_chain_first<NYX_INSTANCE>(module); instance;
             instance = nyx_chain_next<NYX_INSTANCE, NYX_MODULE_IMPL>(instance)) {
            const NYX_NAME_ID base = instance->m_module_ptr != nullptr
                                         ? nyx_cell(&NYX_MODULE_TABLE::m_name_id, instance->m_module_ptr.get())
                                         : instance->m_inst_header_ptr->m_module_name_id;
            out << "  instance " << name(instance->m_name_id) << " of " << name(base) << ':';
            const unsigned first = nyx_cell(&NYX_INSTANCE_TABLE::m_first_inst_port, instance).get();
            for (unsigned i = 0; i < nyx_cell(&NYX_INSTANCE_TABLE::m_num_inst_ports, instance); ++i) {
                const auto *const pin = root.table<NYX_INST_PORT>().get(NYX_INST_PORT_ID(first + i));
                out << ' ' << (pin->m_inst_ptr == nullptr ? "empty" : net_name(pin->m_net_ptr.get()));
            }
            out << '\n';
        }
        return out.str();
    }
};

class NetlistModel : public testing::TestWithParam<unsigned> {
protected:
    NetlistModel() : m_random(GetParam()) {
        m_library = NYX_DB::create_non_persistent(64, NYX_DB_TYPE::COMPONENT, "cells", "");
        m_design = NYX_DB::create_non_persistent(64, NYX_DB_TYPE::USER, "design", "");
    }
    ~NetlistModel() override {
        m_design->close();
        m_library->close();
    }

    unsigned pick(unsigned below) { return std::uniform_int_distribution<unsigned>(0, below - 1)(m_random); }
    template <class LIST>
    auto &pick_from(LIST &list) {
        return *std::next(list.begin(), pick(static_cast<unsigned>(list.size())));
    }
    std::string fresh(const char *prefix) { return prefix + std::to_string(m_next_name++); }

    // Choices; null where there is nothing to choose from.
    MODEL_MODULE *any_module() { return m_modules.empty() ? nullptr : pick_from(m_modules).get(); }
    MODEL_INSTANCE *any_instance(MODEL_MODULE &module) {
        return module.instances.empty() ? nullptr : pick_from(module.instances).get();
    }
    MODEL_NET *any_net(MODEL_MODULE &module) { return module.nets.empty() ? nullptr : pick_from(module.nets).get(); }
    MODEL_MODULE *any_base_for(const MODEL_MODULE &module) {
        std::vector<MODEL_MODULE *> bases;
        for (const auto &other : m_modules) {
            if (other->level < module.level && (module.db == m_design || other->db == m_library))
                bases.push_back(other.get());
        }
        return bases.empty() ? nullptr : pick_from(bases);
    }
    std::vector<MODEL_INSTANCE *> instances_of(const MODEL_MODULE &base) {
        std::vector<MODEL_INSTANCE *> result;
        for (const auto &module : m_modules) {
            for (const auto &instance : module->instances) {
                if (instance->base == &base)
                    result.push_back(instance.get());
            }
        }
        return result;
    }

    static void unlink(MODEL_NET *&net, std::list<MODEL_PIN> MODEL_NET::*list, MODEL_PIN pin) {
        if (net != nullptr)
            (net->*list).remove(pin);
        net = nullptr;
    }

    // Edits, on both sides.

    void add_module() {
        if (m_modules.size() >= 24)
            return;
        auto module = std::make_unique<MODEL_MODULE>();
        module->name = fresh("m");
        module->level = pick(6);
        module->db = pick(3) == 0 ? m_library : m_design;
        module->ports.resize(pick(6));
        module->handle = NYX_MODULE::allocate(module->db, module->name, static_cast<unsigned>(module->ports.size()),
                                              NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
        m_modules.push_back(std::move(module));
    }

    void delete_module() {
        MODEL_MODULE *const module = any_module();
        if (module == nullptr || m_modules.size() < 12 || !instances_of(*module).empty())
            return;
        module->handle->deallocate();
        m_modules.remove_if([module](const auto &other) { return other.get() == module; });
    }

    void add_port() {
        MODEL_MODULE *const module = any_module();
        if (module == nullptr || module->ports.empty())
            return;
        const unsigned index = pick(static_cast<unsigned>(module->ports.size()));
        if (module->ports[index])
            return;
        MODEL_NET *const net = pick(2) ? any_net(*module) : nullptr;
        MODEL_PORT port{fresh("p"), net, static_cast<int>(pick(3))};
        NYX_PORT *const handle =
            NYX_PORT::allocate(module->handle, port.name, index, net != nullptr ? net->handle : nullptr);
        if (port.direction == 1)
            handle->set_input();
        else if (port.direction == 2)
            handle->set_output();
        if (net != nullptr)
            net->ports.push_front({nullptr, index});
        module->ports[index] = port;
    }

    void delete_port() {
        MODEL_MODULE *const module = any_module();
        if (module == nullptr || module->ports.empty())
            return;
        const unsigned index = pick(static_cast<unsigned>(module->ports.size()));
        if (!module->ports[index])
            return;
        module->handle->get_port_by_index(index)->deallocate();
        unlink(module->ports[index]->net, &MODEL_NET::ports, {nullptr, index});
        module->ports[index].reset();
        for (MODEL_INSTANCE *const instance : instances_of(*module)) {
            unlink(instance->pins[index].net, &MODEL_NET::pins, {instance, index});
            instance->pins[index].exists = false;
        }
    }

    void grow_ports() {
        MODEL_MODULE *const module = any_module();
        if (module == nullptr || module->ports.size() > 12)
            return;
        const unsigned count = pick(3);
        module->handle->increase_num_ports(count);
        module->ports.resize(module->ports.size() + count);
        for (MODEL_INSTANCE *const instance : instances_of(*module))
            instance->pins.resize(module->ports.size());
        // Growing compacts as well.
        if (count != 0)
            compact(*module, module->ports.size());
    }

    void compact_ports() {
        MODEL_MODULE *const module = any_module();
        if (module == nullptr)
            return;
        module->handle->update_num_ports();
        const auto live = std::count_if(module->ports.begin(), module->ports.end(), [](const auto &p) { return !!p; });
        if (static_cast<std::size_t>(live) != module->ports.size())
            compact(*module, static_cast<std::size_t>(live));
    }

    // Ports keep their order and take the first places of `size`.
    void compact(MODEL_MODULE &module, std::size_t size) {
        std::map<unsigned, unsigned> places;
        std::vector<std::optional<MODEL_PORT>> ports;
        for (unsigned i = 0; i < module.ports.size(); ++i) {
            if (module.ports[i]) {
                places[i] = static_cast<unsigned>(ports.size());
                ports.push_back(module.ports[i]);
            }
        }
        ports.resize(size);
        for (const auto &net : module.nets) {
            for (MODEL_PIN &port : net->ports)
                port.index = places.at(port.index);
        }
        module.ports = std::move(ports);
        for (MODEL_INSTANCE *const instance : instances_of(module)) {
            std::vector<MODEL_INSTANCE::PIN> pins(size);
            for (const auto &[from, to] : places)
                pins[to] = instance->pins[from];
            for (const auto &net : instance->parent->nets) {
                for (MODEL_PIN &pin : net->pins) {
                    if (pin.instance == instance)
                        pin.index = places.at(pin.index);
                }
            }
            instance->pins = std::move(pins);
        }
    }

    void add_net() {
        MODEL_MODULE *const module = any_module();
        if (module == nullptr || module->nets.size() > 30)
            return;
        auto net = std::make_unique<MODEL_NET>();
        net->name = fresh("n");
        net->handle = NYX_NET::allocate(module->handle, net->name, false);
        module->nets.push_front(std::move(net));
    }

    void forget_connections(MODEL_MODULE &module, const MODEL_NET *net) {
        for (auto &port : module.ports) {
            if (port && port->net == net)
                port->net = nullptr;
        }
        for (const auto &instance : module.instances) {
            for (auto &pin : instance->pins) {
                if (pin.net == net)
                    pin.net = nullptr;
            }
        }
    }

    void delete_net() {
        MODEL_MODULE *const module = any_module();
        MODEL_NET *const net = module != nullptr ? any_net(*module) : nullptr;
        if (net == nullptr)
            return;
        net->handle->deallocate();
        forget_connections(*module, net);
        module->nets.remove_if([net](const auto &other) { return other.get() == net; });
    }

    void merge_nets() {
        MODEL_MODULE *const module = any_module();
        MODEL_NET *const kept = module != nullptr ? any_net(*module) : nullptr;
        if (kept == nullptr)
            return;
        MODEL_NET *const lost = any_net(*module);
        kept->handle->merge(lost->handle);
        if (lost == kept)
            return;
        for (const MODEL_PIN &port : lost->ports) {
            module->ports[port.index]->net = kept;
            kept->ports.push_front(port);
        }
        for (const MODEL_PIN &pin : lost->pins) {
            pin.instance->pins[pin.index].net = kept;
            kept->pins.push_front(pin);
        }
        module->nets.remove_if([lost](const auto &other) { return other.get() == lost; });
    }

    void rename_something() {
        MODEL_MODULE *const module = any_module();
        if (module == nullptr)
            return;
        switch (pick(4)) {
        case 0:
            if (MODEL_NET *const net = any_net(*module))
                net->handle->set_name(net->name = fresh("n"));
            break;
        case 1:
            if (MODEL_INSTANCE *const instance = any_instance(*module))
                instance->handle->set_name(instance->name = fresh("u"), false);
            break;
        case 2:
            module->handle->set_name(module->name = fresh("m"));
            break;
        default:
            for (unsigned i = 0; i < module->ports.size(); ++i) {
                if (module->ports[i]) {
                    module->handle->get_port_by_index(i)->set_name(module->ports[i]->name = fresh("p"));
                    break;
                }
            }
        }
    }

    void add_instance() {
        MODEL_MODULE *const module = any_module();
        MODEL_MODULE *const base = module != nullptr ? any_base_for(*module) : nullptr;
        if (base == nullptr || module->instances.size() > 15)
            return;
        auto instance = std::make_unique<MODEL_INSTANCE>();
        instance->name = fresh("u");
        instance->parent = module;
        instance->base = base;
        for (const auto &port : base->ports)
            instance->pins.push_back({port.has_value(), nullptr});
        instance->handle = NYX_INSTANCE::allocate(module->handle, instance->name, base->handle, false, nullptr);
        module->instances.push_back(std::move(instance));
    }

    void delete_instance() {
        MODEL_MODULE *const module = any_module();
        MODEL_INSTANCE *const instance = module != nullptr ? any_instance(*module) : nullptr;
        if (instance == nullptr)
            return;
        instance->handle->deallocate();
        for (unsigned i = 0; i < instance->pins.size(); ++i)
            unlink(instance->pins[i].net, &MODEL_NET::pins, {instance, i});
        module->instances.remove_if([instance](const auto &other) { return other.get() == instance; });
    }

    // Ports are mapped by name, and no two ports have the same: some are named in the map.
    void change_base() {
        MODEL_MODULE *const module = any_module();
        MODEL_INSTANCE *const instance = module != nullptr ? any_instance(*module) : nullptr;
        MODEL_MODULE *const base = instance != nullptr ? any_base_for(*module) : nullptr;
        if (base == nullptr || base == instance->base)
            return;
        std::map<std::string, std::string> names;
        std::map<unsigned, unsigned> places;
        std::set<unsigned> taken;
        for (unsigned i = 0; i < instance->base->ports.size() && !base->ports.empty(); ++i) {
            const unsigned to = pick(static_cast<unsigned>(base->ports.size()));
            if (!instance->base->ports[i] || !base->ports[to] || pick(3) == 0 || !taken.insert(to).second)
                continue;
            names[instance->base->ports[i]->name] = base->ports[to]->name;
            places[i] = to;
        }
        instance->handle->change_module(base->handle, names);
        std::vector<MODEL_INSTANCE::PIN> pins;
        for (const auto &port : base->ports)
            pins.push_back({port.has_value(), nullptr});
        for (unsigned i = 0; i < instance->pins.size(); ++i) {
            MODEL_NET *&net = instance->pins[i].net;
            if (net == nullptr)
                continue;
            const auto place = places.find(i);
            if (place == places.end()) {
                unlink(net, &MODEL_NET::pins, {instance, i});
                continue;
            }
            pins[place->second].net = net;
            // Where it stands in the net's list stays; the index is put right below, when all are known.
        }
        for (const auto &net : module->nets) {
            for (MODEL_PIN &pin : net->pins) {
                if (pin.instance == instance)
                    pin.index = places.at(pin.index);
            }
        }
        instance->pins = std::move(pins);
        instance->base = base;
    }

    void connect_something() {
        MODEL_MODULE *const module = any_module();
        MODEL_NET *const net = module != nullptr ? any_net(*module) : nullptr;
        if (net == nullptr)
            return;
        if (pick(4) == 0 && !module->ports.empty()) {
            const unsigned index = pick(static_cast<unsigned>(module->ports.size()));
            auto &port = module->ports[index];
            if (!port)
                return;
            NYX_PORT *const handle = module->handle->get_port_by_index(index);
            if (port->net != nullptr)
                handle->disconnect();
            unlink(port->net, &MODEL_NET::ports, {nullptr, index});
            if (pick(4) == 0)
                return;
            handle->connect(net->handle);
            port->net = net;
            net->ports.push_front({nullptr, index});
            return;
        }
        MODEL_INSTANCE *const instance = any_instance(*module);
        if (instance == nullptr || instance->pins.empty())
            return;
        const unsigned index = pick(static_cast<unsigned>(instance->pins.size()));
        auto &pin = instance->pins[index];
        NYX_INST_PORT *const handle = instance->handle->get_inst_port_by_index(index);
        if (!pin.exists) {
            // A place that got its port after the instance was made.
            EXPECT_EQ(handle, nullptr);
            if (!instance->base->ports[index])
                return;
            NYX_INST_PORT::allocate(instance->handle, instance->base->handle->get_port_by_index(index), net->handle);
            pin.exists = true;
        } else {
            if (pin.net != nullptr)
                handle->disconnect();
            unlink(pin.net, &MODEL_NET::pins, {instance, index});
            if (pick(4) == 0)
                return;
            handle->connect(net->handle);
        }
        pin.net = net;
        net->pins.push_front({instance, index});
    }

    // Comparison.

    void compare(NYX_DB *db) {
        const NYX_DB_PERSISTENT &root = *NYX_DB_IMPL::of(*db).m_persistent;
        ASSERT_EQ(nyx_check_netlist(root), std::vector<std::string>());
        IMAGE_COPY copy(root.get_segment_manager());
        const NYX_DB_PERSISTENT &root_copy = *copy.at(&root);
        ASSERT_EQ(nyx_check_netlist(root_copy), std::vector<std::string>());
        unsigned num_modules = 0;
        std::set<MODEL_MODULE *> bases;
        unsigned uses = 0;
        for (const auto &module : m_modules) {
            if (module->db != db)
                continue;
            ++num_modules;
            const std::string expected = DUMP::of(*module);
            ASSERT_EQ(db->find_local_module(module->name.c_str()), module->handle);
            ASSERT_EQ(DUMP::of(root, module->handle->get_impl()), expected);
            ASSERT_EQ(DUMP::of(root_copy, copy.at(module->handle->get_impl())), expected);
            for (const auto &net : module->nets)
                ASSERT_EQ(module->handle->find_net(net->name.c_str()), net->handle);
            for (const auto &instance : module->instances) {
                ASSERT_EQ(module->handle->find_instance(instance->name.c_str()), instance->handle);
                ASSERT_EQ(instance->handle->get_module(), instance->base->handle);
                if (instance->base->db != db) {
                    bases.insert(instance->base);
                    ++uses;
                }
            }
            std::set<NYX_INSTANCE *> users;
            for (const MODEL_INSTANCE *const instance : instances_of(*module))
                users.insert(instance->handle);
            const auto found = module->handle->iter_instances_of();
            ASSERT_EQ(std::set<NYX_INSTANCE *>(found.begin(), found.end()), users);
        }
        ASSERT_EQ(root.table<NYX_MODULE>().num_allocated(), num_modules);
        unsigned counted = 0;
        NYX_INST_HEADER_TABLE &headers = root.table<NYX_INST_HEADER>();
        for (unsigned i = 0; i < headers.iter_limit(); ++i) {
            if (headers.get(NYX_INST_HEADER_ID(i))->m_module_name_id != NYX_NAME_ID::INVALID)
                counted += headers.get(NYX_INST_HEADER_ID(i))->m_reference_count;
        }
        ASSERT_EQ(headers.num_allocated(), bases.size());
        ASSERT_EQ(counted, uses);
    }

    void step() {
        switch (pick(40)) {
        case 0:
            add_module();
            break;
        case 1:
            delete_module();
            break;
        case 2:
            delete_port();
            break;
        case 3:
            grow_ports();
            break;
        case 4:
            compact_ports();
            break;
        case 5:
            delete_net();
            break;
        case 6:
            merge_nets();
            break;
        case 7:
            delete_instance();
            break;
        case 8:
        case 9:
            rename_something();
            break;
        case 10:
        case 11:
            change_base();
            break;
        case 12:
        case 13:
        case 14:
        case 15:
            add_port();
            break;
        case 16:
        case 17:
        case 18:
        case 19:
            add_net();
            break;
        case 20:
        case 21:
        case 22:
            add_instance();
            break;
        default:
            connect_something();
            break;
        }
    }

    std::mt19937 m_random;
    NYX_DB *m_library = nullptr;
    NYX_DB *m_design = nullptr;
    std::list<std::unique_ptr<MODEL_MODULE>> m_modules;
    unsigned m_next_name = 0;
};

TEST_P(NetlistModel, AgreesAfterEveryEdit) {
    const unsigned steps = model_steps(5000);
    for (unsigned i = 1; i <= steps; ++i) {
        step();
        if (i % 100 == 0 || i == steps) {
            compare(m_design);
            compare(m_library);
            ASSERT_FALSE(HasFatalFailure()) << "after step " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, NetlistModel, testing::Values(1u, 2u));

} // namespace
