#ifndef NYX_DB_FILES_H
#define NYX_DB_FILES_H

/// \file
/// Paths, permissions and sizes of database files.

#include "nyx/nyx_db.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// What a new database is made of.
struct NYX_DB::NEW_DB {
    const char *caller; ///< for the trace
    std::size_t size;
    NYX_DB_TYPE type;
    std::string name;
    std::string group_name;
    std::optional<std::string> file_name;
    std::string client_id;
};

/// A database that open() returns.
struct NYX_DB::OPENED {
    NYX_DB *db;
    bool is_new; ///< false: it was open
};

inline constexpr const char *s_nyx_db_extension = ".nyx";

/// Bytes of so many MiB. Saturates: what does not fit is refused by the system like any other range that it does not
/// have.
std::size_t nyx_bytes_of_MiB(unsigned long long size_MiB);

/// The path of the file that `name` stands for, which may be the name of a database with a known path. Ends in ".nyx",
/// and is in lexically normal form. Ends the run for what has no file name, "'%s' is not a valid filename".
std::string to_db_file_path(const std::string &name);
/// The same as it was told, with what ".." leads through.
std::string to_db_file_path_as_told(const std::string &name);
/// `path` in lexically normal form.
std::string to_normal_path(const std::string &path);

/// `path` without the extension ".nyx", if it has that one. Ends the run as above.
std::string strip_db_extension(const std::string &path);

/// The last part of a path: "." behind a slash at the end, "/" for the root, empty for an empty path.
std::string_view nyx_filename_of(std::string_view path);
/// The name that a database has from its file, without directory and ".nyx".
std::string nyx_db_name_of_file(const std::string &path);

/// False only for a file that is there and that its owner may not write to.
bool is_db_file_writable(const std::string &path);
/// Raise NYX_RUNTIME_ERROR with the code DB-NOT-WRITABLE.
void require_db_file_is_writable(const std::string &path);
void require_db_file_exists_and_is_writable(const std::string &path);

using NYX_SIZE_RULE = std::function<std::size_t(std::size_t data_size, std::size_t default_size)>;

/// The rule of a factor: that multiple of what is used. None for NYX_DB::s_keep_size. Ends the run when its result is
/// no number of bytes.
NYX_SIZE_RULE nyx_size_rule(double size_factor);

/// Raises NYX_INVALID_ARGUMENT "size_factor must be >= 1" for less.
void nyx_check_size_factor(const char *function, double size_factor);

/// A null text of an interface as the empty one.
inline std::string nyx_text(const char *text) {
    return text != nullptr ? text : "";
}

#endif
