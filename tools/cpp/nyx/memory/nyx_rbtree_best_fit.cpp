#include "memory/nyx_rbtree_best_fit.h"

#include "memory/nyx_image_walk.h"
#include "memory/nyx_sanitizer.h"
#include "memory/nyx_virtual_memory.h"
#include "nyx_barebones/nyx_barebones_notifier.h"
#include "nyx_report/nyx_report.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>
#include <new>
#include <numeric>

namespace NYX::MEM_ALGO {

namespace bi = boost::interprocess;

// The head of every member definition below.
#define NYX_VALLOC_TEMPLATE template <class MutexFamily, class VoidPointer, std::size_t MemAlignment>
#define NYX_VALLOC rbtree_best_fit_valloc<MutexFamily, VoidPointer, MemAlignment>

// ---- Construction

// Nothing of the object may be touched before its pages are committed, hence the comma in front of the first member.
NYX_VALLOC_TEMPLATE
NYX_VALLOC::header::header(void *self, size_type size, size_type extra_hdr_bytes)
    : m_zero((VIRTUAL_MEMORY::commit(self, sizeof(header) + extra_hdr_bytes), 0))
    , m_extra_hdr_bytes(extra_hdr_bytes)
    , m_allocated(0)
    , m_size(size)
    , m_committed(0)
    , m_reserved() {}

NYX_VALLOC_TEMPLATE
NYX_VALLOC::rbtree_best_fit_valloc(size_type size, size_type extra_hdr_bytes) : m_header(this, size, extra_hdr_bytes) {
    const size_type first_offset = get_first_block_offset();
    const size_type segment_size = size < first_offset ? 0 : size - first_offset;
    NYX_CHECK_AS(segment_size >= (BlockCtrlBytes + EndCtrlBlockBytes),
                 "segment_size >= (BlockCtrlBytes + EndCtrlBlockBytes)", "A segment of %llu bytes is too small", size);
    block_ctrl *const first = first_block();
    commit_span(bytes(first) + BlockCtrlBytes);
    first->m_size = end_units_for(size);
    block_ctrl *const end = next_block(first);
    VIRTUAL_MEMORY::commit(end, EndCtrlBlockBytes);
    make_end_block(end);
    mark_free(first);
    insert_free(first);
}

NYX_VALLOC_TEMPLATE
auto NYX_VALLOC::get_first_block_offset() const -> size_type {
    return (sizeof(header) + m_header.m_extra_hdr_bytes + Alignment - 1) & ~(Alignment - 1);
}

NYX_VALLOC_TEMPLATE
auto NYX_VALLOC::get_min_size(size_type extra_hdr_bytes) -> size_type {
    return ((sizeof(header) + extra_hdr_bytes + Alignment - 1) & ~(Alignment - 1)) + BlockCtrlBytes + EndCtrlBlockBytes;
}

NYX_VALLOC_TEMPLATE
auto NYX_VALLOC::get_free_memory() const -> size_type {
    return m_header.m_size - m_header.m_allocated - get_first_block_offset();
}

// Distance from the first block to the end block in a segment of `size` bytes.
NYX_VALLOC_TEMPLATE
auto NYX_VALLOC::end_units_for(size_type size) const -> size_type {
    return (size - get_first_block_offset()) / Alignment - EndCtrlBlockUnits;
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::make_end_block(block_ctrl *end) {
    block_ctrl *const first = first_block();
    end->m_size = units_between(first, end);
    end->m_allocated = 1;
    first->m_prev_size = end->m_size;
    first->m_prev_allocated = 1;
}

// ---- Committed memory

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::commit_span(const void *ptr) {
    const char *const this_ptr = base();
    const char *const char_ptr = static_cast<const char *>(ptr);
    NYX_CHECK_MSG(this_ptr <= char_ptr, "ptr is left of this");
    const size_type offset = char_ptr - this_ptr;
    NYX_CHECK_MSG(offset <= m_header.m_size, "offset larger than managed segment");
    if (offset <= m_header.m_committed)
        return;
    const size_type wanted = std::max(offset - m_header.m_committed, CommitStep);
    const size_type rest = m_header.m_size - m_header.m_committed;
    const char *const next_uncommitted_addr =
        VIRTUAL_MEMORY::commit(base() + m_header.m_committed, std::min(rest, wanted));
    NYX_CHECK_MSG(this_ptr <= next_uncommitted_addr, "priv_commit_span returned address left of this");
    m_header.m_committed = next_uncommitted_addr - this_ptr;
}

// Commits what a block that ends at `block_end` holds. With the last block that is all of the segment, the bytes behind
// the end block too, so that a full segment can be read as a whole.
NYX_VALLOC_TEMPLATE
void NYX_VALLOC::commit_through(const block_ctrl *block_end) {
    commit_span(block_end == end_block() ? base() + m_header.m_size : reinterpret_cast<const char *>(block_end));
}

// ---- Blocks and the tree

// Units of the block for a request; saturates instead of wrapping, so that no request looks small.
NYX_VALLOC_TEMPLATE
auto NYX_VALLOC::bytes_to_units(size_type nbytes) -> size_type {
    return nbytes < 8 ? BlockCtrlUnits : std::max(BlockCtrlUnits, (nbytes - 1) / Alignment + 2);
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::check_pointer(const void *ptr) {
    NYX_CHECK_MSG((reinterpret_cast<std::uintptr_t>(ptr) & (Alignment - 1)) == 0, "Alignment check failed");
}

NYX_VALLOC_TEMPLATE
auto NYX_VALLOC::prev_block(block_ctrl *block) -> block_ctrl * {
    NYX_CHECK_AS(!block->m_prev_allocated, "!ptr->m_prev_allocated", "prev is not allocated");
    return reinterpret_cast<block_ctrl *>(bytes(block) - block->m_prev_size * Alignment);
}

NYX_VALLOC_TEMPLATE
auto NYX_VALLOC::last_block_if_free() -> block_ctrl * {
    block_ctrl *const end = end_block();
    return end->m_prev_allocated ? nullptr : prev_block(end);
}

NYX_VALLOC_TEMPLATE
auto NYX_VALLOC::last_block_if_free() const -> const block_ctrl * {
    return const_cast<rbtree_best_fit_valloc *>(this)->last_block_if_free();
}

// The two bits are set with their size as one word: a load of the word right behind a store of a byte of it would wait
// until the store has left the processor.
NYX_VALLOC_TEMPLATE
void NYX_VALLOC::set_bits(block_ctrl *block, size_type mask, size_type bits) {
    size_type head;
    char *const at = bytes(block) + sizeof(size_type);
    std::memcpy(&head, at, sizeof(head));
    head = (head & ~mask) | bits;
    std::memcpy(at, &head, sizeof(head));
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::mark_allocated(block_ctrl *block) {
    set_bits(block, AllocatedBit, AllocatedBit);
    set_bits(next_block(block), PrevAllocatedBit, PrevAllocatedBit);
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::mark_free(block_ctrl *block) {
    set_bits(block, AllocatedBit, 0);
    block_ctrl *const next = next_block(block);
    set_bits(next, PrevAllocatedBit, 0);
    next->m_prev_size = block->m_size;
}

// Among blocks of its size a freed one comes first: it is the next to be taken while its surroundings are in the cache.
// The hint makes the tree search for the lower bound.
NYX_VALLOC_TEMPLATE
void NYX_VALLOC::insert_free(block_ctrl *block) {
    m_header.m_imultiset.insert(m_header.m_imultiset.begin(), *block);
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::erase_free(block_ctrl *block) {
    m_header.m_imultiset.erase(free_tree::s_iterator_to(*block));
}

// Puts `new_block` in the place of `old_block` in the tree. The hooks must not overlap.
//
// Every allocation that splits a block comes here, and the library's function tests each link for null several times. A
// hook is three links: parent, left, right; the tree's head is the same with the root, the first and the last node. A
// link is a distance, or 1 for none. The colour is in bit 1 of the parent's, where no sum of distances reaches.
NYX_VALLOC_TEMPLATE
void NYX_VALLOC::replace_free(block_ctrl *old_block, block_ctrl *new_block) {
    struct LINKS {
        difference_type parent, left, right;
    };
    constexpr difference_type null = 1;
    constexpr difference_type colour = 2;
    static_assert(sizeof(LINKS) == sizeof(tree_hook) && sizeof(LINKS) == sizeof(free_tree));
    const auto target = [](difference_type &link) {
        return reinterpret_cast<LINKS *>(reinterpret_cast<char *>(&link) + (link & ~colour));
    };
    LINKS *const from = static_cast<LINKS *>(user_of(old_block));
    LINKS *const to = static_cast<LINKS *>(user_of(new_block));
    LINKS *const head = reinterpret_cast<LINKS *>(&m_header.m_imultiset);
    LINKS *const parent = target(from->parent);
    const difference_type moved = bytes(to) - bytes(from);
    if (parent == head)
        head->parent += moved;
    else
        (target(parent->left) == from ? parent->left : parent->right) += moved;
    if (target(head->left) == from)
        head->left += moved;
    if (target(head->right) == from)
        head->right += moved;
    if (from->left != null)
        target(from->left)->parent += moved;
    if (from->right != null)
        target(from->right)->parent += moved;
    to->parent = from->parent - moved;
    to->left = from->left == null ? null : from->left - moved;
    to->right = from->right == null ? null : from->right - moved;
}

// Puts `block`, which takes over the node at `old_position` with a smaller size, where it belongs. The two may be one
// block; their control bytes don't overlap otherwise.
NYX_VALLOC_TEMPLATE
void NYX_VALLOC::settle_shrunk(tree_iterator old_position, block_ctrl *block) {
    free_tree &tree = m_header.m_imultiset;
    if (old_position == tree.begin() || !(*block < *std::prev(old_position))) {
        if (&*old_position != block)
            replace_free(&*old_position, block);
        return;
    }
    // A search from the old position would start between larger blocks on either side and end where this one does.
    tree.erase(old_position);
    tree.insert(*block);
}

// Moves the node of a block that has grown, if its size overtook the successor's.
NYX_VALLOC_TEMPLATE
void NYX_VALLOC::settle_grown(block_ctrl *block) {
    free_tree &tree = m_header.m_imultiset;
    const tree_iterator position = free_tree::s_iterator_to(*block);
    const tree_iterator successor = std::next(position);
    if (successor == tree.end() || !(*successor < *block))
        return;
    tree.erase(position);
    insert_free(block);
}

// Cuts an allocated block down to `units`; what is behind becomes an allocated block of its own, for the caller to
// free.
NYX_VALLOC_TEMPLATE
auto NYX_VALLOC::cut(block_ctrl *block, size_type units) -> block_ctrl * {
    NYX_CHECK_MSG(block->m_size >= units + BlockCtrlUnits, "block is too small");
    block_ctrl *const second = block_at(block, units);
    second->m_size = block->m_size - units;
    second->m_allocated = 1;
    second->m_prev_allocated = 1;
    block->m_size = units;
    return second;
}

// ---- Allocation

NYX_VALLOC_TEMPLATE
void *NYX_VALLOC::allocate(size_type nbytes) {
    size_type received = 0;
    return allocate_new(nbytes, nbytes, received);
}

// The blocks for `preferred` bytes, or the largest one if it holds `limit` bytes.
NYX_VALLOC_TEMPLATE
void *NYX_VALLOC::allocate_new(size_type limit, size_type preferred, size_type &received) {
    struct BY_UNITS {
        bool operator()(const block_ctrl &block, size_type units) const { return block.m_size < units; }
        bool operator()(size_type units, const block_ctrl &block) const { return units < block.m_size; }
    };
    free_tree &tree = m_header.m_imultiset;
    const size_type units = bytes_to_units(preferred);
    const tree_iterator best = tree.lower_bound(units, BY_UNITS());
    if (best != tree.end())
        return take(&*best, units, received);
    if (limit < preferred && !tree.empty()) {
        block_ctrl &largest = *std::prev(tree.end());
        if (largest.m_size >= bytes_to_units(limit))
            return take(&largest, largest.m_size, received);
    }
    received = 0;
    return nullptr;
}

// Commits before it changes anything: when the system refuses, the segment is as it was.
NYX_VALLOC_TEMPLATE
void *NYX_VALLOC::take(block_ctrl *block, size_type nunits, size_type &received) {
    const size_type upper_nunits = block->m_size;
    if (upper_nunits >= nunits + BlockCtrlUnits) {
        block_ctrl *const rem_block = block_at(block, nunits);
        commit_span(bytes(rem_block) + BlockCtrlBytes);
        SANITIZER::unpoison(rem_block, BlockCtrlBytes);
        const tree_iterator position = free_tree::s_iterator_to(*block);
        block->m_size = nunits;
        rem_block->m_size = upper_nunits - nunits;
        NYX_CHECK(rem_block->m_size >= BlockCtrlUnits);
        mark_free(rem_block);
        settle_shrunk(position, rem_block);
    } else if (upper_nunits >= nunits) {
        commit_through(next_block(block));
        erase_free(block);
    } else {
        NYX_FATAL("m_size < nunits < upper_nunits");
    }
    m_header.m_allocated += block->m_size * Alignment;
    received = usable_bytes(block);
    mark_allocated(block);
    void *const user = user_of(block);
    SANITIZER::unpoison(user, received);
    std::memset(user, 0, sizeof(tree_hook));
    next_block(block)->m_prev_size = 0;
    return user;
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::deallocate(void *ptr) {
    if (ptr == nullptr)
        return;
    check_pointer(ptr);
    block_ctrl *const block = block_of(ptr);
    NYX_CHECK_AS(block->m_allocated, "priv_is_allocated_block(block)", "Block is not allocated");
    const size_type block_bytes = block->m_size * Alignment;
    give_back(block);
    if constexpr (SANITIZER::s_enabled)
        SANITIZER::poison(bytes(block) + BlockCtrlBytes, block_bytes - BlockCtrlBytes);
}

// Frees an allocated block, which merges with its free neighbours.
NYX_VALLOC_TEMPLATE
void NYX_VALLOC::give_back(block_ctrl *block) {
    block_ctrl *block_to_insert = block;
    NYX_CHECK(block_to_insert->m_size >= BlockCtrlUnits); // and merging only adds to it
    const size_type block_old_size = block->m_size * Alignment;
    NYX_CHECK(m_header.m_allocated >= block_old_size);
    m_header.m_allocated -= block_old_size;

    // Cleared although the block may vanish in its neighbour: a second deallocation is to be noticed.
    set_bits(block, AllocatedBit, 0);
    block_ctrl *const next = next_block(block);
    const bool merge_prev = !block->m_prev_allocated;
    const bool merge_next = !next->m_allocated;
    if (merge_prev) {
        block_to_insert = prev_block(block);
        NYX_CHECK_AS(block_to_insert->m_prev_allocated, "ptr->m_prev_allocated", "prev is allocated");
        block_to_insert->m_size += block->m_size;
        SANITIZER::poison(user_of(block), sizeof(tree_hook));
    }
    if (merge_next) {
        block_to_insert->m_size += next->m_size;
        if (merge_prev)
            erase_free(next);
        else
            replace_free(next, block);
        SANITIZER::poison(user_of(next), sizeof(tree_hook));
    }
    mark_free(block_to_insert);
    if (merge_prev || merge_next)
        settle_grown(block_to_insert);
    else
        insert_free(block_to_insert);
}

NYX_VALLOC_TEMPLATE
void *NYX_VALLOC::allocate_aligned(size_type nbytes, size_type alignment) {
    NYX_CHECK_MSG((alignment & (alignment - size_type(1u))) == 0, "Alignment check failed");
    if (alignment <= Alignment)
        return allocate(nbytes);
    if (nbytes > m_header.m_size) // nor does the sum below wrap then
        return nullptr;
    // The user area's last word is the next block's, which the plain request below need not count.
    const size_type n = nbytes >= 9 ? nbytes - 8 : nbytes;
    const size_type target = std::max((n + Alignment - 1) / Alignment + 2, BlockCtrlUnits);
    void *const user = allocate(std::max(alignment + n, BlockCtrlBytes) + 64);
    if (user == nullptr)
        return nullptr;
    block_ctrl *const first = block_of(user);
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(user);
    if ((address & (alignment - 1)) == 0) {
        if (first->m_size >= target + BlockCtrlUnits)
            deallocate(user_of(cut(first, target)));
        return user;
    }
    // Far enough behind the user pointer that what is in front is a block of its own.
    const std::uintptr_t pos = (address + alignment + BlockCtrlBytes - 1) & ~std::uintptr_t(alignment - 1);
    NYX_CHECK_AS(first->m_size >= 2 * BlockCtrlUnits, "first->m_size >= 2*MinBlockUnits", "block is too small");
    NYX_CHECK(pos - address < usable_bytes(first));
    block_ctrl *const second = cut(first, units_between(first, block_of(reinterpret_cast<void *>(pos))));
    if (second->m_size >= target + BlockCtrlUnits) {
        block_ctrl *const third = cut(second, target);
        NYX_CHECK_AS(third->m_size >= BlockCtrlUnits, "third->m_size >= MinBlockUnits", "block is too small");
        deallocate(user_of(third));
    }
    deallocate(user);
    return user_of(second);
}

NYX_VALLOC_TEMPLATE
auto NYX_VALLOC::size(const void *ptr) const -> size_type {
    return usable_bytes(block_of(ptr));
}

// ---- Commands

NYX_VALLOC_TEMPLATE
void *NYX_VALLOC::raw_allocation_command(bi::allocation_type command, size_type limit_size,
                                         size_type &prefer_in_recvd_out_size, void *&reuse_ptr,
                                         size_type sizeof_object) {
    const size_type max_count = sizeof_object == 0 ? 0 : m_header.m_size / sizeof_object;
    void *result = nullptr;
    if (limit_size <= max_count && sizeof_object != 0) {
        // No block holds as much as the segment, so what is preferred beyond that is as good as that.
        size_type size = std::min(prefer_in_recvd_out_size, max_count) * sizeof_object;
        result = allocate_command(command, limit_size * sizeof_object, size, reuse_ptr, sizeof_object);
        prefer_in_recvd_out_size = size / sizeof_object;
    } else {
        reuse_ptr = nullptr;
    }
    if (result == nullptr && !(command & bi::nothrow_allocation))
        throw bi::bad_alloc();
    return result;
}

NYX_VALLOC_TEMPLATE
void *NYX_VALLOC::allocate_command(bi::allocation_type command, size_type limit, size_type &prefer_in_recvd_out,
                                   void *&reuse_ptr, size_type backwards_multiple) {
    const size_type preferred = prefer_in_recvd_out;
    if (command & bi::shrink_in_place)
        return reuse_ptr != nullptr && shrink(reuse_ptr, limit, preferred, prefer_in_recvd_out) ? reuse_ptr : nullptr;
    if (limit > preferred) {
        reuse_ptr = nullptr;
        return nullptr;
    }
    const bool may_expand = reuse_ptr != nullptr && (command & (bi::expand_fwd | bi::expand_bwd)) != 0;
    if (may_expand) {
        void *const result =
            expand(command, limit, preferred, prefer_in_recvd_out, reuse_ptr, true, backwards_multiple);
        if (result != nullptr)
            return result;
    }
    if (command & bi::allocate_new) {
        void *const result = allocate_new(limit, preferred, prefer_in_recvd_out);
        if (result != nullptr) {
            reuse_ptr = nullptr;
            return result;
        }
    }
    if (may_expand)
        return expand(command, limit, preferred, prefer_in_recvd_out, reuse_ptr, false, backwards_multiple);
    reuse_ptr = nullptr;
    return nullptr;
}

// Tries forwards, then backwards. Backwards it aims at the preferred size, or only at the least one.
NYX_VALLOC_TEMPLATE
void *NYX_VALLOC::expand(bi::allocation_type command, size_type min_size, size_type preferred, size_type &received,
                         void *reuse_ptr, bool only_preferred_backwards, size_type backwards_multiple) {
    check_pointer(reuse_ptr);
    NYX_CHECK_AS(block_of(reuse_ptr)->m_allocated, "priv_is_allocated_block(block)", "Block is not allocated");
    const bool forward = (command & bi::expand_fwd) != 0;
    if (forward) {
        if (expand_forward(reuse_ptr, min_size, preferred, received))
            return reuse_ptr;
    } else {
        received = size(reuse_ptr);
        if (received >= preferred)
            return reuse_ptr;
    }
    if (command & bi::expand_bwd) {
        NYX_CHECK_AS(0 == (min_size % backwards_multiple), "0 == (min_size % backwards_multiple)",
                     "%llu bytes are no whole number of elements", min_size);
        NYX_CHECK_AS(0 == (preferred % backwards_multiple), "0 == (preferred_size % backwards_multiple)",
                     "%llu bytes are no whole number of elements", preferred);
        const size_type needed = only_preferred_backwards ? preferred : min_size;
        if (void *const result = expand_backward(reuse_ptr, needed, received, received, backwards_multiple, forward))
            return result;
    }
    return received >= min_size ? reuse_ptr : nullptr;
}

// Takes the free block behind. `received` is what the block holds afterwards, whether it grew or not.
NYX_VALLOC_TEMPLATE
bool NYX_VALLOC::expand_forward(void *ptr, size_type min_size, size_type preferred, size_type &received) {
    block_ctrl *const block = block_of(ptr);
    received = usable_bytes(block);
    const size_type min_user_units = bytes_to_units(min_size);
    const size_type preferred_user_units = bytes_to_units(preferred);
    NYX_CHECK(min_user_units <= preferred_user_units);
    if (received >= preferred)
        return true;
    block_ctrl *const next = next_block(block);
    if (next->m_allocated)
        return received >= min_size;
    const size_type old_units = block->m_size;
    const size_type merged_units = old_units + next->m_size;
    if (merged_units < min_user_units)
        return false;
    NYX_CHECK_AS(next->m_size == next_block(next)->m_prev_size,
                 "next_block->m_size == priv_next_block(next_block)->m_prev_size", "block is too small");
    if (merged_units >= preferred_user_units + BlockCtrlUnits) {
        block_ctrl *const rem_block = block_at(block, preferred_user_units);
        commit_span(bytes(rem_block) + BlockCtrlBytes);
        SANITIZER::unpoison(rem_block, BlockCtrlBytes);
        // The remainder's hook may overlap the old one, so the old node goes before the new one is written.
        const tree_iterator hint = m_header.m_imultiset.erase(free_tree::s_iterator_to(*next));
        block->m_size = preferred_user_units;
        rem_block->m_size = merged_units - preferred_user_units;
        NYX_CHECK(rem_block->m_size >= BlockCtrlUnits);
        mark_free(rem_block);
        m_header.m_imultiset.insert(hint, *rem_block);
    } else {
        commit_through(block_at(block, merged_units));
        erase_free(next);
        block->m_size = merged_units;
    }
    mark_allocated(block);
    m_header.m_allocated += (block->m_size - old_units) * Alignment;
    received = usable_bytes(block);
    SANITIZER::unpoison(ptr, received);
    return true;
}

// Takes the end of the free block in front, or all of it, so that the block holds `needed` bytes; `held` is what it
// holds now. The start moves down by a multiple of `multiple` bytes, and the caller moves its elements there.
NYX_VALLOC_TEMPLATE
void *NYX_VALLOC::expand_backward(void *ptr, size_type needed, size_type held, size_type &received, size_type multiple,
                                  bool forward_too) {
    block_ctrl *const reuse = block_of(ptr);
    if (reuse->m_prev_allocated)
        return nullptr;
    block_ctrl *const prev = prev_block(reuse);
    NYX_CHECK_AS(prev->m_size == reuse->m_prev_size, "prev_block->m_size == reuse->m_prev_size", "block is too small");
    NYX_CHECK_AS(prev->m_prev_allocated, "ptr->m_prev_allocated", "prev is allocated");
    const block_ctrl *const next = next_block(reuse);
    if (forward_too && !next->m_allocated)
        held += next->m_size * Alignment;
    const size_type step = std::lcm(multiple, Alignment);
    NYX_CHECK(step != 0);
    const size_type distance = needed <= held ? 0 : (needed - held + step - 1) / step * step;
    const size_type prev_bytes = prev->m_size * Alignment;
    const bool split = prev_bytes >= distance + BlockCtrlBytes;
    if (prev_bytes < distance || (!split && prev_bytes % step != 0))
        return nullptr;
    if (forward_too) {
        const bool expanded = expand_forward(ptr, held, held, received);
        NYX_CHECK_MSG(expanded && received == held, "expand failed");
    }
    const size_type moved_units = (split ? distance : prev_bytes) / Alignment;
    block_ctrl *const grown = block_at(prev, prev->m_size - moved_units);
    SANITIZER::unpoison(grown, moved_units * Alignment + AllocatedCtrlBytes);
    const size_type grown_units = reuse->m_size + moved_units;
    if (split && moved_units != 0) {
        const tree_iterator position = free_tree::s_iterator_to(*prev);
        prev->m_size -= moved_units;
        grown->m_size = grown_units;
        mark_free(prev);
        settle_shrunk(position, prev);
    } else if (!split) {
        erase_free(prev);
        grown->m_size = grown_units;
    }
    mark_allocated(grown);
    m_header.m_allocated += moved_units * Alignment;
    received = usable_bytes(grown);
    return user_of(grown);
}

// `preferred` is the size to cut down to. `limit` bounds it from either side, as callers differ in which one they mean;
// the block may stay larger than asked by what rounding and the least block cost.
NYX_VALLOC_TEMPLATE
bool NYX_VALLOC::shrink(void *ptr, size_type limit, size_type preferred, size_type &received) {
    check_pointer(ptr);
    block_ctrl *const block = block_of(ptr);
    NYX_CHECK_AS(block->m_allocated, "priv_is_allocated_block(block)", "Block is not allocated");
    received = usable_bytes(block);
    const size_type units = bytes_to_units(preferred);
    if (units > block->m_size || (limit < preferred && limit > received))
        return false;
    if (units == block->m_size)
        return true;
    if (block->m_size - units < BlockCtrlUnits)
        return false;
    deallocate(user_of(cut(block, units)));
    received = usable_bytes(block);
    return true;
}

// Adds `count` blocks of `bytes_of(i)` bytes to the chain, or none.
NYX_VALLOC_TEMPLATE
template <class BYTES_OF>
void NYX_VALLOC::allocate_each(size_type count, BYTES_OF bytes_of, multiallocation_chain &chain) {
    multiallocation_chain blocks;
    try {
        for (size_type i = 0; i < count; ++i) {
            void *const block = allocate(bytes_of(i));
            if (block == nullptr)
                return deallocate_many(blocks);
            blocks.push_back(block);
        }
    } catch (...) {
        deallocate_many(blocks);
        throw;
    }
    chain.splice_after(chain.last(), blocks);
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::allocate_many(size_type elem_bytes, size_type num_elements, multiallocation_chain &chain) {
    allocate_each(
        num_elements, [elem_bytes](size_type) { return elem_bytes; }, chain);
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::allocate_many(const size_type *elem_sizes, size_type n_elements, size_type sizeof_element,
                               multiallocation_chain &chain) {
    const size_type max_count = sizeof_element == 0 ? 0 : m_header.m_size / sizeof_element;
    const auto bytes_of = [=](size_type i) {
        return elem_sizes[i] <= max_count ? elem_sizes[i] * sizeof_element : std::numeric_limits<size_type>::max();
    };
    allocate_each(n_elements, bytes_of, chain);
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::deallocate_many(multiallocation_chain &chain) {
    while (!chain.empty()) {
        const VoidPointer block = chain.pop_front();
        deallocate(block.get());
    }
}

// ---- The segment as a whole

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::grow(size_type extra_size) {
    NYX_CHECK_MSG(extra_size <= std::numeric_limits<size_type>::max() - m_header.m_size,
                  "A segment of %llu bytes can't grow by %llu bytes", m_header.m_size, extra_size);
    block_ctrl *const old_end_block = end_block();
    m_header.m_size += extra_size;
    // Bytes against a count of units: it decides which sizes the files out there have, and is kept.
    if (m_header.m_size - (offset_of(old_end_block) + EndCtrlBlockBytes) < BlockCtrlUnits)
        return;
    block_ctrl *const new_end_block = block_at(first_block(), end_units_for(m_header.m_size));
    block_ctrl *const new_block = old_end_block;
    const size_type new_units = units_between(new_block, new_end_block);
    NYX_CHECK_AS(new_units >= BlockCtrlUnits, "new_block->m_size >= BlockCtrlUnits",
                 "no block fits in the %llu bytes that a segment is to grow by", extra_size);
    try {
        VIRTUAL_MEMORY::commit(new_end_block, EndCtrlBlockBytes);
        // Where the new block merges with a free one in front, its control bytes are written in passing only.
        if (new_block->m_prev_allocated)
            commit_span(bytes(new_block) + BlockCtrlBytes);
        else
            VIRTUAL_MEMORY::commit(new_block, BlockCtrlBytes);
    } catch (...) {
        m_header.m_size -= extra_size;
        throw;
    }
    SANITIZER::unpoison(new_block, BlockCtrlBytes);
    SANITIZER::unpoison(new_end_block, EndCtrlBlockBytes);
    make_end_block(new_end_block);
    new_block->m_size = new_units;
    NYX_CHECK_AS(next_block(new_block) == new_end_block, "priv_next_block(new_block) == new_end_block",
                 "block is too small");
    mark_allocated(new_block);
    m_header.m_allocated += new_block->m_size * Alignment;
    give_back(new_block);
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::shrink_to_fit() {
    void *unique_buffer = nullptr;
    block_ctrl *const old_end_block = end_block();
    const size_type old_end_block_size = old_end_block->m_size;
    if (next_block(first_block()) == old_end_block) {
        // A segment keeps a block in front of its end.
        unique_buffer = allocate(Alignment);
        if (unique_buffer == nullptr)
            return;
        block_ctrl *const unique_block = block_of(unique_buffer);
        NYX_CHECK_AS(unique_block->m_allocated, "priv_is_allocated_block(unique_block)", "Block is not allocated");
        if (next_block(unique_block) == old_end_block) {
            deallocate(unique_buffer);
            return;
        }
        NYX_CHECK_AS(!next_block(unique_block)->m_allocated, "!priv_is_allocated_block(last_block)",
                     "block is too small");
    }
    block_ctrl *const last_block = last_block_if_free();
    if (last_block == nullptr)
        return;
    const size_type last_block_size = last_block->m_size;
    erase_free(last_block);
    block_ctrl *const new_end_block = last_block;
    make_end_block(new_end_block);
    NYX_CHECK(new_end_block->m_size == (old_end_block_size - last_block_size));
    m_header.m_size = offset_of(new_end_block) + EndCtrlBlockBytes;
    NYX_CHECK_AS(end_block() == new_end_block, "priv_end_block() == new_end_block", "block is too small");
    deallocate(unique_buffer);
}

NYX_VALLOC_TEMPLATE
auto NYX_VALLOC::clone(std::span<char> valloc_buffer) const -> rbtree_best_fit_valloc * {
    NYX_CHECK_MSG(valloc_buffer.size() >= m_header.m_size, "Provided buffer for cloning is too small");
    char *const target = valloc_buffer.data();
    auto *const copy = reinterpret_cast<rbtree_best_fit_valloc *>(target);
    const block_ctrl *const last_block = last_block_if_free();
    const size_type end_offset = offset_of(end_block());
    size_type size_to_copy = m_header.m_size;
    if (last_block == nullptr) {
        // A few bytes behind the end block may have been counted by a growth that committed nothing.
        NYX_CHECK_AS(m_header.m_committed >= end_offset + EndCtrlBlockBytes, "m_header.m_committed >= m_header.m_size");
    } else {
        size_to_copy = offset_of(last_block) + BlockCtrlBytes;
        NYX_CHECK(m_header.m_committed >= size_to_copy);
    }
    VIRTUAL_MEMORY::commit(target, size_to_copy);
    VIRTUAL_MEMORY::commit(target + end_offset, EndCtrlBlockBytes);
    unpoison_free_blocks();
    std::memcpy(target, base(), std::min(size_to_copy, m_header.m_committed));
    std::memcpy(target + end_offset, base() + end_offset, EndCtrlBlockBytes);
    copy->m_header.m_committed = size_to_copy;
    poison_free_blocks();
    copy->poison_free_blocks();
    return copy;
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::post_load() {
    m_header.m_committed = m_header.m_size;
    const size_type size_limit = m_header.m_size;
    NYX_CHECK_MSG(m_header.m_extra_hdr_bytes <= size_limit && size_limit >= get_min_size(m_header.m_extra_hdr_bytes) &&
                      end_units_for(size_limit) == first_block()->m_prev_size,
                  "the end block is not where a segment of %llu bytes has it", size_limit);
    for (block_ctrl *block = first_block(), *end = end_block(); block != end; block = next_block(block)) {
        NYX_CHECK_MSG(block->m_size >= BlockCtrlUnits && block->m_size <= units_between(block, end),
                      "block is too small");
        const bool allocated = block->m_allocated;
        const bool next_block_prev_allocated = next_block(block)->m_prev_allocated;
        NYX_CHECK(allocated == next_block_prev_allocated);
        if (allocated)
            NYX_BAREBONES_NOTIFIER::notify_allocation(user_of(block), usable_bytes(block), usable_bytes(block));
    }
    poison_free_blocks();
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::adopt_image(const NYX_IMAGE_WALK &walk) {
    NYX_CHECK(walk.is_sound());
    std::vector<block_ctrl *> free_blocks;
    for (const size_type offset : walk.free_blocks())
        free_blocks.push_back(reinterpret_cast<block_ctrl *>(base() + offset));
    fill_free_tree(free_blocks);
    m_header.m_committed = m_header.m_size;
    // A size is the distance to the next start, so that no block is read again. Free blocks are no one's.
    auto free_block = walk.free_blocks().begin();
    size_type start = 0;
    const auto notify_up_to = [&](size_type next_start) {
        if (free_block != walk.free_blocks().end() && *free_block + AllocatedCtrlBytes == start)
            ++free_block;
        else if (start != 0)
            NYX_BAREBONES_NOTIFIER::notify_allocation(base() + start, next_start - start - PayloadPerAllocation,
                                                      next_start - start - PayloadPerAllocation);
        start = next_start;
    };
    walk.blocks().for_each(notify_up_to);
    notify_up_to(walk.end() + AllocatedCtrlBytes);
    poison_free_blocks();
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::rebuild_free_tree() {
    std::vector<block_ctrl *> free_blocks;
    for (block_ctrl &block : m_header.m_imultiset)
        free_blocks.push_back(&block);
    fill_free_tree(free_blocks);
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::fill_free_tree(std::vector<block_ctrl *> &free_blocks) {
    std::sort(free_blocks.begin(), free_blocks.end(), [](const block_ctrl *a, const block_ctrl *b) {
        return a->m_size != b->m_size ? a->m_size < b->m_size : a < b;
    });
    // Not cleared: the links of a tree that was read in lead anywhere.
    free_tree &tree = *::new (&m_header.m_imultiset) free_tree();
    for (block_ctrl *const block : free_blocks) {
        ::new (static_cast<tree_hook *>(block)) tree_hook();
        tree.insert(tree.end(), *block);
    }
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::zero_free_memory() {
    for_each_block([this](const BLOCK &block) {
        const size_type begin = block.offset + BlockCtrlBytes;
        const size_type end = std::min(block.offset + block.units * Alignment, m_header.m_committed);
        if (!block.allocated && begin < end) {
            SANITIZER::unpoison(base() + begin, end - begin);
            VIRTUAL_MEMORY::zero(base() + begin, end - begin);
        }
    });
    poison_free_blocks();
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::unpoison_free_blocks() const {
    if constexpr (SANITIZER::s_enabled) {
        const block_ctrl *const tail = last_block_if_free();
        SANITIZER::unpoison(base(), tail != nullptr ? offset_of(tail) + BlockCtrlBytes : m_header.m_size);
    }
}

NYX_VALLOC_TEMPLATE
void NYX_VALLOC::poison_free_blocks() const {
    if constexpr (SANITIZER::s_enabled)
        for_each_block([this](const BLOCK &block) {
            const size_type begin = block.offset + BlockCtrlBytes;
            const size_type end = std::min(block.offset + block.units * Alignment, m_header.m_committed);
            // The tail is left as it is: it may be far larger than what was ever used of it.
            if (!block.allocated && begin < end && block.offset + block.units * Alignment < offset_of(end_block()))
                SANITIZER::poison(base() + begin, end - begin);
        });
}

template class rbtree_best_fit_valloc<boost::interprocess::null_mutex_family, segment_void_pointer, 8>;

} // namespace NYX::MEM_ALGO
