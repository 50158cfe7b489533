// The verbs that handle database files as a whole: clone, resize and rm.
#include "cmd/nyx_open_design.h"
#include "cmd/nyx_staged_files.h"
#include "cmd/nyx_verb.h"
#include "io/nyx_io_error.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <unistd.h>

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
        return {"Copies the database of a design and renames the copy's top module to the new file's name. The design "
                "stays as it is; what the copy replaces stays until that is complete."};
    }
    std::vector<EXAMPLE> get_examples() const override {
        return {{"nyx clone chip.nyx chip_eco.nyx", "The copy's top module is chip_eco."}};
    }
    std::vector<NYX_OPTION> get_options() override {
        return {{"FROM", "", "The design", &m_from, true, {}, NYX_OPTION::COMPLETE::DATABASE},
                {"TO", "", "The copy", &m_to, true, {}, NYX_OPTION::COMPLETE::DATABASE},
                {"-f,--force", "", "Replace what is there", &m_force}};
    }
    int run(NYX_CONSOLE &console) override {
        const std::string to = nyx_database_path(m_to);
        if (exists(to) && !m_force)
            throw NYX_IO_ERROR(to + ": is there already; --force replaces it");
        const std::string name = fs::path(to).stem().string();
        check(name);
        NYX_STAGED_FILES files;
        const fs::path staged = files.add(to);
        fs::path from = fs::absolute(nyx_database_path(m_from));
        constexpr fs::perms all_write = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
        if (access(from.c_str(), W_OK) != 0 || (fs::status(from).permissions() & all_write) == fs::perms::none) {
            // The library clones only what it might write to.
            from = files.add((staged.parent_path().parent_path() / ("from." + name + ".nyx")).string());
            fs::copy_file(nyx_database_path(m_from), from);
            fs::permissions(from, fs::perms::owner_write, fs::perm_options::add);
        }
        // The name of the top module is the path that is given, so that has to be a name alone.
        const fs::path here = fs::current_path();
        fs::current_path(staged.parent_path());
        NYX_DB::clone_db(from.c_str(), (name + ".nyx").c_str());
        fs::current_path(here);
        if (staged.filename() != name + ".nyx") // behind a link
            fs::rename(staged.parent_path() / (name + ".nyx"), staged);
        files.finish();
        if (console.m_json)
            console.print(nlohmann::ordered_json{{"file", to}, {"copy_of", nyx_database_path(m_from)}}.dump(2) + "\n");
        else
            console.note(to + ": a copy of " + m_from);
        return 0;
    }

private:
    /// Finds what can go wrong before anything is made, and tells it of the file that was named.
    void check(const std::string &name) const {
        NYX_DB::get_file_stats(m_from);
        const NYX_OPEN_DESIGN design(m_from);
        if (!design->is_user() && !design->is_device())
            throw NYX_IO_ERROR(m_from + ": is a " + nyx_name_of_type(NYX_DB::get_file_stats(m_from).type) +
                               "; only designs are cloned");
        const NYX_MODULE *const other = design->find_local_module(name.c_str());
        if (other && other != design->get_top_module())
            throw NYX_IO_ERROR(m_from + ": has a module \"" + name + "\" already, so its top can't get that name");
    }

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
                {"--to", "MIB", "The new size", &m_to, false, {}, NYX_OPTION::COMPLETE::NOTHING, 1, s_nyx_max_size},
                {"--by", "MIB", "So much more", &m_by, false, {}, NYX_OPTION::COMPLETE::NOTHING, 1, s_nyx_max_size}};
    }
    int run(NYX_CONSOLE &console) override {
        if (m_to && m_by)
            throw NYX_IO_ERROR("give --to or --by, not both");
        const NYX_DB_FILE_STATS now = NYX_DB::get_file_stats(m_file);
        const std::uint64_t before = now.default_size;
        constexpr std::uint64_t mebibyte = 1 << 20;
        if (m_to && m_to * mebibyte < now.data_size)
            throw NYX_IO_ERROR(nyx_database_path(m_file) + ": needs at least " +
                               std::to_string((now.data_size + mebibyte - 1) / mebibyte) + " MiB");
        if (m_by && before / mebibyte + m_by > s_nyx_max_size)
            throw NYX_IO_ERROR(nyx_database_path(m_file) + ": can't have more than " + std::to_string(s_nyx_max_size) +
                               " MiB");
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
    int run(NYX_CONSOLE &console) override {
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
        if (console.m_json)
            console.print(nlohmann::ordered_json{{"removed", paths}}.dump(2) + "\n");
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
