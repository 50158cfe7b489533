#include "netlist/nyx_object_impl.h"

#include "database/nyx_db_linker.h"
#include "netlist/nyx_table.h"

NYX_DB *nyx_get_db_of_row(const void *row) {
    return NYX_DB_LINKER::get().db_for_persistent(nyx_get_persistent(row));
}
