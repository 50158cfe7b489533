#include "memory/nyx_column.h"

using COLUMN = NYX_COLUMN<NYX_PAGE<unsigned int, NYX_NET_ID, false>>;

#ifdef NYX_MUST_NOT_COMPILE
unsigned int read(const COLUMN &column, NYX_NET_ID net) {
    const COLUMN copy(column);
    return *copy.get(net);
}
#else
unsigned int read(const COLUMN &column, NYX_NET_ID net) {
    return *column.get(net);
}
#endif
