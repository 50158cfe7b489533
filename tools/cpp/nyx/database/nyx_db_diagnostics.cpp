#include "database/nyx_db_diagnostics.h"

#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"

#include <cstdlib>
#include <sstream>

void nyx_db_exception_with_msg_code(const char *code, const char *argument) {
    constexpr const char *function = "nyx_db_exception_with_msg_code";
    if (code == nullptr)
        NYX_RAISE_RUNTIME_ERROR(function, "nyx_db_exception_with_msg_code attempted with NULL msg_code");
    NYX_RAISE_RUNTIME_ERROR(function,
                            nyx_format_message_code(code, {argument != nullptr ? argument : "<no arg provided>"}));
}

void trace_db_access(const char *caller_name, const NYX_DB *db) {
    NYX_CHECK(caller_name);
    const char *const value = std::getenv(s_nyx_db_debug_access);
    if (value == nullptr || *value == '\0')
        return;
    std::ostringstream backtrace;
    nyx_report_get_backtrace(backtrace);
    NYX_REPORT::debug("%s called on %p as follows:\n%s\n", caller_name, static_cast<const void *>(db),
                      backtrace.str().c_str());
}
