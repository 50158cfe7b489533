#ifndef NYX_BENCH_RATIO_MAIN_H
#define NYX_BENCH_RATIO_MAIN_H

/// \file
/// Benchmarks in pairs. `TOPIC/nyx` is compared with `TOPIC/BASELINE`, run in turn in one process; the ratio of the
/// fastest repetitions and the target go to the standard error stream when all is done, so every report format of
/// Google Benchmark stays as it is. A missed target is said, never an error: the machine decides, and a person reads
/// it.

#include <string>

namespace NYX_BENCH {

/// Declares at namespace scope: `TOPIC/nyx` should take at most `target` times the real time of `TOPIC/baseline`, or,
/// with a counter's name, the same of that counter.
struct RATIO {
    RATIO(std::string topic, std::string baseline, double target, std::string counter = "");
};

} // namespace NYX_BENCH

#endif
