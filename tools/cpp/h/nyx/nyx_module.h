#ifndef NYX_MODULE_H
#define NYX_MODULE_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_geometry.h"
#include "nyx/nyx_iters.h"
#include "nyx/nyx_name_style.h"
#include "nyx/nyx_object.h"

#include <boost/range/iterator_range_core.hpp>

#include <set>
#include <string>
#include <vector>

/// One cell or block of a design: its ports, and the instances, nets, buses and interfaces inside it, all of which it
/// owns. A handle is its row's address: it owns nothing, and is valid until the object is deleted or the database
/// closed.
///
/// Ports have places: a module is made with a number of them, each is empty or holds a port, and a port's index is its
/// place. Every instance of the module has an inst port at the same index for each port.
///
/// Exceptions are NYX_RUNTIME_ERROR unless a member says otherwise, and leave everything as it was. A full segment is
/// boost::interprocess::bad_alloc.
class NYX_API NYX_MODULE : public NYX_OBJECT<NYX_MODULE> {
public:
    /// What a module is. Stored in two bits: do not change the values.
    enum class TYPE : unsigned char {
        HIERARCHY = 0, ///< a block that may have contents
        SGATE = 1,     ///< a leaf with a number that clients give a meaning, its client type
        ATOM = 2,      ///< a leaf with a named atom type
    };

    /// \name Life
    /// \{

    /// Creates a module with `num_ports` empty places for ports and tells the observers. A null or empty `file_name` is
    /// none. Ends the run for null, for an empty name, and for that of another module of the database. O(length of the
    /// name + `num_ports` of new memory).
    static NYX_MODULE *allocate(NYX_DB *db, const std::string &name, unsigned int num_ports,
                                TYPE type = TYPE::HIERARCHY, const char *file_name = nullptr, unsigned int lineno = 0);

    /// Deletes the module and all that it owns. Observers are told of its ports, then of itself, and then of its
    /// contents one by one, connections included.
    ///
    /// Ends the run for the database's top module, and while anything refers to the module: a relative object that is
    /// based on it, an instance in this database, and one in another database once iter_instances_of() has been called
    /// in the process. Observers have been told by then.
    void deallocate();

    /// \internal Tells the observers of copies that this module has been made as a copy of `original`.
    void on_copy(NYX_MODULE *original);
    /// \}

    /// \name Names
    /// The prefix in a style is "MODULE:"; a module has no parent to show.
    /// \{
    std::string get_name(const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    /// Replaces `result`.
    void get_name(std::string &result, const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    /// The bare name, whatever the style.
    std::string get_base_name() const;
    std::string debug_get_name() const;
    /// Renames the module, here and in the headers by which other open databases refer to it; those that may not be
    /// written keep the old name, with a warning. Throws "Module name cannot be empty"; "Module with name NAME already
    /// exists", which the module's own name is answered with as well; and "There is an inst header for module NAME in
    /// db DB already" when another database refers to a module of that name that is not there.
    /// boost::interprocess::bad_alloc when the segment of one of these databases is full.
    void set_name(const std::string &name);
    /// \}

    /// \name Source location
    /// \{
    /// Empty for none.
    std::string get_file_name() const;
    /// The empty name is none.
    void set_file_name(const std::string &file_name);
    unsigned int get_file_lineno() const;
    void set_file_lineno(unsigned int lineno);
    /// "FILE:LINE", empty without a file.
    std::string get_src_location() const;
    /// Null is no file.
    void set_src_location(const char *file_name, unsigned int lineno);
    /// \}

    /// \name Origin
    /// What few modules have takes room for them alone.
    /// \{

    /// The name of the design entity that the module was made from. Empty by default.
    std::string get_entity_name() const;
    void set_entity_name(const std::string &entity_name);
    /// The name of the library of its source. Empty by default.
    std::string get_library_name() const;
    void set_library_name(const std::string &library_name);
    /// Whether case counts in the names of its source. False by default.
    bool get_case_sensitivity() const;
    void set_case_sensitivity(bool case_sensitivity);
    /// Whether its source was encrypted. False by default.
    bool is_encrypted() const;
    void set_is_encrypted(bool is_encrypted);
    /// \}

    /// \name Kind
    /// \{
    TYPE get_type() const;
    bool is_atom() const;
    bool is_sgate() const;
    bool is_hierarchy() const;
    /// An atom or an sgate.
    bool is_leaf() const;

    /// Makes a hierarchy module an sgate. Its contents stay. Throws "Cannot convert module NAME to sgate. The module is
    /// not a hierarchy module."
    void convert_to_sgate(unsigned int client_type);

    /// Of an sgate. Throws "SGATE type is not specified for SGATE module" for an sgate that was given none. For the
    /// other kinds it is the stored word, which has no meaning.
    unsigned int get_client_type() const;
    /// Throws "Cannot set client type for atom module".
    void set_client_type(unsigned int client_type);
    /// Throws "Atom type is defined for atom module only", and "Atom type is not specified for atom module" for an atom
    /// that was given none.
    std::string get_atom_type() const;
    /// Throws "Atom type is defined for atom module only".
    void set_atom_type(const std::string &atom_type);

    /// Whether this is the top module of its database.
    bool is_top_module() const;
    /// Whether the module has a file name, that is, its source has been seen.
    bool is_defined() const;
    /// Whether the module has neither instances nor nets.
    bool is_empty() const;
    bool contains_no_instances() const;
    /// Whether fewer than two instances in all open databases have this module as base. The first call in a process,
    /// here and of iter_instances_of(), walks the instances of all open databases.
    bool is_unique() const;
    /// \}

    /// \name Counts
    /// Instances and nets are counted by a walk, O(n).
    /// \{
    unsigned int get_num_instances() const;
    unsigned int get_num_nets() const;
    /// The places for ports, empty ones included. O(1).
    unsigned int get_num_ports() const;
    /// \}

    /// \name Look-up by name
    /// Null if there is none; no name is entered for it. Of several objects of the name the first in the module's list
    /// is taken. Ends the run for null. O(length of the name); the first call for a kind goes over the module's objects
    /// of that kind, and each one does while NYX_DB::enable_cache() has switched the indexes off.
    /// \{

    /// An instance by its name with its number, if it has one, as get_name() shows it. Where the text as a whole is the
    /// name of any object of the database, only an instance without a number is found by it.
    NYX_INSTANCE *find_instance(const char *name) const;
    /// By the name alone: a net that has a number is found by its name without it.
    NYX_NET *find_net(const char *name) const;
    NYX_PORT *find_port(const char *name) const;
    NYX_PORT_BUS *find_port_bus(const char *name) const;
    NYX_NET_BUS *find_net_bus(const char *name) const;
    NYX_INSTANCE_BUS *find_instance_bus(const char *name) const;
    NYX_INTERFACE *find_interface(const char *name) const;

    /// The instances at the end of the paths that match `pattern`: names of instances, with "|" between one and those
    /// inside its base module, in which * stands for any number of characters and ? for one. Nothing escapes a
    /// character, and an empty name between two separators is dropped, so names that hold "|" are not found.
    ///
    /// A name with * or ? is matched with names as get_name() shows them. One without is looked up: it matches all
    /// instances of that name, whatever their number, or else the number too, as in find_instance(). Instances come in
    /// the order of the walk; one whose module is reached on several paths comes once for each.
    ///
    /// O(instances of the modules that are walked); a name of n characters is matched in O(n x length of the pattern).
    /// Fails as NYX_INSTANCE::get_module() where the path leads into a database that can't be found. Ends the run for
    /// null.
    std::vector<NYX_INSTANCE *> find_instances(const char *pattern) const;
    /// Appends to `result`.
    void find_instances(const char *pattern, std::vector<NYX_INSTANCE *> &result) const;

    /// Whether the whole of `text` matches `pattern`, in which * stands for any number of characters and ? for one.
    /// Case counts. Ends the run for null and if `text` holds * or ?. O(length of `pattern` x length of `text`) at
    /// most, and linear for all but contrived patterns.
    static bool match_wildcard(const char *pattern, const char *text);
    /// \}

    /// \name Contents
    /// \{

    /// Adds every module that is reached from this one through instances, in whatever database; this one is not
    /// reached. Modules that are in the set already are taken for done: what is reached through them is not added.
    void find_modules_recursive(std::set<NYX_MODULE *> &result) const;
    std::set<NYX_MODULE *> find_modules_recursive() const;

    /// The power nets and the ground nets. O(nets).
    std::set<NYX_NET *> find_const_nets() const;

    boost::iterator_range<NYX_MODULE_INSTANCE_ITER> iter_instances();
    boost::iterator_range<NYX_MODULE_INSTANCE_CONST_ITER> const_iter_instances() const;
    boost::iterator_range<NYX_MODULE_NET_ITER> iter_nets();
    boost::iterator_range<NYX_MODULE_NET_CONST_ITER> const_iter_nets() const;
    /// Every place for a port in order. An empty place gives a handle whose get_parent() is null and which is good for
    /// nothing else.
    boost::iterator_range<NYX_MODULE_PORT_ITER> iter_ports();
    boost::iterator_range<NYX_MODULE_PORT_CONST_ITER> const_iter_ports() const;
    boost::iterator_range<NYX_MODULE_PORT_BUS_ITER> iter_port_buses();
    boost::iterator_range<NYX_MODULE_PORT_BUS_CONST_ITER> const_iter_port_buses() const;
    boost::iterator_range<NYX_MODULE_NET_BUS_ITER> iter_net_buses();
    boost::iterator_range<NYX_MODULE_NET_BUS_CONST_ITER> const_iter_net_buses() const;
    boost::iterator_range<NYX_MODULE_INSTANCE_BUS_ITER> iter_instance_buses();
    boost::iterator_range<NYX_MODULE_INSTANCE_BUS_CONST_ITER> const_iter_instance_buses() const;
    boost::iterator_range<NYX_MODULE_INTERFACE_ITER> iter_interfaces();
    boost::iterator_range<NYX_MODULE_INTERFACE_CONST_ITER> const_iter_interfaces() const;

    /// The instances in all open databases whose base module this is, by address. The range is good until an instance
    /// of the module comes or goes. The first call in a process walks the instances of all open databases.
    boost::iterator_range<std::set<NYX_INSTANCE *>::const_iterator> iter_instances_of() const;

    /// The port at a place, null for an empty one. Ends the run for an index out of range. O(1).
    NYX_PORT *get_port_by_index(unsigned int index) const;
    /// \}

    /// \name Places for ports
    /// Both may move ports and inst ports to other rows, which the observers are told by moved() when all is done:
    /// handles to them are good no more. Connections, buses, interfaces, traits and properties go along; whatever else
    /// refers to a port, such as a constraint collection, must be taken care of by its owner. Inst ports whose port was
    /// deleted while their database was closed are deleted first. O(ports of the module + inst ports of its instances).
    ///
    /// Throw "Cannot change ports of module NAME: its instances in read-only database 'DB' can't follow".
    /// \{

    /// Adds `num_ports` empty places. Ports keep their order and get the indices from 0, as by update_num_ports(): the
    /// empty places are those at the end.
    void increase_num_ports(unsigned int num_ports);
    /// Takes out the empty places: ports keep their order and get the indices from 0. Touches nothing if there is none.
    void update_num_ports();
    /// \}

    /// \name Bounds
    /// In database units; inverted, as in a new module, when not known.
    /// \{
    NYX_BOX get_bounds() const;
    void set_bounds(NYX_BOX bounds);
    /// Sets the smallest box around the bounds of all ports and placed instances, the inverted box if there are none.
    /// Fails as NYX_INSTANCE::get_module() where the base module of a placed one can't be found.
    void update_bounds();
    /// \}

    /// \internal \name List maintenance
    /// Called by the objects' own allocate() and deallocate(). Instances are appended, all others go to the front. Ends
    /// the run for null, and for the removal of what is the first or last in the list of another module. O(1).
    /// \{
    void add_instance(NYX_INSTANCE *instance);
    void remove_instance(NYX_INSTANCE *instance);
    void add_net(NYX_NET *net);
    void remove_net(NYX_NET *net);
    void add_port_bus(NYX_PORT_BUS *bus);
    void remove_port_bus(NYX_PORT_BUS *bus);
    void add_net_bus(NYX_NET_BUS *bus);
    void remove_net_bus(NYX_NET_BUS *bus);
    void add_instance_bus(NYX_INSTANCE_BUS *bus);
    void remove_instance_bus(NYX_INSTANCE_BUS *bus);
    void add_interface(NYX_INTERFACE *interface);
    void remove_interface(NYX_INTERFACE *interface);
    /// \}

    /// \internal The row.
    NYX_MODULE_IMPL *get_impl();
    const NYX_MODULE_IMPL *get_impl() const;

protected:
    NYX_MODULE() = default;
    ~NYX_MODULE() = default;

private:
    void set_type(TYPE type);
    void release_ports();
    void set_num_ports(unsigned int num_ports);
};

/// Orders modules by name.
struct NYX_API NYX_MODULE_NAME_COMPARE {
    bool operator()(const NYX_MODULE *a, const NYX_MODULE *b) const;
};

#endif
