// Times whole workloads and prints named figures: CPU seconds, resident bytes and counts.
//
//     nyx_workloads [--json] [--folder DIR] flat [INSTANCES]
//     nyx_workloads [--json] [--folder DIR] deep [LEVELS] [WIDTH]
//     nyx_workloads [--json] [--folder DIR] netlist FILE.json
//
// Without a workload, all but the last. Databases are saved in DIR, the present folder if none is given, and removed.
#include "deep.h"
#include "figures.h"
#include "flat.h"
#include "netlist.h"

#include "io/nyx_netlist_counts.h"
#include "io/nyx_text_output.h"
#include "io/nyx_yosys_importer.h"
#include "io/nyx_yosys_writer.h"
#include "nyx/nyx.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

/// A path for a database, and nothing there when it goes.
struct TEMPORARY {
    explicit TEMPORARY(const std::string &path_) : path(path_) {}
    ~TEMPORARY() {
        std::error_code error;
        std::filesystem::remove(path, error);
    }
    std::string path;
};

/// Saves, and loads in fresh processes, which print their own figures.
void save_and_load(FIGURES &figures, NYX_DB *db, const std::string &path) {
    const TEMPORARY file(path);
    figures.time("save", [&] { db->commit(file.path); });
    figures.add("file", double(std::filesystem::file_size(file.path)), "bytes");
    const TEMPORARY lz4(path + ".lz4.nyx");
    const TEMPORARY raw(path + ".raw.nyx");
    figures.add_from_fresh_process("", "nyx_workload_save", {file.path, lz4.path, raw.path});
    const std::string self = "nyx_workloads";
    figures.add_from_fresh_process("load.read_only.", self, {"load", file.path, "read_only"});
    figures.add_from_fresh_process("load.modify.", self, {"load", file.path, "modify"});
    figures.add_from_fresh_process("load.lz4.", self, {"load", lz4.path, "read_only"});
    figures.add_from_fresh_process("load.raw.", self, {"load", raw.path, "read_only"});
}

int load(const std::string &path, bool modify) {
    FIGURES figures;
    const long before = FIGURES::get_resident_bytes();
    NYX_DB *db = nullptr;
    figures.time("open", [&] {
        db = NYX_DB::open(path.c_str(), modify ? NYX_DB::ACCESS_MODE::MODIFY : NYX_DB::ACCESS_MODE::READ_ONLY);
    });
    figures.add("resident", double(FIGURES::get_resident_bytes() - before), "bytes");
    std::uint64_t inputs = 0;
    figures.time("walk", [&] { inputs = walk_netlist(db); });
    figures.add("inputs", double(inputs), "pins");
    db->disable_commit_on_close();
    db->close();
    figures.print(false);
    return 0;
}

void run_flat(FIGURES &figures, const std::string &folder, unsigned num_instances) {
    const long before = FIGURES::get_resident_bytes();
    NYX_DB *const db = NYX_DB::create_non_persistent(16384, NYX_DB_TYPE::USER, "flat", "");
    FLAT flat;
    figures.time("flat.build", [&] { flat = build_flat(db, num_instances); });
    // What the workload itself keeps, two pointers an instance, is not the database's.
    figures.add("flat.memory",
                double(FIGURES::get_resident_bytes() - before) / num_instances - 2 * double(sizeof(void *)),
                "bytes/instance");
    std::uint64_t inputs = 0;
    std::uint64_t found = 0;
    figures.time("flat.walk", [&] { inputs = walk_flat(flat.top); });
    figures.add("flat.inputs", double(inputs), "pins");
    figures.time("flat.find", [&] { found = find_flat(flat.top, num_instances, 1'000'000); });
    figures.add("flat.found", double(found), "instances");
    figures.time("flat.edit", [&] { edit_flat(flat, 100'000); });
    FIGURES files;
    save_and_load(files, db, folder + "/nyx_workload_flat.nyx");
    for (const FIGURE &figure : files.get())
        figures.add("flat." + figure.name, figure.value, figure.unit);
    db->close();
}

void run_deep(FIGURES &figures, unsigned levels, unsigned width) {
    NYX_DB *const db = NYX_DB::create_non_persistent(1024, NYX_DB_TYPE::USER, "deep", "");
    NYX_MODULE *top = nullptr;
    figures.time("deep.build", [&] { top = build_deep(db, levels, width); });
    std::uint64_t visits = 0;
    figures.time("deep.unfold", [&] { visits = walk_paths(top); });
    figures.add("deep.paths", double(visits), "paths");
    db->close();
}

void run_netlist(FIGURES &figures, const std::string &folder, const std::string &path) {
    std::unique_ptr<NYX_YOSYS_NETLIST> netlist;
    const long before = FIGURES::get_resident_bytes();
    figures.time("netlist.read", [&] {
        NYX_TEXT_INPUT input(path);
        netlist = nyx_read_yosys_json(input);
    });
    const long read = FIGURES::get_resident_bytes();
    figures.add("netlist.text", double(read - before), "bytes");
    NYX_DB *const db =
        NYX_DB::create_non_persistent(nyx_estimate_size(*netlist), NYX_DB_TYPE::USER, "workload_netlist", "");
    figures.time("netlist.build", [&] {
        const NYX_YOSYS_PLAN plan(*netlist, path, "");
        nyx_import_yosys(*netlist, plan, db, nullptr);
    });
    std::uint64_t cells = 0;
    for (const NYX_YOSYS_MODULE &module : netlist->modules)
        cells += module.cells.size();
    figures.add("netlist.cells", double(cells), "cells");
    figures.add("netlist.memory",
                double(FIGURES::get_resident_bytes() - read) / double(std::max<std::uint64_t>(1, cells)), "bytes/cell");
    netlist.reset();
    std::uint64_t inputs = 0;
    figures.time("netlist.walk", [&] { inputs = walk_netlist(db); });
    figures.add("netlist.inputs", double(inputs), "pins");
    double seconds = 0;
    const std::uint64_t found = find_in_netlist(db, 1'000'000, seconds);
    figures.add("netlist.find", seconds, "s");
    figures.add("netlist.found", double(found), "instances");
    edit_netlist(db, 100'000, seconds);
    figures.add("netlist.edit", seconds, "s");
    std::vector<NYX_MODULE_COUNTS> counts;
    figures.time("netlist.count", [&] { counts = nyx_count_netlist(db); });
    const auto top = std::find_if(counts.begin(), counts.end(), [](const auto &module) { return module.is_top; });
    if (constexpr std::uint64_t most = 100'000'000; top != counts.end() && top->paths < most) {
        std::uint64_t visits = 0;
        figures.time("netlist.unfold", [&] { visits = walk_paths(db->get_top_module()); });
        figures.add("netlist.paths", double(visits), "paths");
    }
    const TEMPORARY text(folder + "/nyx_workload_netlist.json");
    figures.time("netlist.export", [&] {
        NYX_TEXT_OUTPUT output(text.path);
        nyx_write_yosys_json(db, output);
        output.finish();
    });
    FIGURES files;
    save_and_load(files, db, folder + "/nyx_workload_netlist.nyx");
    for (const FIGURE &figure : files.get())
        figures.add("netlist." + figure.name, figure.value, figure.unit);
    db->close();
}

unsigned get_number(const std::vector<std::string> &words, std::size_t index, unsigned otherwise, unsigned least,
                    unsigned most) {
    if (index >= words.size())
        return otherwise;
    const std::string &word = words[index];
    unsigned number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size() || number < least || number > most)
        throw std::runtime_error("\"" + word + "\" is no whole number from " + std::to_string(least) + " to " +
                                 std::to_string(most));
    return number;
}

int run(std::vector<std::string> words) {
    bool as_json = false;
    std::string folder = ".";
    while (!words.empty() && words.front().starts_with("--")) {
        if (words.front() == "--json")
            as_json = true;
        else if (words.front() == "--folder" && words.size() > 1) {
            folder = words[1];
            words.erase(words.begin());
        } else
            throw std::runtime_error(
                "usage: nyx_workloads [--json] [--folder DIR] [flat [N] | deep [L] [W] | netlist FILE]");
        words.erase(words.begin());
    }
    const std::string workload = words.empty() ? "" : words.front();
    if (workload == "load" && words.size() == 3)
        return load(words[1], words[2] == "modify");
    FIGURES figures;
    if (workload.empty() || workload == "flat")
        run_flat(figures, folder, get_number(words, 1, 1'000'000, 65, 1'000'000'000));
    if (workload.empty() || workload == "deep")
        run_deep(figures, get_number(words, 1, 6, 1, 1000), get_number(words, 2, 10, 1, 1'000'000));
    if (workload == "netlist" && words.size() == 2)
        run_netlist(figures, folder, words[1]);
    if (figures.get().empty())
        throw std::runtime_error("there is no workload \"" + workload + "\"");
    figures.print(as_json);
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    try {
        return run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "nyx_workloads: %s\n", error.what());
        return 2;
    }
}
