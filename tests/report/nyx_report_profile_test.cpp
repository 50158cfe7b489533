#include "nyx_report/nyx_report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <locale>
#include <regex>
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

std::size_t count_of(const std::string &text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
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
    const std::string text = written_trace();
    const std::string rest = "\",\"cat\":\"nyx\",\"ph\":\"X\",\"ts\":[0-9]+\\.[0-9]{3},\"dur\":[0-9]+\\.[0-9]{3},"
                             "\"pid\":[0-9]+,\"tid\":[0-9]+\\}";
    EXPECT_TRUE(std::regex_match(text, std::regex("\\{\"displayTimeUnit\":\"ns\",\"traceEvents\":\\[\n"
                                                  "\\{\"name\":\"NYX_DB::open" +
                                                  rest + ",\n\\{\"name\":\"NYX_DB::close" + rest + "\n\\]\\}\n")))
        << text;
}

TEST(Trace, MeasuresInMicroseconds) {
    NYX_REPORT::start_trace();
    {
        const NYX_REPORT_PROFILE profile("sleep");
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    const std::string text = written_trace();
    std::smatch match;
    ASSERT_TRUE(std::regex_search(text, match, std::regex("\"dur\":([0-9]+)\\."))) << text;
    const long microseconds = std::stol(match[1]);
    EXPECT_GE(microseconds, 20'000);
    EXPECT_LT(microseconds, 20'000'000); // in nanoseconds it would be more
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
    EXPECT_EQ(count_of(text, "\"name\":\"work\""), 400U);

    std::vector<std::string> tids;
    const std::regex tid("\"tid\":([0-9]+)");
    for (std::sregex_iterator it(text.begin(), text.end(), tid), end; it != end; ++it) {
        tids.push_back((*it)[1]);
    }
    std::ranges::sort(tids);
    tids.erase(std::ranges::unique(tids).begin(), tids.end());
    EXPECT_EQ(tids.size(), 4U);
}
