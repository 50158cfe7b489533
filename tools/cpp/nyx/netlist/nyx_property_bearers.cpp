// The property members of all classes: one line each, over a core that knows no classes. Instantiated here for all of
// them, so that every body is compiled once.
#include "netlist/nyx_schema.h"
#include "nyx/nyx.h"
#include "traits/nyx_bearer_tables.h"
#include "traits/nyx_property_core.h"

template <class T>
bool NYX_PROPERTY_BEARER<T>::has_property(const std::string &name) const {
    return nyx_object_properties(static_cast<const T *>(this)).has(name);
}
template <class T>
NYX_PROPERTY_VALUE NYX_PROPERTY_BEARER<T>::get_property(const std::string &name) const {
    return nyx_object_properties(static_cast<const T *>(this)).get(name, NYX_OBJECT_TRAITS<T>::s_name);
}
template <class T>
std::optional<NYX_PROPERTY_VALUE> NYX_PROPERTY_BEARER<T>::find_property(const std::string &name) const {
    return nyx_object_properties(static_cast<const T *>(this)).find(name);
}
template <class T>
void NYX_PROPERTY_BEARER<T>::set_property(const std::string &name, const NYX_PROPERTY_VALUE &value) {
    nyx_object_properties(static_cast<const T *>(this)).set(name, value);
}
template <class T>
void NYX_PROPERTY_BEARER<T>::remove_property(const std::string &name) {
    nyx_object_properties(static_cast<const T *>(this)).remove(name);
}
template <class T>
boost::iterator_range<NYX_PROPERTY_ITER<T>> NYX_PROPERTY_BEARER<T>::iter_properties() const {
    return {NYX_PROPERTY_ITER<T>(static_cast<const T *>(this)), NYX_PROPERTY_ITER<T>()};
}

template <class T>
NYX_PROPERTY_ITER<T>::NYX_PROPERTY_ITER(const T *object) : m_object(object) {
    NYX_CHECK_AS(object != nullptr, "parent != nullptr");
    m_name_id = nyx_object_properties(object).first_name();
}
template <class T>
std::pair<const std::string, NYX_PROPERTY_VALUE> NYX_PROPERTY_ITER<T>::dereference() const {
    NYX_CHECK(m_name_id != NYX_NAME_ID::INVALID);
    return nyx_object_properties(m_object).at(m_name_id);
}
template <class T>
void NYX_PROPERTY_ITER<T>::increment() {
    NYX_CHECK(m_name_id != NYX_NAME_ID::INVALID);
    m_name_id = nyx_object_properties(m_object).next_name(m_name_id);
}

template class NYX_PROPERTY_BEARER<NYX_MODULE>;
template class NYX_PROPERTY_ITER<NYX_MODULE>;
template class NYX_PROPERTY_BEARER<NYX_PORT>;
template class NYX_PROPERTY_ITER<NYX_PORT>;
template class NYX_PROPERTY_BEARER<NYX_NET>;
template class NYX_PROPERTY_ITER<NYX_NET>;
template class NYX_PROPERTY_BEARER<NYX_INSTANCE>;
template class NYX_PROPERTY_ITER<NYX_INSTANCE>;
template class NYX_PROPERTY_BEARER<NYX_INSTANCE_BUS>;
template class NYX_PROPERTY_ITER<NYX_INSTANCE_BUS>;
template class NYX_PROPERTY_BEARER<NYX_INST_PORT>;
template class NYX_PROPERTY_ITER<NYX_INST_PORT>;
template class NYX_PROPERTY_BEARER<NYX_PORT_BUS>;
template class NYX_PROPERTY_ITER<NYX_PORT_BUS>;
template class NYX_PROPERTY_BEARER<NYX_NET_BUS>;
template class NYX_PROPERTY_ITER<NYX_NET_BUS>;
template class NYX_PROPERTY_BEARER<NYX_INTERFACE>;
template class NYX_PROPERTY_ITER<NYX_INTERFACE>;
template class NYX_PROPERTY_BEARER<NYX_INST_HEADER>;
template class NYX_PROPERTY_ITER<NYX_INST_HEADER>;
template class NYX_PROPERTY_BEARER<NYX_RELATIVE_OBJECT>;
template class NYX_PROPERTY_ITER<NYX_RELATIVE_OBJECT>;
template class NYX_PROPERTY_BEARER<NYX_CONSTRAINT_STMT>;
template class NYX_PROPERTY_ITER<NYX_CONSTRAINT_STMT>;
template class NYX_PROPERTY_BEARER<NYX_SOURCE_FILE>;
template class NYX_PROPERTY_ITER<NYX_SOURCE_FILE>;
template class NYX_PROPERTY_BEARER<NYX_ENTITY>;
template class NYX_PROPERTY_ITER<NYX_ENTITY>;
template class NYX_PROPERTY_BEARER<NYX_SDC_CLOCK>;
template class NYX_PROPERTY_ITER<NYX_SDC_CLOCK>;
template class NYX_PROPERTY_BEARER<NYX_HIER_MODULE>;
template class NYX_PROPERTY_ITER<NYX_HIER_MODULE>;
