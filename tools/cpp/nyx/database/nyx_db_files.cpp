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

constexpr std::size_t s_extension_size = std::string_view(s_nyx_db_extension).size();

// Of the last part of a path. It is "." behind a slash at the end, and all of ".nyx" is an extension: "x/" and "x/.nyx"
// are one file. The standard library has it otherwise.
std::string_view extension_of(std::string_view path) {
    const std::string_view name = nyx_filename_of(path);
    const std::size_t dot = name == "." || name == ".." ? std::string_view::npos : name.rfind('.');
    return dot != std::string_view::npos ? name.substr(dot) : std::string_view();
}

void check_has_filename(const std::string &path) {
    NYX_CHECK_AS(!path.empty(), "path.has_filename()", "'%s' is not a valid filename", path.c_str());
}

} // namespace

std::size_t nyx_bytes_of_MiB(unsigned long long size_MiB) {
    constexpr std::size_t max = std::numeric_limits<std::size_t>::max();
    return size_MiB <= (max >> 20) ? static_cast<std::size_t>(size_MiB) << 20 : max;
}

std::string_view nyx_filename_of(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos)
        return path;
    if (slash + 1 != path.size())
        return path.substr(slash + 1);
    return path.find_first_not_of('/') == std::string_view::npos ? "/" : ".";
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
    check_has_filename(text);
    return extension_of(text) == s_nyx_db_extension ? text : text + s_nyx_db_extension;
}

std::string to_db_file_path(const std::string &name) {
    return to_normal_path(to_db_file_path_as_told(name));
}

std::string strip_db_extension(const std::string &path) {
    check_has_filename(path);
    return path.substr(0, path.size() - (extension_of(path) == s_nyx_db_extension ? s_extension_size : 0));
}

std::string nyx_db_name_of_file(const std::string &path) {
    const std::string_view name = nyx_filename_of(path);
    return std::string(name.substr(0, name.size() - (extension_of(path) == s_nyx_db_extension ? s_extension_size : 0)));
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
