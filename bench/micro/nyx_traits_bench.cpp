// Traits and properties of a million nets against hash maps from numbers to values, with 1, 10 and 100 of a hundred
// nets filled; and what it costs to clear an object that has nothing.
#include "database/nyx_db_impl.h"
#include "netlist/nyx_net_table.h"
#include "nyx/nyx.h"
#include "support/ratio_main.h"
#include "traits/nyx_attributes.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <malloc.h>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr unsigned s_count = 1'000'000;

// The nets in an order in which no walk would come, and the database that they are in.
struct NETS {
    NETS() : db(NYX_DB::create_non_persistent(2048, NYX_DB_TYPE::USER, "", "")) {
        NYX_NET_TABLE &table = NYX_DB_IMPL::of(*db).m_persistent->table<NYX_NET>();
        for (unsigned i = 0; i < s_count; ++i)
            list.push_back(table.allocate());
        for (unsigned i = 0; i < s_count; ++i)
            order.push_back(i);
        std::shuffle(order.begin(), order.end(), std::mt19937(5));
        for (const unsigned i : order)
            shuffled.push_back(list[i]);
    }
    static NETS &get() {
        static NETS s_nets;
        return s_nets;
    }
    std::size_t used() const {
        return nyx_get_algorithm(NYX_DB_IMPL::of(*db).m_persistent->get_segment_manager())->get_allocated();
    }

    NYX_DB *db;
    std::vector<NYX_NET *> list;
    std::vector<unsigned> order;
    // In that order: neither side is to pay for how the other one's keys are found.
    std::vector<NYX_NET *> shuffled;
};

std::size_t heap_bytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

template <class TRAIT>
struct OF;
template <>
struct OF<NYX_BOOL_TRAIT> {
    using TYPE = bool;
    static NYX_BOOL_TRAIT *find(NYX_DB *db) {
        return NYX_NET::find_or_create_bool_trait(db, "bool", false, "", "", "");
    }
    static bool value(unsigned) { return true; }
};
template <>
struct OF<NYX_INT_TRAIT> {
    using TYPE = int;
    static NYX_INT_TRAIT *find(NYX_DB *db) { return NYX_NET::find_or_create_int_trait(db, "int", 0, "", "", ""); }
    static int value(unsigned i) { return static_cast<int>(i) + 1; }
};
template <>
struct OF<NYX_DOUBLE_TRAIT> {
    using TYPE = double;
    static NYX_DOUBLE_TRAIT *find(NYX_DB *db) {
        return NYX_NET::find_or_create_double_trait(db, "double", 0, "", "", "");
    }
    static double value(unsigned i) { return i + 0.5; }
};
template <>
struct OF<NYX_STRING_TRAIT> {
    using TYPE = std::string;
    static NYX_STRING_TRAIT *find(NYX_DB *db) {
        return NYX_NET::find_or_create_string_trait(db, "string", "", "", "", "");
    }
    // As many texts as a design has source files.
    static const std::string &value(unsigned i) {
        static const std::vector<std::string> s_texts = [] {
            std::vector<std::string> texts;
            for (int k = 0; k < 1000; ++k)
                texts.push_back("source/of/the/design/file_" + std::to_string(k) + ".v");
            return texts;
        }();
        return s_texts[i % 1000];
    }
};

template <class TRAIT, unsigned PERCENT>
void set_ours(benchmark::State &state) {
    NETS &nets = NETS::get();
    TRAIT *const trait = OF<TRAIT>::find(nets.db);
    for (auto _ : state) {
        state.PauseTiming();
        trait->reset_all_objects_having_this_trait();
        const std::size_t before = nets.used();
        state.ResumeTiming();
        for (unsigned k = 0; k < s_count / 100 * PERCENT; ++k)
            nets.shuffled[k]->set_value(trait, OF<TRAIT>::value(k));
        state.PauseTiming();
        state.counters["bytes"] = double(nets.used() - before);
        state.ResumeTiming();
    }
}

template <class TRAIT, unsigned PERCENT>
void set_map(benchmark::State &state) {
    NETS &nets = NETS::get();
    for (auto _ : state) {
        state.PauseTiming();
        const std::size_t before = heap_bytes();
        auto map = std::make_unique<std::unordered_map<std::uint32_t, typename OF<TRAIT>::TYPE>>();
        state.ResumeTiming();
        for (unsigned k = 0; k < s_count / 100 * PERCENT; ++k)
            map->insert_or_assign(nets.order[k], OF<TRAIT>::value(k));
        state.PauseTiming();
        state.counters["bytes"] = double(heap_bytes() - before);
        map.reset();
        state.ResumeTiming();
    }
}

template <class TRAIT, unsigned PERCENT>
void get_ours(benchmark::State &state) {
    NETS &nets = NETS::get();
    TRAIT *const trait = OF<TRAIT>::find(nets.db);
    trait->reset_all_objects_having_this_trait();
    for (unsigned k = 0; k < s_count / 100 * PERCENT; ++k)
        nets.shuffled[k]->set_value(trait, OF<TRAIT>::value(k));
    for (auto _ : state)
        for (const NYX_NET *const net : nets.shuffled)
            benchmark::DoNotOptimize(net->get_value(trait));
}

template <class TRAIT, unsigned PERCENT>
void get_map(benchmark::State &state) {
    NETS &nets = NETS::get();
    using TYPE = typename OF<TRAIT>::TYPE;
    std::unordered_map<std::uint32_t, TYPE> map;
    for (unsigned k = 0; k < s_count / 100 * PERCENT; ++k)
        map.insert_or_assign(nets.order[k], OF<TRAIT>::value(k));
    // By value, as a trait gives it.
    const auto get = [&map](std::uint32_t i) -> TYPE {
        const auto found = map.find(i);
        return found != map.end() ? found->second : TYPE();
    };
    for (auto _ : state)
        for (const unsigned i : nets.order)
            benchmark::DoNotOptimize(get(i));
}

// A property is the same with the name known beforehand.
void set_property_ours(benchmark::State &state) {
    NETS &nets = NETS::get();
    for (auto _ : state) {
        state.PauseTiming();
        const std::size_t before = nets.used();
        state.ResumeTiming();
        for (unsigned k = 0; k < s_count / 10; ++k)
            nets.shuffled[k]->set_property("weight", static_cast<int>(k));
        state.PauseTiming();
        state.counters["bytes"] = double(nets.used() - before);
        for (unsigned k = 0; k < s_count / 10; ++k)
            nets.shuffled[k]->remove_property("weight");
        state.ResumeTiming();
    }
}

void set_property_map(benchmark::State &state) {
    NETS &nets = NETS::get();
    for (auto _ : state) {
        state.PauseTiming();
        const std::size_t before = heap_bytes();
        auto map = std::make_unique<std::unordered_map<std::uint32_t, std::map<std::string, NYX_PROPERTY_VALUE>>>();
        state.ResumeTiming();
        for (unsigned k = 0; k < s_count / 10; ++k)
            (*map)[nets.order[k]].insert_or_assign("weight", static_cast<int>(k));
        state.PauseTiming();
        state.counters["bytes"] = double(heap_bytes() - before);
        map.reset();
        state.ResumeTiming();
    }
}

// An object of a database with the library's own traits, none of which has a value, as most objects are.
void clear_nothing(benchmark::State &state) {
    static NYX_DB *const s_db = NYX_DB::create_non_persistent(64, NYX_DB_TYPE::USER, "", "");
    static NYX_NET *const s_net = NYX_DB_IMPL::of(*s_db).m_persistent->table<NYX_NET>().allocate();
    for (auto _ : state)
        nyx_clear_traits(s_net);
}
BENCHMARK(clear_nothing);

#define NYX_TRAITS_BENCH(word, trait, percent)                                                                         \
    BENCHMARK((set_ours<trait, percent>))                                                                              \
        ->Name("set_" #word "_" #percent "/nyx")                                                                       \
        ->Iterations(1)                                                                                                \
        ->Unit(benchmark::kMillisecond);                                                                               \
    BENCHMARK((set_map<trait, percent>))                                                                               \
        ->Name("set_" #word "_" #percent "/map")                                                                       \
        ->Iterations(1)                                                                                                \
        ->Unit(benchmark::kMillisecond);                                                                               \
    BENCHMARK((get_ours<trait, percent>))                                                                              \
        ->Name("get_" #word "_" #percent "/nyx")                                                                       \
        ->Iterations(1)                                                                                                \
        ->Unit(benchmark::kMillisecond);                                                                               \
    BENCHMARK((get_map<trait, percent>))                                                                               \
        ->Name("get_" #word "_" #percent "/map")                                                                       \
        ->Iterations(1)                                                                                                \
        ->Unit(benchmark::kMillisecond);                                                                               \
    const NYX_BENCH::RATIO s_set_##word##_##percent("set_" #word "_" #percent, "map", 1.3);                            \
    const NYX_BENCH::RATIO s_bytes_##word##_##percent("set_" #word "_" #percent, "map", 1.0, "bytes");                 \
    const NYX_BENCH::RATIO s_get_##word##_##percent("get_" #word "_" #percent, "map", 1.3)
#define NYX_TRAITS_BENCHES(word, trait)                                                                                \
    NYX_TRAITS_BENCH(word, trait, 1);                                                                                  \
    NYX_TRAITS_BENCH(word, trait, 10);                                                                                 \
    NYX_TRAITS_BENCH(word, trait, 100)

NYX_TRAITS_BENCHES(bool, NYX_BOOL_TRAIT);
NYX_TRAITS_BENCHES(int, NYX_INT_TRAIT);
NYX_TRAITS_BENCHES(double, NYX_DOUBLE_TRAIT);
NYX_TRAITS_BENCHES(string, NYX_STRING_TRAIT);

BENCHMARK(set_property_ours)->Name("set_property/nyx")->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(set_property_map)->Name("set_property/map")->Iterations(1)->Unit(benchmark::kMillisecond);
const NYX_BENCH::RATIO s_set_property("set_property", "map", 1.3);
const NYX_BENCH::RATIO s_bytes_property("set_property", "map", 1.0, "bytes");

} // namespace
