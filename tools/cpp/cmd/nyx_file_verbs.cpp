// The verbs that handle database files as a whole: clone, resize and rm.
#include "cmd/nyx_open_design.h"
#include "cmd/nyx_verb.h"
#include "io/nyx_io_error.h"

#include <nlohmann/json.hpp>

#include <filesystem>

namespace {

namespace fs = std::filesystem;

bool exists(const std::string &path) {
    std::error_code error;
    return fs::exists(path, error);
}

class CLONE_VERB final : public NYX_VERB {
public:
    std::string get_name() const override { return "clone"; }
    std::string get_summary() const override { return "copy a design, its top module under the new name"; }
    std::vector<std::string> get_description() const override {
        return {"Copies the database of a design and renames the copy's top module to the new file's name."};
    }
    std::vector<EXAMPLE> get_examples() const override {
        return {{"nyx clone chip.nyx chip_eco.nyx", "The copy's top module is chip_eco."}};
    }
    std::vector<NYX_OPTION> get_options() override {
        return {{"FROM", "", "The design", &m_from, true, {}, NYX_OPTION::COMPLETE::DATABASE},
                {"TO", "", "The copy", &m_to, true, {}, NYX_OPTION::COMPLETE::DATABASE},
                {"-f,--force", "", "Replace what is there", &m_force}};
    }
    bool has_json() const override { return false; }
    int run(NYX_CONSOLE &console) override {
        const std::string to = nyx_database_path(m_to);
        if (exists(to) && !m_force)
            throw NYX_IO_ERROR(to + ": is there already; --force replaces it");
        // The name of the top module is that of the file, so the copy is made in its folder.
        const fs::path from = fs::absolute(nyx_database_path(m_from));
        const fs::path folder = fs::path(to).parent_path();
        if (!folder.empty()) {
            std::error_code error;
            fs::current_path(folder, error);
            if (error)
                throw NYX_IO_ERROR(folder.string() + ": " + error.message());
        }
        NYX_DB::init("", false);
        if (const fs::path paths = from.parent_path() / "nyx.paths"; exists(paths.string()))
            NYX_DB::add_nyx_paths(paths.string(), from.parent_path().string(), false);
        NYX_DB::clone_db(from.c_str(), fs::path(to).filename().c_str());
        console.note(to + ": a copy of " + m_from);
        return 0;
    }

private:
    std::string m_from;
    std::string m_to;
    bool m_force = false;
};

class RESIZE_VERB final : public NYX_VERB {
public:
    std::string get_name() const override { return "resize"; }
    std::string get_summary() const override { return "set to what a database may grow"; }
    std::vector<std::string> get_description() const override {
        return {
            "A database has a range of addresses that it may fill. It takes no memory and no room in the file before "
            "it is filled. Without an option, tells what it is."};
    }
    std::vector<EXAMPLE> get_examples() const override {
        return {{"nyx resize design.nyx --to 8192", "8 GiB."}, {"nyx resize design.nyx --by 1024", "1 GiB more."}};
    }
    std::vector<NYX_OPTION> get_options() override {
        return {{"FILE", "", "The database", &m_file, true, {}, NYX_OPTION::COMPLETE::DATABASE},
                {"--to", "MIB", "The new size", &m_to},
                {"--by", "MIB", "So much more", &m_by}};
    }
    int run(NYX_CONSOLE &console) override {
        if (m_to && m_by)
            throw NYX_IO_ERROR("give --to or --by, not both");
        if (m_to > (1ull << 30) || m_by > (1ull << 30))
            throw NYX_IO_ERROR("a database can't have more than 1073741824 MiB");
        const std::uint64_t before = NYX_DB::get_file_stats(m_file).default_size;
        if (m_to)
            NYX_DB::set_db_size(m_file.c_str(), m_to);
        else if (m_by)
            NYX_DB::grow_db(m_file.c_str(), m_by);
        const NYX_DB_FILE_STATS after = NYX_DB::get_file_stats(m_file);
        if (console.m_json) {
            nlohmann::ordered_json json;
            json["file"] = nyx_database_path(m_file);
            json["image_bytes"] = after.data_size;
            json["room_bytes_before"] = before;
            json["room_bytes"] = after.default_size;
            console.print(json.dump(2) + "\n");
        } else
            console.print(nyx_database_path(m_file) + ": " + nyx_human_bytes(after.data_size) + " used, may grow to " +
                          nyx_human_bytes(after.default_size) + "\n");
        return 0;
    }

private:
    std::string m_file;
    unsigned long long m_to = 0;
    unsigned long long m_by = 0;
};

class RM_VERB final : public NYX_VERB {
public:
    std::string get_name() const override { return "rm"; }
    std::string get_summary() const override { return "remove database files"; }
    std::vector<std::string> get_description() const override {
        return {"Removes database files, and nothing that is no database."};
    }
    std::vector<EXAMPLE> get_examples() const override { return {{"nyx rm old.nyx", "Remove old.nyx."}}; }
    std::vector<NYX_OPTION> get_options() override {
        return {{"FILE", "", "The databases", &m_files, true, {}, NYX_OPTION::COMPLETE::DATABASE},
                {"-f,--force", "", "No error for a file that isn't there", &m_force}};
    }
    bool has_json() const override { return false; }
    int run(NYX_CONSOLE &) override {
        // All are looked at before any is removed.
        std::vector<std::string> paths;
        for (const std::string &file : m_files) {
            const std::string path = nyx_database_path(file);
            if (!exists(path) && m_force)
                continue;
            NYX_DB::get_file_stats(path);
            paths.push_back(path);
        }
        for (const std::string &path : paths)
            NYX_DB::destroy(path.c_str());
        return 0;
    }

private:
    std::vector<std::string> m_files;
    bool m_force = false;
};

} // namespace

std::unique_ptr<NYX_VERB> nyx_make_clone_verb() {
    return std::make_unique<CLONE_VERB>();
}
std::unique_ptr<NYX_VERB> nyx_make_resize_verb() {
    return std::make_unique<RESIZE_VERB>();
}
std::unique_ptr<NYX_VERB> nyx_make_rm_verb() {
    return std::make_unique<RM_VERB>();
}
