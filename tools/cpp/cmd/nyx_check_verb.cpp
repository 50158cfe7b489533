#include "cmd/nyx_open_design.h"
#include "cmd/nyx_verb.h"
#include "io/nyx_io_error.h"

#include <nlohmann/json.hpp>

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
            "is any, 2 if a file can't be read."};
    }
    std::vector<EXAMPLE> get_examples() const override {
        return {{"nyx check design.nyx && cp design.nyx /archive", "Keep a copy if it is sound."}};
    }
    std::vector<NYX_OPTION> get_options() override {
        return {{"FILE", "", "The databases", &m_files, true, {}, NYX_OPTION::COMPLETE::DATABASE}};
    }
    int run(NYX_CONSOLE &console) override {
        JSON all = JSON::array();
        bool is_sound = true;
        for (const std::string &file : m_files) {
            const NYX_OPEN_DESIGN design(file);
            const std::vector<std::string> faults = design->verify();
            is_sound = is_sound && faults.empty();
            if (console.m_json)
                all.push_back({{"file", file}, {"faults", faults}});
            else if (faults.empty())
                console.print(nyx_printable(file) + ": " + console.paint(NYX_CONSOLE::STYLE::GOOD, "sound") + "\n");
            else
                for (const std::string &fault : faults)
                    console.print(nyx_printable(file) + ": " + console.paint(NYX_CONSOLE::STYLE::BAD, "fault") + ": " +
                                  nyx_printable(fault) + "\n");
        }
        if (console.m_json)
            console.print(all.dump(2, ' ', false, JSON::error_handler_t::replace) + "\n");
        return is_sound ? 0 : 1;
    }

private:
    std::vector<std::string> m_files;
};

} // namespace

std::unique_ptr<NYX_VERB> nyx_make_check_verb() {
    return std::make_unique<CHECK_VERB>();
}
