// What a program shows that sets no sink and no trace of its own: run as a process, since the default sink looks at the
// terminal, and the trace at the environment, once.

#include "report/masked_numbers.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <iterator>
#include <string>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct OUTCOME {
    int exit_status;
    std::string standard_error;
};

/// Runs the speaker with its standard error stream on `fd`, then closes that and reads the other end.
OUTCOME run_speaker(int child_fd, int parent_fd) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(child_fd, STDERR_FILENO);
        ::execl(NYX_REPORT_SPEAKER, NYX_REPORT_SPEAKER, nullptr);
        ::_exit(127);
    }
    ::close(child_fd);
    OUTCOME outcome{};
    std::array<char, 4096> buffer;
    // A terminal reports an error, not an end, when the last writer has gone.
    for (ssize_t count; (count = ::read(parent_fd, buffer.data(), buffer.size())) > 0;) {
        outcome.standard_error.append(buffer.data(), static_cast<std::size_t>(count));
    }
    ::close(parent_fd);
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    outcome.exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

OUTCOME run_speaker_in_pipe() {
    std::array<int, 2> ends;
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    return run_speaker(ends[1], ends[0]);
}

OUTCOME run_speaker_in_terminal() {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_EQ(::grantpt(master), 0);
    EXPECT_EQ(::unlockpt(master), 0);
    const int terminal = ::open(::ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_GE(terminal, 0);
    return run_speaker(terminal, master);
}

constexpr const char *s_escape = "\033[";

} // namespace

class DefaultSink : public testing::Test {
protected:
    SCOPED_ENV m_no_color{"NO_COLOR", std::nullopt};
    SCOPED_ENV m_debug{"NYX_REPORT_DEBUG", std::nullopt};
    SCOPED_ENV m_trace{"NYX_REPORT_TRACE", std::nullopt};
    SCOPED_ENV m_term{"TERM", "xterm-256color"};
};

TEST_F(DefaultSink, PutsTheSeverityInFrontAndStripsOneLineEnd) {
    EXPECT_EQ(run_speaker_in_pipe().standard_error,
              "info: an info line\nwarning: a warning line\nerror: an error line\n\n");
}

TEST_F(DefaultSink, ShowsDebugLinesWhenTheEnvironmentAsks) {
    const SCOPED_ENV debug("NYX_REPORT_DEBUG", "1");
    EXPECT_TRUE(run_speaker_in_pipe().standard_error.starts_with("debug: a debug line\ninfo: "));
}

TEST_F(DefaultSink, ShowsNoDebugLinesWhenTheVariableIsEmpty) {
    const SCOPED_ENV debug("NYX_REPORT_DEBUG", "");
    EXPECT_TRUE(run_speaker_in_pipe().standard_error.starts_with("info: "));
}

TEST_F(DefaultSink, ColoursTheSeverityOnATerminal) {
    const std::string shown = run_speaker_in_terminal().standard_error;
    EXPECT_NE(shown.find(s_escape), std::string::npos) << shown;
    EXPECT_NE(shown.find(" an info line"), std::string::npos) << shown;
}

TEST_F(DefaultSink, IsPlainOnATerminalWithNoColor) {
    const SCOPED_ENV no_color("NO_COLOR", "1");
    const std::string shown = run_speaker_in_terminal().standard_error;
    EXPECT_EQ(shown.find(s_escape), std::string::npos) << shown;
    EXPECT_NE(shown.find("info: an info line"), std::string::npos) << shown;
}

TEST_F(DefaultSink, HasColourOnATerminalWhenNoColorIsEmpty) {
    const SCOPED_ENV no_color("NO_COLOR", "");
    EXPECT_NE(run_speaker_in_terminal().standard_error.find(s_escape), std::string::npos);
}

class TraceOfTheEnvironment : public DefaultSink {};

TEST_F(TraceOfTheEnvironment, IsWrittenWhenTheProcessEnds) {
    const TEMP_DIR directory;
    const SCOPED_ENV trace("NYX_REPORT_TRACE", (directory / "trace.json").string());
    EXPECT_EQ(run_speaker_in_pipe().exit_status, 0);

    std::ifstream in(directory / "trace.json");
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    EXPECT_EQ(with_masked_numbers(text), "{\"displayTimeUnit\":\"ns\",\"traceEvents\":[\n"
                                         "{\"name\":\"SPEAKER::speak\",\"cat\":\"nyx\",\"ph\":\"X\",\"ts\":#.#,"
                                         "\"dur\":#.#,\"pid\":#,\"tid\":#}\n]}\n");
}

TEST_F(TraceOfTheEnvironment, WarnsWhenTheFileCannotBeWritten) {
    const TEMP_DIR directory;
    const std::string path = (directory / "missing/trace.json").string();
    const SCOPED_ENV trace("NYX_REPORT_TRACE", path);
    const OUTCOME outcome = run_speaker_in_pipe();
    EXPECT_EQ(outcome.exit_status, 0);
    EXPECT_TRUE(outcome.standard_error.ends_with("warning: Cannot write the trace file \"" + path + "\"\n"))
        << outcome.standard_error;
}
