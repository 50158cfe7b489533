#include "nyx_observer_tool.h"

namespace {

class TOOL_OBSERVER : public NYX_OBSERVER<NYX_NET> {
public:
    explicit TOOL_OBSERVER(int &told) : NYX_OBSERVER(5), m_told(told) {}
    void enabled(bool on) override { m_told = on; }

private:
    int &m_told;
};

} // namespace

bool tool_is_enabled() {
    return NYX_OBSERVER<NYX_NET>::is_enabled();
}

void tool_set_enabled(bool on) {
    NYX_OBSERVER<NYX_NET>::set_enabled(on);
}

std::vector<NYX_OBSERVER<NYX_NET> *> tool_list() {
    return {NYX_OBSERVER<NYX_NET>::begin(), NYX_OBSERVER<NYX_NET>::end()};
}

std::unique_ptr<NYX_OBSERVER<NYX_NET>> tool_make_observer(int &told) {
    return std::make_unique<TOOL_OBSERVER>(told);
}
