#ifndef NYX_BUS_H
#define NYX_BUS_H

/// \file
/// Buses: objects of one bit under one name and an index range. Ports, nets and instances have a class of buses each;
/// the three do the same, and what they share is NYX_BUS.

#include "nyx/nyx_api.h"
#include "nyx/nyx_array_iter.h"
#include "nyx/nyx_bus_dimension.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_name_style.h"
#include "nyx/nyx_object.h"

#include <string>
#include <vector>

/// What the three classes of buses have in common. BUS is the class, MEMBER what it holds.
///
/// A bus is an array of positions, each of which holds a member or none, and each of which has an index: the left index
/// at position 0, and from there up or down to the right one. The bus does not own its members; a member is in one bus
/// at most, knows it, and leaves it when it is deleted.
///
/// A bus of several dimensions has an index from 0 upwards over all its positions, that of the last dimension varying
/// fastest, and keeps its dimensions beside.
///
/// Wrong indices end the run where a bus is changed by a single index, for those come from the program, and raise
/// NYX_INVALID_ARGUMENT elsewhere, where they come from a user's query.
template <class BUS, class MEMBER>
class NYX_API NYX_BUS : public NYX_OBJECT<BUS> {
public:
    /// Creates an empty bus at the front of `parent`'s, then tells the observers. Ends the run if `parent` is null,
    /// "Parent must be non-null", or `name` empty, "Port Bus must have non-empty name", "Net bus must have non-empty
    /// name" or "bus must have non-empty name". boost::interprocess::bad_alloc, and nothing has changed, when the
    /// segment is full or the range has more than 2^31 indices. O(size).
    static BUS *allocate(NYX_MODULE *parent, const std::string &name, int left, int right);

    /// Creates a bus of as many dimensions as are given, at least one: "dimension must be non empty". With a single one
    /// it is as above; with more an empty name ends the run with "bus must have non-empty name" for all classes.
    static BUS *allocate(NYX_MODULE *parent, const std::string &name, const std::vector<NYX_BUS_DIMENSION> &dimensions);

    /// Deletes the bus with its values, not its members: they are in no bus then. The observers are told first. Finds
    /// the parent, and ends the run if it has none. O(size).
    void deallocate();

    /// \name Range
    /// \{
    int get_left_index() const;
    int get_right_index() const;
    /// Whether the index rises from left to right; true for a single index.
    bool is_upwards() const;
    /// The number of positions, those without a member included.
    long long get_size() const;
    /// Changes the range in place: members at indices that both ranges have keep them, others leave the bus. The bus
    /// has one dimension then, unless its size and left index stay: that changes nothing. Ends the run with "Can't
    /// reverse a bus" if the direction changes; a range of a single index counts as one that falls. Fails as allocate()
    /// does when the range is too large. O(size).
    void set_indices(int left_index, int right_index);

    /// The dimensions, that of the whole range if there is only one.
    std::vector<NYX_BUS_DIMENSION> get_dimensions() const;
    /// The number of dimensions.
    unsigned int get_dimension_size() const;
    /// \}

    /// The member at an index, that over all positions where there are several dimensions; null if there is none.
    /// Raises NYX_INVALID_ARGUMENT "index I out of range [LEFT:RIGHT]". O(1).
    MEMBER *operator[](int index) const;

    /// The module that has the bus: that of its first member that knows its own, as nets do by their connections. A bus
    /// without any is looked for: its list is followed to the head, for which all modules are asked. Ends the run with
    /// "Bus 'NAME' is empty and can't find its parent" ("Net bus ...", "bus ...") if none has it.
    NYX_MODULE *find_parent() const;

    /// \name Name
    /// \{
    std::string get_name(const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    /// Replaces `result`. The prefix is "PORT_BUS:", "NET_BUS:" or "INSTANCE_BUS:".
    void get_name(std::string &result, const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    /// The bare name, for use in a debugger.
    std::string debug_get_name() const;
    /// Tells the observers of the old name. Raises NYX_INVALID_ARGUMENT on an empty name, "Port bus name cannot be
    /// empty" ("Net bus ...", "Instance bus ...").
    void set_name(const std::string &name);
    /// \}

    /// \name Source location
    /// Members without a location of their own have that of their bus.
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

protected:
    NYX_BUS() = default;
    ~NYX_BUS() = default;

    // What the classes offer under the names of their members.
    MEMBER *get_member(const std::vector<int> &index) const;
    std::vector<MEMBER *> get_members(const std::vector<NYX_BUS_DIMENSION> &sub_dims) const;
    std::vector<MEMBER *> get_members(const std::string &query) const;
    void set_member(int index, MEMBER *member);
    void set_member(const std::vector<int> &index, MEMBER *member);
    int remove_member(MEMBER *member);

private:
    int to_single_index(const char *verb, const std::vector<int> &index) const;
};

/// Ports of one module under one name and an index range. A handle is its row's address: it owns nothing, and is valid
/// until the object is deleted or the database closed.
class NYX_API NYX_PORT_BUS : public NYX_BUS<NYX_PORT_BUS, NYX_PORT> {
public:
    /// \name Members
    /// \{

    /// The port at an index with one number for each dimension, null if there is none. Raises NYX_INVALID_ARGUMENT:
    /// "Input index size should not be empty", "Input index size does not equal to bus dimension size", and for a wrong
    /// number as operator[] or NYX_BUS_DIMENSION_UTIL::index_to_array_loc.
    NYX_PORT *get_port(const std::vector<int> &index) const;

    /// The ports of a part of each dimension, null for each position without one; of missing dimensions at the end the
    /// whole, so that none at all gives the whole bus. The last dimension varies fastest. A part runs in the direction
    /// of its dimension.
    ///
    /// Raises NYX_INVALID_ARGUMENT: "Input sub_dims's size should be greater or less than current bus dimension" for
    /// more parts than dimensions, "Input sub_dims[D]  direction does not match corresponding bus dimnension", "Input
    /// sub_dims[D] left_index is out of bound in coressponidng bus dimension", and right_index likewise.
    std::vector<NYX_PORT *> get_ports(const std::vector<NYX_BUS_DIMENSION> &sub_dims) const;

    /// The ports of a query such as "a[3:1]", none if it names another bus. Raises what
    /// NYX_BUS_DIMENSION_UTIL::convert_string_to_query and the form above do.
    std::vector<NYX_PORT *> get_ports(const std::string &query) const;

    /// Puts a port that is in no bus at an index that is free, or with null takes the one that is there out. Ends the
    /// run: "port is already in a bus", "Index too small", "Index too large", "Index already in use"; and for a port
    /// that is deleted or of another database. That the port is one of the bus's module is not looked at here:
    /// NYX_DB::verify() tells of one that is not. O(1).
    void set_port(int index, NYX_PORT *port);
    /// The same with one number for each dimension. Raises what get_port() does for a wrong vector and, where there are
    /// several dimensions, for a wrong number; ends the run as the form above does in all other cases.
    void set_port(const std::vector<int> &index, NYX_PORT *port);

    /// Takes a port out and returns its index, that over all positions where there are several dimensions. Raises
    /// NYX_INVALID_ARGUMENT "port must be non-null", "port NAME doesn't belong to port bus NAME", and "port NAME is not
    /// found on port bus NAME in module NAME". O(size).
    int remove_port(NYX_PORT *port);

    /// All positions from left to right; null where there is no port.
    boost::iterator_range<NYX_PORT_BUS_PORT_ITER> iter_ports();
    boost::iterator_range<NYX_PORT_BUS_PORT_CONST_ITER> const_iter_ports() const;
    /// \}

    /// \name Direction
    /// Setting one sets it for each port; what is read is that of the first port, and false for a bus without ports.
    /// \{
    bool is_input() const;
    bool is_output() const;
    bool is_bidir() const;
    void set_input();
    void set_output();
    void set_bidir();
    /// \}

    /// The interface that the bus is in, and with it all its ports; null for none.
    NYX_INTERFACE *get_interface() const;

    /// \internal The row.
    NYX_PORT_BUS_IMPL *get_impl();
    const NYX_PORT_BUS_IMPL *get_impl() const;

protected:
    NYX_PORT_BUS() = default;
    ~NYX_PORT_BUS() = default;

private:
    friend class NYX_INTERFACE;
    /// Null for none.
    void set_interface(NYX_INTERFACE *interface);
};

/// Nets of one module under one name and an index range. A handle is its row's address: it owns nothing, and is valid
/// until the object is deleted or the database closed.
class NYX_API NYX_NET_BUS : public NYX_BUS<NYX_NET_BUS, NYX_NET> {
public:
    /// \name Members
    /// As those of NYX_PORT_BUS, with "net" for "port" in the texts.
    /// \{
    NYX_NET *get_net(const std::vector<int> &index) const;
    std::vector<NYX_NET *> get_nets(const std::vector<NYX_BUS_DIMENSION> &sub_dims) const;
    std::vector<NYX_NET *> get_nets(const std::string &query) const;
    void set_net(int index, NYX_NET *net);
    void set_net(const std::vector<int> &index, NYX_NET *net);
    int remove_net(NYX_NET *net);
    boost::iterator_range<NYX_NET_BUS_NET_ITER> iter_nets();
    boost::iterator_range<NYX_NET_BUS_NET_CONST_ITER> const_iter_nets() const;
    /// \}

    /// \internal The row.
    NYX_NET_BUS_IMPL *get_impl();
    const NYX_NET_BUS_IMPL *get_impl() const;

protected:
    NYX_NET_BUS() = default;
    ~NYX_NET_BUS() = default;
};

/// Instances of one module under one name and an index range. A handle is its row's address: it owns nothing, and is
/// valid until the object is deleted or the database closed.
class NYX_API NYX_INSTANCE_BUS : public NYX_BUS<NYX_INSTANCE_BUS, NYX_INSTANCE> {
public:
    /// \name Members
    /// As those of NYX_PORT_BUS, with "instance" for "port" in the texts.
    /// \{
    NYX_INSTANCE *get_instance(const std::vector<int> &index) const;
    std::vector<NYX_INSTANCE *> get_instances(const std::vector<NYX_BUS_DIMENSION> &sub_dims) const;
    std::vector<NYX_INSTANCE *> get_instances(const std::string &query) const;
    void set_instance(int index, NYX_INSTANCE *instance);
    void set_instance(const std::vector<int> &index, NYX_INSTANCE *instance);
    int remove_instance(NYX_INSTANCE *instance);
    boost::iterator_range<NYX_INSTANCE_BUS_INSTANCE_ITER> iter_instances();
    boost::iterator_range<NYX_INSTANCE_BUS_INSTANCE_CONST_ITER> const_iter_instances() const;
    /// \}

    /// \internal The row.
    NYX_INSTANCE_BUS_IMPL *get_impl();
    const NYX_INSTANCE_BUS_IMPL *get_impl() const;

protected:
    NYX_INSTANCE_BUS() = default;
    ~NYX_INSTANCE_BUS() = default;
};

#endif
