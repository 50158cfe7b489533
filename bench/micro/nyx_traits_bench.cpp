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
constexpr unsigned s_any = 101;

// A million nets, and which of them get values.
struct NETS {
    NETS() : db(NYX_DB::create_non_persistent(2048, NYX_DB_TYPE::USER, "", "")) {
        NYX_NET_TABLE &table = NYX_DB_IMPL::of(*db).m_persistent->table<NYX_NET>();
        std::vector<unsigned> rows;
        for (unsigned i = 0; i < s_count; ++i) {
            list.push_back(table.allocate());
            rows.push_back(i);
        }
        std::shuffle(rows.begin(), rows.end(), std::mt19937(5));
        for (const unsigned percent : {1U, 10U, 100U}) {
            std::vector<unsigned> chosen(rows.begin(), rows.begin() + s_count / 100 * percent);
            std::sort(chosen.begin(), chosen.end());
            add(walk[percent], std::move(chosen));
        }
        add(any_order, std::move(rows));
    }
    static NETS &get() {
        static NETS s_nets;
        return s_nets;
    }
    std::size_t used() const {
        return nyx_get_algorithm(NYX_DB_IMPL::of(*db).m_persistent->get_segment_manager())->get_allocated();
    }

    // Nets with the keys that the map has for them, so that neither side pays for how the other one's are found.
    struct CHOICE {
        std::vector<unsigned> rows;
        std::vector<NYX_NET *> nets;
    };
    void add(CHOICE &choice, std::vector<unsigned> rows) const {
        for (const unsigned row : rows)
            choice.nets.push_back(list[row]);
        choice.rows = std::move(rows);
    }

    NYX_DB *db;
    std::vector<NYX_NET *> list;
    std::map<unsigned, CHOICE> walk; // one of a hundred, of ten, all, as a walk comes to them
    CHOICE any_order;                // all, as no walk does
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

// The values are set, and all objects are asked, in the order of a walk or, with ANY, in no order.
template <unsigned PERCENT>
const NETS::CHOICE &chosen() {
    return PERCENT == s_any ? NETS::get().any_order : NETS::get().walk[PERCENT];
}

template <class TRAIT, unsigned PERCENT>
void fill(TRAIT *trait) {
    const auto &nets = chosen<PERCENT>().nets;
    for (unsigned k = 0; k < nets.size(); ++k)
        nets[k]->set_value(trait, OF<TRAIT>::value(k));
}

template <class TRAIT, unsigned PERCENT>
void fill(std::unordered_map<std::uint32_t, typename OF<TRAIT>::TYPE> &map) {
    const auto &rows = chosen<PERCENT>().rows;
    for (unsigned k = 0; k < rows.size(); ++k)
        map.insert_or_assign(rows[k], OF<TRAIT>::value(k));
}

template <class TRAIT, unsigned PERCENT>
void set_ours(benchmark::State &state) {
    const NETS &nets = NETS::get();
    TRAIT *const trait = OF<TRAIT>::find(nets.db);
    for (auto _ : state) {
        state.PauseTiming();
        trait->reset_all_objects_having_this_trait();
        const std::size_t before = nets.used();
        state.ResumeTiming();
        fill<TRAIT, PERCENT>(trait);
        state.PauseTiming();
        state.counters["bytes"] = double(nets.used() - before);
        state.ResumeTiming();
    }
}

// The same by who has handles, as callers do, and asks each for its number.
template <class TRAIT, unsigned PERCENT>
void fill_by_handle(std::unordered_map<std::uint32_t, typename OF<TRAIT>::TYPE> &map) {
    const auto &nets = chosen<PERCENT>().nets;
    for (unsigned k = 0; k < nets.size(); ++k)
        map.insert_or_assign(NYX_NET_TABLE::get_id(nets[k]->get_impl()).get(), OF<TRAIT>::value(k));
}

template <class TRAIT, unsigned PERCENT, bool BY_HANDLE = false>
void set_map(benchmark::State &state) {
    for (auto _ : state) {
        state.PauseTiming();
        const std::size_t before = heap_bytes();
        auto map = std::make_unique<std::unordered_map<std::uint32_t, typename OF<TRAIT>::TYPE>>();
        state.ResumeTiming();
        if constexpr (BY_HANDLE)
            fill_by_handle<TRAIT, PERCENT>(*map);
        else
            fill<TRAIT, PERCENT>(*map);
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
    fill<TRAIT, PERCENT>(trait);
    for (auto _ : state)
        for (const NYX_NET *const net : PERCENT == s_any ? nets.any_order.nets : nets.list)
            benchmark::DoNotOptimize(net->get_value(trait));
}

template <class TRAIT, unsigned PERCENT>
void get_map(benchmark::State &state) {
    NETS &nets = NETS::get();
    using TYPE = typename OF<TRAIT>::TYPE;
    std::unordered_map<std::uint32_t, TYPE> map;
    fill<TRAIT, PERCENT>(map);
    // By value, as a trait gives it.
    const auto get = [&map](std::uint32_t i) -> TYPE {
        const auto found = map.find(i);
        return found != map.end() ? found->second : TYPE();
    };
    for (auto _ : state)
        for (const unsigned i : PERCENT == s_any ? nets.any_order.rows : nets.walk[100].rows)
            benchmark::DoNotOptimize(get(i));
}

// A property is the same with the name known beforehand.
void set_property_ours(benchmark::State &state) {
    NETS &nets = NETS::get();
    for (auto _ : state) {
        state.PauseTiming();
        const std::size_t before = nets.used();
        state.ResumeTiming();
        const auto &chosen_nets = nets.walk[10].nets;
        for (unsigned k = 0; k < chosen_nets.size(); ++k)
            chosen_nets[k]->set_property("weight", static_cast<int>(k));
        state.PauseTiming();
        state.counters["bytes"] = double(nets.used() - before);
        for (NYX_NET *const net : chosen_nets)
            net->remove_property("weight");
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
        const auto &rows = nets.walk[10].rows;
        for (unsigned k = 0; k < rows.size(); ++k)
            (*map)[rows[k]].insert_or_assign("weight", static_cast<int>(k));
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

// `filled` is 1, 10 or 100 of a hundred, or s_any.
#define NYX_TRAITS_BENCH(word, trait, filled)                                                                          \
    BENCHMARK((set_ours<trait, filled>))                                                                               \
        ->Name("set_" #word "_" #filled "/nyx")                                                                        \
        ->Iterations(1)                                                                                                \
        ->Unit(benchmark::kMillisecond);                                                                               \
    BENCHMARK((set_map<trait, filled>))                                                                                \
        ->Name("set_" #word "_" #filled "/map")                                                                        \
        ->Iterations(1)                                                                                                \
        ->Unit(benchmark::kMillisecond);                                                                               \
    BENCHMARK((set_map<trait, filled, true>))                                                                          \
        ->Name("set_" #word "_" #filled "/map by handle")                                                              \
        ->Iterations(1)                                                                                                \
        ->Unit(benchmark::kMillisecond);                                                                               \
    BENCHMARK((get_ours<trait, filled>))                                                                               \
        ->Name("get_" #word "_" #filled "/nyx")                                                                        \
        ->Iterations(1)                                                                                                \
        ->Unit(benchmark::kMillisecond);                                                                               \
    BENCHMARK((get_map<trait, filled>))                                                                                \
        ->Name("get_" #word "_" #filled "/map")                                                                        \
        ->Iterations(1)                                                                                                \
        ->Unit(benchmark::kMillisecond);                                                                               \
    const NYX_BENCH::RATIO s_set_##word##_##filled("set_" #word "_" #filled, "map", 1.3);                              \
    const NYX_BENCH::RATIO s_set_by_handle_##word##_##filled("set_" #word "_" #filled, "map by handle", 1.3);          \
    const NYX_BENCH::RATIO s_bytes_##word##_##filled("set_" #word "_" #filled, "map", 1.0, "bytes");                   \
    const NYX_BENCH::RATIO s_get_##word##_##filled("get_" #word "_" #filled, "map", 1.3)
#define NYX_TRAITS_BENCHES(word, trait)                                                                                \
    NYX_TRAITS_BENCH(word, trait, 1);                                                                                  \
    NYX_TRAITS_BENCH(word, trait, 10);                                                                                 \
    NYX_TRAITS_BENCH(word, trait, 100)

NYX_TRAITS_BENCHES(bool, NYX_BOOL_TRAIT);
NYX_TRAITS_BENCHES(int, NYX_INT_TRAIT);
NYX_TRAITS_BENCHES(double, NYX_DOUBLE_TRAIT);
NYX_TRAITS_BENCHES(string, NYX_STRING_TRAIT);
NYX_TRAITS_BENCH(int, NYX_INT_TRAIT, s_any);

BENCHMARK(set_property_ours)->Name("set_property/nyx")->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(set_property_map)->Name("set_property/map")->Iterations(1)->Unit(benchmark::kMillisecond);
const NYX_BENCH::RATIO s_set_property("set_property", "map", 1.3);
const NYX_BENCH::RATIO s_bytes_property("set_property", "map", 1.0, "bytes");

} // namespace
