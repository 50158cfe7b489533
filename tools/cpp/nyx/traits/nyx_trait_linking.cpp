// Walks over the traits of a root, and the links between the traits of open databases.
#include "traits/nyx_trait_linking.h"

#include "database/nyx_db_linker.h"
#include "nyx_report/nyx_report.h"
#include "traits/nyx_trait_core.h"
#include "traits/nyx_trait_row.h"

namespace {

using TYPE = NYX_TRAIT_VALUE_TYPE;

template <class WIDTH>
void visit_table(const NYX_DB_PERSISTENT *root, NYX_TRAIT_OBJ_TYPE object_type, NYX_SPARSE_TRAIT_VISITOR &visitor,
                 bool include_internal) {
    using ID = typename NYX_OBJECT_TRAITS<WIDTH>::id;
    auto &table = root->table<WIDTH>();
    // The limit is read anew: a visitor may declare traits.
    for (unsigned i = 0; i < table.iter_limit(); ++i) {
        auto *const row = table.get(ID(i));
        if (!nyx_is_live_trait(*row))
            continue;
        if (object_type != NYX_TRAIT_OBJ_TYPE::ALL_SPARSE && row->m_trait_lookup_ptr->m_object_type != object_type)
            continue;
        if (include_internal || row->m_internal_storage_name_id == NYX_NAME_ID::INVALID)
            nyx_dispatch_trait(row, visitor);
    }
}

} // namespace

void nyx_dispatch_trait(NYX_BYTE1_TRAIT *trait, NYX_SPARSE_TRAIT_VISITOR &visitor) {
    if (nyx_row_of(trait)->m_value_type == TYPE::BOOL_TRAIT_VALUE)
        return visitor.visit(static_cast<NYX_BOOL_TRAIT *>(trait));
    NYX_CHECK_AS(false, "false", "Unknown byte1 trait type");
}

void nyx_dispatch_trait(NYX_BYTE4_TRAIT *trait, NYX_SPARSE_TRAIT_VISITOR &visitor) {
    switch (nyx_row_of(trait)->m_value_type) {
    case TYPE::INT_TRAIT_VALUE:
        return visitor.visit(static_cast<NYX_INT_TRAIT *>(trait));
    case TYPE::STRING_TRAIT_VALUE:
        return visitor.visit(static_cast<NYX_STRING_TRAIT *>(trait));
    case TYPE::FLOAT_TRAIT_VALUE:
        return visitor.visit(static_cast<NYX_FLOAT_TRAIT *>(trait));
    default:
        NYX_CHECK_AS(false, "false", "Unknown byte4 trait type");
    }
}

void nyx_dispatch_trait(NYX_BYTE8_TRAIT *trait, NYX_SPARSE_TRAIT_VISITOR &visitor) {
    switch (nyx_row_of(trait)->m_value_type) {
    case TYPE::DOUBLE_TRAIT_VALUE:
        return visitor.visit(static_cast<NYX_DOUBLE_TRAIT *>(trait));
    case TYPE::TIME_TRAIT_VALUE:
        return visitor.visit(static_cast<NYX_TIME_TRAIT *>(trait));
    case TYPE::APP_TRAIT_VALUE:
        return visitor.visit(static_cast<NYX_APP_TRAIT *>(trait));
    default:
        NYX_CHECK_AS(false, "false", "Unknown byte8 trait type");
    }
}

void NYX_DB_PERSISTENT::visit(NYX_TRAIT_OBJ_TYPE object_type, NYX_SPARSE_TRAIT_VISITOR *visitor,
                              bool include_internal) const {
    NYX_CHECK(visitor != nullptr);
    visit_table<NYX_BYTE1_TRAIT>(this, object_type, *visitor, include_internal);
    visit_table<NYX_BYTE4_TRAIT>(this, object_type, *visitor, include_internal);
    visit_table<NYX_BYTE8_TRAIT>(this, object_type, *visitor, include_internal);
}

template <class TRAIT>
void NYX_DB_LINKER_TRAITS_VISITOR::link(TRAIT *trait) {
    NYX_TRAIT_LINKS &links = m_linker.trait_links();
    if (m_remove) {
        links.erase(trait);
        return;
    }
    const std::string name = trait->is_internal() ? trait->get_internal_name() : trait->get_name();
    const TRAIT *const found = NYX_TRAIT_CORE<TRAIT>::find_trait(m_other_root, name, trait->get_object_type());
    const NYX_DB_PERSISTENT *const root = nyx_get_persistent(trait);
    if (found != nullptr)
        links.link(trait, root, found, m_other_root);
    else
        links.note_absence(trait, root, m_other_root);
}

void NYX_DB_LINKER_TRAITS_VISITOR::visit(NYX_APP_TRAIT *trait) {
    link(trait);
}
void NYX_DB_LINKER_TRAITS_VISITOR::visit(NYX_TIME_TRAIT *trait) {
    link(trait);
}
void NYX_DB_LINKER_TRAITS_VISITOR::visit(NYX_DOUBLE_TRAIT *trait) {
    link(trait);
}
void NYX_DB_LINKER_TRAITS_VISITOR::visit(NYX_FLOAT_TRAIT *trait) {
    link(trait);
}
void NYX_DB_LINKER_TRAITS_VISITOR::visit(NYX_STRING_TRAIT *trait) {
    link(trait);
}
void NYX_DB_LINKER_TRAITS_VISITOR::visit(NYX_INT_TRAIT *trait) {
    link(trait);
}
void NYX_DB_LINKER_TRAITS_VISITOR::visit(NYX_BOOL_TRAIT *trait) {
    link(trait);
}
