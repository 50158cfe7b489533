#ifndef NETLIST_TEST_SUPPORT_H
#define NETLIST_TEST_SUPPORT_H

#include "database/database_test_support.h"
#include "netlist/nyx_netlist_check.h"
#include "nyx/nyx.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

/// What the tests of the netlist share: databases, modules with ports, and a log of what observers are told.
namespace netlist_test {

using STRINGS = std::vector<std::string>;

/// A module with ports of these names; an empty name leaves the place empty.
inline NYX_MODULE *make_module(NYX_DB *db, const std::string &name, const STRINGS &ports = {},
                               NYX_MODULE::TYPE type = NYX_MODULE::TYPE::HIERARCHY) {
    NYX_MODULE *const module = NYX_MODULE::allocate(db, name, static_cast<unsigned>(ports.size()), type);
    for (unsigned i = 0; i < ports.size(); ++i) {
        if (!ports[i].empty())
            NYX_PORT::allocate(module, ports[i], i);
    }
    return module;
}

/// The names of the objects of a range, "-" for null.
template <class RANGE>
STRINGS names_of(const RANGE &range) {
    STRINGS names;
    for (const auto *const object : range)
        names.push_back(object != nullptr ? object->get_name() : "-");
    return names;
}

/// The names of a module's ports in order, "-" for empty places.
inline STRINGS port_names(const NYX_MODULE *module) {
    STRINGS names;
    for (const NYX_PORT *const port : module->const_iter_ports())
        names.push_back(port->get_parent() != nullptr ? port->get_name() : "-");
    return names;
}

/// A database with a top module "top", which is found sound at the end of a test.
class DESIGN : public testing::Test {
protected:
    ~DESIGN() override { expect_sound(db); }

    static void expect_sound(NYX_DB *database) { EXPECT_EQ(nyx_check_netlist(*root_of(database)), STRINGS()); }

    NYX_INSTANCE *make_instance(const std::string &name, NYX_MODULE *module) {
        return NYX_INSTANCE::allocate(top, name, module);
    }

    SCOPED_DB db{"design"};
    NYX_MODULE *top = NYX_MODULE::allocate(db, "top", 0);
};

/// Writes down what the public observers of the netlist's types are told, while it lives:
/// "KIND NAME EVENT", with the other arguments behind it.
class EVENT_LOG {
public:
    EVENT_LOG() {
        add<NYX_MODULE>();
        add<NYX_PORT>();
        add<NYX_PORT_BUS>();
        add<NYX_NET>();
        add<NYX_NET_BUS>();
        add<NYX_INSTANCE>();
        add<NYX_INSTANCE_BUS>();
        add<NYX_INST_PORT>();
        add<NYX_INTERFACE>();
    }
    EVENT_LOG(const EVENT_LOG &) = delete;
    EVENT_LOG &operator=(const EVENT_LOG &) = delete;

    /// What has been written since the last call.
    STRINGS take() { return std::exchange(m_events, STRINGS()); }

private:
    template <class T>
    static constexpr const char *s_kind = "";

    template <class T>
    class NAMED : public NYX_OBSERVER<T> {
    public:
        explicit NAMED(EVENT_LOG &log) : NYX_OBSERVER<T>(1), m_log(log) { NYX_OBSERVER<T>::set_enabled(true); }
        ~NAMED() override { NYX_OBSERVER<T>::set_enabled(false); }
        void moved(T *from, T *to) override { write(to, from != to ? "moved" : "moved to itself"); }
        void name_changed(T *object, const std::string &old_name) override { write(object, "was " + old_name); }

    protected:
        void write(const T *object, const std::string &event) {
            std::string name;
            if constexpr (std::is_same_v<T, NYX_INST_PORT>)
                name = object->get_inst()->get_name() + '.';
            m_log.m_events.push_back(std::string(s_kind<T>) + ' ' + name + object->get_name() + ' ' + event);
        }

    private:
        EVENT_LOG &m_log;
    };

    template <class T>
    class PLACED : public NAMED<T> {
    public:
        using NAMED<T>::NAMED;
        void allocated(T *object, NYX_MODULE *parent) override {
            this->write(object, "allocated in " + parent->get_name());
        }
        void deallocated(T *object, NYX_MODULE *parent) override {
            this->write(object, "deallocated in " + parent->get_name());
        }
    };

    // Everything that has connections.
    template <class T, class BASE>
    class CONNECTED : public BASE {
    public:
        using BASE::BASE;
        void pre_connect(T *object) override { this->write(object, "pre_connect" + net_of(object)); }
        void post_connect(T *object) override { this->write(object, "post_connect" + net_of(object)); }
        void pre_disconnect(T *object) override { this->write(object, "pre_disconnect" + net_of(object)); }
        void post_disconnect(T *object) override { this->write(object, "post_disconnect" + net_of(object)); }

    private:
        static std::string net_of(const T *object) {
            return object->get_net() != nullptr ? " on " + object->get_net()->get_name() : "";
        }
    };

    // Everything that is told without a parent.
    template <class T, class BASE>
    class UNPLACED : public BASE {
    public:
        using BASE::BASE;
        void allocated(T *object) override { this->write(object, "allocated"); }
        void deallocated(T *object) override { this->write(object, "deallocated"); }
    };

    class MODULES : public UNPLACED<NYX_MODULE, NAMED<NYX_MODULE>> {
    public:
        using UNPLACED::UNPLACED;
        void copied(NYX_MODULE *copy, const NYX_MODULE *original) override {
            write(copy, "copied from " + original->get_name());
        }
    };
    class INSTANCES : public PLACED<NYX_INSTANCE> {
    public:
        using PLACED::PLACED;
        void module_changed(NYX_INSTANCE *instance, NYX_MODULE *old_module) override {
            write(instance, "was one of " + old_module->get_name());
        }
    };

    template <class T>
    void add() {
        if constexpr (std::is_same_v<T, NYX_MODULE>)
            m_observers.push_back(std::make_shared<MODULES>(*this));
        else if constexpr (std::is_same_v<T, NYX_INSTANCE>)
            m_observers.push_back(std::make_shared<INSTANCES>(*this));
        else if constexpr (std::is_same_v<T, NYX_PORT>)
            m_observers.push_back(std::make_shared<CONNECTED<T, PLACED<T>>>(*this));
        else if constexpr (std::is_same_v<T, NYX_INST_PORT>)
            m_observers.push_back(std::make_shared<CONNECTED<T, UNPLACED<T, NAMED<T>>>>(*this));
        else
            m_observers.push_back(std::make_shared<PLACED<T>>(*this));
    }

    STRINGS m_events;
    std::vector<std::shared_ptr<void>> m_observers;
};

template <>
inline constexpr const char *EVENT_LOG::s_kind<NYX_MODULE> = "module";
template <>
inline constexpr const char *EVENT_LOG::s_kind<NYX_PORT> = "port";
template <>
inline constexpr const char *EVENT_LOG::s_kind<NYX_PORT_BUS> = "port bus";
template <>
inline constexpr const char *EVENT_LOG::s_kind<NYX_NET> = "net";
template <>
inline constexpr const char *EVENT_LOG::s_kind<NYX_NET_BUS> = "net bus";
template <>
inline constexpr const char *EVENT_LOG::s_kind<NYX_INSTANCE> = "instance";
template <>
inline constexpr const char *EVENT_LOG::s_kind<NYX_INSTANCE_BUS> = "instance bus";
template <>
inline constexpr const char *EVENT_LOG::s_kind<NYX_INST_PORT> = "inst port";
template <>
inline constexpr const char *EVENT_LOG::s_kind<NYX_INTERFACE> = "interface";

} // namespace netlist_test

#endif
