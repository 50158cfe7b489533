#include "io/nyx_verilog_writer.h"

#include "io/nyx_netlist_view.h"

#include <algorithm>
#include <cstdio>
#include <span>
#include <unordered_set>

namespace {

const std::unordered_set<std::string_view> &get_keywords() {
    // Verilog-2005, and the words of SystemVerilog that tools take for keywords in a plain Verilog file too.
    static const std::unordered_set<std::string_view> s_keywords = {"always",
                                                                    "and",
                                                                    "assign",
                                                                    "automatic",
                                                                    "begin",
                                                                    "bit",
                                                                    "buf",
                                                                    "bufif0",
                                                                    "bufif1",
                                                                    "byte",
                                                                    "case",
                                                                    "casex",
                                                                    "casez",
                                                                    "cell",
                                                                    "checker",
                                                                    "class",
                                                                    "cmos",
                                                                    "config",
                                                                    "const",
                                                                    "cover",
                                                                    "deassign",
                                                                    "default",
                                                                    "defparam",
                                                                    "design",
                                                                    "disable",
                                                                    "do",
                                                                    "edge",
                                                                    "else",
                                                                    "end",
                                                                    "endcase",
                                                                    "endconfig",
                                                                    "endfunction",
                                                                    "endgenerate",
                                                                    "endmodule",
                                                                    "endprimitive",
                                                                    "endspecify",
                                                                    "endtable",
                                                                    "endtask",
                                                                    "enum",
                                                                    "event",
                                                                    "final",
                                                                    "for",
                                                                    "force",
                                                                    "forever",
                                                                    "fork",
                                                                    "function",
                                                                    "generate",
                                                                    "genvar",
                                                                    "highz0",
                                                                    "highz1",
                                                                    "if",
                                                                    "ifnone",
                                                                    "import",
                                                                    "incdir",
                                                                    "include",
                                                                    "initial",
                                                                    "inout",
                                                                    "input",
                                                                    "instance",
                                                                    "int",
                                                                    "integer",
                                                                    "interface",
                                                                    "join",
                                                                    "large",
                                                                    "liblist",
                                                                    "library",
                                                                    "localparam",
                                                                    "logic",
                                                                    "longint",
                                                                    "macromodule",
                                                                    "medium",
                                                                    "module",
                                                                    "nand",
                                                                    "negedge",
                                                                    "nmos",
                                                                    "nor",
                                                                    "noshowcancelled",
                                                                    "not",
                                                                    "notif0",
                                                                    "notif1",
                                                                    "or",
                                                                    "output",
                                                                    "package",
                                                                    "packed",
                                                                    "parameter",
                                                                    "pmos",
                                                                    "posedge",
                                                                    "primitive",
                                                                    "priority",
                                                                    "program",
                                                                    "property",
                                                                    "pull0",
                                                                    "pull1",
                                                                    "pulldown",
                                                                    "pullup",
                                                                    "pulsestyle_ondetect",
                                                                    "pulsestyle_onevent",
                                                                    "rcmos",
                                                                    "real",
                                                                    "realtime",
                                                                    "ref",
                                                                    "reg",
                                                                    "release",
                                                                    "repeat",
                                                                    "return",
                                                                    "rnmos",
                                                                    "rpmos",
                                                                    "rtran",
                                                                    "rtranif0",
                                                                    "rtranif1",
                                                                    "scalared",
                                                                    "sequence",
                                                                    "shortint",
                                                                    "showcancelled",
                                                                    "signed",
                                                                    "small",
                                                                    "specify",
                                                                    "specparam",
                                                                    "static",
                                                                    "string",
                                                                    "strong0",
                                                                    "strong1",
                                                                    "struct",
                                                                    "supply0",
                                                                    "supply1",
                                                                    "table",
                                                                    "task",
                                                                    "time",
                                                                    "tran",
                                                                    "tranif0",
                                                                    "tranif1",
                                                                    "tri",
                                                                    "tri0",
                                                                    "tri1",
                                                                    "triand",
                                                                    "trior",
                                                                    "trireg",
                                                                    "typedef",
                                                                    "union",
                                                                    "unique",
                                                                    "unsigned",
                                                                    "use",
                                                                    "uwire",
                                                                    "var",
                                                                    "vectored",
                                                                    "void",
                                                                    "wait",
                                                                    "wand",
                                                                    "weak0",
                                                                    "weak1",
                                                                    "while",
                                                                    "wire",
                                                                    "wor",
                                                                    "xnor",
                                                                    "xor",
                                                                    "assert",
                                                                    "assume",
                                                                    "restrict",
                                                                    "rand",
                                                                    "eventually",
                                                                    "always_comb",
                                                                    "always_ff",
                                                                    "always_latch"};
    return s_keywords;
}

/// Characters that no identifier can hold, not even an escaped one.
bool is_space(char c) {
    return static_cast<unsigned char>(c) <= 0x20 || c == 0x7f;
}

/// The name as an identifier, escaped where that is needed. "\\a " and "a" are the same one.
std::string escape(const std::string &name) {
    const auto is_letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
    const bool is_plain = is_letter(name[0]) && std::all_of(name.begin(), name.end(), [&](char c) {
                              return is_letter(c) || (c >= '0' && c <= '9') || c == '$';
                          });
    return is_plain && !get_keywords().contains(name) ? name : "\\" + name + " ";
}

/// The names of one scope: each is given once.
class SCOPE {
public:
    /// The name, or one like it that is free and that Verilog can write.
    std::string take(const std::string &name) {
        std::string free = get_writable(name);
        if (!m_taken.insert(free).second) {
            const std::string stem = free + "_";
            unsigned &number = m_numbers[stem];
            do
                free = stem + std::to_string(std::max(2u, ++number));
            while (!m_taken.insert(free).second);
        }
        return free;
    }
    void reserve(const std::string &name) { m_taken.insert(get_writable(name)); }

    static std::string get_writable(std::string name) {
        std::replace_if(name.begin(), name.end(), is_space, '_');
        return name;
    }

private:
    std::unordered_set<std::string> m_taken;
    /// By what numbers were put to, the last of them.
    std::unordered_map<std::string, unsigned> m_numbers;
};

/// Takes names for all of a list, first for those that can stay as they are.
template <class LIST, class GET_NAME, class SET>
void take_all(SCOPE &scope, const LIST &list, const GET_NAME &get_name, const SET &set) {
    for (const bool writable : {true, false})
        for (const auto &entry : list)
            if (const std::string &name = get_name(entry); (SCOPE::get_writable(name) == name) == writable)
                set(entry, scope.take(name));
}

class WRITER {
public:
    WRITER(NYX_DB *db, NYX_TEXT_OUTPUT &output, const NYX_PROGRESS &progress)
        : m_db(db)
        , m_out(output)
        , m_progress(progress) {}

    std::vector<std::string> write();

private:
    /// Where a bit is written: a bit of a declared vector.
    struct PLACE {
        const NYX_VIEW_VECTOR *vector = nullptr;
        std::uint32_t bit = 0;
    };

    void write_module(NYX_MODULE *module);
    void place_bits();
    void place(const NYX_VIEW_VECTOR &vector);
    void write_header(NYX_MODULE *module);
    void write_wires();
    void write_assigns();
    void write_cells(NYX_MODULE *module);
    void write_open_wires();
    void write_attributes(const std::vector<NYX_VIEW_VALUE> &values, const char *indent);
    /// The identifier of a parameter or an attribute.
    std::string get_identifier(const std::string &name);
    void tell_change(const std::string &name, const std::string &written);
    void name_modules(const std::vector<NYX_MODULE *> &modules);
    const std::vector<std::string> &get_port_identifiers(NYX_MODULE *module);
    void name_vectors(NYX_MODULE *module);
    std::string get_open_wire(NYX_YOSYS_BIT bit);
    static std::string get_literal(const NYX_VIEW_VALUE &value);
    std::string get_range(const NYX_VIEW_VECTOR &vector) const;
    std::string get_expression(std::span<const NYX_YOSYS_BIT> bits);
    std::string get_select(const NYX_VIEW_VECTOR &vector, std::uint32_t high, std::uint32_t low);
    PLACE &get_place(NYX_YOSYS_BIT bit);
    const NYX_VIEW_NAME *find_name_of(const NYX_VIEW_PORT &port) const;

    NYX_DB *m_db;
    NYX_TEXT_OUTPUT &m_out;
    const NYX_PROGRESS &m_progress;
    std::vector<std::string> m_warnings;
    std::uint64_t m_done = 0;
    std::uint64_t m_total = 0;
    NYX_CELL_VIEWER m_viewer;
    NYX_VIEW_CELL m_cell;
    std::unordered_map<const NYX_MODULE *, std::string> m_module_identifiers;
    /// By module, in the order of the view's ports.
    std::unordered_map<const NYX_MODULE *, std::vector<std::string>> m_port_identifiers;
    std::unordered_set<std::string> m_told_changes;

    // The module that is being written.
    NYX_NETLIST_VIEW *m_view = nullptr;
    /// By the number of a bit.
    std::vector<PLACE> m_places;
    std::unordered_map<std::string, const NYX_VIEW_NAME *> m_names;
    std::unordered_set<std::string_view> m_port_names;
    SCOPE m_scope;
    std::unordered_map<const NYX_VIEW_VECTOR *, std::string> m_identifiers;
    std::unordered_map<std::uint32_t, std::string> m_open_wires;
    std::string m_body;
};

void WRITER::tell_change(const std::string &name, const std::string &written) {
    if (name == written)
        return;
    std::string text = "\"" + name + "\" is written as \"" + written + "\": ";
    text += SCOPE::get_writable(name) != name ? "Verilog has no names with white space"
                                              : "another object of the module has this name in Verilog";
    if (m_told_changes.insert(text).second)
        m_warnings.push_back(std::move(text));
}

std::string WRITER::get_identifier(const std::string &name) {
    const std::string written = SCOPE::get_writable(name);
    tell_change(name, written);
    return escape(written);
}

/// Cell types that the file does not define keep their names, for others know them by these.
void WRITER::name_modules(const std::vector<NYX_MODULE *> &modules) {
    SCOPE scope;
    std::vector<NYX_MODULE *> defined;
    for (NYX_MODULE *const module : modules)
        if (const NYX_VIEW_BASE &base = m_viewer.get_base(module); base.is_implied) {
            scope.reserve(base.type);
            m_module_identifiers[module] = get_identifier(base.type);
        } else
            defined.push_back(module);
    take_all(
        scope, defined, [this](NYX_MODULE *module) -> const std::string & { return m_viewer.get_base(module).type; },
        [this](NYX_MODULE *module, const std::string &name) {
            tell_change(m_viewer.get_base(module).type, name);
            m_module_identifiers[module] = escape(name);
        });
}

const std::vector<std::string> &WRITER::get_port_identifiers(NYX_MODULE *module) {
    std::vector<std::string> &identifiers = m_port_identifiers[module];
    if (const std::vector<NYX_VIEW_PORT> &ports = m_viewer.get_base(module).ports; identifiers.size() < ports.size()) {
        identifiers.resize(ports.size());
        SCOPE scope;
        take_all(
            scope, ports, [](const NYX_VIEW_PORT &port) -> const std::string & { return port.name; },
            [&](const NYX_VIEW_PORT &port, const std::string &name) {
                tell_change(port.name, name);
                identifiers[std::size_t(&port - ports.data())] = name;
            });
    }
    return identifiers;
}

/// Ports, nets, cells and parameters share one scope. The ports' names are known to other modules, so they come first.
void WRITER::name_vectors(NYX_MODULE *module) {
    m_scope = SCOPE();
    m_identifiers.clear();
    m_port_names.clear();
    m_open_wires.clear();
    for (const NYX_VIEW_VALUE &parameter : nyx_view_values(module, false, m_view->get_traits()))
        m_scope.reserve(parameter.name);
    const std::vector<std::string> &ports = get_port_identifiers(module);
    for (std::size_t i = 0; i < ports.size(); ++i) {
        const NYX_VIEW_PORT &port = m_view->get_ports()[i];
        m_scope.reserve(ports[i]);
        m_port_names.insert(port.name);
        m_identifiers[&port] = escape(ports[i]);
    }
    std::vector<const NYX_VIEW_NAME *> names;
    for (const NYX_VIEW_NAME &name : m_view->get_names())
        if (!m_port_names.contains(name.name) && !name.bits.empty())
            names.push_back(&name);
    take_all(
        m_scope, names, [](const NYX_VIEW_NAME *name) -> const std::string & { return name->name; },
        [this](const NYX_VIEW_NAME *name, const std::string &written) {
            tell_change(name->name, written);
            m_identifiers[name] = escape(written);
        });
}

std::string WRITER::get_open_wire(NYX_YOSYS_BIT bit) {
    std::string &identifier = m_open_wires[std::uint32_t(bit)];
    if (identifier.empty())
        identifier = escape(m_scope.take("$open$" + std::to_string(std::uint32_t(bit))));
    return identifier;
}

std::string WRITER::get_literal(const NYX_VIEW_VALUE &value) {
    if (value.kind == NYX_VIEW_VALUE::KIND::BITS)
        return value.text.empty() ? "\"\"" : std::to_string(value.text.size()) + "'b" + value.text;
    if (value.kind != NYX_VIEW_VALUE::KIND::STRING)
        return value.text;
    std::string literal = "\"";
    for (const char c : value.text) {
        if (c == '"' || c == '\\')
            (literal += '\\') += c;
        else if (c == '\n')
            literal += "\\n";
        else if (c == '\t')
            literal += "\\t";
        else if (static_cast<unsigned char>(c) < 0x20) {
            char octal[8];
            std::snprintf(octal, sizeof(octal), "\\%03o", unsigned(static_cast<unsigned char>(c)));
            literal += octal;
        } else
            literal += c;
    }
    return literal + "\"";
}

void WRITER::write_attributes(const std::vector<NYX_VIEW_VALUE> &values, const char *indent) {
    for (const NYX_VIEW_VALUE &value : values)
        m_out << indent << "(* " << get_identifier(value.name) << " = " << get_literal(value) << " *)\n";
}

std::string WRITER::get_range(const NYX_VIEW_VECTOR &vector) const {
    if (vector.is_scalar)
        return "";
    const long long low = vector.offset;
    const long long high = low + static_cast<long long>(vector.bits.size()) - 1;
    return "[" + std::to_string(vector.upto ? low : high) + ":" + std::to_string(vector.upto ? high : low) + "] ";
}

std::string WRITER::get_select(const NYX_VIEW_VECTOR &vector, std::uint32_t high, std::uint32_t low) {
    const std::string &text = m_identifiers.at(&vector);
    if (vector.is_scalar || (low == 0 && high + 1 == vector.bits.size()))
        return text;
    const auto get_index = [&vector](std::uint32_t bit) {
        return std::to_string(vector.upto ? static_cast<long long>(vector.offset) +
                                                static_cast<long long>(vector.bits.size()) - 1 - bit
                                          : static_cast<long long>(vector.offset) + bit);
    };
    return text + (high == low ? "[" + get_index(high) + "]" : "[" + get_index(high) + ":" + get_index(low) + "]");
}

WRITER::PLACE &WRITER::get_place(NYX_YOSYS_BIT bit) {
    if (std::uint32_t(bit) >= m_places.size())
        m_places.resize(std::uint32_t(bit) + 1);
    return m_places[std::uint32_t(bit)];
}

/// From the least significant bit; the expression has the most significant part first.
std::string WRITER::get_expression(std::span<const NYX_YOSYS_BIT> bits) {
    std::vector<std::string> parts;
    for (std::size_t i = 0; i < bits.size();) {
        if (nyx_is_constant(bits[i])) {
            std::string digits;
            while (i < bits.size() && nyx_is_constant(bits[i]))
                digits.insert(digits.begin(), nyx_digit_of(bits[i++]));
            parts.push_back(std::to_string(digits.size()) + "'b" + digits);
            continue;
        }
        const PLACE first = get_place(bits[i]);
        if (!first.vector) {
            parts.push_back(get_open_wire(bits[i]));
            ++i;
            continue;
        }
        PLACE last = first;
        for (++i; i < bits.size() && !nyx_is_constant(bits[i]); ++i) {
            const PLACE next = get_place(bits[i]);
            if (next.vector != last.vector || next.bit != last.bit + 1)
                break;
            last = next;
        }
        parts.push_back(get_select(*first.vector, last.bit, first.bit));
    }
    if (parts.size() == 1)
        return parts.front();
    std::string text = "{ ";
    for (auto part = parts.rbegin(); part != parts.rend(); ++part)
        text += (part == parts.rbegin() ? "" : ", ") + *part;
    return text + " }";
}

void WRITER::place(const NYX_VIEW_VECTOR &vector) {
    for (std::uint32_t i = 0; i < vector.bits.size(); ++i)
        if (!nyx_is_constant(vector.bits[i])) {
            PLACE &place = get_place(vector.bits[i]);
            if (!place.vector)
                place = {&vector, i};
        }
}

const NYX_VIEW_NAME *WRITER::find_name_of(const NYX_VIEW_PORT &port) const {
    const auto found = m_names.find(port.name);
    return found != m_names.end() ? found->second : nullptr;
}

void WRITER::place_bits() {
    m_places.clear();
    m_names.clear();
    for (const NYX_VIEW_NAME &name : m_view->get_names())
        m_names.emplace(name.name, &name);
    // What drives a bit stands for it: first inputs, then outputs, which may be read as well, then nets, where the
    // names that have nets of their own come before the further ones.
    for (const bool inputs : {true, false})
        for (const NYX_VIEW_PORT &port : m_view->get_ports())
            if ((port.direction != NYX_YOSYS_DIRECTION::OUTPUT) == inputs)
                place(port);
    for (const NYX_VIEW_NAME &name : m_view->get_names())
        if (m_identifiers.contains(&name) &&
            (name.net || NYX_NETLIST_TRAITS::get(name.net_bus, m_view->get_traits().m_net_bus_bits).empty()))
            place(name);
    for (const NYX_VIEW_NAME &name : m_view->get_names())
        if (m_identifiers.contains(&name))
            place(name);
}

void WRITER::write_header(NYX_MODULE *module) {
    const NYX_NETLIST_TRAITS &traits = m_view->get_traits();
    write_attributes(nyx_view_module_attributes(module, m_db, traits), "");
    m_out << "module " << m_module_identifiers.at(module);
    const std::vector<NYX_VIEW_VALUE> parameters = nyx_view_values(module, false, traits);
    const char *separator = " #(\n    ";
    for (const NYX_VIEW_VALUE &parameter : parameters) {
        m_out << separator << "parameter " << get_identifier(parameter.name) << " = " << get_literal(parameter);
        separator = ",\n    ";
    }
    if (!parameters.empty())
        m_out << "\n)";
    m_out << " (";
    separator = "\n";
    for (const NYX_VIEW_PORT &port : m_view->get_ports()) {
        m_out << separator;
        separator = ",\n";
        if (const NYX_VIEW_NAME *const name = find_name_of(port))
            write_attributes(name->net ? nyx_view_values(name->net, true, traits)
                                       : nyx_view_values(name->net_bus, true, traits),
                             "    ");
        m_out << "    " << nyx_name_of(port.direction) << " wire " << (port.is_signed ? "signed " : "")
              << get_range(port) << m_identifiers.at(&port);
    }
    m_out << "\n);\n";
}

void WRITER::write_wires() {
    for (const NYX_VIEW_NAME &name : m_view->get_names()) {
        const auto identifier = m_identifiers.find(&name);
        if (identifier == m_identifiers.end())
            continue;
        write_attributes(name.net ? nyx_view_values(name.net, true, m_view->get_traits())
                                  : nyx_view_values(name.net_bus, true, m_view->get_traits()),
                         "    ");
        m_out << "    wire " << (name.is_signed ? "signed " : "") << get_range(name) << identifier->second << ";\n";
    }
}

void WRITER::write_assigns() {
    // Whatever does not stand for its bits itself is assigned from what does, a run of bits at a time.
    const auto assign = [this](const NYX_VIEW_VECTOR &vector) {
        for (std::uint32_t i = 0; i < vector.bits.size();) {
            const auto is_foreign = [&](std::uint32_t bit) {
                if (nyx_is_constant(vector.bits[bit]))
                    return true;
                const PLACE &place = get_place(vector.bits[bit]);
                return place.vector != &vector || place.bit != bit;
            };
            if (!is_foreign(i)) {
                ++i;
                continue;
            }
            const std::uint32_t begin = i;
            while (i < vector.bits.size() && is_foreign(i))
                ++i;
            m_body += "    assign " + get_select(vector, i - 1, begin) + " = " +
                      get_expression(std::span(vector.bits).subspan(begin, i - begin)) + ";\n";
        }
    };
    for (const NYX_VIEW_PORT &port : m_view->get_ports())
        assign(port);
    for (const NYX_VIEW_NAME &name : m_view->get_names())
        if (m_identifiers.contains(&name))
            assign(name);
}

void WRITER::write_cells(NYX_MODULE *module) {
    for (NYX_INSTANCE *const instance : module->iter_instances()) {
        m_viewer.look_at(instance, *m_view, m_cell);
        for (const NYX_VIEW_VALUE &value : nyx_view_values(instance, true, m_view->get_traits()))
            m_body += "    (* " + get_identifier(value.name) + " = " + get_literal(value) + " *)\n";
        m_body += "    " + m_module_identifiers.at(instance->get_module());
        const std::vector<std::string> &ports = get_port_identifiers(instance->get_module());
        const char *separator = " #(.";
        for (const NYX_VIEW_VALUE &value : nyx_view_values(instance, false, m_view->get_traits())) {
            m_body += separator + get_identifier(value.name) + "(" + get_literal(value) + ")";
            separator = ", .";
        }
        if (*separator == ',')
            m_body += ")";
        const std::string name = nyx_decode_name(instance->get_name());
        const std::string written = m_scope.take(name);
        tell_change(name, written);
        m_body += " " + escape(written) + " (";
        separator = "\n        .";
        for (const NYX_VIEW_CELL::CONNECTION &connection : m_cell.connections) {
            m_body += separator + escape(ports[std::size_t(connection.port - m_cell.base->ports.data())]) + "(";
            if (connection.bits.count > 0)
                m_body += get_expression(std::span(m_cell.bits).subspan(connection.bits.begin, connection.bits.count));
            m_body += ")";
            separator = ",\n        .";
        }
        m_body += "\n    );\n";
        if (m_progress && ++m_done % 256 == 0)
            m_progress(m_done, m_total);
    }
}

void WRITER::write_module(NYX_MODULE *module) {
    NYX_NETLIST_VIEW view(module);
    m_view = &view;
    m_body.clear();
    name_vectors(module);
    place_bits();
    write_header(module);
    write_wires();
    write_assigns();
    write_cells(module);
    write_open_wires();
    m_out << m_body << "endmodule\n\n";
    m_warnings.insert(m_warnings.end(), view.get_warnings().begin(), view.get_warnings().end());
}

/// Bits that have no name, those of pins that are not connected among them.
void WRITER::write_open_wires() {
    const auto end = std::uint32_t(m_view->get_fresh_bit());
    for (std::uint32_t number = 2; number < end; ++number)
        if (!get_place(NYX_YOSYS_BIT(number)).vector)
            m_out << "    wire " << get_open_wire(NYX_YOSYS_BIT(number)) << ";\n";
}

std::vector<std::string> WRITER::write() {
    std::vector<NYX_MODULE *> modules = nyx_find_netlist_modules(m_db);
    name_modules(modules);
    std::erase_if(modules, [this](NYX_MODULE *module) { return m_viewer.get_base(module).is_implied; });
    if (m_progress)
        for (const NYX_MODULE *const module : modules)
            m_total += module->get_num_instances();
    m_out << "// Written by nyx.\n\n";
    for (NYX_MODULE *const module : modules)
        write_module(module);
    return std::move(m_warnings);
}

} // namespace

std::vector<std::string> nyx_write_verilog(NYX_DB *db, NYX_TEXT_OUTPUT &output, const NYX_PROGRESS &progress) {
    return WRITER(db, output, progress).write();
}
