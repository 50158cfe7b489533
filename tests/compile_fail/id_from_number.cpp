#include "nyx/nyx_defs.h"

NYX_NET_ID id_of(unsigned int number) {
#ifdef NYX_MUST_NOT_COMPILE
    NYX_NET_ID id = number;
#else
    NYX_NET_ID id(number);
#endif
    return id;
}
