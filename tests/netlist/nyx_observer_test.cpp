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

template <class T>
concept OBSERVABLE = requires {
    sizeof(NYX_OBSERVER<T>);
};

} // namespace

static_assert(std::is_same_v<decltype(NYX_OBSERVER_BASE<NYX_NET>::INTERNAL), const unsigned int>);
static_assert(NYX_OBSERVER_BASE<NYX_NET>::INTERNAL == 0xffffffff);

template <class TYPE>
class Observer : public testing::Test {
protected:
    void SetUp() override { disable<typename TYPE::type>(0); }

    LOG log;
};
TYPED_TEST_SUITE(Observer, OBSERVED_TYPES);

TYPED_TEST(Observer, IsAPolymorphicBaseThatIsNotCopied) {
    using T = typename TypeParam::type;
    using OBSERVER = NYX_OBSERVER<T>;
    static_assert(std::is_base_of_v<NYX_OBSERVER_BASE<T>, OBSERVER>);
    static_assert(std::has_virtual_destructor_v<OBSERVER>);
    static_assert(!std::is_copy_constructible_v<OBSERVER> && !std::is_copy_assignable_v<OBSERVER>);
    static_assert(!std::is_constructible_v<NYX_OBSERVER_BASE<T>, unsigned int>);
    RECORDER<T> observer(this->log, "one", 1);
    EXPECT_EQ(static_cast<void *>(static_cast<OBSERVER *>(&observer)),
              static_cast<void *>(static_cast<NYX_OBSERVER_BASE<T> *>(&observer)))
        << "the base comes first";
}

TYPED_TEST(Observer, OfTheHigherPriorityComesFirstWhicheverWasConstructedFirst) {
    using T = typename TypeParam::type;
    RECORDER<T> one(this->log, "one", 1), three(this->log, "three", 3), two(this->log, "two", 2);
    EXPECT_EQ(listed<T>(), (std::vector<NYX_OBSERVER<T> *>{&three, &two, &one}));
}

TYPED_TEST(Observer, OfEqualPriorityComesInTheOrderOfConstruction) {
    using T = typename TypeParam::type;
    RECORDER<T> a(this->log, "a", 7), low(this->log, "low", 6), b(this->log, "b", 7), high(this->log, "high", 8),
        c(this->log, "c", 7);
    EXPECT_EQ(listed<T>(), (std::vector<NYX_OBSERVER<T> *>{&high, &a, &b, &c, &low}));
}

TYPED_TEST(Observer, IsOrderedByAnUnsignedPriority) {
    using T = typename TypeParam::type;
    RECORDER<T> zero(this->log, "zero", 0), middle(this->log, "middle", 0x7fffffff),
        high(this->log, "high", 0x80000000), highest(this->log, "highest", 0xfffffffe);
    EXPECT_EQ(listed<T>(), (std::vector<NYX_OBSERVER<T> *>{&highest, &high, &middle, &zero}));
}

TYPED_TEST(Observer, LeavesTheListAloneAmongEquals) {
    using T = typename TypeParam::type;
    RECORDER<T> a(this->log, "a", 4);
    auto b = std::make_unique<RECORDER<T>>(this->log, "b", 4);
    RECORDER<T> c(this->log, "c", 4);
    b.reset();
    EXPECT_EQ(listed<T>(), (std::vector<NYX_OBSERVER<T> *>{&a, &c}));
}

TYPED_TEST(Observer, LeavesTheListThroughEachOfItsBases) {
    using T = typename TypeParam::type;
    auto *const observer = new RECORDER<T>(this->log, "one", 1);
    delete static_cast<NYX_OBSERVER_BASE<T> *>(observer);
    EXPECT_TRUE(listed<T>().empty());
}

TYPED_TEST(Observer, LeavesTheListWhenItsConstructionFails) {
    using T = typename TypeParam::type;
    struct FAILING : NYX_OBSERVER<T> {
        FAILING() : NYX_OBSERVER<T>(9) { throw std::runtime_error("no"); }
    };
    EXPECT_THROW(FAILING(), std::runtime_error);
    EXPECT_TRUE(listed<T>().empty());
}

TYPED_TEST(Observer, WithoutAPriorityIsInNoListAndLeavesNone) {
    using T = typename TypeParam::type;
    RECORDER<T> listed_one(this->log, "listed", 1);
    {
        RECORDER<T> unlisted(this->log, "unlisted");
        EXPECT_EQ(listed<T>(), (std::vector<NYX_OBSERVER<T> *>{&listed_one}));
    }
    EXPECT_EQ(listed<T>(), (std::vector<NYX_OBSERVER<T> *>{&listed_one}));
}

TYPED_TEST(Observer, IsNeitherToldNorEnabledByItsConstruction) {
    using T = typename TypeParam::type;
    disable<T>(1);
    RECORDER<T> observer(this->log, "one", 1);
    EXPECT_FALSE(NYX_OBSERVER<T>::is_enabled());
    EXPECT_EQ(this->log, LOG{});
}

TYPED_TEST(Observer, DefaultEventsDoNothing) {
    using T = typename TypeParam::type;
    NYX_OBSERVER<T> observer;
    observer.moved(object<T>(1), object<T>(2));
    observer.name_changed(object<T>(1), "old");
    observer.enabled(true);
    EXPECT_TRUE(listed<T>().empty());
}

TYPED_TEST(Observer, EventsReachTheSubclassWithTheirArguments) {
    using T = typename TypeParam::type;
    RECORDER<T> recorder(this->log, "one", 1);
    NYX_OBSERVER_BASE<T> &observer = recorder;
    observer.moved(object<T>(3), object<T>(4));
    observer.name_changed(object<T>(5), "old");
    observer.enabled(false);
    EXPECT_EQ(this->log, (LOG{"one moved 3 to 4", "one name_changed 5 from old", "one disabled"}));
}

TYPED_TEST(Observer, ChangeOfEnablingIsToldInTheOrderOfTheList) {
    using T = typename TypeParam::type;
    RECORDER<T> one(this->log, "one", 1), two(this->log, "two", 2);
    RECORDER<T> unlisted(this->log, "unlisted");
    NYX_OBSERVER<T>::set_enabled(false);
    EXPECT_EQ(this->log, (LOG{"two disabled", "one disabled"}));
    this->log.clear();
    NYX_OBSERVER<T>::set_enabled(true);
    EXPECT_EQ(this->log, (LOG{"two enabled", "one enabled"}));
}

TYPED_TEST(Observer, SeesTheNewStateWhenAChangeOfEnablingIsTold) {
    using T = typename TypeParam::type;
    struct ASKING : NYX_OBSERVER<T> {
        using NYX_OBSERVER<T>::NYX_OBSERVER;
        void enabled(bool on) override { agreed.push_back(on == NYX_OBSERVER<T>::is_enabled()); }
        std::vector<bool> agreed;
    } asking(1);
    NYX_OBSERVER<T>::set_enabled(false);
    NYX_OBSERVER<T>::set_enabled(true);
    EXPECT_EQ(asking.agreed, (std::vector<bool>{true, true}));
}

TYPED_TEST(Observer, DisabledTwiceAndEnabledOnceStaysDisabledAndHearsOfTheFirstCallOnly) {
    using T = typename TypeParam::type;
    RECORDER<T> observer(this->log, "one", 1);
    NYX_OBSERVER<T>::set_enabled(false);
    NYX_OBSERVER<T>::set_enabled(false);
    NYX_OBSERVER<T>::set_enabled(true);
    EXPECT_FALSE(NYX_OBSERVER<T>::is_enabled());
    EXPECT_EQ(this->log, (LOG{"one disabled"}));
    NYX_OBSERVER<T>::set_enabled(true);
    EXPECT_TRUE(NYX_OBSERVER<T>::is_enabled());
    EXPECT_EQ(this->log, (LOG{"one disabled", "one enabled"}));
}

TYPED_TEST(Observer, EnabledWhenItIsEnabledIsNotToldAndNotCounted) {
    using T = typename TypeParam::type;
    RECORDER<T> observer(this->log, "one", 1);
    NYX_OBSERVER<T>::set_enabled(true);
    NYX_OBSERVER<T>::set_enabled(true);
    EXPECT_TRUE(NYX_OBSERVER<T>::is_enabled());
    EXPECT_EQ(this->log, LOG{});
    NYX_OBSERVER<T>::set_enabled(false);
    EXPECT_FALSE(NYX_OBSERVER<T>::is_enabled()) << "one call disables, however many enabled";
    NYX_OBSERVER<T>::set_enabled(true);
    EXPECT_TRUE(NYX_OBSERVER<T>::is_enabled());
}

TEST(ObserverTypes, AreEnabledApart) {
    disable<NYX_NET>(0);
    disable<NYX_NET_BUS>(1);
    EXPECT_TRUE(NYX_OBSERVER<NYX_NET>::is_enabled());
    EXPECT_FALSE(NYX_OBSERVER<NYX_NET_BUS>::is_enabled());
}

TEST(ObserverTypes, AreListedApart) {
    LOG log;
    RECORDER<NYX_NET> observer(log, "net", 1);
    EXPECT_EQ(listed<NYX_NET>(), (std::vector<NYX_OBSERVER<NYX_NET> *>{&observer}));
    EXPECT_TRUE(listed<NYX_NET_BUS>().empty());
}

TEST(ObserverTypes, CanBeObservedByOneObject) {
    struct BOTH : NYX_OBSERVER<NYX_NET>, NYX_OBSERVER<NYX_PORT> {
        BOTH() : NYX_OBSERVER<NYX_NET>(1), NYX_OBSERVER<NYX_PORT>(2) {}
        void allocated(NYX_NET *, NYX_MODULE *) override { ++nets; }
        void allocated(NYX_PORT *, NYX_MODULE *) override { ++ports; }
        int nets = 0, ports = 0;
    } both;
    for (NYX_OBSERVER<NYX_NET> *observer : listed<NYX_NET>())
        observer->allocated(object<NYX_NET>(0), object<NYX_MODULE>(1));
    for (NYX_OBSERVER<NYX_PORT> *observer : listed<NYX_PORT>()) {
        observer->allocated(object<NYX_PORT>(0), object<NYX_MODULE>(1));
        observer->allocated(object<NYX_PORT>(0), object<NYX_MODULE>(1));
    }
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
