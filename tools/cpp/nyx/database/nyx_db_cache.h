#ifndef NYX_DB_CACHE_H
#define NYX_DB_CACHE_H

/// \file
/// Indexes by name of what is in a module, in ordinary memory. They are made when a look-up first asks for one in a
/// list that is long, and follow every change from then on, so a look-up always answers as a walk over the list would.
/// They are never saved.

#include "database/nyx_db_persistent.h"
#include "netlist/nyx_chain.h"
#include "netlist/nyx_naming.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <tuple>
#include <unordered_map>
#include <vector>

/// What objects are found by: the name, and the number behind it where the type has one.
struct NYX_NAME_KEY {
    explicit NYX_NAME_KEY(NYX_NAME_ID name_id, std::uint32_t suffix = NYX_NO_SUFFIX)
        : m_value(std::uint64_t(suffix) << 32 | name_id.get()) {}
    friend bool operator==(NYX_NAME_KEY a, NYX_NAME_KEY b) = default;

    std::uint64_t m_value;
};

/// From keys to objects: open addressing with linear probing, sixteen bytes a slot, at most two thirds full. Of several
/// objects with one key it holds the one that a walk meets first, and knows that there are others.
class NYX_NAME_INDEX {
public:
    /// The object of a key, null for none. O(1).
    void *find(NYX_NAME_KEY key) const;
    /// Whether there may be others of the key behind that one.
    bool has_others(NYX_NAME_KEY key) const;

    /// Enters an object; if its key has one, `comes_first` tells which of the two a walk meets first.
    void add(NYX_NAME_KEY key, void *object, bool comes_first);

    /// Takes an object out. False if the index can't tell who is next: it is of no use then.
    bool remove(NYX_NAME_KEY key, const void *object);

private:
    struct SLOT {
        std::uint64_t key = 0;
        std::uintptr_t object = 0; // bit 0: others have the same key; 0: the slot is free
    };
    std::size_t home_of(std::uint64_t key) const { return key * 0x9e3779b97f4a7c15u >> m_shift; }
    std::size_t slot_of(std::uint64_t key) const;
    void grow();

    std::vector<SLOT> m_slots = std::vector<SLOT>(16);
    unsigned m_shift = 60; // the slots are two to the power of 64 minus this
    std::size_t m_size = 0;
};

/// The indexes of one module, each made when it is first asked for.
class NYX_DB_MODULE_LOOKUP {
public:
    template <class T>
    struct INDEX_OF {
        std::unique_ptr<NYX_NAME_INDEX> index;
    };
    template <class T>
    std::unique_ptr<NYX_NAME_INDEX> &index() {
        return std::get<INDEX_OF<T>>(m_indexes).index;
    }

private:
    std::tuple<INDEX_OF<NYX_INSTANCE>, INDEX_OF<NYX_NET>, INDEX_OF<NYX_PORT>, INDEX_OF<NYX_PORT_BUS>,
               INDEX_OF<NYX_NET_BUS>, INDEX_OF<NYX_INSTANCE_BUS>, INDEX_OF<NYX_INTERFACE>>
        m_indexes;
};

/// The indexes of one open database.
class NYX_DB_CACHE {
public:
    NYX_DB_CACHE() { ++s_generation; }
    ~NYX_DB_CACHE() {
        clear();
        ++s_generation;
    }
    NYX_DB_CACHE(const NYX_DB_CACHE &) = delete;
    NYX_DB_CACHE &operator=(const NYX_DB_CACHE &) = delete;

    /// Of the database of a row; null if it has none. Remembers the answer.
    static NYX_DB_CACHE *of_row(const void *row);

    /// False while no database has an index.
    static bool in_use() { return s_num_lookups.load(std::memory_order_relaxed) != 0; }

    /// That of the database of a row if there is any index in it, else null: a change of the row need not be told then.
    /// One test while no database has one.
    static NYX_DB_CACHE *find_in_use(const void *row) {
        NYX_DB_CACHE *const cache = in_use() ? of_row(row) : nullptr;
        return cache != nullptr && !cache->m_lookups.empty() ? cache : nullptr;
    }

    NYX_DB_MODULE_LOOKUP &lookup(const NYX_MODULE_IMPL *module);
    /// Null if nothing of the module has been looked up.
    NYX_DB_MODULE_LOOKUP *find_lookup(const NYX_MODULE_IMPL *module);
    /// Gives up the indexes of a module, or all of them.
    void drop(const NYX_MODULE_IMPL *module);
    void clear();
    /// Calls `visit` for all modules of which something has been looked up.
    template <class VISIT>
    void for_each_lookup(VISIT &&visit) {
        for (auto &[module, lookup] : m_lookups)
            visit(lookup);
    }

private:
    static std::atomic<std::size_t> s_num_lookups;
    static std::atomic<std::uint64_t> s_generation; // changes when any cache comes or goes

    std::unordered_map<const NYX_MODULE_IMPL *, NYX_DB_MODULE_LOOKUP> m_lookups{8};
    // The module that was asked for last, and its entry, null for none.
    const NYX_MODULE_IMPL *m_last_module = nullptr;
    NYX_DB_MODULE_LOOKUP *m_last_lookup = nullptr;
};

/// The T of a module that a walk over its list meets first among those with the key; null for none. One probe of the
/// index where there is one. Otherwise a walk, which ends soon in a list that is short and is the last one in a list
/// that is not, for it makes the index.
template <class T>
T *nyx_find_in_module(const NYX_MODULE_IMPL *module, NYX_NAME_KEY key);

/// \name Changes
/// To be told by whoever makes them: the object is in its module's list now; it is not any more, its name being what it
/// was; it had `old_key` before. The module of one that is renamed is null if finding it would be a search: then the
/// indexes of all modules of the database are asked. One test while nothing is indexed.
/// \{
template <class T>
void nyx_cache_add(const NYX_MODULE_IMPL *module, typename NYX_OBJECT_TRAITS<T>::impl *object);
template <class T>
void nyx_cache_remove(const NYX_MODULE_IMPL *module, typename NYX_OBJECT_TRAITS<T>::impl *object);
template <class T>
void nyx_cache_rename(const NYX_MODULE_IMPL *module, typename NYX_OBJECT_TRAITS<T>::impl *object, NYX_NAME_KEY old_key);
/// The rows of a module's ports have moved, or the module goes.
inline void nyx_cache_drop(const NYX_MODULE_IMPL *module) {
    if (NYX_DB_CACHE *const cache = NYX_DB_CACHE::find_in_use(module))
        cache->drop(module);
}
/// \}

/// The key of an object.
template <class T>
NYX_NAME_KEY nyx_key_of(const typename NYX_OBJECT_TRAITS<T>::impl *object) {
    if constexpr (requires { object->m_unique_suffix; } && !std::is_same_v<T, NYX_NET>)
        return NYX_NAME_KEY(object->m_name_id, object->m_unique_suffix);
    else if constexpr (requires { object->m_name_id; })
        return NYX_NAME_KEY(object->m_name_id);
    else
        return NYX_NAME_KEY(nyx_cell(&NYX_OBJECT_TRAITS<T>::table::m_name_id, object));
}

#define NYX_CACHED_TYPE(T)                                                                                             \
    extern template T *nyx_find_in_module<T>(const NYX_MODULE_IMPL *, NYX_NAME_KEY);                                   \
    extern template void nyx_cache_add<T>(const NYX_MODULE_IMPL *, NYX_OBJECT_TRAITS<T>::impl *);                      \
    extern template void nyx_cache_remove<T>(const NYX_MODULE_IMPL *, NYX_OBJECT_TRAITS<T>::impl *);                   \
    extern template void nyx_cache_rename<T>(const NYX_MODULE_IMPL *, NYX_OBJECT_TRAITS<T>::impl *, NYX_NAME_KEY);
NYX_CACHED_TYPE(NYX_INSTANCE)
NYX_CACHED_TYPE(NYX_NET)
NYX_CACHED_TYPE(NYX_PORT)
NYX_CACHED_TYPE(NYX_PORT_BUS)
NYX_CACHED_TYPE(NYX_NET_BUS)
NYX_CACHED_TYPE(NYX_INSTANCE_BUS)
NYX_CACHED_TYPE(NYX_INTERFACE)
#undef NYX_CACHED_TYPE

#endif
