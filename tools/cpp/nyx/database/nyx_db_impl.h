#ifndef NYX_DB_IMPL_H
#define NYX_DB_IMPL_H

/// \file
/// What stands behind a handle, and where handles come from.

#include "database/nyx_db_cache.h"
#include "database/nyx_db_persistent.h"
#include "file/nyx_managed_serialised_file.h"
#include "nyx/nyx_db.h"
#include "traits/nyx_builtin_traits.h"

#include <memory>
#include <optional>
#include <string>

/// What an open database has that is not saved. Made and destroyed with the lock held. The order of the members is that
/// of their construction: what refers into the segment goes before it.
class NYX_DB_IMPL {
public:
    std::unique_ptr<NYX_MANAGED_SERIALISED_FILE> m_file;
    std::unique_ptr<NYX_DB_CACHE> m_cache = std::make_unique<NYX_DB_CACHE>(); ///< null while it is disabled
    NYX_DB_PERSISTENT *m_persistent = nullptr;                                ///< the root in the segment
    std::optional<std::string> m_file_name; ///< none for a database that lives in memory only
    std::string m_name;
    NYX_DB::ACCESS_MODE m_access_mode = NYX_DB::ACCESS_MODE::MODIFY;
    NYX_DB_GROUP *m_group = nullptr; ///< null for the default group, never the linker
    bool m_commit_on_close = true;
    std::unique_ptr<NYX_BUILTIN_TRAITS> m_builtin_traits; ///< there once the database stands

    /// The record of an open database; ends the run for a closed one.
    static NYX_DB_IMPL &of(const NYX_DB &db) { return db.get_impl(); }
    static bool is_closed(const NYX_DB &db) { return db.m_impl == nullptr; }

    /// A handle for `impl`, and with it the ownership of `impl`, until detach(). Handles are never freed, so that one
    /// that is closed is still known for closed, and none is used again, so that it is not taken for another database.
    /// Eight bytes each.
    static NYX_DB *attach(std::unique_ptr<NYX_DB_IMPL> impl);

    /// Takes the record from an open database, which is closed with that.
    static std::unique_ptr<NYX_DB_IMPL> detach(NYX_DB *db);

    /// The working library's first size in MiB.
    static unsigned long long get_initial_working_library_size();
};

#endif
