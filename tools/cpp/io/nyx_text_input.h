#ifndef NYX_TEXT_INPUT_H
#define NYX_TEXT_INPUT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

/// The bytes of a file or of standard input, unpacked on the way if they begin as a gzip or a zstd file does.
class NYX_TEXT_INPUT {
public:
    /// Opens `path`; "-" is standard input. Throws NYX_IO_ERROR if it can't be opened or read.
    explicit NYX_TEXT_INPUT(const std::string &path);
    ~NYX_TEXT_INPUT();

    /// Fills up to `size` bytes at `to` and returns how many; fewer than `size` only at the end, where it stays 0.
    /// Throws NYX_IO_ERROR if the source can't be read, is damaged, or ends too early.
    std::size_t read(char *to, std::size_t size);

    /// The path, or "standard input".
    const std::string &get_name() const { return m_name; }

    /// How much of the source has been used, in its own packed bytes, and how many there are; 0 if that is unknown.
    std::uint64_t get_used_bytes() const { return m_used_bytes; }
    std::uint64_t get_total_bytes() const { return m_total_bytes; }

private:
    struct GZIP;
    struct ZSTD;

    /// Refills the packed bytes if there are none left. False at the end of the source.
    bool fill();
    std::size_t read_plain(char *to, std::size_t size);
    std::size_t read_gzip(char *to, std::size_t size);
    std::size_t read_zstd(char *to, std::size_t size);
    [[noreturn]] void fail(const std::string &text) const;
    [[noreturn]] void fail_damaged(const char *packer) const;

    std::string m_name;
    int m_file = -1;
    std::uint64_t m_used_bytes = 0;
    std::uint64_t m_total_bytes = 0;
    std::unique_ptr<char[]> m_packed;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::unique_ptr<GZIP> m_gzip;
    std::unique_ptr<ZSTD> m_zstd;
};

#endif
