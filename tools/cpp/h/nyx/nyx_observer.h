#ifndef NYX_OBSERVER_H
#define NYX_OBSERVER_H

/// \file
/// Observers: a tool that keeps data of its own in step with the databases derives a class from NYX_OBSERVER<T>, T
/// being a type of object, and overrides the events that it wants to hear of.
///
/// Observers are per type and process, not per database: they hear of every database, and ask the object for its own. A
/// tool owns its observers; they may be made before the first database and outlive the last one, even as static
/// objects. Nobody hears anything until set_enabled(true) for the type.
///
/// During a call no observer of the same type may be made or destroyed, and nothing here is locked: observers belong to
/// the thread that uses the databases.

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"

#include <concepts>
#include <cstdint>
#include <set>
#include <string>

/// What the observers of all types share: the place in the list of their type, and the events that every type has.
template <class T>
class NYX_API NYX_OBSERVER_BASE {
public:
    /// The priority of an observer that is not in the public list.
    static constexpr unsigned int INTERNAL = 0xffffffff;

    /// The higher priority comes first.
    struct PRIORITY_COMPARE {
        bool operator()(const NYX_OBSERVER<T> *a, const NYX_OBSERVER<T> *b) const;
    };
    using LIST = std::multiset<NYX_OBSERVER<T> *, PRIORITY_COMPARE>;

    NYX_OBSERVER_BASE(const NYX_OBSERVER_BASE &) = delete;
    NYX_OBSERVER_BASE &operator=(const NYX_OBSERVER_BASE &) = delete;

    // The order of the virtual functions is interface, here and in all classes below: add new ones at the end.

    /// Leaves the list. O(log n + observers of the same priority).
    virtual ~NYX_OBSERVER_BASE();
    /// The row at `from` has moved to another identifier, and so to another address.
    virtual void moved(T * /*from*/, T * /*to*/) {}
    /// The object has its new name already.
    virtual void name_changed(T * /*object*/, const std::string & /*old_name*/) {}
    /// is_enabled() has become `on`. Observers of all databases and tools are told, in the order of the list.
    virtual void enabled(bool /*on*/) {}

    /// Whether the public observers of T hear events. False at the start.
    static bool is_enabled() { return s_enabled; }
    /// Switches the events of T for all public observers, whoever made them. Calls nest: as many calls with true as
    /// there were with false enable again, and calls with true beyond that count for nothing. A change is told by
    /// enabled().
    static void set_enabled(bool on);

    /// The public observers in the order in which they are told: by falling priority, among equals the first
    /// constructed first. Iterators stay valid until their observer goes.
    static typename LIST::const_iterator begin();
    static typename LIST::const_iterator end();

protected:
    /// An observer of priority INTERNAL, in no list.
    NYX_OBSERVER_BASE() = default;
    /// Enters the list and does nothing else: neither is_enabled() changes, nor is anybody told of existing objects.
    /// Ends the run for INTERNAL. O(log n).
    explicit NYX_OBSERVER_BASE(unsigned int priority);

private:
    static bool s_enabled;      // tested inline at each event
    static int s_disable_count; // calls of set_enabled(false) that none with true has undone
    static LIST &list();

    std::uint32_t m_priority = INTERNAL;
};

/// Events of objects that are made in a module.
template <class T>
class NYX_API NYX_ALLOCATE_OBSERVER {
public:
    virtual ~NYX_ALLOCATE_OBSERVER() = default;
    /// The object is complete and in its parent's lists.
    virtual void allocated(T * /*object*/, NYX_MODULE * /*parent*/) {}
    /// The object is about to go and still complete. A deletion that is refused afterwards has been told all the same.
    virtual void deallocated(T * /*object*/, NYX_MODULE * /*parent*/) {}
};

/// Events around the connection of a port or an inst port to a net. Connections that end because their net is deleted
/// are not told.
template <class T>
class NYX_API NYX_CONNECTION_OBSERVER {
public:
    virtual ~NYX_CONNECTION_OBSERVER() = default;
    virtual void pre_connect(T * /*port*/) {}
    virtual void post_connect(T * /*port*/) {}
    virtual void pre_disconnect(T * /*port*/) {}
    virtual void post_disconnect(T * /*port*/) {}
};

/// Events of objects that are copied.
template <class T>
class NYX_API NYX_COPY_OBSERVER {
public:
    virtual ~NYX_COPY_OBSERVER() = default;
    /// The copy is complete.
    virtual void copied(T * /*copy*/, const T * /*original*/) {}
};

template <class T, class... TYPES>
concept NYX_ONE_OF = (std::same_as<T, TYPES> || ...);

// NYX_OBSERVER<T> is defined for seventeen types. All have the two constructors of NYX_OBSERVER_BASE<T>; they are
// public so that a subclass can inherit them by `using`. First the types of which several are alike, then those of
// their own kind.

/// An observer of one of the objects that serve constraints and design entry.
template <class T>
class NYX_API NYX_OBSERVER : public NYX_OBSERVER_BASE<T> {
    static_assert(NYX_ONE_OF<T, NYX_RELATIVE_OBJECT, NYX_CONSTRAINT_COLLECTION, NYX_CONSTRAINT_STMT, NYX_CONSTRAINT_ARG,
                             NYX_SOURCE_FILE, NYX_ENTITY, NYX_SDC_CLOCK>,
                  "this type has no observers");

public:
    NYX_OBSERVER() = default;
    explicit NYX_OBSERVER(unsigned int priority) : NYX_OBSERVER_BASE<T>(priority) {}

    /// The object is complete.
    virtual void allocated(T * /*object*/) {}
    /// The object is about to go and still complete.
    virtual void deallocated(T * /*object*/) {}
};

/// An observer of nets, buses or interfaces.
template <NYX_ONE_OF<NYX_NET, NYX_PORT_BUS, NYX_NET_BUS, NYX_INSTANCE_BUS, NYX_INTERFACE> T>
class NYX_API NYX_OBSERVER<T> : public NYX_OBSERVER_BASE<T>, public NYX_ALLOCATE_OBSERVER<T> {
public:
    NYX_OBSERVER() = default;
    explicit NYX_OBSERVER(unsigned int priority) : NYX_OBSERVER_BASE<T>(priority) {}
};

template <>
class NYX_API NYX_OBSERVER<NYX_PORT> : public NYX_OBSERVER_BASE<NYX_PORT>,
                                       public NYX_ALLOCATE_OBSERVER<NYX_PORT>,
                                       public NYX_CONNECTION_OBSERVER<NYX_PORT> {
public:
    NYX_OBSERVER() = default;
    explicit NYX_OBSERVER(unsigned int priority) : NYX_OBSERVER_BASE(priority) {}
    ~NYX_OBSERVER() override;
};

template <>
class NYX_API NYX_OBSERVER<NYX_INSTANCE> : public NYX_OBSERVER_BASE<NYX_INSTANCE>,
                                           public NYX_ALLOCATE_OBSERVER<NYX_INSTANCE> {
public:
    NYX_OBSERVER() = default;
    explicit NYX_OBSERVER(unsigned int priority) : NYX_OBSERVER_BASE(priority) {}
    ~NYX_OBSERVER() override;

    /// The instance is one of its new module already.
    virtual void module_changed(NYX_INSTANCE * /*instance*/, NYX_MODULE * /*old_module*/) {}
};

template <>
class NYX_API NYX_OBSERVER<NYX_INST_PORT> : public NYX_OBSERVER_BASE<NYX_INST_PORT>,
                                            public NYX_CONNECTION_OBSERVER<NYX_INST_PORT> {
public:
    NYX_OBSERVER() = default;
    explicit NYX_OBSERVER(unsigned int priority) : NYX_OBSERVER_BASE(priority) {}
    ~NYX_OBSERVER() override;

    /// The inst port is complete.
    virtual void allocated(NYX_INST_PORT * /*inst_port*/) {}
    /// The inst port is about to go and still complete. Those of an instance are told ahead of it.
    virtual void deallocated(NYX_INST_PORT * /*inst_port*/) {}
};

template <>
class NYX_API NYX_OBSERVER<NYX_MODULE> : public NYX_OBSERVER_BASE<NYX_MODULE>, public NYX_COPY_OBSERVER<NYX_MODULE> {
public:
    NYX_OBSERVER() = default;
    explicit NYX_OBSERVER(unsigned int priority) : NYX_OBSERVER_BASE(priority) {}
    ~NYX_OBSERVER() override;

    /// The module is complete.
    virtual void allocated(NYX_MODULE * /*module*/) {}
    /// The module is about to go and still complete; its ports have been told. A deletion that is refused afterwards
    /// has been told all the same.
    virtual void deallocated(NYX_MODULE * /*module*/) {}
};

template <>
class NYX_API NYX_OBSERVER<NYX_DB> : public NYX_OBSERVER_BASE<NYX_DB> {
public:
    NYX_OBSERVER() = default;
    explicit NYX_OBSERVER(unsigned int priority) : NYX_OBSERVER_BASE(priority) {}
    ~NYX_OBSERVER() override;

    /// The database has been created or opened. The databases that it uses are not open yet.
    virtual void opened(NYX_DB * /*db*/) {}
    /// The last use of the database is about to be closed; it is still complete.
    virtual void closing(NYX_DB * /*db*/) {}
};

/// The observed types, as DO(NYX_MODULE) DO(NYX_PORT) and so on: those with objects in a database, and all.
#define NYX_FOR_EACH_OBSERVED_OBJECT_TYPE(DO)                                                                          \
    DO(NYX_MODULE)                                                                                                     \
    DO(NYX_PORT)                                                                                                       \
    DO(NYX_PORT_BUS)                                                                                                   \
    DO(NYX_NET)                                                                                                        \
    DO(NYX_NET_BUS)                                                                                                    \
    DO(NYX_INSTANCE)                                                                                                   \
    DO(NYX_INSTANCE_BUS)                                                                                               \
    DO(NYX_INST_PORT)                                                                                                  \
    DO(NYX_INTERFACE)                                                                                                  \
    DO(NYX_RELATIVE_OBJECT)                                                                                            \
    DO(NYX_CONSTRAINT_COLLECTION)                                                                                      \
    DO(NYX_CONSTRAINT_STMT)                                                                                            \
    DO(NYX_CONSTRAINT_ARG)                                                                                             \
    DO(NYX_SOURCE_FILE)                                                                                                \
    DO(NYX_ENTITY)                                                                                                     \
    DO(NYX_SDC_CLOCK)
#define NYX_FOR_EACH_OBSERVED_TYPE(DO)                                                                                 \
    NYX_FOR_EACH_OBSERVED_OBJECT_TYPE(DO)                                                                              \
    DO(NYX_DB)

// All of this is instantiated in the library, and only there: a second copy of a flag or a list would be one that the
// library does not look at.
#define NYX_DECLARE_OBSERVER(T) extern template class NYX_OBSERVER_BASE<T>;
NYX_FOR_EACH_OBSERVED_TYPE(NYX_DECLARE_OBSERVER)
#undef NYX_DECLARE_OBSERVER
extern template class NYX_ALLOCATE_OBSERVER<NYX_PORT>;
extern template class NYX_ALLOCATE_OBSERVER<NYX_PORT_BUS>;
extern template class NYX_ALLOCATE_OBSERVER<NYX_NET>;
extern template class NYX_ALLOCATE_OBSERVER<NYX_NET_BUS>;
extern template class NYX_ALLOCATE_OBSERVER<NYX_INSTANCE>;
extern template class NYX_ALLOCATE_OBSERVER<NYX_INSTANCE_BUS>;
extern template class NYX_ALLOCATE_OBSERVER<NYX_INTERFACE>;
extern template class NYX_CONNECTION_OBSERVER<NYX_PORT>;
extern template class NYX_CONNECTION_OBSERVER<NYX_INST_PORT>;
extern template class NYX_COPY_OBSERVER<NYX_MODULE>;
extern template class NYX_OBSERVER<NYX_PORT_BUS>;
extern template class NYX_OBSERVER<NYX_NET>;
extern template class NYX_OBSERVER<NYX_NET_BUS>;
extern template class NYX_OBSERVER<NYX_INSTANCE_BUS>;
extern template class NYX_OBSERVER<NYX_INTERFACE>;
extern template class NYX_OBSERVER<NYX_RELATIVE_OBJECT>;
extern template class NYX_OBSERVER<NYX_CONSTRAINT_COLLECTION>;
extern template class NYX_OBSERVER<NYX_CONSTRAINT_STMT>;
extern template class NYX_OBSERVER<NYX_CONSTRAINT_ARG>;
extern template class NYX_OBSERVER<NYX_SOURCE_FILE>;
extern template class NYX_OBSERVER<NYX_ENTITY>;
extern template class NYX_OBSERVER<NYX_SDC_CLOCK>;

#endif
