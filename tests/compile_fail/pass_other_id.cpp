#include "nyx/nyx_defs.h"

unsigned int index_of(NYX_PORT_ID port);

unsigned int pass(NYX_PORT_ID port, NYX_NET_ID net) {
#ifdef NYX_MUST_NOT_COMPILE
    return index_of(net) + port.get();
#else
    return index_of(port) + net.get();
#endif
}
