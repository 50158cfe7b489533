#ifndef NYX_REPORT_EXCEPTION_H
#define NYX_REPORT_EXCEPTION_H

/// \file
/// The exceptions that the library throws, and the two helpers that raise those for callers' mistakes and failed
/// operations. All are thrown by value and caught by reference. Exhausted segment memory is not among them: it surfaces
/// as boost::interprocess::bad_alloc.

#include "nyx_report/nyx_report.h"

#include <exception>
#include <string>
#include <system_error>

/// Root of the family.
class NYX_REPORT_API NYX_EXCEPTION : public std::exception {
public:
    ~NYX_EXCEPTION() override;
};

/// Base of all that are thrown: carries the message.
class NYX_REPORT_API NYX_BASIC_EXCEPTION : public NYX_EXCEPTION {
public:
    explicit NYX_BASIC_EXCEPTION(std::string message);
    ~NYX_BASIC_EXCEPTION() override;

    const char *what() const noexcept override;

private:
    std::string m_message;
};

/// The caller passed something unusable.
class NYX_REPORT_API NYX_INVALID_ARGUMENT : public NYX_BASIC_EXCEPTION {
public:
    using NYX_BASIC_EXCEPTION::NYX_BASIC_EXCEPTION;
    ~NYX_INVALID_ARGUMENT() override;
};

/// The operation could not be completed.
class NYX_REPORT_API NYX_RUNTIME_ERROR : public NYX_BASIC_EXCEPTION {
public:
    using NYX_BASIC_EXCEPTION::NYX_BASIC_EXCEPTION;
    ~NYX_RUNTIME_ERROR() override;
};

/// A file stream failed. The message is "Failed to VERB "PATH" : SYSTEM TEXT".
class NYX_REPORT_API NYX_FILE_IO_EXCEPTION : public NYX_BASIC_EXCEPTION {
public:
    /// What was being done to the file.
    enum OPERATION : unsigned int { READ = 0, WRITE = 1, RENAME = 2 };

    /// Ends the run unless `error_code` is set ("error_code") and `operation` is one of OPERATION
    /// ("operation <= RENAME"). A stream that failed without a system error is std::io_errc::stream.
    NYX_FILE_IO_EXCEPTION(const std::string &path, std::error_code error_code, unsigned int operation);
    ~NYX_FILE_IO_EXCEPTION() override;

    const std::string &path() const noexcept { return m_path; }
    const std::error_code &code() const noexcept { return m_code; }
    unsigned int operation() const noexcept { return m_operation; }

private:
    std::string m_path;
    std::error_code m_code;
    unsigned int m_operation;
};

/// A database file that can't be what a save wrote. The message is "NYX database "PATH" is corrupted".
class NYX_REPORT_API NYX_DATABASE_CORRUPTED_EXCEPTION : public NYX_BASIC_EXCEPTION {
public:
    explicit NYX_DATABASE_CORRUPTED_EXCEPTION(const std::string &path);
    ~NYX_DATABASE_CORRUPTED_EXCEPTION() override;

    const std::string &path() const noexcept { return m_path; }

private:
    std::string m_path;
};

/// A database file of another version of the format. The message is "NYX database "PATH" created using
/// NYX_MANAGED_SERIALISED_FILE version FOUND is not compatible with current version EXPECTED".
class NYX_REPORT_API NYX_DATABASE_OLD_VERSION_EXCEPTION : public NYX_BASIC_EXCEPTION {
public:
    NYX_DATABASE_OLD_VERSION_EXCEPTION(const std::string &path, unsigned int expected_version,
                                       unsigned int found_version);
    ~NYX_DATABASE_OLD_VERSION_EXCEPTION() override;

    const std::string &path() const noexcept { return m_path; }
    unsigned int expected_version() const noexcept { return m_expected_version; }
    unsigned int found_version() const noexcept { return m_found_version; }

private:
    std::string m_path;
    unsigned int m_expected_version;
    unsigned int m_found_version;
};

/// \name Raise helpers
/// Throw the exception that the name tells, with `text` and behind it " from function FUNCTION in FILE@LINE". With the
/// environment variable NYX_ASSERT_ACCESS set to a non-empty value at the time of the call they fail a check with the
/// expression "0" and that text instead, so that a debugger finds the stack intact. Called through the macros below,
/// which supply the place.
/// \{
[[noreturn]] NYX_REPORT_API void nyx_raise_invalid_argument(const std::string &text, const char *function,
                                                            const char *file, int line);
[[noreturn]] NYX_REPORT_API void nyx_raise_runtime_error(const std::string &text, const char *function,
                                                         const char *file, int line);
/// \}

/// `function` is the qualified name as a literal, such as "NYX_DB::open".
#define NYX_RAISE_INVALID_ARGUMENT(function, text) ::nyx_raise_invalid_argument((text), (function), __FILE__, __LINE__)
#define NYX_RAISE_RUNTIME_ERROR(function, text) ::nyx_raise_runtime_error((text), (function), __FILE__, __LINE__)

#endif
