#ifndef NYX_TEST_SCOPED_ENV_H
#define NYX_TEST_SCOPED_ENV_H

#include <optional>
#include <string>

/// Sets or unsets an environment variable for its lifetime, and puts back what was there before. Nest them strictly;
/// for a test without other threads.
class SCOPED_ENV {
public:
    /// No value unsets the variable.
    SCOPED_ENV(std::string variable, const std::optional<std::string> &value);
    ~SCOPED_ENV();
    SCOPED_ENV(const SCOPED_ENV &) = delete;
    SCOPED_ENV &operator=(const SCOPED_ENV &) = delete;

private:
    std::string m_variable;
    std::optional<std::string> m_previous;
};

#endif
