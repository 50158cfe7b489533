// What is written by NYX_TEXT_OUTPUT is read by NYX_TEXT_INPUT, packed or not.
#include "io/nyx_text_input.h"
#include "io/nyx_text_output.h"
#include "io_test_support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>
#include <thread>

namespace {

std::string read_all(const std::string &path) {
    NYX_TEXT_INPUT input(path);
    std::string text;
    char buffer[1000];
    while (const std::size_t count = input.read(buffer, sizeof(buffer)))
        text.append(buffer, count);
    return text;
}

std::string get_fault(const std::string &path) {
    try {
        read_all(path);
    } catch (const NYX_IO_ERROR &error) {
        return std::string(error.what()).substr(path.size());
    }
    return {};
}

std::string make_text() {
    std::string text;
    for (int i = 0; i < 200'000; ++i)
        text += std::to_string(i * 7919 % 100'003) + "\n";
    return text;
}

class TextIo : public testing::TestWithParam<const char *> {};

TEST_P(TextIo, GivesBackWhatWasWritten) {
    const TEMP_DIR dir;
    const std::string path = dir / ("file" + std::string(GetParam()));
    const std::string text = make_text();
    NYX_TEXT_OUTPUT output(path);
    output << text << std::uint64_t(18446744073709551615u) << 'x';
    output.finish();
    EXPECT_EQ(read_all(path), text + "18446744073709551615x");
    if (*GetParam()) {
        EXPECT_LT(std::filesystem::file_size(path), text.size() * 2 / 3);
    }
}

INSTANTIATE_TEST_SUITE_P(Packers, TextIo, testing::Values("", ".gz", ".zst"));

TEST(TextOutput, LeavesTheOldFileUntilItIsFinished) {
    const TEMP_DIR dir;
    const std::string path = dir / "file";
    write_file(path, "old");
    {
        NYX_TEXT_OUTPUT output(path);
        output << std::string(1'000'000, 'x');
    }
    EXPECT_EQ(read_file(path), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path.substr(0, path.rfind('/'))), {}), 1);
}

TEST(TextOutput, TellsOfAFolderThatIsNotThere) {
    const TEMP_DIR dir;
    const std::string path = dir / "none/file";
    try {
        NYX_TEXT_OUTPUT output(path);
        FAIL();
    } catch (const NYX_IO_ERROR &error) {
        EXPECT_EQ(std::string(error.what()), path + ": can't be made: No such file or directory");
    }
}

TEST(TextInput, TellsOfFilesThatCantBeRead) {
    const TEMP_DIR dir;
    EXPECT_EQ(get_fault(dir / "none"), ": can't be opened: No such file or directory");
    std::filesystem::create_directory(dir / "folder");
    EXPECT_EQ(get_fault(dir / "folder"), ": is a directory, not a file");
}

TEST(TextInput, TellsOfPackedFilesThatAreTruncatedOrDamaged) {
    const TEMP_DIR dir;
    for (const std::string kind : {"gz", "zst"}) {
        const std::string whole = dir / ("whole." + kind);
        NYX_TEXT_OUTPUT output(whole);
        output << make_text();
        output.finish();
        std::string bytes = read_file(whole);
        write_file(dir / "cut", bytes.substr(0, bytes.size() / 2));
        EXPECT_EQ(get_fault(dir / "cut"), ": the " + std::string(kind == "gz" ? "gzip" : "zstd") +
                                              " data end too early; the file is truncated");
    }
    write_file(dir / "bad", std::string("\x1f\x8b\x08\x00", 4) + std::string(100, '\xff'));
    EXPECT_EQ(get_fault(dir / "bad"), ": the gzip data are damaged at about byte 11; get the file anew");
    write_file(dir / "bad", "\x28\xb5\x2f\xfd" + std::string(100, '\xff'));
    EXPECT_EQ(get_fault(dir / "bad"), ": the zstd data are damaged at about byte 0; get the file anew");
}

TEST(TextOutput, WritesIntoWhatIsNoPlainFile) {
    const TEMP_DIR dir;
    ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0600), 0);
    std::string read;
    std::thread reader([&] { read = read_file(dir / "pipe"); });
    NYX_TEXT_OUTPUT output(dir / "pipe");
    output << "through";
    output.finish();
    reader.join();
    EXPECT_EQ(read, "through");
    EXPECT_TRUE(std::filesystem::is_fifo(std::string(dir / "pipe")));
}

TEST(TextOutput, WritesToWhatALinkPointsTo) {
    const TEMP_DIR dir;
    write_file(dir / "target", "old");
    std::filesystem::create_symlink("target", std::string(dir / "link"));
    NYX_TEXT_OUTPUT output(dir / "link");
    output << "new";
    output.finish();
    EXPECT_EQ(read_file(dir / "target"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(std::string(dir / "link")));
}

TEST(TextInput, ReadsPackedFilesThatWereJoined) {
    const TEMP_DIR dir;
    for (const std::string kind : {"gz", "zst"}) {
        std::string both;
        for (const char *text : {"one ", "two"}) {
            NYX_TEXT_OUTPUT output(dir / ("part." + kind));
            output << text;
            output.finish();
            both += read_file(dir / ("part." + kind));
        }
        write_file(dir / "both", both);
        EXPECT_EQ(read_all(dir / "both"), "one two");
    }
}

} // namespace
