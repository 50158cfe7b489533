// Where a port stands in its source.

#include "netlist/nyx_naming.h"
#include "netlist/nyx_port_table.h"
#include "netlist/nyx_sparse_location.h"
#include "nyx/nyx_port.h"
#include "traits/nyx_attributes.h"

namespace {

NYX_LOCATION_TRAITS location_traits(const NYX_PORT *port) {
    const NYX_BUILTIN_TRAITS &traits = nyx_builtin_traits(port);
    return {traits.m_port_file_name_trait, traits.m_port_file_lineno_trait};
}

} // namespace

std::string NYX_PORT::get_file_name() const {
    return nyx_get_sparse_file_name(this, location_traits(this));
}

unsigned int NYX_PORT::get_file_lineno() const {
    return nyx_get_sparse_file_lineno(this, location_traits(this));
}

std::string NYX_PORT::get_src_location() const {
    return nyx_format_location(get_file_name(), get_file_lineno());
}

void NYX_PORT::set_src_location(const char *file_name, unsigned int lineno) {
    nyx_set_sparse_location(this, location_traits(this), file_name, lineno);
}
