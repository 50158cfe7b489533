#include "observer_test_support.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <type_traits>

using namespace observer_test;

namespace {

/// Overrides everything that a type tells; each signature is checked by its `override`.
template <class T>
struct ALLOCATION : RECORDER<T> {
    using RECORDER<T>::RECORDER;
    void allocated(T *, NYX_MODULE *) override { this->add(" allocated"); }
    void deallocated(T *, NYX_MODULE *) override { this->add(" deallocated"); }
};
template <class T>
struct PARENTLESS_ALLOCATION : RECORDER<T> {
    using RECORDER<T>::RECORDER;
    void allocated(T *) override { this->add(" allocated"); }
    void deallocated(T *) override { this->add(" deallocated"); }
};
template <class T, class BASE>
struct CONNECTION : BASE {
    using BASE::BASE;
    void pre_connect(T *) override { this->add(" pre_connect"); }
    void post_connect(T *) override { this->add(" post_connect"); }
    void pre_disconnect(T *) override { this->add(" pre_disconnect"); }
    void post_disconnect(T *) override { this->add(" post_disconnect"); }
};
struct MODULE_EVENTS : PARENTLESS_ALLOCATION<NYX_MODULE> {
    using PARENTLESS_ALLOCATION::PARENTLESS_ALLOCATION;
    void copied(NYX_MODULE *, const NYX_MODULE *) override { add(" copied"); }
};
struct INSTANCE_EVENTS : ALLOCATION<NYX_INSTANCE> {
    using ALLOCATION::ALLOCATION;
    void module_changed(NYX_INSTANCE *, NYX_MODULE *) override { add(" module_changed"); }
};
struct DB_EVENTS : RECORDER<NYX_DB> {
    using RECORDER::RECORDER;
    void opened(NYX_DB *) override { add(" opened"); }
    void closing(NYX_DB *) override { add(" closing"); }
};

/// Sends every event of a base to an observer of a type.
template <class T>
void tell_allocations(NYX_ALLOCATE_OBSERVER<T> &observer) {
    observer.allocated(object<T>(0), object<NYX_MODULE>(1));
    observer.deallocated(object<T>(0), object<NYX_MODULE>(1));
}
template <class T>
void tell_parentless_allocations(NYX_OBSERVER<T> &observer) {
    observer.allocated(object<T>(0));
    observer.deallocated(object<T>(0));
}
template <class T>
void tell_connections(NYX_CONNECTION_OBSERVER<T> &observer) {
    observer.pre_connect(object<T>(0));
    observer.post_connect(object<T>(0));
    observer.pre_disconnect(object<T>(0));
    observer.post_disconnect(object<T>(0));
}

} // namespace

static_assert(std::is_same_v<decltype(NYX_OBSERVER_BASE<NYX_NET>::INTERNAL), const unsigned int>);
static_assert(NYX_OBSERVER_BASE<NYX_NET>::INTERNAL == 0xffffffff);
static_assert(!std::is_constructible_v<NYX_OBSERVER_BASE<NYX_NET>, unsigned int>);

#define NYX_CHECK_OBSERVER(T)                                                                                          \
    static_assert(std::is_base_of_v<NYX_OBSERVER_BASE<T>, NYX_OBSERVER<T>>);                                           \
    static_assert(std::has_virtual_destructor_v<NYX_OBSERVER<T>>);                                                     \
    static_assert(!std::is_copy_constructible_v<NYX_OBSERVER<T>> && !std::is_copy_assignable_v<NYX_OBSERVER<T>>);
NYX_FOR_EACH_OBSERVED_TYPE(NYX_CHECK_OBSERVER)

class Observer : public FOR_EACH_TYPE {
protected:
    void SetUp() override { type.disable(0); }
};
INSTANTIATE_TEST_SUITE_P(Of, Observer, testing::ValuesIn(all_types()), name_of);

TEST_P(Observer, OfTheHigherPriorityComesFirstWhicheverWasConstructedFirst) {
    const auto one = make("one", 1), three = make("three", 3), two = make("two", 2);
    EXPECT_EQ(type.listed(), (LOG{"three", "two", "one"}));
}

TEST_P(Observer, OfEqualPriorityComesInTheOrderOfConstruction) {
    const auto a = make("a", 7), low = make("low", 6), b = make("b", 7), high = make("high", 8), c = make("c", 7);
    EXPECT_EQ(type.listed(), (LOG{"high", "a", "b", "c", "low"}));
}

TEST_P(Observer, IsOrderedByAnUnsignedPriority) {
    const auto zero = make("zero", 0), middle = make("middle", 0x7fffffff), high = make("high", 0x80000000),
               highest = make("highest", 0xfffffffe);
    EXPECT_EQ(type.listed(), (LOG{"highest", "high", "middle", "zero"}));
}

TEST_P(Observer, LeavesTheListAloneAmongEquals) {
    const auto a = make("a", 4);
    auto b = make("b", 4);
    const auto c = make("c", 4);
    b.reset();
    EXPECT_EQ(type.listed(), (LOG{"a", "c"}));
}

TEST_P(Observer, WithoutAPriorityIsInNoListAndLeavesNone) {
    const auto listed = make("listed", 1);
    auto unlisted = type.make_unlisted(log, "unlisted");
    EXPECT_EQ(type.listed(), (LOG{"listed"}));
    unlisted.reset();
    EXPECT_EQ(type.listed(), (LOG{"listed"}));
}

TEST_P(Observer, IsNeitherToldNorEnabledByItsConstruction) {
    type.set_enabled(false);
    const auto observer = make("one", 1);
    EXPECT_FALSE(type.is_enabled());
    EXPECT_EQ(log, LOG{});
}

TEST_P(Observer, HearsOfEventsWithTheirArguments) {
    make("one", 1)->tell();
    EXPECT_EQ(log, (LOG{"one moved 1 to 2", "one name_changed 3 from old", "one enabled"}));
}

TEST_P(Observer, HearsOfAChangeOfEnablingInTheOrderOfTheList) {
    const auto one = make("one", 1), two = make("two", 2);
    const auto unlisted = type.make_unlisted(log, "unlisted");
    type.set_enabled(false);
    EXPECT_EQ(log, (LOG{"two disabled", "one disabled"}));
    log.clear();
    type.set_enabled(true);
    EXPECT_EQ(log, (LOG{"two enabled", "one enabled"}));
}

TEST_P(Observer, DisabledTwiceAndEnabledOnceStaysDisabledAndHearsOfTheFirstCallOnly) {
    const auto observer = make("one", 1);
    type.set_enabled(false);
    type.set_enabled(false);
    type.set_enabled(true);
    EXPECT_FALSE(type.is_enabled());
    EXPECT_EQ(log, (LOG{"one disabled"}));
    type.set_enabled(true);
    EXPECT_TRUE(type.is_enabled());
    EXPECT_EQ(log, (LOG{"one disabled", "one enabled"}));
}

TEST_P(Observer, EnabledWhenItIsEnabledIsNotToldAndNotCounted) {
    const auto observer = make("one", 1);
    type.set_enabled(true);
    type.set_enabled(true);
    EXPECT_TRUE(type.is_enabled());
    EXPECT_EQ(log, LOG{});
    type.set_enabled(false);
    EXPECT_FALSE(type.is_enabled()) << "one call disables, however many enabled";
    type.set_enabled(true);
    EXPECT_TRUE(type.is_enabled()) << "and one enables again";
}

TEST(ObserverBase, LeavesTheListWhenItsConstructionFails) {
    struct FAILING : NYX_OBSERVER<NYX_NET> {
        FAILING() : NYX_OBSERVER<NYX_NET>(9) { throw std::runtime_error("no"); }
    };
    EXPECT_THROW(FAILING(), std::runtime_error);
    EXPECT_EQ(NYX_OBSERVER<NYX_NET>::begin(), NYX_OBSERVER<NYX_NET>::end());
}

TEST(ObserverTypes, AreEnabledApart) {
    for (const OBSERVED_TYPE &type : all_types())
        type.disable(0);
    for (const OBSERVED_TYPE &type : all_types()) {
        type.set_enabled(false);
        for (const OBSERVED_TYPE &other : all_types())
            EXPECT_EQ(other.is_enabled(), std::string(other.name) != type.name) << type.name << ' ' << other.name;
        type.set_enabled(true);
    }
}

TEST(ObserverTypes, AreListedApart) {
    LOG log;
    for (const OBSERVED_TYPE &type : all_types()) {
        const auto observer = type.make(log, "one", 1);
        for (const OBSERVED_TYPE &other : all_types())
            EXPECT_EQ(other.listed().size(), std::string(other.name) == type.name ? 1u : 0u)
                << type.name << ' ' << other.name;
    }
}

TEST(ObserverTypes, CanBeObservedByOneObject) {
    struct BOTH : NYX_OBSERVER<NYX_NET>, NYX_OBSERVER<NYX_PORT> {
        BOTH() : NYX_OBSERVER<NYX_NET>(1), NYX_OBSERVER<NYX_PORT>(2) {}
        void allocated(NYX_NET *, NYX_MODULE *) override { ++nets; }
        void allocated(NYX_PORT *, NYX_MODULE *) override { ++ports; }
        int nets = 0, ports = 0;
    } both;
    (*NYX_OBSERVER<NYX_NET>::begin())->allocated(object<NYX_NET>(0), object<NYX_MODULE>(1));
    (*NYX_OBSERVER<NYX_PORT>::begin())->allocated(object<NYX_PORT>(0), object<NYX_MODULE>(1));
    (*NYX_OBSERVER<NYX_PORT>::begin())->allocated(object<NYX_PORT>(0), object<NYX_MODULE>(1));
    EXPECT_EQ(both.nets, 1);
    EXPECT_EQ(both.ports, 2);
}

template <class TYPE>
class ObserverOfAModulesObject : public testing::Test {};
using ObserverOfAModulesObjectTypes =
    TYPES<NYX_NET, NYX_PORT_BUS, NYX_NET_BUS, NYX_INSTANCE_BUS, NYX_INTERFACE, NYX_PORT, NYX_INSTANCE>;
TYPED_TEST_SUITE(ObserverOfAModulesObject, ObserverOfAModulesObjectTypes);

TYPED_TEST(ObserverOfAModulesObject, HearsOfAllocationWithTheParent) {
    using T = typename TypeParam::type;
    LOG log;
    ALLOCATION<T> observer(log, "one");
    tell_allocations<T>(observer);
    EXPECT_EQ(log, (LOG{"one allocated", "one deallocated"}));
}

template <class TYPE>
class ObserverOfAnObjectWithoutModule : public testing::Test {};
using ObserverOfAnObjectWithoutModuleTypes =
    TYPES<NYX_RELATIVE_OBJECT, NYX_CONSTRAINT_COLLECTION, NYX_CONSTRAINT_STMT, NYX_CONSTRAINT_ARG, NYX_SOURCE_FILE,
          NYX_ENTITY, NYX_SDC_CLOCK, NYX_MODULE, NYX_INST_PORT>;
TYPED_TEST_SUITE(ObserverOfAnObjectWithoutModule, ObserverOfAnObjectWithoutModuleTypes);

TYPED_TEST(ObserverOfAnObjectWithoutModule, HearsOfAllocation) {
    using T = typename TypeParam::type;
    LOG log;
    PARENTLESS_ALLOCATION<T> observer(log, "one");
    tell_parentless_allocations<T>(observer);
    EXPECT_EQ(log, (LOG{"one allocated", "one deallocated"}));
}

TEST(ObserverOfPorts, HearsOfConnections) {
    LOG log;
    CONNECTION<NYX_PORT, ALLOCATION<NYX_PORT>> observer(log, "port");
    tell_connections<NYX_PORT>(observer);
    EXPECT_EQ(log, (LOG{"port pre_connect", "port post_connect", "port pre_disconnect", "port post_disconnect"}));
}

TEST(ObserverOfInstPorts, HearsOfConnections) {
    LOG log;
    CONNECTION<NYX_INST_PORT, PARENTLESS_ALLOCATION<NYX_INST_PORT>> observer(log, "pin");
    tell_connections<NYX_INST_PORT>(observer);
    EXPECT_EQ(log, (LOG{"pin pre_connect", "pin post_connect", "pin pre_disconnect", "pin post_disconnect"}));
}

TEST(ObserverOfModules, HearsOfCopies) {
    LOG log;
    MODULE_EVENTS observer(log, "module");
    static_cast<NYX_COPY_OBSERVER<NYX_MODULE> &>(observer).copied(object<NYX_MODULE>(0), object<NYX_MODULE>(1));
    EXPECT_EQ(log, (LOG{"module copied"}));
}

TEST(ObserverOfInstances, HearsOfAChangedModule) {
    LOG log;
    INSTANCE_EVENTS observer(log, "instance");
    static_cast<NYX_OBSERVER<NYX_INSTANCE> &>(observer).module_changed(object<NYX_INSTANCE>(0), object<NYX_MODULE>(1));
    EXPECT_EQ(log, (LOG{"instance module_changed"}));
}

TEST(ObserverOfDatabases, HearsOfOpeningAndClosing) {
    LOG log;
    DB_EVENTS observer(log, "db");
    static_cast<NYX_OBSERVER<NYX_DB> &>(observer).opened(object<NYX_DB>(0));
    static_cast<NYX_OBSERVER<NYX_DB> &>(observer).closing(object<NYX_DB>(0));
    EXPECT_EQ(log, (LOG{"db opened", "db closing"}));
}
