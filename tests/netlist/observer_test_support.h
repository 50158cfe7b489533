#ifndef OBSERVER_TEST_SUPPORT_H
#define OBSERVER_TEST_SUPPORT_H

#include "netlist/nyx_db_observer.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// What the tests of observers share. The objects are addresses only: no observer needs to look into them.
///
/// Tests that hold for all types are parameterised by OBSERVED_TYPE, a table of functions, so that their bodies are
/// compiled once.
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

    const std::string &name() const { return m_name; }

    void moved(T *from, T *to) override { add(" moved " + number(from) + " to " + number(to)); }
    void name_changed(T *changed, const std::string &old_name) override {
        add(" name_changed " + number(changed) + " from " + old_name);
    }
    void enabled(bool on) override {
        add(on != NYX_OBSERVER<T>::is_enabled() ? " told too early or late" : on ? " enabled" : " disabled");
    }

protected:
    void add(const std::string &event) { m_log.push_back(m_name + event); }

private:
    static std::string number(T *of) { return std::to_string(reinterpret_cast<char *>(of) - s_objects); }

    LOG &m_log;
    std::string m_name;
};

/// An internal observer that can be told to enter and leave.
template <class T>
struct INTERNAL_RECORDER : RECORDER<T, NYX_DB_OBSERVER<T>> {
    using BASE = RECORDER<T, NYX_DB_OBSERVER<T>>;
    using BASE::BASE, BASE::enter, BASE::leave;
};

/// A recorder of any type.
class ANY_RECORDER {
public:
    virtual ~ANY_RECORDER() = default;
    /// Calls the events that all types have through the base: 1 moves to 2, 3 was called "old", and off.
    virtual void tell() = 0;
};

class ANY_INTERNAL_RECORDER {
public:
    virtual ~ANY_INTERNAL_RECORDER() = default;
    virtual void enter() = 0;
    virtual void leave() = 0;
};

/// The functions of one type.
struct OBSERVED_TYPE {
    const char *name;
    bool (*is_enabled)();
    void (*set_enabled)(bool);
    /// The names of the recorders in the public list.
    LOG (*listed)();
    std::unique_ptr<ANY_RECORDER> (*make)(LOG &, const char *name, unsigned int priority);
    std::unique_ptr<ANY_RECORDER> (*make_unlisted)(LOG &, const char *name);

    bool (*is_observed)();
    /// Tells that 1 has moved to 2.
    void (*notify)();

    // Not for databases.
    bool (*is_internally_enabled)();
    std::unique_ptr<ANY_INTERNAL_RECORDER> (*make_internal)(LOG &, const char *name);

    /// Brings the public observers to a state that no earlier test has touched: disabled by as many calls as told,
    /// enabled if by none.
    void disable(int calls) const {
        while (!is_enabled())
            set_enabled(true);
        for (; calls > 0; --calls)
            set_enabled(false);
    }
};

/// Those with objects in a database.
std::vector<OBSERVED_TYPE> object_types();
std::vector<OBSERVED_TYPE> all_types();

inline std::string name_of(const testing::TestParamInfo<OBSERVED_TYPE> &info) {
    return info.param.name;
}

/// Shows a type in a failed test.
inline void PrintTo(const OBSERVED_TYPE &type, std::ostream *out) {
    *out << type.name;
}

/// A fixture of a test that holds for each type.
class FOR_EACH_TYPE : public testing::TestWithParam<OBSERVED_TYPE> {
protected:
    std::unique_ptr<ANY_RECORDER> make(const char *name, unsigned int priority) {
        return type.make(log, name, priority);
    }
    std::unique_ptr<ANY_INTERNAL_RECORDER> make_internal(const char *name) { return type.make_internal(log, name); }

    const OBSERVED_TYPE &type = GetParam();
    LOG log;
};

/// Stands for a type of object in a typed suite, which wants complete types.
template <class T>
struct OF {
    using type = T;
};
template <class... OBJECTS>
using TYPES = testing::Types<OF<OBJECTS>...>;

} // namespace observer_test

#endif
