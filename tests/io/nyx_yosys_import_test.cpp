// What an imported netlist looks like in a database.
#include "io/nyx_netlist_counts.h"
#include "io/nyx_netlist_text.h"
#include "io/nyx_verilog_writer.h"
#include "io/nyx_yosys_importer.h"
#include "io/nyx_yosys_writer.h"
#include "io_test_support.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <set>
#include <string>

namespace {

class YosysImport : public testing::Test {
protected:
    ~YosysImport() override {
        if (m_db)
            m_db->close();
        if (m_library)
            m_library->close();
    }

    void import(const std::string &text, bool with_library = false) {
        const auto netlist = read_netlist(text);
        const NYX_YOSYS_PLAN plan(*netlist, "in.json", "");
        if (with_library)
            m_library = NYX_DB::create_non_persistent(64, NYX_DB_TYPE::COMPONENT, "import_test_cells", "");
        m_db = NYX_DB::create_non_persistent(64, NYX_DB_TYPE::USER, "import_test", "");
        m_warnings = nyx_import_yosys(*netlist, plan, m_db, m_library);
        m_module = m_db->get_top_module();
    }

    void import_module(const std::string &sections) { import(in_module(sections)); }

    std::string export_text() {
        const TEMP_DIR dir;
        NYX_TEXT_OUTPUT output(dir / "out.json");
        m_warnings = nyx_write_yosys_json(m_db, output);
        output.finish();
        return read_file(dir / "out.json");
    }

    NYX_DB *m_db = nullptr;
    NYX_DB *m_library = nullptr;
    NYX_MODULE *m_module = nullptr;
    std::vector<std::string> m_warnings;
};

TEST_F(YosysImport, OneBitIsAPortAndMoreAreABus) {
    import_module(R"("ports": {"clk": {"direction": "input", "bits": [2]},
                               "data": {"direction": "output", "bits": [3, 4, 5], "offset": -1},
                               "up": {"direction": "inout", "bits": [6, 7], "upto": 1},
                               "one": {"direction": "input", "bits": [8], "offset": 3}})");
    EXPECT_EQ(m_module->get_num_ports(), 7u);
    ASSERT_TRUE(m_module->find_port("clk"));
    EXPECT_TRUE(m_module->find_port("clk")->is_input());
    EXPECT_EQ(m_module->find_port("clk")->get_bus(), nullptr);
    NYX_PORT_BUS *const data = m_module->find_port_bus("data");
    ASSERT_TRUE(data);
    EXPECT_EQ(data->get_left_index(), 1);
    EXPECT_EQ(data->get_right_index(), -1);
    EXPECT_EQ((*data)[-1], m_module->find_port("data[-1]"));
    EXPECT_TRUE((*data)[1]->is_output());
    NYX_PORT_BUS *const up = m_module->find_port_bus("up");
    ASSERT_TRUE(up);
    EXPECT_EQ(up->get_left_index(), 0);
    EXPECT_EQ(up->get_right_index(), 1);
    EXPECT_TRUE((*up)[0]->is_bidir());
    EXPECT_EQ((*up)[1]->get_net()->get_name(), "$bit$6") << "the least significant bit is the rightmost one";
    ASSERT_TRUE(m_module->find_port_bus("one"));
    EXPECT_EQ(m_module->find_port_bus("one")->get_left_index(), 3);
}

TEST_F(YosysImport, ANetTakesThePortsNameThenAVisibleOneThenAHiddenOne) {
    import_module(R"("ports": {"p": {"direction": "input", "bits": [2]}},
        "netnames": {"$h": {"hide_name": 1, "bits": [3]}, "v": {"hide_name": 0, "bits": [2, 3]},
                     "p": {"hide_name": 0, "bits": [2]}, "$only": {"hide_name": 1, "bits": [4]}})");
    EXPECT_EQ(m_module->find_port("p")->get_net()->get_name(), "p");
    EXPECT_EQ(m_module->get_num_nets(), 3u);
    EXPECT_TRUE(m_module->find_net("v[1]"));
    EXPECT_TRUE(m_module->find_net("$only"));
    EXPECT_FALSE(m_module->find_net("$h"));
    NYX_NET_BUS *const v = m_module->find_net_bus("v");
    ASSERT_TRUE(v);
    EXPECT_EQ((*v)[0], nullptr) << "the bit has its name from the port";
    EXPECT_EQ((*v)[1], m_module->find_net("v[1]"));
    const NYX_NETLIST_TRAITS traits = NYX_NETLIST_TRAITS::find(m_db);
    EXPECT_EQ(v->get_value(traits.m_net_bus_bits), ".p -1");
}

TEST_F(YosysImport, OnlyNamesThatDoNotTellWhetherAToolMadeThemUpAreMarked) {
    import_module(R"("cells": {"$c": {"hide_name": 0, "type": "T", "connections": {}},
                     "d": {"hide_name": 1, "type": "T", "connections": {}},
                     "$e": {"hide_name": 1, "type": "T", "connections": {}}},
        "netnames": {"$a": {"hide_name": 1, "bits": [2]}, "b": {"hide_name": 0, "bits": [3]},
                     "$n": {"hide_name": 0, "bits": [4]}, "m": {"hide_name": 1, "bits": [5]},
                     "$v": {"hide_name": 0, "bits": [6, 7]}, "w": {"hide_name": 1, "bits": [8, 9]}})");
    const NYX_NETLIST_TRAITS traits = NYX_NETLIST_TRAITS::find(m_db);
    std::set<std::string> marked;
    for (const NYX_NET *const net : traits.m_net_hidden_unlike->iter_nets(true))
        marked.insert(net->get_name());
    for (const NYX_NET_BUS *const bus : traits.m_net_bus_hidden_unlike->iter_net_buses(true))
        marked.insert(bus->get_name());
    for (const NYX_INSTANCE *const instance : traits.m_instance_hidden_unlike->iter_instances(true))
        marked.insert(instance->get_name());
    EXPECT_EQ(marked, (std::set<std::string>{"$c", "d", "$n", "m", "$v", "w"}));

    const auto netlist = read_netlist(export_text());
    std::map<std::string, bool> hidden;
    for (const auto &name : netlist->modules[0].names)
        hidden.emplace(netlist->strings.get(name.name), name.hidden);
    for (const auto &cell : netlist->modules[0].cells)
        hidden.emplace(netlist->strings.get(cell.name), cell.hidden);
    EXPECT_EQ(hidden, (std::map<std::string, bool>{{"$a", true},
                                                   {"b", false},
                                                   {"$n", false},
                                                   {"m", true},
                                                   {"$v", false},
                                                   {"w", true},
                                                   {"$c", false},
                                                   {"d", true},
                                                   {"$e", true}}));
}

TEST_F(YosysImport, ConstantsAreNetsOfTheModule) {
    import_module(R"("cells": {"u": {"type": "T", "connections": {"A": ["0", "1", "x", "z", "0"]}}})");
    NYX_INSTANCE *const u = m_module->find_instance("u");
    ASSERT_TRUE(u);
    EXPECT_TRUE(u->get_inst_port_by_index(0)->get_net()->is_ground());
    EXPECT_TRUE(u->get_inst_port_by_index(1)->get_net()->is_power());
    EXPECT_EQ(u->get_inst_port_by_index(2)->get_net()->get_name(), "1'bx");
    EXPECT_EQ(u->get_inst_port_by_index(3)->get_net()->get_name(), "1'bz");
    EXPECT_EQ(u->get_inst_port_by_index(4)->get_net(), u->get_inst_port_by_index(0)->get_net());
    EXPECT_EQ(m_module->find_const_nets().size(), 2u);
}

TEST_F(YosysImport, AConstantStaysOneWhateverPortIsOnIt) {
    import_module(R"("ports": {"i": {"direction": "input", "bits": ["0"]}, "j": {"direction": "inout", "bits": ["1"]}},
                     "cells": {"u": {"type": "T", "connections": {"A": ["0", "1"]}}})");
    const auto netlist = read_netlist(export_text());
    const NYX_YOSYS_MODULE &module = netlist->modules[0];
    EXPECT_EQ(module.bits[module.ports[0].bits.begin], NYX_YOSYS_BIT::ZERO);
    EXPECT_EQ(module.bits[module.ports[1].bits.begin], NYX_YOSYS_BIT::ONE);
    EXPECT_EQ(module.bits[module.cells[0].bits.begin], NYX_YOSYS_BIT::ZERO);
    EXPECT_EQ(module.bits[module.cells[0].bits.begin + 1], NYX_YOSYS_BIT::ONE);
    EXPECT_TRUE(module.names.empty());
    TEMP_DIR dir;
    NYX_TEXT_OUTPUT output(dir / "out.v");
    nyx_write_verilog(m_db, output);
    output.finish();
    EXPECT_NE(read_file(dir / "out.v").find(".A(2'b10)"), std::string::npos);
}

TEST_F(YosysImport, NamesThatAreMadeUpKeepClearOfThoseOfTheNetlist) {
    import_module(R"("cells": {"u": {"type": "T", "connections": {"A": ["0", 5, 6]}}},
                     "netnames": {"1'b0": {"bits": [6]}, "$bit$5": {"bits": [6]}})");
    NYX_INSTANCE *const u = m_module->find_instance("u");
    EXPECT_EQ(u->get_inst_port_by_index(0)->get_net()->get_name(), "1'b0:2");
    EXPECT_EQ(u->get_inst_port_by_index(1)->get_net()->get_name(), "$bit$5:2");
    EXPECT_EQ(u->get_inst_port_by_index(2)->get_net()->get_name(), "1'b0");
}

TEST_F(YosysImport, UndefinedTypesBecomeAtoms) {
    import_module(R"("cells": {
        "u": {"type": "$lut", "port_directions": {"A": "input"}, "connections": {"A": [2]}},
        "v": {"type": "$lut", "port_directions": {"A": "input"}, "connections": {"A": [2, 3]}}})");
    NYX_MODULE *const u = m_module->find_instance("u")->get_module();
    NYX_MODULE *const v = m_module->find_instance("v")->get_module();
    EXPECT_EQ(u->get_name(), "$lut");
    EXPECT_EQ(v->get_name(), "$lut:2");
    EXPECT_TRUE(u->is_atom());
    EXPECT_EQ(v->get_atom_type(), "$lut");
    EXPECT_TRUE(u->get_port_by_index(0)->is_input());
}

TEST_F(YosysImport, PinsThatAreConnectedToNothingStayUnconnected) {
    import_module(R"("cells": {"u": {"type": "T", "connections": {"A": [], "B": [2]}},
                               "v": {"type": "T", "connections": {"B": [2]}}})");
    EXPECT_EQ(m_module->find_instance("u")->find_inst_port("A")->get_net(), nullptr);
    EXPECT_EQ(m_module->find_instance("v")->find_inst_port("A")->get_net(), nullptr);
    const std::vector<NYX_MODULE_COUNTS> counts = nyx_count_netlist(m_db);
    EXPECT_EQ(counts[0].pins, 3u);
    EXPECT_EQ(counts[0].open_pins, 1u);
}

TEST_F(YosysImport, ParametersAndAttributesAreProperties) {
    import_module(R"("parameter_default_values": {"W": "00000000000000000000000000001000"},
        "attributes": {"src": "a.v:3.1-9.10", "keep": "1"},
        "cells": {"u": {"type": "T", "parameters": {"MASK": "0110", "NAME": "text", "N": 7},
                        "attributes": {"src": "b.v:4", "keep": "text"}}})");
    EXPECT_EQ(boost::get<int>(m_module->get_property("W")), 8);
    EXPECT_EQ(m_module->get_src_location(), "a.v:3");
    NYX_INSTANCE *const u = m_module->find_instance("u");
    std::string digits;
    EXPECT_TRUE(nyx_decode_bits(u->get_property("MASK"), digits));
    EXPECT_EQ(digits, "0110");
    EXPECT_EQ(boost::get<std::string>(u->get_property("NAME")), "text");
    EXPECT_EQ(boost::get<long long>(u->get_property("N")), 7);
    EXPECT_EQ(boost::get<std::string>(u->get_property("@keep")), "text");
    EXPECT_EQ(u->get_src_location(), "b.v:4");
}

TEST_F(YosysImport, BlackBoxesGoToTheLibraryThatIsGiven) {
    import(R"({"modules": {"m": {"cells": {"u": {"type": "box", "connections": {"A": [2]}},
                                           "v": {"type": "gate", "connections": {"A": [2]}}}},
                           "box": {"attributes": {"blackbox": "1"}, "ports": {"A": {"direction": "input", "bits": [2]}}}}})",
           true);
    EXPECT_EQ(m_module->find_instance("u")->get_module()->get_db(), m_library);
    EXPECT_EQ(m_module->find_instance("v")->get_module()->get_db(), m_library);
    EXPECT_FALSE(m_db->find_local_module("box"));
    EXPECT_EQ(m_module->find_instance("u")->get_inst_header()->get_db_name(), "import_test_cells");
    m_library->close(); // the design's use of it is left
    m_library = nullptr;
}

TEST_F(YosysImport, BlackBoxesThatNothingUsesStayInTheDesign) {
    import(R"({"modules": {"m": {"cells": {"u": {"type": "used", "connections": {"A": [2]}}}},
                           "used": {"attributes": {"blackbox": 1}, "ports": {"A": {"direction": "input", "bits": [2]}}},
                           "unused": {"attributes": {"blackbox": 1}, "ports": {"A": {"direction": "input", "bits": [2]}}}}})",
           true);
    EXPECT_TRUE(m_db->find_local_module("unused"));
    EXPECT_FALSE(m_db->find_local_module("used"));
    EXPECT_EQ(read_netlist(export_text())->modules.size(), 3u);
    m_library->close();
    m_library = nullptr;
}

TEST_F(YosysImport, ANameWithoutBitsComesBack) {
    import_module(R"("netnames": {"n": {"bits": [], "hide_name": 1, "attributes": {"a": "text"}}})");
    EXPECT_TRUE(m_warnings.empty());
    EXPECT_EQ(m_module->get_num_nets(), 0u);
    const auto netlist = read_netlist(export_text());
    ASSERT_EQ(netlist->modules[0].names.size(), 1u);
    EXPECT_EQ(netlist->modules[0].names[0].bits.count, 0u);
    EXPECT_TRUE(netlist->modules[0].names[0].hidden);
    EXPECT_EQ(netlist->modules[0].values.size(), 1u);
}

TEST_F(YosysImport, TheTopIsMarkedUnlessItWasFoundByItself) {
    import_module("");
    EXPECT_EQ(export_text().find("\"top\""), std::string::npos);
    NYX_MODULE *const other = NYX_MODULE::allocate(m_db, "other", 0, NYX_MODULE::TYPE::HIERARCHY);
    m_db->set_top_module(other);
    EXPECT_NE(export_text().find("\"top\""), std::string::npos) << "somebody chose it";
}

TEST_F(YosysImport, LongNumbersKeepTheirDigits) {
    import_module(R"("attributes": {"a": 18446744073709551615, "b": -9223372036854775808, "c": 1e300, "d": 0.1})");
    EXPECT_EQ(boost::get<long long>(m_module->get_property("@b")), std::numeric_limits<long long>::min());
    EXPECT_EQ(boost::get<double>(m_module->get_property("@c")), 1e300);
    const std::string text = export_text();
    EXPECT_NE(text.find("\"a\": 18446744073709551615,"), std::string::npos);
    EXPECT_NE(text.find("\"b\": -9223372036854775808,"), std::string::npos);
    EXPECT_NE(text.find("\"d\": 0.1\n"), std::string::npos);
    EXPECT_EQ(text.find("e+"), std::string::npos) << "netlist readers know no exponents";
    const auto netlist = read_netlist(text);
    EXPECT_EQ(std::stod(std::string(netlist->strings.get(netlist->modules[0].values[2].text))), 1e300);
}

TEST_F(YosysImport, OddNamesKeepTheirObjectsApart) {
    import(R"({"modules": {"m[3]": {}, "m[03]": {}, "top": {"attributes": {"top": 1}, "cells":
               {"a": {"type": "m[3]"}, "b": {"type": "m[03]"}}}}})");
    EXPECT_NE(m_module->find_instance("a")->get_module(), m_module->find_instance("b")->get_module());
    const std::string text = export_text();
    EXPECT_NE(text.find("\"m[03]\""), std::string::npos);
    EXPECT_NE(text.find("\"m[3]\""), std::string::npos);
}

TEST_F(YosysImport, AFurtherNameFollowsItsNetUntilThatIsGone) {
    import_module(R"("netnames": {"a": {"bits": [2]}, "b": {"bits": [2]}})");
    EXPECT_NE(export_text().find("\"b\": {\n          \"hide_name\": 0,\n          \"bits\": [ 2 ]"),
              std::string::npos);
    m_module->find_net("a")->deallocate();
    export_text();
    EXPECT_EQ(m_warnings, std::vector<std::string>{"module \"m\": \"b\" is a name of \"a\", which is no more"});
}

TEST_F(YosysImport, ANetlistThatWasBuiltByHandIsExported) {
    import_module("");
    NYX_MODULE *const leaf = NYX_MODULE::allocate(m_db, "INV", 2, NYX_MODULE::TYPE::SGATE);
    NYX_PORT::allocate(leaf, "A", 0)->set_input();
    NYX_PORT::allocate(leaf, "Z", 1)->set_output();
    NYX_INSTANCE *const u = NYX_INSTANCE::allocate(m_module, "u", leaf);
    u->find_inst_port("A")->connect(NYX_NET::allocate(m_module, "in"));
    const auto netlist = read_netlist(export_text());
    ASSERT_EQ(netlist->modules.size(), 2u);
    EXPECT_EQ(netlist->modules[0].cells.size(), 1u);
    EXPECT_EQ(netlist->modules[1].ports.size(), 2u);
}

} // namespace
