#include "io/nyx_netlist_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace {

/// Whether the text ends in an index that a name manager would write otherwise.
bool has_odd_index(std::string_view text) {
    if (text.size() < 4 || text.back() != ']')
        return false;
    const std::size_t open = text.rfind('[');
    if (open == text.npos || open + 2 == text.size())
        return false;
    const std::string_view digits = text.substr(open + 1, text.size() - open - 2);
    return digits.size() > 1 && digits[0] == '0' && digits.find_first_not_of("0123456789") == digits.npos;
}

std::string to_digits(std::uint64_t value, unsigned width) {
    std::string digits(width, '0');
    for (unsigned bit = 0; bit < width; ++bit)
        if (value >> bit & 1)
            digits[width - 1 - bit] = '1';
    return digits;
}

} // namespace

std::string nyx_encode_name(std::string_view name) {
    std::string stored(name);
    if (has_odd_index(name) || (!name.empty() && name.back() == '\\'))
        stored += '\\';
    return stored;
}

std::string nyx_decode_name(std::string_view stored) {
    if (!stored.empty() && stored.back() == '\\') {
        const std::string_view name = stored.substr(0, stored.size() - 1);
        if (has_odd_index(name) || (!name.empty() && name.back() == '\\'))
            return std::string(name);
    }
    return std::string(stored);
}

std::string nyx_encode_parameter(std::string_view name) {
    const std::string stored = nyx_encode_name(name);
    return stored[0] == '@' || stored[0] == '\\' ? '\\' + stored : stored;
}

std::string nyx_encode_attribute(std::string_view name) {
    return '@' + nyx_encode_name(name);
}

bool nyx_decode_property(std::string_view property, std::string &name) {
    const bool is_attribute = property[0] == '@';
    if (is_attribute || property[0] == '\\')
        property.remove_prefix(1);
    name = nyx_decode_name(property);
    return is_attribute;
}

NYX_PROPERTY_VALUE nyx_encode_bits(std::string_view digits, std::string &buffer) {
    if (digits.size() == 32 && digits.find_first_not_of("01") == digits.npos) {
        std::uint32_t number = 0;
        for (const char digit : digits)
            number = number << 1 | std::uint32_t(digit == '1');
        return int(number);
    }
    buffer = "b";
    buffer += digits;
    return NYX_APP_DATA(unsigned(buffer.size()), reinterpret_cast<const unsigned char *>(buffer.data()));
}

bool nyx_decode_bits(const NYX_PROPERTY_VALUE &value, std::string &digits) {
    if (const bool *const bit = boost::get<bool>(&value))
        digits = *bit ? "1" : "0";
    else if (const int *const number = boost::get<int>(&value))
        digits = to_digits(std::uint32_t(*number), 32);
    else if (const unsigned *const natural = boost::get<unsigned>(&value))
        digits = to_digits(*natural, 32);
    else if (const NYX_APP_DATA *const bytes = boost::get<NYX_APP_DATA>(&value)) {
        const auto *const data = reinterpret_cast<const char *>(bytes->get_data());
        if (bytes->get_size() > 0 && data[0] == 'b')
            digits.assign(data + 1, bytes->get_size() - 1);
        else if (nyx_decode_integer(value, digits))
            return false;
        else {
            // Bytes that another tool put there: as a number, the first byte lowest.
            digits.clear();
            for (unsigned i = bytes->get_size(); i-- > 0;)
                digits += to_digits(bytes->get_data()[i], 8);
        }
    } else
        return false;
    return true;
}

NYX_PROPERTY_VALUE nyx_encode_integer(std::string_view number, std::string &buffer) {
    long long integer = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), integer);
    if (error == std::errc() && end == number.data() + number.size())
        return integer;
    buffer = "n";
    buffer += number;
    return NYX_APP_DATA(unsigned(buffer.size()), reinterpret_cast<const unsigned char *>(buffer.data()));
}

bool nyx_decode_integer(const NYX_PROPERTY_VALUE &value, std::string &number) {
    if (const long long *const integer = boost::get<long long>(&value)) {
        number = std::to_string(*integer);
        return true;
    }
    const NYX_APP_DATA *const bytes = boost::get<NYX_APP_DATA>(&value);
    if (!bytes || bytes->get_size() < 2)
        return false;
    const std::string_view text(reinterpret_cast<const char *>(bytes->get_data()), bytes->get_size());
    const std::size_t digits = text[1] == '-' ? 2 : 1;
    if (text[0] != 'n' || digits == text.size() || text.find_first_not_of("0123456789", digits) != text.npos)
        return false;
    number = text.substr(1);
    return true;
}

std::string nyx_format_real(double number) {
    std::array<char, 400> text; // 309 digits before the point, or 324 behind it and at most 17 that count
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed).ptr;
    std::string result(text.data(), end);
    if (std::isfinite(number) && result.find('.') == result.npos)
        result += ".0";
    return result;
}

void nyx_append_token(std::string &list, std::string_view token) {
    if (!list.empty())
        list += ' ';
    for (const char c : token)
        c == ' ' ? list += "\\_" : c == '\\' ? list += "\\\\" : list += c;
}

std::vector<std::string> nyx_split_tokens(std::string_view list) {
    std::vector<std::string> tokens;
    if (list.empty())
        return tokens;
    tokens.emplace_back();
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (list[i] == ' ')
            tokens.emplace_back();
        else if (list[i] == '\\' && i + 1 < list.size())
            tokens.back() += list[++i] == '_' ? ' ' : list[i];
        else
            tokens.back() += list[i];
    }
    return tokens;
}

std::string NYX_BIT_RUN::to_token() const {
    switch (kind) {
    case KIND::OWN:
        return "-" + std::to_string(count);
    case KIND::NET:
        return "." + name;
    case KIND::BUS:
        return "@" + std::to_string(from) + ":" + std::to_string(to) + "@" + name;
    case KIND::CONSTANTS:
        break;
    }
    return "'" + name;
}

NYX_BIT_RUN NYX_BIT_RUN::from_token(std::string_view token) {
    const std::string_view rest = token.substr(std::min<std::size_t>(1, token.size()));
    const char *const end = rest.data() + rest.size();
    if (token.starts_with('.') && !rest.empty())
        return {KIND::NET, std::string(rest)};
    if (token.starts_with('\'') && rest.find_first_not_of("01xz") == rest.npos)
        return {KIND::CONSTANTS, std::string(rest)};
    NYX_BIT_RUN run{KIND::OWN};
    if (token.starts_with('-')) {
        if (const auto [stop, error] = std::from_chars(rest.data(), end, run.count);
            error == std::errc() && stop == end)
            return run;
    } else if (token.starts_with('@')) {
        run.kind = KIND::BUS;
        const auto [colon, error] = std::from_chars(rest.data(), end, run.from);
        if (error == std::errc() && colon != end && *colon == ':') {
            const auto [at, error_2] = std::from_chars(colon + 1, end, run.to);
            if (error_2 == std::errc() && at != end && *at == '@' && at + 1 != end) {
                run.name.assign(at + 1, end);
                return run;
            }
        }
    }
    throw std::invalid_argument("\"" + std::string(token) + "\" does not tell bits of a net name");
}

bool nyx_split_source(std::string_view text, std::string &file, unsigned &line, std::string &rest) {
    // The first colon behind which a number stands; paths may hold colons.
    for (std::size_t colon = text.find(':'); colon != text.npos; colon = text.find(':', colon + 1)) {
        const char *const begin = text.data() + colon + 1;
        const auto [end, error] = std::from_chars(begin, text.data() + text.size(), line);
        if (error != std::errc() || colon == 0)
            continue;
        if (line == 0 || line > unsigned(std::numeric_limits<int>::max()) || *begin == '0')
            return false;
        file = text.substr(0, colon);
        rest = text.substr(std::size_t(end - text.data()));
        return nyx_encode_name(file) == file;
    }
    return false;
}

namespace {

template <class CREATE_BOOL, class CREATE_STRING, class CREATE_APP>
NYX_NETLIST_TRAITS make_traits(const CREATE_BOOL &make_bool, const CREATE_STRING &make_string,
                               const CREATE_APP &make_app) {
    NYX_NETLIST_TRAITS traits;
    const auto module = static_cast<NYX_MODULE *>(nullptr);
    const auto port = static_cast<NYX_PORT *>(nullptr);
    const auto port_bus = static_cast<NYX_PORT_BUS *>(nullptr);
    const auto net = static_cast<NYX_NET *>(nullptr);
    const auto net_bus = static_cast<NYX_NET_BUS *>(nullptr);
    const auto instance = static_cast<NYX_INSTANCE *>(nullptr);
    traits.m_module_implied = make_bool(module, "netlist.implied", "Stands for a cell type that was not defined");
    traits.m_module_unmarked_top = make_bool(module, "netlist.unmarked_top", "The top that the netlist did not mark");
    traits.m_module_memories = make_app(module, "netlist.memories", "Memories of the module, in Yosys' form");
    const char *const unlike = "A tool made the name up, without a $, or did not, with one";
    traits.m_net_hidden_unlike = make_bool(net, "netlist.hidden_unlike", unlike);
    traits.m_net_bus_hidden_unlike = make_bool(net_bus, "netlist.hidden_unlike", unlike);
    traits.m_instance_hidden_unlike = make_bool(instance, "netlist.hidden_unlike", unlike);
    traits.m_port_signed = make_bool(port, "netlist.signed", "Holds signed numbers");
    traits.m_port_bus_signed = make_bool(port_bus, "netlist.signed", "Holds signed numbers");
    traits.m_net_signed = make_bool(net, "netlist.signed", "Holds signed numbers");
    traits.m_net_bus_signed = make_bool(net_bus, "netlist.signed", "Holds signed numbers");
    traits.m_port_bus_upto = make_bool(port_bus, "netlist.upto", "One bit that is counted upwards");
    traits.m_net_bus_upto = make_bool(net_bus, "netlist.upto", "One bit that is counted upwards");
    traits.m_net_unnamed = make_bool(net, "netlist.unnamed", "The netlist had no name for it");
    traits.m_net_constant = make_string(net, "netlist.constant", "The constant that the net stands for");
    traits.m_net_bus_bits = make_string(net_bus, "netlist.bits", "The bits of a further name of nets");
    traits.m_net_bus_scalar = make_bool(net_bus, "netlist.scalar", "A further name of one bit, without index");
    traits.m_instance_omitted = make_string(instance, "netlist.omitted", "Ports that the cell did not mention");
    traits.m_instance_no_directions = make_bool(instance, "netlist.no_directions", "Told no directions of ports");
    traits.m_instance_directions = make_string(instance, "netlist.directions", "Directions told otherwise");
    traits.m_module_source = make_string(module, "netlist.source", "What followed file and line of the source");
    traits.m_instance_source = make_string(instance, "netlist.source", "What followed file and line of the source");
    traits.m_net_source = make_string(net, "netlist.source", "What followed file and line of the source");
    traits.m_net_bus_source = make_string(net_bus, "netlist.source", "What followed file and line of the source");
    return traits;
}

} // namespace

NYX_NETLIST_TRAITS NYX_NETLIST_TRAITS::create(NYX_DB *db) {
    return make_traits(
        [db]<class T>(T *, const char *name, const char *description) {
            return T::find_or_create_bool_trait(db, name, false, "netlist", description, "");
        },
        [db]<class T>(T *, const char *name, const char *description) {
            return T::find_or_create_string_trait(db, name, "", "netlist", description, "");
        },
        [db]<class T>(T *, const char *name, const char *description) {
            return T::find_or_create_app_trait(db, name, NYX_APP_DATA(), "netlist", description, "");
        });
}

NYX_NETLIST_TRAITS NYX_NETLIST_TRAITS::find(const NYX_DB *db) {
    return make_traits([db]<class T>(T *, const char *name, const char *) { return T::find_bool_trait(db, name); },
                       [db]<class T>(T *, const char *name, const char *) { return T::find_string_trait(db, name); },
                       [db]<class T>(T *, const char *name, const char *) { return T::find_app_trait(db, name); });
}
