#ifndef NYX_STORED_MAP_H
#define NYX_STORED_MAP_H

/// \file
/// The hash maps of a segment, and a look-up in their stored form.
///
/// The maps are Boost's, so that one mechanism fills, grows and relocates them; the price is a test for null, or two,
/// at each of the pointers that a look-up follows, and a comparison with one element beyond the bucket where the key
/// isn't there. nyx_find_stored reads the same bytes without either. The layout is the file's, and pinned:
///
///     map      24  number of buckets, a power of two        bucket   0  link to the node before the first one in the
///     bucket
///              32  number of elements                       node     0  element
///              56  link to the buckets                               +  link to the next node
///                                                                    +  number of the bucket; bit 63 is not part of it
///
/// A link is the distance from itself to its target, 1 is none. An element's bucket is its mixed hash modulo the number
/// of buckets.

#include "memory/nyx_segment.h"

#include <boost/functional/hash.hpp>
#include <boost/unordered_map.hpp>
#include <boost/version.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
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

namespace NYX::detail {

inline std::uint64_t load_word(const char *at) {
    std::uint64_t word;
    std::memcpy(&word, at, sizeof(word));
    return word;
}

// The target of the link at `at`; null if there is none. In numbers, for an unsound link leads anywhere.
inline const char *follow_link(const char *at) {
    const std::uint64_t distance = load_word(at);
    return distance == 1 ? nullptr : reinterpret_cast<const char *>(reinterpret_cast<std::uintptr_t>(at) + distance);
}

} // namespace NYX::detail

/// For maps whose links are known to be sound.
struct NYX_SOUND_LINKS {};

/// For maps whose nodes nobody has looked at: links may lead anywhere, and are followed between two addresses only.
struct NYX_LINKS_WITHIN {
    const char *begin;
    const char *end;
    bool contains(const char *at, std::size_t bytes) const {
        const auto size = static_cast<std::uintptr_t>(end - begin);
        const std::uintptr_t offset = reinterpret_cast<std::uintptr_t>(at) - reinterpret_cast<std::uintptr_t>(begin);
        return offset <= size && size - offset >= bytes;
    }
};

/// The element for which `matches(element)` holds among those whose hash, before mixing, is `hash`; null if there is
/// none. The table of buckets must be sound, the nodes as LINKS says.
template <class KEY, class VALUE, class HASH, class EQUAL, class MATCHES, class LINKS = NYX_SOUND_LINKS>
const std::pair<const KEY, VALUE> *nyx_find_stored(const NYX_SEGMENT_UNORDERED_MAP<KEY, VALUE, HASH, EQUAL> &map,
                                                   std::uint64_t hash, MATCHES &&matches, const LINKS &links = {}) {
    using ELEMENT = std::pair<const KEY, VALUE>;
    using NYX::detail::follow_link;
    using NYX::detail::load_word;
    static_assert(sizeof(map) == 64 && alignof(ELEMENT) <= 8);
    constexpr std::size_t next_link = (sizeof(ELEMENT) + 7) / 8 * 8;
    const char *const stored = reinterpret_cast<const char *>(&map);
    std::uint64_t left = load_word(stored + 32);
    if (left == 0)
        return nullptr;
    const std::uint64_t bucket = nyx_mix_hash(hash) & (load_word(stored + 24) - 1);
    const auto follow = [&links](const char *link) {
        const char *const node = follow_link(link);
        if constexpr (std::is_same_v<LINKS, NYX_LINKS_WITHIN>)
            return links.contains(node, next_link + 16) ? node : nullptr;
        return node;
    };
    const char *node = follow(follow_link(stored + 56) + bucket * 8);
    if (node == nullptr)
        return nullptr;
    node = follow(node + next_link);
    // Unsound links may go round in circles.
    for (; node != nullptr && left != 0; --left) {
        if ((load_word(node + next_link + 8) & ~(std::uint64_t(1) << 63)) != bucket)
            return nullptr;
        const ELEMENT *const element = reinterpret_cast<const ELEMENT *>(node);
        if (matches(*element))
            return element;
        node = follow(node + next_link);
    }
    return nullptr;
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
