#ifndef NYX_INSTANCE_H
#define NYX_INSTANCE_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_geometry.h"
#include "nyx/nyx_iters.h"
#include "nyx/nyx_name_style.h"
#include "nyx/nyx_object.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

/// One use of a module, its base module or master, inside another one, its parent. It has an inst port for each port of
/// the base module, of the same index. The base module may lie in another database; the instance then refers to it
/// through a NYX_INST_HEADER of its own database.
///
/// A handle is its row's address: it owns nothing, and is valid until the object is deleted or the database closed.
class NYX_API NYX_INSTANCE : public NYX_OBJECT<NYX_INSTANCE> {
public:
    /// Whether and how the placement holds. Stored in a byte; values other than these are the callers'.
    enum PLACEMENT_STATUS : unsigned char {
        UNPLACED = 0, ///< the transform means nothing
        PLACED = 1,
    };

    /// The bits of an instance's flags.
    enum TRAIT : unsigned char { mux_type = 0 };

    /// For change_module: the names of the new module's ports by those of the old one's.
    using PORT_NAME_MAP = std::map<std::string, std::string>;

    /// \name Creating and deleting
    /// \{

    /// Creates an unplaced instance of `module` at the end of `parent`'s instances, with its inst ports, all
    /// unconnected, and tells the observers: of each inst port first, then of the instance. With `make_unique` the
    /// instance gets the next number of its name, which get_name() shows behind the name; otherwise names may repeat.
    /// `params` are for modules of definition libraries, which are refused so far; null or empty for none. A module of
    /// another database makes that database one that this one uses. O(length of the name + ports).
    ///
    /// Throws NYX_INVALID_ARGUMENT: "Cannot allocate instance NAME in null parent module"; "Cannot allocate instance
    /// NAME in PARENT using null module"; "Cannot create an instance inside working library DB" and "Cannot create an
    /// instance inside definition library DB"; "Cannot specify parameters for non-definition module MODULE". Throws
    /// NYX_RUNTIME_ERROR "Cannot use module MODULE: instances of modules in definition libraries are not supported",
    /// "Name index overflow for name: NAME" when the numbers of the name are used up, and what is told at
    /// NYX_INST_HEADER for modules that can't be referred to. boost::interprocess::bad_alloc when the segment is full.
    /// Nothing is made in any of these cases. Ends the run for an empty name, a module inside itself, and modules of or
    /// for a device in another database.
    static NYX_INSTANCE *allocate(NYX_MODULE *parent, const std::string &name, NYX_MODULE *module,
                                  bool make_unique = false, const NYX_PARAM_VALUES *params = nullptr);
    /// The same, placed at `transform`, without number and parameters. The observers are told before it is placed.
    static NYX_INSTANCE *allocate(NYX_MODULE *parent, const std::string &name, NYX_MODULE *module,
                                  const NYX_TRANSFORM &transform);

    /// Deletes the instance and its inst ports. Observers of inst ports and then of instances are told first, while all
    /// is complete; then those of connections that end. O(inst ports).
    void deallocate();
    /// \}

    /// \name Navigation
    /// \{

    /// The base module. Throws what NYX_INST_HEADER::get_module throws when the module is in another database. O(1).
    NYX_MODULE *get_module() const;
    NYX_MODULE *get_master() const { return get_module(); }
    /// The module that contains the instance.
    NYX_MODULE *get_parent() const;
    /// The way to the base module when it lies in another database, else null.
    NYX_INST_HEADER *get_inst_header() const;
    /// The bus that the instance is a member of, null for none.
    NYX_INSTANCE_BUS *get_bus() const;

    /// True if the base module lies in this database.
    bool module_in_same_db() const;
    bool master_in_same_db() const { return module_in_same_db(); }
    /// True if the base module is a leaf.
    bool is_leaf() const;
    /// \}

    /// \name Another base module
    /// Observers are told with the old module when all is done. Both end the run for the instance's own parent.
    /// \{

    /// Makes the instance one of `new_module`, which is in the database of the present module and has the same ports:
    /// all else ends the run. Does nothing for the present module. Throws NYX_INVALID_ARGUMENT "New module cannot be
    /// NULL". O(ports).
    void set_module(NYX_MODULE *new_module);
    void set_master(NYX_MODULE *new_module) { set_module(new_module); }

    /// Makes the instance one of any other module. An inst port goes to the new module's port that `port_names` gives
    /// for the name of its port, or else to the one of the same name, and keeps its connection, traits and properties;
    /// inst ports that find no port are deleted, and ports that get none have new ones made. O(ports * log ports).
    ///
    /// Throws NYX_INVALID_ARGUMENT, with nothing changed: "New module cannot be NULL"; "Cannot map inst ports A and B
    /// to same port C on new base module MODULE."; and what allocate() throws for modules of other databases.
    void change_module(NYX_MODULE *new_module, const PORT_NAME_MAP &port_names = PORT_NAME_MAP());
    void change_master(NYX_MODULE *new_module) { change_module(new_module); }
    /// \}

    /// \name Inst ports
    /// \{

    /// The ports of the base module, with those that have been deleted there and still have their place.
    unsigned int get_num_inst_ports() const;
    /// Null if the base module's port of that index is deleted. Ends the run for an index that no port has. O(1).
    NYX_INST_PORT *get_inst_port_by_index(unsigned int index) const;
    /// Ends the run for null and for a port of another module. O(1).
    NYX_INST_PORT *get_inst_port_for_port(const NYX_PORT *port) const;
    /// By the name of the base module's port, null if it has no such port. Costs what NYX_MODULE::find_port costs.
    NYX_INST_PORT *find_inst_port(const char *name) const;
    /// In the order of the base module's ports. Places of deleted ports are walked too: there is_valid() is false.
    boost::iterator_range<NYX_INSTANCE_INST_PORT_ITER> iter_inst_ports();
    boost::iterator_range<NYX_INSTANCE_INST_PORT_CONST_ITER> const_iter_inst_ports() const;
    /// An interface of the base module as this instance has it; fails as the constructor of NYX_INTERFACE_INSTANCE
    /// does.
    NYX_INTERFACE_INSTANCE get_interface_instance(const NYX_INTERFACE *interface) const;
    /// \}

    /// \name Placement
    /// \{

    PLACEMENT_STATUS get_placement_status() const;
    /// Whether the transform holds is told by this alone: set_transform does not change it.
    void set_placement_status(PLACEMENT_STATUS status);
    /// From the base module's coordinates to the parent's. Throws NYX_RUNTIME_ERROR "Attempting to get_transform on an
    /// unplaced instance INSTANCE MODULE".
    NYX_TRANSFORM get_transform() const;
    void set_transform(const NYX_TRANSFORM &transform);
    /// From the parent's coordinates to the base module's. Throws as get_transform does.
    NYX_TRANSFORM get_inverse_transform() const;
    /// The offset of the transform. Throws as get_transform does.
    NYX_POINT get_location() const;
    /// The orientation of the transform. Throws as get_transform does.
    NYX_ORIENTATION get_orientation() const;
    /// The bounds of the base module in the parent's coordinates. An inverted box for an unplaced instance; the
    /// module's own if they are inverted.
    NYX_BOX get_bounds() const;
    /// \}

    /// \name Names
    /// The name is what was given, with "_" and the number behind it if the instance has one; the original name is
    /// without. The prefix in a style is "INSTANCE:".
    /// \{
    std::string get_name(const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    /// Replaces `result`.
    void get_name(std::string &result, const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    std::string get_original_name() const;
    std::string debug_get_name() const;
    /// Changes the name, and the number: a new one with `make_unique`, else none. Observers are told. Throws
    /// NYX_INVALID_ARGUMENT "Instance name cannot be empty", and NYX_RUNTIME_ERROR "Name index overflow for name: NAME"
    /// when the numbers of the name are used up.
    void set_name(const std::string &name, bool make_unique = false);
    /// \}

    /// \name Source location
    /// \{

    /// Empty without a file.
    std::string get_file_name() const;
    void set_file_name(const std::string &file_name);
    unsigned int get_file_lineno() const;
    void set_file_lineno(unsigned int lineno);
    /// "FILE:LINE", empty without a file.
    std::string get_src_location() const;
    /// A null file name stands for none.
    void set_src_location(const char *file_name, unsigned int lineno);
    /// \}

    /// \name Initial value
    /// That of what the instance holds when the design starts, such as a flip-flop's.
    /// \{
    bool has_initial_value() const;
    /// Throws NYX_RUNTIME_ERROR "Net NAME has no initial value", in the words that nets use.
    bool get_initial_value() const;
    void set_initial_value(bool value);
    /// \}

    /// \name Flags
    /// \{
    bool has_trait(TRAIT trait) const;
    /// "mux_type". Static text. Ends the run for a value that is no flag.
    static const char *get_name_of_trait(TRAIT trait);
    /// \}

    /// \internal The row.
    NYX_INSTANCE_IMPL *get_impl();
    const NYX_INSTANCE_IMPL *get_impl() const;

protected:
    NYX_INSTANCE() = default;
    ~NYX_INSTANCE() = default;

private:
    friend class NYX_MODULE; // its ports move

    /// For each row of a new run of inst ports the index of the present one that goes there, NO_ROW for none.
    using ROW_MAP = std::vector<unsigned int>;
    static constexpr unsigned int NO_ROW = ~0u;

    /// Refers to a base module from the database `persistent`: raises the module's count, or the count of its header,
    /// which is returned, when it lies in another database.
    static NYX_INST_HEADER *add_reference(NYX_DB_PERSISTENT *persistent, NYX_MODULE *module);
    /// Undoes it: `module` counts if there is no header.
    static void drop_reference(NYX_MODULE *module, NYX_INST_HEADER *header);
    static void check_base_module(const NYX_DB_PERSISTENT *persistent, const NYX_MODULE *module,
                                  const NYX_PARAM_VALUES *params, const char *function);

    /// Inst ports that have moved: from where, to where.
    using INST_PORT_MOVES = std::vector<std::pair<NYX_INST_PORT *, NYX_INST_PORT *>>;

    /// The first row of a run for update_inst_port_array(), the present one if that will do. Can fail.
    NYX_INST_PORT_ID reserve_run(unsigned int new_size, const ROW_MAP &row_map);
    /// Gives it back if it isn't the present one.
    void release_reserved_run(NYX_INST_PORT_ID run, unsigned int size);
    /// Takes the room that values of traits of inst ports need in reserved runs. The other part that can fail.
    using RUNS = std::vector<std::pair<NYX_INSTANCE *, NYX_INST_PORT_ID>>;
    static void reserve_attributes(RUNS runs, const ROW_MAP &row_map);
    /// Makes `new_first` the run of inst ports, `new_size` rows long, and moves the inst ports into it as told; what is
    /// behind the end of the map stays empty. Inst ports that the map leaves out must have been deleted. Net lists,
    /// traits and properties follow, and the header is told the new length. What observers are to be told, when all is
    /// where it belongs, is appended to `moves`.
    void update_inst_port_array(unsigned int new_size, const ROW_MAP &row_map, NYX_INST_PORT_ID new_first,
                                INST_PORT_MOVES &moves);
    static void tell_moves(const INST_PORT_MOVES &moves);
    /// Deletes the inst ports that the map leaves out: their ports have been deleted where that could not be told.
    /// \returns whether there were any.
    bool deallocate_left_out(const ROW_MAP &row_map);

    void change_module_internal(NYX_MODULE *new_module, const PORT_NAME_MAP &port_names);
    /// Refers to another module, by the header if one is given. What was referred to is the caller's to release.
    void set_base(NYX_MODULE *new_module, NYX_INST_HEADER *new_header);
};

/// Orders instances by name.
struct NYX_API NYX_INSTANCE_NAME_COMPARE {
    bool operator()(const NYX_INSTANCE *a, const NYX_INSTANCE *b) const;
};

#endif
