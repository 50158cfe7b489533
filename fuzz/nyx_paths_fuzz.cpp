// Reads arbitrary bytes as a paths file: as a stream, and as a file that can include itself. The base directory is a
// temporary one that holds nothing else, so an INCLUDE leads back to the input or nowhere.
#include "database/nyx_db_group.h"
#include "database/nyx_db_paths.h"
#include "nyx_report/nyx_report.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

namespace {

class SILENT_SINK final : public NYX_REPORT::SINK {
public:
    void write(NYX_REPORT::SEVERITY, std::string_view) override {}
};

class BASE_DIR {
public:
    BASE_DIR() {
        std::string name = (std::filesystem::temp_directory_path() / "nyx_paths_fuzz_XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr)
            std::abort();
        m_path = name;
        std::filesystem::create_directory(m_path / "sub");
        NYX_REPORT::set_sink(std::make_shared<SILENT_SINK>());
    }
    ~BASE_DIR() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    const std::filesystem::path &path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

void require(bool holds) {
    if (!holds)
        std::abort();
}

// What was stored are words, and no more of them than the input has lines.
void check(const NYX_DB_GROUP &group, std::size_t num_added, const std::string &text) {
    std::set<std::string> names;
    group.find_known_db_names(names);
    require(names.size() <= num_added);
    std::size_t num_lines = 1;
    for (const char c : text)
        num_lines += c == '\n';
    require(names.size() <= num_lines);
    for (const std::string &name : names) {
        require(!name.empty() && name.find_first_of(" \t\n\v\f\r") == std::string::npos);
        require(!group.lookup(name).path.empty());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const BASE_DIR s_base_dir;
    const std::string text(reinterpret_cast<const char *>(data), size);

    NYX_DB_GROUP from_stream("fuzz");
    NYX_DB_PATHS_READER stream_reader(from_stream, size % 2 == 0);
    std::istringstream stream(text);
    stream_reader.read_paths_stream(stream, "/no/such/directory");
    check(from_stream, stream_reader.num_added(), text);

    const std::filesystem::path self = s_base_dir.path() / "self";
    std::ofstream(self, std::ios::binary) << text;
    NYX_DB_GROUP from_file("fuzz");
    NYX_DB_PATHS_READER file_reader(from_file, size % 2 == 0);
    file_reader.load_paths_file(self.string());
    check(from_file, file_reader.num_added(), text);
    return 0;
}
