// The walk over a segment that says in words what is wrong with it. It is meant for damaged images too, so every link
// is compared with the blocks that the walk has found before it is followed.
#include "memory/nyx_rbtree_best_fit.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace NYX::MEM_ALGO {

namespace {

__attribute__((format(printf, 1, 2))) std::string fault(const char *format, ...) {
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    return text;
}

} // namespace

template <class MutexFamily, class VoidPointer, std::size_t MemAlignment>
std::string rbtree_best_fit_valloc<MutexFamily, VoidPointer, MemAlignment>::find_fault() const {
    using ull = unsigned long long;
    const size_type size = m_header.m_size;
    if (m_header.m_zero != 0)
        return fault("the word at offset 0 is %llu, not 0", m_header.m_zero);
    if (m_header.m_extra_hdr_bytes > size || size < get_min_size(m_header.m_extra_hdr_bytes))
        return fault("a segment of %llu bytes can't hold a control area with %llu extra bytes", size,
                     m_header.m_extra_hdr_bytes);
    for (const unsigned char &byte : m_header.m_reserved)
        if (byte != 0)
            return fault("the reserved byte at offset %llu is not 0", ull(offset_of(&byte)));

    const size_type committed = m_header.m_committed;
    if (get_first_block_offset() + BlockCtrlBytes > committed)
        return fault("the first block at offset %llu is beyond the committed %llu bytes", get_first_block_offset(),
                     committed);
    const block_ctrl *const first = first_block();
    if (first->m_prev_size != end_units_for(size))
        return fault("the end block is %llu units behind the first block in a segment of %llu bytes",
                     first->m_prev_size, size);
    const block_ctrl *const end = end_block();
    if (!end->m_allocated || end->m_size != first->m_prev_size)
        return fault("the end block at offset %llu has size %llu, allocated %u; expected %llu, 1", ull(offset_of(end)),
                     ull(end->m_size), unsigned(end->m_allocated), first->m_prev_size);
    if (!first->m_prev_allocated)
        return fault("the first block at offset %llu takes what is before it for free", ull(offset_of(first)));

    // The blocks, and the free ones among them by address.
    std::vector<const block_ctrl *> free_blocks;
    size_type allocated_bytes = 0;
    for (const block_ctrl *block = first; block != end; block = next_block(block)) {
        const ull offset = offset_of(block);
        if (block->m_size < BlockCtrlUnits || block->m_size > units_between(block, end))
            return fault("the block at offset %llu has %llu units, %llu before the end block", offset,
                         ull(block->m_size), ull(units_between(block, end)));
        // A free last block alone may reach beyond the committed span: nothing of its neighbour lies there.
        const block_ctrl *const next = next_block(block);
        const size_type reached = offset_of(next) + (next != end ? AllocatedCtrlBytes : 0);
        if (reached > committed && (next != end || block->m_allocated))
            return fault("the block at offset %llu reaches beyond the committed %llu bytes", offset, committed);
        if (block->m_allocated != next->m_prev_allocated)
            return fault("the block at offset %llu is %s, but the next one says otherwise", offset,
                         block->m_allocated ? "allocated" : "free");
        if (block->m_allocated) {
            allocated_bytes += block->m_size * Alignment;
            continue;
        }
        if (!block->m_prev_allocated)
            return fault("the free block at offset %llu follows a free block", offset);
        if (next->m_prev_size != block->m_size)
            return fault("the free block at offset %llu has %llu units, but the next one says %llu", offset,
                         ull(block->m_size), next->m_prev_size);
        if (offset + BlockCtrlBytes > committed)
            return fault("the free block at offset %llu has control bytes beyond the committed %llu bytes", offset,
                         committed);
        free_blocks.push_back(block);
    }
    if (allocated_bytes != m_header.m_allocated)
        return fault("%llu bytes are in allocated blocks, but the header says %llu", allocated_bytes,
                     m_header.m_allocated);

    // The tree, in order.
    using node_traits = typename free_tree::node_traits;
    using node_ptr = const typename node_traits::node *;
    using link = typename node_traits::const_node_ptr;
    const auto raw = [](const auto &pointer) -> node_ptr { return boost::movelib::to_raw_pointer(pointer); };
    const auto parent = [raw](node_ptr node) { return raw(node_traits::get_parent(link(node))); };
    const auto left = [raw](node_ptr node) { return raw(node_traits::get_left(link(node))); };
    const auto right = [raw](node_ptr node) { return raw(node_traits::get_right(link(node))); };
    const auto is_red = [](node_ptr node) { return node_traits::get_color(link(node)) == node_traits::red(); };
    const auto block_of_node = [&](node_ptr node) -> const block_ctrl * {
        const auto *const block = static_cast<const block_ctrl *>(reinterpret_cast<const tree_hook *>(node));
        const auto at = std::lower_bound(free_blocks.begin(), free_blocks.end(), block);
        return at != free_blocks.end() && *at == block ? block : nullptr;
    };
    const node_ptr head = raw(m_header.m_imultiset.cend().pointed_node());
    if (!is_red(head))
        return fault("the head of the tree of free blocks has a node's colour");
    struct STEP {
        node_ptr node;
        node_ptr parent;
        size_type black_above;
    };
    std::vector<STEP> path;
    std::vector<const block_ctrl *> in_order;
    size_type black_height = 0;
    STEP step{parent(head), head, 0};
    while (step.node != nullptr || !path.empty()) {
        if (step.node != nullptr) {
            const block_ctrl *const block = block_of_node(step.node);
            if (block == nullptr)
                return fault(
                    "the tree of free blocks leads to offset %lld, where no free block is",
                    (long long)(reinterpret_cast<std::uintptr_t>(step.node) - reinterpret_cast<std::uintptr_t>(this)));
            if (parent(step.node) != step.parent)
                return fault("the free block at offset %llu has another parent in the tree", ull(offset_of(block)));
            if (path.size() + in_order.size() >= free_blocks.size())
                return fault("the tree of free blocks has more nodes than there are free blocks");
            const bool red = is_red(step.node);
            if (red && (step.parent == head || is_red(step.parent)))
                return fault("the free block at offset %llu is red below red", ull(offset_of(block)));
            step.black_above += !red;
            path.push_back(step);
            step = {left(step.node), step.node, step.black_above};
            if (step.node == nullptr) {
                if (black_height == 0)
                    black_height = step.black_above;
                if (step.black_above != black_height)
                    return fault("the tree of free blocks is out of balance at offset %llu", ull(offset_of(block)));
            }
            continue;
        }
        const STEP up = path.back();
        path.pop_back();
        const block_ctrl *const block = block_of_node(up.node);
        if (!in_order.empty() && *block < *in_order.back())
            return fault("the free block at offset %llu is smaller than the one before it in the tree",
                         ull(offset_of(block)));
        in_order.push_back(block);
        step = {right(up.node), up.node, up.black_above};
        if (step.node == nullptr && step.black_above != black_height)
            return fault("the tree of free blocks is out of balance at offset %llu", ull(offset_of(block)));
    }
    if (in_order.size() != free_blocks.size())
        return fault("%zu of %zu free blocks hang in the tree", in_order.size(), free_blocks.size());
    const bool ends_right = in_order.empty() ? left(head) == head && right(head) == head
                                             : block_of_node(left(head)) == in_order.front() &&
                                                   block_of_node(right(head)) == in_order.back();
    if (!ends_right)
        return fault("the head of the tree of free blocks does not point at its smallest and largest block");
    return {};
}

template std::string
rbtree_best_fit_valloc<boost::interprocess::null_mutex_family, segment_void_pointer, 8>::find_fault() const;

} // namespace NYX::MEM_ALGO
