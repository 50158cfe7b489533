#include "nyx_report/nyx_report.h"
#include "support/capturing_sink.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

using NYX_REPORT::SEVERITY;
using NYX_REPORT::detail::assert_at_line;
using NYX_REPORT::detail::fatal_exit_at_line;

namespace {

/// Does `act` with every line, and at every flush.
template <class F>
class ACTING_SINK final : public NYX_REPORT::SINK {
public:
    explicit ACTING_SINK(F act) : m_act(act) {}
    void write(SEVERITY severity, std::string_view text) override { m_act(severity, text); }

private:
    F m_act;
};

template <class F>
void install_sink(F act) {
    NYX_REPORT::set_sink(std::make_shared<ACTING_SINK<F>>(act));
}

class FLUSHED_SINK final : public NYX_REPORT::SINK {
public:
    void write(SEVERITY, std::string_view) override {}
    void flush() override { std::fputs("the sink was flushed\n", stderr); }
};

} // namespace

// Exported, so that they have names without debug information too. Each ends with a call that does not return, so the
// address behind that call is not the function's own.
#define NYX_NAMED_FRAME extern "C" __attribute__((visibility("default"), noinline)) void
NYX_NAMED_FRAME nyx_checks_test_fail(int size) {
    NYX_CHECK(size == 0);
}
NYX_NAMED_FRAME nyx_checks_test_fail_with_text(int size) {
    NYX_CHECK_MSG(size == 0, "size %d", size);
}
NYX_NAMED_FRAME nyx_checks_test_exit(int size) {
    NYX_FATAL("size %d", size);
}
#undef NYX_NAMED_FRAME

TEST(AssertAtLine, ShowsExpressionTextAndPlace) {
    EXPECT_DEATH(assert_at_line("ptr != nullptr", "memory/some.cpp", 12, "%s of %d", "first", 3),
                 "fatal: check failed: ptr != nullptr: first of 3 \\[memory/some\\.cpp@12\\]\n");
}

TEST(AssertAtLine, WithoutATextShowsExpressionAndPlace) {
    EXPECT_DEATH(assert_at_line("a < b", "some.cpp", 7), "fatal: check failed: a < b \\[some\\.cpp@7\\]\n");
}

TEST(AssertAtLine, EndsTheRunByAnAbort) {
    EXPECT_EXIT(assert_at_line("0", "some.cpp", 7), testing::KilledBySignal(SIGABRT), "");
}

TEST(AssertAtLine, ShowsTheCallStack) {
    EXPECT_DEATH(assert_at_line("0", "some.cpp", 7, "text"), "\nfatal: called from:\n 0# .*\n 1# ");
}

TEST(AssertAtLine, ShowsTheFunctionThatHoldsTheCheckAsTheInnermostFrame) {
    EXPECT_DEATH(nyx_checks_test_fail(1), "\nfatal: called from:\n 0# nyx_checks_test_fail[ \n]");
    EXPECT_DEATH(nyx_checks_test_fail_with_text(1), "\nfatal: called from:\n 0# nyx_checks_test_fail_with_text[ \n]");
}

TEST(AssertAtLine, PutsAnArgumentThatLooksLikeAFormatOutAsItIs) {
    EXPECT_DEATH(assert_at_line("0", "some.cpp", 7, "%s", "100%s %n %d%%"), ": 100%s %n %d%% \\[some\\.cpp@7\\]\n");
}

TEST(AssertAtLine, PutsAnExpressionThatLooksLikeAFormatOutAsItIs) {
    EXPECT_DEATH(assert_at_line("a %n b", "so%sme.cpp", 7), "check failed: a %n b \\[so%sme\\.cpp@7\\]\n");
}

TEST(AssertAtLine, ShowsALongTextInFull) {
    const std::string text(100'000, 'x');
    EXPECT_DEATH(assert_at_line("0", "some.cpp", 7, "%s!", text.c_str()), "xxx! \\[some\\.cpp@7\\]\n");
}

TEST(AssertAtLine, StripsTheLineEndOfTheText) {
    EXPECT_DEATH(assert_at_line("0", "some.cpp", 7, "text\n"), "0: text \\[some\\.cpp@7\\]\n");
}

TEST(AssertAtLine, ReachesTheStandardErrorStreamWhenASinkTakesTheLines) {
    const CAPTURING_SINK reports;
    EXPECT_DEATH(assert_at_line("0", "some.cpp", 7, "text"), "fatal: check failed: 0: text");
}

TEST(AssertAtLine, TellsTheSinkAsFatal) {
    EXPECT_DEATH(
        {
            install_sink([](SEVERITY severity, std::string_view text) {
                if (severity == SEVERITY::FATAL && text == "check failed: 0: text [some.cpp@7]\n") {
                    std::fputs("the sink was told\n", stderr);
                }
            });
            assert_at_line("0", "some.cpp", 7, "text");
        },
        "\nthe sink was told\n");
}

TEST(AssertAtLine, FlushesTheSink) {
    EXPECT_DEATH(
        {
            NYX_REPORT::set_sink(std::make_shared<FLUSHED_SINK>());
            assert_at_line("0", "some.cpp", 7);
        },
        "\nthe sink was flushed\n");
}

TEST(AssertAtLine, EndsTheRunWhenTheSinkThrows) {
    EXPECT_EXIT(
        {
            install_sink([](SEVERITY, std::string_view) { throw std::runtime_error("no"); });
            try {
                assert_at_line("0", "some.cpp", 7, "text");
            } catch (...) {
                std::_Exit(3);
            }
        },
        testing::KilledBySignal(SIGABRT), "check failed: 0: text");
}

TEST(AssertAtLine, EndsTheRunWhenACheckFailsInTheSink) {
    EXPECT_EXIT(
        {
            install_sink([](SEVERITY, std::string_view) { assert_at_line("inner", "sink.cpp", 1); });
            assert_at_line("outer", "some.cpp", 7);
        },
        testing::KilledBySignal(SIGABRT), "check failed: outer \\[some\\.cpp@7\\](.|\n)*check failed: inner");
}

TEST(FatalExitAtLine, ShowsTextAndPlaceAndEndsTheRunByAnAbort) {
    EXPECT_EXIT(fatal_exit_at_line("some.cpp", 9, "size %u", 5U), testing::KilledBySignal(SIGABRT),
                "fatal: no way on: size 5 \\[some\\.cpp@9\\]\n");
}

TEST(FatalExitAtLine, ShowsTheFunctionThatHoldsItAsTheInnermostFrame) {
    EXPECT_DEATH(nyx_checks_test_exit(1), "\nfatal: called from:\n 0# nyx_checks_test_exit[ \n]");
}

TEST(CheckMacro, LetsATrueConditionPass) {
    int evaluated = 0;
    NYX_CHECK(++evaluated == 1);
    NYX_CHECK_MSG(++evaluated == 2, "not reached %d", 1);
    NYX_CHECK_AS(++evaluated == 3, "named", "not reached");
    EXPECT_EQ(evaluated, 3);
}

TEST(CheckMacro, ShowsTheConditionAsWritten) {
    const int count = 3;
    EXPECT_DEATH(NYX_CHECK(count == 4), "check failed: count == 4 \\[.*nyx_report_checks_test\\.cpp@[0-9]+\\]");
    EXPECT_DEATH(NYX_CHECK_MSG(count == 4, "%d is odd", count), "check failed: count == 4: 3 is odd \\[");
}

TEST(CheckMacro, ShowsTheConditionWithItsMacrosUnexpanded) {
    EXPECT_DEATH(NYX_CHECK(EOF == 0), "check failed: EOF == 0 \\[");
    EXPECT_DEATH(NYX_CHECK_MSG(EOF == 0, "text"), "check failed: EOF == 0: text \\[");
}

TEST(CheckMacro, ShowsTheGivenExpressionInPlaceOfTheCondition) {
    EXPECT_DEATH(NYX_CHECK_AS(false, "0 == bits(p)"), "check failed: 0 == bits\\(p\\) \\[");
    EXPECT_DEATH(NYX_CHECK_AS(false, "0 == bits(p)", "bit %d", 1), "check failed: 0 == bits\\(p\\): bit 1 \\[");
}

TEST(CheckMacro, NamesASourceBelowTheProject) {
    EXPECT_DEATH(NYX_CHECK(false), "\\[tests/report/nyx_report_checks_test\\.cpp@");
}

TEST(FatalMacro, ShowsItsTextAndPlace) {
    EXPECT_DEATH(NYX_FATAL("kind %d", 9), "no way on: kind 9 \\[.*nyx_report_checks_test\\.cpp@[0-9]+\\]");
}
