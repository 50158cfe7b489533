// Boost's own checks, such as those on the colour bit of a tree node, are checks like any other. The library's sources
// are compiled with BOOST_ENABLE_ASSERT_HANDLER; the handlers are hidden, so a program keeps its own.
#include "nyx_report/nyx_report.h"

namespace boost {

void assertion_failed(const char *expression, const char *, const char *file, long line) {
    NYX_REPORT::detail::assert_at_line(expression, file, static_cast<int>(line));
}

void assertion_failed_msg(const char *expression, const char *message, const char *, const char *file, long line) {
    NYX_REPORT::detail::assert_at_line(expression, file, static_cast<int>(line), "%s", message);
}

} // namespace boost
