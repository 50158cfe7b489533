#include "support/scoped_env.h"

#include <cstdlib>

namespace {

void set_env(const std::string &variable, const std::optional<std::string> &value) {
    if (value) {
        ::setenv(variable.c_str(), value->c_str(), 1);
    } else {
        ::unsetenv(variable.c_str());
    }
}

std::optional<std::string> get_env(const std::string &variable) {
    const char *const value = std::getenv(variable.c_str());
    return value ? std::optional<std::string>(value) : std::nullopt;
}

} // namespace

SCOPED_ENV::SCOPED_ENV(std::string variable, const std::optional<std::string> &value)
    : m_variable(std::move(variable))
    , m_previous(get_env(m_variable)) {
    set_env(m_variable, value);
}

SCOPED_ENV::~SCOPED_ENV() {
    set_env(m_variable, m_previous);
}
