// Where a port stands in its source. Few ports have a place of their own: that of a bus is its members' as well, and is
// kept once.

#include "database/nyx_db_persistent.h"
#include "netlist/nyx_naming.h"
#include "netlist/nyx_port_table.h"
#include "nyx/nyx_bus.h"
#include "nyx/nyx_port.h"
#include "nyx/nyx_traits.h"
#include "nyx_report/nyx_report.h"
#include "traits/nyx_attributes.h"

std::string NYX_PORT::get_file_name() const {
    const NYX_STRING_TRAIT *const file_trait = nyx_builtin_traits(this).m_port_file_name_trait;
    NYX_CHECK(file_trait);
    const NYX_PORT_BUS *const bus = get_bus();
    if (bus != nullptr && is_default_value(file_trait))
        return bus->get_file_name();
    return get_value(file_trait);
}

unsigned int NYX_PORT::get_file_lineno() const {
    const NYX_INT_TRAIT *const line_trait = nyx_builtin_traits(this).m_port_file_lineno_trait;
    NYX_CHECK(line_trait);
    const NYX_PORT_BUS *const bus = get_bus();
    if (bus != nullptr && is_default_value(line_trait))
        return bus->get_file_lineno();
    const int lineno = get_value(line_trait);
    NYX_CHECK(lineno >= 0);
    return static_cast<unsigned>(lineno);
}

std::string NYX_PORT::get_src_location() const {
    return nyx_format_location(get_file_name(), get_file_lineno());
}

void NYX_PORT::set_src_location(const char *file_name, unsigned int file_lineno) {
    const NYX_BUILTIN_TRAITS &traits = nyx_builtin_traits(this);
    NYX_STRING_TRAIT *const file_trait = traits.m_port_file_name_trait;
    NYX_INT_TRAIT *const line_trait = traits.m_port_file_lineno_trait;
    NYX_CHECK(file_trait);
    NYX_CHECK(line_trait);
    const int lineno = static_cast<int>(file_lineno);
    NYX_CHECK(lineno >= 0);
    const std::string file = file_name != nullptr ? file_name : "";
    const NYX_PORT_BUS *const bus = get_bus();
    const bool is_that_of_bus = bus != nullptr && bus->get_file_lineno() == file_lineno && bus->get_file_name() == file;
    // The defaults take no room, and have the bus asked.
    set_value(file_trait, is_that_of_bus ? file_trait->get_default_value() : file);
    set_value(line_trait, is_that_of_bus ? line_trait->get_default_value() : lineno);
}
