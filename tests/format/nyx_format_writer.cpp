// Writes database files of every algorithm into a directory, and prints what the library says of them: a line of the
// header's fields and one of the blocks for each file.
#include "file/nyx_managed_serialised_file.h"
#include "nyx/nyx_db.h"

#include <cstdio>
#include <string>

namespace {

void write(const std::string &path, NYX_COMPRESSION algorithm, unsigned chunk_size, bool checksum, const char *tag,
           std::size_t size) {
    NYX_MANAGED_SERIALISED_FILE file(size, NYX_DB_TYPE::COMPONENT, tag);
    NYX_SEGMENT_MANAGER *const manager = file.get_segment_manager();
    nyx_clear_object_padding(manager->construct<int>("NYX")(1));
    void *held[50];
    for (unsigned i = 0; i < 50; ++i) {
        held[i] = manager->allocate(17 + i * 97 % 1000);
        std::memset(held[i], static_cast<int>('a' + i % 26), 17);
    }
    for (unsigned i = 0; i < 50; i += 3)
        manager->deallocate(held[i]);
    NYX_FILE_OPTIONS options;
    options.frame_checksum = checksum;
    options.durable = false;
    file.commit_impl(path, algorithm, 3, chunk_size, options);

    const NYX_MANAGED_SERIALISED_FILE loaded(NYX_MANAGED_SERIALISED_FILE::OPEN_READ_ONLY(), path);
    const NYX_DB_FILE_STATS stats = NYX_DB::get_file_stats(path);
    std::printf("%s\n%u %u %llu %s. %u %u %llu %llu %llu\n", path.c_str(), stats.version,
                static_cast<unsigned>(stats.type), static_cast<unsigned long long>(stats.schema_id), stats.tag.c_str(),
                stats.compression_algorithm, stats.chunk_size, static_cast<unsigned long long>(stats.default_size),
                static_cast<unsigned long long>(stats.data_size), static_cast<unsigned long long>(stats.payload_size));
    nyx_get_algorithm(loaded.get_segment_manager())->for_each_block([](const auto &block) {
        std::printf("%llu,%llu,%d ", static_cast<unsigned long long>(block.offset),
                    static_cast<unsigned long long>(block.units), block.allocated ? 1 : 0);
    });
    std::printf("\n");
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2)
        return 2;
    const std::string directory = argv[1];
    for (const char *const tag : {"", "made-by-a-test"}) {
        const std::string place = directory + "/" + (*tag ? "tagged" : "plain");
        write(place + "_raw.nyx", NYX_COMPRESSION::NONE, 32768, true, tag, 1 << 20);
        write(place + "_lz4.nyx", NYX_COMPRESSION::LZ4, 5000, true, tag, 1 << 20);
        write(place + "_zstd.nyx", NYX_COMPRESSION::ZSTD, 32768, true, tag, 1 << 20);
        write(place + "_zstd_small.nyx", NYX_COMPRESSION::ZSTD, 777, false, tag, (1 << 20) + 5);
    }
    return 0;
}
