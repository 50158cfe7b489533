#include "observer_test_support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

using namespace observer_test;

namespace {

/// Owns an observer until after main has returned, and then says whether it was in its list to the end.
struct LATE {
    ~LATE() {
        if (!observer)
            return;
        const auto count = listed<NYX_ENTITY>().size();
        observer.reset();
        std::fprintf(stderr, "%zu listed, then %zu\n", count, listed<NYX_ENTITY>().size());
    }
    LOG log;
    std::unique_ptr<RECORDER<NYX_ENTITY>> observer;
};
// Constructed before the list is, so destroyed after all that is destroyed.
LATE s_late;

} // namespace

template <class TYPE>
class ObserverDeathTest : public testing::Test {};
TYPED_TEST_SUITE(ObserverDeathTest, OBSERVED_TYPES);

TYPED_TEST(ObserverDeathTest, RefusesThePriorityOfInternalOnes) {
    using T = typename TypeParam::type;
    EXPECT_DEATH(NYX_OBSERVER<T>(0xffffffff),
                 "check failed: priority != INTERNAL: Priority -1 is reserved for internal DB observer \\[");
}

// In a process of its own, where nobody has touched the type yet.
TYPED_TEST(ObserverDeathTest, IsDisabledAtTheStartAndEnabledByOneCall) {
    using T = typename TypeParam::type;
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const bool before = NYX_OBSERVER<T>::is_enabled();
            NYX_OBSERVER<T>::set_enabled(true);
            std::fprintf(stderr, "%d, then %d\n", before, NYX_OBSERVER<T>::is_enabled());
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^0, then 1\n");
}

TEST(LateObserverDeathTest, LeavesItsListAfterEverythingElseIsDestroyed) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            s_late.observer = std::make_unique<RECORDER<NYX_ENTITY>>(s_late.log, "late", 1);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^1 listed, then 0\n");
}
