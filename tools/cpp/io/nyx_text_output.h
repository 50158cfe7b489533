#ifndef NYX_TEXT_OUTPUT_H
#define NYX_TEXT_OUTPUT_H

#include "io/nyx_io_error.h"
#include "io/nyx_temporary_path.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

/// Nobody reads standard output any more.
class NYX_READER_GONE : public NYX_IO_ERROR {
public:
    using NYX_IO_ERROR::NYX_IO_ERROR;
};

/// Text on its way to a file or to standard output; packed if the file's name ends in ".gz" or ".zst". A file comes to
/// its place when it is complete: until finish() nothing has changed there. A symbolic link stays one. What is there
/// and is no plain file, such as a pipe or a device, is written to as it is.
class NYX_TEXT_OUTPUT {
public:
    /// "-" is standard output, where a failed write may be NYX_READER_GONE. Throws NYX_IO_ERROR if the file can't be
    /// made.
    explicit NYX_TEXT_OUTPUT(const std::string &path);
    /// Leaves no trace of a file that was not finished.
    ~NYX_TEXT_OUTPUT();
    NYX_TEXT_OUTPUT(const NYX_TEXT_OUTPUT &) = delete;
    NYX_TEXT_OUTPUT &operator=(const NYX_TEXT_OUTPUT &) = delete;

    NYX_TEXT_OUTPUT &operator<<(std::string_view text) {
        m_buffer.append(text);
        if (m_buffer.size() >= s_buffer_size)
            write_out(false);
        return *this;
    }
    NYX_TEXT_OUTPUT &operator<<(char c) { return *this << std::string_view(&c, 1); }
    NYX_TEXT_OUTPUT &operator<<(std::uint64_t number);

    /// Writes what is left and puts the file in its place. Throws NYX_IO_ERROR if the disk is full and the like.
    void finish();

private:
    struct PACKER;
    static constexpr std::size_t s_buffer_size = 256 << 10;

    void write_out(bool last);
    void write_raw(const char *data, std::size_t size);
    [[noreturn]] void fail(const std::string &what) const;

    std::string m_name;
    std::string m_target; ///< m_name with its links followed
    std::unique_ptr<NYX_TEMPORARY_PATH> m_temporary;
    std::FILE *m_file = nullptr;
    std::string m_buffer;
    std::unique_ptr<PACKER> m_packer;
};

#endif
