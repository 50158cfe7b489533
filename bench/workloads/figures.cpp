#include "figures.h"

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <sstream>
#include <stdexcept>

double FIGURES::get_cpu_seconds() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + 1e-9 * double(now.tv_nsec);
}

long FIGURES::get_resident_bytes() {
    long pages = 0;
    if (std::FILE *const file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%*d %ld", &pages) != 1)
            pages = 0;
        std::fclose(file);
    }
    return pages * 4096;
}

void FIGURES::add_from_fresh_process(const std::string &prefix, const std::string &program,
                                     const std::vector<std::string> &words) {
    std::string command =
        "'" + (std::filesystem::read_symlink("/proc/self/exe").parent_path() / program).string() + "'";
    for (const std::string &word : words)
        command += " '" + word + "'";
    std::FILE *const child = popen(command.c_str(), "r");
    if (!child)
        throw std::runtime_error(command + ": can't be run");
    std::string text;
    char line[256];
    while (std::fgets(line, sizeof(line), child))
        text += line;
    if (pclose(child) != 0)
        throw std::runtime_error(command + ": failed");
    std::istringstream lines(text);
    for (FIGURE figure; lines >> figure.name >> figure.value >> figure.unit;)
        add(prefix + figure.name, figure.value, figure.unit);
}

void FIGURES::print(bool as_json) const {
    if (!as_json) {
        for (const FIGURE &figure : m_figures)
            std::printf(figure.unit == "s" ? "%-24s %14.3f %s\n" : "%-24s %14.10g %s\n", figure.name.c_str(),
                        figure.value, figure.unit.c_str());
        return;
    }
    std::printf("{");
    const char *separator = "\n";
    for (const FIGURE &figure : m_figures) {
        std::printf("%s  \"%s\": {\"value\": %.10g, \"unit\": \"%s\"}", separator, figure.name.c_str(), figure.value,
                    figure.unit.c_str());
        separator = ",\n";
    }
    std::printf("\n}\n");
}
