#include "nyx_report_internal.h"

#include <spdlog/details/log_msg.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/stdout_color_sinks.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>

#include <unistd.h>

namespace NYX_REPORT {

namespace {

/// Puts the severity in front of a line.
class SEVERITY_FLAG final : public spdlog::custom_flag_formatter {
public:
    void format(const spdlog::details::log_msg &message, const std::tm &, spdlog::memory_buf_t &out) override {
        const std::string_view name = name_of(message.level);
        out.append(name.data(), name.data() + name.size());
    }

    std::unique_ptr<custom_flag_formatter> clone() const override { return std::make_unique<SEVERITY_FLAG>(); }

private:
    static std::string_view name_of(spdlog::level::level_enum level) {
        switch (level) {
        case spdlog::level::debug:
            return "debug";
        case spdlog::level::info:
            return "info";
        case spdlog::level::warn:
            return "warning";
        case spdlog::level::err:
            return "error";
        default:
            return "fatal";
        }
    }
};

spdlog::level::level_enum level_of(SEVERITY severity) {
    switch (severity) {
    case SEVERITY::DEBUG:
        return spdlog::level::debug;
    case SEVERITY::INFO:
        return spdlog::level::info;
    case SEVERITY::WARNING:
        return spdlog::level::warn;
    case SEVERITY::ERROR:
        return spdlog::level::err;
    case SEVERITY::FATAL:
        break;
    }
    return spdlog::level::critical;
}

/// The default: the standard error stream. It drives a sink of spdlog's directly, since a logger of spdlog's swallows
/// what goes wrong together with the message.
class STANDARD_ERROR_SINK final : public SINK {
public:
    STANDARD_ERROR_SINK()
        : m_sink(detail::is_environment_set("NO_COLOR") ? spdlog::color_mode::never : spdlog::color_mode::automatic) {
        auto formatter = std::make_unique<spdlog::pattern_formatter>();
        formatter->add_flag<SEVERITY_FLAG>('*').set_pattern("%^%*:%$ %v");
        m_sink.set_formatter(std::move(formatter));
    }

    void write(SEVERITY severity, std::string_view text) override {
        if (severity == SEVERITY::DEBUG && !detail::is_environment_set("NYX_REPORT_DEBUG")) {
            return;
        }
        const std::string_view line = detail::without_line_end(text);
        m_sink.log(spdlog::details::log_msg("", level_of(severity), spdlog::string_view_t(line.data(), line.size())));
    }

    void flush() override { m_sink.flush(); }

private:
    spdlog::sinks::stderr_color_sink_mt m_sink;
};

/// Never destroyed: static destructors of other libraries may report.
struct STATE {
    STANDARD_ERROR_SINK standard_error;
    std::mutex mutex;
    std::shared_ptr<SINK> sink; ///< guarded by mutex; null stands for standard_error
};

STATE &state() {
    static STATE *const s_state = new STATE;
    return *s_state;
}

std::shared_ptr<SINK> current_sink() {
    STATE &global = state();
    const std::lock_guard lock(global.mutex);
    return global.sink;
}

/// Set while this thread is in a sink of the program's, which is not entered a second time.
thread_local bool s_in_sink = false;

/// Calls `use` with the program's sink if there is one that this thread is not in already. True if it did its work.
template <class F>
bool with_program_sink(F use) noexcept {
    if (s_in_sink) {
        return false;
    }
    s_in_sink = true;
    bool done = false;
    try {
        if (const std::shared_ptr<SINK> sink = current_sink()) {
            use(*sink);
            done = true;
        }
    } catch (...) {
    }
    s_in_sink = false;
    return done;
}

void write_default(SEVERITY severity, std::string_view text) noexcept {
    try {
        state().standard_error.write(severity, text);
    } catch (...) {
        detail::write_standard_error(text);
        detail::write_standard_error("\n");
    }
}

void report_formatted(SEVERITY severity, const char *format, std::va_list arguments) noexcept {
    try {
        detail::report_line(severity, detail::format_text(format, arguments));
    } catch (...) {
        detail::report_line(severity, format);
    }
}

} // namespace

namespace detail {

std::string format_text(const char *format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0) {
        return format; // an argument can't be converted: the bare format still says most
    }
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

std::string_view without_line_end(std::string_view text) noexcept {
    if (text.ends_with('\n')) {
        text.remove_suffix(1);
        if (text.ends_with('\r')) {
            text.remove_suffix(1);
        }
    }
    return text;
}

void report_line(SEVERITY severity, std::string_view text) noexcept {
    // A fatal line is written before the sink is asked: a sink may hang or crash as well as throw.
    if (severity == SEVERITY::FATAL) {
        write_default(severity, text);
    }
    const bool taken = with_program_sink([&](SINK &sink) { sink.write(severity, text); });
    if (!taken && severity != SEVERITY::FATAL) {
        write_default(severity, text);
    }
}

void flush_sink() noexcept {
    with_program_sink([](SINK &sink) { sink.flush(); });
}

void write_standard_error(std::string_view text) noexcept {
    while (!text.empty()) {
        const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
        if (written <= 0) {
            return;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

bool is_environment_set(const char *variable) noexcept {
    const char *const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

} // namespace detail

SINK::~SINK() = default;

void SINK::flush() {}

std::shared_ptr<SINK> set_sink(std::shared_ptr<SINK> sink) {
    STATE &global = state();
    const std::lock_guard lock(global.mutex);
    global.sink.swap(sink);
    return sink;
}

void err(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    report_formatted(SEVERITY::ERROR, format, arguments);
    va_end(arguments);
}

void warn(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    report_formatted(SEVERITY::WARNING, format, arguments);
    va_end(arguments);
}

void info(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    report_formatted(SEVERITY::INFO, format, arguments);
    va_end(arguments);
}

void debug(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    report_formatted(SEVERITY::DEBUG, format, arguments);
    va_end(arguments);
}

STREAM::STREAM(SEVERITY severity, PREFIX_VIEW prefix)
    : m_severity(severity)
    , m_text(std::make_unique<std::ostringstream>()) {
    *m_text << prefix.text();
}

STREAM::STREAM(STREAM &&other) noexcept = default;

STREAM::~STREAM() {
    if (!m_text) {
        return; // moved from
    }
    try {
        detail::report_line(m_severity, m_text->str());
    } catch (...) {
        detail::report_line(m_severity, "a line was lost for want of memory");
    }
}

STREAM &STREAM::operator<<(std::ostream &(*manipulator)(std::ostream &)) & {
    *m_text << manipulator;
    return *this;
}

STREAM &&STREAM::operator<<(std::ostream &(*manipulator)(std::ostream &)) && {
    *m_text << manipulator;
    return std::move(*this);
}

STREAM err(PREFIX_VIEW prefix) {
    return STREAM(SEVERITY::ERROR, prefix);
}
STREAM warn(PREFIX_VIEW prefix) {
    return STREAM(SEVERITY::WARNING, prefix);
}
STREAM info(PREFIX_VIEW prefix) {
    return STREAM(SEVERITY::INFO, prefix);
}

} // namespace NYX_REPORT
