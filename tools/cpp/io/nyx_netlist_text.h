#ifndef NYX_NETLIST_TEXT_H
#define NYX_NETLIST_TEXT_H

/// \file
/// How names, values and other marks of a netlist file are kept in a database, so that they come out again as they
/// were.

#include "nyx/nyx.h"

#include <string>
#include <string_view>
#include <vector>

/// Names. A database takes a name that ends in an index for a bit of a bus, and leading zeros of the index are lost: to
/// it "a[03]" is "a[3]". Such texts are stored with a backslash behind them, and so are those that would look like one
/// of these. All others are stored as they are.
std::string nyx_encode_name(std::string_view name);
std::string nyx_decode_name(std::string_view stored);

/// Properties. A parameter is a property of its name; an attribute has "@" in front of it.
std::string nyx_encode_parameter(std::string_view name);
std::string nyx_encode_attribute(std::string_view name);
/// Whether the property is an attribute; `name` becomes its name in the netlist.
bool nyx_decode_property(std::string_view property, std::string &name);

/// Values. A vector of 32 bits without x and z is an int, other vectors are bytes: 'b' and the digits. Texts are
/// strings, whole numbers long long, or bytes, 'n' and the number, if that doesn't hold them; others double.
NYX_PROPERTY_VALUE nyx_encode_bits(std::string_view digits, std::string &buffer);
/// The digits of a vector of bits, of whatever kind the value is; empty optional for texts and real numbers. `digits`
/// comes with the most significant bit first.
bool nyx_decode_bits(const NYX_PROPERTY_VALUE &value, std::string &digits);
/// A whole number of any length, with or without a sign.
NYX_PROPERTY_VALUE nyx_encode_integer(std::string_view number, std::string &buffer);
/// Whether the value is a whole number; `number` becomes its digits.
bool nyx_decode_integer(const NYX_PROPERTY_VALUE &value, std::string &number);
/// The number as each reader of netlists takes it: with a point and without an exponent, and as short as can be.
std::string nyx_format_real(double number);

/// Tokens of a list in one text, with blanks between.
void nyx_append_token(std::string &list, std::string_view token);
std::vector<std::string> nyx_split_tokens(std::string_view list);

/// The bits of a further name of nets, from the least significant one. As tokens: "-3" are three members of the bus
/// itself, ".NAME" is a net that is in no bus, "@FROM:TO@NAME" are bits of another bus, "'01x" are constants.
struct NYX_BIT_RUN {
    enum class KIND { OWN, NET, BUS, CONSTANTS } kind;
    std::string name = {}; ///< of the net or bus; the digits of constants
    int from = 0;
    int to = 0;
    unsigned count = 0; ///< of own members

    std::string to_token() const;
    /// Throws std::invalid_argument for a token that to_token() doesn't give.
    static NYX_BIT_RUN from_token(std::string_view token);
};

/// Whether the name, as it is in the netlist, looks like one that a tool made up.
inline bool nyx_is_hidden_name(std::string_view name) {
    return !name.empty() && name.front() == '$';
}

/// Traits by which a database keeps what a netlist file tells beyond the netlist: all have the group "netlist". find()
/// leaves those null that the database doesn't have; get() gives the default for null.
struct NYX_NETLIST_TRAITS {
    /// For a database that is written to.
    static NYX_NETLIST_TRAITS create(NYX_DB *db);
    static NYX_NETLIST_TRAITS find(const NYX_DB *db);

    /// The module stands for a cell type that the file did not define.
    NYX_BOOL_TRAIT *m_module_implied = nullptr;
    /// The module is the top because no other uses it; the file did not mark it.
    NYX_BOOL_TRAIT *m_module_unmarked_top = nullptr;
    /// What the section "memories" of the module held.
    NYX_APP_TRAIT *m_module_memories = nullptr;
    /// The file said otherwise than nyx_is_hidden_name() whether a tool made the name up. So few names have a value,
    /// and nearly all names of a large netlist are made up.
    NYX_BOOL_TRAIT *m_net_hidden_unlike = nullptr;
    NYX_BOOL_TRAIT *m_net_bus_hidden_unlike = nullptr;
    NYX_BOOL_TRAIT *m_instance_hidden_unlike = nullptr;
    /// Numbers in the vector are signed.
    NYX_BOOL_TRAIT *m_port_signed = nullptr;
    NYX_BOOL_TRAIT *m_port_bus_signed = nullptr;
    NYX_BOOL_TRAIT *m_net_signed = nullptr;
    NYX_BOOL_TRAIT *m_net_bus_signed = nullptr;
    /// The vector is counted upwards, which its range doesn't tell, for it has one bit.
    NYX_BOOL_TRAIT *m_port_bus_upto = nullptr;
    NYX_BOOL_TRAIT *m_net_bus_upto = nullptr;
    /// The net had no name in the file; its present one was made up.
    NYX_BOOL_TRAIT *m_net_unnamed = nullptr;
    /// "0", "1", "x" or "z": the net stands for that constant.
    NYX_STRING_TRAIT *m_net_constant = nullptr;
    /// The bus is another name for bits that have their name elsewhere; see NYX_BIT_RUN. Empty where all bits are
    /// members; "'" for a name of no bits at all, whose bus has one place, as buses need.
    NYX_STRING_TRAIT *m_net_bus_bits = nullptr;
    /// The other name is one of a single bit, without an index.
    NYX_BOOL_TRAIT *m_net_bus_scalar = nullptr;
    /// Names of ports that the cell does not mention, which is not the same as connecting them to nothing: tokens.
    NYX_STRING_TRAIT *m_instance_omitted = nullptr;
    /// The cell did not repeat the directions of its ports.
    NYX_BOOL_TRAIT *m_instance_no_directions = nullptr;
    /// Where it repeated others than those of the ports that it mentions: tokens, "+PORT" for one more and "-PORT" for
    /// one less.
    NYX_STRING_TRAIT *m_instance_directions = nullptr;
    /// What stood behind "FILE:LINE" in the source location.
    NYX_STRING_TRAIT *m_module_source = nullptr;
    NYX_STRING_TRAIT *m_instance_source = nullptr;
    NYX_STRING_TRAIT *m_net_source = nullptr;
    NYX_STRING_TRAIT *m_net_bus_source = nullptr;

    NYX_STRING_TRAIT *get_source(const NYX_MODULE *) const { return m_module_source; }
    NYX_STRING_TRAIT *get_source(const NYX_INSTANCE *) const { return m_instance_source; }
    NYX_STRING_TRAIT *get_source(const NYX_NET *) const { return m_net_source; }
    NYX_STRING_TRAIT *get_source(const NYX_NET_BUS *) const { return m_net_bus_source; }

    /// Whether a tool made up the name of the object, `name` in the netlist.
    template <class T>
    static bool is_hidden(const T *object, std::string_view name, const NYX_BOOL_TRAIT *hidden_unlike) {
        return nyx_is_hidden_name(name) != get(object, hidden_unlike);
    }
    template <class T>
    static void set_hidden(T *object, std::string_view name, NYX_BOOL_TRAIT *hidden_unlike, bool hidden) {
        if (hidden != nyx_is_hidden_name(name))
            object->set_value(hidden_unlike, true);
    }

    template <class T>
    static bool get(const T *object, const NYX_BOOL_TRAIT *trait) {
        return trait && object->get_value(trait);
    }
    template <class T>
    static std::string get(const T *object, const NYX_STRING_TRAIT *trait) {
        return trait ? object->get_value(trait) : std::string();
    }
};

/// Cuts "FILE:LINE..." in three; false for a text of another form, and for one that the three would not give back.
bool nyx_split_source(std::string_view text, std::string &file, unsigned &line, std::string &rest);

#endif
