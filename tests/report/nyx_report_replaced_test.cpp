// A program may bring functions of libnyx_report of its own: here the ends of a run throw. The library's own calls must
// reach them too.

#include "nyx_report/nyx_report_exception.h"
#include "support/scoped_env.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>

namespace {

struct CHECK_FAILED {
    std::string expression;
    std::string text;
};

template <class F>
CHECK_FAILED failure_of(F act) {
    try {
        act();
    } catch (const CHECK_FAILED &failure) {
        return failure;
    }
    return {"nothing failed", ""};
}

} // namespace

namespace NYX_REPORT::detail {

void assert_at_line(const char *expression, const char *, int, const char *format, ...) {
    char text[256];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    throw CHECK_FAILED{expression, text};
}

void assert_at_line(const char *expression, const char *, int) {
    throw CHECK_FAILED{expression, ""};
}

} // namespace NYX_REPORT::detail

TEST(ReplacedCheck, IsReachedFromTheProgram) {
    EXPECT_EQ(failure_of([] { NYX_CHECK(1 == 2); }).expression, "1 == 2");
    EXPECT_EQ(failure_of([] { NYX_CHECK_MSG(1 == 2, "%d", 3); }).text, "3");
}

TEST(ReplacedCheck, IsReachedFromWithinTheLibrary) {
    const CHECK_FAILED no_code = failure_of([] { NYX_FILE_IO_EXCEPTION("p", std::error_code(), 0); });
    EXPECT_EQ(no_code.expression, "error_code");

    const CHECK_FAILED no_operation =
        failure_of([] { NYX_FILE_IO_EXCEPTION("p", std::make_error_code(std::errc::io_error), 7); });
    EXPECT_EQ(no_operation.expression, "operation <= RENAME");
    EXPECT_EQ(no_operation.text, "7 is no file operation");
}

TEST(ReplacedCheck, IsReachedFromARaise) {
    const SCOPED_ENV assert_access("NYX_ASSERT_ACCESS", "1");
    const CHECK_FAILED raised = failure_of([] { nyx_raise_runtime_error("100%", "F::f", "f.cpp", 5); });
    EXPECT_EQ(raised.expression, "0");
    EXPECT_EQ(raised.text, "100% from function F::f in f.cpp@5");
}

TEST(ReplacedCheck, LeavesTheRestOfTheLibraryInPlace) {
    EXPECT_EQ(nyx_format_message_code("DB-NOT-WRITABLE", {"p"}), "The database file \"p\" is not writable.");
}
