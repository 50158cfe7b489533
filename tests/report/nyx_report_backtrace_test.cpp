#include "nyx_report/nyx_report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

namespace {

std::string backtrace() {
    std::ostringstream out;
    nyx_report_get_backtrace(out);
    return out.str();
}

} // namespace

/// Exported, so that it has a name without debug information too.
extern "C" __attribute__((visibility("default"), noinline)) std::size_t
nyx_backtrace_test_outer(std::ostringstream &out) {
    nyx_report_get_backtrace(out);
    return out.str().size(); // work after the call keeps it from becoming a jump
}

namespace {

/// The barrier keeps the recursion from being compiled to a loop.
[[gnu::noinline]] void backtrace_at_depth(std::ostringstream &out, int depth) {
    if (depth == 0) {
        nyx_report_get_backtrace(out);
    } else {
        backtrace_at_depth(out, depth - 1);
    }
    asm volatile("" ::: "memory");
}

} // namespace

TEST(Backtrace, StartsWithTheCaller) {
    std::ostringstream out;
    nyx_backtrace_test_outer(out);
    EXPECT_TRUE(out.str().starts_with(" 0# nyx_backtrace_test_outer")) << out.str();
}

TEST(Backtrace, HasALinePerFrame) {
    const std::string text = backtrace();
    EXPECT_TRUE(text.ends_with('\n'));
    EXPECT_NE(text.find("\n 1# "), std::string::npos) << text;
}

TEST(Backtrace, StopsAtFiftyFrames) {
    std::ostringstream out;
    backtrace_at_depth(out, 100);
    const std::string text = out.str();
    EXPECT_EQ(std::ranges::count(text, '\n'), 50) << text;
}

TEST(Backtrace, AppendsToTheStream) {
    std::ostringstream out;
    out << "called from:\n";
    nyx_report_get_backtrace(out);
    EXPECT_TRUE(out.str().starts_with("called from:\n 0# ")) << out.str();
}
