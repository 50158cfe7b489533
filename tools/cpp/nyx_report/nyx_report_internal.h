#ifndef NYX_REPORT_INTERNAL_H
#define NYX_REPORT_INTERNAL_H

/// \file
/// What the sources of this library share. Hidden: a program that replaces single functions of the library need not
/// know of these.

#include "nyx_report/nyx_report.h"

#include <cstdarg>
#include <cstddef>
#include <string>
#include <string_view>

namespace NYX_REPORT::detail {

/// The text of a printf call.
std::string format_text(const char *format, std::va_list arguments);

/// Without one "\n" or "\r\n" at its end.
std::string_view without_line_end(std::string_view text) noexcept;

/// Hands a line to the sink, and to the standard error stream if it is fatal or the sink fails.
void report_line(SEVERITY severity, std::string_view text) noexcept;

/// Lets the sink write out what it buffers.
void flush_sink() noexcept;

/// Writes to the standard error stream without allocation, buffering or locks: the last resort.
void write_standard_error(std::string_view text) noexcept;

/// True if the environment variable is set to a non-empty value now.
bool is_environment_set(const char *variable) noexcept;

/// The call stack, a frame a line, without this function's frame and the `skip` ones that called it.
std::string backtrace_text(std::size_t skip);

} // namespace NYX_REPORT::detail

#endif
