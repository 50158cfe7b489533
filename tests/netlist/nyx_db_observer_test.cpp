#include "netlist/nyx_db_observer.h"
#include "observer_test_support.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <type_traits>

using namespace observer_test;

namespace {

/// An internal observer that can be told to enter and leave.
template <class T>
struct INTERNAL_RECORDER : RECORDER<T, NYX_DB_OBSERVER<T>> {
    using BASE = RECORDER<T, NYX_DB_OBSERVER<T>>;
    using BASE::BASE, BASE::enter, BASE::leave;
};

template <class T>
void tell_move() {
    nyx_notify<T>(&NYX_OBSERVER<T>::moved, object<T>(1), object<T>(2));
}

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

template <class TYPE>
class DbObserver : public testing::Test {
protected:
    void SetUp() override { disable<typename TYPE::type>(1); }

    LOG log;
};
TYPED_TEST_SUITE(DbObserver, OBJECT_TYPES);

TYPED_TEST(DbObserver, IsAnObserverOfItsTypeThatNobodyElseSwitches) {
    using T = typename TypeParam::type;
    static_assert(std::is_base_of_v<NYX_OBSERVER<T>, NYX_DB_OBSERVER<T>>);
    static_assert(!SWITCHABLE<NYX_DB_OBSERVER<T>> && SWITCHABLE<NYX_OBSERVER<T>>);
    EXPECT_FALSE(NYX_DB_OBSERVER<T>::is_enabled());
}

TYPED_TEST(DbObserver, IsInNeitherListBeforeItEnters) {
    using T = typename TypeParam::type;
    INTERNAL_RECORDER<T> observer(this->log, "internal");
    EXPECT_FALSE(NYX_DB_OBSERVER<T>::is_enabled());
    EXPECT_FALSE(nyx_is_observed<T>());
    NYX_OBSERVER<T>::set_enabled(true);
    tell_move<T>();
    EXPECT_EQ(this->log, LOG{});
}

TYPED_TEST(DbObserver, EntersTheInternalListOnly) {
    using T = typename TypeParam::type;
    INTERNAL_RECORDER<T> observer(this->log, "internal");
    observer.enter();
    EXPECT_TRUE(NYX_DB_OBSERVER<T>::is_enabled());
    EXPECT_TRUE(listed<T>().empty());
    NYX_OBSERVER<T>::set_enabled(true);
    EXPECT_EQ(this->log, LOG{}) << "a change of enabling is the business of the public list";
}

TYPED_TEST(DbObserver, HearsWhilePublicObserversAreDisabled) {
    using T = typename TypeParam::type;
    RECORDER<T> visible(this->log, "public", 1);
    INTERNAL_RECORDER<T> observer(this->log, "internal");
    observer.enter();
    tell_move<T>();
    EXPECT_EQ(this->log, (LOG{"internal moved 1 to 2"}));
}

TYPED_TEST(DbObserver, HearsBeforeEveryPublicObserver) {
    using T = typename TypeParam::type;
    RECORDER<T> low(this->log, "low", 0), high(this->log, "high", 0xfffffffe);
    INTERNAL_RECORDER<T> observer(this->log, "internal");
    observer.enter();
    NYX_OBSERVER<T>::set_enabled(true);
    this->log.clear();
    tell_move<T>();
    EXPECT_EQ(this->log, (LOG{"internal moved 1 to 2", "high moved 1 to 2", "low moved 1 to 2"}));
}

TYPED_TEST(DbObserver, HearsInTheOrderOfEntering) {
    using T = typename TypeParam::type;
    INTERNAL_RECORDER<T> a(this->log, "a"), b(this->log, "b"), c(this->log, "c");
    c.enter();
    a.enter();
    b.enter();
    tell_move<T>();
    EXPECT_EQ(this->log, (LOG{"c moved 1 to 2", "a moved 1 to 2", "b moved 1 to 2"}));
}

TYPED_TEST(DbObserver, HearsNothingAfterItHasLeft) {
    using T = typename TypeParam::type;
    INTERNAL_RECORDER<T> a(this->log, "a"), b(this->log, "b"), c(this->log, "c");
    a.enter();
    b.enter();
    c.enter();
    b.leave();
    tell_move<T>();
    EXPECT_EQ(this->log, (LOG{"a moved 1 to 2", "c moved 1 to 2"}));
    a.leave();
    c.leave();
    EXPECT_FALSE(NYX_DB_OBSERVER<T>::is_enabled());
}

TYPED_TEST(DbObserver, CanEnterAgainAfterItHasLeft) {
    using T = typename TypeParam::type;
    INTERNAL_RECORDER<T> a(this->log, "a"), b(this->log, "b");
    a.enter();
    b.enter();
    a.leave();
    a.leave();
    a.enter();
    tell_move<T>();
    EXPECT_EQ(this->log, (LOG{"b moved 1 to 2", "a moved 1 to 2"}));
}

TYPED_TEST(DbObserver, LeavesWhenItIsDestroyed) {
    using T = typename TypeParam::type;
    INTERNAL_RECORDER<T> a(this->log, "a");
    a.enter();
    {
        INTERNAL_RECORDER<T> b(this->log, "b");
        b.enter();
    }
    tell_move<T>();
    EXPECT_EQ(this->log, (LOG{"a moved 1 to 2"}));
}

TYPED_TEST(DbObserver, LeavesThePublicListAloneWhenItIsDestroyed) {
    using T = typename TypeParam::type;
    RECORDER<T> visible(this->log, "public", 1);
    { INTERNAL_RECORDER<T>(this->log, "internal").enter(); }
    EXPECT_EQ(listed<T>(), (std::vector<NYX_OBSERVER<T> *>{&visible}));
    EXPECT_FALSE(NYX_DB_OBSERVER<T>::is_enabled());
}

template <class TYPE>
class Notify : public testing::Test {
protected:
    void SetUp() override { disable<typename TYPE::type>(1); }

    LOG log;
};
TYPED_TEST_SUITE(Notify, OBSERVED_TYPES);

TYPED_TEST(Notify, TellsPublicObserversInOrderWhenTheyAreEnabled) {
    using T = typename TypeParam::type;
    RECORDER<T> one(this->log, "one", 1), two(this->log, "two", 2), too(this->log, "too", 2);
    tell_move<T>();
    EXPECT_EQ(this->log, LOG{});
    NYX_OBSERVER<T>::set_enabled(true);
    this->log.clear();
    tell_move<T>();
    EXPECT_EQ(this->log, (LOG{"two moved 1 to 2", "too moved 1 to 2", "one moved 1 to 2"}));
}

TYPED_TEST(Notify, IsEnabledWithNobodyInTheList) {
    using T = typename TypeParam::type;
    NYX_OBSERVER<T>::set_enabled(true);
    EXPECT_TRUE(nyx_is_observed<T>());
    EXPECT_NO_FATAL_FAILURE(tell_move<T>());
}

TYPED_TEST(Notify, FollowsThePublicFlag) {
    using T = typename TypeParam::type;
    EXPECT_FALSE(nyx_is_observed<T>());
    NYX_OBSERVER<T>::set_enabled(true);
    EXPECT_TRUE(nyx_is_observed<T>());
    NYX_OBSERVER<T>::set_enabled(false);
    EXPECT_FALSE(nyx_is_observed<T>());
}

TYPED_TEST(Notify, PassesOnWhatAnObserverThrows) {
    using T = typename TypeParam::type;
    struct THROWING : NYX_OBSERVER<T> {
        using NYX_OBSERVER<T>::NYX_OBSERVER;
        void moved(T *, T *) override { throw std::runtime_error("no"); }
    } throwing(2);
    RECORDER<T> before(this->log, "before", 3), behind(this->log, "behind", 1);
    NYX_OBSERVER<T>::set_enabled(true);
    this->log.clear();
    EXPECT_THROW(tell_move<T>(), std::runtime_error);
    EXPECT_EQ(this->log, (LOG{"before moved 1 to 2"}));
}

TEST(Notify, HearsOfTypesApart) {
    LOG log;
    struct BOTH : NYX_DB_OBSERVER<NYX_INSTANCE>, NYX_DB_OBSERVER<NYX_MODULE> {
        void allocated(NYX_INSTANCE *, NYX_MODULE *) override { ++instances; }
        void allocated(NYX_MODULE *) override { ++modules; }
        using NYX_DB_OBSERVER<NYX_INSTANCE>::enter;
        int instances = 0, modules = 0;
    } both;
    both.enter();
    disable<NYX_INSTANCE>(1);
    disable<NYX_MODULE>(1);
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
