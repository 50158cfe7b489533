#include "cmd/nyx_open_design.h"
#include "cmd/nyx_verb.h"
#include "io/nyx_io_error.h"
#include "nyx_report/nyx_report_exception.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace {

using JSON = nlohmann::ordered_json;

class CHECK_VERB final : public NYX_VERB {
public:
    std::string get_name() const override { return "check"; }
    std::string get_summary() const override { return "check that databases are sound"; }
    std::vector<std::string> get_description() const override {
        return {
            "Reads each file with all the checks of opening, and then walks what is in it: the memory's blocks, and "
            "every list, link, count and map of the netlist. Each fault is told in words. The exit code is 1 if there "
            "is any, a damaged file among them, and 2 if a file, or a library that it needs, isn't there or can't be "
            "read; the other files are checked nevertheless."};
    }
    std::vector<EXAMPLE> get_examples() const override {
        return {{"nyx check design.nyx && cp design.nyx /archive", "Keep a copy if it is sound."}};
    }
    std::vector<NYX_OPTION> get_options() override {
        return {{"FILE", "", "The databases", &m_files, true, {}, NYX_OPTION::COMPLETE::DATABASE}};
    }
    int run(NYX_CONSOLE &console) override {
        JSON all = JSON::array();
        int code = 0;
        for (const std::string &file : m_files) {
            std::vector<std::string> faults;
            std::string trouble;
            try {
                faults = find_faults(file);
            } catch (const std::bad_alloc &) {
                throw;
            } catch (const std::exception &error) {
                trouble = nyx_message_of(error);
            }
            code = !trouble.empty() ? 2 : std::max(code, int(!faults.empty()));
            if (console.m_json && trouble.empty())
                all.push_back({{"file", file}, {"faults", faults}});
            else if (console.m_json)
                all.push_back({{"file", file}, {"error", trouble}});
            else if (trouble.empty() && faults.empty())
                console.print(nyx_printable(file) + ": " + console.paint(NYX_CONSOLE::STYLE::GOOD, "sound") + "\n");
            for (const std::string &fault : faults)
                if (!console.m_json)
                    console.print(nyx_printable(file) + ": " + console.paint(NYX_CONSOLE::STYLE::BAD, "fault") + ": " +
                                  nyx_printable(fault) + "\n");
            if (!trouble.empty())
                console.error(trouble);
        }
        if (console.m_json)
            console.print(all.dump(2, ' ', false, JSON::error_handler_t::replace) + "\n");
        return code;
    }

private:
    /// Throws where the file can't be looked at.
    static std::vector<std::string> find_faults(const std::string &file) {
        const std::string path = nyx_database_path(file);
        if (access(path.c_str(), R_OK) != 0)
            throw NYX_IO_ERROR(nyx_printable(path) + ": can't be read: " + std::strerror(errno));
        if (std::error_code error; std::filesystem::file_size(path, error) == 0 && !error)
            return {"the file is empty"};
        try {
            const NYX_OPEN_DESIGN design(file);
            return design->verify();
        } catch (const NYX_DATABASE_CORRUPTED_EXCEPTION &error) {
            return {nyx_message_of(error)};
        } catch (const NYX_DATABASE_OLD_VERSION_EXCEPTION &error) {
            return {nyx_message_of(error)};
        } catch (const NYX_FILE_IO_EXCEPTION &error) {
            // It could be opened; what is missing in it is a fault.
            if (error.operation() != NYX_FILE_IO_EXCEPTION::READ || error.path() != path)
                throw;
            return {nyx_message_of(error)};
        }
    }

    std::vector<std::string> m_files;
};

} // namespace

std::unique_ptr<NYX_VERB> nyx_make_check_verb() {
    return std::make_unique<CHECK_VERB>();
}
