#ifndef NYX_TRAIT_LINKS_H
#define NYX_TRAIT_LINKS_H

#include <shared_mutex>
#include <unordered_map>
#include <vector>

class NYX_DB_PERSISTENT;

/// Which traits of other open databases correspond to a trait: the results of look-ups by name, kept so that a read
/// across databases costs two probes. Filled when they are asked for; what belongs to a database goes with it, before
/// another one can get its addresses. Locked by itself, for databases of several threads share it.
class NYX_TRAIT_LINKS {
public:
    struct RESULT {
        bool known;        ///< false: nobody has looked yet
        const void *trait; ///< null: there is none
    };

    RESULT find(const void *trait, const NYX_DB_PERSISTENT *root) const;

    /// Notes that `found`, of `other_root`, corresponds to `trait`, of `root`, and the other way; what is known of
    /// `trait` is known of `found` then.
    void link(const void *trait, const NYX_DB_PERSISTENT *root, const void *found, const NYX_DB_PERSISTENT *other_root);
    /// Notes that there is none.
    void note_absence(const void *trait, const NYX_DB_PERSISTENT *root, const NYX_DB_PERSISTENT *other_root);
    /// Forgets that, since a trait was declared in `root`.
    void forget_absences(const NYX_DB_PERSISTENT *root);

    /// Forgets a trait.
    void erase(const void *trait);
    /// Forgets all that leads from or to the traits of a root.
    void purge(const NYX_DB_PERSISTENT *root);

private:
    struct ENTRY {
        const NYX_DB_PERSISTENT *root; ///< the trait's own
        std::unordered_map<const NYX_DB_PERSISTENT *, const void *> by_root;
    };

    mutable std::shared_mutex m_mutex;
    std::unordered_map<const void *, ENTRY> m_entries;
    /// By the root without them, the traits of which an absence may be noted: at least these, and maybe traits that are
    /// gone. A trait that is declared asks no other ones.
    std::unordered_map<const NYX_DB_PERSISTENT *, std::vector<const void *>> m_absent;
};

#endif
