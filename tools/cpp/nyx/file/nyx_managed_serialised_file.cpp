#include "file/nyx_managed_serialised_file.h"

#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"

#include <cerrno>
#include <system_error>
#include <utility>

NYX_MANAGED_SERIALISED_FILE::NYX_MANAGED_SERIALISED_FILE(std::size_t size, NYX_DB_TYPE type, std::string tag)
    : m_segment(std::make_unique<NYX_SEGMENT>(size))
    , m_type(type)
    , m_tag(std::move(tag)) {}

NYX_MANAGED_SERIALISED_FILE::NYX_MANAGED_SERIALISED_FILE(bool read_only)
    : m_type(NYX_DB_TYPE::USER)
    , m_read_only(read_only) {}

NYX_MANAGED_SERIALISED_FILE::NYX_MANAGED_SERIALISED_FILE(OPEN_FOR_MODIFICATION, const std::string &path,
                                                         const NYX_FILE_OPTIONS &options)
    : NYX_MANAGED_SERIALISED_FILE(false) {
    if (!load(path, options))
        throw NYX_FILE_IO_EXCEPTION(path, {ENOENT, std::system_category()}, NYX_FILE_IO_EXCEPTION::READ);
}

NYX_MANAGED_SERIALISED_FILE::NYX_MANAGED_SERIALISED_FILE(OPEN_READ_ONLY, const std::string &path)
    : NYX_MANAGED_SERIALISED_FILE(true) {
    if (!load(path))
        throw NYX_FILE_IO_EXCEPTION(path, {ENOENT, std::system_category()}, NYX_FILE_IO_EXCEPTION::READ);
}

NYX_MANAGED_SERIALISED_FILE::NYX_MANAGED_SERIALISED_FILE(const NYX_MANAGED_SERIALISED_FILE &other, std::size_t extra)
    : m_segment((NYX_CHECK_AS(other.m_segment != nullptr, "seg_man != nullptr"),
                 std::make_unique<NYX_SEGMENT>(*other.m_segment, extra)))
    , m_type(other.m_type)
    , m_tag(other.m_tag) {}

NYX_MANAGED_SERIALISED_FILE::~NYX_MANAGED_SERIALISED_FILE() = default;

NYX_SEGMENT_MANAGER *NYX_MANAGED_SERIALISED_FILE::get_segment_manager() const {
    NYX_SEGMENT_MANAGER *const seg_man = m_segment ? m_segment->get_segment_manager() : nullptr;
    NYX_CHECK(seg_man != nullptr);
    return seg_man;
}

std::size_t NYX_MANAGED_SERIALISED_FILE::get_size() const {
    return nyx_get_algorithm(get_segment_manager())->get_size();
}

const char *NYX_MANAGED_SERIALISED_FILE::get_starting_address() const {
    return reinterpret_cast<const char *>(get_segment_manager());
}

NYX_DB_FILE_STATS NYX_MANAGED_SERIALISED_FILE::read_header(std::istream &stream, const std::string &path) {
    return nyx_read_file_header(stream, path);
}
