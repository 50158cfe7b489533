#ifndef NYX_PROPERTY_CORE_H
#define NYX_PROPERTY_CORE_H

/// \file
/// What stands behind the property members of all classes.

#include "nyx/nyx_property.h"
#include "traits/nyx_bearer.h"

#include <optional>
#include <string>

/// The properties of one object.
class NYX_OBJECT_PROPERTIES {
public:
    NYX_OBJECT_PROPERTIES(NYX_DB_PERSISTENT *root, NYX_ANY_PROPERTY_MAP &map, NYX_ANY_ID id)
        : m_root(root)
        , m_map(map)
        , m_id(id) {}

    std::optional<NYX_PROPERTY_VALUE> find(const std::string &name) const;
    bool has(const std::string &name) const;
    /// `class_name` is for what it raises.
    NYX_PROPERTY_VALUE get(const std::string &name, const char *class_name) const;
    void set(const std::string &name, const NYX_PROPERTY_VALUE &value);
    void remove(const std::string &name);
    void clear();
    /// Gives the properties of `from`, which may be in another database, to this object as well.
    void copy_from(const NYX_OBJECT_PROPERTIES &from);
    /// Moves the properties of the row `from` of the same table here, in place of those that are here.
    void move_from(NYX_ANY_ID from);

    /// The first name, and the one behind a name; INVALID where there is none.
    NYX_NAME_ID first_name() const;
    NYX_NAME_ID next_name(NYX_NAME_ID name_id) const;
    /// Ends the run for INVALID.
    std::pair<const std::string, NYX_PROPERTY_VALUE> at(NYX_NAME_ID name_id) const;

private:
    const NYX_ROW_PROPERTIES *find_all() const;
    const NYX_STORED_PROPERTY *find_stored(const std::string &name) const;
    NYX_PROPERTY_VALUE to_public(const NYX_STORED_PROPERTY &stored) const;
    void set(NYX_NAME_ID name_id, const NYX_PROPERTY_VALUE &value);

    NYX_DB_PERSISTENT *m_root;
    NYX_ANY_PROPERTY_MAP &m_map;
    NYX_ANY_ID m_id;
};

/// The properties of the object of a handle that is not null.
template <class T>
inline NYX_OBJECT_PROPERTIES nyx_object_properties(const T *object) {
    const NYX_BEARER bearer = nyx_bearer(object);
    return NYX_OBJECT_PROPERTIES(bearer.root, nyx_properties_of<T>(bearer.root), bearer.id);
}

#endif
