#ifndef NYX_VIRTUAL_MEMORY_H
#define NYX_VIRTUAL_MEMORY_H

/// \file
/// What a segment needs of the platform's virtual memory. Address space is reserved in full and backed by
/// memory only where it has been committed, in whole pages and in place.

#include "nyx/nyx_api.h"

#include <cstddef>

namespace NYX::VIRTUAL_MEMORY {

/// Reserves `size` bytes of address space, page-aligned, and commits the first `commit` of them. The range ends in a
/// page that is never accessible, so that a stray write doesn't reach the neighbouring reservation. A refusal ends the
/// run: "Failed to reserve %zu bytes (%u)", with errno; a commit that is larger than the range does too.
NYX_API char *reserve_and_commit(std::size_t size, std::size_t commit);

/// Makes the pages that `size` bytes at `address` lie on readable and writable, and returns the end of the last of
/// them. Pages that are committed already keep their content. Throws std::bad_alloc when the system refuses.
NYX_API char *commit(void *address, std::size_t size);

/// Gives back the whole range of a reservation of `size` bytes. A refusal is only warned of, and gives false.
NYX_API bool release(void *base, std::size_t size);

/// Makes a range that is committed in full read-only, or writable again. A refusal ends the run.
NYX_API void protect(void *base, std::size_t size, bool writable);

/// Overwrites committed memory with zeros; whole pages go back to the system instead of being written.
NYX_API void zero(void *address, std::size_t size);

/// The system's page size in bytes, asked for once.
NYX_API std::size_t page_size();

/// `value` rounded up to a whole number of pages.
NYX_API std::size_t round_up_to_pages(std::size_t value);

} // namespace NYX::VIRTUAL_MEMORY

#endif
