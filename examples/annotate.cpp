// Opens a database, walks it, and annotates it with traits: each net of the top module gets its fan-out, and each
// instance of a flip-flop, whatever it is called, a mark.
//
//     annotate design.nyx
#include "nyx/nyx.h"
#include "nyx/nyx_traits.h"
#include "nyx_report/nyx_report_exception.h"

#include <iostream>
#include <string>

namespace {

/// The inputs that a net leads to: inst ports that take its value, and the module's own outputs.
int count_fanout(NYX_NET *net) {
    int fanout = 0;
    for (const NYX_INST_PORT *const inst_port : net->iter_inst_ports())
        fanout += inst_port->get_port()->is_input();
    for (const NYX_PORT *const port : net->iter_ports())
        fanout += port->is_output();
    return fanout;
}

void annotate(NYX_DB *db) {
    // A trait is declared once in a database. It takes room for those objects alone that differ from its default.
    NYX_INT_TRAIT *const fanout =
        NYX_NET::find_or_create_int_trait(db, "fanout", 1, "example", "Inputs on the net", "");
    NYX_BOOL_TRAIT *const is_state =
        NYX_INSTANCE::find_or_create_bool_trait(db, "is_state", false, "example", "The instance stores a bit", "");

    NYX_MODULE *const top = db->get_top_module();
    NYX_NET *widest = nullptr;
    int nets = 0;
    for (NYX_NET *const net : top->iter_nets()) {
        net->set_value(fanout, count_fanout(net));
        if (!widest || net->get_value(fanout) > widest->get_value(fanout))
            widest = net;
        ++nets;
    }
    int states = 0;
    int instances = 0;
    for (NYX_INSTANCE *const instance : top->iter_instances()) {
        const NYX_MODULE *const cell = instance->get_module();
        if (cell->is_leaf() && (cell->find_port("Q") || cell->find_port("q"))) {
            instance->set_value(is_state, true);
            ++states;
        }
        ++instances;
    }
    std::cout << top->get_name() << ": " << nets << " nets";
    if (widest)
        std::cout << ", the widest is " << widest->get_name() << " with a fan-out of " << widest->get_value(fanout);
    std::cout << "; " << states << " of " << instances << " instances store a bit\n";
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::cerr << "usage: annotate FILE.nyx\n";
        return 2;
    }
    try {
        // Room for what is added: twice of what the database uses now.
        NYX_DB *const db = NYX_DB::open(argv[1], NYX_DB::ACCESS_MODE::MODIFY, nullptr, nullptr, 2.0);
        annotate(db);
        db->close(); // saves, for it was opened to be modified
    } catch (const NYX_EXCEPTION &error) {
        std::cerr << error.what() << '\n';
        return 2;
    }
    return 0;
}
