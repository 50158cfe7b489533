#include "memory/nyx_column.h"

#ifdef NYX_MUST_NOT_COMPILE
constexpr bool s_free_list = false;
#else
constexpr bool s_free_list = true;
#endif

using COLUMN = NYX_FREE_LIST_COLUMN<NYX_PAGE<unsigned int, NYX_NET_ID, s_free_list>>;

bool is_full(const COLUMN &column) {
    return column.free_list_empty();
}
