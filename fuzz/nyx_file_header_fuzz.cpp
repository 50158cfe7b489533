// Reads arbitrary bytes as the header of a database file. One that can be read is written again to the same bytes.
#include "file/nyx_file_header.h"
#include "nyx_report/nyx_report_exception.h"

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char *>(data), size);
    std::istringstream in(bytes);
    try {
        const NYX_DB_FILE_STATS header = nyx_read_file_header(in, "input");
        const auto end = static_cast<std::size_t>(in.tellg());
        if (header.tag.size() > size || header.data_size > header.default_size || end != 53 + header.tag.size())
            std::abort();
        std::ostringstream out;
        const NYX_POSTAMBLE_POS position = nyx_write_file_header(out, header, "output");
        nyx_write_file_postamble(out, position, header, "output");
        if (out.str() != bytes.substr(0, end))
            std::abort();
    } catch (const NYX_FILE_IO_EXCEPTION &) {
        if (in.tellg() != std::streampos(0))
            std::abort();
    } catch (const NYX_DATABASE_CORRUPTED_EXCEPTION &) {
    } catch (const NYX_DATABASE_OLD_VERSION_EXCEPTION &exception) {
        if (exception.found_version() >= 2)
            std::abort();
    }
    return 0;
}
