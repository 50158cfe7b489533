// The only source that includes Boost.Stacktrace. The build picks its backend: GCC's libbacktrace, which reads names
// and lines from debug information, where it can be linked; else the basic one, with the names of exported functions.

#include "nyx_report_internal.h"

#include <boost/stacktrace.hpp>

#include <sstream>

namespace NYX_REPORT::detail {

[[gnu::noinline]] std::string backtrace_text(std::size_t skip) {
    constexpr std::size_t max_frames = 50;
    const boost::stacktrace::stacktrace stack(skip + 1, max_frames);
    std::string text;
    for (std::size_t i = 0; i < stack.size(); ++i) {
        // A frame holds the address that its call returns to. Behind a call that does not return, such as that of a
        // failed check, this may be the next function: look up the call itself.
        const boost::stacktrace::frame call(static_cast<const char *>(stack[i].address()) - 1);
        text += (i < 10 ? " " : "") + std::to_string(i) + "# " + to_string(call) + '\n';
    }
    return text;
}

} // namespace NYX_REPORT::detail

[[gnu::noinline]] void nyx_report_get_backtrace(std::ostringstream &out) {
    out << NYX_REPORT::detail::backtrace_text(1);
}
