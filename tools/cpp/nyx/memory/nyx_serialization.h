#ifndef NYX_SERIALIZATION_H
#define NYX_SERIALIZATION_H

/// \file
/// The two self-relative pointers that a segment may hold. Both store the distance from themselves to their target, so
/// a copy of a whole segment at another address needs no fix-up; a byte copy of a single pointer would miss its target.

#include "nyx_report/nyx_report.h"

#include <boost/interprocess/offset_ptr.hpp>

#include <compare>
#include <cstdint>
#include <cstring>
#include <functional>
#include <type_traits>

/// Nullable. Stored as one signed 64-bit distance, where 1 is null: everything in a segment is 8-aligned, so no target
/// is one byte away. Costs a test at every read.
template <class T>
using NYX_OFFSET_PTR = boost::interprocess::offset_ptr<T, long long, unsigned long long, 0>;

/// The target of a pointer that isn't null, without the test.
template <class T>
T *nyx_get_not_null(const NYX_OFFSET_PTR<T> &pointer) noexcept {
    static_assert(sizeof(pointer) == sizeof(std::int64_t));
    std::int64_t distance;
    std::memcpy(&distance, &pointer, sizeof(distance));
    return reinterpret_cast<T *>(reinterpret_cast<std::uintptr_t>(&pointer) + distance);
}

/// Not nullable: for what its holder can't live without, on paths where a test at every read would show. Stored as one
/// signed 64-bit distance, where 0 was never assigned; neither null nor the pointer itself can be a target.
///
/// The copy members are user-provided on purpose: a container that takes the type for trivially copyable would move it
/// by its bytes.
template <class T>
class NYX_FAST_OFFSET_PTR {
public:
    using element_type = T;

    constexpr NYX_FAST_OFFSET_PTR() noexcept = default;
    NYX_FAST_OFFSET_PTR(T *ptr) { set(ptr); }
    NYX_FAST_OFFSET_PTR(const NYX_FAST_OFFSET_PTR &other) { rebase(other); }
    NYX_FAST_OFFSET_PTR &operator=(T *ptr) {
        set(ptr);
        return *this;
    }
    NYX_FAST_OFFSET_PTR &operator=(const NYX_FAST_OFFSET_PTR &other) {
        rebase(other);
        return *this;
    }
    ~NYX_FAST_OFFSET_PTR() = default;

    T *get() const {
        NYX_CHECK_MSG(m_offset != 0, "This pointer was never assigned a valid value");
        return target();
    }
    T *operator->() const { return get(); }
    std::add_lvalue_reference_t<T> operator*() const { return *get(); }

    /// False before the first assignment.
    bool is_assigned() const noexcept { return m_offset != 0; }

    // By target: two pointers at different places that store different distances may be equal.
    friend bool operator==(const NYX_FAST_OFFSET_PTR &a, const NYX_FAST_OFFSET_PTR &b) noexcept {
        return a.address() == b.address();
    }
    friend auto operator<=>(const NYX_FAST_OFFSET_PTR &a, const NYX_FAST_OFFSET_PTR &b) noexcept {
        return a.address() <=> b.address();
    }

private:
    std::uintptr_t address() const noexcept { return reinterpret_cast<std::uintptr_t>(this) + m_offset; }
    T *target() const noexcept { return reinterpret_cast<T *>(address()); }

    void set(T *ptr) {
        NYX_CHECK_MSG(ptr != nullptr, "This pointer should never be null");
        m_offset =
            static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(ptr) - reinterpret_cast<std::uintptr_t>(this));
        NYX_CHECK_MSG(m_offset != 0, "This pointer should never self-point");
    }
    void rebase(const NYX_FAST_OFFSET_PTR &other) {
        // A pointer that was never assigned stays so: containers copy elements before they are given a value, and a
        // re-based zero would point at `other` and pass every check.
        if (other.m_offset == 0) {
            m_offset = 0;
            return;
        }
        m_offset = static_cast<std::int64_t>(other.address() - reinterpret_cast<std::uintptr_t>(this));
        NYX_CHECK_MSG(m_offset != 0, "This pointer should never self-point");
    }

    std::int64_t m_offset = 0;
};

static_assert(sizeof(NYX_OFFSET_PTR<int>) == 8 && sizeof(NYX_FAST_OFFSET_PTR<int>) == 8);

#endif
