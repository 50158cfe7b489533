#ifndef NYX_TEST_TEMP_DIR_H
#define NYX_TEST_TEMP_DIR_H

#include <filesystem>
#include <string_view>

/// A new, empty directory that goes with all it holds when the object goes.
class TEMP_DIR {
public:
    /// Throws std::filesystem::filesystem_error if it can't be made.
    TEMP_DIR();
    ~TEMP_DIR();
    TEMP_DIR(const TEMP_DIR &) = delete;
    TEMP_DIR &operator=(const TEMP_DIR &) = delete;

    const std::filesystem::path &path() const noexcept { return m_path; }

    /// The path of `name` in it.
    std::filesystem::path operator/(std::string_view name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

#endif
