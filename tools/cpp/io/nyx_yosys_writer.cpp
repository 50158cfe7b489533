#include "io/nyx_yosys_writer.h"

#include "io/nyx_netlist_view.h"

#include <algorithm>
#include <cstdio>
#include <span>

namespace {

class WRITER {
public:
    WRITER(NYX_DB *db, NYX_TEXT_OUTPUT &output, const NYX_PROGRESS &progress)
        : m_db(db)
        , m_out(output)
        , m_progress(progress) {}

    std::vector<std::string> write();

private:
    void write_module(NYX_MODULE *module);
    void write_ports(const NYX_NETLIST_VIEW &view);
    void write_cells(NYX_MODULE *module, NYX_NETLIST_VIEW &view);
    void write_cell(NYX_INSTANCE *instance, NYX_NETLIST_VIEW &view);
    void write_names(const NYX_NETLIST_VIEW &view);
    void write_string(std::string_view text);
    void write_values(const char *section, const std::vector<NYX_VIEW_VALUE> &values, const char *indent);
    void write_bits(std::span<const NYX_YOSYS_BIT> bits);
    void write_range(const NYX_VIEW_VECTOR &vector);

    NYX_DB *m_db;
    NYX_TEXT_OUTPUT &m_out;
    const NYX_PROGRESS &m_progress;
    NYX_CELL_VIEWER m_viewer;
    NYX_VIEW_CELL m_cell;
    std::vector<std::string> m_warnings;
    std::uint64_t m_done = 0;
    std::uint64_t m_total = 0;
};

void WRITER::write_string(std::string_view text) {
    m_out << '"';
    std::size_t begin = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (static_cast<unsigned char>(c) >= 0x20 && c != '"' && c != '\\')
            continue;
        m_out << text.substr(begin, i - begin);
        begin = i + 1;
        char escape[8] = {'\\', c, 0};
        if (static_cast<unsigned char>(c) < 0x20)
            std::snprintf(escape, sizeof(escape), "\\u%04x", unsigned(static_cast<unsigned char>(c)));
        m_out << escape;
    }
    m_out << text.substr(begin) << '"';
}

void WRITER::write_values(const char *section, const std::vector<NYX_VIEW_VALUE> &values, const char *indent) {
    m_out << indent << "\"" << section << "\": {";
    bool first = true;
    for (const NYX_VIEW_VALUE &value : values) {
        m_out << (first ? "\n" : ",\n") << indent << "  ";
        first = false;
        write_string(value.name);
        m_out << ": ";
        if (value.kind == NYX_VIEW_VALUE::KIND::INTEGER || value.kind == NYX_VIEW_VALUE::KIND::REAL)
            m_out << value.text;
        else if (value.kind == NYX_VIEW_VALUE::KIND::BITS)
            write_string(value.text);
        else {
            // A text that could be read as a vector of bits has a blank behind it.
            const std::size_t other = value.text.find_first_not_of("01xz");
            const bool is_like_bits =
                other == value.text.npos || value.text.find_first_not_of(' ', other) == value.text.npos;
            write_string(is_like_bits ? value.text + ' ' : value.text);
        }
    }
    if (!first)
        m_out << "\n" << indent;
    m_out << "}";
}

void WRITER::write_bits(std::span<const NYX_YOSYS_BIT> bits) {
    m_out << "[";
    const char *separator = " ";
    for (const NYX_YOSYS_BIT bit : bits) {
        m_out << separator;
        if (nyx_is_constant(bit))
            m_out << '"' << nyx_digit_of(bit) << '"';
        else
            m_out << std::uint64_t(bit);
        separator = ", ";
    }
    m_out << " ]";
}

void WRITER::write_range(const NYX_VIEW_VECTOR &vector) {
    if (vector.offset != 0 && !vector.is_scalar)
        m_out << ",\n          \"offset\": " << std::string_view(std::to_string(vector.offset));
    if (vector.upto)
        m_out << ",\n          \"upto\": 1";
    if (vector.is_signed)
        m_out << ",\n          \"signed\": 1";
}

void WRITER::write_ports(const NYX_NETLIST_VIEW &view) {
    m_out << "      \"ports\": {";
    bool first = true;
    for (const NYX_VIEW_PORT &port : view.get_ports()) {
        m_out << (first ? "\n        " : ",\n        ");
        first = false;
        write_string(port.name);
        m_out << ": {\n          \"direction\": \"" << nyx_name_of(port.direction) << "\",\n          \"bits\": ";
        write_bits(port.bits);
        write_range(port);
        m_out << "\n        }";
    }
    m_out << (first ? "},\n" : "\n      },\n");
}

void WRITER::write_cell(NYX_INSTANCE *instance, NYX_NETLIST_VIEW &view) {
    const NYX_NETLIST_TRAITS &traits = view.get_traits();
    m_viewer.look_at(instance, view, m_cell);
    const std::string name = nyx_decode_name(instance->get_name());
    const bool hidden = NYX_NETLIST_TRAITS::is_hidden(instance, name, traits.m_instance_hidden_unlike);
    write_string(name);
    m_out << ": {\n          \"hide_name\": " << (hidden ? "1" : "0") << ",\n          \"type\": ";
    write_string(m_cell.base->type);
    m_out << ",\n";
    write_values("parameters", nyx_view_values(instance, false, traits), "          ");
    m_out << ",\n";
    write_values("attributes", nyx_view_values(instance, true, traits), "          ");
    m_out << ",\n";
    if (m_cell.has_directions) {
        m_out << "          \"port_directions\": {";
        const char *separator = "\n            ";
        for (const NYX_VIEW_PORT *const port : m_cell.directions) {
            m_out << separator;
            write_string(port->name);
            m_out << ": \"" << nyx_name_of(port->direction) << "\"";
            separator = ",\n            ";
        }
        m_out << "\n          },\n";
    }
    m_out << "          \"connections\": {";
    const char *separator = "\n            ";
    for (const NYX_VIEW_CELL::CONNECTION &connection : m_cell.connections) {
        m_out << separator;
        write_string(connection.port->name);
        m_out << ": ";
        write_bits(std::span(m_cell.bits).subspan(connection.bits.begin, connection.bits.count));
        separator = ",\n            ";
    }
    m_out << "\n          }\n        }";
}

void WRITER::write_cells(NYX_MODULE *module, NYX_NETLIST_VIEW &view) {
    m_out << "      \"cells\": {";
    bool first = true;
    for (NYX_INSTANCE *const instance : module->iter_instances()) {
        m_out << (first ? "\n        " : ",\n        ");
        first = false;
        write_cell(instance, view);
        if (m_progress && ++m_done % 256 == 0)
            m_progress(m_done, m_total);
    }
    m_out << (first ? "},\n" : "\n      },\n");
}

void WRITER::write_names(const NYX_NETLIST_VIEW &view) {
    m_out << "      \"netnames\": {";
    bool first = true;
    for (const NYX_VIEW_NAME &name : view.get_names()) {
        m_out << (first ? "\n        " : ",\n        ");
        first = false;
        write_string(name.name);
        m_out << ": {\n          \"hide_name\": " << (name.hidden ? "1" : "0") << ",\n          \"bits\": ";
        write_bits(name.bits);
        write_range(name);
        m_out << ",\n";
        write_values("attributes",
                     name.net ? nyx_view_values(name.net, true, view.get_traits())
                              : nyx_view_values(name.net_bus, true, view.get_traits()),
                     "          ");
        m_out << "\n        }";
    }
    m_out << (first ? "}\n" : "\n      }\n");
}

void WRITER::write_module(NYX_MODULE *module) {
    NYX_NETLIST_VIEW view(module);
    write_string(nyx_decode_name(module->get_name()));
    m_out << ": {\n";
    write_values("attributes", nyx_view_module_attributes(module, m_db, view.get_traits()), "      ");
    m_out << ",\n";
    const std::vector<NYX_VIEW_VALUE> parameters = nyx_view_values(module, false, view.get_traits());
    if (!parameters.empty()) {
        write_values("parameter_default_values", parameters, "      ");
        m_out << ",\n";
    }
    write_ports(view);
    if (view.get_traits().m_module_memories) {
        const NYX_APP_DATA memories = module->get_value(view.get_traits().m_module_memories);
        if (memories.get_size() > 0)
            m_out << "      \"memories\": "
                  << std::string_view(reinterpret_cast<const char *>(memories.get_data()), memories.get_size())
                  << ",\n";
    }
    write_cells(module, view);
    write_names(view);
    m_out << "    }";
    m_warnings.insert(m_warnings.end(), view.get_warnings().begin(), view.get_warnings().end());
}

std::vector<std::string> WRITER::write() {
    std::vector<NYX_MODULE *> modules = nyx_find_netlist_modules(m_db);
    std::erase_if(modules, [](NYX_MODULE *module) {
        return NYX_NETLIST_TRAITS::get(module, NYX_NETLIST_TRAITS::find(module->get_db()).m_module_implied);
    });
    if (m_progress)
        for (const NYX_MODULE *const module : modules)
            m_total += module->get_num_instances();
    m_out << "{\n  \"creator\": \"nyx\",\n  \"modules\": {";
    bool first = true;
    for (NYX_MODULE *const module : modules) {
        m_out << (first ? "\n    " : ",\n    ");
        first = false;
        write_module(module);
    }
    m_out << (first ? "}\n}\n" : "\n  }\n}\n");
    return std::move(m_warnings);
}

} // namespace

std::vector<std::string> nyx_write_yosys_json(NYX_DB *db, NYX_TEXT_OUTPUT &output, const NYX_PROGRESS &progress) {
    return WRITER(db, output, progress).write();
}
