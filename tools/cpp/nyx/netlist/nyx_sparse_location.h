#ifndef NYX_SPARSE_LOCATION_H
#define NYX_SPARSE_LOCATION_H

/// \file
/// Source locations of ports and nets. There are too many of them for columns, so a location is kept as traits, and a
/// member of a bus that stands where its bus stands keeps none.

#include "nyx/nyx_bus.h"
#include "nyx/nyx_traits.h"
#include "nyx_report/nyx_report.h"

#include <string>

/// The traits by which objects of one class keep their locations.
struct NYX_LOCATION_TRAITS {
    NYX_STRING_TRAIT *file_trait;
    NYX_INT_TRAIT *line_trait;
};

/// The object's own file name, or else its bus's; empty for none.
template <class T>
std::string nyx_get_sparse_file_name(const T *object, const NYX_LOCATION_TRAITS &traits) {
    const auto file_trait = traits.file_trait;
    NYX_CHECK(file_trait);
    if (object->is_default_value(file_trait)) {
        if (const auto *const bus = object->get_bus())
            return bus->get_file_name();
    }
    return object->get_value(file_trait);
}

/// The object's own line number, or else its bus's.
template <class T>
unsigned nyx_get_sparse_file_lineno(const T *object, const NYX_LOCATION_TRAITS &traits) {
    const auto line_trait = traits.line_trait;
    NYX_CHECK(line_trait);
    if (object->is_default_value(line_trait)) {
        if (const auto *const bus = object->get_bus())
            return bus->get_file_lineno();
    }
    const int lineno = object->get_value(line_trait);
    NYX_CHECK(lineno >= 0);
    return static_cast<unsigned>(lineno);
}

/// Keeps a location, but for one that is the bus's. Null is no file.
template <class T>
void nyx_set_sparse_location(T *object, const NYX_LOCATION_TRAITS &traits, const char *file_name, unsigned number) {
    const auto file_trait = traits.file_trait;
    const auto line_trait = traits.line_trait;
    NYX_CHECK(file_trait);
    NYX_CHECK(line_trait);
    const int lineno = static_cast<int>(number);
    NYX_CHECK(lineno >= 0);
    const std::string file = file_name != nullptr ? file_name : "";
    const auto *const bus = object->get_bus();
    const bool is_of_bus = bus != nullptr && bus->get_file_name() == file && bus->get_file_lineno() == number;
    // What was kept before must not hide the bus's.
    object->set_value(file_trait, is_of_bus ? file_trait->get_default_value() : file);
    object->set_value(line_trait, is_of_bus ? line_trait->get_default_value() : lineno);
}

#endif
