// The allocator against the stock best-fit algorithm over the same buffer, and columns against a plain array.
#include "memory/nyx_column.h"
#include "memory/nyx_segment.h"
#include "support/ratio_main.h"

#include <benchmark/benchmark.h>
#include <boost/interprocess/mem_algo/rbtree_best_fit.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <numeric>
#include <random>
#include <sys/mman.h>
#include <vector>

namespace {

constexpr std::size_t s_live_blocks = 1'000'000;
constexpr std::size_t s_buffer_size = std::size_t(1) << 30;

// In units of 8 bytes as ours, and as it comes, in units of 16: fewer sizes, so fewer splits and more waste.
using STOCK = boost::interprocess::rbtree_best_fit<boost::interprocess::null_mutex_family,
                                                   boost::interprocess::offset_ptr<void>, 8>;
using STOCK_16 =
    boost::interprocess::rbtree_best_fit<boost::interprocess::null_mutex_family, boost::interprocess::offset_ptr<void>>;
using OURS = NYX::MEM_ALGO::segment_algorithm;

// One buffer for all, with every page in place before anything is timed.
char *buffer() {
    static char *const s_buffer = [] {
        void *const pages = mmap(nullptr, s_buffer_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        madvise(pages, s_buffer_size, MADV_HUGEPAGE);
        return static_cast<char *>(std::memset(pages, 1, s_buffer_size));
    }();
    return s_buffer;
}

// Sizes from 8 to 4096 bytes, as many of each power of two.
std::vector<std::uint32_t> mixed_sizes(std::size_t count) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> exponent(3, 12);
    std::vector<std::uint32_t> sizes(count);
    for (std::uint32_t &size : sizes)
        size = static_cast<std::uint32_t>(std::exp2(exponent(random)));
    return sizes;
}

template <class ALGORITHM>
void allocate_mixed(benchmark::State &state) {
    static const std::vector<std::uint32_t> s_sizes = mixed_sizes(1 << 20);
    ALGORITHM *const algorithm = new (buffer()) ALGORITHM(s_buffer_size, 64);
    std::vector<void *> live(s_live_blocks);
    std::size_t at = 0;
    const auto next_size = [&at] { return s_sizes[at++ & (s_sizes.size() - 1)]; };
    for (void *&block : live)
        block = algorithm->allocate(next_size());
    std::mt19937 random(2);
    for (auto _ : state) {
        void *&block = live[random() % s_live_blocks];
        algorithm->deallocate(block);
        block = algorithm->allocate(next_size());
        if (block == nullptr)
            state.SkipWithError("the buffer is full");
    }
    state.counters["bytes"] = double(s_buffer_size - algorithm->get_free_memory());
}

// A row as wide as an instance's.
struct ROW {
    std::uint64_t words[4];
    std::uint32_t value;
    std::uint32_t other;
};
using COLUMN = NYX_FREE_LIST_COLUMN<NYX_PAGE<ROW, NYX_INSTANCE_ID, 1>>;
constexpr unsigned s_rows = 1'000'000;

struct ROWS {
    ROWS() : segment(std::size_t(1) << 28), array(s_rows), order(s_rows) {
        column =
            segment.get_segment_manager()->construct<COLUMN>("rows")(segment.data(), segment.get_segment_manager());
        std::iota(order.begin(), order.end(), 0u);
        for (unsigned i = 0; i < s_rows; ++i) {
            bool fresh_page = false;
            column->allocate(fresh_page)->value = i;
            array[i].value = i;
        }
        std::shuffle(order.begin(), order.end(), std::mt19937(3));
        for (const unsigned i : order)
            addresses.push_back(column->get(NYX_INSTANCE_ID(i)));
    }
    NYX_SEGMENT segment;
    COLUMN *column;
    std::vector<ROW> array;
    std::vector<unsigned> order;
    std::vector<const ROW *> addresses;
};

ROWS &rows() {
    static ROWS s_rows_data;
    return s_rows_data;
}

// Each iteration goes over all rows once.
void get_by_id(benchmark::State &state) {
    const ROWS &data = rows();
    unsigned sum = 0;
    for (auto _ : state)
        for (const unsigned i : data.order)
            sum += data.column->get(NYX_INSTANCE_ID(i))->value;
    benchmark::DoNotOptimize(sum);
}

void get_id_of_row(benchmark::State &state) {
    const ROWS &data = rows();
    unsigned sum = 0;
    for (auto _ : state)
        for (const ROW *const row : data.addresses)
            sum += COLUMN::get_id(row).get();
    benchmark::DoNotOptimize(sum);
}

void index_array(benchmark::State &state) {
    const ROWS &data = rows();
    unsigned sum = 0;
    for (auto _ : state)
        for (const unsigned i : data.order)
            sum += data.array[i].value;
    benchmark::DoNotOptimize(sum);
}

BENCHMARK(allocate_mixed<OURS>)->Name("allocate_free/nyx")->Iterations(1'000'000);
BENCHMARK(allocate_mixed<STOCK>)->Name("allocate_free/stock")->Iterations(1'000'000);
BENCHMARK(allocate_mixed<STOCK_16>)->Name("allocate_free/stock_16")->Iterations(1'000'000);
const NYX_BENCH::RATIO s_allocate_16("allocate_free", "stock_16", 1.1);
const NYX_BENCH::RATIO s_allocate("allocate_free", "stock", 1.1);

BENCHMARK(get_by_id)->Name("get/nyx")->Iterations(4)->Unit(benchmark::kMillisecond);
BENCHMARK(index_array)->Name("get/array")->Iterations(4)->Unit(benchmark::kMillisecond);
const NYX_BENCH::RATIO s_get("get", "array", 1.5);

BENCHMARK(get_id_of_row)->Name("get_id/nyx")->Iterations(4)->Unit(benchmark::kMillisecond);
BENCHMARK(index_array)->Name("get_id/array")->Iterations(4)->Unit(benchmark::kMillisecond);
const NYX_BENCH::RATIO s_get_id("get_id", "array", 1.5);

} // namespace
