// The ends of a run. A check may fail in any state of the process: with the heap exhausted, inside a sink, with a stack
// that a backtrace can't walk. So the text goes out before anything else is tried, and every step that can fail has a
// plainer one behind it.

#include "nyx_report_internal.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace NYX_REPORT::detail {

namespace {

/// What failed, and where.
struct PLACE {
    const char *expression; ///< null: a state without a way on, not a check
    const char *file;
    int line;
};

std::string headline(const PLACE &place, std::string_view text) {
    std::string result = place.expression ? "check failed: " : "no way on: ";
    if (place.expression) {
        result += place.expression;
        if (!text.empty()) {
            result += ": ";
        }
    }
    result += without_line_end(text);
    return result + " [" + place.file + '@' + std::to_string(place.line) + "]\n";
}

/// headline() without the heap, its parts cut to a line's length.
void report_without_heap(const PLACE &place, const char *format, std::va_list *arguments) {
    char text[512] = "";
    if (format) {
        std::vsnprintf(text, sizeof text, format, *arguments);
    }
    char line[1024];
    std::snprintf(line, sizeof line, "%s%.256s%s%s [%.128s@%d]\n",
                  place.expression ? "check failed: " : "no way on: ", place.expression ? place.expression : "",
                  place.expression && *text ? ": " : "", text, place.file, place.line);
    write_standard_error(line);
}

/// `format` and `arguments` are null for no text. Not inlined: the call stack leaves out a fixed number of frames.
[[noreturn, gnu::noinline]] void end_run(const PLACE &place, const char *format, std::va_list *arguments) {
    try {
        std::string text;
        if (format) {
            std::va_list first_use;
            va_copy(first_use, *arguments);
            text = format_text(format, first_use);
            va_end(first_use);
        }
        report_line(SEVERITY::FATAL, headline(place, text));
    } catch (...) {
        report_without_heap(place, format, arguments);
    }
    try {
        constexpr std::size_t frames_of_the_check = 2; // this function and the one that it serves
        report_line(SEVERITY::FATAL, "called from:\n" + backtrace_text(frames_of_the_check));
    } catch (...) {
        // The text is out; the stack is a help only.
    }
    flush_sink();
    std::abort();
}

} // namespace

void assert_at_line(const char *expression, const char *file, int line, const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    end_run({expression, file, line}, format, &arguments);
}

void assert_at_line(const char *expression, const char *file, int line) {
    end_run({expression, file, line}, nullptr, nullptr);
}

void fatal_exit_at_line(const char *file, int line, const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    end_run({nullptr, file, line}, format, &arguments);
}

} // namespace NYX_REPORT::detail
