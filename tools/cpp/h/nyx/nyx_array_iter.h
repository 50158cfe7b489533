#ifndef NYX_ARRAY_ITER_H
#define NYX_ARRAY_ITER_H

/// \file
/// Iterators over arrays of objects: the members of buses and of interfaces. The rules of nyx_iters.h hold for them
/// too.

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"

#include <boost/iterator/iterator_facade.hpp>
#include <boost/range/iterator_range_core.hpp>

#include <type_traits>

/// Steps through the positions of an array. T is the element, const for handles that don't change it; OWNER is what has
/// the array. A position of a bus that holds no member is stepped on too, and gives null. A step is O(1).
template <class T, class OWNER>
class NYX_API NYX_ARRAY_ITER
    : public boost::iterator_facade<NYX_ARRAY_ITER<T, OWNER>, T *, boost::forward_traversal_tag, T *> {
public:
    /// The end.
    NYX_ARRAY_ITER() = default;
    /// The first position of the array of `parent`; ends the run with "parent != nullptr" for null.
    explicit NYX_ARRAY_ITER(const OWNER *parent);
    /// From the form that is not const.
    template <class U>
    requires(std::is_same_v<const U, T>) NYX_ARRAY_ITER(const NYX_ARRAY_ITER<U, OWNER> &other)
        : m_owner(other.m_owner)
        , m_object(other.m_object)
        , m_index(other.m_index) {}

private:
    friend class boost::iterator_core_access;
    template <class U, class V>
    friend class NYX_ARRAY_ITER;
    using OBJECT = std::remove_const_t<T>;
    static constexpr unsigned s_end = ~0u;

    T *dereference() const {
        if (m_index == s_end) [[unlikely]]
            fail_at_end();
        return m_object;
    }
    template <class U>
    bool equal(const NYX_ARRAY_ITER<U, OWNER> &other) const {
        return m_index == other.m_index;
    }
    void increment();
    [[noreturn]] void fail_at_end() const;

    const OWNER *m_owner = nullptr;
    OBJECT *m_object = nullptr;
    unsigned m_index = s_end;
};

/// \name The members of a bus, from its left index to its right one
/// \{
using NYX_PORT_BUS_PORT_ITER = NYX_ARRAY_ITER<NYX_PORT, NYX_PORT_BUS>;
using NYX_PORT_BUS_PORT_CONST_ITER = NYX_ARRAY_ITER<const NYX_PORT, NYX_PORT_BUS>;
using NYX_NET_BUS_NET_ITER = NYX_ARRAY_ITER<NYX_NET, NYX_NET_BUS>;
using NYX_NET_BUS_NET_CONST_ITER = NYX_ARRAY_ITER<const NYX_NET, NYX_NET_BUS>;
using NYX_INSTANCE_BUS_INSTANCE_ITER = NYX_ARRAY_ITER<NYX_INSTANCE, NYX_INSTANCE_BUS>;
using NYX_INSTANCE_BUS_INSTANCE_CONST_ITER = NYX_ARRAY_ITER<const NYX_INSTANCE, NYX_INSTANCE_BUS>;
/// \}

/// \name The members of an interface, in the order in which they were added
/// \{
using NYX_INTERFACE_PORT_ITER = NYX_ARRAY_ITER<NYX_PORT, NYX_INTERFACE>;
using NYX_INTERFACE_PORT_CONST_ITER = NYX_ARRAY_ITER<const NYX_PORT, NYX_INTERFACE>;
using NYX_INTERFACE_PORT_BUS_ITER = NYX_ARRAY_ITER<NYX_PORT_BUS, NYX_INTERFACE>;
using NYX_INTERFACE_PORT_BUS_CONST_ITER = NYX_ARRAY_ITER<const NYX_PORT_BUS, NYX_INTERFACE>;
/// \}

#define NYX_DECLARE_ITER(T, owner)                                                                                     \
    extern template class NYX_ARRAY_ITER<T, owner>;                                                                    \
    extern template class NYX_ARRAY_ITER<const T, owner>;
NYX_DECLARE_ITER(NYX_PORT, NYX_PORT_BUS)
NYX_DECLARE_ITER(NYX_NET, NYX_NET_BUS)
NYX_DECLARE_ITER(NYX_INSTANCE, NYX_INSTANCE_BUS)
NYX_DECLARE_ITER(NYX_PORT, NYX_INTERFACE)
NYX_DECLARE_ITER(NYX_PORT_BUS, NYX_INTERFACE)
#undef NYX_DECLARE_ITER

#endif
