#include "nyx_barebones/nyx_barebones_notifier.h"

#include <utility>

namespace {

NYX_BAREBONES_NOTIFIER::LISTENER *s_listener = nullptr;

} // namespace

NYX_BAREBONES_NOTIFIER::LISTENER::~LISTENER() = default;

void NYX_BAREBONES_NOTIFIER::LISTENER::allocated(const void *, std::size_t, std::size_t) {}

void NYX_BAREBONES_NOTIFIER::LISTENER::deallocated(const void *, std::size_t, std::size_t) {}

void NYX_BAREBONES_NOTIFIER::notify_allocation(const void *ptr, std::size_t requested, std::size_t usable) {
    if (s_listener) {
        s_listener->allocated(ptr, requested, usable);
    }
}

void NYX_BAREBONES_NOTIFIER::notify_deallocation(const void *ptr, std::size_t requested, std::size_t usable) {
    if (s_listener) {
        s_listener->deallocated(ptr, requested, usable);
    }
}

NYX_BAREBONES_NOTIFIER::LISTENER *NYX_BAREBONES_NOTIFIER::set_listener(LISTENER *listener) {
    return std::exchange(s_listener, listener);
}
