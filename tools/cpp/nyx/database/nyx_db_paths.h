#ifndef NYX_DB_PATHS_H
#define NYX_DB_PATHS_H

#include "database/nyx_db_group.h"

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

/// Reads paths files into a group. Bad content is reported and ends the reading; it raises nothing. What was stored
/// before the fault stays.
///
/// A paths file is read line by line. The first word of a line says what it is; a line that begins with neither of
/// these two is a comment, and so is what stands behind their arguments:
///
///     DEFINE NAME PATH      words without blanks
///     INCLUDE PATH          a word, or text in double quotes in which & takes the next character as it is
///
/// Relative paths belong to the directory of the file that they stand in. A file that was included by this reader is
/// not read again, which ends circles: what counts is the path without its "." and "..", the file's identity is not
/// looked at. Nesting needs no stack: it is limited by the number of files that the process may have open.
class NYX_DB_PATHS_READER {
public:
    /// `verbose` reports faults, and names that get another path.
    NYX_DB_PATHS_READER(NYX_DB_GROUP &group, bool verbose);
    ~NYX_DB_PATHS_READER();
    NYX_DB_PATHS_READER(const NYX_DB_PATHS_READER &) = delete;
    NYX_DB_PATHS_READER &operator=(const NYX_DB_PATHS_READER &) = delete;

    /// Reads `stream` to its end; `base_dir` is where its relative paths belong. False if a fault ended it.
    bool read_paths_stream(std::istream &stream, const std::string &base_dir);

    /// Reads the file `path`, and reports that if verbose. False if it does not open, or a fault ended it.
    bool load_paths_file(const std::string &path);

    /// The DEFINE lines that were stored.
    std::size_t num_added() const { return m_num_added; }

private:
    struct LEVEL;

    bool read_line(std::string_view line);
    bool read_define(const std::string &db_name, const std::string &path);
    bool read_include(const std::string &path);

    NYX_DB_GROUP &m_group;
    const bool m_verbose;
    std::size_t m_num_added = 0;
    std::vector<LEVEL> m_levels; ///< the files being read, the innermost last
    std::unordered_set<std::string> m_included;
};

/// `path` open for reading; null if it does not open, is a directory, or is no path because it holds a NUL.
std::unique_ptr<std::ifstream> nyx_open_paths_file(const std::string &path);

#endif
