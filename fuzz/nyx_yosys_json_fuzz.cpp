// Imports netlists, and what can be imported has to come back: the database is sound, and its export can be imported
// again to the same counts. The texts may differ in the numbers of bits. An input is the text of a netlist.
#include "io/nyx_io_error.h"
#include "io/nyx_netlist_counts.h"
#include "io/nyx_verilog_writer.h"
#include "io/nyx_yosys_importer.h"
#include "io/nyx_yosys_writer.h"
#include "nyx/nyx.h"
#include "silent_sink.h"
#include "support/temp_dir.h"

#include <boost/interprocess/exceptions.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *data, std::size_t size, std::size_t max_size);

namespace {

struct CLOSE {
    void operator()(NYX_DB *db) const { db->close(); }
};
using DB = std::unique_ptr<NYX_DB, CLOSE>;

// Null for a text that is refused, or that has no room.
DB import(const TEMP_DIR &folder, const std::string &text) {
    const std::string path = folder / "in.json";
    std::ofstream(path, std::ios::binary) << text;
    try {
        NYX_TEXT_INPUT input(path);
        const auto netlist = nyx_read_yosys_json(input);
        const NYX_YOSYS_PLAN plan(*netlist, "in.json", "");
        DB db(NYX_DB::create_non_persistent(64, NYX_DB_TYPE::USER, "", ""));
        nyx_import_yosys(*netlist, plan, db.get(), nullptr);
        return db;
    } catch (const NYX_IO_ERROR &) {
    } catch (const boost::interprocess::bad_alloc &) {
    }
    return nullptr;
}

template <class WRITER>
std::string write(const TEMP_DIR &folder, NYX_DB *db, WRITER &&writer) {
    const std::string path = folder / "out";
    NYX_TEXT_OUTPUT output(path);
    writer(db, output, nullptr);
    output.finish();
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

[[noreturn]] void fail(const char *what) {
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

// One line a module.
std::vector<std::string> count(NYX_DB *db) {
    std::vector<std::string> lines;
    for (const NYX_MODULE_COUNTS &module : nyx_count_netlist(db)) {
        std::string line = module.name;
        for (const std::uint64_t number :
             {std::uint64_t(module.is_top), std::uint64_t(module.is_leaf), std::uint64_t(module.is_implied),
              module.cells, module.names, module.name_bits, module.nets, module.ports, module.port_bits, module.pins,
              module.open_pins, module.pin_bits, module.net_pin_bits, module.constant_pin_bits, module.cell_parameters,
              module.cell_attributes, module.net_attributes, module.paths})
            line += " " + std::to_string(number);
        lines.push_back(std::move(line));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

// A string, a number or word, or a single character.
struct TOKEN {
    std::size_t begin;
    std::size_t size;
};

std::vector<TOKEN> split(std::string_view text) {
    const auto is_word = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' || c == '.';
    };
    std::vector<TOKEN> tokens;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t begin = at++;
        if (text[begin] == '"') {
            while (at < text.size() && text[at] != '"')
                at += text[at] == '\\' ? 2 : 1;
            at = std::min(at + 1, text.size());
        } else if (is_word(text[begin])) {
            while (at < text.size() && is_word(text[at]))
                ++at;
        } else if (text[begin] == ' ' || text[begin] == '\n') {
            continue;
        }
        tokens.push_back({begin, at - begin});
    }
    return tokens;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    NYX_REPORT::set_sink(std::make_shared<SILENT_SINK>());
    return 0;
}

// Bytes are rarely changed to something that is still a netlist. Mostly a token takes the place of another one, or a
// run of tokens is repeated or left out.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t *data, std::size_t size, std::size_t max_size,
                                               unsigned seed) {
    std::minstd_rand random(seed);
    std::string text(reinterpret_cast<const char *>(data), size);
    const std::vector<TOKEN> tokens = split(text);
    if (tokens.size() < 4 || random() % 4 == 0)
        return LLVMFuzzerMutate(data, size, max_size);
    const std::size_t first = random() % tokens.size();
    const std::size_t last = std::min(first + random() % 24, tokens.size() - 1);
    const TOKEN &from = tokens[first];
    const TOKEN &to = tokens[last];
    switch (random() % 4) {
    case 0:
    case 1: {
        const TOKEN &other = tokens[random() % tokens.size()];
        text.replace(from.begin, from.size, text.substr(other.begin, other.size));
        break;
    }
    case 2:
        text.insert(to.begin + to.size, text.substr(from.begin, to.begin + to.size - from.begin));
        break;
    default:
        text.erase(from.begin, to.begin + to.size - from.begin);
    }
    if (text.size() > max_size)
        return LLVMFuzzerMutate(data, size, max_size);
    std::copy(text.begin(), text.end(), data);
    return text.size();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const TEMP_DIR folder; // for one input: the process ends without destructors
    const DB db = import(folder, std::string(reinterpret_cast<const char *>(data), size));
    if (!db)
        return 0;
    if (const auto faults = db->verify(); !faults.empty())
        fail(faults.front().c_str());
    write(folder, db.get(), nyx_write_verilog);
    const DB again = import(folder, write(folder, db.get(), nyx_write_yosys_json));
    if (!again)
        fail("the export can't be imported");
    if (count(again.get()) != count(db.get()))
        fail("the export is another netlist");
    return 0;
}
