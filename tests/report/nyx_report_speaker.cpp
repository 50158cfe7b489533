// Reports one line of each severity, inside a profile scope, and ends normally.

#include "nyx_report/nyx_report.h"

int main() {
    const NYX_REPORT::NYX_REPORT_PROFILE profile("SPEAKER::speak");
    NYX_REPORT::debug("a debug line");
    NYX_REPORT::info("an info line\n");
    NYX_REPORT::warn("a warning line\r\n");
    NYX_REPORT::err("an error line\n\n");
    return 0;
}
