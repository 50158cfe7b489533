#include "codec_test_support.h"
#include "file_test_support.h"
#include "nyx_common/nyx_common_collet_encoders.h"
#include "support/recording_listener.h"

#include <csignal>

namespace {

class LoadedFile : public testing::Test {
protected:
    void SetUp() override { save(NYX_COMPRESSION::ZSTD); }
    void save(NYX_COMPRESSION algorithm) {
        make_file()->commit_impl(m_path, algorithm, 3, 32768, {});
        m_bytes = read_file(m_path);
    }
    // What loading the bytes throws, in either mode.
    std::string load(const std::string &bytes) {
        write_file(m_path, bytes);
        const std::string result = thrown([&] { open_file(m_path); });
        EXPECT_EQ(thrown([&] { open_file_read_only(m_path); }), result);
        return result;
    }
    template <class T>
    std::string with(std::size_t offset, T value) const {
        std::string bytes = m_bytes;
        set_word(bytes, offset, value);
        return bytes;
    }

    TEMP_DIR m_dir;
    const std::string m_path = m_dir / "a.nyx";
    std::string m_bytes;
};

using LoadedFileDeathTest = LoadedFile;

TEST_F(LoadedFile, MissingFileIsToldByLoadAndRaisedByConstructors) {
    const std::string missing = m_dir / "b.nyx";
    NYX_MANAGED_SERIALISED_FILE file(true);
    EXPECT_FALSE(file.load(missing));
    for (const auto &open : {std::function<void()>([&] { open_file(missing); }),
                             std::function<void()>([&] { open_file_read_only(missing); })}) {
        try {
            open();
            FAIL();
        } catch (const NYX_FILE_IO_EXCEPTION &exception) {
            EXPECT_EQ(exception.operation(), NYX_FILE_IO_EXCEPTION::READ);
            EXPECT_EQ(exception.code().value(), 2);
            EXPECT_EQ(exception.path(), missing);
        }
    }
}

TEST_F(LoadedFile, ProtectedDatabaseTakesNoMoreThanItsImage) {
    const auto file = open_file_read_only(m_path);
    EXPECT_TRUE(file->is_read_only());
    EXPECT_EQ(file->get_size(), header_of(m_path).data_size);
    EXPECT_EQ(file->get_default_size(), header_of(m_path).data_size);
}

TEST_F(LoadedFileDeathTest, WriteToAProtectedDatabaseFaults) {
    const auto file = open_file_read_only(m_path);
    int *const number = file->get_segment_manager()->find<int>("number").first;
    ASSERT_NE(number, nullptr);
    const auto write = [number] {
        std::signal(SIGSEGV, SIG_DFL); // a sanitizer reports it and ends the run otherwise
        *const_cast<volatile int *>(number) = 1;
    };
    EXPECT_EXIT(write(), testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(LoadedFile, ProtectedDatabaseCanBeSaved) {
    const auto file = open_file_read_only(m_path);
    file->commit_impl(m_dir / "b.nyx");
    EXPECT_EQ(content_of(*open_file(m_dir / "b.nyx")), content_of(*file));
}

TEST_F(LoadedFile, SizeRuleSetsTheReservation) {
    NYX_FILE_OPTIONS options;
    options.size_rule = [](std::size_t, std::size_t default_size) { return 2 * default_size + 5; };
    const auto file = open_file(m_path, options);
    EXPECT_EQ(file->get_size(), 2 * s_size) << "whole units only";
}

TEST_F(LoadedFile, RestThatHoldsNoBlockIsLeftOut) {
    const std::size_t data_size = header_of(m_path).data_size;
    for (std::size_t extra = 0; extra < 60; ++extra) {
        NYX_FILE_OPTIONS options;
        options.size_rule = [extra](std::size_t size, std::size_t) { return size + extra; };
        const auto file = open_file(m_path, options);
        EXPECT_EQ(file->get_size(), data_size + (extra < 40 ? 0 : extra / 8 * 8)) << extra;
        EXPECT_EQ(nyx_get_algorithm(file->get_segment_manager())->find_fault(), "");
        file->commit_impl(m_dir / "b.nyx");
        EXPECT_EQ(content_of(*open_file(m_dir / "b.nyx")), content_of(*file)) << extra;
    }
}

TEST_F(LoadedFile, EveryAllocatedBlockIsToldToTheNotifier) {
    for (const bool first_is_free : {false, true}) {
        auto original = make_file();
        NYX_SEGMENT_MANAGER *const manager = original->get_segment_manager();
        std::vector<void *> blocks;
        for (const std::size_t size : {10u, 200u, 30u, 5000u, 8u})
            blocks.push_back(manager->allocate(size));
        manager->deallocate(blocks[3]);
        if (first_is_free)
            manager->deallocate(blocks[0]);
        original->commit_impl(m_path);
        RECORDING_LISTENER listener;
        const auto file = open_file_read_only(m_path);
        std::vector<RECORDING_LISTENER::NOTICE> expected;
        nyx_get_algorithm(file->get_segment_manager())->for_each_block([&](const auto &block) {
            const std::size_t usable = block.units * 8 - 8;
            if (block.allocated)
                expected.push_back({RECORDING_LISTENER::NOTICE::ALLOCATED,
                                    file->get_starting_address() + block.offset + 16, usable, usable});
        });
        EXPECT_GE(expected.size(), 4u);
        EXPECT_EQ(listener.notices(), expected);
    }
}

TEST_F(LoadedFile, AllOfTheImageCountsAsCommittedWhateverItSays) {
    save(NYX_COMPRESSION::NONE);
    for (const std::uint64_t committed : {std::uint64_t(0), ~std::uint64_t(0)}) {
        write_file(m_path, with<std::uint64_t>(53 + 56, committed));
        EXPECT_EQ(nyx_get_algorithm(open_file_read_only(m_path)->get_segment_manager())->get_committed(),
                  header_of(m_path).data_size);
    }
}

// ---- Headers that aren't right

// What a few bytes claim takes no memory before it has been read, and the range goes back.
TEST_F(LoadedFile, SizeThatTheFileDoesNotHaveTakesNothing) {
    const std::uint64_t size = std::uint64_t(8) << 40;
    std::string bytes = with<std::uint32_t>(25, 0xF0000000);
    set_word(bytes, 29, size);
    set_word(bytes, 37, size);
    bytes.resize(bytes.size() + 16384);
    write_file(m_path, bytes);
    ASSERT_EQ(header_of(m_path).data_size, size);
    ASSERT_EQ(header_of(m_path).default_size, size);
    ASSERT_EQ(header_of(m_path).chunk_size, 0xF0000000u);
    for (unsigned i = 0; i < 40; ++i)
        ASSERT_EQ(thrown([&] { open_file_read_only(m_path); }), "corrupted") << "try " << i;
}

TEST_F(LoadedFile, WrongMagicIsCorrupted) {
    EXPECT_EQ(load(with<char>(3, '?')), "corrupted");
    try {
        open_file(m_path);
    } catch (const NYX_DATABASE_CORRUPTED_EXCEPTION &exception) {
        EXPECT_EQ(std::string(exception.what()), "NYX database \"" + m_path + "\" is corrupted");
    }
}

TEST_F(LoadedFile, OtherVersionsAreRefused) {
    for (const unsigned version : {0u, 1u, 2u, 4u, ~0u})
        EXPECT_EQ(load(with<std::uint32_t>(4, version)), "version " + std::to_string(version));
    load(with<std::uint32_t>(4, 2));
    try {
        open_file(m_path);
    } catch (const NYX_DATABASE_OLD_VERSION_EXCEPTION &exception) {
        EXPECT_EQ(
            std::string(exception.what()),
            "NYX database \"" + m_path +
                "\" created using NYX_MANAGED_SERIALISED_FILE version 2 is not compatible with current version 3");
        EXPECT_EQ(exception.expected_version(), 3u);
    }
}

TEST_F(LoadedFile, HeaderOfVersionTwoCanBeReadAndOfVersionOneNot) {
    write_file(m_path, with<std::uint32_t>(4, 2));
    EXPECT_EQ(header_of(m_path).version, 2u);
    write_file(m_path, with<std::uint32_t>(4, 1));
    EXPECT_EQ(thrown([&] { header_of(m_path); }), "version 1");
}

TEST_F(LoadedFile, OtherSchemaIsRefusedWithBothIds) {
    const std::string own = std::to_string(NYX_DB::get_schema_id(NYX_DB_TYPE::USER, nullptr));
    EXPECT_EQ(load(with<std::uint64_t>(9, 77)),
              "runtime error: " + nyx_format_message_code("DB-INCOMPATIBLE-IDS", {m_path, "77", own}));
    try {
        open_file(m_path);
    } catch (const NYX_RUNTIME_ERROR &error) {
        EXPECT_NE(std::string(error.what()).find(" from function NYX_MANAGED_SERIALISED_FILE::load in "),
                  std::string::npos);
    }
}

TEST_F(LoadedFile, HeaderThatEndsEarlyIsAFailureToRead) {
    for (std::size_t size = 0; size < 53; ++size)
        EXPECT_EQ(load(m_bytes.substr(0, size)), "file io 0") << size;
}

TEST_F(LoadedFile, TagLongerThanTheFileIsCorrupted) {
    EXPECT_EQ(load(with<std::uint32_t>(17, 0xFFFFFFFF)), "corrupted");
    EXPECT_EQ(load(with<std::uint32_t>(17, static_cast<std::uint32_t>(m_bytes.size()) - 20)), "corrupted");
}

TEST_F(LoadedFile, DataSizeAboveTheDefaultSizeIsCorrupted) {
    EXPECT_EQ(load(with<std::uint64_t>(37, s_size + 1)), "corrupted");
}

TEST_F(LoadedFile, DataSizeThatHoldsNoSegmentIsCorrupted) {
    for (const std::uint64_t size : {0u, 1u, 223u})
        EXPECT_EQ(load(with<std::uint64_t>(37, size)), "corrupted") << size;
}

TEST_F(LoadedFile, PayloadLargerThanTheFileIsCorrupted) {
    EXPECT_EQ(load(with<std::uint64_t>(45, word_at<std::uint64_t>(m_bytes, 45) + 1)), "corrupted");
    EXPECT_EQ(load(with<std::uint64_t>(45, ~0ull)), "corrupted");
}

TEST_F(LoadedFile, BytesBehindThePayloadAreIgnored) {
    EXPECT_EQ(load(m_bytes + "more"), "nothing");
}

TEST_F(LoadedFile, RawPayloadOfAnotherSizeThanTheImageIsCorrupted) {
    save(NYX_COMPRESSION::NONE);
    const auto size = word_at<std::uint64_t>(m_bytes, 45);
    for (const std::uint64_t other : {std::uint64_t(0), size - 1, size + 1, size * 2, ~std::uint64_t(0)})
        EXPECT_EQ(load(with<std::uint64_t>(45, other)), "corrupted") << other;
}

TEST_F(LoadedFile, ChunkThatNoCoderTakesIsCorrupted) {
    for (const std::uint32_t chunk_size : {0u, 0xFFFFFFFFu, 0xFF00FF00u})
        EXPECT_EQ(load(with(25, chunk_size)), "corrupted") << chunk_size;
    save(NYX_COMPRESSION::LZ4);
    for (const std::uint32_t chunk_size : {0u, 0xFFFFFFFFu, 0x7E000001u})
        EXPECT_EQ(load(with(25, chunk_size)), "corrupted") << chunk_size;
}

TEST_F(LoadedFile, LargerChunkThanTheImageIsRead) {
    EXPECT_EQ(load(with<std::uint32_t>(25, 0x70000000)), "nothing");
}

TEST_F(LoadedFile, ChunkSmallerThanTheFramesIsCorrupted) {
    EXPECT_EQ(load(with<std::uint32_t>(25, 1000)), "corrupted");
}

// ---- Payloads that aren't right

TEST_F(LoadedFile, CutRawPayloadIsAFailureToRead) {
    save(NYX_COMPRESSION::NONE);
    EXPECT_EQ(load(m_bytes.substr(0, 53)), "file io 0");
    EXPECT_EQ(load(m_bytes.substr(0, m_bytes.size() - 1)), "file io 0");
}

TEST_F(LoadedFile, CutCompressedPayloadIsCorrupted) {
    for (const NYX_COMPRESSION algorithm : {NYX_COMPRESSION::LZ4, NYX_COMPRESSION::ZSTD}) {
        save(algorithm);
        for (const std::size_t cut : {std::size_t(1), std::size_t(2), std::size_t(100), m_bytes.size() - 53}) {
            std::string bytes = m_bytes.substr(0, m_bytes.size() - cut);
            EXPECT_EQ(load(bytes), "corrupted") << cut;
            // A header that agrees is no better.
            set_word<std::uint64_t>(bytes, 45, bytes.size() - 53);
            EXPECT_EQ(load(bytes), "corrupted") << cut;
        }
    }
}

// An image of the segment's own making, in a file without compression.
class HostileImage : public LoadedFile {
protected:
    void SetUp() override { save(NYX_COMPRESSION::NONE); }
    template <class T>
    void expect_corrupted(std::size_t offset, T value) {
        EXPECT_EQ(load(with(53 + offset, value)), "corrupted") << "offset " << offset << " value " << +value;
    }
    std::uint64_t word(std::size_t offset) const { return word_at<std::uint64_t>(m_bytes, 53 + offset); }
};

TEST_F(HostileImage, ControlAreaIsCompared) {
    expect_corrupted<std::uint64_t>(0, 1);
    expect_corrupted<std::uint64_t>(32, 63);
    expect_corrupted<std::uint64_t>(32, ~0ull);
    expect_corrupted<std::uint64_t>(40, word(40) + 8);
    expect_corrupted<std::uint64_t>(40, ~0ull);
    expect_corrupted<std::uint64_t>(48, word(48) + 8);
    expect_corrupted<std::uint64_t>(48, word(48) - 8);
    expect_corrupted<std::uint64_t>(48, 0);
    for (std::size_t offset = 64; offset < 104; ++offset)
        expect_corrupted<char>(offset, 1);
}

TEST_F(HostileImage, BlockThatLeavesTheSegmentIsNotFollowed) {
    const std::uint64_t flags = word(176) & (std::uint64_t(3) << 62);
    for (const std::uint64_t units : {0ull, 1ull, 4ull, 1ull << 20, (1ull << 62) - 1, (1ull << 61) - 2})
        expect_corrupted<std::uint64_t>(176, flags | units);
}

TEST_F(HostileImage, EveryFlippedBitOfABlockHeaderIsNoticed) {
    std::vector<std::size_t> offsets;
    {
        const auto file = open_file(m_path);
        nyx_get_algorithm(file->get_segment_manager())->for_each_block([&](const auto &block) {
            if (offsets.size() < 20 && block.offset + block.units * 8 < header_of(m_path).data_size)
                offsets.push_back(block.offset);
        });
    }
    for (const std::size_t offset : offsets)
        for (unsigned bit = 0; bit < 64; ++bit) {
            const std::string bytes = with(53 + offset + 8, word(offset + 8) ^ (std::uint64_t(1) << bit));
            write_file(m_path, bytes);
            EXPECT_EQ(thrown([&] { open_file_read_only(m_path); }), "corrupted") << offset << ' ' << bit;
        }
}

TEST_F(HostileImage, EndBlockIsCompared) {
    const std::size_t end = word(48) - 16;
    expect_corrupted<std::uint64_t>(end + 8, word(end + 8) - 1);
    expect_corrupted<std::uint64_t>(end + 8, word(end + 8) & ~(std::uint64_t(1) << 63));
    expect_corrupted<std::uint64_t>(end + 8, word(end + 8) ^ (std::uint64_t(1) << 62));
    expect_corrupted<std::uint64_t>(168, word(168) + 1);
}

TEST_F(HostileImage, StoredTreeIsNotFollowed) {
    for (const std::size_t offset : {8u, 16u, 24u})
        for (const std::uint64_t value : {0ull, 1ull, 0x123456789ull, ~0ull}) {
            write_file(m_path, with(53 + offset, value));
            const auto file = open_file(m_path);
            EXPECT_EQ(nyx_get_algorithm(file->get_segment_manager())->find_fault(), "");
            EXPECT_NE(file->get_segment_manager()->allocate(100), nullptr);
        }
}

// ---- What ends the run

TEST_F(LoadedFileDeathTest, UnknownAlgorithmEndsTheRun) {
    write_file(m_path, with<std::uint32_t>(21, 3));
    EXPECT_DEATH(open_file(m_path), "Unrecognised compression algorithm 3");
    EXPECT_DEATH(make_file()->commit_impl(m_path, static_cast<NYX_COMPRESSION>(77), 3, 100, {}),
                 "Unrecognised compression algorithm 77");
}

TEST_F(LoadedFileDeathTest, TypeThatNoFileHasEndsTheRun) {
    for (const char type : {'\0', '\1', '\6', '\xff'}) {
        write_file(m_path, with(8, type));
        EXPECT_DEATH(open_file(m_path),
                     "type == NYX_DB_TYPE::USER || type == NYX_DB_TYPE::COMPONENT || type == NYX_DB_TYPE::DEFINITION "
                     "|| type == NYX_DB_TYPE::DEVICE.*Unknown DB_TYPE");
    }
}

TEST_F(LoadedFileDeathTest, PostambleThatWasNeverWrittenEndsTheRunAtTheReservation) {
    std::string bytes = m_bytes;
    for (const std::size_t offset : {29u, 37u, 45u})
        set_word(bytes, offset, ~std::uint64_t(0));
    write_file(m_path, bytes);
    EXPECT_EQ(header_of(m_path).data_size, ~std::uint64_t(0));
    EXPECT_DEATH(open_file(m_path), "Failed to reserve 18446744073709551615 bytes");
    EXPECT_DEATH(open_file_read_only(m_path), "Failed to reserve 18446744073709551615 bytes");
}

TEST_F(LoadedFileDeathTest, ObjectWithoutASegmentEndsTheRun) {
    NYX_MANAGED_SERIALISED_FILE file(false);
    EXPECT_DEATH(file.get_segment_manager(), "seg_man != nullptr");
    EXPECT_DEATH(file.commit_impl(m_path), "m_data != nullptr.*database is uninitialised");
}

TEST_F(LoadedFileDeathTest, SecondLoadIsRefusedAndDropsTheSegment) {
    NYX_MANAGED_SERIALISED_FILE file(false);
    ASSERT_TRUE(file.load(m_path));
    EXPECT_EQ(thrown([&] { file.load(m_path); }), "corrupted");
    EXPECT_DEATH(file.get_segment_manager(), "seg_man != nullptr");
}

TEST(SerialisedFileDeathTest, CopyOfAnObjectWithoutASegmentEndsTheRun) {
    const NYX_MANAGED_SERIALISED_FILE file(false);
    EXPECT_DEATH(NYX_MANAGED_SERIALISED_FILE(file, 0), "seg_man != nullptr");
}

} // namespace
