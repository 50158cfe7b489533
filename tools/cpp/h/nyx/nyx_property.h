#ifndef NYX_PROPERTY_H
#define NYX_PROPERTY_H

/// \file
/// Free-form values of single objects, by name.

#include "nyx/nyx_api.h"
#include "nyx/nyx_app_data.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_fwd.h"

#include <boost/iterator/iterator_facade.hpp>
#include <boost/variant.hpp>

#include <string>
#include <utility>

/// The value of a property. Give texts as std::string: a literal would become a bool.
using NYX_PROPERTY_VALUE = boost::variant<bool, int, unsigned int, float, std::string, double, long long, NYX_APP_DATA>;

/// Walks the properties of an object in the order of the names' identifiers, which is that in which the database got to
/// know the names. A step is O(log n) of their number and copies name and value. The present property may be removed
/// during the walk, and others added.
template <class T>
class NYX_API NYX_PROPERTY_ITER
    : public boost::iterator_facade<NYX_PROPERTY_ITER<T>, std::pair<const std::string, NYX_PROPERTY_VALUE>,
                                    boost::forward_traversal_tag, std::pair<const std::string, NYX_PROPERTY_VALUE>> {
public:
    /// The end.
    NYX_PROPERTY_ITER() = default;
    /// The first property of `object`.
    explicit NYX_PROPERTY_ITER(const T *object);

private:
    friend class boost::iterator_core_access;

    /// Ends the run at the end, "m_name_id != NYX_NAME_ID::INVALID", and on a property that has been removed since the
    /// iterator reached it, "The property has been removed".
    std::pair<const std::string, NYX_PROPERTY_VALUE> dereference() const;
    void increment();
    bool equal(const NYX_PROPERTY_ITER &other) const { return m_name_id == other.m_name_id; }

    const T *m_object = nullptr;
    NYX_NAME_ID m_name_id;
};

using NYX_MODULE_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_MODULE>;
using NYX_PORT_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_PORT>;
using NYX_NET_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_NET>;
using NYX_INSTANCE_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_INSTANCE>;
using NYX_INST_PORT_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_INST_PORT>;
using NYX_INST_HEADER_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_INST_HEADER>;
using NYX_PORT_BUS_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_PORT_BUS>;
using NYX_NET_BUS_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_NET_BUS>;
using NYX_INSTANCE_BUS_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_INSTANCE_BUS>;
using NYX_INTERFACE_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_INTERFACE>;
using NYX_RELATIVE_OBJECT_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_RELATIVE_OBJECT>;
using NYX_CONSTRAINT_STMT_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_CONSTRAINT_STMT>;
using NYX_SOURCE_FILE_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_SOURCE_FILE>;
using NYX_ENTITY_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_ENTITY>;
using NYX_SDC_CLOCK_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_SDC_CLOCK>;
using NYX_HIER_MODULE_PROPERTY_ITER = NYX_PROPERTY_ITER<NYX_HIER_MODULE>;

#endif
