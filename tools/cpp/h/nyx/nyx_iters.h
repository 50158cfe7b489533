#ifndef NYX_ITERS_H
#define NYX_ITERS_H

/// \file
/// Iterators over the objects that belong to another one. For each list there is a form that gives handles and a
/// _CONST_ form that gives const handles; the former converts to the latter, and the two compare.
///
/// Iterators are forward iterators of two or three words. A default-constructed one is the end of any list of
/// its kind. What an iterator stands on may not be deleted: a loop that deletes takes a fresh iterator each time.
/// Making one for a null parent, and using one at its end, end the run.

#include "nyx/nyx_api.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_fwd.h"

#include <boost/iterator/iterator_facade.hpp>
#include <boost/range/iterator_range_core.hpp>

#include <type_traits>

/// What the iterators over rows have in common: ITER is the class, T the element, const for handles that don't change
/// it.
template <class ITER, class T>
class NYX_ROW_ITER : public boost::iterator_facade<ITER, T *, boost::forward_traversal_tag, T *> {
protected:
    using OBJECT = std::remove_const_t<T>;
    using ID = NYX_ID<OBJECT, unsigned int>;

    NYX_ROW_ITER() = default;
    NYX_ROW_ITER(OBJECT *object, ID index) : m_object(object), m_index(index) {}

    OBJECT *m_object = nullptr;
    ID m_index;

private:
    friend class boost::iterator_core_access;
    template <class U, class V>
    friend class NYX_ROW_ITER;

    T *dereference() const {
        if (m_index == ID::INVALID) [[unlikely]]
            static_cast<const ITER *>(this)->fail_at_end();
        return m_object;
    }
    template <class U, class V>
    bool equal(const NYX_ROW_ITER<U, V> &other) const {
        return m_index == other.m_index;
    }
};

/// Follows a list, such as that of a module's nets. OWNER is what has the list. A step is O(1).
template <class T, class OWNER>
class NYX_API NYX_CHAIN_ITER : public NYX_ROW_ITER<NYX_CHAIN_ITER<T, OWNER>, T> {
    using BASE = NYX_ROW_ITER<NYX_CHAIN_ITER<T, OWNER>, T>;

public:
    /// The end.
    NYX_CHAIN_ITER() = default;
    /// The first element of the list of `parent`; ends the run with "parent != nullptr" for null.
    explicit NYX_CHAIN_ITER(const OWNER *parent);
    /// From the form that is not const.
    template <class U>
    requires(std::is_same_v<const U, T>) NYX_CHAIN_ITER(const NYX_CHAIN_ITER<U, OWNER> &other)
        : BASE(other.m_object, other.m_index)
        , m_table(other.m_table) {}

private:
    friend class boost::iterator_core_access;
    friend BASE;
    template <class U, class V>
    friend class NYX_CHAIN_ITER;
    using BASE::m_index;
    using BASE::m_object;
    using typename BASE::ID;
    using typename BASE::OBJECT;

    void increment();
    [[noreturn]] void fail_at_end() const;

    void *m_table = nullptr; // of the elements; to find it from an element costs a look at the head of its page
};

/// Steps through a run of consecutive rows, such as a module's ports. Rows of the run that hold no object are stepped
/// on too: a port's get_parent() is null there, and an inst port's is_valid() false. A step is O(1).
template <class T, class OWNER>
class NYX_API NYX_RANGE_ITER : public NYX_ROW_ITER<NYX_RANGE_ITER<T, OWNER>, T> {
    using BASE = NYX_ROW_ITER<NYX_RANGE_ITER<T, OWNER>, T>;

public:
    /// The end.
    NYX_RANGE_ITER() = default;
    /// The first row of the run of `parent`; ends the run with "parent != nullptr" for null.
    explicit NYX_RANGE_ITER(const OWNER *parent);
    /// From the form that is not const.
    template <class U>
    requires(std::is_same_v<const U, T>) NYX_RANGE_ITER(const NYX_RANGE_ITER<U, OWNER> &other)
        : BASE(other.m_object, other.m_index)
        , m_num_left(other.m_num_left) {}

private:
    friend class boost::iterator_core_access;
    friend BASE;
    template <class U, class V>
    friend class NYX_RANGE_ITER;
    using BASE::m_index;
    using BASE::m_object;
    using typename BASE::ID;
    using typename BASE::OBJECT;

    void increment();
    [[noreturn]] void fail_at_end() const;

    unsigned m_num_left = 0; // rows of the run from this one on
};

/// \name The lists of a module
/// Instances come in the order of their creation, all others newest first.
/// \{
using NYX_MODULE_NET_ITER = NYX_CHAIN_ITER<NYX_NET, NYX_MODULE>;
using NYX_MODULE_NET_CONST_ITER = NYX_CHAIN_ITER<const NYX_NET, NYX_MODULE>;
using NYX_MODULE_INSTANCE_ITER = NYX_CHAIN_ITER<NYX_INSTANCE, NYX_MODULE>;
using NYX_MODULE_INSTANCE_CONST_ITER = NYX_CHAIN_ITER<const NYX_INSTANCE, NYX_MODULE>;
using NYX_MODULE_INTERFACE_ITER = NYX_CHAIN_ITER<NYX_INTERFACE, NYX_MODULE>;
using NYX_MODULE_INTERFACE_CONST_ITER = NYX_CHAIN_ITER<const NYX_INTERFACE, NYX_MODULE>;
using NYX_MODULE_INSTANCE_BUS_ITER = NYX_CHAIN_ITER<NYX_INSTANCE_BUS, NYX_MODULE>;
using NYX_MODULE_INSTANCE_BUS_CONST_ITER = NYX_CHAIN_ITER<const NYX_INSTANCE_BUS, NYX_MODULE>;
using NYX_MODULE_NET_BUS_ITER = NYX_CHAIN_ITER<NYX_NET_BUS, NYX_MODULE>;
using NYX_MODULE_NET_BUS_CONST_ITER = NYX_CHAIN_ITER<const NYX_NET_BUS, NYX_MODULE>;
using NYX_MODULE_PORT_BUS_ITER = NYX_CHAIN_ITER<NYX_PORT_BUS, NYX_MODULE>;
using NYX_MODULE_PORT_BUS_CONST_ITER = NYX_CHAIN_ITER<const NYX_PORT_BUS, NYX_MODULE>;
using NYX_MODULE_PORT_ITER = NYX_RANGE_ITER<NYX_PORT, NYX_MODULE>;
using NYX_MODULE_PORT_CONST_ITER = NYX_RANGE_ITER<const NYX_PORT, NYX_MODULE>;
/// \}

/// \name The connections of a net, newest first
/// \{
using NYX_NET_PORT_ITER = NYX_CHAIN_ITER<NYX_PORT, NYX_NET>;
using NYX_NET_PORT_CONST_ITER = NYX_CHAIN_ITER<const NYX_PORT, NYX_NET>;
using NYX_NET_INST_PORT_ITER = NYX_CHAIN_ITER<NYX_INST_PORT, NYX_NET>;
using NYX_NET_INST_PORT_CONST_ITER = NYX_CHAIN_ITER<const NYX_INST_PORT, NYX_NET>;
/// \}

/// \name The inst ports of an instance, in the order of the base module's ports
/// \{
using NYX_INSTANCE_INST_PORT_ITER = NYX_RANGE_ITER<NYX_INST_PORT, NYX_INSTANCE>;
using NYX_INSTANCE_INST_PORT_CONST_ITER = NYX_RANGE_ITER<const NYX_INST_PORT, NYX_INSTANCE>;
/// \}

#define NYX_DECLARE_ITER(iter, T, owner)                                                                               \
    extern template class iter<T, owner>;                                                                              \
    extern template class iter<const T, owner>;
NYX_DECLARE_ITER(NYX_CHAIN_ITER, NYX_NET, NYX_MODULE)
NYX_DECLARE_ITER(NYX_CHAIN_ITER, NYX_INSTANCE, NYX_MODULE)
NYX_DECLARE_ITER(NYX_CHAIN_ITER, NYX_INTERFACE, NYX_MODULE)
NYX_DECLARE_ITER(NYX_CHAIN_ITER, NYX_INSTANCE_BUS, NYX_MODULE)
NYX_DECLARE_ITER(NYX_CHAIN_ITER, NYX_NET_BUS, NYX_MODULE)
NYX_DECLARE_ITER(NYX_CHAIN_ITER, NYX_PORT_BUS, NYX_MODULE)
NYX_DECLARE_ITER(NYX_CHAIN_ITER, NYX_PORT, NYX_NET)
NYX_DECLARE_ITER(NYX_CHAIN_ITER, NYX_INST_PORT, NYX_NET)
NYX_DECLARE_ITER(NYX_RANGE_ITER, NYX_PORT, NYX_MODULE)
NYX_DECLARE_ITER(NYX_RANGE_ITER, NYX_INST_PORT, NYX_INSTANCE)
#undef NYX_DECLARE_ITER

#endif
