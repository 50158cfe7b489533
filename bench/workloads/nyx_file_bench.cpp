// Loads and saves against the coder alone, on the flat workload; and the opening of a small database.
#include "flat.h"

#include "database/nyx_db_image_check.h"
#include "database/nyx_db_impl.h"
#include "nyx/nyx.h"
#include "support/ratio_main.h"

#include <benchmark/benchmark.h>
#include <zstd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr unsigned s_instances = 300'000; // about 100 MB of image
constexpr std::size_t s_chunk = 32768;

// A directory in memory, so that what is timed is not the disk.
const fs::path &directory() {
    static const fs::path *const s_directory = [] {
        const fs::path memory = "/dev/shm";
        std::string name =
            ((fs::exists(memory) ? memory : fs::temp_directory_path()) / "nyx_file_bench_XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr)
            std::abort();
        std::atexit([] {
            std::error_code ignored;
            fs::remove_all(directory(), ignored);
        });
        return new fs::path(name);
    }();
    return *s_directory;
}

std::string file_of(NYX_COMPRESSION algorithm) {
    return directory() / ("flat_" + std::to_string(static_cast<unsigned>(algorithm)) + ".nyx");
}

// The flat netlist, open, and saved by each algorithm.
NYX_DB *flat() {
    static NYX_DB *const s_db = [] {
        NYX_DB *const db = NYX_DB::create_non_persistent(1024, NYX_DB_TYPE::USER, "", "");
        build_flat(db, s_instances);
        for (const NYX_COMPRESSION algorithm : {NYX_COMPRESSION::NONE, NYX_COMPRESSION::LZ4, NYX_COMPRESSION::ZSTD})
            NYX_DB_IMPL::of(*db).m_file->commit_impl(file_of(algorithm), algorithm, 3, s_chunk, {});
        return db;
    }();
    return s_db;
}

const std::string &image() {
    static const std::string s_image = [] {
        flat();
        std::ifstream file(file_of(NYX_COMPRESSION::NONE), std::ios::binary);
        file.seekg(53);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }();
    return s_image;
}

template <NYX_COMPRESSION ALGORITHM>
void load(benchmark::State &state) {
    flat();
    const std::string path = file_of(ALGORITHM);
    for (auto _ : state) {
        NYX_DB *const db = NYX_DB::open(path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY);
        state.PauseTiming();
        db->close();
        state.ResumeTiming();
    }
    state.counters["file_bytes"] = static_cast<double>(fs::file_size(path));
    state.counters["image_bytes"] = static_cast<double>(image().size());
}

// What `zstd -d` does: one stream, decoded to a file that is there.
void decode_stream(benchmark::State &state) {
    std::string coded(ZSTD_compressBound(image().size()), '\0');
    coded.resize(ZSTD_compress(coded.data(), coded.size(), image().data(), image().size(), 3));
    std::vector<char> out(ZSTD_DStreamOutSize());
    const std::string path = directory() / "decoded";
    for (auto _ : state) {
        std::FILE *const file = std::fopen(path.c_str(), fs::exists(path) ? "r+b" : "wb");
        ZSTD_DCtx *const context = ZSTD_createDCtx();
        ZSTD_inBuffer in{coded.data(), coded.size(), 0};
        while (in.pos < in.size) {
            ZSTD_outBuffer piece{out.data(), out.size(), 0};
            ZSTD_decompressStream(context, &piece, &in);
            std::fwrite(out.data(), 1, piece.pos, file);
        }
        ZSTD_freeDCtx(context);
        std::fclose(file);
    }
}

template <NYX_COMPRESSION ALGORITHM>
void save(benchmark::State &state) {
    NYX_MANAGED_SERIALISED_FILE &file = *NYX_DB_IMPL::of(*flat()).m_file;
    const std::string path = directory() / "saved.nyx";
    rusage before{}, after{};
    getrusage(RUSAGE_SELF, &before);
    for (auto _ : state)
        file.commit_impl(path, ALGORITHM, 3, s_chunk, {});
    getrusage(RUSAGE_SELF, &after);
    state.counters["peak_growth_bytes"] = static_cast<double>(after.ru_maxrss - before.ru_maxrss) * 1024;
    state.counters["file_bytes"] = static_cast<double>(fs::file_size(path));
}

// The same chunks by the coder and nothing else.
void code_chunks(benchmark::State &state) {
    const std::string path = directory() / "coded";
    std::vector<char> out(ZSTD_compressBound(s_chunk));
    image();
    for (auto _ : state) {
        std::FILE *const file = std::fopen(path.c_str(), "wb");
        ZSTD_CCtx *const context = ZSTD_createCCtx();
        for (std::size_t at = 0; at < image().size(); at += s_chunk) {
            const std::size_t size = std::min(s_chunk, image().size() - at);
            const std::size_t coded = ZSTD_compressCCtx(context, out.data(), out.size(), image().data() + at, size, 3);
            std::fwrite(out.data(), 1, coded, file);
        }
        ZSTD_freeCCtx(context);
        std::fclose(file);
    }
}

// The parts of a load that look at what was read: each block while it is in the cache, as it is after its chunk was
// decoded, and all else at the end.
void check_image(benchmark::State &state) {
    const std::string path = file_of(NYX_COMPRESSION::NONE);
    NYX_MANAGED_SERIALISED_FILE file(NYX_MANAGED_SERIALISED_FILE::OPEN_READ_ONLY{}, path);
    const char *const data = file.get_starting_address();
    volatile char sink;
    for (auto _ : state) {
        NYX_IMAGE_WALK walk(data, image().size());
        for (std::size_t at = 0; at < image().size();) {
            state.PauseTiming();
            const std::size_t end = std::min(at + s_chunk * 16, image().size());
            for (std::size_t i = at; i < end; i += 64)
                sink = data[i];
            at = end;
            state.ResumeTiming();
            walk.advance(at);
        }
        if (!walk.is_sound())
            std::abort();
        NYX_BLOCK_MAP blocks = walk.take_allocated_blocks();
        if (!nyx_find_sound_root(file.get_segment_manager(), std::move(blocks), NYX_DB_TYPE::USER, false))
            std::abort();
    }
    static_cast<void>(sink);
}

void open_small(benchmark::State &state) {
    const std::string path = directory() / "small.nyx";
    NYX_DB::create(path.c_str(), 16, NYX_DB_TYPE::USER, "small")->close();
    for (auto _ : state) {
        NYX_DB *const db = NYX_DB::open(path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY);
        state.PauseTiming();
        db->close();
        state.ResumeTiming();
    }
}

BENCHMARK(load<NYX_COMPRESSION::ZSTD>)->Name("load/nyx")->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(decode_stream)->Name("load/zstd_stream")->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(load<NYX_COMPRESSION::LZ4>)->Name("load/nyx_lz4")->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(load<NYX_COMPRESSION::NONE>)->Name("load/nyx_raw")->Iterations(3)->Unit(benchmark::kMillisecond);
const NYX_BENCH::RATIO s_load("load", "zstd_stream", 1.25);

BENCHMARK(save<NYX_COMPRESSION::ZSTD>)->Name("save/nyx")->Iterations(2)->Unit(benchmark::kMillisecond);
BENCHMARK(code_chunks)->Name("save/zstd_chunks")->Iterations(2)->Unit(benchmark::kMillisecond);
BENCHMARK(save<NYX_COMPRESSION::LZ4>)->Name("save/nyx_lz4")->Iterations(2)->Unit(benchmark::kMillisecond);
BENCHMARK(save<NYX_COMPRESSION::NONE>)->Name("save/nyx_raw")->Iterations(2)->Unit(benchmark::kMillisecond);
const NYX_BENCH::RATIO s_save("save", "zstd_chunks", 1.15);

BENCHMARK(check_image)->Name("check/nyx")->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(load<NYX_COMPRESSION::ZSTD>)->Name("check/load")->Iterations(3)->Unit(benchmark::kMillisecond);
const NYX_BENCH::RATIO s_check("check", "load", 0.05);

BENCHMARK(open_small)->Name("open_small/nyx")->Iterations(200)->Unit(benchmark::kMicrosecond);

} // namespace
