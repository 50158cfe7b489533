#include "nyx/nyx_defs.h"

void assign(NYX_PORT_ID &port, NYX_NET_ID net) {
#ifdef NYX_MUST_NOT_COMPILE
    port = net;
#else
    port = NYX_PORT_ID(net.get());
#endif
}
