#include "io_test_support.h"

#include <gtest/gtest.h>

namespace {

std::string_view text(const NYX_YOSYS_NETLIST &netlist, std::uint32_t string) {
    return netlist.strings.get(string);
}

TEST(YosysReader, ReadsPortsCellsAndNames) {
    const auto netlist = read_netlist(in_module(R"("attributes": {"top": 1},
        "ports": {"a": {"direction": "input", "bits": [2, 3], "offset": 4, "upto": 1, "signed": 1}},
        "cells": {"u": {"hide_name": 1, "type": "T", "parameters": {"P": "01"}, "attributes": {"src": "f:1"},
                        "port_directions": {"A": "input", "B": "output"}, "connections": {"A": [3, "x"], "B": []}}},
        "netnames": {"a": {"hide_name": 0, "bits": [2, 3], "attributes": {}}})"));
    ASSERT_EQ(netlist->modules.size(), 1u);
    const NYX_YOSYS_MODULE &module = netlist->modules[0];
    EXPECT_EQ(text(*netlist, module.name), "m");
    ASSERT_EQ(module.ports.size(), 1u);
    EXPECT_EQ(module.ports[0].direction, NYX_YOSYS_DIRECTION::INPUT);
    EXPECT_EQ(module.ports[0].offset, 4);
    EXPECT_TRUE(module.ports[0].upto);
    EXPECT_TRUE(module.ports[0].is_signed);
    ASSERT_EQ(module.cells.size(), 1u);
    const NYX_YOSYS_CELL &cell = module.cells[0];
    EXPECT_EQ(text(*netlist, cell.type), "T");
    EXPECT_TRUE(cell.hidden);
    const NYX_YOSYS_SHAPE &shape = netlist->shapes[cell.shape];
    ASSERT_EQ(shape.ports.size(), 2u);
    EXPECT_EQ(shape.ports[0].width, 2u);
    EXPECT_EQ(shape.ports[1].width, 0u);
    EXPECT_EQ(shape.ports[1].direction, NYX_YOSYS_DIRECTION::OUTPUT);
    ASSERT_EQ(cell.bits.count, 2u);
    EXPECT_EQ(module.bits[cell.bits.begin], NYX_YOSYS_BIT(3));
    EXPECT_EQ(module.bits[cell.bits.begin + 1], NYX_YOSYS_BIT::X);
    ASSERT_EQ(module.names.size(), 1u);
    EXPECT_EQ(module.names[0].bits.count, 2u);
}

TEST(YosysReader, TellsVectorsTextsAndNumbersApart) {
    const auto netlist =
        read_netlist(in_module(R"("attributes": {"a": "01xz", "b": "01 ", "c": "text", "d": -5, "e": 1.5, "f": ""})"));
    const NYX_YOSYS_MODULE &module = netlist->modules[0];
    using KIND = NYX_YOSYS_VALUE::KIND;
    ASSERT_EQ(module.values.size(), 6u);
    EXPECT_EQ(module.values[0].kind, KIND::BITS);
    EXPECT_EQ(module.values[1].kind, KIND::STRING);
    EXPECT_EQ(text(*netlist, module.values[1].text), "01");
    EXPECT_EQ(module.values[2].kind, KIND::STRING);
    EXPECT_EQ(module.values[3].kind, KIND::INTEGER);
    EXPECT_EQ(module.values[3].integer, -5);
    EXPECT_EQ(module.values[4].kind, KIND::REAL);
    EXPECT_EQ(text(*netlist, module.values[4].text), "1.5");
    EXPECT_EQ(module.values[5].kind, KIND::BITS);
}

TEST(YosysReader, DecodesEscapesInNames) {
    const auto netlist = read_netlist("{\"modules\": {\"a\\\\b\\\"\\u00e9{}[],\": {}}}");
    EXPECT_EQ(text(*netlist, netlist->modules[0].name), "a\\b\"\u00e9{}[],");
}

TEST(YosysReader, SkipsWhatItDoesNotKnow) {
    const auto netlist = read_netlist(R"({"creator": "me", "x": [1, {"y": null}], "modules": {"m":
        {"future": {"z": [true, false, "}"]}, "cells": {"u": {"type": "T", "model": 7}}}}, "models": {}})");
    EXPECT_EQ(netlist->modules[0].cells.size(), 1u);
}

TEST(YosysReader, KeepsMemoriesAsTheyStand) {
    const auto netlist = read_netlist(in_module(R"("memories": {"r": {"width": 8}})"));
    EXPECT_EQ(netlist->modules[0].memories, R"({"r": {"width": 8}})");
}

TEST(YosysReader, ReadsAModuleThatIsLargerThanItsBuffers) {
    std::string cells;
    for (int i = 0; i < 60'000; ++i)
        cells += std::string(i ? "," : "") + "\n      \"cell_" + std::to_string(i) +
                 "\": { \"type\": \"T\", \"connections\": { \"A\": [ " + std::to_string(i + 2) + " ] } }";
    const auto netlist = read_netlist(in_module("\"cells\": {" + cells + "}"));
    const NYX_YOSYS_MODULE &module = netlist->modules[0];
    ASSERT_EQ(module.cells.size(), 60'000u);
    for (std::uint32_t i = 0; i < 60'000; ++i) {
        ASSERT_EQ(text(*netlist, module.cells[i].name), "cell_" + std::to_string(i));
        ASSERT_EQ(module.bits[module.cells[i].bits.begin], NYX_YOSYS_BIT(i + 2));
    }
    EXPECT_EQ(netlist->shapes.size(), 1u);
}

TEST(YosysReader, ReadsASingleMemberThatIsLargerThanItsBuffers) {
    std::string bits = "0";
    for (int i = 1; i < 700'000; ++i)
        bits += "," + std::to_string(i);
    const auto netlist = read_netlist(in_module("\"netnames\": {\"n\": {\"bits\": [" + bits + "]}}"));
    EXPECT_EQ(netlist->modules[0].names[0].bits.count, 700'000u);
}

TEST(YosysReader, TellsProgressToTheEnd) {
    const TEMP_DIR dir;
    write_file(dir / "in.json", in_module(""));
    NYX_TEXT_INPUT input(dir / "in.json");
    std::uint64_t last = 0;
    std::uint64_t all = 0;
    nyx_read_yosys_json(input, [&](std::uint64_t used, std::uint64_t total) {
        last = used;
        all = total;
    });
    EXPECT_EQ(last, in_module("").size());
    EXPECT_EQ(all, last);
}

// Faults: the file, the line, the place, and what to do.

TEST(YosysReaderFault, NotJson) {
    EXPECT_EQ(fault_of("module top; endmodule\n"),
              "in.json:1: is not a netlist: a JSON object should begin here; write the file with Yosys' write_json");
    EXPECT_EQ(fault_of(""), "in.json:1: is empty; write the file with Yosys' write_json");
    EXPECT_EQ(fault_of(" \n"), "in.json:2: is empty; write the file with Yosys' write_json");
}

TEST(YosysReaderFault, ValuesThatAreNestedTooDeeply) {
    const auto nest = [](std::size_t levels) { return std::string(levels, '[') + std::string(levels, ']'); };
    const std::string fault = "is nested too deeply: more than 1000 levels";
    EXPECT_EQ(fault_of(in_module("\"foo\": " + nest(900))), "");
    for (const std::size_t levels : {1100, 100'000}) {
        EXPECT_NE(fault_of("{\"foo\": " + nest(levels) + ", \"modules\": {}}").find("/foo: " + fault),
                  std::string::npos);
        for (const char *section : {"foo", "memories"})
            EXPECT_NE(fault_of(in_module("\"" + std::string(section) + "\": " + nest(levels))).find(fault),
                      std::string::npos);
        EXPECT_NE(fault_of(in_module(R"("cells": {"u": {"type": "g", "foo": )" + nest(levels) + "}}")).find(fault),
                  std::string::npos);
    }
}

TEST(YosysReaderFault, IndicesBeyondWhatANumberHolds) {
    for (const char *section : {"ports", "netnames"}) {
        const auto fault = [section](const std::string &offset) {
            return fault_of(in_module("\"" + std::string(section) +
                                      R"(": {"p": {"direction": "input", "bits": [2, 3], "offset": )" + offset + "}}"));
        };
        EXPECT_EQ(fault("2147483646"), "");
        EXPECT_EQ(fault("2147483647"),
                  "in.json:1: /modules/m/" + std::string(section) + "/p: the indices of the bits go beyond 2147483647");
    }
}

TEST(YosysReaderFault, NotANetlist) {
    EXPECT_EQ(fault_of("{\"a\": 1}\n"),
              "in.json:2: is not a netlist: it has no \"modules\"; write the file with Yosys' write_json");
    EXPECT_EQ(fault_of("{\"modules\": [1]}"), "in.json:1: /modules: should be an object, a module by its name");
}

TEST(YosysReaderFault, BitThatIsNone) {
    EXPECT_EQ(fault_of(in_module("\n\"netnames\": {\n\"n\": {\"bits\": [2,\n\"q\"]}}")),
              "in.json:4: /modules/m/netnames/n/bits/1: a bit is a number, \"0\", \"1\", \"x\" or \"z\", not \"q\"");
    EXPECT_EQ(fault_of(in_module("\"netnames\": {\"n\": {\"bits\": [-1]}}")),
              "in.json:1: /modules/m/netnames/n/bits/0: a bit is a whole number from 0 to 4294967291, or \"0\", \"1\", "
              "\"x\" or \"z\"");
    EXPECT_EQ(fault_of(in_module("\"netnames\": {\"n\": {\"bits\": [null]}}")),
              "in.json:1: /modules/m/netnames/n/bits/0: a bit is a number, \"0\", \"1\", \"x\" or \"z\"");
}

TEST(YosysReaderFault, TruncatedAnywhere) {
    const std::string whole = in_module(R"("attributes": {"a": "b"}, "cells": {"u\"": {"type": "T", "connections":
        {"A": [2]}}})");
    for (std::size_t size = 1; size < whole.size(); ++size) {
        const std::string fault = fault_of(whole.substr(0, size));
        EXPECT_NE(fault.find("truncated"), std::string::npos) << size << ": " << fault;
    }
    EXPECT_EQ(fault_of(whole), "");
}

TEST(YosysReaderFault, DirectionThatIsNone) {
    EXPECT_EQ(fault_of(in_module("\"ports\": {\"p\": {\"direction\": \"in\", \"bits\": [2]}}")),
              "in.json:1: /modules/m/ports/p/direction: should be \"input\", \"output\" or \"inout\", not \"in\"");
}

TEST(YosysReaderFault, MissingParts) {
    EXPECT_EQ(fault_of(in_module("\"ports\": {\"p\": {\"bits\": [2]}}")),
              "in.json:1: /modules/m/ports/p: a port should have a \"direction\"");
    EXPECT_EQ(fault_of(in_module("\"ports\": {\"p\": {\"direction\": \"input\"}}")),
              "in.json:1: /modules/m/ports/p: a port should have \"bits\"");
    EXPECT_EQ(fault_of(in_module("\"cells\": {\"u\": {}}")),
              "in.json:1: /modules/m/cells/u: a cell should have a \"type\"");
    EXPECT_EQ(fault_of(in_module("\"netnames\": {\"n\": {}}")),
              "in.json:1: /modules/m/netnames/n: a net name should have \"bits\"");
}

TEST(YosysReaderFault, NamesThatComeTwice) {
    EXPECT_EQ(fault_of("{\"modules\": {\"m\": {}, \"m\": {}}}"),
              "in.json:1: /modules/m: comes twice: modules need different names");
    EXPECT_EQ(fault_of(in_module("\"cells\": {\"u\": {\"type\": \"T\"}, \"u\": {\"type\": \"T\"}}")),
              "in.json:1: /modules/m/cells/u: comes twice: names within one section need to differ");
}

TEST(YosysReaderFault, OneNameMayStandInTwoSections) {
    EXPECT_EQ(fault_of(in_module("\"ports\": {\"a\": {\"direction\": \"input\", \"bits\": [2]}}, \"cells\": {\"a\": "
                                 "{\"type\": \"a\"}}, \"netnames\": {\"a\": {\"bits\": [2]}}")),
              "");
}

TEST(YosysReaderFault, PointersEscapeTheirSeparators) {
    EXPECT_EQ(fault_of("{\"modules\": {\"a/b~c\": 1}}"), "in.json:1: /modules/a~1b~0c: should be an object: a module");
}

TEST(YosysReaderFault, WrongBrackets) {
    for (const char *text :
         {R"({"modules": {"m": {"cells": {"u": {"type": "T"]}}}})", R"({"modules": {"m": {"cells": {]}}})",
          R"({"modules": {"m": {"cells": {"u" {}}}}})", R"({"modules": {"m": {"cells": {"u": {},}}}})",
          R"({"modules": {"m": {},}})", R"({"modules": {}} x)", R"({"modules": {"m": {"cells": {"u": nul}}}})",
          R"({"a": tru, "modules": {}})"})
        EXPECT_NE(fault_of(text), "") << text;
}

TEST(YosysReaderFault, BytesThatAreNoUtf8) {
    const std::string fault = fault_of(in_module("\"cells\": {\"\xff\": {\"type\": \"T\"}}"));
    EXPECT_NE(fault.find("is not JSON"), std::string::npos) << fault;
}

TEST(YosysReaderFault, NamesThatNoDatabaseHolds) {
    EXPECT_EQ(fault_of("{\"modules\": {\"\": {}}}"), "in.json:1: /modules/: a name should not be empty");
    EXPECT_EQ(fault_of("{\"modules\": {\"a\\u0000b\": {}}}"),
              "in.json:1: /modules/a\\u0000b: a name should not hold a NUL character");
}

TEST(YosysReaderFault, LinesAreCountedBeyondTheFirstBuffer) {
    std::string cells;
    for (int i = 0; i < 40'000; ++i)
        cells += "\n\"cell_" + std::to_string(i) + "\": {\"type\": \"some_type_of_cell\", \"connections\": {}},";
    EXPECT_EQ(fault_of(in_module("\"cells\": {" + cells + "\n\"last\": {\"type\": 1}}")),
              "in.json:40002: /modules/m/cells/last/type: should be a string");
}

} // namespace
