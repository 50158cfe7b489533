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

// A walk over connections waits for memory and for nothing else: the rows of a net's list lie anywhere, and each tells
// only where the next one is. So while the caller looks at one row, others come in: what the next one leads to and the
// row behind it and, if the caller goes from net to net and over the inst ports of each, the first rows of the nets to
// come. Nothing that is seen here is kept, so lists may change in between. Heads of pages are left out: they all fall
// into the same few sets of a cache, and a walk needs none of them.

// The net whose inst ports were last asked for in this thread, which is how the walk over a module's nets knows whether
// its caller looks at them. Compared, never followed.
[[gnu::tls_model("initial-exec")]] thread_local const void *s_last_net = nullptr;

template <class ROW>
void prefetch_row(const ROW *row) {
    __builtin_prefetch(row);
    // get_port() looks at the rows in front, which may begin in the line before.
    if constexpr (std::is_same_v<ROW, NYX_INST_PORT_IMPL>)
        __builtin_prefetch(reinterpret_cast<const char *>(row) - 2 * sizeof(ROW));
}

// The row behind `row` in a list whose links are in the rows, null at the end.
template <class T, class OWNER_IMPL>
auto *follow(typename NYX_OBJECT_TRAITS<T>::table &table, const typename NYX_OBJECT_TRAITS<T>::impl *row) {
    using ID = typename NYX_OBJECT_TRAITS<T>::id;
    const ID next =
        NYX_CHAIN<T, OWNER_IMPL>::next(table, const_cast<typename NYX_OBJECT_TRAITS<T>::impl &>(*row), ID());
    return next != ID::INVALID ? table.get(next) : nullptr;
}
constexpr auto next_on_net = follow<NYX_INST_PORT, NYX_NET_IMPL>;

void look_behind(NYX_INST_PORT_TABLE &table, const NYX_INST_PORT_IMPL *row) {
    __builtin_prefetch(row->m_inst_ptr.get());
    if (const NYX_INST_PORT_IMPL *const next = next_on_net(table, row))
        prefetch_row(next);
}

// One step further in the lists of each of the three nets behind `net`. What a step reads was asked for by the one
// before, a net ago.
void look_ahead_at_inst_ports(NYX_NET_TABLE &nets, const NYX_NET_IMPL *net) {
    NYX_INST_PORT_TABLE &inst_ports = nyx_get_persistent(net)->table<NYX_INST_PORT>();
    const auto next_net = [&] {
        net = net != nullptr ? follow<NYX_NET, NYX_MODULE_IMPL>(nets, net) : nullptr;
        return net != nullptr ? nyx_chain_first<NYX_INST_PORT>(net) : nullptr;
    };
    if (const NYX_INST_PORT_IMPL *const first = next_net())
        if (const NYX_INST_PORT_IMPL *const second = next_on_net(inst_ports, first))
            look_behind(inst_ports, second);
    if (const NYX_INST_PORT_IMPL *const first = next_net())
        look_behind(inst_ports, first);
    if (const NYX_INST_PORT_IMPL *const first = next_net())
        prefetch_row(first);
}

// While the caller looks at `row`, which was `last` before.
template <class T, class OWNER_IMPL>
void look_ahead(typename NYX_OBJECT_TRAITS<T>::table &table, const void *last,
                const typename NYX_OBJECT_TRAITS<T>::impl *row) {
    if constexpr (std::is_same_v<T, NYX_NET>)
        if (last == s_last_net) {
            look_ahead_at_inst_ports(table, row);
            return;
        }
    // A module's interfaces are few, and their links in cells.
    if constexpr (!std::is_same_v<T, NYX_INTERFACE>)
        if (const auto *const next = follow<T, OWNER_IMPL>(table, row)) {
            if constexpr (std::is_same_v<T, NYX_INST_PORT>)
                look_behind(table, next);
            else if (const auto *const behind = follow<T, OWNER_IMPL>(table, next))
                prefetch_row(behind);
        }
}

} // namespace

template <class T, class OWNER>
NYX_CHAIN_ITER<T, OWNER>::NYX_CHAIN_ITER(const OWNER *parent) {
    NYX_CHECK(parent != nullptr);
    const auto *const owner = parent->get_impl();
    m_index = nyx_chain_head<OBJECT>(owner);
    if constexpr (std::is_same_v<OBJECT, NYX_INST_PORT>)
        s_last_net = owner;
    if (m_index == ID::INVALID)
        return;
    auto &table = nyx_get_persistent(owner)->template table<OBJECT>();
    auto *const first = table.get(m_index);
    m_table = &table;
    m_object = first;
    if constexpr (std::is_same_v<OBJECT, NYX_INST_PORT>)
        look_behind(table, first);
}

template <class T, class OWNER>
void NYX_CHAIN_ITER<T, OWNER>::increment() {
    using OWNER_IMPL = typename NYX_OBJECT_TRAITS<OWNER>::impl;
    using TABLE = typename NYX_OBJECT_TRAITS<OBJECT>::table;
    nyx_check_id(m_index, "m_index");
    TABLE &table = *static_cast<TABLE *>(m_table);
    auto *const row = m_object->get_impl();
    m_index = NYX_CHAIN<OBJECT, OWNER_IMPL>::next(table, *row, m_index);
    m_object = nullptr;
    if (m_index == ID::INVALID)
        return;
    auto *const next = table.get(m_index);
    m_object = next;
    look_ahead<OBJECT, OWNER_IMPL>(table, row, next);
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
