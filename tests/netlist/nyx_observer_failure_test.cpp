#include "observer_test_support.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>

using namespace observer_test;

namespace {

/// Owns an observer until after main has returned, and then says whether it was in its list to the end.
struct LATE {
    ~LATE() {
        if (!observer)
            return;
        const auto before = count();
        observer.reset();
        std::fprintf(stderr, "%td listed, then %td\n", before, count());
    }
    static std::ptrdiff_t count() {
        return std::distance(NYX_OBSERVER<NYX_ENTITY>::begin(), NYX_OBSERVER<NYX_ENTITY>::end());
    }

    LOG log;
    std::unique_ptr<RECORDER<NYX_ENTITY>> observer;
};
// Constructed before the list is, so destroyed after all that is destroyed.
LATE s_late;

} // namespace

class ObserverDeathTest : public FOR_EACH_TYPE {};
INSTANTIATE_TEST_SUITE_P(Of, ObserverDeathTest, testing::ValuesIn(all_types()), name_of);

TEST_P(ObserverDeathTest, RefusesThePriorityOfInternalOnes) {
    EXPECT_DEATH(make("one", 0xffffffff),
                 "check failed: priority != INTERNAL: Priority -1 is reserved for internal DB observer \\[");
}

// In a process of its own, where nobody has touched the type yet.
TEST_P(ObserverDeathTest, IsDisabledAtTheStartAndEnabledByOneCall) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const bool before = type.is_enabled();
            type.set_enabled(true);
            std::fprintf(stderr, "%d, then %d\n", before, type.is_enabled());
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
