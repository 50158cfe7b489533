#ifndef NYX_PORT_H
#define NYX_PORT_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_geometry.h"
#include "nyx/nyx_name_style.h"
#include "nyx/nyx_object.h"

#include <string>

/// One bit of a module's boundary. It has a place among the module's ports, may be on one net of the module, may be a
/// member of one port bus, and may be in one interface. A handle is its row's address: it owns nothing, and is valid
/// until the port is deleted, the module's ports are moved (NYX_MODULE::increase_num_ports and update_num_ports), or
/// the database is closed.
///
/// Exceptions are NYX_RUNTIME_ERROR and leave everything as it was. A full segment is boost::interprocess::bad_alloc.
class NYX_API NYX_PORT : public NYX_OBJECT<NYX_PORT> {
public:
    /// The bits of a port's flags. Stored: do not change the values.
    enum class TRAIT : unsigned char {
        INPUT = 0,
        OUTPUT = 1,
        PHYSICAL_ONLY = 2,
        INVERTED = 3,
        HAS_INITIAL_VALUE = 4,
        INITIAL_VALUE = 5,
    };

    /// \name Life
    /// \{

    /// Fills the empty place `index` of `parent` and tells the observers of ports; the connection to `net`, which may
    /// be null, is not told. Instances that the module has already get no inst port. Ends the run for an empty name, an
    /// index that is no place of the module, and a place that is taken. O(length of the name).
    static NYX_PORT *allocate(NYX_MODULE *parent, const std::string &name, unsigned int index, NYX_NET *net = nullptr);

    /// Empties the place, which stays the module's: NYX_MODULE::update_num_ports() takes out empty places. Disconnects
    /// the port, tells the observers, and deletes the inst ports of all instances of the module at this index.
    ///
    /// Ends the run for a place that is empty already. Throws "Cannot change ports of module NAME: its instances in
    /// read-only database 'DB' can't follow". O(instances of the module), and see NYX_MODULE::iter_instances_of().
    void deallocate();
    /// \}

    /// \name Connection
    /// \{

    /// Puts the port on a net of its module, the observers being told before and after. Ends the run for null, a net of
    /// another database, an empty place, and a port that is on a net. That the net is one of the module is not looked
    /// at here, for nets don't know their module: NYX_DB::verify() tells of one that is not. O(1).
    void connect(NYX_NET *net);
    /// Takes the port off its net, the observers being told before and after. Ends the run for a port that is on none.
    /// O(1).
    void disconnect();
    /// Null if the port is on none.
    NYX_NET *get_net() const;
    /// \}

    /// \name Where it belongs
    /// \{

    /// Null for an empty place.
    NYX_MODULE *get_parent() const;
    /// The port's place among those of the module. Ends the run for an empty place.
    unsigned int get_index() const;
    /// Null if the port is in none.
    NYX_PORT_BUS *get_bus() const;
    /// The interface of the port or, for a member of a bus, of the bus; null if there is none.
    NYX_INTERFACE *get_interface() const;
    /// \}

    /// \name Names
    /// The prefix in a style is "PORT:".
    /// \{
    std::string get_name(const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    /// Replaces `result`.
    void get_name(std::string &result, const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    /// The bare name: ports have no numbers.
    std::string get_original_name() const;
    std::string debug_get_name() const;
    /// Duplicates are not looked for. Throws "Port name cannot be empty". Ends the run for an empty place.
    void set_name(const std::string &name);
    /// \}

    /// \name Source location
    /// A member of a bus that has none of its own has that of the bus, and takes no room for it.
    /// \{

    /// Empty for none.
    std::string get_file_name() const;
    /// Ends the run if a number below zero was stored.
    unsigned int get_file_lineno() const;
    /// "FILE:LINE", empty without a file.
    std::string get_src_location() const;
    /// Null is no file.
    void set_src_location(const char *file_name, unsigned int lineno);
    /// \}

    /// \name Direction
    /// A port is an input, an output, both at once or neither. Those that set one with `value` false turn an input into
    /// an output and the other way round, and a bidirectional port into one without direction.
    /// \{
    bool is_input() const;
    bool is_output() const;
    bool is_bidir() const;
    void set_input(bool value = true);
    void set_output(bool value = true);
    void set_bidir(bool value = true);
    /// \}

    /// \name Flags
    /// \{
    bool is_inverted() const;
    void set_inverted(bool value);
    bool is_physical_only_port() const;
    void set_physical_only(bool value);
    /// \}

    /// \name Initial value
    /// \{
    bool has_initial_value() const;
    /// Throws "Port NAME has no initial value".
    bool get_initial_value() const;
    void set_initial_value(bool value);
    /// \}

    /// \name Geometry
    /// \{
    NYX_BOX get_bounds() const;
    void set_bounds(NYX_BOX bounds);
    unsigned char get_layer() const;
    void set_layer(unsigned char layer);
    /// A number that has no meaning here: callers keep a position of their own in it. 0 in a new port.
    int get_re_index() const;
    void set_re_index(int index);
    /// \}

    /// \internal The row.
    NYX_PORT_IMPL *get_impl();
    const NYX_PORT_IMPL *get_impl() const;

protected:
    NYX_PORT() = default;
    ~NYX_PORT() = default;

private:
    friend class NYX_INTERFACE;

    bool has_trait(TRAIT trait) const;
    void set_trait(TRAIT trait, bool value);
    void put_on_net(NYX_NET *net);

    /// Null is none. Throws "Cannot add a port in a bus to interface".
    void set_interface(NYX_INTERFACE *interface);
};

/// Orders ports by index, those of equal index, which are of different modules, by address.
struct NYX_API NYX_PORT_INDEX_COMPARE {
    bool operator()(const NYX_PORT *a, const NYX_PORT *b) const;
};

#endif
