// Empty databases, rows of every table, and walks over lists against a plain linked list.
#include "netlist/nyx_chain.h"
#include "nyx/nyx.h"
#include "support/ratio_main.h"

#include "database/nyx_db_impl.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

long resident_bytes() {
    long pages = 0;
    if (std::FILE *const file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%*d %ld", &pages) != 1)
            pages = 0;
        std::fclose(file);
    }
    return pages * 4096;
}

void create_and_close(benchmark::State &state) {
    for (auto _ : state)
        NYX_DB::create_non_persistent(256, NYX_DB_TYPE::USER, "", "")->close();
    const long before = resident_bytes();
    NYX_DB *const db = NYX_DB::create_non_persistent(256, NYX_DB_TYPE::USER, "", "");
    state.counters["resident"] = double(resident_bytes() - before);
    db->close();
}

struct DATABASE {
    DATABASE() : db(NYX_DB::create_non_persistent(1024, NYX_DB_TYPE::USER, "", "")) {}
    ~DATABASE() { db->close(); }
    NYX_DB_PERSISTENT &root() { return *NYX_DB_IMPL::of(*db).m_persistent; }
    NYX_DB *db;
};

// A hundred thousand rows are made and freed in the order of their creation.
template <class T>
void rows(benchmark::State &state) {
    DATABASE database;
    auto &table = database.root().table<T>();
    std::vector<typename NYX_OBJECT_TRAITS<T>::impl *> made(100'000);
    for (auto _ : state) {
        for (auto &row : made) {
            if constexpr (requires { table.allocate(); })
                row = table.allocate();
            else
                row = table.allocate(1);
        }
        for (auto *const row : made) {
            if constexpr (requires { table.allocate(); })
                table.deallocate(row);
            else
                table.deallocate(table.get_id(row), 1);
        }
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * made.size()));
}

// A net in memory of its own, as wide as a net's row and its cells.
struct PLAIN_NET {
    PLAIN_NET *next = nullptr;
    PLAIN_NET *previous = nullptr;
    unsigned value[5] = {};
};

constexpr unsigned s_nets = 1'000'000;

void walk_nets(benchmark::State &state) {
    DATABASE database;
    NYX_MODULE *const module = NYX_MODULE::allocate(database.db, "m", 0, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
    for (unsigned i = 0; i < s_nets; ++i)
        NYX_NET::allocate(module, "n", false);
    unsigned powers = 0;
    for (auto _ : state)
        for (const NYX_NET *const net : module->const_iter_nets())
            powers += net->get_impl()->m_bits;
    benchmark::DoNotOptimize(powers);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * s_nets));
}

void walk_list(benchmark::State &state) {
    std::vector<PLAIN_NET> nets(s_nets);
    for (unsigned i = 1; i < s_nets; ++i)
        nets[i].next = &nets[i - 1];
    unsigned powers = 0;
    for (auto _ : state)
        for (const PLAIN_NET *net = &nets.back(); net != nullptr; net = net->next)
            powers += net->value[0];
    benchmark::DoNotOptimize(powers);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * s_nets));
}

BENCHMARK(create_and_close)->Name("create_and_close")->Unit(benchmark::kMicrosecond);

BENCHMARK(rows<NYX_NET>)->Name("rows/net")->Unit(benchmark::kMillisecond);
BENCHMARK(rows<NYX_INSTANCE>)->Name("rows/instance")->Unit(benchmark::kMillisecond);
BENCHMARK(rows<NYX_MODULE>)->Name("rows/module")->Unit(benchmark::kMillisecond);
BENCHMARK(rows<NYX_PORT>)->Name("rows/port")->Unit(benchmark::kMillisecond);
BENCHMARK(rows<NYX_INST_PORT>)->Name("rows/inst_port")->Unit(benchmark::kMillisecond);

BENCHMARK(walk_nets)->Name("walk/nyx")->Unit(benchmark::kMillisecond);
BENCHMARK(walk_list)->Name("walk/list")->Unit(benchmark::kMillisecond);
const NYX_BENCH::RATIO s_walk("walk", "list", 2.0);

} // namespace
