#ifndef NYX_OPEN_DESIGN_H
#define NYX_OPEN_DESIGN_H

#include "nyx/nyx.h"

#include <exception>
#include <string>

/// A database that a verb opens, with the libraries that it refers to: they are looked for by the default paths and by
/// the file "nyx.paths" beside the database. Closes it without saving.
class NYX_OPEN_DESIGN {
public:
    explicit NYX_OPEN_DESIGN(const std::string &path, NYX_DB::ACCESS_MODE mode = NYX_DB::ACCESS_MODE::READ_ONLY);
    ~NYX_OPEN_DESIGN();
    NYX_OPEN_DESIGN(const NYX_OPEN_DESIGN &) = delete;
    NYX_OPEN_DESIGN &operator=(const NYX_OPEN_DESIGN &) = delete;

    NYX_DB *get() const { return m_db; }
    NYX_DB *operator->() const { return m_db; }

private:
    NYX_DB *m_db;
};

/// "design", "component library" and so on.
const char *nyx_name_of_type(NYX_DB_TYPE type);

/// The text of an exception for users: the library ends its messages with the place in the source, which is for its
/// developers.
std::string nyx_message_of(const std::exception &error);

/// To how many MiB a database may grow: 16 TiB, an eighth of what a program can address.
constexpr unsigned long long s_nyx_max_size = 16ull << 20;

/// The path with ".nyx" behind it if it has another extension or none. Throws NYX_IO_ERROR for one that has no name for
/// a file.
std::string nyx_database_path(const std::string &path);

#endif
