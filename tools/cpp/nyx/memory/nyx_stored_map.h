#ifndef NYX_STORED_MAP_H
#define NYX_STORED_MAP_H

/// \file
/// The hash maps of a segment, and how to find and add elements in their stored form.
///
/// The maps are Boost's, so that one mechanism grows, empties and relocates them; the price is a test for null, or two,
/// at each of the pointers that an operation follows, a hash that is computed again by each of them, and a comparison
/// with one element beyond the bucket where the key isn't there. nyx_find_stored and nyx_insert_stored do without. The
/// layout is the file's, and pinned:
///
///     map      24  number of buckets, a power of two        bucket   0  link to the node before its first one
///              32  number of elements
///              48  most elements before buckets are added   node     0  element
///              56  link to the buckets                               +  link to the next node
///                                                                    +  number of the bucket; bit 63 is not part of it
///
/// One bucket more than there are links to a node without an element, which heads the list of all.
/// A link is the distance from itself to its target, 1 is none. An element's bucket is its mixed hash modulo the number
/// of buckets. The maps that are keyed by rows have a hash that keeps rows which are neighbours together.

#include "memory/nyx_segment.h"

#include <boost/functional/hash.hpp>
#include <boost/unordered_map.hpp>
#include <boost/version.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <new>
#include <type_traits>
#include <utility>

static_assert(BOOST_VERSION / 100 == 1074, "another version of Boost has another layout of the stored containers");

/// Hash map of a segment. Made with NYX_SEGMENT_INITIAL_BUCKETS; holds at most one element a bucket on average. Keys
/// are of class type, for which Boost mixes the hash and counts buckets in powers of two.
template <class KEY, class VALUE, class HASH = boost::hash<KEY>, class EQUAL = std::equal_to<KEY>>
using NYX_SEGMENT_UNORDERED_MAP =
    boost::unordered_map<KEY, VALUE, HASH, EQUAL, NYX_SEGMENT_ALLOCATOR<std::pair<const KEY, VALUE>>>;
inline constexpr std::size_t NYX_SEGMENT_INITIAL_BUCKETS = 16;

/// The hash as the maps use it.
constexpr std::uint64_t nyx_mix_hash(std::uint64_t h) {
    h = (h << 21) + ~h;
    h = (h ^ (h >> 24)) * 265;
    h = (h ^ (h >> 14)) * 21;
    return (h ^ (h >> 28)) * 0x80000001u;
}

/// The hash that is `mixed` once it has been mixed.
constexpr std::uint64_t nyx_unmix_hash(std::uint64_t mixed) {
    // Multiplying by the inverse undoes a product, and repeating a shift until nothing is left undoes its difference.
    std::uint64_t h = mixed * 0x3fffffff80000001u;
    h = (h ^ (h >> 28) ^ (h >> 56)) * 0xcf3cf3cf3cf3cf3du;
    h = (h ^ (h >> 14) ^ (h >> 28) ^ (h >> 42) ^ (h >> 56)) * 0xd38ff08b1c03dd39u;
    h = h ^ (h >> 24) ^ (h >> 48);
    return (h + 1) * 0x7ffffbffffdfffffu;
}
static_assert(nyx_unmix_hash(nyx_mix_hash(0)) == 0 &&
              nyx_mix_hash(nyx_unmix_hash(0xfedcba9876543210)) == 0xfedcba9876543210);

/// The mixed hash of a row. A walk over objects in their order goes over the buckets in theirs: ids that agree in all
/// but their low bits do so here, and 2^n ids from 0 on fill 2^n buckets evenly. That holds for whatever is added to
/// bits by those above them; the shifts and the product see to it that ids at regular distances, as the members of
/// arrays have them, don't crowd a few buckets.
constexpr std::uint64_t nyx_spread_row(std::uint32_t row) {
    row ^= row >> 3;
    row ^= row >> 8;
    row ^= row >> 13;
    return row ^ (((row >> 6) * 0x9E3779B1u) >> 26);
}

/// Hash of the identifiers of rows.
template <class ID>
struct NYX_ROW_HASH {
    std::size_t operator()(ID id) const noexcept { return nyx_unmix_hash(nyx_spread_row(id.get())); }
};

namespace NYX::detail {

inline std::uint64_t load_word(const char *at) {
    std::uint64_t word;
    std::memcpy(&word, at, sizeof(word));
    return word;
}

inline void store_word(char *at, std::uint64_t word) {
    std::memcpy(at, &word, sizeof(word));
}
inline void store_link(char *at, const char *target) {
    store_word(at, static_cast<std::uint64_t>(target - at));
}

// The target of the link at `at`; null if there is none. In numbers, for an unsound link leads anywhere.
inline const char *follow_link(const char *at) {
    const std::uint64_t distance = load_word(at);
    return distance == 1 ? nullptr : reinterpret_cast<const char *>(reinterpret_cast<std::uintptr_t>(at) + distance);
}

} // namespace NYX::detail

/// For maps whose links are known to be sound.
struct NYX_SOUND_LINKS {};

/// For maps whose nodes nobody has looked at: links may lead anywhere, and are followed to whole words between two
/// addresses only. The first address is that of a word.
struct NYX_LINKS_WITHIN {
    const char *begin;
    const char *end;
    bool contains(const char *at, std::size_t bytes) const {
        const auto size = static_cast<std::uintptr_t>(end - begin);
        const std::uintptr_t offset = reinterpret_cast<std::uintptr_t>(at) - reinterpret_cast<std::uintptr_t>(begin);
        return offset <= size && size - offset >= bytes && offset % alignof(std::uint64_t) == 0;
    }
};

/// The element for which `matches(element)` holds among those with that mixed hash; null if there is none. The table of
/// buckets must be sound, the nodes as LINKS says. Inlined always: a probe is a few loads.
template <class KEY, class VALUE, class HASH, class EQUAL, class MATCHES, class LINKS = NYX_SOUND_LINKS>
[[gnu::always_inline]] inline const std::pair<const KEY, VALUE> *
nyx_find_stored(const NYX_SEGMENT_UNORDERED_MAP<KEY, VALUE, HASH, EQUAL> &map, std::uint64_t mixed_hash,
                MATCHES &&matches, const LINKS &links = {}) {
    using ELEMENT = std::pair<const KEY, VALUE>;
    using NYX::detail::load_word;
    static_assert(sizeof(map) == 64 && alignof(ELEMENT) <= 8);
    constexpr bool is_sound = std::is_same_v<LINKS, NYX_SOUND_LINKS>;
    constexpr std::size_t next_link = (sizeof(ELEMENT) + 7) / 8 * 8;
    const char *const stored = reinterpret_cast<const char *>(&map);
    std::uint64_t left = load_word(stored + 32);
    if (left == 0)
        return nullptr;
    const std::uint64_t bucket = mixed_hash & (load_word(stored + 24) - 1);
    // In numbers, for distances are negative as often as not, and unsound ones lead anywhere.
    const auto move = [](const char *at, std::uint64_t distance) {
        return reinterpret_cast<const char *>(reinterpret_cast<std::uintptr_t>(at) + distance);
    };
    // Goes on from a link to the node that it leads to.
    const auto follow = [&links, &move](const char *&at) {
        const std::uint64_t distance = load_word(at);
        at = move(at, distance);
        if constexpr (is_sound)
            return distance != 1;
        else
            return distance != 1 && links.contains(at, next_link + 16);
    };
    // Where there are elements there are buckets. The bucket leads to the node in front of its first one.
    const char *node = move(stored + 56, load_word(stored + 56) + bucket * 8);
    if (!follow(node))
        return nullptr;
    const auto is_in_bucket = [&] { return (load_word(node + next_link + 8) ^ bucket) << 1 == 0; };
    node += next_link;
    bool is_next = follow(node);
    if (!is_sound && is_next && !is_in_bucket())
        return nullptr;
    while (is_next) {
        if (matches(*reinterpret_cast<const ELEMENT *>(node)))
            return reinterpret_cast<const ELEMENT *>(node);
        // Unsound links may go round in circles.
        if (!is_sound && --left == 0)
            return nullptr;
        node += next_link;
        is_next = follow(node) && is_in_bucket();
    }
    return nullptr;
}

/// Adds an element, whose key must not be in the map and has that mixed hash. boost::interprocess::bad_alloc, with
/// nothing changed, when the segment is full. The map must be sound.
template <class KEY, class VALUE, class HASH, class EQUAL>
void nyx_insert_stored(NYX_SEGMENT_UNORDERED_MAP<KEY, VALUE, HASH, EQUAL> &map, std::uint64_t mixed_hash,
                       const KEY &key, const VALUE &value) {
    using ELEMENT = std::pair<const KEY, VALUE>;
    using NYX::detail::follow_link;
    using NYX::detail::load_word;
    using NYX::detail::store_link;
    using NYX::detail::store_word;
    static_assert(sizeof(map) == 64 && alignof(ELEMENT) <= 8 && std::is_nothrow_copy_constructible_v<KEY> &&
                  std::is_nothrow_copy_constructible_v<VALUE>);
    constexpr std::size_t next_link = (sizeof(ELEMENT) + 7) / 8 * 8;
    constexpr std::uint64_t null_link = 1;
    char *const stored = reinterpret_cast<char *>(&map);
    const std::uint64_t count = load_word(stored + 32);
    char *const buckets = const_cast<char *>(follow_link(stored + 56));
    if (buckets == nullptr || count >= load_word(stored + 48)) {
        map.emplace(key, value);
        return;
    }
    const std::uint64_t num_buckets = load_word(stored + 24);
    const std::uint64_t bucket = mixed_hash & (num_buckets - 1);
    char *const node = NYX_SEGMENT_ALLOCATOR<char>(map.get_allocator()).allocate(next_link + 16).get();
    ::new (node) ELEMENT(key, value);
    store_word(node + next_link + 8, bucket);
    char *const bucket_link = buckets + bucket * 8;
    char *before = const_cast<char *>(follow_link(bucket_link));
    if (before == nullptr) {
        // The first of its bucket heads the list, and comes before the bucket whose first one did so.
        before = const_cast<char *>(follow_link(buckets + num_buckets * 8));
        store_link(bucket_link, before);
        if (const char *const old_head = follow_link(before + next_link))
            store_link(buckets + (load_word(old_head + next_link + 8) & ~(std::uint64_t(1) << 63)) * 8, node);
    }
    const char *const next = follow_link(before + next_link);
    if (next != nullptr)
        store_link(node + next_link, next);
    else
        store_word(node + next_link, null_link);
    store_link(before + next_link, node);
    store_word(stored + 32, count + 1);
}

/// Bytes that a map takes of the segment: its buckets, one more that heads the list, and a node an element.
template <class KEY, class VALUE, class HASH, class EQUAL>
long nyx_stored_map_bytes(const NYX_SEGMENT_UNORDERED_MAP<KEY, VALUE, HASH, EQUAL> &map) {
    constexpr std::size_t node_bytes = (sizeof(std::pair<const KEY, VALUE>) + 7) / 8 * 8 + 2 * sizeof(void *);
    // They come with the first element, and stay when the last one goes.
    const char *const stored = reinterpret_cast<const char *>(&map);
    const std::size_t buckets = NYX::detail::follow_link(stored + 56) == nullptr ? 0 : map.bucket_count() + 1;
    return static_cast<long>(map.size() * node_bytes + buckets * sizeof(void *));
}

#endif
