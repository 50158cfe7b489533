// Reads arbitrary bytes as a query of a bus, and puts what it is taken for to buses of one and of three dimensions. A
// query that is understood is written again and must be read alike; what a bus answers must agree with its dimensions.
#include "nyx/nyx.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using DIMENSIONS = std::vector<NYX_BUS_DIMENSION>;

void require(bool holds) {
    if (!holds)
        std::abort();
}

NYX_NET_BUS *s_flat;
NYX_NET_BUS *s_cube;

// The members of the dimensions asked for, by one index at a time; null where a bus has none.
void collect(const NYX_NET_BUS &bus, const DIMENSIONS &parts, std::vector<int> &index, std::vector<NYX_NET *> &nets) {
    if (index.size() == parts.size()) {
        nets.push_back(bus.get_net(index));
        return;
    }
    const NYX_BUS_DIMENSION &part = parts[index.size()];
    const int step = part.is_upwards() ? 1 : -1;
    for (int i = part.get_left_index();; i += step) {
        index.push_back(i);
        collect(bus, parts, index, nets);
        index.pop_back();
        if (i == part.get_right_index())
            return;
    }
}

void ask(const NYX_NET_BUS &bus, const std::string &text, const std::string &name, const DIMENSIONS &parts) {
    std::vector<NYX_NET *> nets;
    try {
        nets = bus.get_nets(text);
    } catch (const NYX_INVALID_ARGUMENT &) {
        require(name == bus.get_name()); // another bus's indices are not looked at
        return;
    }
    if (name != bus.get_name()) {
        require(nets.empty());
        return;
    }
    DIMENSIONS whole = parts;
    const DIMENSIONS dimensions = bus.get_dimensions();
    require(parts.size() <= dimensions.size());
    whole.insert(whole.end(), dimensions.begin() + static_cast<std::ptrdiff_t>(parts.size()), dimensions.end());
    std::vector<int> index;
    std::vector<NYX_NET *> expected;
    collect(bus, whole, index, expected);
    require(nets == expected);
}

NYX_NET_BUS *make_bus(NYX_MODULE *module, const std::string &name, const DIMENSIONS &dimensions) {
    NYX_NET_BUS *const bus = NYX_NET_BUS::allocate(module, name, dimensions);
    const int step = bus->is_upwards() ? 1 : -1;
    // Every third position stays empty.
    for (int n = 0, index = bus->get_left_index(); n < bus->get_size(); ++n, index += step) {
        if (n % 3 != 0)
            bus->set_net(index, NYX_NET::allocate(module, name + std::to_string(index), false));
    }
    return bus;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    NYX_DB *const db = NYX_DB::create_non_persistent(64, NYX_DB_TYPE::USER, "", "");
    NYX_MODULE *const module = NYX_MODULE::allocate(db, "m", 0, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
    s_flat = make_bus(module, "a", {{15, -4}});
    s_cube = make_bus(module, "b", {{0, 2}, {3, 0}, {-1, 1}});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    std::string name;
    DIMENSIONS parts;
    try {
        std::tie(name, parts) = NYX_BUS_DIMENSION_UTIL::convert_string_to_query(text);
    } catch (const NYX_INVALID_ARGUMENT &) {
        require(text.find('[') != text.npos);
        return 0;
    }
    std::string again = name;
    for (const NYX_BUS_DIMENSION &part : parts)
        again += part.get_name();
    const auto [same_name, same_parts] = NYX_BUS_DIMENSION_UTIL::convert_string_to_query(again);
    require(same_name == name && same_parts == parts);
    ask(*s_flat, text, name, parts);
    ask(*s_cube, text, name, parts);
    return 0;
}
