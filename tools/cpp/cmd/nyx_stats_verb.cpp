#include "cmd/nyx_open_design.h"
#include "cmd/nyx_verb.h"
#include "io/nyx_io_error.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>

namespace {

using JSON = nlohmann::ordered_json;

class STATS_VERB final : public NYX_VERB {
public:
    std::string get_name() const override { return "stats"; }
    std::string get_summary() const override { return "show where the memory of a database goes"; }
    std::vector<std::string> get_description() const override {
        return {
            "Opens the database and lists its tables, the largest first, with their rows and bytes, and with --columns "
            "the columns of each."};
    }
    std::vector<EXAMPLE> get_examples() const override {
        return {{"nyx stats design.nyx", "By table."}, {"nyx stats design.nyx --columns", "By table and column."}};
    }
    std::vector<NYX_OPTION> get_options() override {
        return {{"FILE", "", "The database", &m_file, true, {}, NYX_OPTION::COMPLETE::DATABASE},
                {"-c,--columns", "", "List columns too", &m_columns}};
    }
    int run(NYX_CONSOLE &console) override {
        const NYX_OPEN_DESIGN design(m_file);
        const NYX_STATS stats = design->get_internal_stats();
        struct TABLE {
            const NYX_TYPE_STATS *stats;
            std::uint64_t bytes;
        };
        std::vector<TABLE> tables;
        for (const NYX_TYPE_STATS &type : stats.get_type_stats()) {
            std::uint64_t bytes = 0;
            for (const NYX_FIELD_STATS &field : type.get_field_stats())
                bytes += std::uint64_t(field.get_bytes());
            if (bytes > 0)
                tables.push_back({&type, bytes});
        }
        std::stable_sort(tables.begin(), tables.end(),
                         [](const TABLE &a, const TABLE &b) { return a.bytes > b.bytes; });
        if (console.m_json) {
            JSON json;
            json["used_bytes"] = stats.get_used();
            json["room_bytes"] = stats.get_size();
            json["tables"] = JSON::array();
            for (const TABLE &table : tables) {
                JSON entry;
                entry["table"] = table.stats->get_type();
                entry["bytes"] = table.bytes;
                if (const int num_rows = table.stats->get_num_allocated(); num_rows >= 0)
                    entry["rows"] = num_rows;
                else
                    entry["rows"] = nullptr;
                entry["columns"] = JSON::array();
                for (const NYX_FIELD_STATS &field : get_fields(*table.stats))
                    entry["columns"].push_back(
                        {{"column", field.get_type()}, {"bytes", field.get_bytes()}, {"pages", field.get_num_pages()}});
                json["tables"].push_back(std::move(entry));
            }
            console.print(json.dump(2) + "\n");
            return 0;
        }
        const double used = double(std::max(1ull, stats.get_used()));
        std::vector<std::vector<std::string>> rows;
        const auto add_row = [&rows, used](const std::string &name, std::string count, std::uint64_t bytes) {
            char share[16];
            std::snprintf(share, sizeof(share), "%5.1f%%", 100 * double(bytes) / used);
            rows.push_back(
                {name, std::move(count), nyx_human_bytes(bytes), share, nyx_share_bar(double(bytes) / used, 20)});
        };
        for (const TABLE &table : tables) {
            const int num_rows = table.stats->get_num_allocated();
            add_row(table.stats->get_type(), num_rows >= 0 ? nyx_group_digits(std::uint64_t(num_rows)) : "",
                    table.bytes);
            if (m_columns)
                for (const NYX_FIELD_STATS &field : get_fields(*table.stats))
                    if (field.get_bytes() > 0)
                        add_row("  " + field.get_type(), "", std::uint64_t(field.get_bytes()));
        }
        console.print_table({{"TABLE"}, {"ROWS", true}, {"BYTES", true}, {"SHARE", true}, {""}}, rows);
        console.print("\n" + nyx_human_bytes(stats.get_used()) + " used of " + nyx_human_bytes(stats.get_size()) +
                      "\n");
        return 0;
    }

private:
    static std::vector<NYX_FIELD_STATS> get_fields(const NYX_TYPE_STATS &type) {
        std::vector<NYX_FIELD_STATS> fields = type.get_field_stats();
        std::stable_sort(fields.begin(), fields.end(), [](const NYX_FIELD_STATS &a, const NYX_FIELD_STATS &b) {
            return a.get_bytes() > b.get_bytes();
        });
        return fields;
    }

    std::string m_file;
    bool m_columns = false;
};

} // namespace

std::unique_ptr<NYX_VERB> nyx_make_stats_verb() {
    return std::make_unique<STATS_VERB>();
}
