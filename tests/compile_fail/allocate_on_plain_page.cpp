#include "memory/nyx_page.h"

#ifdef NYX_MUST_NOT_COMPILE
using PAGE = NYX_PAGE<unsigned int, NYX_NET_ID, false>;
#else
using PAGE = NYX_PAGE<unsigned int, NYX_NET_ID, true>;
#endif

unsigned int *allocate(PAGE &page) {
    return page.allocate();
}
