#ifndef NYX_NET_H
#define NYX_NET_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_iters.h"
#include "nyx/nyx_name_style.h"
#include "nyx/nyx_object.h"

#include <string>

/// A single-bit signal of one module: it joins ports of the module and inst ports of the module's instances. A handle
/// is its row's address: it owns nothing, and is valid until the object is deleted or the database closed.
///
/// Exceptions are NYX_RUNTIME_ERROR unless a member says otherwise, and leave everything as it was; convert() doesn't.
class NYX_API NYX_NET : public NYX_OBJECT<NYX_NET> {
public:
    /// The bits of a net's flags.
    enum class TRAIT : unsigned char { POWER = 0, GROUND = 1, HAS_INITIAL_VALUE = 2, INITIAL_VALUE = 3 };

    /// Creates a net at the front of `parent`'s nets and tells the observers. With `make_unique` the net gets the next
    /// number of its name, which get_name() shows behind the name; otherwise names may repeat. Ends the run for a null
    /// parent and for an empty name. Throws "Name index overflow for name: NAME" when the numbers of the name are used
    /// up, and boost::interprocess::bad_alloc when the segment is full. O(length of the name).
    static NYX_NET *allocate(NYX_MODULE *parent, const std::string &name, bool make_unique = false);

    /// Deletes the net. Observers of nets are told first; what was connected is disconnected without further notice.
    /// Ends the run for a net that is in no module. O(connections), and see get_parent().
    void deallocate();

    /// The module, found through a connection of the net or of another one of its bus: O(1) or O(size of the bus). For
    /// a net without any, its list is followed to the head, for which all modules of the database are asked: O(nets
    /// that are newer + modules). Throws "net NAME doesn't belong to any module".
    NYX_MODULE *get_parent() const;

    /// The bus that the net is a bit of, null for none.
    NYX_NET_BUS *get_bus() const;

    /// \name Connections
    /// \{

    /// The module's ports on this net and the inst ports on it, newest first.
    boost::iterator_range<NYX_NET_PORT_ITER> iter_ports();
    boost::iterator_range<NYX_NET_PORT_CONST_ITER> const_iter_ports() const;
    boost::iterator_range<NYX_NET_INST_PORT_ITER> iter_inst_ports();
    boost::iterator_range<NYX_NET_INST_PORT_CONST_ITER> const_iter_inst_ports() const;

    /// Puts a port that is on no net at the front of the net's list, or takes it off, without telling observers: use
    /// NYX_PORT::connect and its like. Ends the run for null and for a port that is on a net already, or not on this
    /// one. O(1).
    void add_port(NYX_PORT *port);
    void remove_port(NYX_PORT *port);
    void add_inst_port(NYX_INST_PORT *inst_port);
    void remove_inst_port(NYX_INST_PORT *inst_port);

    /// Moves all connections of `net_losing_all_connections` here, where they stand in reverse order in front of those
    /// that are here already, and deletes that net. Observers are told of its deletion and of the new connections. The
    /// flags, traits and properties of the other net are lost. Does nothing for the net itself; ends the run for null
    /// and for a net of another module. Throws "Cannot merge away power net OTHER into ground net THIS" and the same
    /// for ground into power.
    void merge(NYX_NET *net_losing_all_connections);
    /// \}

    /// Makes this net a copy of `base_net`, which may be in another database: its name, flags, traits and properties.
    /// Connections stay. The suffix is a new one with `make_unique`, none otherwise; the net itself as `base_net` gets
    /// that and stays as it is otherwise. Ends the run for null. Throws "Name index overflow for name: NAME" when the
    /// numbers of the name are used up, with nothing changed; boost::interprocess::bad_alloc when the segment is full,
    /// which may leave the net without some of the traits and properties.
    void convert(NYX_NET *base_net, bool make_unique);

    /// \name Names
    /// The name is what was given at allocation, with "_" and the suffix behind it if the net has one; the original
    /// name is without. The prefix in a style is "NET:".
    /// \{
    /// With the parent, costs and throws what get_parent() does.
    std::string get_name(const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    /// Replaces `result`.
    void get_name(std::string &result, const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    std::string get_original_name() const;
    std::string debug_get_name() const;
    /// Changes the name; the suffix stays, and duplicates are not looked for. Throws NYX_INVALID_ARGUMENT "Net name
    /// cannot be empty". O(length of the name); for a net without connections also O(modules of the database in which
    /// something has been looked up by name).
    void set_name(const std::string &name);
    /// \}

    /// \name Kinds
    /// A net is a power net, a ground net or neither.
    /// \{
    bool is_power() const;
    bool is_ground() const;
    /// Throws "Cannot set ground net NAME to be power". False always succeeds.
    void set_is_power(bool value);
    /// Throws "Cannot set power net NAME to be ground". False always succeeds.
    void set_is_ground(bool value);
    /// \}

    /// \name Scope
    /// Whether the net is meant to be the same in all modules.
    /// \{
    bool is_global() const;
    void set_is_global(bool value);
    /// \}

    /// \name Source location
    /// Kept for few nets: a net that has none of its own shows that of its bus.
    /// \{
    /// Empty for none.
    std::string get_file_name() const;
    /// Ends the run for a stored number below 0.
    unsigned int get_file_lineno() const;
    /// "FILE:LINE", empty without a file.
    std::string get_src_location() const;
    /// Stores nothing if the net's bus has the same location. Null is no file.
    void set_src_location(const char *file_name, unsigned int lineno);
    /// \}

    /// \name Initial value
    /// \{
    bool has_initial_value() const;
    /// Throws "Net NAME has no initial value".
    bool get_initial_value() const;
    void set_initial_value(bool value);
    /// \}

    /// \internal The row.
    NYX_NET_IMPL *get_impl();
    const NYX_NET_IMPL *get_impl() const;

protected:
    NYX_NET() = default;
    ~NYX_NET() = default;

private:
    friend class NYX_MODULE;

    /// For a parent that is known, so that none has to be looked for.
    void deallocate(NYX_MODULE *parent);
    bool has_trait(TRAIT trait) const;
    void set_trait(TRAIT trait, bool value);
};

#endif
