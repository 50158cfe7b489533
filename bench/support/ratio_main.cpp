#include "support/ratio_main.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

namespace {

struct COMPARISON {
    std::string topic;
    std::string baseline;
    double target;
    std::string counter;
};

std::vector<COMPARISON> &comparisons() {
    static std::vector<COMPARISON> s_comparisons;
    return s_comparisons;
}

// Passes everything on to the chosen reporter and keeps the best figure of each benchmark, by name and by counter.
class COLLECTING_REPORTER final : public benchmark::BenchmarkReporter {
public:
    explicit COLLECTING_REPORTER(BenchmarkReporter *inner) : m_inner(inner) {}

    bool ReportContext(const Context &context) override {
        m_inner->SetOutputStream(&GetOutputStream());
        m_inner->SetErrorStream(&GetErrorStream());
        return m_inner->ReportContext(context);
    }
    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                keep(run.run_name.function_name, "", run.GetAdjustedCPUTime());
                for (const auto &[counter, value] : run.counters)
                    keep(run.run_name.function_name, counter, value.value);
            }
        m_inner->ReportRuns(runs);
    }
    void Finalize() override { m_inner->Finalize(); }

    void print_ratios() const {
        for (const COMPARISON &c : comparisons()) {
            const auto ours = m_best.find({c.topic + "/nyx", c.counter});
            const auto theirs = m_best.find({c.topic + "/" + c.baseline, c.counter});
            if (ours == m_best.end() || theirs == m_best.end() || theirs->second == 0)
                continue;
            const double ratio = ours->second / theirs->second;
            std::fprintf(stderr, "ratio %-28s %-6s %10.1f / %10.1f = %.2f of %s, at most %.2f wanted: %s\n",
                         c.topic.c_str(), c.counter.empty() ? "time" : c.counter.c_str(), ours->second, theirs->second,
                         ratio, c.baseline.c_str(), c.target, ratio <= c.target ? "met" : "MISSED");
        }
    }

private:
    void keep(const std::string &name, const std::string &counter, double value) {
        const auto [at, added] = m_best.try_emplace({name, counter}, value);
        if (!added)
            at->second = std::min(at->second, value);
    }

    BenchmarkReporter *m_inner;
    std::map<std::pair<std::string, std::string>, double> m_best;
};

bool names_option(const char *argument, std::string_view option) {
    return std::string_view(argument).starts_with(option);
}

} // namespace

namespace NYX_BENCH {

RATIO::RATIO(std::string topic, std::string baseline, double target, std::string counter) {
    comparisons().push_back({std::move(topic), std::move(baseline), target, std::move(counter)});
}

} // namespace NYX_BENCH

int main(int argc, char **argv) {
    // Several repetitions of each pair in turn, unless the caller says otherwise: the machine's speed drifts.
    static char repetitions[] = "--benchmark_repetitions=5";
    static char interleaving[] = "--benchmark_enable_random_interleaving=true";
    std::vector<char *> arguments(argv, argv + argc);
    const auto given = [&](std::string_view option) {
        return std::any_of(argv + 1, argv + argc, [&](const char *a) { return names_option(a, option); });
    };
    if (!given("--benchmark_repetitions"))
        arguments.push_back(repetitions);
    if (!given("--benchmark_enable_random_interleaving"))
        arguments.push_back(interleaving);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;
    const std::unique_ptr<benchmark::BenchmarkReporter> display(benchmark::CreateDefaultDisplayReporter());
    COLLECTING_REPORTER reporter(display.get());
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.print_ratios();
    benchmark::Shutdown();
    return 0;
}
