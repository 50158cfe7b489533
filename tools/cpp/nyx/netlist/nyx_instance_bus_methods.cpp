#include "netlist/nyx_instance_bus_table.h"
#include "netlist/nyx_object_impl.h"

NYX_INSTANCE *NYX_INSTANCE_BUS::get_instance(const std::vector<int> &index) const {
    return get_member(index);
}

std::vector<NYX_INSTANCE *> NYX_INSTANCE_BUS::get_instances(const std::vector<NYX_BUS_DIMENSION> &sub_dims) const {
    return get_members(sub_dims);
}

std::vector<NYX_INSTANCE *> NYX_INSTANCE_BUS::get_instances(const std::string &query) const {
    return get_members(query);
}

void NYX_INSTANCE_BUS::set_instance(int index, NYX_INSTANCE *instance) {
    set_member(index, instance);
}

void NYX_INSTANCE_BUS::set_instance(const std::vector<int> &index, NYX_INSTANCE *instance) {
    set_member(index, instance);
}

int NYX_INSTANCE_BUS::remove_instance(NYX_INSTANCE *instance) {
    return remove_member(instance);
}

boost::iterator_range<NYX_INSTANCE_BUS_INSTANCE_ITER> NYX_INSTANCE_BUS::iter_instances() {
    return {NYX_INSTANCE_BUS_INSTANCE_ITER(this), NYX_INSTANCE_BUS_INSTANCE_ITER()};
}

boost::iterator_range<NYX_INSTANCE_BUS_INSTANCE_CONST_ITER> NYX_INSTANCE_BUS::const_iter_instances() const {
    return {NYX_INSTANCE_BUS_INSTANCE_CONST_ITER(this), NYX_INSTANCE_BUS_INSTANCE_CONST_ITER()};
}

NYX_INSTANCE_BUS_IMPL *NYX_INSTANCE_BUS::get_impl() {
    return static_cast<NYX_INSTANCE_BUS_IMPL *>(this);
}
const NYX_INSTANCE_BUS_IMPL *NYX_INSTANCE_BUS::get_impl() const {
    return static_cast<const NYX_INSTANCE_BUS_IMPL *>(this);
}

template class NYX_OBJECT<NYX_INSTANCE_BUS>;
