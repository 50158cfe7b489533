#ifndef NYX_RELEASE_RUN_H
#define NYX_RELEASE_RUN_H

/// \file
/// The runs of rows that hold a module's ports and an instance's inst ports.

#include <boost/interprocess/exceptions.hpp>

/// Gives a run, or the end of one, back. Entering it among the free ones needs room; without any the rows are lost to
/// their table, as free ones that nobody hands out: better than a change that is half done.
template <class TABLE>
void nyx_release_run(TABLE &table, typename TABLE::id_type first, unsigned num_rows) {
    if (num_rows == 0)
        return;
    try {
        table.deallocate(first, num_rows);
    } catch (const boost::interprocess::bad_alloc &) {
        for (unsigned i = 0; i < num_rows; ++i)
            table.reset(typename TABLE::id_type(first.get() + i));
    }
}

#endif
