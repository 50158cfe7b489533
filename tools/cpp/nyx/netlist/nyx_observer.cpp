#include "nyx/nyx_observer.h"

#include "netlist/nyx_db_observer.h"
#include "nyx_report/nyx_report.h"

#include <algorithm>
#include <utility>

namespace {

/// An observer enters and leaves its list in the constructor and destructor of its base. Its dynamic type is that of
/// the base then, so that sanitizers would take this for a wrong cast.
template <class T>
__attribute__((no_sanitize("vptr"))) NYX_OBSERVER<T> *observer_of(NYX_OBSERVER_BASE<T> *base) {
    return static_cast<NYX_OBSERVER<T> *>(base);
}

} // namespace

template <class T>
bool NYX_OBSERVER_BASE<T>::s_enabled = false;

template <class T>
int NYX_OBSERVER_BASE<T>::s_disable_count = 0;

template <class T>
bool NYX_OBSERVER_BASE<T>::PRIORITY_COMPARE::operator()(const NYX_OBSERVER<T> *a, const NYX_OBSERVER<T> *b) const {
    const NYX_OBSERVER_BASE *const a_base = a, *const b_base = b;
    return a_base->m_priority > b_base->m_priority;
}

// Never destroyed: an observer with static storage may go after everything else.
template <class T>
auto NYX_OBSERVER_BASE<T>::list() -> LIST & {
    static LIST &observers = *new LIST;
    return observers;
}

template <class T>
NYX_OBSERVER_BASE<T>::NYX_OBSERVER_BASE(unsigned int priority) : m_priority(priority) {
    NYX_CHECK_MSG(priority != INTERNAL, "Priority %d is reserved for internal DB observer", static_cast<int>(priority));
    list().insert(observer_of(this));
}

template <class T>
NYX_OBSERVER_BASE<T>::~NYX_OBSERVER_BASE() {
    if (m_priority == INTERNAL)
        return;
    NYX_OBSERVER<T> *const self = observer_of(this);
    const auto [first, last] = list().equal_range(self);
    const auto found = std::find(first, last, self);
    if (found != last)
        list().erase(found);
}

template <class T>
void NYX_OBSERVER_BASE<T>::set_enabled(bool on) {
    s_disable_count = std::max(on ? s_disable_count - 1 : s_disable_count + 1, 0);
    const bool enable = on && s_disable_count == 0;
    if (enable == s_enabled)
        return;
    s_enabled = enable;
    for (NYX_OBSERVER<T> *observer : list())
        observer->enabled(enable);
}

template <class T>
auto NYX_OBSERVER_BASE<T>::begin() -> typename LIST::const_iterator {
    return list().begin();
}

template <class T>
auto NYX_OBSERVER_BASE<T>::end() -> typename LIST::const_iterator {
    return list().end();
}

template <class T>
requires(!std::same_as<T, NYX_DB>) NYX_DB_OBSERVER<T>
*NYX_DB_OBSERVER<T>::s_first = nullptr;

template <class T>
requires(!std::same_as<T, NYX_DB>) void NYX_DB_OBSERVER<T>::enter() {
    NYX_DB_OBSERVER **link = &s_first;
    for (; *link; link = &(*link)->m_next)
        NYX_CHECK_MSG(*link != this, "Internal DB observer has entered already");
    *link = this;
}

template <class T>
requires(!std::same_as<T, NYX_DB>) void NYX_DB_OBSERVER<T>::leave() {
    for (NYX_DB_OBSERVER **link = &s_first; *link; link = &(*link)->m_next) {
        if (*link == this) {
            *link = std::exchange(m_next, nullptr);
            return;
        }
    }
}

// The key functions: the tables of these classes lie where their destructors are defined.
NYX_OBSERVER<NYX_PORT>::~NYX_OBSERVER() = default;
NYX_OBSERVER<NYX_INSTANCE>::~NYX_OBSERVER() = default;
NYX_OBSERVER<NYX_INST_PORT>::~NYX_OBSERVER() = default;
NYX_OBSERVER<NYX_MODULE>::~NYX_OBSERVER() = default;
NYX_OBSERVER<NYX_DB>::~NYX_OBSERVER() = default;

#define NYX_DEFINE_OBSERVER(T) template class NYX_OBSERVER_BASE<T>;
NYX_FOR_EACH_OBSERVED_TYPE(NYX_DEFINE_OBSERVER)
#define NYX_DEFINE_DB_OBSERVER(T) template class NYX_DB_OBSERVER<T>;
NYX_FOR_EACH_OBSERVED_OBJECT_TYPE(NYX_DEFINE_DB_OBSERVER)
template class NYX_ALLOCATE_OBSERVER<NYX_PORT>;
template class NYX_ALLOCATE_OBSERVER<NYX_PORT_BUS>;
template class NYX_ALLOCATE_OBSERVER<NYX_NET>;
template class NYX_ALLOCATE_OBSERVER<NYX_NET_BUS>;
template class NYX_ALLOCATE_OBSERVER<NYX_INSTANCE>;
template class NYX_ALLOCATE_OBSERVER<NYX_INSTANCE_BUS>;
template class NYX_ALLOCATE_OBSERVER<NYX_INTERFACE>;
template class NYX_CONNECTION_OBSERVER<NYX_PORT>;
template class NYX_CONNECTION_OBSERVER<NYX_INST_PORT>;
template class NYX_COPY_OBSERVER<NYX_MODULE>;
template class NYX_OBSERVER<NYX_PORT_BUS>;
template class NYX_OBSERVER<NYX_NET>;
template class NYX_OBSERVER<NYX_NET_BUS>;
template class NYX_OBSERVER<NYX_INSTANCE_BUS>;
template class NYX_OBSERVER<NYX_INTERFACE>;
template class NYX_OBSERVER<NYX_RELATIVE_OBJECT>;
template class NYX_OBSERVER<NYX_CONSTRAINT_COLLECTION>;
template class NYX_OBSERVER<NYX_CONSTRAINT_STMT>;
template class NYX_OBSERVER<NYX_CONSTRAINT_ARG>;
template class NYX_OBSERVER<NYX_SOURCE_FILE>;
template class NYX_OBSERVER<NYX_ENTITY>;
template class NYX_OBSERVER<NYX_SDC_CLOCK>;
