#include "nyx_report/nyx_report.h"
#include "report/masked_numbers.h"

#include <gtest/gtest.h>

#include <chrono>
#include <locale>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using NYX_REPORT::NYX_REPORT_PROFILE;

namespace {

std::string written_trace() {
    std::ostringstream out;
    NYX_REPORT::write_trace(out);
    return out.str();
}

/// What stands behind each `key` and before the next comma or bracket.
std::vector<std::string> values_of(const std::string &text, std::string_view key) {
    std::vector<std::string> values;
    for (std::size_t at = text.find(key); at != std::string::npos; at = text.find(key, at + 1)) {
        const std::size_t begin = at + key.size();
        values.push_back(text.substr(begin, text.find_first_of(",}", begin) - begin));
    }
    return values;
}

constexpr const char *s_empty_trace = "{\"displayTimeUnit\":\"ns\",\"traceEvents\":[\n]}\n";

class DECIMAL_POINTS : public std::numpunct<char> {
protected:
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

} // namespace

TEST(Trace, IsAChromeTraceOfCompleteEvents) {
    NYX_REPORT::start_trace();
    { const NYX_REPORT_PROFILE profile("NYX_DB::open"); }
    { const NYX_REPORT_PROFILE profile("NYX_DB::close"); }
    const std::string rest = "\",\"cat\":\"nyx\",\"ph\":\"X\",\"ts\":#.#,\"dur\":#.#,\"pid\":#,\"tid\":#}";
    EXPECT_EQ(with_masked_numbers(written_trace()), "{\"displayTimeUnit\":\"ns\",\"traceEvents\":[\n"
                                                    "{\"name\":\"NYX_DB::open" +
                                                        rest + ",\n{\"name\":\"NYX_DB::close" + rest + "\n]}\n");
}

TEST(Trace, MeasuresInMicrosecondsWithThreeDecimals) {
    NYX_REPORT::start_trace();
    {
        const NYX_REPORT_PROFILE profile("sleep");
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    const std::vector<std::string> durations = values_of(written_trace(), "\"dur\":");
    ASSERT_EQ(durations.size(), 1U);
    EXPECT_EQ(durations[0].find('.'), durations[0].size() - 4) << durations[0];
    const double microseconds = std::stod(durations[0]);
    EXPECT_GE(microseconds, 20e3);
    EXPECT_LT(microseconds, 20e6); // in nanoseconds it would be more
}

TEST(Trace, PlacesAScopeWithinTheOneAroundIt) {
    NYX_REPORT::start_trace();
    {
        const NYX_REPORT_PROFILE outer("outer");
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        const NYX_REPORT_PROFILE inner("inner");
    }
    const std::string text = written_trace(); // in the order in which the scopes were left
    const std::vector<std::string> starts = values_of(text, "\"ts\":");
    const std::vector<std::string> durations = values_of(text, "\"dur\":");
    ASSERT_EQ(starts.size(), 2U);
    EXPECT_GE(std::stod(starts[0]), std::stod(starts[1]) + 2e3);
    EXPECT_GE(std::stod(durations[1]), std::stod(durations[0]) + 2e3);
}

TEST(Trace, EscapesNames) {
    NYX_REPORT::start_trace();
    { const NYX_REPORT_PROFILE profile("a\"b\\c\nd\x01\xc3\xa9"); }
    EXPECT_NE(written_trace().find("{\"name\":\"a\\\"b\\\\c\\u000ad\\u0001\xc3\xa9\","), std::string::npos);
}

TEST(Trace, TakesANameThatGoesWithTheScope) {
    NYX_REPORT::start_trace();
    {
        const std::string name = "a name that is longer than any small string";
        const NYX_REPORT_PROFILE profile(name.c_str());
    }
    EXPECT_NE(written_trace().find("\"a name that is longer than any small string\""), std::string::npos);
}

TEST(Trace, IgnoresTheNumberStyleOfTheStream) {
    NYX_REPORT::start_trace();
    { const NYX_REPORT_PROFILE profile("scope"); }
    std::ostringstream out;
    out.imbue(std::locale(std::locale::classic(), new DECIMAL_POINTS));
    NYX_REPORT::write_trace(out);
    EXPECT_EQ(out.str(), written_trace());
}

TEST(Trace, IsEmptyWhenNothingWasRecorded) {
    NYX_REPORT::start_trace();
    EXPECT_EQ(written_trace(), s_empty_trace);
}

TEST(Trace, ForgetsTheOneBefore) {
    NYX_REPORT::start_trace();
    { const NYX_REPORT_PROFILE profile("first"); }
    NYX_REPORT::start_trace();
    { const NYX_REPORT_PROFILE profile("second"); }
    const std::string text = written_trace();
    EXPECT_EQ(text.find("first"), std::string::npos);
    EXPECT_NE(text.find("second"), std::string::npos);
}

TEST(Trace, StopsWhenItIsWritten) {
    NYX_REPORT::start_trace();
    { const NYX_REPORT_PROFILE profile("first"); }
    const std::string before = written_trace();
    { const NYX_REPORT_PROFILE profile("second"); }
    EXPECT_EQ(written_trace(), before);
}

TEST(Trace, LeavesOutAScopeThatIsOlderThanTheRecording) {
    NYX_REPORT::start_trace();
    {
        const NYX_REPORT_PROFILE profile("older");
        NYX_REPORT::start_trace();
    }
    EXPECT_EQ(written_trace(), s_empty_trace);
}

TEST(Trace, LeavesOutAScopeThatIsLeftAfterTheRecording) {
    NYX_REPORT::start_trace();
    {
        const NYX_REPORT_PROFILE profile("late");
        EXPECT_EQ(written_trace(), s_empty_trace);
    }
    EXPECT_EQ(written_trace(), s_empty_trace);
}

TEST(Trace, TakesScopesOfAllThreads) {
    NYX_REPORT::start_trace();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 100; ++i) {
                const NYX_REPORT_PROFILE profile("work");
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    const std::string text = written_trace();
    EXPECT_EQ(values_of(text, "\"name\":"), std::vector<std::string>(400, "\"work\""));
    const std::vector<std::string> tids = values_of(text, "\"tid\":");
    EXPECT_EQ(std::set<std::string>(tids.begin(), tids.end()).size(), 4U);
}
