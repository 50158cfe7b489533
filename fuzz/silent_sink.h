#ifndef NYX_SILENT_SINK_H
#define NYX_SILENT_SINK_H

#include "nyx_report/nyx_report.h"

#include <string_view>

/// Takes what a target reports and says nothing: a fuzzer's own output is to be seen.
class SILENT_SINK final : public NYX_REPORT::SINK {
public:
    void write(NYX_REPORT::SEVERITY, std::string_view) override {}
};

#endif
