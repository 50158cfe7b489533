#include "database/nyx_db_cache.h"

#include "database/nyx_db_impl.h"
#include "database/nyx_db_linker.h"

#include <type_traits>
#include <utility>

std::atomic<std::size_t> NYX_DB_CACHE::s_num_lookups;
std::atomic<std::uint64_t> NYX_DB_CACHE::s_generation{1};

namespace {

constexpr std::uintptr_t has_others_bit = 1;

// A list that ends within this many steps is walked: that is as fast as an index, and takes no memory.
constexpr unsigned short_list = 16;

// Calls `visit` for each T of the module in the order of its list until it returns true; says whether it did.
template <class T, class VISIT>
bool visit_list(const NYX_MODULE_IMPL *module, VISIT &&visit) {
    if constexpr (std::is_same_v<T, NYX_PORT>) {
        NYX_PORT_TABLE &ports = nyx_get_persistent(module)->table<NYX_PORT>();
        for (unsigned i = 0; i < module->m_num_ports; ++i) {
            NYX_PORT_IMPL *const port = ports.get(NYX_PORT_ID(module->m_first_port.get() + i));
            if (port->m_parent_ptr != nullptr && visit(port))
                return true;
        }
    } else {
        for (auto *object = nyx_chain_first<T>(module); object; object = nyx_chain_next<T, NYX_MODULE_IMPL>(object)) {
            if (visit(object))
                return true;
        }
    }
    return false;
}

// Lists that grow at their end are met oldest first.
template <class T>
constexpr bool newest_comes_first = !std::is_same_v<T, NYX_INSTANCE> && !std::is_same_v<T, NYX_PORT>;

template <class T>
NYX_NAME_INDEX &make_index(NYX_DB_MODULE_LOOKUP &lookup, const NYX_MODULE_IMPL *module) {
    std::unique_ptr<NYX_NAME_INDEX> &index = lookup.index<T>();
    if (index == nullptr) {
        auto made = std::make_unique<NYX_NAME_INDEX>();
        visit_list<T>(module, [&](auto *object) {
            made->add(nyx_key_of<T>(object), object, false);
            return false;
        });
        index = std::move(made);
    }
    return *index;
}

// The index of a module, null for none.
template <class T>
std::unique_ptr<NYX_NAME_INDEX> *find_index(const NYX_MODULE_IMPL *module) {
    NYX_DB_CACHE *const cache = NYX_DB_CACHE::find_in_use(module);
    NYX_DB_MODULE_LOOKUP *const lookup = cache != nullptr ? cache->find_lookup(module) : nullptr;
    return lookup != nullptr && lookup->index<T>() != nullptr ? &lookup->index<T>() : nullptr;
}

// Of an object that is in the index by its old key.
template <class T>
void rename_in(std::unique_ptr<NYX_NAME_INDEX> &index, typename NYX_OBJECT_TRAITS<T>::impl *object,
               NYX_NAME_KEY old_key) {
    const NYX_NAME_KEY key = nyx_key_of<T>(object);
    // Where it stands in the list among others of its new name is not known here.
    if (!index->remove(old_key, object) || index->find(key) != nullptr)
        index.reset();
    else
        index->add(key, object, true);
}

} // namespace

std::size_t NYX_NAME_INDEX::slot_of(std::uint64_t key) const {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t at = home_of(key);
    while (m_slots[at].object != 0 && m_slots[at].key != key)
        at = (at + 1) & mask;
    return at;
}

void *NYX_NAME_INDEX::find(NYX_NAME_KEY key) const {
    return reinterpret_cast<void *>(m_slots[slot_of(key.m_value)].object & ~has_others_bit);
}

bool NYX_NAME_INDEX::has_others(NYX_NAME_KEY key) const {
    return (m_slots[slot_of(key.m_value)].object & has_others_bit) != 0;
}

void NYX_NAME_INDEX::grow() {
    std::vector<SLOT> old(m_slots.size() * 2);
    old.swap(m_slots);
    --m_shift;
    for (const SLOT &slot : old) {
        if (slot.object != 0)
            m_slots[slot_of(slot.key)] = slot;
    }
}

void NYX_NAME_INDEX::add(NYX_NAME_KEY key, void *object, bool comes_first) {
    if ((m_size + 1) * 3 > m_slots.size() * 2)
        grow();
    SLOT &slot = m_slots[slot_of(key.m_value)];
    const auto value = reinterpret_cast<std::uintptr_t>(object);
    if (slot.object == 0) {
        slot = {key.m_value, value};
        ++m_size;
    } else {
        slot.object = (comes_first ? value : slot.object) | has_others_bit;
    }
}

bool NYX_NAME_INDEX::remove(NYX_NAME_KEY key, const void *object) {
    std::size_t hole = slot_of(key.m_value);
    const std::uintptr_t found = m_slots[hole].object;
    if (found != reinterpret_cast<std::uintptr_t>(object))
        return found != 0 && (found & ~has_others_bit) != reinterpret_cast<std::uintptr_t>(object);
    // What stands behind the hole and could not stand at its home moves up, so that no search ends too early.
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t at = (hole + 1) & mask; m_slots[at].object != 0; at = (at + 1) & mask) {
        if (((at - home_of(m_slots[at].key)) & mask) >= ((at - hole) & mask)) {
            m_slots[hole] = m_slots[at];
            hole = at;
        }
    }
    m_slots[hole] = SLOT();
    --m_size;
    return true;
}

NYX_DB_CACHE *NYX_DB_CACHE::of_row(const void *row) {
    // That of the database that this thread has asked for last. A database opens, closes and has its indexes switched
    // on and off with a cache that comes or goes, which moves the generation on.
    struct MEMO {
        std::uint64_t generation = 0;
        const NYX_DB_PERSISTENT *persistent = nullptr;
        NYX_DB_CACHE *cache = nullptr;
    };
    thread_local MEMO memo;
    const NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(row);
    const std::uint64_t generation = s_generation.load(std::memory_order_acquire);
    if (memo.persistent != persistent || memo.generation != generation)
        memo = MEMO{generation, persistent,
                    NYX_DB_IMPL::of(*NYX_DB_LINKER::get().db_for_persistent(persistent)).m_cache.get()};
    return memo.cache;
}

NYX_DB_MODULE_LOOKUP &NYX_DB_CACHE::lookup(const NYX_MODULE_IMPL *module) {
    const auto [found, is_new] = m_lookups.try_emplace(module);
    s_num_lookups += is_new;
    m_last_module = module;
    m_last_lookup = &found->second;
    return found->second;
}

NYX_DB_MODULE_LOOKUP *NYX_DB_CACHE::find_lookup(const NYX_MODULE_IMPL *module) {
    if (module != m_last_module) {
        const auto found = m_lookups.find(module);
        m_last_module = module;
        m_last_lookup = found != m_lookups.end() ? &found->second : nullptr;
    }
    return m_last_lookup;
}

void NYX_DB_CACHE::drop(const NYX_MODULE_IMPL *module) {
    s_num_lookups -= m_lookups.erase(module);
    m_last_module = nullptr;
}

void NYX_DB_CACHE::clear() {
    s_num_lookups -= m_lookups.size();
    m_lookups.clear();
    m_last_module = nullptr;
}

template <class T>
T *nyx_find_in_module(const NYX_MODULE_IMPL *module, NYX_NAME_KEY key) {
    if (const auto index = find_index<T>(module)) [[likely]]
        return static_cast<typename NYX_OBJECT_TRAITS<T>::impl *>((*index)->find(key));
    unsigned steps = 0;
    T *result = nullptr;
    const auto is_it = [&](auto *object) {
        if (nyx_key_of<T>(object) == key)
            result = object;
        return result != nullptr || ++steps == short_list;
    };
    if (!visit_list<T>(module, is_it) || result != nullptr)
        return result;
    if (NYX_DB_CACHE *const cache = NYX_DB_CACHE::of_row(module))
        return static_cast<typename NYX_OBJECT_TRAITS<T>::impl *>(
            make_index<T>(cache->lookup(module), module).find(key));
    visit_list<T>(module, [&](auto *object) {
        if (nyx_key_of<T>(object) == key)
            result = object;
        return result != nullptr;
    });
    return result;
}

template <class T>
void nyx_cache_add(const NYX_MODULE_IMPL *module, typename NYX_OBJECT_TRAITS<T>::impl *object) {
    if (const auto index = find_index<T>(module)) {
        // A port may take a place anywhere in the order of ports.
        if (std::is_same_v<T, NYX_PORT> && (*index)->find(nyx_key_of<T>(object)) != nullptr)
            index->reset();
        else
            (*index)->add(nyx_key_of<T>(object), object, newest_comes_first<T>);
    }
}

template <class T>
void nyx_cache_remove(const NYX_MODULE_IMPL *module, typename NYX_OBJECT_TRAITS<T>::impl *object) {
    if (const auto index = find_index<T>(module)) {
        if (!(*index)->remove(nyx_key_of<T>(object), object))
            index->reset();
    }
}

template <class T>
void nyx_cache_rename(const NYX_MODULE_IMPL *module, typename NYX_OBJECT_TRAITS<T>::impl *object,
                      NYX_NAME_KEY old_key) {
    NYX_DB_CACHE *const cache = NYX_DB_CACHE::find_in_use(object);
    if (cache == nullptr) [[likely]]
        return;
    if (module != nullptr) {
        if (const auto index = find_index<T>(module))
            rename_in<T>(*index, object, old_key);
        return;
    }
    cache->for_each_lookup([&](NYX_DB_MODULE_LOOKUP &lookup) {
        std::unique_ptr<NYX_NAME_INDEX> &index = lookup.index<T>();
        const void *const first = index != nullptr ? index->find(old_key) : nullptr;
        if (first == object)
            rename_in<T>(index, object, old_key);
        else if (first != nullptr && index->has_others(old_key))
            index.reset(); // the object may be one of them
    });
}

#define NYX_CACHED_TYPE(T)                                                                                             \
    template T *nyx_find_in_module<T>(const NYX_MODULE_IMPL *, NYX_NAME_KEY);                                          \
    template void nyx_cache_add<T>(const NYX_MODULE_IMPL *, NYX_OBJECT_TRAITS<T>::impl *);                             \
    template void nyx_cache_remove<T>(const NYX_MODULE_IMPL *, NYX_OBJECT_TRAITS<T>::impl *);                          \
    template void nyx_cache_rename<T>(const NYX_MODULE_IMPL *, NYX_OBJECT_TRAITS<T>::impl *, NYX_NAME_KEY);
NYX_CACHED_TYPE(NYX_INSTANCE)
NYX_CACHED_TYPE(NYX_NET)
NYX_CACHED_TYPE(NYX_PORT)
NYX_CACHED_TYPE(NYX_PORT_BUS)
NYX_CACHED_TYPE(NYX_NET_BUS)
NYX_CACHED_TYPE(NYX_INSTANCE_BUS)
NYX_CACHED_TYPE(NYX_INTERFACE)
#undef NYX_CACHED_TYPE
