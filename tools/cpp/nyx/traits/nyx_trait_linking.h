#ifndef NYX_TRAIT_LINKING_H
#define NYX_TRAIT_LINKING_H

#include "nyx/nyx_trait_visitors.h"

class NYX_DB_LINKER;
class NYX_DB_PERSISTENT;

/// Links each trait that it is shown with the one of the same name, class of values and type of objects in another
/// root, by the internal name where it has one. Or, with `remove`, drops all links of the trait.
class NYX_DB_LINKER_TRAITS_VISITOR final : public NYX_SPARSE_TRAIT_VISITOR {
public:
    NYX_DB_LINKER_TRAITS_VISITOR(const NYX_DB_PERSISTENT *other_root, NYX_DB_LINKER &linker, bool remove)
        : m_other_root(other_root)
        , m_linker(linker)
        , m_remove(remove) {}
    void visit(NYX_APP_TRAIT *trait) override;
    void visit(NYX_TIME_TRAIT *trait) override;
    void visit(NYX_DOUBLE_TRAIT *trait) override;
    void visit(NYX_FLOAT_TRAIT *trait) override;
    void visit(NYX_STRING_TRAIT *trait) override;
    void visit(NYX_INT_TRAIT *trait) override;
    void visit(NYX_BOOL_TRAIT *trait) override;

private:
    template <class TRAIT>
    void link(TRAIT *trait);

    const NYX_DB_PERSISTENT *m_other_root;
    NYX_DB_LINKER &m_linker;
    bool m_remove;
};

/// Shows a visitor one trait, as what its row says it is. Ends the run for a type of values that its width does not
/// have, "Unknown byte1 trait type" and the like.
void nyx_dispatch_trait(NYX_BYTE1_TRAIT *trait, NYX_SPARSE_TRAIT_VISITOR &visitor);
void nyx_dispatch_trait(NYX_BYTE4_TRAIT *trait, NYX_SPARSE_TRAIT_VISITOR &visitor);
void nyx_dispatch_trait(NYX_BYTE8_TRAIT *trait, NYX_SPARSE_TRAIT_VISITOR &visitor);

#endif
