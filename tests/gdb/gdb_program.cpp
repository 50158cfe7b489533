// What nyx_gdb_test.py looks at: one of each kind of value that the printers know. Compiled without optimisation.
#include "memory/nyx_serialization.h"

#include "nyx/nyx_defs.h"

struct ROW {
    int number;
};

struct VALUES {
    ROW row{42};
    NYX_OFFSET_PTR<ROW> null;
    NYX_OFFSET_PTR<ROW> offset{&row};
    boost::interprocess::offset_ptr<const ROW> default_offset{&row};
    NYX_FAST_OFFSET_PTR<ROW> unassigned;
    NYX_FAST_OFFSET_PTR<ROW> fast{&row};
    NYX_NET_ID net_id{7};
    NYX_NET_ID no_net_id;
    NYX_NAME_ID name_id{12};
    NYX_NAME_ID bus_name_id{0x82800009U};
    NYX_NAME_ID no_name_id;
};

static VALUES values;

[[gnu::noinline]] void stop_here() {
    asm volatile("");
}

int main() {
    stop_here();
    return values.row.number - 42;
}
