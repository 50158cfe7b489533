#include "nyx_report/nyx_report.h"
#include "support/capturing_sink.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <stdexcept>
#include <thread>
#include <vector>

using NYX_REPORT::PREFIX_VIEW;
using NYX_REPORT::SEVERITY;
using LINES = std::vector<CAPTURING_SINK::LINE>;

namespace {

class THROWING_SINK final : public NYX_REPORT::SINK {
public:
    void write(SEVERITY, std::string_view) override { throw std::runtime_error("no"); }
};

class SPEAKING_SINK final : public NYX_REPORT::SINK {
public:
    void write(SEVERITY, std::string_view text) override {
        NYX_REPORT::warn("about \"%s\"", std::string(text).c_str());
    }
};

} // namespace

TEST(LogLine, GoesToTheSinkWithItsSeverity) {
    const CAPTURING_SINK reports;
    NYX_REPORT::err("%s %d", "e", 1);
    NYX_REPORT::warn("%s %d", "w", 2);
    NYX_REPORT::info("%s %d", "i", 3);
    NYX_REPORT::debug("%s %d", "d", 4);
    EXPECT_EQ(
        reports.lines(),
        (LINES{
            {SEVERITY::ERROR, "e 1"}, {SEVERITY::WARNING, "w 2"}, {SEVERITY::INFO, "i 3"}, {SEVERITY::DEBUG, "d 4"}}));
}

TEST(LogLine, ReachesTheSinkWithItsLineEnd) {
    const CAPTURING_SINK reports;
    NYX_REPORT::info("one\ntwo\n");
    EXPECT_EQ(reports.lines(), (LINES{{SEVERITY::INFO, "one\ntwo\n"}}));
}

TEST(LogLine, KeepsAnArgumentThatLooksLikeAFormat) {
    const CAPTURING_SINK reports;
    NYX_REPORT::info("%s", "%n %s {} {0}");
    EXPECT_EQ(reports.lines(), (LINES{{SEVERITY::INFO, "%n %s {} {0}"}}));
}

TEST(LogLine, OfTheDefaultSinkKeepsBraces) {
    testing::internal::CaptureStderr();
    NYX_REPORT::info("%s", "{} {0} {x");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "info: {} {0} {x\n");
}

TEST(LogLine, IsNeverCut) {
    const CAPTURING_SINK reports;
    const std::string text(1 << 20, 'x');
    NYX_REPORT::info("%s!", text.c_str());
    EXPECT_EQ(reports.texts(SEVERITY::INFO), std::vector<std::string>{text + '!'});
}

TEST(LogLine, GoesToTheStandardErrorStreamWhenTheSinkThrows) {
    const auto previous = NYX_REPORT::set_sink(std::make_shared<THROWING_SINK>());
    testing::internal::CaptureStderr();
    EXPECT_NO_THROW(NYX_REPORT::warn("text"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "warning: text\n");
    NYX_REPORT::set_sink(previous);
}

TEST(LogLine, OfASinkItselfGoesToTheStandardErrorStream) {
    const auto previous = NYX_REPORT::set_sink(std::make_shared<SPEAKING_SINK>());
    testing::internal::CaptureStderr();
    NYX_REPORT::info("text");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "warning: about \"text\"\n");
    NYX_REPORT::set_sink(previous);
}

TEST(LogLine, OfEveryThreadReachesTheSink) {
    const CAPTURING_SINK reports;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 100; ++i) {
                NYX_REPORT::info("line %d", i);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(reports.lines().size(), 400U);
}

TEST(Sink, IsHandedBackWhenTheNextIsSet) {
    const auto first = std::make_shared<THROWING_SINK>();
    const auto previous = NYX_REPORT::set_sink(first);
    EXPECT_EQ(NYX_REPORT::set_sink(nullptr), first);
    EXPECT_EQ(NYX_REPORT::set_sink(previous), nullptr);
}

TEST(StreamedLine, IsReportedOnceAtItsEndWithItsPrefix) {
    const CAPTURING_SINK reports;
    {
        auto line = NYX_REPORT::warn(PREFIX_VIEW("paths: "));
        line << "line " << 3;
        EXPECT_TRUE(reports.lines().empty());
        line << " is bad";
    }
    EXPECT_EQ(reports.lines(), (LINES{{SEVERITY::WARNING, "paths: line 3 is bad"}}));
}

TEST(StreamedLine, HasTheSeverityOfItsForm) {
    const CAPTURING_SINK reports;
    NYX_REPORT::err(PREFIX_VIEW("")) << 'e';
    NYX_REPORT::warn(PREFIX_VIEW()) << 'w';
    NYX_REPORT::info(PREFIX_VIEW("> ")) << 'i';
    EXPECT_EQ(reports.lines(), (LINES{{SEVERITY::ERROR, "e"}, {SEVERITY::WARNING, "w"}, {SEVERITY::INFO, "> i"}}));
}

TEST(StreamedLine, TakesManipulators) {
    const CAPTURING_SINK reports;
    NYX_REPORT::info(PREFIX_VIEW()) << std::hex << std::setw(4) << 255 << std::endl;
    EXPECT_EQ(reports.lines(), (LINES{{SEVERITY::INFO, "  ff\n"}}));
}

TEST(StreamedLine, IsReportedOnceAfterAMove) {
    const CAPTURING_SINK reports;
    {
        auto line = NYX_REPORT::info(PREFIX_VIEW());
        line << "a";
        auto moved = std::move(line);
        moved << "b";
    }
    EXPECT_EQ(reports.lines(), (LINES{{SEVERITY::INFO, "ab"}}));
}
