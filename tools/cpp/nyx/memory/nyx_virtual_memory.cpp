#include "memory/nyx_virtual_memory.h"

#include "memory/nyx_sanitizer.h"
#include "nyx_report/nyx_report.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace NYX::VIRTUAL_MEMORY {

namespace {

constexpr std::size_t s_huge_page_span = std::size_t(64) << 20;
constexpr std::size_t s_small_page_head = std::size_t(4) << 20;

// The length of the mapping behind a reservation, with its guard page; 0 when it can't be expressed.
std::size_t mapping_length(std::size_t size) {
    const std::size_t page = page_size();
    if (size == 0 || size > std::numeric_limits<std::size_t>::max() - 2 * page)
        return 0;
    return round_up_to_pages(size) + page;
}

} // namespace

std::size_t page_size() {
    static const std::size_t s_page_size = [] {
        const long r = sysconf(_SC_PAGESIZE);
        NYX_CHECK_MSG(r > 0, "Failed to retrieve page size");
        return static_cast<std::size_t>(r);
    }();
    return s_page_size;
}

std::size_t round_up_to_pages(std::size_t value) {
    const std::size_t page = page_size();
    return (value + page - 1) & ~(page - 1);
}

// A large span is worth huge pages: fewer faults while it fills, fewer misses while it is walked. Its beginning keeps
// small ones, so that a segment of which little is ever used stays small. Advice may be ignored, and then it is.
static void advise_huge_pages(std::uintptr_t begin, std::uintptr_t end) {
    if (end - begin >= s_huge_page_span)
        madvise(reinterpret_cast<void *>(begin + s_small_page_head), end - begin - s_small_page_head, MADV_HUGEPAGE);
}

char *reserve_and_commit(std::size_t size, std::size_t commit_size) {
    NYX_CHECK_AS(commit_size <= size, "commit <= size", "Committed must be less or equal to size");
    // A length that doesn't fit is passed on as one that the system refuses, so that there is one place of failure.
    const std::size_t length = mapping_length(size);
    void *result =
        mmap(nullptr, length != 0 ? length : size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (result == MAP_FAILED)
        result = nullptr;
    NYX_CHECK_MSG(result != nullptr, "Failed to reserve %zu bytes (%u)", size, static_cast<unsigned>(errno));
    if (commit_size != 0) {
        const bool committed = mprotect(result, round_up_to_pages(commit_size), PROT_READ | PROT_WRITE) == 0;
        NYX_CHECK_AS(committed, "result", "Failed to commit %zu bytes (%u)", commit_size, static_cast<unsigned>(errno));
        const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(result);
        advise_huge_pages(begin, begin + round_up_to_pages(commit_size));
    }
    return static_cast<char *>(result);
}

char *commit(void *address, std::size_t size) {
    NYX_CHECK(size > 0);
    const std::uintptr_t page = page_size();
    const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(address) & ~(page - 1);
    const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(address) + size + page - 1) & ~(page - 1);
    if (mprotect(reinterpret_cast<void *>(begin), end - begin, PROT_READ | PROT_WRITE) != 0)
        throw std::bad_alloc();
    advise_huge_pages(begin, end);
    return reinterpret_cast<char *>(end);
}

bool release(void *base, std::size_t size) {
    const std::size_t length = mapping_length(size);
    // The addresses may be handed out again at once, and their next owner starts with clean shadow memory.
    SANITIZER::forget(base, length);
    if (munmap(base, length != 0 ? length : size) == 0)
        return true;
    NYX_REPORT::warn("Failed to free allocation of %zu bytes (%u)", size, static_cast<unsigned>(errno));
    return false;
}

void protect(void *base, std::size_t size, bool writable) {
    const bool result = mprotect(base, round_up_to_pages(size), writable ? PROT_READ | PROT_WRITE : PROT_READ) == 0;
    NYX_CHECK_MSG(result, "Failed to change memory permissions on %zu bytes (%u)", size, static_cast<unsigned>(errno));
}

void zero(void *address, std::size_t size) {
    char *const begin = static_cast<char *>(address);
    char *const end = begin + size;
    const std::uintptr_t page = page_size();
    char *const first_page =
        reinterpret_cast<char *>((reinterpret_cast<std::uintptr_t>(begin) + page - 1) & ~(page - 1));
    char *const last_page = reinterpret_cast<char *>(reinterpret_cast<std::uintptr_t>(end) & ~(page - 1));
    if (first_page >= last_page || madvise(first_page, last_page - first_page, MADV_DONTNEED) != 0) {
        std::memset(begin, 0, size);
        return;
    }
    std::memset(begin, 0, first_page - begin);
    std::memset(last_page, 0, end - last_page);
}

} // namespace NYX::VIRTUAL_MEMORY
