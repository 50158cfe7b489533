#ifndef NYX_DB_OBSERVER_H
#define NYX_DB_OBSERVER_H

/// \file
/// The library's own observers, and how events are told.

#include "nyx/nyx_observer.h"

#include <concepts>
#include <type_traits>

/// An observer by which the library keeps data of its own in step: its objects hear of an event before any public
/// observer does, and set_enabled of the public ones is nothing to them. They are told in the order in which they
/// entered. Databases themselves have no such observers.
///
/// Entering is a call and not part of the construction, so that an object of several such bases is told only when it is
/// complete. Entering allocates nothing. No object may enter or leave during a call for its type.
template <class T>
requires(!std::same_as<T, NYX_DB>) class NYX_DB_OBSERVER : public NYX_OBSERVER<T> {
public:
    /// Whether any internal observer of T hears events.
    static bool is_enabled() { return s_first; }
    // Those of the public list would be a surprise here.
    static void set_enabled(bool) = delete;
    static void begin() = delete;
    static void end() = delete;

    /// The internal observers in the order in which they are told: the first, null if there is none, and the one
    /// behind.
    static NYX_DB_OBSERVER *first() { return s_first; }
    NYX_DB_OBSERVER *next() const { return m_next; }

    /// Leaves the list.
    ~NYX_DB_OBSERVER() override { leave(); }

protected:
    NYX_DB_OBSERVER() = default;

    /// Enters the internal list at its end. Ends the run if the observer is in it.
    void enter();
    /// Leaves the internal list; does nothing if the observer is not in it.
    void leave();

private:
    static NYX_DB_OBSERVER *s_first; // null: nobody listens
    NYX_DB_OBSERVER *m_next = nullptr;
};

#define NYX_DECLARE_DB_OBSERVER(T) extern template class NYX_DB_OBSERVER<T>;
NYX_FOR_EACH_OBSERVED_OBJECT_TYPE(NYX_DECLARE_DB_OBSERVER)
#undef NYX_DECLARE_DB_OBSERVER

/// Whether any observer hears events of T: to be tested before an argument is computed that only observers need.
template <class T>
bool nyx_is_observed() {
    if constexpr (std::same_as<T, NYX_DB>)
        return NYX_OBSERVER<T>::is_enabled();
    else
        return NYX_DB_OBSERVER<T>::is_enabled() || NYX_OBSERVER<T>::is_enabled();
}

/// The part of nyx_notify that is rarely needed, out of the way of the code that changes objects.
template <class T, class BASE, class... ARGUMENTS>
[[gnu::cold, gnu::noinline]] void nyx_notify_observers(void (BASE::*event)(ARGUMENTS...),
                                                       std::type_identity_t<ARGUMENTS>... arguments) {
    if constexpr (!std::same_as<T, NYX_DB>) {
        for (NYX_DB_OBSERVER<T> *observer = NYX_DB_OBSERVER<T>::first(); observer; observer = observer->next())
            (observer->*event)(arguments...);
    }
    if (NYX_OBSERVER<T>::is_enabled()) {
        const auto end = NYX_OBSERVER<T>::end();
        for (auto observer = NYX_OBSERVER<T>::begin(); observer != end; ++observer)
            ((*observer)->*event)(arguments...);
    }
}

/// Tells an event of T, to the internal observers first and then, if they are enabled, to the public ones:
///
///     nyx_notify<NYX_NET>(&NYX_OBSERVER<NYX_NET>::allocated, net, parent);
///
/// Two tests if nobody listens. Allocates nothing. What an observer throws reaches the caller, and those behind it are
/// not told.
template <class T, class BASE, class... ARGUMENTS>
void nyx_notify(void (BASE::*event)(ARGUMENTS...), std::type_identity_t<ARGUMENTS>... arguments) {
    if (nyx_is_observed<T>()) [[unlikely]]
        nyx_notify_observers<T>(event, arguments...);
}

#endif
