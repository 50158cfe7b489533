#ifndef NYX_DATABASE_TEST_SUPPORT_H
#define NYX_DATABASE_TEST_SUPPORT_H

#include "database/nyx_db_impl.h"
#include "database/nyx_db_linker.h"
#include "nyx_report/nyx_report_exception.h"
#include "support/capturing_sink.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

using TEXTS = std::vector<std::string>;

constexpr unsigned long long s_size_MiB = 16;

inline NYX_DB *create_db(const std::string &name, NYX_DB_TYPE type = NYX_DB_TYPE::USER, const std::string &group = "") {
    return NYX_DB::create_non_persistent(s_size_MiB, type, name, group);
}

/// A database that goes at the end of its scope, whatever its uses and links.
class SCOPED_DB {
public:
    explicit SCOPED_DB(const std::string &name, NYX_DB_TYPE type = NYX_DB_TYPE::USER, const std::string &group = "")
        : m_db(create_db(name, type, group)) {}
    ~SCOPED_DB() {
        if (!NYX_DB_IMPL::is_closed(*m_db)) {
            CAPTURING_SINK quiet;
            m_db->purge();
        }
    }
    SCOPED_DB(const SCOPED_DB &) = delete;
    SCOPED_DB &operator=(const SCOPED_DB &) = delete;

    NYX_DB *operator->() const { return m_db; }
    operator NYX_DB *() const { return m_db; }

private:
    NYX_DB *m_db;
};

/// Links two databases as a reference from one to the other does: the parent is a user of the child.
inline void link_dbs(NYX_DB *parent, NYX_DB *child) {
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    ASSERT_TRUE(linker.add_sub_db(parent, child));
    linker.change_use_count(child->get_name(), +1, NYX_DB_IMPL::of(*child).m_group);
}

/// Registers the database anew as one that was opened from `file`.
inline void give_file(NYX_DB *db, const std::string &file, NYX_DB::ACCESS_MODE mode) {
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    NYX_DB_IMPL &record = NYX_DB_IMPL::of(*db);
    linker.unregister_db(record.m_name, db, false);
    record.m_file_name = file;
    record.m_access_mode = mode;
    record.m_commit_on_close = false; // there is no such file
    linker.register_db(record.m_name, db);
}

inline NYX_DB_PERSISTENT *root_of(NYX_DB *db) {
    return NYX_DB_IMPL::of(*db).m_persistent;
}

/// What `action` raises, without the place: the text, and the function behind it.
template <class EXCEPTION, class ACTION>
std::pair<std::string, std::string> raised(ACTION &&action) {
    try {
        std::forward<ACTION>(action)();
    } catch (const EXCEPTION &exception) {
        const std::string text = exception.what();
        const std::size_t from = text.rfind(" from function ");
        const std::size_t in = text.rfind(" in ");
        if (from == std::string::npos || in == std::string::npos || in < from)
            return {text, "no place"};
        return {text.substr(0, from), text.substr(from + 15, in - from - 15)};
    } catch (const std::exception &exception) {
        return {exception.what(), "another class of exception"};
    }
    return {"nothing", "raised"};
}

/// The current directory for a scope.
class WORKING_DIR {
public:
    explicit WORKING_DIR(const std::filesystem::path &path) : m_previous(std::filesystem::current_path()) {
        std::filesystem::current_path(path);
    }
    ~WORKING_DIR() { std::filesystem::current_path(m_previous); }
    WORKING_DIR(const WORKING_DIR &) = delete;
    WORKING_DIR &operator=(const WORKING_DIR &) = delete;

private:
    std::filesystem::path m_previous;
};

using RAISED = std::pair<std::string, std::string>;

template <class RANGE>
std::vector<NYX_DB *> to_vector(const RANGE &range) {
    std::vector<NYX_DB *> result;
    for (NYX_DB *const db : range)
        result.push_back(db);
    return result;
}

#endif
