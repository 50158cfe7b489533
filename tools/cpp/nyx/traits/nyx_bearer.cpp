#include "traits/nyx_bearer.h"

#include "database/nyx_db_impl.h"
#include "database/nyx_db_linker.h"

NYX_DB_PERSISTENT *nyx_get_root_of_db(const NYX_DB *db) {
    return NYX_DB_IMPL::of(*db).m_persistent;
}

NYX_DB *nyx_get_db_of_root(const NYX_DB_PERSISTENT *root) {
    return NYX_DB_LINKER::get().db_for_persistent(root);
}
