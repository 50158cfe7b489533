#include "flat.h"

#include "nyx/nyx.h"

#include <array>
#include <charconv>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

// "PREFIX" and a number, in a buffer that is used again.
class NUMBERED_NAME {
public:
    explicit NUMBERED_NAME(std::string_view prefix) : m_name(prefix), m_prefix_length(prefix.size()) {}

    const std::string &operator()(std::uint64_t number) {
        std::array<char, 20> digits;
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
        m_name.resize(m_prefix_length);
        m_name.append(digits.data(), end);
        return m_name;
    }

private:
    std::string m_name;
    std::size_t m_prefix_length;
};

NYX_MODULE *make_leaf(NYX_DB *db, const char *name, std::initializer_list<const char *> inputs, const char *output) {
    NYX_MODULE *const leaf =
        NYX_MODULE::allocate(db, name, static_cast<unsigned>(inputs.size()) + 1, NYX_MODULE::TYPE::ATOM, nullptr, 0);
    unsigned index = 0;
    for (const char *const input : inputs)
        NYX_PORT::allocate(leaf, input, index++, nullptr)->set_input();
    NYX_PORT::allocate(leaf, output, index, nullptr)->set_output();
    return leaf;
}

bool is_clock(unsigned leaf, unsigned input) {
    return leaf == 3 && input == 1;
}

} // namespace

FLAT build_flat(NYX_DB *db, unsigned num_instances) {
    const std::array<NYX_MODULE *, 4> leaves{
        make_leaf(db, "AND2", {"A", "B"}, "Z"), make_leaf(db, "XOR2", {"A", "B"}, "Z"),
        make_leaf(db, "MUX2", {"A", "B", "S"}, "Z"), make_leaf(db, "DFF", {"D", "C"}, "Q")};
    constexpr std::array<unsigned, 4> num_inputs{2, 2, 3, 2};

    NYX_MODULE *const top = NYX_MODULE::allocate(db, "top", 129, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
    db->set_top_module(top);
    NYX_NET *const clk = NYX_NET::allocate(top, "clk", false);
    NYX_PORT::allocate(top, "clk", 0, clk)->set_input();
    NUMBERED_NAME in_name("in_"), out_name("out_"), net_name("n_"), instance_name("u_");
    std::array<NYX_NET *, 64> in_nets;
    for (unsigned k = 0; k < 64; ++k) {
        in_nets[k] = NYX_NET::allocate(top, in_name(k), false);
        NYX_PORT::allocate(top, in_name(k), 1 + k, in_nets[k])->set_input();
    }

    FLAT_RANDOM random;
    std::vector<NYX_INSTANCE *> instances(num_instances);
    std::vector<NYX_NET *> nets(num_instances);
    for (unsigned i = 0; i < num_instances; ++i) {
        const unsigned leaf = i % 4;
        NYX_INSTANCE *const instance = NYX_INSTANCE::allocate(top, instance_name(i), leaves[leaf], false, nullptr);
        instances[i] = instance;
        nets[i] = NYX_NET::allocate(top, net_name(i), false);
        instance->get_inst_port_by_index(num_inputs[leaf])->connect(nets[i]);
        for (unsigned input = 0; input < num_inputs[leaf]; ++input) {
            NYX_NET *net = clk;
            if (!is_clock(leaf, input))
                net = i > 64 ? nets[random.next() % i] : in_nets[i % 64];
            instance->get_inst_port_by_index(input)->connect(net);
        }
    }
    for (unsigned k = 0; k < 64; ++k)
        NYX_PORT::allocate(top, out_name(k), 65 + k, nets[num_instances - 64 + k])->set_output();
    return {top, std::move(instances), std::move(nets)};
}

std::uint64_t walk_flat(NYX_MODULE *top) {
    std::uint64_t num_inputs = 0;
    for (NYX_NET *const net : top->iter_nets()) {
        for (NYX_INST_PORT *const inst_port : net->iter_inst_ports())
            num_inputs += inst_port->get_port()->is_input();
    }
    return num_inputs;
}

std::uint64_t find_flat(NYX_MODULE *top, unsigned num_instances, unsigned num_finds) {
    FLAT_RANDOM random;
    NUMBERED_NAME name("u_");
    std::uint64_t found = 0;
    for (unsigned i = 0; i < num_finds; ++i)
        found += top->find_instance(name(random.next() % num_instances).c_str()) != nullptr;
    return found;
}

void edit_flat(FLAT &flat, unsigned num_edits) {
    FLAT_RANDOM random;
    for (unsigned i = 0; i < num_edits; ++i) {
        NYX_INST_PORT *const input = flat.instances[random.next() % flat.instances.size()]->get_inst_port_by_index(0);
        input->disconnect();
        input->connect(flat.nets[random.next() % flat.nets.size()]);
    }
}
