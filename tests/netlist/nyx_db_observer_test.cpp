#include "netlist/nyx_db_observer.h"
#include "observer_test_support.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <type_traits>

using namespace observer_test;

namespace {

template <class T>
concept INTERNALLY_OBSERVABLE = requires {
    typename NYX_DB_OBSERVER<T>;
};

template <class T>
concept SWITCHABLE = requires {
    T::set_enabled(true);
};

} // namespace

static_assert(INTERNALLY_OBSERVABLE<NYX_NET>);
static_assert(!INTERNALLY_OBSERVABLE<NYX_DB>);

#define NYX_CHECK_DB_OBSERVER(T)                                                                                       \
    static_assert(std::is_base_of_v<NYX_OBSERVER<T>, NYX_DB_OBSERVER<T>>);                                             \
    static_assert(SWITCHABLE<NYX_OBSERVER<T>> && !SWITCHABLE<NYX_DB_OBSERVER<T>>);
NYX_FOR_EACH_OBSERVED_OBJECT_TYPE(NYX_CHECK_DB_OBSERVER)

class DbObserver : public FOR_EACH_TYPE {
protected:
    void SetUp() override { type.disable(1); }
};
INSTANTIATE_TEST_SUITE_P(Of, DbObserver, testing::ValuesIn(object_types()), name_of);

TEST_P(DbObserver, IsInNeitherListBeforeItEnters) {
    const auto observer = make_internal("internal");
    EXPECT_FALSE(type.is_internally_enabled());
    EXPECT_FALSE(type.is_observed());
    type.set_enabled(true);
    type.notify();
    EXPECT_EQ(log, LOG{});
}

TEST_P(DbObserver, EntersTheInternalListOnly) {
    const auto observer = make_internal("internal");
    observer->enter();
    EXPECT_TRUE(type.is_internally_enabled());
    EXPECT_TRUE(type.is_observed());
    EXPECT_EQ(type.listed(), LOG{});
    type.set_enabled(true);
    EXPECT_EQ(log, LOG{}) << "a change of enabling is the business of the public list";
}

TEST_P(DbObserver, HearsWhilePublicObserversAreDisabled) {
    const auto visible = make("public", 1);
    const auto observer = make_internal("internal");
    observer->enter();
    type.notify();
    EXPECT_EQ(log, (LOG{"internal moved 1 to 2"}));
}

TEST_P(DbObserver, HearsBeforeEveryPublicObserver) {
    const auto low = make("low", 0), high = make("high", 0xfffffffe);
    const auto observer = make_internal("internal");
    observer->enter();
    type.set_enabled(true);
    log.clear();
    type.notify();
    EXPECT_EQ(log, (LOG{"internal moved 1 to 2", "high moved 1 to 2", "low moved 1 to 2"}));
}

TEST_P(DbObserver, HearsInTheOrderOfEntering) {
    const auto a = make_internal("a"), b = make_internal("b"), c = make_internal("c");
    c->enter();
    a->enter();
    b->enter();
    type.notify();
    EXPECT_EQ(log, (LOG{"c moved 1 to 2", "a moved 1 to 2", "b moved 1 to 2"}));
}

TEST_P(DbObserver, HearsNothingAfterItHasLeft) {
    const auto a = make_internal("a"), b = make_internal("b"), c = make_internal("c");
    a->enter();
    b->enter();
    c->enter();
    b->leave();
    type.notify();
    EXPECT_EQ(log, (LOG{"a moved 1 to 2", "c moved 1 to 2"}));
    a->leave();
    c->leave();
    EXPECT_FALSE(type.is_internally_enabled());
}

TEST_P(DbObserver, EntersAtTheEndAgainAfterItHasLeft) {
    const auto a = make_internal("a"), b = make_internal("b");
    a->enter();
    b->enter();
    a->leave();
    a->leave();
    a->enter();
    type.notify();
    EXPECT_EQ(log, (LOG{"b moved 1 to 2", "a moved 1 to 2"}));
}

TEST_P(DbObserver, LeavesWhenItIsDestroyed) {
    const auto visible = make("public", 1);
    const auto a = make_internal("a");
    auto b = make_internal("b");
    a->enter();
    b->enter();
    b.reset();
    type.notify();
    EXPECT_EQ(log, (LOG{"a moved 1 to 2"}));
    EXPECT_EQ(type.listed(), (LOG{"public"}));
}

class Notify : public FOR_EACH_TYPE {
protected:
    void SetUp() override { type.disable(1); }
};
INSTANTIATE_TEST_SUITE_P(Of, Notify, testing::ValuesIn(all_types()), name_of);

TEST_P(Notify, TellsPublicObserversInOrderWhenTheyAreEnabled) {
    const auto one = make("one", 1), two = make("two", 2), too = make("too", 2);
    type.notify();
    EXPECT_EQ(log, LOG{});
    type.set_enabled(true);
    log.clear();
    type.notify();
    EXPECT_EQ(log, (LOG{"two moved 1 to 2", "too moved 1 to 2", "one moved 1 to 2"}));
}

TEST_P(Notify, KnowsWhetherAnyoneMayListen) {
    EXPECT_FALSE(type.is_observed());
    type.set_enabled(true);
    EXPECT_TRUE(type.is_observed());
    type.set_enabled(false);
    EXPECT_FALSE(type.is_observed());
}

TEST(NotifyNets, PassesOnWhatAnObserverThrows) {
    struct THROWING : NYX_OBSERVER<NYX_NET> {
        using NYX_OBSERVER::NYX_OBSERVER;
        void moved(NYX_NET *, NYX_NET *) override { throw std::runtime_error("no"); }
    } throwing(2);
    LOG log;
    const RECORDER<NYX_NET> before(log, "before", 3), behind(log, "behind", 1);
    while (!NYX_OBSERVER<NYX_NET>::is_enabled())
        NYX_OBSERVER<NYX_NET>::set_enabled(true);
    log.clear();
    EXPECT_THROW(nyx_notify<NYX_NET>(&NYX_OBSERVER<NYX_NET>::moved, object<NYX_NET>(1), object<NYX_NET>(2)),
                 std::runtime_error);
    EXPECT_EQ(log, (LOG{"before moved 1 to 2"}));
}

TEST(NotifyInstances, ReachesNoObserverOfAnotherType) {
    struct BOTH : NYX_DB_OBSERVER<NYX_INSTANCE>, NYX_DB_OBSERVER<NYX_MODULE> {
        void allocated(NYX_INSTANCE *, NYX_MODULE *) override { ++instances; }
        void allocated(NYX_MODULE *) override { ++modules; }
        using NYX_DB_OBSERVER<NYX_INSTANCE>::enter;
        int instances = 0, modules = 0;
    } both;
    both.enter();
    for (const OBSERVED_TYPE &type : all_types())
        type.disable(1);
    EXPECT_TRUE(nyx_is_observed<NYX_INSTANCE>());
    EXPECT_FALSE(nyx_is_observed<NYX_MODULE>());
    nyx_notify<NYX_INSTANCE>(&NYX_OBSERVER<NYX_INSTANCE>::allocated, object<NYX_INSTANCE>(0), object<NYX_MODULE>(1));
    nyx_notify<NYX_MODULE>(&NYX_OBSERVER<NYX_MODULE>::allocated, object<NYX_MODULE>(1));
    EXPECT_EQ(both.instances, 1);
    EXPECT_EQ(both.modules, 0);
}

TEST(DbObserverDeathTest, EntersOnce) {
    LOG log;
    INTERNAL_RECORDER<NYX_NET> observer(log, "internal");
    observer.enter();
    EXPECT_DEATH(observer.enter(), "check failed: \\*link != this: Internal DB observer has entered already \\[");
}
