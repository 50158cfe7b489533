#include "database/nyx_db_files.h"

#include "database/nyx_db_diagnostics.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string_view>

namespace fs = std::filesystem;

namespace {

void check_has_filename(const fs::path &path) {
    NYX_CHECK_MSG(path.has_filename(), "'%s' is not a valid filename", path.c_str());
}

} // namespace

std::size_t nyx_bytes_of_MiB(unsigned long long size_MiB) {
    constexpr std::size_t max = std::numeric_limits<std::size_t>::max();
    return size_MiB <= (max >> 20) ? static_cast<std::size_t>(size_MiB) << 20 : max;
}

std::string to_normal_path(const std::string &path) {
    return fs::path(path).lexically_normal().string();
}

std::string to_db_file_path_as_told(const std::string &name) {
    std::string text = name;
    if (!std::string_view(name).ends_with(s_nyx_db_extension)) {
        if (std::string known = NYX_DB::find_db_path_from_db_name(name, ""); !known.empty())
            text = std::move(known);
    }
    fs::path path = text;
    check_has_filename(path);
    if (path.extension() != s_nyx_db_extension)
        path += s_nyx_db_extension;
    return path.string();
}

std::string to_db_file_path(const std::string &name) {
    return to_normal_path(to_db_file_path_as_told(name));
}

std::string strip_db_extension(const std::string &path) {
    fs::path result = path;
    check_has_filename(result);
    if (result.extension() == s_nyx_db_extension)
        result.replace_extension();
    return result.string();
}

bool is_db_file_writable(const std::string &path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    return !fs::exists(status) || (status.permissions() & fs::perms::owner_write) != fs::perms::none;
}

void require_db_file_is_writable(const std::string &path) {
    if (!is_db_file_writable(path))
        nyx_db_exception_with_msg_code("DB-NOT-WRITABLE", path.c_str());
}

void require_db_file_exists_and_is_writable(const std::string &path) {
    std::error_code error;
    if (!fs::exists(path, error) || !is_db_file_writable(path))
        nyx_db_exception_with_msg_code("DB-NOT-WRITABLE", path.c_str());
}

void nyx_check_size_factor(const char *function, double size_factor) {
    if (size_factor < 1.0)
        NYX_RAISE_INVALID_ARGUMENT(function, "size_factor must be >= 1");
}

NYX_SIZE_RULE nyx_size_rule(double size_factor) {
    if (size_factor == NYX_DB::s_keep_size)
        return {};
    return [size_factor](std::size_t data_size, std::size_t) {
        constexpr double limit = 18446744073709551616.0; // 2^64
        const double size = std::round(static_cast<double>(data_size) * size_factor);
        // Neither is NaN.
        if (!(size >= 0 && size < limit))
            NYX_FATAL("%zu bytes times %g is no number of bytes", data_size, size_factor);
        return std::max(data_size, static_cast<std::size_t>(size));
    };
}
