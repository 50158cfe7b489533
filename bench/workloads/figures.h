#ifndef NYX_BENCH_FIGURES_H
#define NYX_BENCH_FIGURES_H

/// \file
/// What the workloads measure: named figures, times in CPU seconds, as they come.

#include <string>
#include <vector>

struct FIGURE {
    std::string name;
    double value;
    std::string unit;
};

class FIGURES {
public:
    void add(const std::string &name, double value, const std::string &unit) {
        m_figures.push_back({name, value, unit});
    }

    /// The CPU seconds of `work`, and as NAME.resident the memory that the process has behind it.
    template <class WORK>
    void time(const std::string &name, WORK &&work) {
        const double start = get_cpu_seconds();
        work();
        add(name, get_cpu_seconds() - start, "s");
        add(name + ".resident", double(get_resident_bytes()), "bytes");
    }

    /// Runs a program beside this one with these words, and adds what it prints under `prefix`. Throws
    /// std::runtime_error if it fails.
    void add_from_fresh_process(const std::string &prefix, const std::string &program,
                                const std::vector<std::string> &words);

    const std::vector<FIGURE> &get() const { return m_figures; }
    /// As lines NAME VALUE UNIT, or as one JSON object by name.
    void print(bool as_json) const;

    static double get_cpu_seconds();
    static long get_resident_bytes();

private:
    std::vector<FIGURE> m_figures;
};

#endif
