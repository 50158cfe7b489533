#include "observer_test_support.h"

#include <type_traits>
#include <utility>

namespace observer_test {

namespace {

template <class T>
class TYPED_RECORDER : public ANY_RECORDER {
public:
    template <class... ARGUMENTS>
    explicit TYPED_RECORDER(ARGUMENTS &&...arguments)
        : m_observer(new RECORDER<T>(std::forward<ARGUMENTS>(arguments)...)) {}
    void tell() override {
        m_observer->moved(object<T>(1), object<T>(2));
        m_observer->name_changed(object<T>(3), "old");
        m_observer->enabled(NYX_OBSERVER<T>::is_enabled());
    }

private:
    std::unique_ptr<NYX_OBSERVER_BASE<T>> m_observer; // which it is deleted through
};

template <class T>
class TYPED_INTERNAL_RECORDER : public ANY_INTERNAL_RECORDER {
public:
    TYPED_INTERNAL_RECORDER(LOG &log, const char *name) : m_observer(log, name) {}
    void enter() override { m_observer.enter(); }
    void leave() override { m_observer.leave(); }

private:
    INTERNAL_RECORDER<T> m_observer;
};

template <class T>
LOG listed() {
    LOG names;
    for (auto observer = NYX_OBSERVER<T>::begin(); observer != NYX_OBSERVER<T>::end(); ++observer)
        names.push_back(dynamic_cast<RECORDER<T> &>(**observer).name());
    return names;
}

template <class T>
OBSERVED_TYPE observed_type(const char *name) {
    OBSERVED_TYPE type{};
    type.name = name;
    type.is_enabled = &NYX_OBSERVER<T>::is_enabled;
    type.set_enabled = &NYX_OBSERVER<T>::set_enabled;
    type.listed = &listed<T>;
    type.make = [](LOG &log, const char *observer, unsigned int priority) -> std::unique_ptr<ANY_RECORDER> {
        return std::make_unique<TYPED_RECORDER<T>>(log, observer, priority);
    };
    type.make_unlisted = [](LOG &log, const char *observer) -> std::unique_ptr<ANY_RECORDER> {
        return std::make_unique<TYPED_RECORDER<T>>(log, observer);
    };
    type.is_observed = &nyx_is_observed<T>;
    type.notify = [] { nyx_notify<T>(&NYX_OBSERVER<T>::moved, object<T>(1), object<T>(2)); };
    if constexpr (!std::is_same_v<T, NYX_DB>) {
        type.is_internally_enabled = &NYX_DB_OBSERVER<T>::is_enabled;
        type.make_internal = [](LOG &log, const char *observer) -> std::unique_ptr<ANY_INTERNAL_RECORDER> {
            return std::make_unique<TYPED_INTERNAL_RECORDER<T>>(log, observer);
        };
    }
    return type;
}

} // namespace

#define NYX_OBSERVED_TYPE(T) observed_type<T>(#T),
std::vector<OBSERVED_TYPE> object_types() {
    return {NYX_FOR_EACH_OBSERVED_OBJECT_TYPE(NYX_OBSERVED_TYPE)};
}
std::vector<OBSERVED_TYPE> all_types() {
    return {NYX_FOR_EACH_OBSERVED_TYPE(NYX_OBSERVED_TYPE)};
}

} // namespace observer_test
