#ifndef NYX_ARITHMETIC_H
#define NYX_ARITHMETIC_H

/// \file
/// Integer arithmetic of the geometry classes: coordinates come from files, so no pair of them may be undefined
/// behaviour.

#include <cstddef>
#include <cstdint>

/// a + b, modulo 2^32.
constexpr int nyx_wrapping_add(int a, int b) noexcept {
    return static_cast<int>(static_cast<unsigned int>(a) + static_cast<unsigned int>(b));
}

/// a - b, modulo 2^32.
constexpr int nyx_wrapping_sub(int a, int b) noexcept {
    return static_cast<int>(static_cast<unsigned int>(a) - static_cast<unsigned int>(b));
}

/// -a, modulo 2^32: the most negative value is its own negative.
constexpr int nyx_wrapping_neg(int a) noexcept {
    return nyx_wrapping_sub(0, a);
}

/// Spreads the bits of `key` over the whole word; different keys have different results, for each step can be undone.
constexpr std::size_t nyx_mix_bits(std::uint64_t key) noexcept {
    key ^= key >> 32;
    key *= 0x9e3779b97f4a7c15; // odd: 2^64 over the golden ratio
    return key ^ (key >> 29);
}

/// A hash in the type and the range of Python's: -1 stands for an error there.
constexpr long int nyx_to_python_hash(std::size_t hash) noexcept {
    const auto value = static_cast<long int>(hash);
    return value == -1 ? -2 : value;
}

#endif
