#include "nyx_barebones/nyx_barebones_notifier.h"
#include "support/recording_listener.h"

#include <gtest/gtest.h>

using NOTICE = RECORDING_LISTENER::NOTICE;
using NOTICES = std::vector<NOTICE>;

TEST(Notifier, DoesNothingWithoutAListener) {
    NYX_BAREBONES_NOTIFIER::LISTENER *const previous = NYX_BAREBONES_NOTIFIER::set_listener(nullptr);
    EXPECT_EQ(previous, nullptr);
    NYX_BAREBONES_NOTIFIER::notify_allocation(nullptr, 1, 2);
    NYX_BAREBONES_NOTIFIER::notify_deallocation(nullptr, 1, 2);
}

TEST(Notifier, PassesNoticesOnInOrder) {
    RECORDING_LISTENER listener;
    const int a = 0;
    const int b = 0;
    NYX_BAREBONES_NOTIFIER::notify_allocation(&a, 10, 32);
    NYX_BAREBONES_NOTIFIER::notify_deallocation(&a, 32, 32);
    NYX_BAREBONES_NOTIFIER::notify_allocation(&b, 20, 40);
    EXPECT_EQ(
        listener.notices(),
        (NOTICES{{NOTICE::ALLOCATED, &a, 10, 32}, {NOTICE::DEALLOCATED, &a, 32, 32}, {NOTICE::ALLOCATED, &b, 20, 40}}));
    EXPECT_EQ(listener.notices(NOTICE::DEALLOCATED), (NOTICES{{NOTICE::DEALLOCATED, &a, 32, 32}}));
}

TEST(Notifier, HandsBackTheListenerThatItReplaces) {
    NYX_BAREBONES_NOTIFIER::LISTENER first; // takes notices and does nothing
    NYX_BAREBONES_NOTIFIER::LISTENER second;
    ASSERT_EQ(NYX_BAREBONES_NOTIFIER::set_listener(&first), nullptr);
    EXPECT_EQ(NYX_BAREBONES_NOTIFIER::set_listener(&second), &first);
    NYX_BAREBONES_NOTIFIER::notify_allocation(&first, 1, 2);
    EXPECT_EQ(NYX_BAREBONES_NOTIFIER::set_listener(nullptr), &second);
}

TEST(Notifier, TellsTheInnermostRecordingListener) {
    RECORDING_LISTENER outer;
    {
        RECORDING_LISTENER inner;
        NYX_BAREBONES_NOTIFIER::notify_allocation(nullptr, 1, 2);
        EXPECT_EQ(inner.notices().size(), 1U);
    }
    EXPECT_TRUE(outer.notices().empty());
    NYX_BAREBONES_NOTIFIER::notify_allocation(nullptr, 3, 4);
    EXPECT_EQ(outer.notices(), (NOTICES{{NOTICE::ALLOCATED, nullptr, 3, 4}}));
}
