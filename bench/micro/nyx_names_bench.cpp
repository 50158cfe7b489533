// Interning names against a hash map of strings, in three populations: short local names, names with a hierarchy in
// front, and bits of buses.
#include "memory/nyx_segment.h"
#include "names/nyx_name_mgr.h"
#include "support/ratio_main.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <malloc.h>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr std::size_t s_count = 1'000'000;

std::string short_name(std::size_t i) {
    return "n_" + std::to_string(i);
}
std::string hier_name(std::size_t i) {
    return "u_core_" + std::to_string(i / 250'000) + "/u_alu_" + std::to_string(i / 5'000 % 50) + "/n_" +
           std::to_string(i);
}
std::string bus_name(std::size_t i) {
    return "u_alu/data_" + std::to_string(i / 256) + "[" + std::to_string(i % 256) + "]";
}

using MAKE_NAME = std::string (*)(std::size_t);

template <MAKE_NAME MAKE>
struct NAMES {
    NAMES() {
        for (std::size_t i = 0; i < s_count; ++i)
            list.push_back(MAKE(i));
        shuffled = list;
        std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(5));
    }
    static const NAMES &get() {
        static const NAMES s_names;
        return s_names;
    }
    std::vector<std::string> list;
    std::vector<std::string> shuffled;
};

using MAP = std::unordered_map<std::string, std::uint32_t>;

std::size_t heap_bytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

struct OURS {
    OURS() : segment(std::size_t(1) << 30), names(segment.get_segment_manager()) {}
    NYX_SEGMENT segment;
    NYX_NAME_MANAGER names;
};

template <MAKE_NAME MAKE>
void intern_ours(benchmark::State &state) {
    const auto &names = NAMES<MAKE>::get();
    for (auto _ : state) {
        state.PauseTiming();
        auto ours = std::make_unique<OURS>();
        const auto before = ours->segment.algorithm().get_allocated();
        state.ResumeTiming();
        for (const std::string &name : names.list)
            benchmark::DoNotOptimize(ours->names.get_id(name.c_str()));
        state.PauseTiming();
        state.counters["bytes"] = double(ours->segment.algorithm().get_allocated() - before) / s_count;
        ours.reset();
        state.ResumeTiming();
    }
}

template <MAKE_NAME MAKE>
void intern_map(benchmark::State &state) {
    const auto &names = NAMES<MAKE>::get();
    for (auto _ : state) {
        state.PauseTiming();
        const std::size_t before = heap_bytes();
        auto map = std::make_unique<MAP>();
        state.ResumeTiming();
        for (const std::string &name : names.list)
            benchmark::DoNotOptimize(map->emplace(name, std::uint32_t(map->size())));
        state.PauseTiming();
        state.counters["bytes"] = double(heap_bytes() - before) / s_count;
        map.reset();
        state.ResumeTiming();
    }
}

template <MAKE_NAME MAKE>
void find_ours(benchmark::State &state) {
    const auto &names = NAMES<MAKE>::get();
    OURS ours;
    for (const std::string &name : names.list)
        ours.names.get_id(name.c_str());
    for (auto _ : state)
        for (const std::string &name : names.shuffled)
            benchmark::DoNotOptimize(ours.names.find_id(name.c_str()));
}

template <MAKE_NAME MAKE>
void find_map(benchmark::State &state) {
    const auto &names = NAMES<MAKE>::get();
    MAP map;
    for (const std::string &name : names.list)
        map.emplace(name, std::uint32_t(map.size()));
    for (auto _ : state)
        for (const std::string &name : names.shuffled)
            benchmark::DoNotOptimize(map.find(name));
}

#define NYX_NAMES_BENCH(population)                                                                                    \
    BENCHMARK(intern_ours<population>)                                                                                 \
        ->Name("intern_" #population "/nyx")                                                                           \
        ->Iterations(1)                                                                                                \
        ->Unit(benchmark::kMillisecond);                                                                               \
    BENCHMARK(intern_map<population>)                                                                                  \
        ->Name("intern_" #population "/map")                                                                           \
        ->Iterations(1)                                                                                                \
        ->Unit(benchmark::kMillisecond);                                                                               \
    BENCHMARK(find_ours<population>)->Name("find_" #population "/nyx")->Iterations(1)->Unit(benchmark::kMillisecond);  \
    BENCHMARK(find_map<population>)->Name("find_" #population "/map")->Iterations(1)->Unit(benchmark::kMillisecond);   \
    const NYX_BENCH::RATIO s_intern_##population("intern_" #population, "map", 1.3);                                   \
    const NYX_BENCH::RATIO s_bytes_##population("intern_" #population, "map", 0.8, "bytes");                           \
    const NYX_BENCH::RATIO s_find_##population("find_" #population, "map", 1.0)

NYX_NAMES_BENCH(short_name);
NYX_NAMES_BENCH(hier_name);
NYX_NAMES_BENCH(bus_name);

} // namespace
