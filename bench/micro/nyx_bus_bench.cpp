// A bus of 4,096 bits: made, cut into slices, given another range, deleted; and a design of ten thousand buses.
#include "nyx/nyx.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

constexpr int s_bits = 4096;
constexpr int s_buses = 10'000;
constexpr int s_bits_of_bus = 16;

struct DATABASE {
    DATABASE() : db(NYX_DB::create_non_persistent(1024, NYX_DB_TYPE::USER, "", "")) {}
    ~DATABASE() { db->close(); }

    NYX_DB *db;
    NYX_MODULE *module = NYX_MODULE::allocate(db, "m", 0, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
};

struct WIDE {
    WIDE() {
        for (int i = 0; i < s_bits; ++i)
            nets.push_back(NYX_NET::allocate(database.module, "d[" + std::to_string(i) + "]", false));
    }
    NYX_NET_BUS *make() {
        NYX_NET_BUS *const bus = NYX_NET_BUS::allocate(database.module, "d", s_bits - 1, 0);
        for (int i = 0; i < s_bits; ++i)
            bus->set_net(i, nets[static_cast<std::size_t>(i)]);
        return bus;
    }

    DATABASE database;
    std::vector<NYX_NET *> nets;
};

void build_and_delete(benchmark::State &state) {
    WIDE wide;
    for (auto _ : state)
        wide.make()->deallocate();
    state.SetItemsProcessed(state.iterations() * s_bits);
}

void slices(benchmark::State &state) {
    WIDE wide;
    const NYX_NET_BUS *const bus = wide.make();
    const int width = static_cast<int>(state.range(0));
    for (auto _ : state) {
        for (int right = 0; right < s_bits; right += width)
            benchmark::DoNotOptimize(bus->get_nets({NYX_BUS_DIMENSION(right + width - 1, right)}));
    }
    state.SetItemsProcessed(state.iterations() * s_bits);
}

void queries(benchmark::State &state) {
    WIDE wide;
    const NYX_NET_BUS *const bus = wide.make();
    const std::string query = "d[1031:1000]";
    for (auto _ : state)
        benchmark::DoNotOptimize(bus->get_nets(query));
    state.SetItemsProcessed(state.iterations());
}

void walk(benchmark::State &state) {
    WIDE wide;
    NYX_NET_BUS *const bus = wide.make();
    for (auto _ : state) {
        for (NYX_NET *const net : bus->iter_nets())
            benchmark::DoNotOptimize(net);
    }
    state.SetItemsProcessed(state.iterations() * s_bits);
}

// To a range of one bit more and back.
void change_range(benchmark::State &state) {
    WIDE wide;
    NYX_NET_BUS *const bus = wide.make();
    for (auto _ : state) {
        bus->set_indices(s_bits, 0);
        bus->set_indices(s_bits - 1, 0);
    }
    state.SetItemsProcessed(state.iterations() * 2 * s_bits);
}

void ten_thousand_buses(benchmark::State &state) {
    for (auto _ : state) {
        DATABASE database;
        for (int b = 0; b < s_buses; ++b) {
            const std::string name = "bus_" + std::to_string(b);
            NYX_NET_BUS *const bus = NYX_NET_BUS::allocate(database.module, name, s_bits_of_bus - 1, 0);
            for (int i = 0; i < s_bits_of_bus; ++i)
                bus->set_net(i, NYX_NET::allocate(database.module, name + '[' + std::to_string(i) + ']', false));
        }
        state.PauseTiming();
        state.counters["bytes_per_bus"] = double(database.db->get_internal_stats().get_used()) / s_buses;
        state.ResumeTiming();
        while (!database.module->iter_net_buses().empty())
            (*database.module->iter_net_buses().begin())->deallocate();
    }
    state.SetItemsProcessed(state.iterations() * s_buses);
}

} // namespace

BENCHMARK(build_and_delete)->Name("bus_4096/build_and_delete");
BENCHMARK(slices)->Name("bus_4096/slices")->Arg(8)->Arg(64)->Arg(4096);
BENCHMARK(queries)->Name("bus_4096/query_of_32");
BENCHMARK(walk)->Name("bus_4096/walk");
BENCHMARK(change_range)->Name("bus_4096/change_range");
BENCHMARK(ten_thousand_buses)->Name("buses_10000/build_and_delete")->Unit(benchmark::kMillisecond);
