#include "nyx/nyx_array_iter.h"

#include "database/nyx_db_persistent.h"
#include "netlist/nyx_bus_kind.h"
#include "netlist/nyx_interface_members.h"

namespace {

// What is at a position: false behind the last one.
template <class MEMBER, class BUS>
bool look_at(const BUS *bus, unsigned position, MEMBER *&member) {
    using ID = typename NYX_OBJECT_TRAITS<MEMBER>::id;
    if (position >= bus->get_size())
        return false;
    const auto *const row = bus->get_impl();
    const ID id = row->m_members_ptr[position];
    member = id == ID::INVALID ? nullptr : nyx_get_persistent(row)->template table<MEMBER>().get(id);
    return true;
}

template <class MEMBER>
bool look_at(const NYX_INTERFACE *interface, unsigned position, MEMBER *&member) {
    const auto *const members = nyx_interface_members<MEMBER>(interface->get_impl());
    if (members == nullptr || position >= members->size())
        return false;
    member = (*members)[position].get();
    return true;
}

} // namespace

template <class T, class OWNER>
NYX_ARRAY_ITER<T, OWNER>::NYX_ARRAY_ITER(const OWNER *parent) {
    NYX_CHECK(parent != nullptr);
    m_owner = parent;
    if (look_at(m_owner, 0, m_object))
        m_index = 0;
}

template <class T, class OWNER>
void NYX_ARRAY_ITER<T, OWNER>::increment() {
    if (m_index == s_end)
        fail_at_end();
    // The array is looked at as it is now: it may have changed since the last step.
    if (look_at(m_owner, m_index + 1, m_object))
        ++m_index;
    else
        m_index = s_end;
}

template <class T, class OWNER>
void NYX_ARRAY_ITER<T, OWNER>::fail_at_end() const {
    nyx_check_id(typename NYX_OBJECT_TRAITS<OBJECT>::id(m_index), "m_index");
    __builtin_unreachable();
}

#define NYX_DEFINE_ITER(T, owner)                                                                                      \
    template class NYX_ARRAY_ITER<T, owner>;                                                                           \
    template class NYX_ARRAY_ITER<const T, owner>;
NYX_DEFINE_ITER(NYX_PORT, NYX_PORT_BUS)
NYX_DEFINE_ITER(NYX_NET, NYX_NET_BUS)
NYX_DEFINE_ITER(NYX_INSTANCE, NYX_INSTANCE_BUS)
NYX_DEFINE_ITER(NYX_PORT, NYX_INTERFACE)
NYX_DEFINE_ITER(NYX_PORT_BUS, NYX_INTERFACE)
