// Uses the two lower libraries without nyx.
#include <nyx_barebones/nyx_barebones_notifier.h>
#include <nyx_report/nyx_report_exception.h>

#include <iostream>

int main() {
    NYX_BAREBONES_NOTIFIER::notify_allocation(nullptr, 0, 0);
    try {
        throw NYX_RUNTIME_ERROR("no design");
    } catch (const NYX_EXCEPTION &error) {
        std::cout << error.what() << '\n';
    }
}
