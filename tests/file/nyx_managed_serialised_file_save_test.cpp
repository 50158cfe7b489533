#include "file/nyx_file_system.h"
#include "file_test_support.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <limits>

namespace {

namespace fs = std::filesystem;

class SerialisedFile : public testing::Test {
protected:
    TEMP_DIR m_dir;
    const std::string m_path = m_dir / "a.nyx";
};

TEST_F(SerialisedFile, HeaderStandsWhereTheFormatSays) {
    for (const std::string tag : {"", "hello"}) {
        make_file(tag, NYX_DB_TYPE::COMPONENT)->commit_impl(m_path);
        const std::string bytes = read_file(m_path);
        const std::size_t length = tag.size();
        EXPECT_EQ(bytes.substr(0, 4), "NYX!");
        EXPECT_EQ(word_at<std::uint32_t>(bytes, 4), 3u);
        EXPECT_EQ(bytes[8], 4) << "a component library";
        EXPECT_EQ(word_at<std::uint64_t>(bytes, 9), NYX_DB::get_schema_id(NYX_DB_TYPE::USER, nullptr));
        EXPECT_EQ(word_at<std::uint32_t>(bytes, 17), length);
        EXPECT_EQ(bytes.substr(21, length), tag);
        EXPECT_EQ(word_at<std::uint32_t>(bytes, 21 + length), 2u);
        EXPECT_EQ(word_at<std::uint32_t>(bytes, 25 + length), 32768u);
        EXPECT_EQ(word_at<std::uint64_t>(bytes, 29 + length), s_size);
        const auto data_size = word_at<std::uint64_t>(bytes, 37 + length);
        EXPECT_LT(data_size, 300u * 1000) << "the free tail is not in it";
        EXPECT_EQ(word_at<std::uint64_t>(bytes, 45 + length), bytes.size() - 53 - length);
        EXPECT_EQ(open_file_read_only(m_path)->get_size(), data_size);
    }
}

TEST_F(SerialisedFile, ComesBackAtAnotherAddressAsItWas) {
    const auto file = make_file("tag", NYX_DB_TYPE::DEVICE);
    const std::string content = content_of(*file);
    for (const NYX_COMPRESSION algorithm : {NYX_COMPRESSION::NONE, NYX_COMPRESSION::LZ4, NYX_COMPRESSION::ZSTD}) {
        file->commit_impl(m_path, algorithm, 3, 32768, {});
        const auto loaded = open_file(m_path);
        EXPECT_NE(loaded->get_starting_address(), file->get_starting_address());
        EXPECT_EQ(number_in(*loaded), 42);
        EXPECT_EQ(content_of(*loaded), content);
        EXPECT_EQ(loaded->get_type(), NYX_DB_TYPE::DEVICE);
        EXPECT_EQ(loaded->get_tag(), "tag");
        EXPECT_EQ(loaded->get_size(), s_size);
        EXPECT_EQ(nyx_get_algorithm(loaded->get_segment_manager())->find_fault(), "");
    }
}

TEST_F(SerialisedFile, LoadedSegmentGoesOnAllocating) {
    make_file()->commit_impl(m_path);
    const auto file = open_file(m_path);
    for (int i = 0; i < 200; ++i)
        ASSERT_NE(file->get_segment_manager()->allocate(1000), nullptr);
    EXPECT_EQ(nyx_get_algorithm(file->get_segment_manager())->find_fault(), "");
}

TEST_F(SerialisedFile, RawPayloadIsTheImage) {
    const auto file = make_file();
    file->commit_impl(m_path, NYX_COMPRESSION::NONE, 0, 1, {});
    const std::string bytes = read_file(m_path);
    const NYX_DB_FILE_STATS header = header_of(m_path);
    EXPECT_EQ(header.payload_size, header.data_size);
    EXPECT_EQ(bytes.size(), 53 + header.data_size);
    EXPECT_EQ(word_at<std::uint64_t>(bytes, 53 + 48), header.data_size) << "the segment's own size";
}

TEST_F(SerialisedFile, ChunkSizeIsTheFiles) {
    const auto file = make_file();
    for (const unsigned chunk_size : {1000u, 32768u, 1u << 22}) {
        file->commit_impl(m_path, NYX_COMPRESSION::ZSTD, 1, chunk_size, {});
        EXPECT_EQ(header_of(m_path).chunk_size, chunk_size);
        EXPECT_EQ(content_of(*open_file(m_path)), content_of(*file));
    }
}

TEST_F(SerialisedFile, UnchangedDatabaseIsSavedToTheSameBytes) {
    const auto file = make_file();
    file->commit_impl(m_path);
    const std::string first = read_file(m_path);
    file->commit_impl(m_path);
    EXPECT_EQ(read_file(m_path), first);
    file->commit_impl(m_dir / "b.nyx");
    EXPECT_EQ(read_file(m_dir / "b.nyx"), first);
}

TEST_F(SerialisedFile, SaveChangesNothingForTheOpenDatabase) {
    const auto file = make_file();
    const std::string content = content_of(*file);
    file->commit_impl(m_path);
    EXPECT_EQ(file->get_size(), s_size);
    EXPECT_EQ(content_of(*file), content);
    EXPECT_EQ(nyx_get_algorithm(file->get_segment_manager())->find_fault(), "");
}

TEST_F(SerialisedFile, EmptySegmentIsSavedAndLoaded) {
    NYX_MANAGED_SERIALISED_FILE file(s_size, NYX_DB_TYPE::USER, "");
    for (const NYX_COMPRESSION algorithm : {NYX_COMPRESSION::NONE, NYX_COMPRESSION::ZSTD}) {
        file.commit_impl(m_path, algorithm, 3, 100, {});
        EXPECT_TRUE(open_file(m_path)->get_segment_manager()->all_memory_deallocated());
        const auto protected_file = open_file_read_only(m_path);
        protected_file->commit_impl(m_dir / "copy.nyx");
        EXPECT_EQ(open_file(m_dir / "copy.nyx")->get_size(), s_size - s_size + protected_file->get_size());
    }
}

TEST_F(SerialisedFile, FullSegmentIsSavedAndLoaded) {
    for (const std::size_t size : {1000u, 1001u, 1005u, 1007u}) {
        NYX_MANAGED_SERIALISED_FILE file(size, NYX_DB_TYPE::USER, "");
        while (file.get_segment_manager()->allocate(16, std::nothrow) != nullptr)
            ;
        file.commit_impl(m_path);
        EXPECT_EQ(header_of(m_path).data_size, size);
        EXPECT_EQ(content_of(*open_file(m_path)), content_of(file));
        EXPECT_EQ(content_of(*open_file_read_only(m_path)), content_of(file));
    }
}

TEST_F(SerialisedFile, SizeRuleSetsTheDefaultSizeOfTheFile) {
    const auto file = make_file();
    NYX_FILE_OPTIONS options;
    std::size_t told_data = 0, told_default = 0;
    options.size_rule = [&](std::size_t data_size, std::size_t default_size) {
        told_data = data_size;
        told_default = default_size;
        return data_size + 4096;
    };
    file->commit_impl(m_path, options);
    const NYX_DB_FILE_STATS header = header_of(m_path);
    EXPECT_EQ(told_data, header.data_size);
    EXPECT_EQ(told_default, s_size);
    EXPECT_EQ(header.default_size, header.data_size + 4096);
    EXPECT_EQ(file->get_size(), s_size) << "of the open database it is not";
}

TEST_F(SerialisedFile, SizeRuleBelowTheImageIsRefused) {
    const auto file = make_file();
    file->commit_impl(m_path);
    const std::string old = read_file(m_path);
    NYX_FILE_OPTIONS options;
    options.size_rule = [](std::size_t data_size, std::size_t) { return data_size - 1; };
    const std::string text = "invalid argument: New NYX_DB default size is less than shrunk size";
    EXPECT_EQ(thrown([&] { file->commit_impl(m_path, options); }), text);
    EXPECT_EQ(file->get_size(), s_size);
    EXPECT_EQ(thrown([&] { open_file(m_path, options); }), text);
    EXPECT_EQ(thrown([&] { NYX_MANAGED_SERIALISED_FILE::rewrite(m_path, options); }), text);
    EXPECT_EQ(read_file(m_path), old);
    EXPECT_EQ(names_in(m_dir.path()), std::vector<std::string>{"a.nyx"});
}

TEST_F(SerialisedFile, TagCanBeReplaced) {
    NYX_FILE_OPTIONS options;
    options.tag = "other";
    const auto file = make_file("first");
    file->commit_impl(m_path, options);
    EXPECT_EQ(header_of(m_path).tag, "other");
    EXPECT_EQ(file->get_tag(), "first");
    file->commit_impl(m_path);
    EXPECT_EQ(header_of(m_path).tag, "first");
    EXPECT_EQ(open_file(m_path, options)->get_tag(), "other");
    options.tag = "";
    NYX_MANAGED_SERIALISED_FILE::rewrite(m_path, options);
    EXPECT_EQ(header_of(m_path).tag, "");
    EXPECT_EQ(number_in(*open_file(m_path)), 42);
}

TEST_F(SerialisedFile, ChecksumCanBeLeftOut) {
    const auto file = make_file();
    file->commit_impl(m_path);
    NYX_FILE_OPTIONS options;
    options.frame_checksum = false;
    file->commit_impl(m_dir / "b.nyx", options);
    const auto chunks = (header_of(m_path).data_size + 32767) / 32768;
    EXPECT_EQ(fs::file_size(m_path), fs::file_size(m_dir / "b.nyx") + 4 * chunks);
    EXPECT_EQ(content_of(*open_file(m_dir / "b.nyx")), content_of(*file));
}

TEST_F(SerialisedFile, PermissionsOfTheReplacedFileStay) {
    const auto file = make_file();
    file->commit_impl(m_path);
    ASSERT_EQ(chmod(m_path.c_str(), 0640), 0);
    file->commit_impl(m_path);
    EXPECT_EQ(fs::status(m_path).permissions(), fs::perms(0640));
    NYX_MANAGED_SERIALISED_FILE::rewrite(m_path, {});
    EXPECT_EQ(fs::status(m_path).permissions(), fs::perms(0640));
}

TEST_F(SerialisedFile, RefusedRenameLeavesNothingBehind) {
    const auto file = make_file();
    fs::create_directory(m_path);
    try {
        file->commit_impl(m_path);
        FAIL();
    } catch (const NYX_FILE_IO_EXCEPTION &exception) {
        EXPECT_EQ(exception.operation(), NYX_FILE_IO_EXCEPTION::RENAME);
        EXPECT_EQ(exception.path(), m_path);
        EXPECT_EQ(exception.code(), std::errc::is_a_directory);
    }
    EXPECT_EQ(names_in(m_dir.path()), std::vector<std::string>{"a.nyx"});
    EXPECT_EQ(file->get_size(), s_size);
}

TEST_F(SerialisedFile, MissingDirectoryIsAFailureToWriteTheTemporaryFile) {
    const std::string path = m_dir / "missing/a.nyx";
    try {
        make_file()->commit_impl(path);
        FAIL();
    } catch (const NYX_FILE_IO_EXCEPTION &exception) {
        EXPECT_EQ(exception.operation(), NYX_FILE_IO_EXCEPTION::WRITE);
        EXPECT_EQ(exception.code(), std::errc::no_such_file_or_directory);
        const std::string name = exception.path();
        ASSERT_EQ(name.size(), path.size() + 13);
        EXPECT_EQ(name.substr(0, path.size() + 1), path + "-");
        EXPECT_EQ(name.substr(path.size() + 9), ".tmp");
        EXPECT_EQ(name.substr(path.size() + 1, 8).find_first_not_of("0123456789abcdef"), std::string::npos);
    }
}

// ---- Rewriting

TEST_F(SerialisedFile, RewriteChangesTheDefaultSizeAndNothingElse) {
    make_file("tag")->commit_impl(m_path);
    const std::string before = read_file(m_path);
    NYX_FILE_OPTIONS options;
    options.size_rule = [](std::size_t, std::size_t default_size) { return 3 * default_size; };
    NYX_MANAGED_SERIALISED_FILE::rewrite(m_path, options);
    std::string expected = before;
    set_word<std::uint64_t>(expected, 29 + 3, 3 * s_size);
    EXPECT_EQ(read_file(m_path), expected);
    EXPECT_EQ(open_file(m_path)->get_size(), 3 * s_size);
}

TEST_F(SerialisedFile, RewriteKeepsTheSchemaOfAFileThatItCanNotRead) {
    make_file()->commit_impl(m_path);
    std::string bytes = read_file(m_path);
    set_word<std::uint64_t>(bytes, 9, 12345);
    write_file(m_path, bytes);
    NYX_MANAGED_SERIALISED_FILE::rewrite(m_path, {});
    EXPECT_EQ(read_file(m_path), bytes);
}

TEST_F(SerialisedFile, RewriteRefusesAnotherVersion) {
    make_file()->commit_impl(m_path);
    std::string bytes = read_file(m_path);
    for (const unsigned version : {0u, 1u, 2u, 4u}) {
        set_word<std::uint32_t>(bytes, 4, version);
        write_file(m_path, bytes);
        EXPECT_EQ(thrown([&] { NYX_MANAGED_SERIALISED_FILE::rewrite(m_path, {}); }),
                  "version " + std::to_string(version));
        EXPECT_EQ(read_file(m_path), bytes);
    }
}

TEST_F(SerialisedFile, RewriteOfAMissingFileIsAFailureToRead) {
    try {
        NYX_MANAGED_SERIALISED_FILE::rewrite(m_path, {});
        FAIL();
    } catch (const NYX_FILE_IO_EXCEPTION &exception) {
        EXPECT_EQ(exception.operation(), NYX_FILE_IO_EXCEPTION::READ);
        EXPECT_EQ(exception.code().value(), 2);
        EXPECT_EQ(exception.code(), std::errc::no_such_file_or_directory);
    }
}

TEST_F(SerialisedFile, RewriteOfACutFileLeavesItAsItIs) {
    make_file()->commit_impl(m_path);
    std::string bytes = read_file(m_path);
    bytes.pop_back();
    write_file(m_path, bytes);
    EXPECT_EQ(thrown([&] { NYX_MANAGED_SERIALISED_FILE::rewrite(m_path, {}); }), "file io 0");
    EXPECT_EQ(read_file(m_path), bytes);
    EXPECT_EQ(names_in(m_dir.path()), std::vector<std::string>{"a.nyx"});
}

TEST_F(SerialisedFile, RewriteOfAFileWithoutPayloadEnds) {
    make_file()->commit_impl(m_path);
    std::string bytes = read_file(m_path).substr(0, 53);
    set_word<std::uint64_t>(bytes, 45, 0);
    write_file(m_path, bytes);
    NYX_MANAGED_SERIALISED_FILE::rewrite(m_path, {});
    EXPECT_EQ(read_file(m_path), bytes);
}

// ---- Copies

TEST_F(SerialisedFile, CopyHasTheContentAndTheExtraRoom) {
    const auto file = make_file("tag");
    NYX_MANAGED_SERIALISED_FILE copy(*file, 4096);
    EXPECT_EQ(copy.get_size(), s_size + 4096);
    EXPECT_EQ(copy.get_default_size(), s_size + 4096);
    EXPECT_EQ(content_of(copy), content_of(*file));
    ASSERT_NE(copy.get_segment_manager()->allocate(1000), nullptr);
    ASSERT_NE(file->get_segment_manager()->allocate(1000), nullptr);
    copy.commit_impl(m_path);
    EXPECT_EQ(header_of(m_path).tag, "tag");
}

TEST_F(SerialisedFile, CopyOfAProtectedDatabaseCanBeWritten) {
    make_file()->commit_impl(m_path);
    const auto file = open_file_read_only(m_path);
    NYX_MANAGED_SERIALISED_FILE copy(*file, 1 << 16);
    EXPECT_FALSE(copy.is_read_only());
    ASSERT_NE(copy.get_segment_manager()->allocate(30000), nullptr);
    EXPECT_EQ(nyx_get_algorithm(copy.get_segment_manager())->find_fault(), "");
}

TEST_F(SerialisedFile, ForkedProcessesTakeDifferentTemporaryNames) {
    const std::string path = m_dir / "missing/a.nyx";
    const auto name = [&] {
        try {
            make_file()->commit_impl(path);
        } catch (const NYX_FILE_IO_EXCEPTION &exception) {
            return std::string(exception.path());
        }
        return std::string();
    };
    name();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        const std::string mine = name();
        _exit(write(ends[1], mine.data(), mine.size()) < 0);
    }
    const std::string mine = name();
    std::string other(mine.size(), '\0');
    ASSERT_EQ(read(ends[0], other.data(), other.size()), static_cast<ssize_t>(mine.size()));
    waitpid(child, nullptr, 0);
    EXPECT_NE(mine, other);
}

TEST_F(SerialisedFile, TemporaryFileIsNeverWiderThanTheReplacedOne) {
    struct SPY final : NYX_FILE_SYSTEM {
        SPY() : previous(exchange(*this)) {}
        ~SPY() override { exchange(previous); }
        int open(const char *path, int flags, mode_t mode) override {
            if (flags & O_CREAT)
                created = mode;
            return NYX_FILE_SYSTEM::open(path, flags, mode);
        }
        mode_t created = 0;
        NYX_FILE_SYSTEM &previous;
    };
    const auto file = make_file();
    file->commit_impl(m_path);
    ASSERT_EQ(chmod(m_path.c_str(), 0600), 0);
    const SPY spy;
    file->commit_impl(m_path);
    EXPECT_EQ(spy.created & 0077, 0u);
}

} // namespace
