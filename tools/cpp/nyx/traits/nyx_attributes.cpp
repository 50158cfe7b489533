#include "traits/nyx_attributes.h"

#include "database/nyx_db_linker.h"
#include "memory/nyx_app_block.h"
#include "traits/nyx_trait_core.h"
#include "traits/nyx_trait_linking.h"
#include "traits/nyx_trait_row.h"

#include <utility>

namespace {

// The traits of a width that objects of a kind have values of: action(row, map of the values). These may be traits for
// objects of another kind, since a value goes to the map of its object.
template <class WIDTH, class ACTION>
void for_each_used_trait(NYX_DB_PERSISTENT *root, NYX_TRAIT_OBJ_TYPE kind, ACTION &&action) {
    using ID = typename NYX_OBJECT_TRAITS<WIDTH>::id;
    auto &table = root->table<WIDTH>();
    for (unsigned i = 0; i < table.iter_limit(); ++i) {
        auto *const row = table.get(ID(i));
        if (!nyx_is_live_trait(*row))
            continue;
        auto &values = row->m_trait_lookup_ptr->map(kind);
        if (!values.empty())
            action(row, values);
    }
}

template <class ACTION>
void for_each_used_trait(NYX_DB_PERSISTENT *root, NYX_TRAIT_OBJ_TYPE kind, ACTION &&action) {
    for_each_used_trait<NYX_BYTE1_TRAIT>(root, kind, action);
    for_each_used_trait<NYX_BYTE4_TRAIT>(root, kind, action);
    for_each_used_trait<NYX_BYTE8_TRAIT>(root, kind, action);
}

// Gives the block of a value back, if the trait's values are in blocks.
template <class ROW, class RAW>
void free_value(ROW *row, RAW value) {
    if constexpr (std::is_same_v<ROW, NYX_BYTE8_TRAIT_IMPL>)
        if (row->m_value_type == NYX_TRAIT_VALUE_TYPE::APP_TRAIT_VALUE)
            nyx_free_app_block(*nyx_get_persistent(row)->get_segment_manager(),
                               reinterpret_cast<unsigned char *>(row) + value);
}

// Copies by the traits of the destination's database: reads of the source find the way to its own.
class COPY final : public NYX_SPARSE_TRAIT_VISITOR {
public:
    COPY(NYX_BEARER from, NYX_BEARER to) : m_from(from), m_to(to) {}
    void visit(NYX_APP_TRAIT *trait) override { copy(trait); }
    void visit(NYX_TIME_TRAIT *trait) override { copy(trait); }
    void visit(NYX_DOUBLE_TRAIT *trait) override { copy(trait); }
    void visit(NYX_FLOAT_TRAIT *trait) override { copy(trait); }
    void visit(NYX_STRING_TRAIT *trait) override { copy(trait); }
    void visit(NYX_INT_TRAIT *trait) override { copy(trait); }
    void visit(NYX_BOOL_TRAIT *trait) override { copy(trait); }

private:
    template <class TRAIT>
    void copy(TRAIT *trait) {
        using CORE = NYX_TRAIT_CORE<TRAIT>;
        if (!CORE::is_default_value(trait, m_from))
            CORE::set_value(trait, m_to, CORE::get_value(trait, m_from));
    }

    NYX_BEARER m_from;
    NYX_BEARER m_to;
};

} // namespace

void nyx_clear_trait_values(NYX_BEARER object) {
    const unsigned id = object.id.get();
    for_each_used_trait(object.root, object.kind, [id](auto *row, auto &values) {
        if (const auto *const stored = values.find(id)) {
            free_value(row, *stored);
            values.erase(id);
        }
    });
}

void nyx_copy_trait_values(NYX_BEARER from, NYX_BEARER to) {
    COPY visitor(from, to);
    to.root->visit(to.kind, &visitor, true);
}

void nyx_move_trait_values(NYX_BEARER from, NYX_BEARER to) {
    if (from.id == to.id)
        return;
    for_each_used_trait(to.root, to.kind, [from = from.id.get(), to = to.id.get()](auto *row, auto &values) {
        if (const auto *const stored = values.find(to))
            free_value(row, *stored);
        if (values.find(from) != nullptr)
            values.move(from, to);
        else
            values.erase(to);
    });
}

bool nyx_has_trait_values(NYX_DB_PERSISTENT *root, NYX_TRAIT_OBJ_TYPE kind) {
    bool has_values = false;
    for_each_used_trait(root, kind, [&has_values](auto *, auto &) { has_values = true; });
    return has_values;
}

void nyx_make_room_for_trait_values(NYX_DB_PERSISTENT *root, NYX_TRAIT_OBJ_TYPE kind, const NYX_ROW_MOVES &moves) {
    for_each_used_trait(root, kind, [&moves](auto *, auto &values) { nyx_make_room_for_moves(values, moves); });
}
