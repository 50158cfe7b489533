#ifndef NYX_RBTREE_BEST_FIT_H
#define NYX_RBTREE_BEST_FIT_H

/// \file
/// The segment's allocator: best fit over blocks whose free ones hang in a red-black tree ordered by size. All of its
/// state lies in the segment in self-relative form, so an image copied byte by byte goes on at another address.
///
/// The image (offsets from the segment's start, 64-bit little-endian words; docs/segment.md has the whole picture):
///
///      0  zero word                       40  m_allocated
///      8  head of the free-block tree     48  m_size
///     32  m_extra_hdr_bytes               56  m_committed
///                                         64  40 reserved bytes, zero
///    104  the segment manager's two indexes, 64 bytes
///    168  first block ... end block
///
/// What a reader can't guess:
///
///  - A block's first word, `m_prev_size`, belongs to the block before it as long as that one is allocated: it is the
///  last
///    word of its user area. Hence a block of n units holds n * 8 - 8 bytes at 16 bytes behind its address.
///  - The end block is a sentinel of two units that is always allocated; its `m_size` is the distance from the first
///  block
///    to it. The first block's `m_prev_size` is the same number and its `m_prev_allocated` is always set, so a step
///    back never leaves the segment.
///  - Below `m_committed` all is committed, and so is the end block on its own page. A free block may reach beyond, its
///  40
///    control bytes may not; everything between is reserved address space that would fault.
///  - Two free blocks never stand side by side.

#include "nyx/nyx_api.h"

#include <boost/container/detail/multiallocation_chain.hpp>
#include <boost/interprocess/containers/allocation_type.hpp>
#include <boost/interprocess/offset_ptr.hpp>
#include <boost/interprocess/sync/mutex_family.hpp>
#include <boost/intrusive/set.hpp>
#include <boost/intrusive/set_hook.hpp>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

class NYX_IMAGE_WALK;

namespace NYX::MEM_ALGO {

/// Memory algorithm for boost::interprocess::segment_manager. Its address is the segment's address. Not thread-safe.
///
/// Failed checks end the run with the text that stands in the code. A block that isn't there is null, and
/// std::bad_alloc comes when the system refuses to commit; the segment is unchanged then.
template <class MutexFamily, class VoidPointer, std::size_t MemAlignment>
class NYX_API rbtree_best_fit_valloc {
    static_assert(MemAlignment == 8, "the block header's bit-fields and the page layout rest on units of 8 bytes");

public:
    using mutex_family = MutexFamily;
    using void_pointer = VoidPointer;
    using multiallocation_chain = boost::container::dtl::basic_multiallocation_chain<VoidPointer>;
    using difference_type = typename boost::intrusive::pointer_traits<VoidPointer>::difference_type;
    using size_type = std::make_unsigned_t<difference_type>;

    static constexpr size_type Alignment = MemAlignment;
    static constexpr size_type AllocatedCtrlBytes = 16;
    static constexpr size_type BlockCtrlBytes = 40;
    static constexpr size_type BlockCtrlUnits = BlockCtrlBytes / Alignment;
    static constexpr size_type EndCtrlBlockBytes = 16;
    static constexpr size_type EndCtrlBlockUnits = EndCtrlBlockBytes / Alignment;
    /// Bytes of a block that aren't its user's, once the word that it borrows from the next one is counted.
    static constexpr size_type PayloadPerAllocation = 8;
    /// The smallest segment: control area, one block, end block.
    static constexpr size_type MinSegmentBytes = 224;
    /// What the segment manager keeps behind the allocator.
    static constexpr size_type SegmentManagerBytes = 64;
    static constexpr size_type CommitStep = size_type(1) << 30;

    /// Builds a segment over `size` bytes of address space that start at this object. `extra_hdr_bytes` is what the
    /// segment manager keeps behind the allocator: 64. Commits what it touches.
    rbtree_best_fit_valloc(size_type size, size_type extra_hdr_bytes);
    ~rbtree_best_fit_valloc() = default;
    rbtree_best_fit_valloc(const rbtree_best_fit_valloc &) = delete;
    rbtree_best_fit_valloc &operator=(const rbtree_best_fit_valloc &) = delete;

    /// \name Allocation
    /// \{

    /// A block for `nbytes` bytes, 8-aligned; null when no free block is large enough. O(log free blocks).
    void *allocate(size_type nbytes);

    /// As allocate, at a multiple of `alignment`, which must be a power of two.
    void *allocate_aligned(size_type nbytes, size_type alignment);

    /// Gives a block back, which merges with free neighbours; null is ignored. Memory stays committed.
    void deallocate(void *ptr);

    /// Boost's command interface: allocates, expands in place or shrinks in place, sizes counted in objects of T.
    /// `prefer_in_recvd_out_size` comes back as what the block holds. `reuse` comes back null if the result is a new
    /// block.
    template <class T>
    T *allocation_command(boost::interprocess::allocation_type command, size_type limit_size,
                          size_type &prefer_in_recvd_out_size, T *&reuse) {
        void *raw = const_cast<std::remove_cv_t<T> *>(reuse);
        void *const result = raw_allocation_command(command, limit_size, prefer_in_recvd_out_size, raw, sizeof(T));
        reuse = static_cast<T *>(raw);
        return static_cast<T *>(result);
    }

    /// The same for objects of `sizeof_object` bytes.
    void *raw_allocation_command(boost::interprocess::allocation_type command, size_type limit_size,
                                 size_type &prefer_in_recvd_out_size, void *&reuse_ptr, size_type sizeof_object = 1);

    /// Adds `num_elements` blocks of `elem_bytes` bytes to the chain, or none when they don't fit.
    void allocate_many(size_type elem_bytes, size_type num_elements, multiallocation_chain &chain);

    /// Adds blocks of `elem_sizes[i] * sizeof_element` bytes to the chain, or none when they don't fit.
    void allocate_many(const size_type *elem_sizes, size_type n_elements, size_type sizeof_element,
                       multiallocation_chain &chain);

    /// Gives back all blocks of the chain and empties it.
    void deallocate_many(multiallocation_chain &chain);

    /// Bytes that the block of `ptr` can hold.
    size_type size(const void *ptr) const;

    /// \}
    /// \name The segment as a whole
    /// \{

    /// Bytes under management.
    size_type get_size() const { return m_header.m_size; }
    /// Bytes in allocated blocks, their headers included.
    size_type get_allocated() const { return m_header.m_allocated; }
    /// Length of the committed span that starts at offset 0. It may exceed get_size().
    size_type get_committed() const { return m_header.m_committed; }
    /// Bytes outside the control area and the allocated blocks.
    size_type get_free_memory() const;
    /// Offset of the first block: the length of the control area.
    size_type get_first_block_offset() const;
    /// The smallest size that the constructor takes.
    static size_type get_min_size(size_type extra_hdr_bytes);

    /// Adds `extra_size` bytes of the reservation to the segment. Fewer than 5 bytes beyond the end block only count;
    /// 5 to 39 are a failed check, since no block fits in them: a caller rounds.
    void grow(size_type extra_size);

    /// Cuts a free last block off the segment. It may be given back with grow.
    void shrink_to_fit();

    /// Copies the image to the start of a reserved, uncommitted range, leaving out a free last block's content. Returns
    /// the copy, which can be used at once.
    rbtree_best_fit_valloc *clone(std::span<char> valloc_buffer) const;

    /// Takes over an image that has been read into a range which is committed up to get_size(): tells the allocation
    /// notifier of every allocated block. Ends the run on an image whose blocks contradict each other.
    void post_load();

    /// The same for an image that has been walked and is sound, without reading its blocks again. The free ones are put
    /// in a new tree. O(blocks + free blocks * log free blocks).
    void adopt_image(const NYX_IMAGE_WALK &walk);

    /// Puts the free blocks in a tree whose shape depends on nothing but where they lie and how large they are.
    /// O(free blocks * log free blocks).
    void rebuild_free_tree();

    bool all_memory_deallocated() const { return m_header.m_allocated == 0; }

    /// Overwrites the free memory that has been committed with zeros.
    void zero_free_memory();

    /// Walks all blocks and the tree. O(blocks).
    bool check_sanity() const { return find_fault().empty(); }

    /// The first broken invariant in words, with the offset of the block; empty when there is none. Follows only links
    /// that it has found to stay inside the segment.
    std::string find_fault() const;

    /// \}
    /// \name Blocks in address order
    /// \{

    struct BLOCK {
        size_type offset; ///< of the block from the segment's start; the user area is 16 bytes further
        size_type units;  ///< size in units of 8 bytes
        bool allocated;
    };

    /// Calls `visit(BLOCK)` for each block, the end block left out.
    template <class VISIT>
    void for_each_block(VISIT &&visit) const {
        for (const block_ctrl *block = first_block(), *end = end_block(); block != end; block = next_block(block))
            visit(BLOCK{offset_of(block), block->m_size, block->m_allocated != 0});
    }

    /// A sanitizer build poisons free blocks. This lifts it from all but a free last one, for code that copies or
    /// writes the image as a whole, until poison_free_blocks. Nothing in other builds. O(blocks).
    void unpoison_free_blocks() const;
    void poison_free_blocks() const;

    /// \}

private:
    // The colour of a node stands in bit 1 of its parent link, which 8-alignment leaves free.
    using tree_hook = boost::intrusive::set_base_hook<boost::intrusive::void_pointer<VoidPointer>,
                                                      boost::intrusive::optimize_size<true>,
                                                      boost::intrusive::link_mode<boost::intrusive::normal_link>>;

    struct size_holder {
        size_type m_prev_size;
        size_type m_size : sizeof(size_type) * 8 - 2;
        size_type m_prev_allocated : 1;
        size_type m_allocated : 1;
    };

    // Of the second word.
    static constexpr size_type PrevAllocatedBit = size_type(1) << 62;
    static constexpr size_type AllocatedBit = size_type(1) << 63;

    // Embedded in the segment: the layout is the file's. In an allocated block the hook's 24 bytes are the user's.
    struct block_ctrl : size_holder, tree_hook {
        friend bool operator<(const block_ctrl &a, const block_ctrl &b) { return a.m_size < b.m_size; }
    };

    // Without a counted size, which would stand before the head: the word at offset 0 stays zero.
    using free_tree =
        boost::intrusive::multiset<block_ctrl, boost::intrusive::base_hook<tree_hook>,
                                   boost::intrusive::constant_time_size<false>, boost::intrusive::size_type<size_type>>;
    using tree_iterator = typename free_tree::iterator;

    struct header {
        header(void *self, size_type size, size_type extra_hdr_bytes);

        size_type m_zero;
        free_tree m_imultiset;
        size_type m_extra_hdr_bytes;
        size_type m_allocated;
        size_type m_size;
        size_type m_committed;
        unsigned char m_reserved[40];
    };

    static_assert(sizeof(size_holder) == AllocatedCtrlBytes && sizeof(block_ctrl) == BlockCtrlBytes);
    static_assert(sizeof(free_tree) == 24 && sizeof(header) == 104);

    // Reaches the checks that no public member can trip.
    friend struct rbtree_best_fit_guards;

    static size_type bytes_to_units(size_type nbytes);
    static size_type usable_bytes(const block_ctrl *block) { return block->m_size * Alignment - 8; }
    static void check_pointer(const void *ptr);

    char *base() { return reinterpret_cast<char *>(this); }
    const char *base() const { return reinterpret_cast<const char *>(this); }
    size_type offset_of(const void *ptr) const { return static_cast<const char *>(ptr) - base(); }

    static char *bytes(void *ptr) { return static_cast<char *>(ptr); }
    static block_ctrl *block_of(void *user) { return reinterpret_cast<block_ctrl *>(bytes(user) - AllocatedCtrlBytes); }
    static const block_ctrl *block_of(const void *user) {
        return reinterpret_cast<const block_ctrl *>(static_cast<const char *>(user) - AllocatedCtrlBytes);
    }
    static void *user_of(block_ctrl *block) { return bytes(block) + AllocatedCtrlBytes; }
    static block_ctrl *block_at(block_ctrl *block, size_type units) {
        return reinterpret_cast<block_ctrl *>(bytes(block) + units * Alignment);
    }
    static const block_ctrl *block_at(const block_ctrl *block, size_type units) {
        return reinterpret_cast<const block_ctrl *>(reinterpret_cast<const char *>(block) + units * Alignment);
    }
    static size_type units_between(const block_ctrl *from, const block_ctrl *to) {
        return (reinterpret_cast<const char *>(to) - reinterpret_cast<const char *>(from)) / Alignment;
    }
    static block_ctrl *next_block(block_ctrl *block) { return block_at(block, block->m_size); }
    static const block_ctrl *next_block(const block_ctrl *block) { return block_at(block, block->m_size); }
    static block_ctrl *prev_block(block_ctrl *block);

    block_ctrl *first_block() { return reinterpret_cast<block_ctrl *>(base() + get_first_block_offset()); }
    const block_ctrl *first_block() const {
        return reinterpret_cast<const block_ctrl *>(base() + get_first_block_offset());
    }
    block_ctrl *end_block() { return block_at(first_block(), first_block()->m_prev_size); }
    const block_ctrl *end_block() const { return block_at(first_block(), first_block()->m_prev_size); }
    block_ctrl *last_block_if_free();
    const block_ctrl *last_block_if_free() const;
    size_type end_units_for(size_type size) const;
    void make_end_block(block_ctrl *end);

    void commit_span(const void *ptr);
    void commit_through(const block_ctrl *block_end);
    static void set_bits(block_ctrl *block, size_type mask, size_type bits);
    static void mark_allocated(block_ctrl *block);
    static void mark_free(block_ctrl *block);
    void insert_free(block_ctrl *block);
    void erase_free(block_ctrl *block);
    void replace_free(block_ctrl *old_block, block_ctrl *new_block);
    void settle_shrunk(tree_iterator old_position, block_ctrl *block);
    void settle_grown(block_ctrl *block);

    void give_back(block_ctrl *block);
    void fill_free_tree(std::vector<block_ctrl *> &free_blocks);
    template <class BYTES_OF>
    void allocate_each(size_type count, BYTES_OF bytes_of, multiallocation_chain &chain);
    void *allocate_command(boost::interprocess::allocation_type command, size_type limit,
                           size_type &prefer_in_recvd_out, void *&reuse_ptr, size_type backwards_multiple);
    void *allocate_new(size_type limit, size_type preferred, size_type &received);
    void *take(block_ctrl *block, size_type nunits, size_type &received);
    void *expand(boost::interprocess::allocation_type command, size_type min_size, size_type preferred,
                 size_type &received, void *reuse_ptr, bool only_preferred_backwards, size_type backwards_multiple);
    bool expand_forward(void *ptr, size_type min_size, size_type preferred, size_type &received);
    void *expand_backward(void *ptr, size_type needed, size_type held, size_type &received, size_type multiple,
                          bool forward_too);
    bool shrink(void *ptr, size_type limit, size_type preferred, size_type &received);
    block_ctrl *cut(block_ctrl *block, size_type units);

    header m_header;
};

using segment_void_pointer = boost::interprocess::offset_ptr<void, long long, unsigned long long, 0>;

/// The one instantiation: every segment is used by one thread at a time, hence the null mutex.
using segment_algorithm = rbtree_best_fit_valloc<boost::interprocess::null_mutex_family, segment_void_pointer, 8>;

extern template class NYX_API rbtree_best_fit_valloc<boost::interprocess::null_mutex_family, segment_void_pointer, 8>;

} // namespace NYX::MEM_ALGO

#endif
