#ifndef NYX_SANITIZER_H
#define NYX_SANITIZER_H

/// \file
/// Teaches AddressSanitizer the segment's allocator: what is free is poisoned. Without the sanitizer all of it is
/// nothing.

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define NYX_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define NYX_ADDRESS_SANITIZER 1
#endif
#endif

#ifdef NYX_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>

#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace NYX::SANITIZER {

#ifdef NYX_ADDRESS_SANITIZER
inline constexpr bool s_enabled = true;
inline void poison(const void *begin, std::size_t size) {
    __asan_poison_memory_region(begin, size);
}
inline void unpoison(const void *begin, std::size_t size) {
    __asan_unpoison_memory_region(begin, size);
}

/// Unpoisons a large range of which little may ever have been poisoned: its shadow pages go back to the system instead
/// of being written.
inline void forget(const void *begin, std::size_t size) {
    std::size_t scale = 0, shadow_offset = 0;
    __asan_get_shadow_mapping(&scale, &shadow_offset);
    const std::uintptr_t granule = std::uintptr_t(sysconf(_SC_PAGESIZE)) << scale;
    const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(begin), end = first + size;
    const std::uintptr_t whole = (first + granule - 1) & ~(granule - 1), whole_end = end & ~(granule - 1);
    void *const shadow = reinterpret_cast<void *>((whole >> scale) + shadow_offset);
    if (whole >= whole_end || madvise(shadow, (whole_end - whole) >> scale, MADV_DONTNEED) != 0)
        return unpoison(begin, size);
    unpoison(begin, whole - first);
    unpoison(reinterpret_cast<const void *>(whole_end), end - whole_end);
}
#else
inline constexpr bool s_enabled = false;
inline void poison(const void *, std::size_t) {}
inline void unpoison(const void *, std::size_t) {}
inline void forget(const void *, std::size_t) {}
#endif

} // namespace NYX::SANITIZER

#endif
