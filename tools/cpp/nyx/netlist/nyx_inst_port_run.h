#ifndef NYX_INST_PORT_RUN_H
#define NYX_INST_PORT_RUN_H

/// \file
/// The run of rows that holds an instance's inst ports.

#include "netlist/nyx_inst_port_table.h"

#include <boost/interprocess/exceptions.hpp>

/// Gives a run, or the end of one, back. Entering it among the free ones needs room; without any the rows are lost to
/// their table, as free ones that nobody hands out: better than a change that is half done.
inline void nyx_release_inst_ports(NYX_INST_PORT_TABLE &table, NYX_INST_PORT_ID first, unsigned num_rows) {
    if (num_rows == 0)
        return;
    try {
        table.deallocate(first, num_rows);
    } catch (const boost::interprocess::bad_alloc &) {
        for (unsigned i = 0; i < num_rows; ++i)
            table.reset(NYX_INST_PORT_ID(first.get() + i));
    }
}

#endif
