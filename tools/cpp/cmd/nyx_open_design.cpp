#include "cmd/nyx_open_design.h"

#include "io/nyx_io_error.h"

#include <filesystem>

namespace {

NYX_DB *open(const std::string &path, NYX_DB::ACCESS_MODE mode) {
    NYX_DB::init("", false);
    const std::filesystem::path folder = std::filesystem::absolute(path).parent_path();
    const std::filesystem::path paths = folder / "nyx.paths";
    std::error_code error;
    if (std::filesystem::is_regular_file(paths, error))
        NYX_DB::add_nyx_paths(paths.string(), folder.string(), false);
    return NYX_DB::open(path.c_str(), mode);
}

} // namespace

NYX_OPEN_DESIGN::NYX_OPEN_DESIGN(const std::string &path, NYX_DB::ACCESS_MODE mode) : m_db(open(path, mode)) {}

NYX_OPEN_DESIGN::~NYX_OPEN_DESIGN() {
    m_db->disable_commit_on_close();
    m_db->close();
}

const char *nyx_name_of_type(NYX_DB_TYPE type) {
    switch (type) {
    case NYX_DB_TYPE::DEVICE:
        return "device";
    case NYX_DB_TYPE::USER:
        return "design";
    case NYX_DB_TYPE::COMPONENT:
        return "component library";
    case NYX_DB_TYPE::DEFINITION:
        return "definition library";
    case NYX_DB_TYPE::WORKING_LIBRARY:
        return "working library";
    }
    return "unknown";
}

std::string nyx_message_of(const std::exception &error) {
    std::string text = error.what();
    text = text.substr(0, text.find(" from function "));
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

std::string nyx_database_path(const std::string &path) {
    const std::string name = std::filesystem::path(path).filename().string();
    if (name.empty() || name == ".nyx" || name == "." || name == "..")
        throw NYX_IO_ERROR("\"" + nyx_printable(path) + "\": a database needs a name");
    return path.ends_with(".nyx") ? path : path + ".nyx";
}
