#include "nyx/nyx_defs.h"

unsigned int number_of(NYX_NET_ID id) {
#ifdef NYX_MUST_NOT_COMPILE
    unsigned int number = id;
#else
    unsigned int number = static_cast<unsigned int>(id);
#endif
    return number;
}
