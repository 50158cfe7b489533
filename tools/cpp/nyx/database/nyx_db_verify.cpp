#include "database/nyx_db_image_check.h"
#include "database/nyx_db_impl.h"
#include "memory/nyx_image_reader.h"
#include "netlist/nyx_netlist_check.h"
#include "nyx/nyx_db.h"

// What lies in blocks is looked at where the blocks are sound, and rows where tables and names are.
std::vector<std::string> NYX_DB::verify() const {
    const NYX_DB_IMPL &record = get_impl();
    NYX_SEGMENT_MANAGER *const manager = record.m_file->get_segment_manager();
    if (std::string fault = nyx_get_algorithm(manager)->find_fault(); !fault.empty())
        return {std::move(fault)};
    NYX_IMAGE_READER reader(manager);
    std::vector<std::string> faults = nyx_find_image_faults(reader, record.m_file->get_type());
    if (faults.empty())
        faults = nyx_check_netlist(*record.m_persistent, reader);
    if (faults.empty())
        faults = nyx_check_base_modules(*record.m_persistent);
    return faults;
}
