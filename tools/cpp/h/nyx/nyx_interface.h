#ifndef NYX_INTERFACE_H
#define NYX_INTERFACE_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_array_iter.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_name_style.h"
#include "nyx/nyx_object.h"

#include <string>

/// A named group of ports and port buses of one module, one end of a link between instances. A port or port bus is in
/// one interface at most and leaves it when it is deleted; the ports of a bus are in the interface that the bus is in,
/// and in none of their own. A handle is its row's address: it owns nothing, and is valid until the object is deleted
/// or the database closed.
class NYX_API NYX_INTERFACE : public NYX_OBJECT<NYX_INTERFACE> {
public:
    /// Creates an interface without members, neither start nor end, at the front of `parent`'s, then tells the
    /// observers. Ends the run if `parent` is null, "Parent must be non-null", or `name` empty, "Interface must have
    /// non-empty name".
    static NYX_INTERFACE *allocate(NYX_MODULE *parent, const std::string &name);

    /// Tells the observers, then deletes the interface with its values; its members are in none then. O(members).
    void deallocate();

    /// The module that has the interface.
    NYX_MODULE *get_parent() const;

    /// \name Members
    /// They come in the order in which they were added.
    /// \{

    /// Raises NYX_INVALID_ARGUMENT, and nothing has changed: "port to add cannot be NULL", "port desn't belong to the
    /// same module as the interface NAME", and what NYX_PORT says of a port in a bus, "Cannot add a port in a bus to
    /// interface". Ends the run with "Attempt to add already owned object" if the port is in an interface.
    void add_port(NYX_PORT *port);
    /// Raises NYX_INVALID_ARGUMENT "port to remove cannot be NULL"; ends the run with "Attempt to remove object from
    /// non-owner" if the port was not added here. O(members).
    void remove_port(NYX_PORT *port);
    /// As add_port(), with "port_bus" in the texts.
    void add_port_bus(NYX_PORT_BUS *port_bus);
    /// As remove_port(), with "port_bus" in the text.
    void remove_port_bus(NYX_PORT_BUS *port_bus);

    boost::iterator_range<NYX_INTERFACE_PORT_ITER> iter_ports();
    boost::iterator_range<NYX_INTERFACE_PORT_CONST_ITER> const_iter_ports() const;
    boost::iterator_range<NYX_INTERFACE_PORT_BUS_ITER> iter_port_buses();
    boost::iterator_range<NYX_INTERFACE_PORT_BUS_CONST_ITER> const_iter_port_buses() const;
    /// \}

    /// \name Role
    /// One excludes the other.
    /// \{
    bool is_start() const;
    bool is_end() const;
    void set_start();
    void set_end();
    /// \}

    /// What is connected to the interface's ports inside its module; see NYX_INTERFACE_NET.
    NYX_INTERFACE_NET get_interface_net() const;

    /// \name Name
    /// \{
    std::string get_name(const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    /// Replaces `result`. The prefix is "ITF:".
    void get_name(std::string &result, const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    /// The bare name, for use in a debugger.
    std::string debug_get_name() const;
    /// Tells the observers of the old name. Raises NYX_INVALID_ARGUMENT "Interface name cannot be empty".
    void set_name(const std::string &name);
    /// \}

    /// \name Source location
    /// \{
    /// Empty if there is none.
    std::string get_file_name() const;
    /// The empty name for none.
    void set_file_name(const std::string &file_name);
    unsigned int get_file_lineno() const;
    void set_file_lineno(unsigned int lineno);
    /// "FILE:LINE", empty without a file.
    std::string get_src_location() const;
    /// Null for no file.
    void set_src_location(const char *file_name, unsigned int lineno);
    /// \}

    /// \internal The row.
    NYX_INTERFACE_IMPL *get_impl();
    const NYX_INTERFACE_IMPL *get_impl() const;

protected:
    NYX_INTERFACE() = default;
    ~NYX_INTERFACE() = default;

private:
    template <class T>
    void add_member(const char *function, T *obj);
    template <class T>
    void remove_member(const char *function, T *obj);
};

#endif
