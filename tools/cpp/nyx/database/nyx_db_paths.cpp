#include "database/nyx_db_paths.h"

#include "database/nyx_db_lock.h"
#include "nyx_report/nyx_report.h"

#include <filesystem>
#include <fstream>
#include <utility>

using NYX_REPORT::PREFIX_VIEW;

namespace {

/// The words of a line.
class WORDS {
public:
    explicit WORDS(std::string_view line) : m_rest(line) {}

    /// Up to the next blank; empty at the end of the line.
    std::string next() {
        skip_blanks();
        const std::size_t length = std::min(m_rest.find_first_of(s_blanks), m_rest.size());
        std::string word(m_rest.substr(0, length));
        m_rest.remove_prefix(length);
        return word;
    }

    /// If it begins with a double quote, up to the next one or the end of the line.
    std::string next_quoted() {
        skip_blanks();
        if (m_rest.empty() || m_rest.front() != '"')
            return next();
        std::string text;
        std::size_t at = 1;
        for (; at < m_rest.size() && m_rest[at] != '"'; ++at) {
            if (m_rest[at] == '&' && ++at == m_rest.size())
                break;
            text += m_rest[at];
        }
        m_rest.remove_prefix(std::min(at + 1, m_rest.size()));
        return text;
    }

private:
    static constexpr std::string_view s_blanks = " \t\n\v\f\r";

    void skip_blanks() { m_rest.remove_prefix(std::min(m_rest.find_first_not_of(s_blanks), m_rest.size())); }

    std::string_view m_rest;
};

std::string directory_of(const std::string &path) {
    return std::filesystem::path(path).parent_path().string();
}

} // namespace

struct NYX_DB_PATHS_READER::LEVEL {
    std::unique_ptr<std::ifstream> file; ///< null where the stream is the caller's
    std::istream *stream;
    std::string base_dir;
};

NYX_DB_PATHS_READER::NYX_DB_PATHS_READER(NYX_DB_GROUP &group, bool verbose) : m_group(group), m_verbose(verbose) {}

NYX_DB_PATHS_READER::~NYX_DB_PATHS_READER() = default;

bool NYX_DB_PATHS_READER::read_paths_stream(std::istream &stream, const std::string &base_dir) {
    m_levels.push_back({nullptr, &stream, base_dir});
    std::string line;
    while (!m_levels.empty()) {
        if (!std::getline(*m_levels.back().stream, line)) {
            m_levels.pop_back();
        } else if (!read_line(line)) {
            m_levels.clear();
            return false;
        }
    }
    return true;
}

bool NYX_DB_PATHS_READER::load_paths_file(const std::string &path) {
    const std::unique_ptr<std::ifstream> file = nyx_open_paths_file(path);
    if (m_verbose)
        NYX_REPORT::info(PREFIX_VIEW()) << (file == nullptr ? "Cannot open nyx paths file  "
                                                            : "Loading nyx paths file  ")
                                        << path;
    return file != nullptr && read_paths_stream(*file, directory_of(path));
}

bool NYX_DB_PATHS_READER::read_line(std::string_view line) {
    WORDS words(line);
    const std::string keyword = words.next();
    if (keyword == "DEFINE") {
        const std::string db_name = words.next();
        return read_define(db_name, words.next());
    }
    return keyword != "INCLUDE" || read_include(words.next_quoted());
}

bool NYX_DB_PATHS_READER::read_define(const std::string &db_name, const std::string &path) {
    const NYX_DB_LOCK lock;
    std::string errors;
    if (m_group.add_group_entry(db_name, path, NYX_DB::ACCESS_MODE::READ_ONLY, m_levels.back().base_dir,
                                m_verbose ? &errors : nullptr)) {
        ++m_num_added;
        return true;
    }
    if (!errors.empty())
        NYX_REPORT::err(PREFIX_VIEW()) << errors;
    return false;
}

bool NYX_DB_PATHS_READER::read_include(const std::string &path) {
    if (path.empty()) {
        if (m_verbose)
            NYX_REPORT::err(PREFIX_VIEW()) << "Missing file name for INCLUDE statement";
        return false;
    }
    const std::string full_path = nyx_join_to_base_dir(m_levels.back().base_dir, path);
    if (!m_included.insert(std::filesystem::path(full_path).lexically_normal().string()).second) {
        NYX_REPORT::warn(PREFIX_VIEW()) << "The paths file " << full_path << " was already included ";
        return true;
    }
    // Nothing but a regular file: another file's text must not make the reader wait for a pipe, or read a device for
    // ever.
    std::error_code error;
    std::unique_ptr<std::ifstream> file;
    if (std::filesystem::is_regular_file(full_path, error))
        file = nyx_open_paths_file(full_path);
    if (file == nullptr) {
        if (m_verbose)
            NYX_REPORT::err(PREFIX_VIEW()) << "Cannot open INCLUDE paths file  " << full_path;
        return false;
    }
    std::istream *const stream = file.get();
    m_levels.push_back({std::move(file), stream, directory_of(full_path)});
    return true;
}

std::unique_ptr<std::ifstream> nyx_open_paths_file(const std::string &path) {
    // The system would look no further than to a NUL and open another file than the one that is named.
    std::error_code error;
    if (path.find('\0') != std::string::npos || std::filesystem::is_directory(path, error))
        return nullptr;
    auto file = std::make_unique<std::ifstream>(path);
    return file->is_open() ? std::move(file) : nullptr;
}
