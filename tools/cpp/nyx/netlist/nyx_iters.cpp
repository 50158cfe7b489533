#include "nyx/nyx_iters.h"

#include "database/nyx_db_persistent.h"
#include "netlist/nyx_chain.h"

namespace {

// The run of rows of an owner: where it starts and how long it is.
std::pair<NYX_PORT_ID, unsigned> run_of(const NYX_MODULE_IMPL *module, const NYX_PORT *) {
    return {module->m_first_port, module->m_num_ports};
}
std::pair<NYX_INST_PORT_ID, unsigned> run_of(const NYX_INSTANCE_IMPL *instance, const NYX_INST_PORT *) {
    return {nyx_cell(&NYX_INSTANCE_TABLE::m_first_inst_port, instance),
            nyx_cell(&NYX_INSTANCE_TABLE::m_num_inst_ports, instance)};
}

// A walk over connections waits for memory and for nothing else: the rows of a net's list lie anywhere. So while the
// caller looks at one row, what lies behind it comes in: the row after the next, and what the next one leads to.
// Nothing that is seen here is kept, so the list may change in between. Heads of pages are left out: they all fall into
// the same few sets of a cache, and a walk needs none of them.

void prefetch_what_it_leads_to(const NYX_INST_PORT_IMPL *row) {
    if (const NYX_INSTANCE_IMPL *const instance = row->m_inst_ptr.get())
        __builtin_prefetch(instance);
}
void prefetch_what_it_leads_to(const NYX_NET_IMPL *row) {
    const NYX_INST_PORT_ID head = nyx_chain_head<NYX_INST_PORT>(row);
    if (head != NYX_INST_PORT_ID::INVALID)
        __builtin_prefetch(nyx_get_persistent(row)->table<NYX_INST_PORT>().get(head));
}
void prefetch_what_it_leads_to(const void *) {}

template <class T, class OWNER_IMPL>
void look_ahead(typename NYX_OBJECT_TRAITS<T>::table &table, typename NYX_OBJECT_TRAITS<T>::impl *row,
                typename NYX_OBJECT_TRAITS<T>::id id) {
    using CHAIN = NYX_CHAIN<T, OWNER_IMPL>;
    using ID = typename NYX_OBJECT_TRAITS<T>::id;
    const ID next = CHAIN::next(table, *row, id);
    if (next == ID::INVALID)
        return;
    auto *const next_row = table.get(next);
    prefetch_what_it_leads_to(next_row);
    const ID behind = CHAIN::next(table, *next_row, next);
    if (behind != ID::INVALID)
        __builtin_prefetch(table.get(behind));
}

} // namespace

template <class T, class OWNER>
NYX_CHAIN_ITER<T, OWNER>::NYX_CHAIN_ITER(const OWNER *parent) {
    NYX_CHECK(parent != nullptr);
    const auto *const owner = parent->get_impl();
    m_index = nyx_chain_head<OBJECT>(owner);
    if (m_index == ID::INVALID)
        return;
    using OWNER_IMPL = typename NYX_OBJECT_TRAITS<OWNER>::impl;
    auto &table = nyx_get_persistent(owner)->template table<OBJECT>();
    auto *const first = table.get(m_index);
    m_table = &table;
    m_object = first;
    const ID next = NYX_CHAIN<OBJECT, OWNER_IMPL>::next(table, *first, m_index);
    if (next != ID::INVALID)
        __builtin_prefetch(table.get(next));
    prefetch_what_it_leads_to(first);
}

template <class T, class OWNER>
void NYX_CHAIN_ITER<T, OWNER>::increment() {
    using OWNER_IMPL = typename NYX_OBJECT_TRAITS<OWNER>::impl;
    using TABLE = typename NYX_OBJECT_TRAITS<OBJECT>::table;
    nyx_check_id(m_index, "m_index");
    TABLE &table = *static_cast<TABLE *>(m_table);
    m_index = NYX_CHAIN<OBJECT, OWNER_IMPL>::next(table, *m_object->get_impl(), m_index);
    m_object = nullptr;
    if (m_index == ID::INVALID)
        return;
    auto *const next = table.get(m_index);
    m_object = next;
    look_ahead<OBJECT, OWNER_IMPL>(table, next, m_index);
}

template <class T, class OWNER>
void NYX_CHAIN_ITER<T, OWNER>::fail_at_end() const {
    nyx_check_id(m_index, "m_index");
    __builtin_unreachable();
}

template <class T, class OWNER>
NYX_RANGE_ITER<T, OWNER>::NYX_RANGE_ITER(const OWNER *parent) {
    NYX_CHECK(parent != nullptr);
    const auto *const owner = parent->get_impl();
    const auto [first, length] = run_of(owner, static_cast<const OBJECT *>(nullptr));
    if (length == 0)
        return;
    m_index = first;
    m_num_left = length;
    m_object = nyx_get_persistent(owner)->template table<OBJECT>().get(first);
}

template <class T, class OWNER>
void NYX_RANGE_ITER<T, OWNER>::increment() {
    using TABLE = typename NYX_OBJECT_TRAITS<OBJECT>::table;
    nyx_check_id(m_index, "m_index");
    if (--m_num_left == 0) {
        m_index = ID::INVALID;
        m_object = nullptr;
        return;
    }
    m_index = ID(m_index.get() + 1);
    m_object = TABLE::get_table(m_object->get_impl())->get(m_index);
}

template <class T, class OWNER>
void NYX_RANGE_ITER<T, OWNER>::fail_at_end() const {
    nyx_check_id(m_index, "m_index");
    __builtin_unreachable();
}

#define NYX_DEFINE_ITER(iter, T, owner)                                                                                \
    template class iter<T, owner>;                                                                                     \
    template class iter<const T, owner>;
NYX_DEFINE_ITER(NYX_CHAIN_ITER, NYX_NET, NYX_MODULE)
NYX_DEFINE_ITER(NYX_CHAIN_ITER, NYX_INSTANCE, NYX_MODULE)
NYX_DEFINE_ITER(NYX_CHAIN_ITER, NYX_INTERFACE, NYX_MODULE)
NYX_DEFINE_ITER(NYX_CHAIN_ITER, NYX_INSTANCE_BUS, NYX_MODULE)
NYX_DEFINE_ITER(NYX_CHAIN_ITER, NYX_NET_BUS, NYX_MODULE)
NYX_DEFINE_ITER(NYX_CHAIN_ITER, NYX_PORT_BUS, NYX_MODULE)
NYX_DEFINE_ITER(NYX_CHAIN_ITER, NYX_PORT, NYX_NET)
NYX_DEFINE_ITER(NYX_CHAIN_ITER, NYX_INST_PORT, NYX_NET)
NYX_DEFINE_ITER(NYX_RANGE_ITER, NYX_PORT, NYX_MODULE)
NYX_DEFINE_ITER(NYX_RANGE_ITER, NYX_INST_PORT, NYX_INSTANCE)
