#include "memory/nyx_column.h"

using COLUMN = NYX_COLUMN<NYX_PAGE<unsigned int, NYX_NET_ID, false>>;

unsigned int read(const COLUMN &column, NYX_NET_ID net, NYX_PORT_ID port) {
#ifdef NYX_MUST_NOT_COMPILE
    return *column.get(port) + net.get();
#else
    return *column.get(net) + port.get();
#endif
}
