#include "nyx/nyx_stats.h"

#include "nyx_report/nyx_report.h"

#include <ostream>
#include <sstream>
#include <utility>

namespace {

template <class STATS>
void report(const STATS &stats) {
    std::ostringstream text;
    text << stats;
    NYX_REPORT::info("%s", text.str().c_str());
}

} // namespace

NYX_FIELD_STATS::NYX_FIELD_STATS(std::string type, long bytes, int page_capacity, int num_pages)
    : m_type(std::move(type))
    , m_bytes(bytes)
    , m_page_capacity(page_capacity)
    , m_num_pages(num_pages) {}

void NYX_FIELD_STATS::accumulate(const NYX_FIELD_STATS &stat) {
    NYX_CHECK_MSG(m_page_capacity == stat.m_page_capacity, "Can't accumulate stats across different page capacities");
    m_bytes += stat.m_bytes;
    m_num_pages += stat.m_num_pages;
}

void NYX_FIELD_STATS::dump() const {
    report(*this);
}

NYX_TYPE_STATS::NYX_TYPE_STATS(const std::string &type, int num_free, int num_allocated)
    : m_type(type)
    , m_num_free(num_free)
    , m_num_allocated(num_allocated) {}

std::vector<NYX_FIELD_STATS> NYX_TYPE_STATS::get_field_stats() const {
    std::vector<NYX_FIELD_STATS> result;
    result.reserve(m_fields.size());
    for (const auto &[name, field] : m_fields)
        result.push_back(field);
    return result;
}

void NYX_TYPE_STATS::add_field_stats(const NYX_FIELD_STATS &stat) {
    const auto [at, added] = m_fields.emplace(stat.get_type(), stat);
    if (!added)
        at->second.accumulate(stat);
}

void NYX_TYPE_STATS::add_sub_field_stats(const std::string &prefix, const NYX_TYPE_STATS &stats) {
    // A copy of the fields: `stats` may be this record.
    for (const NYX_FIELD_STATS &field : stats.get_field_stats())
        add_field_stats(NYX_FIELD_STATS(prefix + "/" + field.get_type(), field.get_bytes(), field.get_page_capacity(),
                                        field.get_num_pages()));
}

void NYX_TYPE_STATS::accumulate(const NYX_TYPE_STATS &stats) {
    for (const auto &[name, field] : stats.m_fields)
        add_field_stats(field);
}

void NYX_TYPE_STATS::dump() const {
    report(*this);
}

NYX_STATS::NYX_STATS(unsigned long long size, unsigned long long free) : m_size(size), m_free(free) {}

unsigned long long NYX_STATS::get_used() const {
    NYX_CHECK(m_free <= m_size);
    return m_size - m_free;
}

void NYX_STATS::add_type_stats(const NYX_TYPE_STATS &stats) {
    m_types.push_back(stats);
}

void NYX_STATS::dump() const {
    report(*this);
}

std::ostream &operator<<(std::ostream &out, const NYX_FIELD_STATS &stat) {
    out << "bytes: " << stat.get_bytes();
    if (stat.get_page_capacity() != -1)
        out << ", page_capacity: " << stat.get_page_capacity() << ", num_pages: " << stat.get_num_pages();
    return out << ", NAME: " << stat.get_type();
}

std::ostream &operator<<(std::ostream &out, const NYX_TYPE_STATS &stats) {
    out << stats.get_type();
    if (stats.get_num_allocated() != -1)
        out << ", allocated: " << stats.get_num_allocated() << ", free: " << stats.get_num_free();
    out << '\n';
    for (const NYX_FIELD_STATS &field : stats.get_field_stats())
        out << "  " << field << '\n';
    return out;
}

std::ostream &operator<<(std::ostream &out, const NYX_STATS &stats) {
    for (const NYX_TYPE_STATS &type : stats.get_type_stats())
        out << type;
    return out << "MAPPED MEMORY USAGE (bytes)  size: " << stats.get_size() << ", used: " << stats.get_used()
               << ", free: " << stats.get_free() << '\n';
}
