#ifndef NYX_TEST_IO_TEST_SUPPORT_H
#define NYX_TEST_IO_TEST_SUPPORT_H

#include "io/nyx_io_error.h"
#include "io/nyx_yosys_reader.h"
#include "support/temp_dir.h"

#include <fstream>
#include <memory>
#include <string>

inline void write_file(const std::string &path, const std::string &text) {
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A netlist with one module "m" that has these sections.
inline std::string in_module(const std::string &sections) {
    return "{\"modules\": {\"m\": {" + sections + "}}}";
}

inline std::unique_ptr<NYX_YOSYS_NETLIST> read_netlist(const std::string &text) {
    const TEMP_DIR dir;
    write_file(dir / "in.json", text);
    NYX_TEXT_INPUT input(dir / "in.json");
    return nyx_read_yosys_json(input);
}

/// What the reader says of a text, without the folder; empty if it takes it.
inline std::string fault_of(const std::string &text) {
    const TEMP_DIR dir;
    const std::string path = dir / "in.json";
    write_file(path, text);
    try {
        NYX_TEXT_INPUT input(path);
        nyx_read_yosys_json(input);
    } catch (const NYX_IO_ERROR &error) {
        const std::string what = error.what();
        return what.substr(what.find("in.json"));
    }
    return {};
}

#endif
