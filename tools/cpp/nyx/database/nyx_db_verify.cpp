#include "database/nyx_db_image_check.h"
#include "database/nyx_db_impl.h"
#include "nyx/nyx_db.h"

std::vector<std::string> NYX_DB::verify() const {
    const NYX_DB_IMPL &record = get_impl();
    return nyx_find_image_faults(record.m_file->get_segment_manager(), record.m_file->get_type());
}
