#ifndef NYX_FILE_TEST_SUPPORT_H
#define NYX_FILE_TEST_SUPPORT_H

#include "file/nyx_managed_serialised_file.h"
#include "nyx_report/nyx_report_exception.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

inline std::string read_file(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void write_file(const std::filesystem::path &path, const std::string &bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    ASSERT_TRUE(file.flush()) << path;
}

template <class T>
T word_at(const std::string &bytes, std::size_t offset) {
    T value;
    EXPECT_LE(offset + sizeof(T), bytes.size());
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

template <class T>
void set_word(std::string &bytes, std::size_t offset, T value) {
    ASSERT_LE(offset + sizeof(T), bytes.size());
    std::memcpy(bytes.data() + offset, &value, sizeof(T));
}

/// Names in a directory, in order.
inline std::vector<std::string> names_in(const std::filesystem::path &directory) {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(directory))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

constexpr std::size_t s_size = std::size_t(1) << 20;

/// A segment with a named number, blocks of different sizes, and free blocks between them.
inline std::unique_ptr<NYX_MANAGED_SERIALISED_FILE> make_file(const std::string &tag = "",
                                                              NYX_DB_TYPE type = NYX_DB_TYPE::USER) {
    auto file = std::make_unique<NYX_MANAGED_SERIALISED_FILE>(s_size, type, tag);
    NYX_SEGMENT_MANAGER *const manager = file->get_segment_manager();
    nyx_clear_object_padding(manager->construct<int>("number")(42));
    std::vector<void *> blocks;
    for (unsigned i = 0; i < 300; ++i) {
        blocks.push_back(manager->allocate(40 + i * 13 % 700));
        std::memset(blocks.back(), static_cast<int>(i), 40);
    }
    for (unsigned i = 0; i < blocks.size(); i += 3)
        manager->deallocate(blocks[i]);
    return file;
}

inline int number_in(const NYX_MANAGED_SERIALISED_FILE &file) {
    const int *const number = file.get_segment_manager()->find<int>("number").first;
    EXPECT_NE(number, nullptr);
    return number != nullptr ? *number : 0;
}

/// Everything that lies in allocated blocks, by offset.
inline std::string content_of(const NYX_MANAGED_SERIALISED_FILE &file) {
    std::string result;
    nyx_get_algorithm(file.get_segment_manager())->for_each_block([&](const auto &block) {
        if (!block.allocated)
            return;
        result += std::to_string(block.offset) + ":";
        result.append(file.get_starting_address() + block.offset + 16, block.units * 8 - 16);
    });
    return result;
}

inline std::unique_ptr<NYX_MANAGED_SERIALISED_FILE> open_file(const std::filesystem::path &path,
                                                              const NYX_FILE_OPTIONS &options = {}) {
    return std::make_unique<NYX_MANAGED_SERIALISED_FILE>(NYX_MANAGED_SERIALISED_FILE::OPEN_FOR_MODIFICATION{},
                                                         path.string(), options);
}

inline std::unique_ptr<NYX_MANAGED_SERIALISED_FILE> open_file_read_only(const std::filesystem::path &path) {
    return std::make_unique<NYX_MANAGED_SERIALISED_FILE>(NYX_MANAGED_SERIALISED_FILE::OPEN_READ_ONLY{}, path.string());
}

inline NYX_DB_FILE_STATS header_of(const std::filesystem::path &path) {
    std::ifstream stream(path, std::ios::binary);
    return NYX_MANAGED_SERIALISED_FILE::read_header(stream, path.string());
}

/// What `action` throws in words: class, operation or versions, and text up to the place of a raise.
template <class ACTION>
std::string thrown(ACTION &&action) {
    const auto text = [](const std::exception &exception) {
        const std::string what = exception.what();
        return what.substr(0, what.find(" from function "));
    };
    try {
        std::forward<ACTION>(action)();
    } catch (const NYX_FILE_IO_EXCEPTION &exception) {
        return "file io " + std::to_string(exception.operation());
    } catch (const NYX_DATABASE_CORRUPTED_EXCEPTION &) {
        return "corrupted";
    } catch (const NYX_DATABASE_OLD_VERSION_EXCEPTION &exception) {
        return "version " + std::to_string(exception.found_version());
    } catch (const NYX_INVALID_ARGUMENT &exception) {
        return "invalid argument: " + text(exception);
    } catch (const NYX_RUNTIME_ERROR &exception) {
        return "runtime error: " + text(exception);
    }
    return "nothing";
}

#endif
