#ifndef OBSERVER_TEST_SUPPORT_H
#define OBSERVER_TEST_SUPPORT_H

#include "nyx/nyx_observer.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

/// What the tests of observers share. The objects are addresses only: no observer needs to look into them.
namespace observer_test {

using LOG = std::vector<std::string>;

inline char s_objects[8];

/// The nth object of a type.
template <class T>
T *object(int n) {
    return reinterpret_cast<T *>(&s_objects[n]);
}

/// Writes the events that all types have into a log, its own name first.
template <class T, class BASE = NYX_OBSERVER<T>>
class RECORDER : public BASE {
public:
    /// In no list.
    RECORDER(LOG &log, std::string name) : m_log(log), m_name(std::move(name)) {}
    RECORDER(LOG &log, std::string name, unsigned int priority) : BASE(priority), m_log(log), m_name(std::move(name)) {}

    void moved(T *from, T *to) override { add(" moved " + number(from) + " to " + number(to)); }
    void name_changed(T *changed, const std::string &old_name) override {
        add(" name_changed " + number(changed) + " from " + old_name);
    }
    void enabled(bool on) override { add(on ? " enabled" : " disabled"); }

protected:
    void add(const std::string &event) { m_log.push_back(m_name + event); }

private:
    static std::string number(T *of) { return std::to_string(reinterpret_cast<char *>(of) - s_objects); }

    LOG &m_log;
    std::string m_name;
};

/// Brings the public observers of T to a state that no earlier test has touched: disabled by as many calls as told,
/// enabled if by none.
template <class T>
void disable(int calls) {
    while (!NYX_OBSERVER<T>::is_enabled())
        NYX_OBSERVER<T>::set_enabled(true);
    for (; calls > 0; --calls)
        NYX_OBSERVER<T>::set_enabled(false);
}

template <class T>
std::vector<NYX_OBSERVER<T> *> listed() {
    return {NYX_OBSERVER<T>::begin(), NYX_OBSERVER<T>::end()};
}

/// Stands for a type of object in a typed suite, which wants complete types.
template <class T>
struct OF {
    using type = T;
};
template <class... OBJECTS>
using TYPES = testing::Types<OF<OBJECTS>...>;

#define OBJECT_TYPE(T) , T
template <class, class... OBJECTS>
using TYPES_BUT_FIRST = TYPES<OBJECTS...>;
using OBJECT_TYPES = TYPES_BUT_FIRST<void NYX_FOR_EACH_OBSERVED_OBJECT_TYPE(OBJECT_TYPE)>;
using OBSERVED_TYPES = TYPES_BUT_FIRST<void NYX_FOR_EACH_OBSERVED_TYPE(OBJECT_TYPE)>;
#undef OBJECT_TYPE

} // namespace observer_test

#endif
