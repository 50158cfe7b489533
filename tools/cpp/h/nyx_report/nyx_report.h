#ifndef NYX_REPORT_H
#define NYX_REPORT_H

/// \file
/// Where the library reports to: failed checks, log lines, message codes, profile scopes, backtraces. It is a library
/// of its own, libnyx_report, that a program may replace, as a whole or function by function, by symbols of its own.
/// All free functions are thread-safe.

#include <boost/format/format_fwd.hpp>

#include <cstddef>
#include <initializer_list>
#include <iosfwd>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#define NYX_REPORT_API __attribute__((visibility("default")))
#define NYX_REPORT_PRINTF(format_index, first_argument) __attribute__((format(printf, format_index, first_argument)))

namespace NYX_REPORT {

namespace detail {

/// Reports a failed check as "check failed: EXPRESSION: TEXT [FILE@LINE]" and then the call stack, and ends the process
/// with std::abort. `format` is a printf text that says what is wrong; `expression` is the check as it stands in the
/// source. Nothing that a sink does keeps the run from ending, or the text from the standard error stream.
[[noreturn]] NYX_REPORT_API void assert_at_line(const char *expression, const char *file, int line, const char *format,
                                                ...) NYX_REPORT_PRINTF(4, 5);

/// A failed check without a text of its own: "check failed: EXPRESSION [FILE@LINE]".
[[noreturn]] NYX_REPORT_API void assert_at_line(const char *expression, const char *file, int line);

/// Reports an unreachable or unrecoverable state as "no way on: TEXT [FILE@LINE]" and then the call stack, and ends the
/// process with std::abort.
[[noreturn]] NYX_REPORT_API void fatal_exit_at_line(const char *file, int line, const char *format, ...)
    NYX_REPORT_PRINTF(3, 4);

} // namespace detail

/// How grave a line is.
enum class SEVERITY : unsigned char { DEBUG, INFO, WARNING, ERROR, FATAL };

/// Receives every line that is reported. Implement it to redirect a tool's messages, or to capture them in a test. Its
/// members are called from every thread that reports, without a lock. What they throw is dropped, and the line goes to
/// the standard error stream instead, as does a line that is reported from within write().
class NYX_REPORT_API SINK {
public:
    virtual ~SINK();

    /// `text` is the message exactly as it was made, with its line end if it has one. It is valid during the call only.
    /// SEVERITY::FATAL has gone to the standard error stream before, so that it is read there whatever the sink does.
    virtual void write(SEVERITY severity, std::string_view text) = 0;

    /// Called before the process is ended: whatever is buffered is lost after this. Does nothing by default.
    virtual void flush();
};

/// Makes `sink` the receiver of all lines and returns the previous one. Null stands for the default, which writes to
/// the standard error stream, a severity in front, in colour on a terminal unless the environment variable NO_COLOR is
/// set and not empty, and leaves out SEVERITY::DEBUG unless NYX_REPORT_DEBUG is set and not empty.
NYX_REPORT_API std::shared_ptr<SINK> set_sink(std::shared_ptr<SINK> sink);

/// \name Log lines
/// They never throw and never change a result. printf formats; a trailing line end is optional.
/// \{
NYX_REPORT_API void err(const char *format, ...) NYX_REPORT_PRINTF(1, 2);
NYX_REPORT_API void warn(const char *format, ...) NYX_REPORT_PRINTF(1, 2);
NYX_REPORT_API void info(const char *format, ...) NYX_REPORT_PRINTF(1, 2);
NYX_REPORT_API void debug(const char *format, ...) NYX_REPORT_PRINTF(1, 2);
/// \}

/// The text that stands in front of a streamed line, such as the name of the reader that speaks. Refers to its text.
class PREFIX_VIEW {
public:
    constexpr PREFIX_VIEW() noexcept = default;
    explicit constexpr PREFIX_VIEW(std::string_view text) noexcept : m_text(text) {}
    constexpr std::string_view text() const noexcept { return m_text; }

private:
    std::string_view m_text;
};

/// One line being streamed; it is reported when the object goes: `NYX_REPORT::warn(PREFIX_VIEW("paths: ")) << file;`
class NYX_REPORT_API STREAM {
public:
    STREAM(SEVERITY severity, PREFIX_VIEW prefix);
    STREAM(STREAM &&other) noexcept;
    STREAM &operator=(STREAM &&) = delete;
    ~STREAM();

    template <class T>
    STREAM &operator<<(const T &value) & {
        *m_text << value;
        return *this;
    }
    template <class T>
    STREAM &&operator<<(const T &value) && {
        *m_text << value;
        return std::move(*this);
    }
    /// Manipulators that are templates themselves, such as std::endl.
    STREAM &operator<<(std::ostream &(*manipulator)(std::ostream &)) &;
    STREAM &&operator<<(std::ostream &(*manipulator)(std::ostream &)) &&;

private:
    SEVERITY m_severity;
    std::unique_ptr<std::ostringstream> m_text;
};

/// \name Streamed log lines
/// \{
NYX_REPORT_API STREAM err(PREFIX_VIEW prefix);
NYX_REPORT_API STREAM warn(PREFIX_VIEW prefix);
NYX_REPORT_API STREAM info(PREFIX_VIEW prefix);
/// \}

/// A message code with its text.
class NYX_REPORT_API NYX_REPORT_MESSAGE_CODE {
public:
    NYX_REPORT_MESSAGE_CODE(std::string code, std::string text);

    const std::string &code() const noexcept { return m_code; }
    /// The text, with its `%1%` placeholders.
    const std::string &text() const noexcept { return m_text; }
    /// The text as a format to feed the arguments into, in their order. Include <boost/format.hpp> to use it. The
    /// format does not throw when it is fed too few or too many: a message that lacks a word is better than none.
    boost::format to_boost() const;

private:
    std::string m_code;
    std::string m_text;
};

/// All message codes. Their texts stand in one table, nyx_report_messages.def. All members are thread-safe.
class NYX_REPORT_API NYX_REPORT_MESSAGE_CODE_DB {
public:
    /// Without any message.
    NYX_REPORT_MESSAGE_CODE_DB();
    ~NYX_REPORT_MESSAGE_CODE_DB();
    NYX_REPORT_MESSAGE_CODE_DB(const NYX_REPORT_MESSAGE_CODE_DB &) = delete;
    NYX_REPORT_MESSAGE_CODE_DB &operator=(const NYX_REPORT_MESSAGE_CODE_DB &) = delete;

    /// Takes in the table; does nothing when that has been done.
    void load();

    /// The message of `code`, owned by this database and valid as long as it. An unknown code has a text that names the
    /// code and shows the first argument. O(log n).
    const NYX_REPORT_MESSAGE_CODE &get(std::string_view code);

    /// True if the table has the code and has been loaded.
    bool contains(std::string_view code) const;

    /// The number of codes that contains() tells.
    std::size_t size() const;

private:
    struct IMPL;
    std::unique_ptr<IMPL> m_impl;
};

/// Loads the process's message database.
NYX_REPORT_API void load_message_codes();

/// The process's message database, loaded or not. Never null, and never destroyed.
NYX_REPORT_API NYX_REPORT_MESSAGE_CODE_DB *get_msg_db();

/// Times a named operation from its construction to its destruction. Costs two clock reads and a locked append while a
/// trace is recorded, and a test otherwise. `name` is UTF-8, not null, and must outlive the scope. A scope that was
/// entered before the recording started, or is left after it stopped, is not in the trace.
class NYX_REPORT_API NYX_REPORT_PROFILE {
public:
    explicit NYX_REPORT_PROFILE(const char *name);
    ~NYX_REPORT_PROFILE();
    NYX_REPORT_PROFILE(const NYX_REPORT_PROFILE &) = delete;
    NYX_REPORT_PROFILE &operator=(const NYX_REPORT_PROFILE &) = delete;

private:
    const char *m_name;
    long long m_start_ns;
};

/// Starts recording profile scopes, of all threads, and forgets what was recorded before. The environment variable
/// NYX_REPORT_TRACE, a file's path, starts it at the first scope and writes the file at a normal end of the process.
NYX_REPORT_API void start_trace();

/// Stops recording and writes what was recorded in the Chrome trace format (JSON, complete events, microseconds since
/// the start). What was recorded is kept until the next start.
NYX_REPORT_API void write_trace(std::ostream &out);

} // namespace NYX_REPORT

/// The text of a message code with `arguments` for its `%1%`, `%2%` ...: loads the process's message database and looks
/// the code up. Never fails for a wrong number of arguments: a missing one reads "<no arg provided>" and one too many
/// is appended.
NYX_REPORT_API std::string nyx_format_message_code(std::string_view code,
                                                   std::initializer_list<std::string_view> arguments);

/// Writes the current call stack, a frame a line, innermost first, without the frame of this function, up to 50 frames.
/// Functions of a program that was linked without -rdynamic have a name only if it has debug information.
NYX_REPORT_API void nyx_report_get_backtrace(std::ostringstream &out);

/// \name Checks
/// They stay in the released build: they are behaviour, not debugging aids.
/// \{
/// Ends the run unless `condition` holds.
#define NYX_CHECK(condition)                                                                                           \
    (__builtin_expect(static_cast<bool>(condition), 1)                                                                 \
         ? static_cast<void>(0)                                                                                        \
         : ::NYX_REPORT::detail::assert_at_line(#condition, __FILE__, __LINE__))
/// Ends the run with a printf text unless `condition` holds.
#define NYX_CHECK_MSG(condition, ...) NYX_CHECK_AS(condition, #condition, __VA_ARGS__)
/// As NYX_CHECK_MSG, where the reported expression is not the tested one to the letter.
#define NYX_CHECK_AS(condition, expression, ...)                                                                       \
    (__builtin_expect(static_cast<bool>(condition), 1)                                                                 \
         ? static_cast<void>(0)                                                                                        \
         : ::NYX_REPORT::detail::assert_at_line(expression, __FILE__, __LINE__ __VA_OPT__(, ) __VA_ARGS__))
/// Ends the run with a printf text: the place can't be reached, or there is no way on.
#define NYX_FATAL(...) ::NYX_REPORT::detail::fatal_exit_at_line(__FILE__, __LINE__, __VA_ARGS__)
/// \}

#endif
