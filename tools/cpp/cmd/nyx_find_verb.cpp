#include "cmd/nyx_open_design.h"
#include "cmd/nyx_verb.h"
#include "io/nyx_io_error.h"
#include "io/nyx_netlist_text.h"
#include "io/nyx_netlist_view.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <optional>
#include <unordered_map>
#include <unordered_set>

namespace {

using JSON = nlohmann::ordered_json;

/// The place behind the character of UTF-8 at `at`; other bytes stand for themselves.
std::size_t get_next(std::string_view text, std::size_t at) {
    const bool is_long = static_cast<unsigned char>(text[at++]) >= 0xc0;
    while (is_long && at < text.size() && (static_cast<unsigned char>(text[at]) & 0xc0) == 0x80)
        ++at;
    return at;
}

/// Whether the text matches a pattern of * and ?; a backslash takes the next character as it is.
bool matches(std::string_view pattern, std::string_view text) {
    std::size_t p = 0;
    std::size_t t = 0;
    std::size_t star = pattern.npos;
    std::size_t star_text = 0;
    while (t < text.size() || p < pattern.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            star_text = t;
            continue;
        }
        if (t < text.size() && p < pattern.size()) {
            if (pattern[p] == '?') {
                ++p;
                t = get_next(text, t);
                continue;
            }
            const bool is_escape = p + 1 < pattern.size() && pattern[p] == '\\';
            if (pattern[p + is_escape] == text[t]) {
                p += 1 + is_escape;
                ++t;
                continue;
            }
        }
        // The last star takes one character more.
        if (star == pattern.npos || star_text >= text.size())
            return false;
        p = star + 1;
        t = star_text = get_next(text, star_text);
    }
    return true;
}

/// The only name that the pattern matches; nothing if it has a wildcard.
std::optional<std::string> get_only_match(std::string_view pattern) {
    std::string name;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == '*' || pattern[i] == '?')
            return {};
        if (pattern[i] == '\\' && i + 1 < pattern.size())
            ++i;
        name += pattern[i];
    }
    return name;
}

/// Control characters are printed as \uXXXX, and so may come as that.
std::string read_control_characters(const std::string &pattern) {
    std::string result;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        unsigned code = 0;
        const char *const digits = pattern.data() + i + 2;
        if (pattern[i] == '\\' && i + 6 <= pattern.size() && pattern[i + 1] == 'u' &&
            std::from_chars(digits, digits + 4, code, 16).ptr == digits + 4 && (code < 0x20 || code == 0x7f)) {
            result += char(code);
            i += 5;
        } else if (pattern[i] == '\\' && i + 1 < pattern.size()) {
            result += pattern[i];
            result += pattern[++i];
        } else
            result += pattern[i];
    }
    return result;
}

class FIND_VERB final : public NYX_VERB {
public:
    std::string get_name() const override { return "find"; }
    std::string get_summary() const override { return "find instances, nets and ports by path"; }
    std::vector<std::string> get_description() const override {
        return {
            "A path is the names of instances from the top module down, with / between, and at its end the name of an "
            "instance, a net or a port. In each name * stands for any characters and ? for one; a backslash takes the "
            "next character as it is, / too, and \\uXXXX is a control character. ** as a name looks below all levels. "
            "A net is found by its further names too, which `nyx import` keeps.",
            "Shows what each object is, and with --connections what it is connected to. The exit code is 1 if "
            "nothing was found."};
    }
    std::vector<EXAMPLE> get_examples() const override {
        return {{"nyx find design.nyx 'core/alu/*'", "Everything in the module of core/alu."},
                {"nyx find design.nyx 'core/pc[3]' --type net --connections", "A net with its pins."},
                {"nyx find design.nyx '**/clk' --type port --count", "How many ports of that name there are."}};
    }
    std::vector<NYX_OPTION> get_options() override {
        return {
            {"FILE", "", "The database", &m_file, true, {}, NYX_OPTION::COMPLETE::DATABASE},
            {"PATTERN", "", "The paths", &m_patterns, true},
            {"-t,--type", "TYPE", "Only objects of this type", &m_type, false, {"instance", "net", "port"}},
            {"-c,--connections", "", "Show connections", &m_connections},
            {"-n,--limit", "N", "Stop after so many objects", &m_limit, false, {}, NYX_OPTION::COMPLETE::NOTHING, 1},
            {"--count", "", "Print the number of objects and no more", &m_count_only},
            {"--top", "MODULE", "Begin at this module", &m_top}};
    }
    int run(NYX_CONSOLE &console) override {
        const NYX_OPEN_DESIGN design(m_file);
        NYX_MODULE *const top =
            m_top.empty() ? design->get_top_module() : design->find_local_module(nyx_encode_name(m_top).c_str());
        if (!top)
            throw NYX_IO_ERROR(m_file + ": there is no module " + (m_top.empty() ? "in it" : "\"" + m_top + "\""));
        m_console = &console;
        m_found = JSON::array();
        for (const std::string &pattern : m_patterns)
            walk(top, split(pattern));
        if (m_count_only)
            console.print(console.m_json ? JSON{{"count", m_num_found}}.dump() + "\n"
                                         : std::to_string(m_num_found) + "\n");
        else if (console.m_json)
            console.print(m_found.dump(2, ' ', false, JSON::error_handler_t::replace) + "\n");
        if (m_limit > 0 && m_num_found == std::uint64_t(m_limit) && m_is_cut)
            console.note("stopped after " + nyx_group_digits(m_num_found) +
                         (m_num_found == 1 ? " object" : " objects") + "; --limit gives more");
        return m_num_found > 0 ? 0 : 1;
    }

private:
    static std::vector<std::string> split(const std::string &text) {
        const std::string pattern = read_control_characters(text);
        std::vector<std::string> steps(1);
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            if (pattern[i] == '\\' && i + 1 < pattern.size()) {
                steps.back() += pattern[i];
                steps.back() += pattern[++i];
            } else if (pattern[i] == '/')
                steps.emplace_back();
            else
                steps.back() += pattern[i];
        }
        if (steps.size() > 1 && steps.front().empty())
            steps.erase(steps.begin());
        // Two in a row would find everything twice.
        steps.erase(std::unique(steps.begin(), steps.end(),
                                [](const auto &a, const auto &b) { return a == "**" && b == "**"; }),
                    steps.end());
        return steps;
    }

    bool is_full() {
        if (m_limit > 0 && m_num_found >= std::uint64_t(m_limit))
            m_is_cut = true;
        return m_is_cut;
    }

    /// A module on a path, and the step of the pattern that comes next.
    struct PLACE {
        NYX_MODULE *module;
        std::string path;
        std::size_t step;
    };

    /// Depth first, with the places to come on a stack of our own, as hierarchies may be deeper than the program's.
    void walk(NYX_MODULE *top, const std::vector<std::string> &steps) {
        std::vector<PLACE> places{{top, "", 0}};
        while (!places.empty() && !is_full()) {
            const PLACE place = std::move(places.back());
            places.pop_back();
            const std::string &pattern = steps[place.step];
            if (place.step + 1 == steps.size()) {
                look_at(place, pattern);
                continue;
            }
            const std::size_t first = places.size();
            if (pattern == "**") {
                places.push_back({place.module, place.path, place.step + 1});
                for (NYX_INSTANCE *const instance : place.module->iter_instances())
                    if (!instance->is_leaf())
                        places.push_back({instance->get_module(), place.path + get_label(instance) + "/", place.step});
            } else
                for (NYX_INSTANCE *const instance : select_instances(place.module, pattern))
                    places.push_back({instance->get_module(), place.path + get_label(instance) + "/", place.step + 1});
            std::reverse(places.begin() + std::ptrdiff_t(first), places.end());
        }
    }

    void look_at(const PLACE &place, const std::string &pattern) {
        if (m_type.empty() || m_type == "instance")
            for (NYX_INSTANCE *const instance : select_instances(place.module, pattern))
                if (!is_full())
                    tell_instance(instance, place.path);
        if (m_type.empty() || m_type == "net")
            look_at_nets(place, pattern);
        if (m_type.empty() || m_type == "port") {
            const auto is_free = [](const NYX_PORT *port) { return port->get_parent() != nullptr; };
            for (NYX_PORT *const port :
                 select<NYX_PORT>(pattern, place.module->iter_ports(), is_free,
                                  [&](const char *name) { return place.module->find_port(name); }))
                if (!is_full())
                    tell_port(port, place.path);
        }
    }

    /// By their names, and those that this leaves out by further ones.
    void look_at_nets(const PLACE &place, const std::string &pattern) {
        const std::vector<NYX_NET *> nets = select<NYX_NET>(
            pattern, place.module->iter_nets(), [](const NYX_NET *) { return true; },
            [&](const char *name) { return place.module->find_net(name); });
        for (NYX_NET *const net : nets)
            if (!is_full())
                tell_net(net, place.path + get_label(net), "");
        const std::optional<std::string> only = get_only_match(pattern);
        if ((only && !nets.empty()) || is_full())
            return;
        const std::unordered_set<NYX_NET *> told(nets.begin(), nets.end());
        const auto [further, is_new] = m_further_names.try_emplace(place.module);
        if (is_new)
            further->second = nyx_find_further_names(place.module);
        for (const NYX_FURTHER_NAME &name : further->second)
            if (!told.contains(name.net) && matches(pattern, name.name) && !is_full())
                tell_net(name.net, place.path + escape(name.name), nyx_decode_name(name.net->get_name()));
    }

    /// The objects whose names match.
    template <class T, class OBJECTS, class ACCEPT, class FIND>
    std::vector<T *> select(const std::string &pattern, const OBJECTS &objects, const ACCEPT &accept,
                            const FIND &find) {
        std::vector<T *> found;
        if (const std::optional<std::string> only = get_only_match(pattern)) {
            if (T *const object = find(nyx_encode_name(*only).c_str()); object && accept(object))
                found.push_back(object);
            return found;
        }
        for (T *const object : objects)
            if (accept(object)) {
                object->get_name(m_name);
                if (matches(pattern, nyx_decode_name(m_name)))
                    found.push_back(object);
            }
        return found;
    }

    std::vector<NYX_INSTANCE *> select_instances(NYX_MODULE *module, const std::string &pattern) {
        return select<NYX_INSTANCE>(
            pattern, module->iter_instances(), [](const NYX_INSTANCE *) { return true; },
            [module](const char *name) { return module->find_instance(name); });
    }

    /// The name as a step of a path that finds it, and nothing else.
    static std::string escape(const std::string &name) {
        std::string label;
        for (const char c : name) {
            if (c == '/' || c == '\\' || c == '*' || c == '?')
                label += '\\';
            label += c;
        }
        return label;
    }
    template <class T>
    static std::string get_label(const T *object) {
        return escape(nyx_decode_name(object->get_name()));
    }

    static const char *get_direction(const NYX_PORT *port) {
        if (port == nullptr)
            return "deleted"; // in the library, while this file was closed
        return port->is_input() ? "input" : port->is_output() ? "output" : port->is_bidir() ? "inout" : "port";
    }

    /// `about` is what the JSON object says of it, `what` what a line does.
    void tell(const char *type, const std::string &path, JSON about, const std::string &what, JSON connections) {
        // Several patterns may match one object.
        if (m_patterns.size() > 1 && !m_told.insert(std::string(type) + ' ' + path).second)
            return;
        ++m_num_found;
        if (m_count_only)
            return;
        if (m_console->m_json) {
            JSON json;
            json["type"] = type;
            json["path"] = path;
            json.update(about);
            if (m_connections)
                json["connections"] = std::move(connections);
            m_found.push_back(std::move(json));
            return;
        }
        using STYLE = NYX_CONSOLE::STYLE;
        m_console->print(std::string(type) + std::string(10 - std::string(type).size(), ' ') +
                         m_console->paint(STYLE::NAME, nyx_printable(path)) + "  " +
                         m_console->paint(STYLE::FAINT, nyx_printable(what)) + "\n");
        if (m_connections)
            for (const JSON &connection : connections)
                m_console->print("            " + nyx_printable(get_line(connection)) + "\n");
    }

    static std::string get_line(const JSON &connection) {
        std::string line;
        if (connection.contains("instance"))
            line += escape(connection["instance"].get<std::string>()) + "/";
        if (connection.contains("pin"))
            line += connection["pin"].get<std::string>() + " (" + connection["direction"].get<std::string>() + ")";
        if (connection.contains("net"))
            line += std::string(connection.contains("pin") ? " on " : "on ") +
                    (connection["net"].is_null() ? "nothing" : connection["net"].get<std::string>());
        return line;
    }

    void tell_instance(NYX_INSTANCE *instance, const std::string &path) {
        JSON connections = JSON::array();
        if (m_connections)
            for (NYX_INST_PORT *const pin : instance->iter_inst_ports())
                if (pin->is_valid())
                    connections.push_back(
                        {{"pin", nyx_decode_name(pin->get_name())},
                         {"direction", get_direction(pin->get_port())},
                         {"net", pin->get_net() ? JSON(nyx_decode_name(pin->get_net()->get_name())) : JSON()}});
        const std::string module = nyx_decode_name(instance->get_module()->get_name());
        tell("instance", path + get_label(instance), {{"module", module}}, module, std::move(connections));
    }

    /// `name` is the net's own if the path has another.
    void tell_net(NYX_NET *net, const std::string &path, const std::string &name) {
        JSON connections = JSON::array();
        std::size_t count = 0;
        for (NYX_PORT *const port : net->iter_ports()) {
            ++count;
            if (m_connections)
                connections.push_back({{"pin", nyx_decode_name(port->get_name())}, {"direction", get_direction(port)}});
        }
        for (NYX_INST_PORT *const pin : net->iter_inst_ports()) {
            ++count;
            if (m_connections)
                connections.push_back({{"instance", nyx_decode_name(pin->get_inst()->get_name())},
                                       {"pin", nyx_decode_name(pin->get_name())},
                                       {"direction", get_direction(pin->get_port())}});
        }
        const char *const supply = net->is_ground() ? "ground" : net->is_power() ? "power" : nullptr;
        JSON about;
        if (!name.empty())
            about["net"] = name;
        about["supply"] = supply ? JSON(supply) : JSON();
        about["connections_count"] = count;
        tell("net", path, std::move(about),
             (name.empty() ? "" : "= " + name + ", ") + (supply ? std::string(supply) + ", " : "") +
                 nyx_group_digits(count) + (count == 1 ? " connection" : " connections"),
             std::move(connections));
    }

    void tell_port(NYX_PORT *port, const std::string &path) {
        JSON connections = JSON::array();
        if (m_connections)
            connections.push_back(
                {{"net", port->get_net() ? JSON(nyx_decode_name(port->get_net()->get_name())) : JSON()}});
        tell("port", path + get_label(port), {{"direction", get_direction(port)}}, get_direction(port),
             std::move(connections));
    }

    std::string m_file;
    std::vector<std::string> m_patterns;
    std::string m_type;
    bool m_connections = false;
    int m_limit = 0;
    bool m_count_only = false;
    std::string m_top;

    NYX_CONSOLE *m_console = nullptr;
    JSON m_found;
    std::uint64_t m_num_found = 0;
    bool m_is_cut = false;
    std::string m_name;
    std::unordered_set<std::string> m_told;
    std::unordered_map<NYX_MODULE *, std::vector<NYX_FURTHER_NAME>> m_further_names;
};

} // namespace

std::unique_ptr<NYX_VERB> nyx_make_find_verb() {
    return std::make_unique<FIND_VERB>();
}
