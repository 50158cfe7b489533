#include "support/recording_listener.h"

#include <algorithm>
#include <iterator>

RECORDING_LISTENER::RECORDING_LISTENER() : m_previous(NYX_BAREBONES_NOTIFIER::set_listener(this)) {}

RECORDING_LISTENER::~RECORDING_LISTENER() {
    NYX_BAREBONES_NOTIFIER::set_listener(m_previous);
}

std::vector<RECORDING_LISTENER::NOTICE> RECORDING_LISTENER::notices(NOTICE::KIND kind) const {
    std::vector<NOTICE> result;
    std::ranges::copy_if(m_notices, std::back_inserter(result),
                         [=](const NOTICE &notice) { return notice.kind == kind; });
    return result;
}

void RECORDING_LISTENER::allocated(const void *ptr, std::size_t requested, std::size_t usable) {
    m_notices.push_back({NOTICE::ALLOCATED, ptr, requested, usable});
}

void RECORDING_LISTENER::deallocated(const void *ptr, std::size_t requested, std::size_t usable) {
    m_notices.push_back({NOTICE::DEALLOCATED, ptr, requested, usable});
}
