// Saves that fail at every point where the system can refuse something.
#include "failing_file_system.h"
#include "file/file_test_support.h"

#include <algorithm>
#include <csignal>
#include <random>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class SaveFault : public testing::TestWithParam<NYX_COMPRESSION> {
protected:
    void SetUp() override {
        make_file("old")->commit_impl(m_path, NYX_COMPRESSION::ZSTD, 1, 4096, {});
        m_old = read_file(m_path);
        m_file = make_file("new");
        // More than a buffer of the stream, so that writes come from everywhere.
        void *const block = m_file->get_segment_manager()->allocate(600 << 10);
        for (unsigned i = 0; i < (600u << 10) / 4; ++i)
            static_cast<unsigned *>(block)[i] = i * 2654435761u;
        m_content = content_of(*m_file);
    }
    void save() { m_file->commit_impl(m_path, GetParam(), 1, 4096, {}); }
    // The file is the old one or the new one, nothing lies beside it, and the open database is as it was.
    bool check(const char *when) {
        SCOPED_TRACE(when);
        EXPECT_EQ(names_in(m_dir.path()), std::vector<std::string>{"a.nyx"});
        EXPECT_EQ(m_file->get_size(), s_size);
        EXPECT_EQ(content_of(*m_file), m_content);
        EXPECT_EQ(nyx_get_algorithm(m_file->get_segment_manager())->find_fault(), "");
        if (read_file(m_path) == m_old)
            return false;
        EXPECT_EQ(content_of(*open_file(m_path)), m_content);
        return true;
    }

    TEMP_DIR m_dir;
    const std::string m_path = m_dir / "a.nyx";
    std::string m_old;
    std::unique_ptr<NYX_MANAGED_SERIALISED_FILE> m_file;
    std::string m_content;
};

TEST_P(SaveFault, EachCallThatFailsLeavesAWholeFile) {
    for (const bool all_from_there : {false, true}) {
        for (std::size_t at = 0;; ++at) {
            write_file(m_path, m_old);
            bool raised = false;
            std::string call;
            bool in_place = false;
            {
                FAILING_FILE_SYSTEM failing(at, all_from_there);
                try {
                    save();
                } catch (const NYX_FILE_IO_EXCEPTION &) {
                    raised = true;
                }
                if (!failing.has_failed())
                    break;
                const auto begin = failing.calls().begin();
                call = begin[static_cast<std::ptrdiff_t>(at)];
                in_place = std::count(begin, begin + static_cast<std::ptrdiff_t>(at), "rename") != 0;
            }
            const bool is_new = check((call + " " + std::to_string(at)).c_str());
            // Permissions and a try of several are no losses; nor is what follows the rename, but for the flush.
            const bool may_work = call == "fchmod" || call == "open" || in_place;
            if (raised) {
                EXPECT_TRUE(!is_new || call == "fsync") << call << ' ' << at;
            } else {
                EXPECT_TRUE(is_new && may_work) << call << ' ' << at;
            }
        }
        save();
        EXPECT_TRUE(check("a save that works"));
    }
}

TEST_P(SaveFault, FullDiskLeavesTheOldFile) {
    // In a process of its own, for the limit can't be lifted again.
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{100000, 100000};
        setrlimit(RLIMIT_FSIZE, &limit);
        try {
            save();
        } catch (const NYX_FILE_IO_EXCEPTION &exception) {
            _exit(exception.operation() == NYX_FILE_IO_EXCEPTION::WRITE ? 0 : 2);
        } catch (...) {
            _exit(3);
        }
        _exit(1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(read_file(m_path), m_old);
    EXPECT_EQ(names_in(m_dir.path()), std::vector<std::string>{"a.nyx"});
}

TEST_P(SaveFault, FlushComesBeforeTheRenameAndTheDirectorysAfterIt) {
    FAILING_FILE_SYSTEM system;
    save();
    const std::vector<std::string> &calls = system.calls();
    const auto rename = std::find(calls.begin(), calls.end(), "rename");
    ASSERT_NE(rename, calls.end());
    EXPECT_EQ(*(rename - 2), "fsync");
    EXPECT_EQ(*(rename - 1), "close");
    EXPECT_EQ(std::vector<std::string>(rename + 1, calls.end()), (std::vector<std::string>{"open", "fsync", "close"}));
}

TEST_P(SaveFault, FlushCanBeLeftOut) {
    FAILING_FILE_SYSTEM system;
    NYX_FILE_OPTIONS options;
    options.durable = false;
    m_file->commit_impl(m_path, GetParam(), 1, 4096, options);
    EXPECT_EQ(std::count(system.calls().begin(), system.calls().end(), "fsync"), 0);
    EXPECT_TRUE(check("without a flush"));
}

TEST_P(SaveFault, ReadThatFailsIsToldAsOne) {
    save();
    for (std::size_t at = 0;; ++at) {
        FAILING_FILE_SYSTEM failing(at);
        const std::string result = thrown([&] { open_file(m_path); });
        if (!failing.has_failed()) {
            EXPECT_EQ(result, "nothing");
            break;
        }
        if (failing.calls()[at] != "close") {
            EXPECT_EQ(result, "file io 0") << failing.calls()[at] << ' ' << at;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Algorithms, SaveFault,
                         testing::Values(NYX_COMPRESSION::NONE, NYX_COMPRESSION::LZ4, NYX_COMPRESSION::ZSTD));

TEST(RewriteFault, EachCallThatFailsLeavesAWholeFile) {
    TEMP_DIR dir;
    const std::string path = dir / "a.nyx";
    make_file()->commit_impl(path);
    const std::string old = read_file(path);
    NYX_FILE_OPTIONS options;
    options.size_rule = [](std::size_t, std::size_t default_size) { return default_size + 4096; };
    for (std::size_t at = 0;; ++at) {
        write_file(path, old);
        FAILING_FILE_SYSTEM failing(at);
        const std::string result = thrown([&] { NYX_MANAGED_SERIALISED_FILE::rewrite(path, options); });
        if (!failing.has_failed()) {
            EXPECT_EQ(result, "nothing");
            EXPECT_EQ(header_of(path).default_size, s_size + 4096);
            break;
        }
        // The new file is there if nothing was raised, the old one otherwise, unless what failed comes behind the
        // rename.
        const bool is_new = header_of(path).default_size == s_size + 4096;
        const auto end = failing.calls().begin() + static_cast<std::ptrdiff_t>(at);
        const bool in_place = std::find(failing.calls().begin(), end, "rename") != end;
        EXPECT_EQ(is_new, result == "nothing" || in_place) << result << ' ' << failing.calls()[at] << ' ' << at;
        EXPECT_EQ(names_in(dir.path()), std::vector<std::string>{"a.nyx"});
        const NYX_DB_FILE_STATS header = header_of(path);
        EXPECT_TRUE(header.default_size == s_size || header.default_size == s_size + 4096);
        EXPECT_EQ(read_file(path).substr(53), old.substr(53)) << failing.calls()[at] << ' ' << at;
    }
}

TEST(SaveFault, FiveNamesAreTried) {
    TEMP_DIR dir;
    const auto file = make_file();
    FAILING_FILE_SYSTEM failing(0, true);
    EXPECT_EQ(thrown([&] { file->commit_impl(dir / "a.nyx"); }), "file io 1");
    EXPECT_EQ(failing.calls(), std::vector<std::string>(5, "open"));
}

// A process is killed again and again in the middle of its saves, after it has told of some of them.
TEST(SaveFault, KilledProcessLeavesAWholeFile) {
    constexpr int s_num_kills = 50;
    constexpr int s_num_told = 20;
    TEMP_DIR dir;
    const std::string path = dir / "a.nyx";
    std::mt19937 generator(7);
    int saves = 0;
    for (int i = 0; i < s_num_kills; ++i) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const pid_t child = fork();
        if (child == 0) {
            try {
                const auto file = make_file();
                int *const number = file->get_segment_manager()->find<int>("number").first;
                NYX_FILE_OPTIONS options;
                options.durable = i % 10 == 0;
                for (;; ++*number) {
                    file->commit_impl(path, i % 2 ? NYX_COMPRESSION::ZSTD : NYX_COMPRESSION::NONE, 3, 4096, options);
                    if (write(ends[1], "", 1) != 1)
                        break;
                }
            } catch (...) {
            }
            _exit(1);
        }
        ::close(ends[1]);
        int told = 0;
        for (char byte; told < s_num_told && read(ends[0], &byte, 1) == 1;)
            ++told;
        usleep(generator() % 2000);
        ASSERT_EQ(kill(child, SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "it ended by itself";
        ::close(ends[0]);
        const auto file = open_file(path);
        EXPECT_EQ(nyx_get_algorithm(file->get_segment_manager())->find_fault(), "");
        // What was told of is there.
        EXPECT_GE(number_in(*file) - 42 + 1, told);
        saves += number_in(*file) - 42 + 1;
    }
    EXPECT_GE(saves, s_num_kills * s_num_told);
    // What the killed ones left lies beside the file, and nobody adds to it.
    const std::vector<std::string> before = names_in(dir.path());
    make_file()->commit_impl(path);
    EXPECT_EQ(names_in(dir.path()), before);
}

} // namespace
