#include "nyx/nyx_defs.h"

bool same(NYX_PORT_ID port, NYX_NET_ID net) {
#ifdef NYX_MUST_NOT_COMPILE
    return port == net;
#else
    return port.get() == net.get();
#endif
}
