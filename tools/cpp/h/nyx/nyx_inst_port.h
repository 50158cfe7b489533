#ifndef NYX_INST_PORT_H
#define NYX_INST_PORT_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_name_style.h"
#include "nyx/nyx_object.h"

#include <string>

/// The connection point of one port of the base module on one instance. It has no name of its own: the name is the
/// port's.
///
/// Inst ports lie in a run of rows that the instance owns and that mirrors the run of the base module's ports. A row of
/// it whose port has been deleted holds no inst port: is_valid() is false there. A handle is its row's address: it owns
/// nothing, and is valid until the object is deleted, the instance gets another run, or the database is closed.
class NYX_API NYX_INST_PORT : public NYX_OBJECT<NYX_INST_PORT> {
public:
    /// Fills the row of `port` in the run of `inst`; instances do it themselves for all ports that their base module
    /// has. A net, if given, is connected without telling observers of connections. Observers of inst ports are told.
    /// Ends the run for null, for a port that is deleted or another module's, for a row that is filled, and for a net
    /// of another database.
    static NYX_INST_PORT *allocate(NYX_INSTANCE *inst, NYX_PORT *port, NYX_NET *net = nullptr);

    /// Disconnects the inst port, tells the observers, and empties the row, which stays in its run. Ends the run for an
    /// empty row.
    void deallocate();

    /// Puts the inst port on a net of the instance's parent, at the front of the net's inst ports. Observers are told
    /// before and after. Ends the run for null, for a net of another database, and if the inst port is on a net. That
    /// the net is one of the parent is not looked at here, for nets don't know their module: NYX_DB::verify() tells of
    /// one that is not. O(1).
    void connect(NYX_NET *net);
    /// Takes it off its net. Observers are told before and after. Ends the run if it is on none. O(1).
    void disconnect();

    /// False for a row that holds no inst port.
    bool is_valid() const;
    /// Null for a row that holds no inst port.
    NYX_INSTANCE *get_inst() const;
    /// The base module's port. Null if it was deleted while this database was closed: NYX_MODULE::update_num_ports() of
    /// the module takes such inst ports away. Ends the run for a row that holds no inst port. O(1).
    NYX_PORT *get_port() const;
    /// Null if it is not connected.
    NYX_NET *get_net() const;

    /// The port's name, "<deleted port INDEX>" if that is gone. A style that shows the parent puts the instance's in
    /// front; the prefix is "INST_PORT:".
    std::string get_name(const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    /// Replaces `result`.
    void get_name(std::string &result, const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    std::string debug_get_name() const;

    /// \internal The row.
    NYX_INST_PORT_IMPL *get_impl();
    const NYX_INST_PORT_IMPL *get_impl() const;

protected:
    NYX_INST_PORT() = default;
    ~NYX_INST_PORT() = default;
};

#endif
