// Builds a netlist by hand: a register of four bits with an enable, saved as a database.
//
//     build_netlist counter.nyx
#include "nyx/nyx.h"
#include "nyx_report/nyx_report_exception.h"

#include <iostream>
#include <string>

namespace {

/// A leaf module with some inputs and one output.
NYX_MODULE *make_cell(NYX_DB *db, const char *name, std::initializer_list<const char *> inputs, const char *output) {
    NYX_MODULE *const cell = NYX_MODULE::allocate(db, name, unsigned(inputs.size()) + 1, NYX_MODULE::TYPE::ATOM);
    cell->set_atom_type(name);
    unsigned index = 0;
    for (const char *const input : inputs)
        NYX_PORT::allocate(cell, input, index++)->set_input();
    NYX_PORT::allocate(cell, output, index)->set_output();
    return cell;
}

std::string bit(const char *name, int index) {
    return std::string(name) + "[" + std::to_string(index) + "]";
}

void build(NYX_DB *db) {
    NYX_MODULE *const mux = make_cell(db, "MUX2", {"A", "B", "S"}, "Z");
    NYX_MODULE *const flop = make_cell(db, "DFF", {"D", "C"}, "Q");

    // Ports have places in their module: clk, en, and four bits each of d and q.
    NYX_MODULE *const top = NYX_MODULE::allocate(db, "register4", 10);
    db->set_top_module(top);
    NYX_NET *const clk = NYX_NET::allocate(top, "clk");
    NYX_NET *const en = NYX_NET::allocate(top, "en");
    NYX_PORT::allocate(top, "clk", 0, clk)->set_input();
    NYX_PORT::allocate(top, "en", 1, en)->set_input();

    // A bus groups single bits under one name; the bits are objects of their own.
    NYX_PORT_BUS *const d_port = NYX_PORT_BUS::allocate(top, "d", 3, 0);
    NYX_PORT_BUS *const q_port = NYX_PORT_BUS::allocate(top, "q", 3, 0);
    NYX_NET_BUS *const d_nets = NYX_NET_BUS::allocate(top, "d", 3, 0);
    NYX_NET_BUS *const q_nets = NYX_NET_BUS::allocate(top, "q", 3, 0);
    for (int i = 0; i < 4; ++i) {
        NYX_NET *const d = NYX_NET::allocate(top, bit("d", i));
        NYX_NET *const q = NYX_NET::allocate(top, bit("q", i));
        d_nets->set_net(i, d);
        q_nets->set_net(i, q);
        d_port->set_port(i, NYX_PORT::allocate(top, bit("d", i), 2 + unsigned(i), d));
        q_port->set_port(i, NYX_PORT::allocate(top, bit("q", i), 6 + unsigned(i), q));

        // An instance has an inst port for each port of its module.
        NYX_NET *const next = NYX_NET::allocate(top, bit("next", i));
        NYX_INSTANCE *const hold = NYX_INSTANCE::allocate(top, bit("hold", i), mux);
        hold->find_inst_port("A")->connect(q);
        hold->find_inst_port("B")->connect(d);
        hold->find_inst_port("S")->connect(en);
        hold->find_inst_port("Z")->connect(next);
        NYX_INSTANCE *const state = NYX_INSTANCE::allocate(top, bit("state", i), flop);
        state->find_inst_port("D")->connect(next);
        state->find_inst_port("C")->connect(clk);
        state->find_inst_port("Q")->connect(q);
    }
    d_port->set_input();
    q_port->set_output();
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::cerr << "usage: build_netlist FILE.nyx\n";
        return 2;
    }
    try {
        // 64 MiB is to what it may grow, not what it takes.
        NYX_DB *const db = NYX_DB::create(argv[1], 64, NYX_DB_TYPE::USER);
        build(db);
        const NYX_MODULE *const top = db->get_top_module();
        std::cout << top->get_name() << ": " << top->get_num_ports() << " ports, " << top->get_num_instances()
                  << " instances, " << top->get_num_nets() << " nets\n";
        db->close(); // the last close saves
    } catch (const NYX_EXCEPTION &error) {
        std::cerr << error.what() << '\n';
        return 2;
    }
    return 0;
}
