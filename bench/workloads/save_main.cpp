// Saves a database by LZ4 and raw, which the public interface does not offer, and prints the figures: CPU seconds and
// the bytes of the files.
//
//     nyx_workload_save FROM.nyx LZ4.nyx RAW.nyx
#include "figures.h"

#include "database/nyx_db_impl.h"
#include "nyx/nyx.h"

#include <cstdio>
#include <exception>
#include <filesystem>

int main(int argc, char **argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: nyx_workload_save FROM.nyx LZ4.nyx RAW.nyx\n");
        return 2;
    }
    try {
        using FILE_OF_DB = NYX_MANAGED_SERIALISED_FILE;
        FIGURES figures;
        NYX_DB *const db = NYX_DB::open(argv[1], NYX_DB::ACCESS_MODE::READ_ONLY);
        const auto save = [&](const char *name, NYX_COMPRESSION algorithm, const char *path) {
            figures.time(std::string("save.") + name, [&] {
                NYX_DB_IMPL::of(*db).m_file->commit_impl(path, algorithm, FILE_OF_DB::s_default_level,
                                                         FILE_OF_DB::s_default_chunk_size, {});
            });
            figures.add(std::string("file.") + name, double(std::filesystem::file_size(path)), "bytes");
        };
        save("lz4", NYX_COMPRESSION::LZ4, argv[2]);
        save("raw", NYX_COMPRESSION::NONE, argv[3]);
        db->close();
        figures.print(false);
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "nyx_workload_save: %s\n", error.what());
        return 2;
    }
}
