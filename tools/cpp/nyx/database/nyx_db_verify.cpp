#include "database/nyx_db_image_check.h"
#include "database/nyx_db_impl.h"
#include "netlist/nyx_netlist_check.h"
#include "nyx/nyx_db.h"

std::vector<std::string> NYX_DB::verify() const {
    const NYX_DB_IMPL &record = get_impl();
    std::vector<std::string> faults =
        nyx_find_image_faults(record.m_file->get_segment_manager(), record.m_file->get_type());
    // Rows can be looked at where tables and names are sound.
    if (faults.empty())
        faults = nyx_check_netlist(*record.m_persistent);
    if (faults.empty())
        faults = nyx_check_base_modules(*record.m_persistent);
    return faults;
}
