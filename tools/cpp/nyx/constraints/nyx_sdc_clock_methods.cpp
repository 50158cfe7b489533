#include "constraints/nyx_sdc_clock_table.h"
#include "netlist/nyx_object_impl.h"

NYX_SDC_CLOCK_IMPL *NYX_SDC_CLOCK::get_impl() {
    return static_cast<NYX_SDC_CLOCK_IMPL *>(this);
}
const NYX_SDC_CLOCK_IMPL *NYX_SDC_CLOCK::get_impl() const {
    return static_cast<const NYX_SDC_CLOCK_IMPL *>(this);
}

template class NYX_OBJECT<NYX_SDC_CLOCK>;
