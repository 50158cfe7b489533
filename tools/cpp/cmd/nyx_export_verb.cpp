#include "cmd/nyx_open_design.h"
#include "cmd/nyx_verb.h"
#include "io/nyx_verilog_writer.h"
#include "io/nyx_yosys_writer.h"

namespace {

class EXPORT_VERB final : public NYX_VERB {
public:
    std::string get_name() const override { return "export"; }
    std::string get_summary() const override { return "write the netlist of a database"; }
    std::vector<std::string> get_description() const override {
        return {
            "Writes the netlist, with the modules that it uses in libraries, for other tools. The output is packed if "
            "its name ends in .gz or .zst, and replaces what is there when it is complete.",
            "yosys-json gives back what was imported, but for the numbers of the bits. verilog is structural; where "
            "it has Yosys' own cell types, read it with read_verilog -icells."};
    }
    std::vector<EXAMPLE> get_examples() const override {
        return {{"nyx export design.nyx -f yosys-json -o design.json.zst", "Write packed JSON."},
                {"nyx export design.nyx -f verilog | less", "Look at the netlist as Verilog."}};
    }
    std::vector<NYX_OPTION> get_options() override {
        return {{"FILE", "", "The database", &m_file, true, {}, NYX_OPTION::COMPLETE::DATABASE},
                {"-f,--format", "FORMAT", "The format", &m_format, false, {"yosys-json", "verilog"}},
                {"-o,--output",
                 "FILE",
                 "Where to; \"-\", or nothing, is standard output",
                 &m_output,
                 false,
                 {},
                 NYX_OPTION::COMPLETE::ANY_FILE}};
    }
    bool has_json() const override { return false; }
    int run(NYX_CONSOLE &console) override {
        const NYX_OPEN_DESIGN design(m_file);
        NYX_TEXT_OUTPUT output(m_output);
        // A pager may show standard output on the same terminal.
        NYX_PROGRESS_BAR bar(console, "Writing", m_output != "-");
        bar.start("Writing", "cells");
        const auto tell = [&bar](std::uint64_t done, std::uint64_t total) { bar.update(done, total); };
        const std::vector<std::string> warnings = m_format == "verilog"
                                                      ? nyx_write_verilog(design.get(), output, tell)
                                                      : nyx_write_yosys_json(design.get(), output, tell);
        output.finish();
        bar.finish();
        for (const std::string &warning : warnings)
            console.warn(warning);
        return 0;
    }

private:
    std::string m_file;
    std::string m_format = "yosys-json";
    std::string m_output = "-";
};

} // namespace

std::unique_ptr<NYX_VERB> nyx_make_export_verb() {
    return std::make_unique<EXPORT_VERB>();
}
