#include "nyx_report/nyx_report_exception.h"

#include "nyx_report_internal.h"

namespace {

/// Comes before the base class is made, so that no exception with an unset code ever exists.
std::string file_io_text(const std::string &path, std::error_code error_code, unsigned int operation) {
    constexpr const char *verbs[] = {"read from", "write to", "rename"};
    constexpr unsigned int RENAME = NYX_FILE_IO_EXCEPTION::RENAME;
    NYX_CHECK_AS(static_cast<bool>(error_code), "error_code");
    NYX_CHECK_MSG(operation <= RENAME, "%u is no file operation", operation);
    return std::string("Failed to ") + verbs[operation] + " \"" + path + "\" : " + error_code.message();
}

std::string with_place(const std::string &text, const char *function, const char *file, int line) {
    return text + " from function " + function + " in " + file + '@' + std::to_string(line);
}

/// The variable is read at every raise: a debugger sets it in a process that runs.
template <class EXCEPTION>
[[noreturn]] void raise(const std::string &text, const char *function, const char *file, int line) {
    const std::string message = with_place(text, function, file, line);
    if (NYX_REPORT::detail::is_environment_set("NYX_ASSERT_ACCESS")) {
        NYX_REPORT::detail::assert_at_line("0", file, line, "%s", message.c_str());
    }
    throw EXCEPTION(message);
}

} // namespace

// The destructors stand here so that each class has its type information in this library only: an exception is then
// caught across the borders of libraries.
NYX_EXCEPTION::~NYX_EXCEPTION() = default;
NYX_BASIC_EXCEPTION::~NYX_BASIC_EXCEPTION() = default;
NYX_INVALID_ARGUMENT::~NYX_INVALID_ARGUMENT() = default;
NYX_RUNTIME_ERROR::~NYX_RUNTIME_ERROR() = default;
NYX_FILE_IO_EXCEPTION::~NYX_FILE_IO_EXCEPTION() = default;
NYX_DATABASE_CORRUPTED_EXCEPTION::~NYX_DATABASE_CORRUPTED_EXCEPTION() = default;
NYX_DATABASE_OLD_VERSION_EXCEPTION::~NYX_DATABASE_OLD_VERSION_EXCEPTION() = default;

NYX_BASIC_EXCEPTION::NYX_BASIC_EXCEPTION(std::string message) : m_message(std::move(message)) {}

const char *NYX_BASIC_EXCEPTION::what() const noexcept {
    return m_message.c_str();
}

NYX_FILE_IO_EXCEPTION::NYX_FILE_IO_EXCEPTION(const std::string &path, std::error_code error_code,
                                             unsigned int operation)
    : NYX_BASIC_EXCEPTION(file_io_text(path, error_code, operation))
    , m_path(path)
    , m_code(error_code)
    , m_operation(operation) {}

NYX_DATABASE_CORRUPTED_EXCEPTION::NYX_DATABASE_CORRUPTED_EXCEPTION(const std::string &path)
    : NYX_BASIC_EXCEPTION("NYX database \"" + path + "\" is corrupted")
    , m_path(path) {}

NYX_DATABASE_OLD_VERSION_EXCEPTION::NYX_DATABASE_OLD_VERSION_EXCEPTION(const std::string &path,
                                                                       unsigned int expected_version,
                                                                       unsigned int found_version)
    : NYX_BASIC_EXCEPTION("NYX database \"" + path + "\" created using NYX_MANAGED_SERIALISED_FILE version " +
                          std::to_string(found_version) + " is not compatible with current version " +
                          std::to_string(expected_version))
    , m_path(path)
    , m_expected_version(expected_version)
    , m_found_version(found_version) {}

void nyx_raise_invalid_argument(const std::string &text, const char *function, const char *file, int line) {
    raise<NYX_INVALID_ARGUMENT>(text, function, file, line);
}

void nyx_raise_runtime_error(const std::string &text, const char *function, const char *file, int line) {
    raise<NYX_RUNTIME_ERROR>(text, function, file, line);
}
