#ifndef NYX_SANITIZER_H
#define NYX_SANITIZER_H

/// \file
/// Teaches AddressSanitizer the segment's allocator: what is free is poisoned. Without the sanitizer all of it is nothing.

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
#endif

namespace NYX::SANITIZER {

#ifdef NYX_ADDRESS_SANITIZER
inline constexpr bool s_enabled = true;
inline void poison(const void *begin, std::size_t size) { __asan_poison_memory_region(begin, size); }
inline void unpoison(const void *begin, std::size_t size) { __asan_unpoison_memory_region(begin, size); }
#else
inline constexpr bool s_enabled = false;
inline void poison(const void *, std::size_t) {}
inline void unpoison(const void *, std::size_t) {}
#endif

} // namespace NYX::SANITIZER

#endif
