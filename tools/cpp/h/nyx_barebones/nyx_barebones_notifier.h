#ifndef NYX_BAREBONES_NOTIFIER_H
#define NYX_BAREBONES_NOTIFIER_H

#include <cstddef>

/// Is told of the blocks that the typed allocators and the pages take from segments and give back, for a program's
/// memory accounting. It stands in a library of its own, libnyx_barebones, that a program may replace by one with the
/// same two symbols. By default both calls do nothing unless a listener is set.
///
/// Nothing is told when a segment is released as a whole, although every block of a loaded segment is reported at load.
class __attribute__((visibility("default"))) NYX_BAREBONES_NOTIFIER {
public:
    /// After every successful allocation: the user pointer, the bytes asked for and the bytes that the block can hold.
    static void notify_allocation(const void *ptr, std::size_t requested, std::size_t usable);

    /// Before every deallocation: the user pointer and, twice, the bytes that the block can hold.
    static void notify_deallocation(const void *ptr, std::size_t requested, std::size_t usable);

    /// Receives the notices.
    class __attribute__((visibility("default"))) LISTENER {
    public:
        virtual ~LISTENER();
        virtual void allocated(const void *ptr, std::size_t requested, std::size_t usable);
        virtual void deallocated(const void *ptr, std::size_t requested, std::size_t usable);
    };

    /// Makes `listener` the receiver and returns the previous one; null for none. Not owned. Process-wide and unlocked:
    /// set it while no other thread uses a database.
    static LISTENER *set_listener(LISTENER *listener);
};

#endif
