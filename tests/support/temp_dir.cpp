#include "support/temp_dir.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace fs = std::filesystem;

namespace {

fs::path make_directory() {
    std::string name = (fs::temp_directory_path() / "nyx_test_XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw fs::filesystem_error("no temporary directory", name, std::error_code(errno, std::system_category()));
    }
    return name;
}

} // namespace

TEMP_DIR::TEMP_DIR() : m_path(make_directory()) {}

TEMP_DIR::~TEMP_DIR() {
    std::error_code ignored; // a test may have taken the permission away: that is its own failure
    fs::remove_all(m_path, ignored);
}
