#include "database/nyx_image_reader.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

namespace {

NYX_BLOCK_MAP find_allocated_blocks(const NYX_SEGMENT_MANAGER *manager) {
    using ALGORITHM = NYX::MEM_ALGO::segment_algorithm;
    NYX_BLOCK_MAP blocks;
    nyx_get_algorithm(manager)->for_each_block([&blocks](const ALGORITHM::BLOCK &block) {
        if (block.allocated)
            blocks.add(block.offset + ALGORITHM::AllocatedCtrlBytes);
    });
    return blocks;
}

} // namespace

NYX_IMAGE_READER::NYX_IMAGE_READER(NYX_SEGMENT_MANAGER *manager)
    : NYX_IMAGE_READER(manager, find_allocated_blocks(manager)) {}

NYX_IMAGE_READER::NYX_IMAGE_READER(NYX_SEGMENT_MANAGER *manager, NYX_BLOCK_MAP blocks)
    : m_base(reinterpret_cast<const char *>(manager))
    , m_size(nyx_get_algorithm(manager)->get_size())
    , m_unclaimed(std::move(blocks)) {}

void NYX_IMAGE_READER::fail(const char *format, ...) {
    char text[300];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    throw NYX_IMAGE_FAULT{text};
}

void NYX_IMAGE_TREE::collect(const char *head, std::uint64_t count, std::size_t value_bytes) {
    // A node is its parent's link with the colour in bit 1 (set: black), left, right.
    struct NODE {
        static std::uintptr_t parent(const char *node) {
            // The colour is part of the distance, and null is a distance of 1 with or without it.
            const std::int64_t distance = NYX_IMAGE_READER::word(node) & ~std::int64_t(2);
            return distance == 1 ? 0 : reinterpret_cast<std::uintptr_t>(node) + static_cast<std::uintptr_t>(distance);
        }
        static bool is_black(const char *node) { return (NYX_IMAGE_READER::word(node) & 2) != 0; }
        static std::uintptr_t left(const char *node) { return NYX_IMAGE_READER::target(node + 8); }
        static std::uintptr_t right(const char *node) { return NYX_IMAGE_READER::target(node + 16); }
    };
    struct STEP {
        const char *node;
        unsigned blacks;
    };
    const std::uintptr_t head_address = reinterpret_cast<std::uintptr_t>(head);
    const std::uintptr_t root = NODE::parent(head);
    if (NODE::is_black(head))
        NYX_IMAGE_READER::fail("%s: the head of the tree is no head", m_what);
    if (root == 0 || count == 0) {
        if (root != 0 || count != 0 || NODE::left(head) != head_address || NODE::right(head) != head_address)
            NYX_IMAGE_READER::fail("%s: the tree is neither empty nor full", m_what);
        return;
    }
    std::vector<STEP> path;
    std::uint64_t found = 0;
    unsigned leaf_blacks = 0;
    std::uintptr_t first = 0;
    std::uintptr_t last = 0;
    const auto leaf = [&](unsigned blacks) {
        if (leaf_blacks == 0)
            leaf_blacks = blacks;
        if (blacks != leaf_blacks)
            NYX_IMAGE_READER::fail("%s: the tree is out of balance", m_what);
    };
    std::uintptr_t next = root;
    const char *parent = head;
    unsigned blacks = 1;
    while (next != 0 || !path.empty()) {
        if (next != 0) {
            const char *const node = m_reader.claim(next, 24 + value_bytes, m_what);
            if (++found > count)
                NYX_IMAGE_READER::fail("%s: the tree has more than its %llu nodes", m_what,
                                       static_cast<unsigned long long>(count));
            if (NODE::parent(node) != reinterpret_cast<std::uintptr_t>(parent))
                NYX_IMAGE_READER::fail("%s: a node of the tree has another parent", m_what);
            if (!NODE::is_black(node) && !NODE::is_black(parent))
                NYX_IMAGE_READER::fail("%s: the colours of the tree are wrong", m_what);
            blacks += NODE::is_black(node);
            path.push_back({node, blacks});
            parent = node;
            next = NODE::left(node);
            if (next == 0)
                leaf(blacks);
            continue;
        }
        const STEP step = path.back();
        path.pop_back();
        m_values.push_back(step.node + 24);
        last = reinterpret_cast<std::uintptr_t>(step.node);
        if (first == 0)
            first = last;
        parent = step.node;
        blacks = step.blacks;
        next = NODE::right(step.node);
        if (next == 0)
            leaf(blacks);
    }
    if (found != count || NODE::left(head) != first || NODE::right(head) != last)
        NYX_IMAGE_READER::fail("%s: the tree has %llu nodes of %llu, or its head leads elsewhere", m_what,
                               static_cast<unsigned long long>(found), static_cast<unsigned long long>(count));
}
