#ifndef NYX_PARAM_VALUES_H
#define NYX_PARAM_VALUES_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_property.h"

#include <boost/optional.hpp>
#include <boost/range/iterator_range_core.hpp>

#include <map>
#include <string>

/// The value of a parameter. Give texts as std::string: a literal would become a bool.
using NYX_PARAM_VALUE = NYX_PROPERTY_VALUE;

/// Values of parameters by name: what an instance of a definition module is made with. A plain value.
class NYX_API NYX_PARAM_VALUES {
public:
    using MAP = std::map<std::string, NYX_PARAM_VALUE>;

    /// Replaces the value that the name may have.
    void set(const std::string &name, const NYX_PARAM_VALUE &value) { m_values[name] = value; }
    /// None if the name has no value.
    boost::optional<NYX_PARAM_VALUE> find(const std::string &name) const {
        const auto found = m_values.find(name);
        return found != m_values.end() ? boost::make_optional(found->second) : boost::none;
    }
    bool has_param(const std::string &name) const { return m_values.contains(name); }
    /// Names and values in the order of the names.
    boost::iterator_range<MAP::const_iterator> iter_params() const { return boost::make_iterator_range(m_values); }

    bool empty() const { return m_values.empty(); }
    void clear() { m_values.clear(); }
    /// Takes all of `other` over; its values replace those of the same names.
    void add(const NYX_PARAM_VALUES &other) {
        for (const auto &[name, value] : other.m_values)
            m_values[name] = value;
    }

    friend bool operator==(const NYX_PARAM_VALUES &a, const NYX_PARAM_VALUES &b) { return a.m_values == b.m_values; }

private:
    MAP m_values;
};

#endif
