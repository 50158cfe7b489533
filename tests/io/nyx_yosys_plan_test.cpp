#include "io/nyx_yosys_plan.h"
#include "io_test_support.h"

#include <gtest/gtest.h>

namespace {

std::string plan_fault(const std::string &text, const std::string &top = "") {
    const auto netlist = read_netlist(text);
    try {
        const NYX_YOSYS_PLAN plan(*netlist, "in.json", top);
    } catch (const NYX_IO_ERROR &error) {
        return error.what();
    }
    return {};
}

const std::string s_leaf = R"("leaf": {"ports": {"A": {"direction": "input", "bits": [2, 3]}}})";

TEST(YosysPlan, TakesTheMarkedTop) {
    const auto netlist = read_netlist(R"({"modules": {"a": {}, "b": {"attributes": {"top": "01"}}}})");
    EXPECT_EQ(NYX_YOSYS_PLAN(*netlist, "f", "").get_top(), 1u);
    EXPECT_EQ(NYX_YOSYS_PLAN(*netlist, "f", "a").get_top(), 0u);
}

TEST(YosysPlan, TakesTheOnlyModuleThatNoneUses) {
    const auto netlist = read_netlist(R"({"modules": {"a": {}, "b": {"cells": {"u": {"type": "a"}}}}})");
    EXPECT_EQ(NYX_YOSYS_PLAN(*netlist, "f", "").get_top(), 1u);
}

TEST(YosysPlan, ABlackBoxIsNoTop) {
    const auto netlist = read_netlist(R"({"modules": {"a": {"attributes": {"blackbox": "1"}}}})");
    EXPECT_EQ(NYX_YOSYS_PLAN(*netlist, "f", "").get_top(), NYX_YOSYS_PLAN::s_none);
}

TEST(YosysPlan, CellsOfAnUndefinedTypeShareAModuleWhileTheirWidthsAgree) {
    const auto netlist = read_netlist(in_module(R"("cells": {
        "u0": {"type": "T", "connections": {"A": [2], "B": []}},
        "u1": {"type": "T", "connections": {"B": [2, 3], "A": [4]}},
        "u2": {"type": "T", "connections": {"A": [2, 3]}}})"));
    const NYX_YOSYS_PLAN plan(*netlist, "f", "");
    ASSERT_EQ(plan.get_bases().size(), 3u);
    const auto &cells = netlist->modules[0].cells;
    EXPECT_EQ(plan.find_use(cells[0]).base, 1u);
    EXPECT_EQ(plan.find_use(cells[1]).base, 1u);
    EXPECT_EQ(plan.find_use(cells[2]).base, 2u);
    EXPECT_EQ(plan.get_bases()[1].ports[1].width, 2u);
    EXPECT_EQ(plan.find_use(cells[1]).ports, (std::vector<std::uint32_t>{1, 0}));
}

TEST(YosysPlanFault, WidthsThatDisagree) {
    EXPECT_EQ(
        plan_fault("{\"modules\": {" + s_leaf +
                   R"(, "m": {"cells": {"u": {"type": "leaf", "connections": {"A": [2]}}}}}})"),
        "in.json: /modules/m/cells/u: port \"A\" is connected to 1 bits, but module \"leaf\" gives it 2; run Yosys' "
        "hierarchy -check");
}

TEST(YosysPlanFault, PortThatIsNotThere) {
    EXPECT_EQ(
        plan_fault("{\"modules\": {" + s_leaf +
                   R"(, "m": {"cells": {"u": {"type": "leaf", "connections": {"B": [2]}}}}}})"),
        "in.json: /modules/m/cells/u: module \"leaf\" has no port \"B\"; take the connection out or add the port");
}

TEST(YosysPlanFault, DirectionsThatDisagree) {
    EXPECT_EQ(plan_fault("{\"modules\": {" + s_leaf +
                         R"(, "m": {"cells": {"u": {"type": "leaf", "port_directions": {"A": "output"},
                            "connections": {"A": [2, 3]}}}}}})"),
              "in.json: /modules/m/cells/u: port \"A\" is told to be output, but module \"leaf\" makes it input");
}

TEST(YosysPlanFault, Recursion) {
    EXPECT_EQ(
        plan_fault(R"({"modules": {"a": {"cells": {"u": {"type": "b"}}}, "b": {"cells": {"v": {"type": "a"}}}}})"),
        "in.json: /modules/b/cells/v: module \"a\" contains itself; a netlist can't be recursive");
}

TEST(YosysPlanFault, Tops) {
    EXPECT_EQ(plan_fault(R"({"modules": {"a": {}, "b": {}}})"),
              "in.json: /modules: both \"a\" and \"b\" could be the top module; choose one with --top");
    EXPECT_EQ(plan_fault(R"({"modules": {"a": {}}})", "x"),
              "in.json: /modules: there is no module \"x\" to be the top");
}

TEST(YosysPlanFault, BlackBoxWithCells) {
    EXPECT_EQ(
        plan_fault(in_module(R"("attributes": {"blackbox": "1"}, "cells": {"u": {"type": "T"}})")),
        "in.json: /modules/m/cells/u: a black box has no cells; take its attribute \"blackbox\" away or the cells "
        "out");
}

TEST(YosysPlanFault, PortWithoutBits) {
    EXPECT_EQ(
        plan_fault(in_module(R"("ports": {"p": {"direction": "input", "bits": []}})")),
        "in.json: /modules/m/ports/p: a port needs at least one bit; take it out, and out of the cells of the module");
}

} // namespace
