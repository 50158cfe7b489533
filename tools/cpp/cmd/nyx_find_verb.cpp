#include "cmd/nyx_open_design.h"
#include "cmd/nyx_verb.h"
#include "io/nyx_io_error.h"
#include "io/nyx_netlist_text.h"

#include <nlohmann/json.hpp>

namespace {

using JSON = nlohmann::ordered_json;

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
        const bool is_escape = p + 1 < pattern.size() && pattern[p] == '\\';
        const char wanted = p < pattern.size() ? pattern[p + is_escape] : '\0';
        if (t < text.size() && p < pattern.size() && ((wanted == '?' && !is_escape) || wanted == text[t])) {
            p += 1 + is_escape;
            ++t;
            continue;
        }
        // The last star takes one character more.
        if (star == pattern.npos || star_text >= text.size())
            return false;
        p = star + 1;
        t = ++star_text;
    }
    return true;
}

bool has_wildcard(std::string_view pattern) {
    return pattern.find_first_of("*?\\") != pattern.npos;
}

class FIND_VERB final : public NYX_VERB {
public:
    std::string get_name() const override { return "find"; }
    std::string get_summary() const override { return "find instances, nets and ports by path"; }
    std::vector<std::string> get_description() const override {
        return {
            "A path is the names of instances from the top module down, with / between, and at its end the name of an "
            "instance, a net or a port. In each name * stands for any characters and ? for one; a backslash takes the "
            "next character as it is, / too. ** at the beginning of a path looks below all levels.",
            "Shows what each object is, and with --connections what it is connected to. The exit code is 1 if "
            "nothing was found."};
    }
    std::vector<EXAMPLE> get_examples() const override {
        return {{"nyx find design.nyx 'core/alu/*'", "Everything in the module of core/alu."},
                {"nyx find design.nyx 'core/pc[3]' --type net --connections", "A net with its pins."},
                {"nyx find design.nyx '**/clk' --type port --count", "How many ports of that name there are."}};
    }
    std::vector<NYX_OPTION> get_options() override {
        return {{"FILE", "", "The database", &m_file, true, {}, NYX_OPTION::COMPLETE::DATABASE},
                {"PATTERN", "", "The paths", &m_patterns, true},
                {"-t,--type", "TYPE", "Only objects of this type", &m_type, false, {"instance", "net", "port"}},
                {"-c,--connections", "", "Show connections", &m_connections},
                {"-n,--limit", "N", "Stop after so many objects", &m_limit},
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
        for (const std::string &pattern : m_patterns) {
            std::vector<std::string> steps = split(pattern);
            walk(top, "", steps, 0);
        }
        if (m_count_only)
            console.print(console.m_json ? JSON{{"count", m_num_found}}.dump() + "\n"
                                         : std::to_string(m_num_found) + "\n");
        else if (console.m_json)
            console.print(m_found.dump(2, ' ', false, JSON::error_handler_t::replace) + "\n");
        if (m_limit > 0 && m_num_found == std::uint64_t(m_limit) && m_is_cut)
            console.note("stopped after " + nyx_group_digits(m_num_found) + " objects; --limit gives more");
        return m_num_found > 0 ? 0 : 1;
    }

private:
    static std::vector<std::string> split(const std::string &pattern) {
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
        return steps;
    }

    bool is_full() {
        if (m_limit > 0 && m_num_found >= std::uint64_t(m_limit))
            m_is_cut = true;
        return m_is_cut;
    }

    void walk(NYX_MODULE *module, const std::string &path, const std::vector<std::string> &steps, std::size_t step) {
        if (is_full())
            return;
        const std::string &pattern = steps[step];
        if (pattern == "**" && step + 1 < steps.size()) {
            walk(module, path, steps, step + 1);
            for (NYX_INSTANCE *const instance : module->iter_instances())
                if (!instance->is_leaf())
                    walk(instance->get_module(), path + get_label(instance) + "/", steps, step);
            return;
        }
        if (step + 1 < steps.size()) {
            for (NYX_INSTANCE *const instance : select(module, pattern))
                walk(instance->get_module(), path + get_label(instance) + "/", steps, step + 1);
            return;
        }
        if (m_type.empty() || m_type == "instance")
            for (NYX_INSTANCE *const instance : select(module, pattern))
                if (!is_full())
                    tell_instance(instance, path);
        if (m_type.empty() || m_type == "net")
            for (NYX_NET *const net : module->iter_nets()) {
                net->get_name(m_name);
                if (matches(pattern, nyx_decode_name(m_name)) && !is_full())
                    tell_net(net, path);
            }
        if (m_type.empty() || m_type == "port")
            for (NYX_PORT *const port : module->iter_ports())
                if (port->get_parent()) {
                    port->get_name(m_name);
                    if (matches(pattern, nyx_decode_name(m_name)) && !is_full())
                        tell_port(port, path);
                }
    }

    std::vector<NYX_INSTANCE *> select(NYX_MODULE *module, const std::string &pattern) {
        std::vector<NYX_INSTANCE *> found;
        if (!has_wildcard(pattern)) {
            if (NYX_INSTANCE *const instance = module->find_instance(nyx_encode_name(pattern).c_str()))
                found.push_back(instance);
            return found;
        }
        for (NYX_INSTANCE *const instance : module->iter_instances()) {
            instance->get_name(m_name);
            if (matches(pattern, nyx_decode_name(m_name)))
                found.push_back(instance);
        }
        return found;
    }

    /// The name as a step of a path that finds it.
    template <class T>
    static std::string get_label(const T *object) {
        std::string label;
        for (const char c : nyx_decode_name(object->get_name())) {
            if (c == '/' || c == '\\')
                label += '\\';
            label += c;
        }
        return label;
    }

    static const char *get_direction(const NYX_PORT *port) {
        if (port == nullptr)
            return "deleted"; // in the library, while this file was closed
        return port->is_input() ? "input" : port->is_output() ? "output" : port->is_bidir() ? "inout" : "port";
    }

    void tell(const char *type, const std::string &path, const std::string &what, JSON connections) {
        ++m_num_found;
        if (m_count_only)
            return;
        if (m_console->m_json) {
            JSON json;
            json["type"] = type;
            json["path"] = path;
            json[std::string(type) == "instance" ? "module"
                 : std::string(type) == "port"   ? "direction"
                                                 : "kind"] = what;
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
            for (const JSON &connection : connections) {
                std::string line = "            ";
                if (connection.contains("pin"))
                    line +=
                        connection["pin"].get<std::string>() + " (" + connection["direction"].get<std::string>() + ")";
                if (connection.contains("net"))
                    line += std::string(connection.contains("pin") ? " on " : "on ") +
                            (connection["net"].is_null() ? "nothing" : connection["net"].get<std::string>());
                m_console->print(nyx_printable(line) + "\n");
            }
    }

    void tell_instance(NYX_INSTANCE *instance, const std::string &path) {
        JSON connections = JSON::array();
        if (m_connections)
            for (NYX_INST_PORT *const pin : instance->iter_inst_ports())
                if (pin->is_valid()) {
                    JSON json;
                    json["pin"] = nyx_decode_name(pin->get_name());
                    json["direction"] = get_direction(pin->get_port());
                    json["net"] = pin->get_net() ? JSON(nyx_decode_name(pin->get_net()->get_name())) : JSON();
                    connections.push_back(std::move(json));
                }
        tell("instance", path + get_label(instance), nyx_decode_name(instance->get_module()->get_name()),
             std::move(connections));
    }

    void tell_net(NYX_NET *net, const std::string &path) {
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
                connections.push_back({{"pin", get_label(pin->get_inst()) + "/" + nyx_decode_name(pin->get_name())},
                                       {"direction", get_direction(pin->get_port())}});
        }
        tell("net", path + get_label(net),
             std::string(net->is_ground()  ? "ground, "
                         : net->is_power() ? "power, "
                                           : "") +
                 nyx_group_digits(count) + (count == 1 ? " connection" : " connections"),
             std::move(connections));
    }

    void tell_port(NYX_PORT *port, const std::string &path) {
        JSON connections = JSON::array();
        if (m_connections)
            connections.push_back(
                {{"net", port->get_net() ? JSON(nyx_decode_name(port->get_net()->get_name())) : JSON()}});
        tell("port", path + get_label(port), get_direction(port), std::move(connections));
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
};

} // namespace

std::unique_ptr<NYX_VERB> nyx_make_find_verb() {
    return std::make_unique<FIND_VERB>();
}
