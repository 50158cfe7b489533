#ifndef NYX_TEST_RECORDING_LISTENER_H
#define NYX_TEST_RECORDING_LISTENER_H

#include "nyx_barebones/nyx_barebones_notifier.h"

#include <cstddef>
#include <vector>

/// Records the allocation notices for its lifetime, and puts the previous listener back. Nest them strictly; for one
/// thread.
class RECORDING_LISTENER final : private NYX_BAREBONES_NOTIFIER::LISTENER {
public:
    struct NOTICE {
        enum KIND { ALLOCATED, DEALLOCATED };

        KIND kind;
        const void *ptr;
        std::size_t requested;
        std::size_t usable;

        bool operator==(const NOTICE &) const = default;
    };

    RECORDING_LISTENER();
    ~RECORDING_LISTENER() override;
    RECORDING_LISTENER(const RECORDING_LISTENER &) = delete;
    RECORDING_LISTENER &operator=(const RECORDING_LISTENER &) = delete;

    /// All notices since the construction or the last clear(), in order.
    const std::vector<NOTICE> &notices() const noexcept { return m_notices; }

    /// Those of one kind.
    std::vector<NOTICE> notices(NOTICE::KIND kind) const;

    void clear() noexcept { m_notices.clear(); }

private:
    void allocated(const void *ptr, std::size_t requested, std::size_t usable) override;
    void deallocated(const void *ptr, std::size_t requested, std::size_t usable) override;

    std::vector<NOTICE> m_notices;
    NYX_BAREBONES_NOTIFIER::LISTENER *m_previous;
};

#endif
