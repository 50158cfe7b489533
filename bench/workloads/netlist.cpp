#include "netlist.h"

#include "figures.h"
#include "flat.h"

#include "nyx/nyx.h"

#include <string>
#include <utility>

std::uint64_t walk_netlist(NYX_DB *db) {
    std::uint64_t inputs = 0;
    for (NYX_MODULE *const module : db->iter_modules())
        inputs += walk_flat(module);
    return inputs;
}

std::uint64_t find_in_netlist(NYX_DB *db, unsigned num_finds, double &seconds) {
    std::vector<std::pair<NYX_MODULE *, std::string>> names;
    for (NYX_MODULE *const module : db->iter_modules())
        for (NYX_INSTANCE *const instance : module->iter_instances())
            names.emplace_back(module, instance->get_name());
    std::uint64_t found = 0;
    FLAT_RANDOM random;
    const double start = FIGURES::get_cpu_seconds();
    for (unsigned i = 0; i < num_finds && !names.empty(); ++i) {
        const auto &[module, name] = names[random.next() % names.size()];
        found += module->find_instance(name.c_str()) != nullptr;
    }
    seconds = FIGURES::get_cpu_seconds() - start;
    return found;
}

void edit_netlist(NYX_DB *db, unsigned num_edits, double &seconds) {
    std::vector<NYX_INST_PORT *> inputs;
    for (NYX_MODULE *const module : db->iter_modules())
        for (NYX_NET *const net : module->iter_nets())
            for (NYX_INST_PORT *const pin : net->iter_inst_ports())
                if (pin->get_port()->is_input())
                    inputs.push_back(pin);
    FLAT_RANDOM random;
    const double start = FIGURES::get_cpu_seconds();
    for (unsigned i = 0; i < num_edits && !inputs.empty(); ++i) {
        NYX_INST_PORT *const pin = inputs[random.next() % inputs.size()];
        NYX_NET *const net = pin->get_net();
        pin->disconnect();
        pin->connect(net);
    }
    seconds = FIGURES::get_cpu_seconds() - start;
}
