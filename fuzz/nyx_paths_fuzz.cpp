// Reads arbitrary bytes as a paths file: as a stream, and as a file that can include itself. The base directory is a
// temporary one that holds nothing else, so an INCLUDE leads back to the input or nowhere.
#include "database/nyx_db_group.h"
#include "database/nyx_db_paths.h"
#include "silent_sink.h"
#include "support/temp_dir.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

namespace {

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

void read_as_stream(const std::string &text) {
    NYX_DB_GROUP group("fuzz");
    NYX_DB_PATHS_READER reader(group, text.size() % 2 == 0);
    std::istringstream stream(text);
    reader.read_paths_stream(stream, "/no/such/directory");
    check(group, reader.num_added(), text);
}

void read_as_file(const std::string &text) {
    const TEMP_DIR base_dir; // for one input: the process ends without destructors
    std::filesystem::create_directory(base_dir / "sub");
    const std::filesystem::path self = base_dir.path() / "self";
    std::ofstream(self, std::ios::binary) << text;
    NYX_DB_GROUP group("fuzz");
    NYX_DB_PATHS_READER reader(group, text.size() % 2 == 0);
    reader.load_paths_file(self.string());
    check(group, reader.num_added(), text);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    NYX_REPORT::set_sink(std::make_shared<SILENT_SINK>());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    read_as_stream(text);
    if (text.find("self") != std::string::npos)
        read_as_file(text);
    return 0;
}
