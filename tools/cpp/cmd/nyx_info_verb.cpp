#include "cmd/nyx_open_design.h"
#include "cmd/nyx_verb.h"
#include "io/nyx_io_error.h"
#include "io/nyx_netlist_counts.h"

#include <nlohmann/json.hpp>

#include <filesystem>

namespace {

using JSON = nlohmann::ordered_json;

const char *get_name_of_compression(std::uint32_t algorithm) {
    switch (algorithm) {
    case 0:
        return "none";
    case 1:
        return "LZ4";
    case 2:
        return "Zstandard";
    }
    return "unknown";
}

JSON to_json(const NYX_MODULE_COUNTS &counts) {
    JSON json;
    json["name"] = counts.name;
    json["kind"] = counts.is_top ? "top" : counts.is_implied ? "undefined" : counts.is_leaf ? "leaf" : "module";
    json["cells"] = counts.cells;
    json["hier_cells"] = counts.hier_cells;
    json["leaf_cells"] = counts.leaf_cells;
    json["names"] = counts.names;
    json["name_bits"] = counts.name_bits;
    json["nets"] = counts.nets;
    json["ports"] = counts.ports;
    json["port_bits"] = counts.port_bits;
    json["pins"] = counts.pins;
    json["open_pins"] = counts.open_pins;
    json["pin_bits"] = counts.pin_bits;
    json["net_pin_bits"] = counts.net_pin_bits;
    json["constant_pin_bits"] = counts.constant_pin_bits;
    json["cell_parameters"] = counts.cell_parameters;
    json["cell_attributes"] = counts.cell_attributes;
    json["net_attributes"] = counts.net_attributes;
    json["paths"] = counts.paths;
    json["leaf_paths"] = counts.leaf_paths;
    json["hier_paths"] = counts.hier_paths;
    json["depth"] = counts.depth;
    return json;
}

class INFO_VERB final : public NYX_VERB {
public:
    std::string get_name() const override { return "info"; }
    std::string get_summary() const override { return "tell what database files are"; }
    std::vector<std::string> get_description() const override {
        return {
            "Reads the headers of the files and no more, so it answers at once whatever their size.",
            "With --counts the databases are opened, and what each module consists of is counted: cells, nets, ports "
            "and the bits of the cells' connections, and the instances below one of it in the unfolded design. "
            "Modules that the netlist did not define are left out of the table."};
    }
    std::vector<EXAMPLE> get_examples() const override {
        return {{"nyx info *.nyx", "What the files are."},
                {"nyx info design.nyx --counts", "What is in each module."},
                {"nyx info design.nyx --counts --json | jq '.[0].total.cells'", "One number, for a script."}};
    }
    std::vector<NYX_OPTION> get_options() override {
        return {{"FILE", "", "The databases", &m_files, true, {}, NYX_OPTION::COMPLETE::DATABASE},
                {"--counts", "", "Open the databases and count", &m_counts}};
    }
    int run(NYX_CONSOLE &console) override {
        JSON all = JSON::array();
        bool first = true;
        for (const std::string &file : m_files) {
            JSON json = tell_header(console, file, first);
            if (m_counts)
                tell_counts(console, file, json);
            all.push_back(std::move(json));
            first = false;
        }
        if (console.m_json)
            console.print(all.dump(2, ' ', false, JSON::error_handler_t::replace) + "\n");
        return 0;
    }

private:
    JSON tell_header(NYX_CONSOLE &console, const std::string &file, bool first) const {
        const NYX_DB_FILE_STATS stats = NYX_DB::get_file_stats(file);
        const std::string path = nyx_database_path(file);
        std::error_code error;
        const std::uintmax_t bytes = std::filesystem::file_size(path, error);
        char schema[20];
        std::snprintf(schema, sizeof(schema), "%016llx", static_cast<unsigned long long>(stats.schema_id));
        const bool is_current = stats.schema_id == NYX_DB::get_schema_id(stats.type, nullptr);
        JSON json;
        json["file"] = path;
        json["bytes"] = error ? 0 : bytes;
        json["type"] = nyx_name_of_type(stats.type);
        json["version"] = stats.version;
        json["schema"] = schema;
        json["readable"] = is_current;
        json["client_id"] = stats.tag;
        json["compression"] = get_name_of_compression(stats.compression_algorithm);
        json["chunk_bytes"] = stats.chunk_size;
        json["image_bytes"] = stats.data_size;
        json["payload_bytes"] = stats.payload_size;
        json["room_bytes"] = stats.default_size;
        if (console.m_json)
            return json;
        using STYLE = NYX_CONSOLE::STYLE;
        const auto line = [&console](const char *what, const std::string &value) {
            console.print("  " + console.paint(STYLE::FAINT, what) + std::string(14 - std::string(what).size(), ' ') +
                          value + "\n");
        };
        console.print((first ? "" : "\n") + console.paint(STYLE::HEADING, nyx_printable(path)) + "\n");
        line("type", nyx_name_of_type(stats.type));
        line("file", nyx_human_bytes(bytes) + ", " + get_name_of_compression(stats.compression_algorithm));
        line("in memory", nyx_human_bytes(stats.data_size) + ", may grow to " + nyx_human_bytes(stats.default_size));
        line("format",
             std::to_string(stats.version) + ", tables " + schema +
                 (is_current ? "" : console.paint(STYLE::BAD, " (another version's; this one can't open it)")));
        if (!stats.tag.empty())
            line("client", nyx_printable(stats.tag));
        return json;
    }

    static void tell_counts(NYX_CONSOLE &console, const std::string &file, JSON &json) {
        const NYX_OPEN_DESIGN design(file);
        const std::vector<NYX_MODULE_COUNTS> modules = nyx_count_netlist(design.get());
        NYX_MODULE_COUNTS total;
        std::vector<std::vector<std::string>> rows;
        const auto add_row = [&rows](const std::string &name, const NYX_MODULE_COUNTS &counts) {
            rows.push_back({name, nyx_group_digits(counts.cells), nyx_group_digits(counts.leaf_cells),
                            nyx_group_digits(counts.nets), nyx_group_digits(counts.port_bits),
                            nyx_group_digits(counts.pin_bits),
                            counts.paths == NYX_MODULE_COUNTS::s_many ? ">1.8e19" : nyx_group_digits(counts.paths),
                            std::to_string(counts.depth)});
        };
        json["modules"] = JSON::array();
        for (const NYX_MODULE_COUNTS &counts : modules) {
            json["modules"].push_back(to_json(counts));
            if (counts.is_implied)
                continue;
            add_row(nyx_printable(counts.name) + (counts.is_top ? " (top)" : ""), counts);
            total.add(counts);
            if (counts.is_top) {
                total.paths = counts.paths;
                total.leaf_paths = counts.leaf_paths;
                total.hier_paths = counts.hier_paths;
                total.depth = counts.depth;
            }
        }
        total.name = "total";
        json["total"] = to_json(total);
        if (console.m_json)
            return;
        add_row("total", total);
        console.print("\n");
        console.print_table({{"MODULE"},
                             {"CELLS", true},
                             {"LEAVES", true},
                             {"NETS", true},
                             {"PORT BITS", true},
                             {"PIN BITS", true},
                             {"UNFOLDED", true},
                             {"DEPTH", true}},
                            rows);
    }

    std::vector<std::string> m_files;
    bool m_counts = false;
};

} // namespace

std::unique_ptr<NYX_VERB> nyx_make_info_verb() {
    return std::make_unique<INFO_VERB>();
}
