#include "cmd/nyx_open_design.h"
#include "cmd/nyx_staged_files.h"
#include "cmd/nyx_verb.h"
#include "io/nyx_io_error.h"
#include "io/nyx_yosys_importer.h"

#include <nlohmann/json.hpp>

#include <boost/interprocess/exceptions.hpp>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;

class IMPORT_VERB final : public NYX_VERB {
public:
    std::string get_name() const override { return "import"; }
    std::string get_summary() const override { return "make a database of a netlist"; }
    std::vector<std::string> get_description() const override {
        return {
            "Reads a netlist in the JSON format of Yosys, packed by gzip or zstd or not, and saves it as a database. "
            "A file with a fault is told with its place, and nothing is written.",
            "Cell types that the netlist does not define, and black boxes, become leaf modules. With --library those "
            "that cells use go to a component library beside the design, which is entered in the paths file nyx.paths "
            "there. A library that is there already is left alone, for other designs may depend on it, unless --force "
            "is given.",
            "All names, parameters and attributes are kept; `nyx export` gives back the netlist that was imported, "
            "with its ports and cells in their order; net names come scalars first."};
    }
    std::vector<EXAMPLE> get_examples() const override {
        return {{"nyx import design.json.zst -o design.nyx", "Make design.nyx."},
                {"yosys -q -p 'synth; write_json /dev/stdout' cpu.v | nyx import -o cpu.nyx",
                 "Take the netlist from another program."},
                {"nyx import chip.json -o chip.nyx --top chip --library cells",
                 "Choose the top module, and put the cells in cells.nyx."}};
    }
    std::vector<NYX_OPTION> get_options() override {
        return {{"FILE",
                 "",
                 "The netlist; \"-\", or nothing, is standard input",
                 &m_file,
                 false,
                 {},
                 NYX_OPTION::COMPLETE::NETLIST},
                {"-o,--output",
                 "FILE",
                 "The database; what is there is replaced",
                 &m_output,
                 true,
                 {},
                 NYX_OPTION::COMPLETE::DATABASE},
                {"--top", "MODULE", "The top module; else the one that is marked, or that no other uses", &m_top},
                {"--library", "NAME", "Put leaf modules in a component library of this name", &m_library},
                {"-f,--force", "", "Replace the component library too", &m_force},
                {"--size",
                 "MIB",
                 "To what the database may grow; else several times what it needs",
                 &m_size,
                 false,
                 {},
                 NYX_OPTION::COMPLETE::NOTHING,
                 1,
                 s_nyx_max_size}};
    }
    int run(NYX_CONSOLE &console) override;

private:
    /// Databases in memory that are closed again whatever happens.
    struct DATABASES {
        NYX_DB *design = nullptr;
        NYX_DB *library = nullptr;
        ~DATABASES() {
            if (design)
                design->close(); // and with it the library, once
            if (library)
                library->close();
        }
    };

    fs::path get_library_path() const {
        return fs::path(nyx_database_path(m_output)).parent_path() / (m_library + ".nyx");
    }
    void check_library() const;
    void save(const DATABASES &databases, const fs::path &output) const;
    void enter_library(const fs::path &paths, const std::string &fresh) const;

    std::string m_file = "-";
    std::string m_output;
    std::string m_top;
    std::string m_library;
    unsigned long long m_size = 0;
    bool m_force = false;
};

void IMPORT_VERB::check_library() const {
    if (m_library.find_first_of("/ \t\n\"") != m_library.npos)
        throw NYX_IO_ERROR("--library: a name has no blanks, quotes and slashes");
    if (fs::path(nyx_database_path(m_output)).stem() == m_library)
        throw NYX_IO_ERROR("--library: the library can't have the design's own name");
    const std::string path = get_library_path().string();
    if (std::error_code error; !fs::exists(path, error))
        return;
    if (NYX_DB::get_file_stats(path).type != NYX_DB_TYPE::COMPONENT)
        throw NYX_IO_ERROR(nyx_printable(path) + ": is there already and no component library; choose another name");
    if (!m_force)
        throw NYX_IO_ERROR(nyx_printable(path) +
                           ": is there already, and other designs may use it; choose another name, or replace it with "
                           "--force");
}

/// The paths file beside the design gets the library's line in place of what it said of that name; all else stays.
void IMPORT_VERB::enter_library(const fs::path &paths, const std::string &fresh_path) const {
    std::string text;
    if (std::ifstream old(paths); old) {
        for (std::string line; std::getline(old, line);) {
            std::istringstream words(line);
            std::string keyword;
            std::string name;
            words >> keyword >> name;
            if (keyword != "DEFINE" || name != m_library)
                text += line + "\n";
        }
    }
    text += "DEFINE " + m_library + " " + m_library + ".nyx\n";
    std::ofstream fresh(fresh_path, std::ios::binary | std::ios::trunc);
    fresh << text;
    fresh.close();
    if (!fresh)
        throw NYX_IO_ERROR(paths.string() + ": can't be written: " + std::strerror(errno));
}

void IMPORT_VERB::save(const DATABASES &databases, const fs::path &output) const {
    NYX_STAGED_FILES files;
    if (databases.library) {
        databases.library->commit(files.add(get_library_path().string()));
        const fs::path paths = output.parent_path() / "nyx.paths";
        enter_library(paths, files.add(paths.string()));
    }
    databases.design->commit(files.add(output.string()));
    files.finish();
}

int IMPORT_VERB::run(NYX_CONSOLE &console) {
    const fs::path output = nyx_database_path(m_output);
    if (!m_library.empty())
        check_library();
    if (std::error_code error; output.has_parent_path() && !fs::is_directory(output.parent_path(), error))
        throw NYX_IO_ERROR(output.string() + ": there is no folder " + output.parent_path().string());
    if (std::error_code error; fs::is_directory(output, error))
        throw NYX_IO_ERROR(output.string() + ": is a directory");

    NYX_PROGRESS_BAR bar(console, "Reading");
    const auto tell = [&bar](std::uint64_t done, std::uint64_t total) { bar.update(done, total); };
    NYX_TEXT_INPUT input(m_file);
    bar.start("Reading", "B");
    const std::unique_ptr<NYX_YOSYS_NETLIST> netlist = nyx_read_yosys_json(input, tell);
    const NYX_YOSYS_PLAN plan(*netlist, input.get_name(), m_top);

    unsigned long long size = m_size ? m_size : nyx_estimate_size(*netlist);
    std::vector<std::string> warnings;
    for (;;) {
        try {
            DATABASES databases;
            if (!m_library.empty())
                databases.library = NYX_DB::create_non_persistent(size, NYX_DB_TYPE::COMPONENT, m_library, "");
            databases.design = NYX_DB::create_non_persistent(size, NYX_DB_TYPE::USER, output.stem().string(), "");
            bar.start("Building", "cells");
            warnings = nyx_import_yosys(*netlist, plan, databases.design, databases.library, tell);
            bar.start("Saving", "");
            save(databases, output);
            break;
        } catch (const boost::interprocess::bad_alloc &) {
            if (m_size || size > s_nyx_max_size / 4)
                throw NYX_IO_ERROR(output.string() + ": the netlist does not fit in " + std::to_string(size) +
                                   " MiB; give it more with --size");
            size *= 4;
        }
    }
    bar.finish();
    for (const std::string &warning : warnings)
        console.warn(warning);

    std::uint64_t cells = 0;
    for (const NYX_YOSYS_MODULE &module : netlist->modules)
        cells += module.cells.size();
    const std::uintmax_t bytes = fs::file_size(output);
    const std::string top = plan.get_top() == NYX_YOSYS_PLAN::s_none
                                ? ""
                                : std::string(netlist->strings.get(plan.get_bases()[plan.get_top()].type));
    if (console.m_json) {
        nlohmann::ordered_json json;
        json["file"] = output.string();
        json["bytes"] = bytes;
        json["library"] = nullptr;
        if (!m_library.empty())
            json["library"] = get_library_path().string();
        json["top"] = top;
        json["modules"] = netlist->modules.size();
        json["leaf_modules_made"] = plan.get_bases().size() - netlist->modules.size();
        json["cells"] = cells;
        json["warnings"] = warnings;
        console.print(json.dump(2) + "\n");
    } else
        console.note(output.string() + ": " + nyx_group_digits(netlist->modules.size()) +
                     (netlist->modules.size() == 1 ? " module, " : " modules, ") + nyx_group_digits(cells) +
                     (cells == 1 ? " cell, top " : " cells, top ") + nyx_printable(top) + ", " +
                     nyx_human_bytes(bytes) +
                     (m_library.empty() ? "" : "; library " + nyx_printable(get_library_path().string())));
    return 0;
}

} // namespace

std::unique_ptr<NYX_VERB> nyx_make_import_verb() {
    return std::make_unique<IMPORT_VERB>();
}
