#include "names/nyx_name_mgr.h"

std::size_t size_of(NYX_NAME_MANAGER &names) {
#ifdef NYX_MUST_NOT_COMPILE
    NYX_NAME_MANAGER copy(names);
    return copy.get_size();
#else
    NYX_NAME_MANAGER &same = names;
    return same.get_size();
#endif
}
