#ifndef NYX_OBSERVER_TOOL_H
#define NYX_OBSERVER_TOOL_H

#include "nyx/nyx_observer.h"

#include <memory>
#include <vector>

#define TOOL_API __attribute__((visibility("default")))

/// A tool in a shared library of its own that knows NYX by its public headers and libnyx.so: here is what it sees and
/// does.
TOOL_API bool tool_is_enabled();
TOOL_API void tool_set_enabled(bool on);
TOOL_API std::vector<NYX_OBSERVER<NYX_NET> *> tool_list();
/// Of priority 5. Sets `told` to what enabled() tells.
TOOL_API std::unique_ptr<NYX_OBSERVER<NYX_NET>> tool_make_observer(int &told);

#endif
