// Times whole workloads: `nyx_workloads [INSTANCES]`.
#include "flat.h"

#include "nyx/nyx.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

double cpu_seconds() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

long resident_bytes() {
    long pages = 0;
    if (std::FILE *const file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%*d %ld", &pages) != 1)
            pages = 0;
        std::fclose(file);
    }
    return pages * 4096;
}

template <class WORK>
void time_it(const char *name, WORK &&work) {
    const double start = cpu_seconds();
    work();
    std::printf("%-8s %8.3f s\n", name, cpu_seconds() - start);
}

} // namespace

int main(int argc, char **argv) {
    const unsigned num_instances = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 1'000'000;
    const long before = resident_bytes();
    NYX_DB *const db = NYX_DB::create_non_persistent(4096, NYX_DB_TYPE::USER, "flat", "");
    FLAT flat;
    time_it("build", [&] { flat = build_flat(db, num_instances); });
    std::printf("%-8s %8.1f bytes an instance\n", "memory",
                static_cast<double>(resident_bytes() - before) / num_instances);
    std::uint64_t inputs = 0, found = 0;
    time_it("walk", [&] { inputs = walk_flat(flat.top); });
    std::printf("%-8s %8llu\n", "inputs", static_cast<unsigned long long>(inputs));
    time_it("find", [&] { found = find_flat(flat.top, num_instances, 1'000'000); });
    std::printf("%-8s %8llu\n", "found", static_cast<unsigned long long>(found));
    time_it("edit", [&] { edit_flat(flat, 100'000); });
    db->close();
}
