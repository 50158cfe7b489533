#include "database/nyx_db_lock.h"

#include <mutex>

namespace {

// Most holders are done within microseconds, so a waiter tries for about as long before it sleeps.
constexpr int s_spin_count = 4000;

// Initialised before any code runs and never destroyed, so it works in constructors and destructors of static objects.
constinit std::recursive_mutex s_mutex;

} // namespace

NYX_DB_LOCK::NYX_DB_LOCK() {
    for (int i = 0; i < s_spin_count; ++i) {
        if (s_mutex.try_lock())
            return;
    }
    s_mutex.lock();
}

NYX_DB_LOCK::~NYX_DB_LOCK() {
    s_mutex.unlock();
}
