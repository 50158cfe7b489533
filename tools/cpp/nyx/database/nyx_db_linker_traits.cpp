// The linker's part in reads of traits across databases.
#include "database/nyx_db_linker.h"
#include "netlist/nyx_table.h"
#include "traits/nyx_trait_linking.h"

#include <mutex>

bool NYX_DB_LINKER::is_registered(const NYX_DB_PERSISTENT *persistent) const {
    const std::shared_lock read(m_persistent_to_db_mutex);
    return m_persistent_to_db.contains(const_cast<NYX_DB_PERSISTENT *>(persistent));
}

template <class WIDTH>
const void *NYX_DB_LINKER::find_corresponding_of_width(const WIDTH *trait, const NYX_DB_PERSISTENT *root) {
    const NYX_DB_PERSISTENT *const own_root = nyx_get_persistent(trait);
    if (own_root == root)
        return trait;
    if (const NYX_TRAIT_LINKS::RESULT result = m_trait_links.find(trait, root); result.known)
        return result.trait;
    // What is not registered is not purged either when it goes.
    if (!is_registered(root) || !is_registered(own_root))
        return nullptr;
    NYX_DB_LINKER_TRAITS_VISITOR visitor(root, *this, false);
    nyx_dispatch_trait(const_cast<WIDTH *>(trait), visitor);
    return m_trait_links.find(trait, root).trait;
}

const void *NYX_DB_LINKER::find_corresponding(const NYX_BYTE1_TRAIT *trait, const NYX_DB_PERSISTENT *root) {
    return find_corresponding_of_width(trait, root);
}
const void *NYX_DB_LINKER::find_corresponding(const NYX_BYTE4_TRAIT *trait, const NYX_DB_PERSISTENT *root) {
    return find_corresponding_of_width(trait, root);
}
const void *NYX_DB_LINKER::find_corresponding(const NYX_BYTE8_TRAIT *trait, const NYX_DB_PERSISTENT *root) {
    return find_corresponding_of_width(trait, root);
}
