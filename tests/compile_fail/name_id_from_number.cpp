#include "nyx/nyx_defs.h"

NYX_NAME_ID id_of(unsigned int number) {
#ifdef NYX_MUST_NOT_COMPILE
    NYX_NAME_ID id = number;
#else
    NYX_NAME_ID id(number);
#endif
    return id;
}
