#include "io/nyx_yosys_reader.h"

#include "io/nyx_io_error.h"
#include "io/nyx_json_pieces.h"

#include <simdjson.h>

#include <algorithm>
#include <limits>
#include <string>
#include <unordered_map>

namespace ondemand = simdjson::ondemand;

namespace {

/// How much text the parser gets at once: enough to keep it busy, little enough to stay in the cache.
constexpr std::size_t s_piece_size = 128 << 10;

/// How deep values that nobody wants may be nested: more than any tool writes, and little enough for the stack.
constexpr unsigned s_max_depth = 1000;

/// Whether the token is a whole number as JSON has them.
bool is_integer(std::string_view text) {
    if (text.starts_with('-'))
        text.remove_prefix(1);
    return !text.empty() && text.find_first_not_of("0123456789") == text.npos && (text[0] != '0' || text.size() == 1);
}

class READER {
public:
    READER(NYX_TEXT_INPUT &input, const NYX_PROGRESS &progress)
        : m_input(input)
        , m_progress(progress)
        , m_pieces(input, simdjson::SIMDJSON_PADDING)
        , m_netlist(std::make_unique<NYX_YOSYS_NETLIST>()) {}

    std::unique_ptr<NYX_YOSYS_NETLIST> read();

private:
    /// One step of the path to the value that is being read, kept for messages.
    class STEP {
    public:
        STEP(READER &reader, std::string_view key) : m_reader(reader) { m_reader.m_path.push_back({key, s_no_index}); }
        STEP(READER &reader, std::size_t index) : m_reader(reader) { m_reader.m_path.push_back({{}, index}); }
        ~STEP() {
            // Who reports a fault from outside needs the path to it.
            if (!m_reader.m_failed)
                m_reader.m_path.pop_back();
        }
        STEP(const STEP &) = delete;
        STEP &operator=(const STEP &) = delete;

        void set_index(std::size_t index) { m_reader.m_path.back().index = index; }

    private:
        READER &m_reader;
    };
    struct PATH_STEP {
        std::string_view key;
        std::size_t index;
    };
    static constexpr std::size_t s_no_index = ~std::size_t(0);

    [[noreturn]] void fail(const std::string &text);
    [[noreturn]] void fail_at(std::uint64_t line, const std::string &text) const;
    std::string get_pointer() const;

    /// Whether `c` comes next, or nothing at all, which is told when something is taken.
    bool begins_or_ends(char c) {
        const char next = m_pieces.peek();
        return next == c || next == 0;
    }

    std::string take_key();
    /// Parses the text and hands the document to `visit`.
    void parse(std::string_view text, const auto &visit);
    /// Calls visit(key, value) for each member of the object that comes next, a batch of text at a time.
    void read_members(const auto &visit);

    void read_modules();
    void read_module(const std::string &name);
    void read_port(std::string_view name, ondemand::value value);
    void read_cell(std::string_view name, ondemand::value value);
    void read_name(std::string_view name, ondemand::value value);
    void read_values(ondemand::value value, NYX_YOSYS_RANGE &range);
    void read_bits(ondemand::value value, NYX_YOSYS_RANGE &range);
    void read_connections(ondemand::value value);
    void read_directions(ondemand::value value);
    bool read_vector_member(std::string_view key, ondemand::value value, NYX_YOSYS_VECTOR &vector);
    std::int32_t read_int(ondemand::value value);
    NYX_YOSYS_DIRECTION read_direction(ondemand::value value);
    std::uint32_t find_shape(bool has_directions);
    /// Reads what nobody wants, so that its faults are found.
    template <class VALUE>
    void skip(VALUE &&value, unsigned depth = 0);
    /// The indices of a vector with all its bits are numbers of 32 bits.
    void check_indices(const NYX_YOSYS_VECTOR &vector);

    ondemand::object get_object(ondemand::value value);
    std::string_view get_string(ondemand::value value);
    std::uint32_t add_name(std::string_view text);
    /// Notes a name of the present section, which must be new in it.
    std::uint32_t add_unique(std::string_view text);
    void begin_section() { ++m_section; }
    void tell_progress() const {
        if (m_progress)
            m_progress(m_input.get_used_bytes(), m_input.get_total_bytes());
    }

    NYX_TEXT_INPUT &m_input;
    const NYX_PROGRESS &m_progress;
    NYX_JSON_PIECES m_pieces;
    ondemand::parser m_parser;
    ondemand::document m_document;
    std::unique_ptr<NYX_YOSYS_NETLIST> m_netlist;
    NYX_YOSYS_MODULE *m_module = nullptr;
    std::vector<PATH_STEP> m_path;
    std::uint64_t m_hidden_lines = 0; // line breaks that a brace stands in the place of for now
    bool m_failed = false;
    bool m_parsing = false;

    /// By number of the string, the section that had it last.
    std::vector<std::uint32_t> m_last_section;
    std::uint32_t m_section = 0;
    std::unordered_multimap<std::size_t, std::uint32_t> m_shapes;
    NYX_YOSYS_SHAPE m_shape;
    std::vector<std::pair<std::uint32_t, NYX_YOSYS_DIRECTION>> m_directions;
};

std::string READER::get_pointer() const {
    std::string pointer;
    for (const PATH_STEP &step : m_path) {
        pointer += '/';
        pointer += step.index != s_no_index ? std::to_string(step.index) : nyx_pointer_step(step.key);
    }
    return pointer;
}

void READER::fail_at(std::uint64_t line, const std::string &text) const {
    const std::string pointer = get_pointer();
    throw NYX_IO_ERROR(nyx_printable(m_input.get_name()) + ":" + std::to_string(line) + ": " +
                       (pointer.empty() ? "" : pointer + ": ") + text);
}

void READER::fail(const std::string &text) {
    m_failed = true;
    const char *place = nullptr;
    if (m_parsing && !m_document.current_location().get(place))
        fail_at(m_pieces.get_line(place) + m_hidden_lines, text);
    fail_at(m_pieces.get_line() + m_hidden_lines, text);
}

void READER::parse(std::string_view text, const auto &visit) {
    const char *const begin = text.data();
    try {
        m_parsing = false;
        m_document =
            m_parser.iterate(simdjson::padded_string_view(text, text.size() + simdjson::SIMDJSON_PADDING)).value();
        m_parsing = true;
        visit(m_document);
        m_parsing = false;
    } catch (const simdjson::simdjson_error &error) {
        m_failed = true;
        const char *place = begin;
        if (m_parsing && m_document.current_location().get(place))
            place = begin + text.size();
        const char *const what = simdjson::error_message(error.error());
        fail_at(m_pieces.get_line(place) + m_hidden_lines, std::string("is not JSON: ") + what);
    }
}

std::string READER::take_key() {
    if (m_pieces.peek() != '"')
        m_pieces.take('"', "a name in double quotes");
    const std::string_view text = m_pieces.take_value();
    std::string key;
    parse(text, [&key](ondemand::document &document) { key = document.get_string().value(); });
    m_pieces.take(':', "a colon");
    return key;
}

void READER::read_members(const auto &visit) {
    m_pieces.take('{', "an object");
    for (;;) {
        std::string_view text = m_pieces.take_members(s_piece_size);
        if (text.empty())
            break;
        // The members become an object of their own for as long as they are parsed.
        char *const begin = const_cast<char *>(text.data()) - 1;
        char *const end = const_cast<char *>(text.data()) + text.size();
        const char ends[2] = {*begin, *end};
        m_hidden_lines = ends[0] == '\n';
        if (ends[1] == ']')
            m_pieces.take('}', "a comma or a brace");
        *begin = '{';
        *end = '}';
        parse({begin, text.size() + 2}, [&visit, this](ondemand::document &document) {
            for (auto field : document.get_object()) {
                const std::string_view key = field.unescaped_key();
                const STEP step(*this, key);
                visit(key, field.value().value());
            }
        });
        *begin = ends[0];
        *end = ends[1];
        m_hidden_lines = 0;
        tell_progress();
        if (!m_pieces.take_if(','))
            break;
        if (m_pieces.peek() == '}')
            m_pieces.take('"', "a name");
    }
    m_pieces.take('}', "a comma or a brace");
}

std::unique_ptr<NYX_YOSYS_NETLIST> READER::read() {
    if (m_pieces.peek() == 0)
        m_pieces.fail("is empty; write the file with Yosys' write_json");
    if (m_pieces.peek() != '{')
        m_pieces.fail("is not a netlist: a JSON object should begin here; write the file with Yosys' write_json");
    m_pieces.take('{', "an object");
    bool has_modules = false;
    bool more = m_pieces.peek() != '}';
    while (more) {
        const std::string key = take_key();
        const STEP step(*this, key);
        if (key == "modules") {
            if (has_modules)
                fail("comes twice");
            has_modules = true;
            read_modules();
        } else
            parse(m_pieces.take_value(), [this](ondemand::document &document) {
                if (document.is_scalar())
                    skip(document);
                else
                    skip(document.get_value().value());
            });
        more = m_pieces.take_if(',');
    }
    m_pieces.take('}', "a comma or a brace");
    if (m_pieces.peek() != 0)
        m_pieces.fail("is not JSON: nothing should come behind the closing brace");
    if (!has_modules)
        m_pieces.fail("is not a netlist: it has no \"modules\"; write the file with Yosys' write_json");
    tell_progress();
    return std::move(m_netlist);
}

void READER::read_modules() {
    if (!begins_or_ends('{'))
        fail("should be an object, a module by its name");
    m_pieces.take('{', "an object");
    // Modules share no section with anything else, so their names are kept by a map of their own.
    std::unordered_map<std::uint32_t, bool> seen;
    bool more = m_pieces.peek() != '}';
    while (more) {
        const std::string name = take_key();
        const STEP step(*this, name);
        m_netlist->modules.emplace_back();
        m_module = &m_netlist->modules.back();
        m_module->name = add_name(name);
        if (!seen.emplace(m_module->name, true).second)
            fail("comes twice: modules need different names");
        read_module(name);
        more = m_pieces.take_if(',');
    }
    m_pieces.take('}', "a comma or a brace");
}

void READER::read_module(const std::string &) {
    if (!begins_or_ends('{'))
        fail("should be an object: a module");
    m_pieces.take('{', "an object");
    std::vector<std::string> sections;
    bool more = m_pieces.peek() != '}';
    while (more) {
        const std::string key = take_key();
        const STEP step(*this, key);
        if (std::find(sections.begin(), sections.end(), key) != sections.end())
            fail("comes twice");
        sections.push_back(key);
        begin_section();
        const bool is_list = key == "ports" || key == "cells" || key == "netnames";
        if ((is_list || key == "attributes" || key == "parameter_default_values") && !begins_or_ends('{'))
            fail("should be an object");
        if (key == "ports")
            read_members([this](std::string_view name, ondemand::value value) { read_port(name, value); });
        else if (key == "cells")
            read_members([this](std::string_view name, ondemand::value value) { read_cell(name, value); });
        else if (key == "netnames")
            read_members([this](std::string_view name, ondemand::value value) { read_name(name, value); });
        else {
            const std::string_view text = m_pieces.take_value();
            parse(text, [&](ondemand::document &document) {
                if (key == "attributes")
                    read_values(document.get_value().value(), m_module->attributes);
                else if (key == "parameter_default_values")
                    read_values(document.get_value().value(), m_module->parameters);
                else if (document.is_scalar())
                    skip(document);
                else
                    skip(document.get_value().value());
            });
            if (key == "memories" && text != "{}")
                m_module->memories = text;
        }
        more = m_pieces.take_if(',');
    }
    m_pieces.take('}', "a comma or a brace");
    m_module->ports.shrink_to_fit();
    m_module->cells.shrink_to_fit();
    m_module->names.shrink_to_fit();
    m_module->bits.shrink_to_fit();
    m_module->values.shrink_to_fit();
}

ondemand::object READER::get_object(ondemand::value value) {
    ondemand::object object;
    if (value.get_object().get(object))
        fail("should be an object");
    return object;
}

std::string_view READER::get_string(ondemand::value value) {
    std::string_view text;
    const auto error = value.get_string().get(text);
    if (error == simdjson::INCORRECT_TYPE)
        fail("should be a string");
    if (error)
        throw simdjson::simdjson_error(error);
    return text;
}

std::uint32_t READER::add_name(std::string_view text) {
    if (text.empty())
        fail("a name should not be empty");
    if (text.find('\0') != text.npos)
        fail("a name should not hold a NUL character");
    return m_netlist->strings.add(text);
}

std::uint32_t READER::add_unique(std::string_view text) {
    const std::uint32_t name = add_name(text);
    if (name >= m_last_section.size())
        m_last_section.resize(std::max<std::size_t>(name + 1, m_last_section.size() * 2));
    if (m_last_section[name] == m_section)
        fail("comes twice: names within one section need to differ");
    m_last_section[name] = m_section;
    return name;
}

template <class VALUE>
void READER::skip(VALUE &&value, unsigned depth) {
    if (depth == s_max_depth)
        fail("is nested too deeply: more than " + std::to_string(s_max_depth) + " levels");
    switch (value.type().value()) {
    case ondemand::json_type::array:
        for (auto element : value.get_array())
            skip(element.value(), depth + 1);
        break;
    case ondemand::json_type::object:
        for (auto field : value.get_object()) {
            (void)std::string_view(field.unescaped_key());
            skip(field.value().value(), depth + 1);
        }
        break;
    case ondemand::json_type::number:
        (void)value.get_double().value();
        break;
    case ondemand::json_type::string:
        (void)value.get_string().value();
        break;
    case ondemand::json_type::boolean:
        (void)value.get_bool().value();
        break;
    case ondemand::json_type::null:
        if (!value.is_null().value())
            throw simdjson::simdjson_error(simdjson::N_ATOM_ERROR);
        break;
    }
}

std::int32_t READER::read_int(ondemand::value value) {
    std::int64_t number = 0;
    if (value.get_int64().get(number) || number < std::numeric_limits<std::int32_t>::min() ||
        number > std::numeric_limits<std::int32_t>::max())
        fail("should be a whole number of 32 bits");
    return std::int32_t(number);
}

NYX_YOSYS_DIRECTION READER::read_direction(ondemand::value value) {
    const std::string_view text = get_string(value);
    if (text == "input")
        return NYX_YOSYS_DIRECTION::INPUT;
    if (text == "output")
        return NYX_YOSYS_DIRECTION::OUTPUT;
    if (text == "inout")
        return NYX_YOSYS_DIRECTION::INOUT;
    fail("should be \"input\", \"output\" or \"inout\", not \"" + nyx_printable(text) + "\"");
}

void READER::read_bits(ondemand::value value, NYX_YOSYS_RANGE &range) {
    ondemand::array array;
    if (value.get_array().get(array))
        fail("should be an array of bits");
    std::vector<NYX_YOSYS_BIT> &bits = m_module->bits;
    range.begin = std::uint32_t(bits.size());
    STEP step(*this, std::size_t(0));
    std::size_t index = 0;
    for (auto element : array) {
        step.set_index(index++);
        ondemand::value bit = element.value();
        const ondemand::json_type type = bit.type();
        if (type == ondemand::json_type::number) {
            std::uint64_t number = 0;
            if (bit.get_uint64().get(number) || number >= std::uint64_t(NYX_YOSYS_BIT::ZERO))
                fail("a bit is a whole number from 0 to 4294967291, or \"0\", \"1\", \"x\" or \"z\"");
            bits.push_back(NYX_YOSYS_BIT(number));
        } else if (type == ondemand::json_type::string) {
            const std::string_view text = bit.get_string();
            const std::size_t digit = text.size() == 1 ? std::string_view("01xz").find(text[0]) : text.npos;
            if (digit == text.npos)
                fail("a bit is a number, \"0\", \"1\", \"x\" or \"z\", not \"" + nyx_printable(text) + "\"");
            bits.push_back(NYX_YOSYS_BIT(std::uint32_t(NYX_YOSYS_BIT::ZERO) + std::uint32_t(digit)));
        } else
            fail("a bit is a number, \"0\", \"1\", \"x\" or \"z\"");
    }
    if (bits.size() >= std::numeric_limits<std::uint32_t>::max())
        fail("the module has too many bits");
    range.count = std::uint32_t(bits.size()) - range.begin;
}

void READER::read_values(ondemand::value value, NYX_YOSYS_RANGE &range) {
    std::vector<NYX_YOSYS_VALUE> &values = m_module->values;
    range.begin = std::uint32_t(values.size());
    for (auto field : get_object(value)) {
        const std::string_view key = field.unescaped_key();
        const STEP step(*this, key);
        NYX_YOSYS_VALUE entry{add_name(key), NYX_YOSYS_VALUE::KIND::STRING, 0, 0};
        ondemand::value content = field.value();
        const ondemand::json_type type = content.type();
        if (type == ondemand::json_type::string) {
            // A string of nothing but digits would look like a vector of bits, so it is written with a blank behind.
            std::string_view text = content.get_string();
            if (text.find('\0') != text.npos)
                fail("a string should not hold a NUL character");
            const std::size_t other = text.find_first_not_of("01xz");
            if (other == text.npos)
                entry.kind = NYX_YOSYS_VALUE::KIND::BITS;
            else if (text.find_first_not_of(' ', other) == text.npos)
                text.remove_suffix(1);
            entry.text = m_netlist->strings.add(text);
        } else if (type == ondemand::json_type::number) {
            if (!content.get_int64().get(entry.integer))
                entry.kind = NYX_YOSYS_VALUE::KIND::INTEGER;
            else {
                std::string_view text = content.raw_json_token();
                text = text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
                if (is_integer(text))
                    entry.kind = NYX_YOSYS_VALUE::KIND::LONG_INTEGER;
                else {
                    (void)content.get_double().value();
                    entry.kind = NYX_YOSYS_VALUE::KIND::REAL;
                }
                entry.text = m_netlist->strings.add(text);
            }
        } else
            fail("should be a string or a number");
        values.push_back(entry);
    }
    range.count = std::uint32_t(values.size()) - range.begin;
}

bool READER::read_vector_member(std::string_view key, ondemand::value value, NYX_YOSYS_VECTOR &vector) {
    if (key == "bits")
        read_bits(value, vector.bits);
    else if (key == "offset")
        vector.offset = read_int(value);
    else if (key == "upto")
        vector.upto = read_int(value) != 0;
    else if (key == "signed")
        vector.is_signed = read_int(value) != 0;
    else
        return false;
    return true;
}

void READER::check_indices(const NYX_YOSYS_VECTOR &vector) {
    if (std::int64_t(vector.offset) + vector.bits.count - 1 > std::numeric_limits<std::int32_t>::max())
        fail("the indices of the bits go beyond 2147483647");
}

void READER::read_port(std::string_view name, ondemand::value value) {
    NYX_YOSYS_PORT port;
    port.name = add_unique(name);
    bool has_bits = false;
    for (auto field : get_object(value)) {
        const std::string_view key = field.unescaped_key();
        const STEP step(*this, key);
        ondemand::value member = field.value();
        has_bits = has_bits || key == "bits";
        if (key == "direction")
            port.direction = read_direction(member);
        else if (!read_vector_member(key, member, port))
            skip(member);
    }
    if (!has_bits)
        fail("a port should have \"bits\"");
    if (port.direction == NYX_YOSYS_DIRECTION::UNKNOWN)
        fail("a port should have a \"direction\"");
    check_indices(port);
    m_module->ports.push_back(port);
}

void READER::read_name(std::string_view text, ondemand::value value) {
    NYX_YOSYS_NAME name;
    name.name = add_unique(text);
    bool has_bits = false;
    for (auto field : get_object(value)) {
        const std::string_view key = field.unescaped_key();
        const STEP step(*this, key);
        ondemand::value member = field.value();
        has_bits = has_bits || key == "bits";
        if (key == "hide_name")
            name.hidden = read_int(member) != 0;
        else if (key == "attributes")
            read_values(member, name.attributes);
        else if (!read_vector_member(key, member, name))
            skip(member);
    }
    if (!has_bits)
        fail("a net name should have \"bits\"");
    check_indices(name);
    m_module->names.push_back(name);
}

void READER::read_directions(ondemand::value value) {
    for (auto field : get_object(value)) {
        const std::string_view key = field.unescaped_key();
        const STEP step(*this, key);
        m_directions.emplace_back(add_name(key), read_direction(field.value().value()));
    }
}

void READER::read_connections(ondemand::value value) {
    for (auto field : get_object(value)) {
        const std::string_view key = field.unescaped_key();
        const STEP step(*this, key);
        const std::uint32_t port = add_name(key);
        NYX_YOSYS_RANGE bits;
        read_bits(field.value().value(), bits);
        for (const NYX_YOSYS_SHAPE::PORT &other : m_shape.ports)
            if (other.name == port)
                fail("comes twice: a port of a cell is connected once");
        m_shape.ports.push_back({port, bits.count, NYX_YOSYS_DIRECTION::UNKNOWN});
    }
}

std::uint32_t READER::find_shape(bool has_directions) {
    m_shape.has_directions = has_directions;
    for (const auto &[port, direction] : m_directions) {
        const auto found = std::find_if(m_shape.ports.begin(), m_shape.ports.end(),
                                        [name = port](const auto &other) { return other.name == name; });
        if (found != m_shape.ports.end())
            found->direction = direction;
        else
            m_shape.ports.push_back({port, NYX_YOSYS_SHAPE::s_absent, direction});
    }
    std::size_t hash = has_directions;
    for (const NYX_YOSYS_SHAPE::PORT &port : m_shape.ports)
        hash = (hash ^ port.name ^ (std::size_t(port.width) << 32) ^ (std::size_t(port.direction) << 30)) *
               0x9e3779b97f4a7c15u;
    const auto [begin, end] = m_shapes.equal_range(hash);
    for (auto it = begin; it != end; ++it)
        if (m_netlist->shapes[it->second] == m_shape)
            return it->second;
    const auto fresh = std::uint32_t(m_netlist->shapes.size());
    m_netlist->shapes.push_back(m_shape);
    m_shapes.emplace(hash, fresh);
    return fresh;
}

void READER::read_cell(std::string_view name, ondemand::value value) {
    NYX_YOSYS_CELL cell;
    cell.name = add_unique(name);
    cell.bits.begin = std::uint32_t(m_module->bits.size());
    m_shape.ports.clear();
    m_directions.clear();
    bool has_type = false;
    bool has_directions = false;
    for (auto field : get_object(value)) {
        const std::string_view key = field.unescaped_key();
        const STEP step(*this, key);
        ondemand::value member = field.value();
        if (key == "type") {
            cell.type = add_name(get_string(member));
            has_type = true;
        } else if (key == "hide_name")
            cell.hidden = read_int(member) != 0;
        else if (key == "parameters")
            read_values(member, cell.parameters);
        else if (key == "attributes")
            read_values(member, cell.attributes);
        else if (key == "port_directions") {
            read_directions(member);
            has_directions = true;
        } else if (key == "connections")
            read_connections(member);
        else
            skip(member);
    }
    if (!has_type)
        fail("a cell should have a \"type\"");
    cell.bits.count = std::uint32_t(m_module->bits.size()) - cell.bits.begin;
    cell.shape = find_shape(has_directions);
    m_module->cells.push_back(cell);
}

} // namespace

std::unique_ptr<NYX_YOSYS_NETLIST> nyx_read_yosys_json(NYX_TEXT_INPUT &input, const NYX_PROGRESS &progress) {
    return READER(input, progress).read();
}
