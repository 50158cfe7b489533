#ifndef NYX_SEGMENT_H
#define NYX_SEGMENT_H

/// \file
/// The segment manager, the typed allocator of the containers that live in a segment, and a segment with its address
/// range.

#include "memory/nyx_image_walk.h"
#include "memory/nyx_rbtree_best_fit.h"
#include "memory/nyx_serialization.h"
#include "nyx/nyx_api.h"
#include "nyx_barebones/nyx_barebones_notifier.h"

#include <boost/interprocess/allocators/allocator.hpp>
#include <boost/interprocess/indexes/iset_index.hpp>
#include <boost/interprocess/segment_manager.hpp>

#include <cstddef>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

/// A segment's manager stands at the segment's start: image base, manager and allocator are one address.
using NYX_SEGMENT_MANAGER =
    boost::interprocess::segment_manager<char, NYX::MEM_ALGO::segment_algorithm, boost::interprocess::iset_index>;

static_assert(sizeof(NYX_SEGMENT_MANAGER) == 168, "the first block of every stored segment is at offset 168");

/// The allocator behind a manager, whose own members the manager hides.
inline NYX::MEM_ALGO::segment_algorithm *nyx_get_algorithm(NYX_SEGMENT_MANAGER *manager) {
    return reinterpret_cast<NYX::MEM_ALGO::segment_algorithm *>(manager);
}
inline const NYX::MEM_ALGO::segment_algorithm *nyx_get_algorithm(const NYX_SEGMENT_MANAGER *manager) {
    return reinterpret_cast<const NYX::MEM_ALGO::segment_algorithm *>(manager);
}

/// \name Accounted blocks
/// Every block that containers, pages and strings take goes through these, which tell NYX_BAREBONES_NOTIFIER.
/// \{

/// Tells the notifier of the block of `ptr`, just allocated for `requested` bytes.
inline void nyx_notify_allocated(const NYX_SEGMENT_MANAGER &manager, const void *ptr, std::size_t requested) {
    NYX_BAREBONES_NOTIFIER::notify_allocation(ptr, requested, manager.size(ptr));
}
/// Tells the notifier of the block of `ptr`, about to be given back.
inline void nyx_notify_deallocated(const NYX_SEGMENT_MANAGER &manager, const void *ptr) {
    const std::size_t usable = manager.size(ptr);
    NYX_BAREBONES_NOTIFIER::notify_deallocation(ptr, usable, usable);
}
/// \}

/// Zeroes the four bytes in front of an object that the manager has constructed: they are padding of Boost's header of
/// the object, and would put what happened to lie on the stack into the image. Gives back `object`.
template <class T>
T *nyx_clear_object_padding(T *object) {
    static_assert(sizeof(boost::interprocess::ipcdetail::block_header<std::size_t>) == 16);
    std::memset(reinterpret_cast<char *>(object) - 4, 0, 4);
    return object;
}

/// Allocator of everything in a segment: one offset pointer to the segment manager, boost::interprocess::bad_alloc when
/// the segment is full, and the notices.
template <class T>
class NYX_SEGMENT_ALLOCATOR : public boost::interprocess::allocator<T, NYX_SEGMENT_MANAGER> {
    using BASE = boost::interprocess::allocator<T, NYX_SEGMENT_MANAGER>;

public:
    using typename BASE::multiallocation_chain;
    using typename BASE::pointer;
    using typename BASE::size_type;
    using cvoid_pointer = typename boost::intrusive::pointer_traits<
        typename BASE::void_pointer>::template rebind_pointer<const void>::type;
    using version = boost::interprocess::version_type<NYX_SEGMENT_ALLOCATOR, 2>;

    template <class U>
    struct rebind {
        using other = NYX_SEGMENT_ALLOCATOR<U>;
    };

    NYX_SEGMENT_ALLOCATOR(NYX_SEGMENT_MANAGER *manager) : BASE(manager) {}
    NYX_SEGMENT_ALLOCATOR(const NYX_SEGMENT_ALLOCATOR &) = default;
    template <class U>
    NYX_SEGMENT_ALLOCATOR(const NYX_SEGMENT_ALLOCATOR<U> &other) : BASE(other.get_segment_manager()) {}

    pointer allocate(size_type count, cvoid_pointer = nullptr) {
        const pointer result = BASE::allocate(count);
        nyx_notify_allocated(*this->get_segment_manager(), result.get(), count * sizeof(T));
        return result;
    }
    void deallocate(const pointer &ptr, size_type count) {
        if (ptr == nullptr)
            return;
        nyx_notify_deallocated(*this->get_segment_manager(), ptr.get());
        BASE::deallocate(ptr, count);
    }
    pointer allocation_command(boost::interprocess::allocation_type command, size_type limit_size,
                               size_type &prefer_in_recvd_out_size, pointer &reuse) {
        const T *const old = reuse.get();
        const size_type requested = prefer_in_recvd_out_size * sizeof(T);
        const size_type old_usable = old != nullptr ? this->get_segment_manager()->size(old) : 0;
        const pointer result = BASE::allocation_command(command, limit_size, prefer_in_recvd_out_size, reuse);
        const T *const now = result.get();
        // A block that kept its start was resized and not moved. One that starts elsewhere is new, and the container
        // gives the old one back itself, unless `reuse` says that it is still the old one, expanded backwards.
        if (now == nullptr || now == old)
            return result;
        if (reuse != nullptr)
            NYX_BAREBONES_NOTIFIER::notify_deallocation(old, old_usable, old_usable);
        nyx_notify_allocated(*this->get_segment_manager(), now, requested);
        return result;
    }
    void allocate_many(size_type elem_size, size_type num_elements, multiallocation_chain &chain) {
        multiallocation_chain blocks;
        BASE::allocate_many(elem_size, num_elements, blocks);
        notify_chain(blocks, [elem_size](size_type) { return elem_size * sizeof(T); });
        chain.splice_after(chain.last(), blocks, blocks.before_begin(), blocks.last(), blocks.size());
    }
    void allocate_many(const size_type *elem_sizes, size_type n_elements, multiallocation_chain &chain) {
        multiallocation_chain blocks;
        BASE::allocate_many(elem_sizes, n_elements, blocks);
        notify_chain(blocks, [elem_sizes](size_type i) { return elem_sizes[i] * sizeof(T); });
        chain.splice_after(chain.last(), blocks, blocks.before_begin(), blocks.last(), blocks.size());
    }
    void deallocate_many(multiallocation_chain &chain) {
        for (auto at = chain.begin(); at != chain.end(); ++at)
            nyx_notify_deallocated(*this->get_segment_manager(), &*at);
        BASE::deallocate_many(chain);
    }
    pointer allocate_one() { return allocate(1); }
    void deallocate_one(const pointer &ptr) { deallocate(ptr, 1); }
    void allocate_individual(size_type num_elements, multiallocation_chain &chain) {
        allocate_many(1, num_elements, chain);
    }
    void deallocate_individual(multiallocation_chain &chain) { deallocate_many(chain); }

private:
    template <class REQUESTED>
    void notify_chain(multiallocation_chain &chain, REQUESTED requested) {
        size_type i = 0;
        for (auto at = chain.begin(); at != chain.end(); ++at)
            nyx_notify_allocated(*this->get_segment_manager(), &*at, requested(i++));
    }
};

/// A segment with the address range that it lies in. Owns both: everything in the segment goes with it, without
/// destructors.
class NYX_API NYX_SEGMENT {
public:
    /// Reserves `size` bytes and builds an empty segment in them. Throws NYX_RUNTIME_ERROR, "Failed to create managed
    /// segment", when `size` is below 224; a refused reservation ends the run.
    explicit NYX_SEGMENT(std::size_t size);
    /// The segment of `other` at another address, `extra` bytes larger. 1 to 39 extra bytes hold no block and are left
    /// out.
    NYX_SEGMENT(const NYX_SEGMENT &other, std::size_t extra);
    /// Tag of the constructor below.
    struct FOR_IMAGE {};
    /// Reserves `size` bytes for an image that is yet to be read to data(); the first `image_size` of them can be
    /// written. There is no manager before attach_image().
    NYX_SEGMENT(FOR_IMAGE, std::size_t size, std::size_t image_size);
    NYX_SEGMENT(const NYX_SEGMENT &) = delete;
    NYX_SEGMENT &operator=(const NYX_SEGMENT &) = delete;
    ~NYX_SEGMENT();

    NYX_SEGMENT_MANAGER *get_segment_manager() { return m_manager; }
    const NYX_SEGMENT_MANAGER *get_segment_manager() const { return m_manager; }
    NYX::MEM_ALGO::segment_algorithm &algorithm() { return *nyx_get_algorithm(m_manager); }
    const NYX::MEM_ALGO::segment_algorithm &algorithm() const { return *nyx_get_algorithm(m_manager); }

    /// \name An image that is read
    /// \{

    /// The first `bytes` bytes of the image lie at data() now; more from call to call. False if it can't be a segment;
    /// nothing is followed out of it.
    bool check_image(std::size_t bytes) { return m_walk->advance(bytes); }
    /// Makes the image, which has been checked in full, this object's segment. Its free blocks are put in order anew,
    /// so nothing of the stored tree is used.
    void attach_image();
    /// Hands over where the blocks of the image are that are allocated. Once.
    NYX_BLOCK_MAP take_blocks() {
        NYX_CHECK(m_walk != nullptr);
        return std::exchange(m_walk, nullptr)->take_allocated_blocks();
    }
    /// \}

    /// Lets the segment span the whole reservation, but for a rest that no block fits in.
    void grow_to_reservation();

    /// Bytes of the reservation.
    std::size_t size() const { return m_size; }
    char *data() { return m_data; }
    const char *data() const { return m_data; }

    /// Gives up the range without releasing it; the caller releases it with release_range.
    NYX_SEGMENT_MANAGER *detach();

    /// Releases a range of `size` bytes that a segment lies in.
    static void release_range(NYX_SEGMENT_MANAGER *manager, std::size_t size);

private:
    std::size_t m_size;
    char *m_data;
    NYX_SEGMENT_MANAGER *m_manager;
    std::unique_ptr<NYX_IMAGE_WALK> m_walk; ///< of an image only
};

#endif
