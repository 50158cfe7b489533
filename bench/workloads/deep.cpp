#include "deep.h"

#include "nyx/nyx.h"

#include <string>

NYX_MODULE *build_deep(NYX_DB *db, unsigned levels, unsigned width) {
    NYX_MODULE *below = nullptr;
    for (unsigned level = levels + 1; level-- > 0;) {
        NYX_MODULE *const module =
            NYX_MODULE::allocate(db, "level_" + std::to_string(level), 2,
                                 level == levels ? NYX_MODULE::TYPE::ATOM : NYX_MODULE::TYPE::HIERARCHY);
        NYX_PORT *const in = NYX_PORT::allocate(module, "i", 0);
        NYX_PORT *const out = NYX_PORT::allocate(module, "o", 1);
        in->set_input();
        out->set_output();
        if (below) {
            NYX_NET *net = NYX_NET::allocate(module, "n_0");
            in->connect(net);
            for (unsigned i = 0; i < width; ++i) {
                NYX_INSTANCE *const instance = NYX_INSTANCE::allocate(module, "u_" + std::to_string(i), below);
                instance->get_inst_port_by_index(0)->connect(net);
                net = NYX_NET::allocate(module, "n_" + std::to_string(i + 1));
                instance->get_inst_port_by_index(1)->connect(net);
            }
            out->connect(net);
        }
        below = module;
    }
    db->set_top_module(below);
    return below;
}

std::uint64_t walk_paths(NYX_MODULE *module) {
    std::uint64_t visits = 1;
    for (NYX_INSTANCE *const instance : module->iter_instances())
        visits += walk_paths(instance->get_module());
    return visits;
}
