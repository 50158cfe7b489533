#ifndef NYX_FILE_STREAM_H
#define NYX_FILE_STREAM_H

/// \file
/// Streams on files, and the references to streams that the coders work on.

#include <cstddef>
#include <fstream>
#include <istream>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

/// A stream buffer on a file descriptor, through NYX_FILE_SYSTEM. Large transfers bypass the buffer. For reading or for
/// writing, not for both.
class NYX_FILE_BUFFER final : public std::streambuf {
public:
    NYX_FILE_BUFFER() = default;
    /// Closes, without a word about failures.
    ~NYX_FILE_BUFFER() override;

    /// Opens `path` with the system's flags. False, with errno, if that fails.
    bool open(const std::string &path, int flags, unsigned mode);
    bool is_open() const { return m_fd >= 0; }
    int fd() const { return m_fd; }

    /// Writes out what is buffered and closes. False if either fails; the descriptor is gone all the same.
    bool close();

protected:
    int_type underflow() override;
    std::streamsize xsgetn(char *data, std::streamsize size) override;
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char *data, std::streamsize size) override;
    int sync() override;
    pos_type seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

private:
    static constexpr std::size_t s_buffer_size = std::size_t(256) << 10;

    void make_buffer(bool writing);
    bool flush();
    bool write_all(const char *data, std::size_t size);
    std::streamsize read_some(char *data, std::size_t size);

    int m_fd = -1;
    bool m_writing = false;
    bool m_failed = false; ///< a write has failed, and what came behind it is lost
    std::unique_ptr<char[]> m_buffer;
};

/// A file open for reading. Its state is that of an std::ifstream: failbit if it did not open.
class NYX_FILE_INPUT final : public std::istream {
public:
    explicit NYX_FILE_INPUT(const std::string &path);

private:
    NYX_FILE_BUFFER m_buffer;
};

/// A stream that bytes go to, and the path of its file for texts. Refers to the stream. Move-only; one that was moved
/// from ends the run when it is used.
class OSTREAM_REF {
public:
    OSTREAM_REF(std::ostream &os, std::string path) : m_os(&os), m_path(std::move(path)) {}
    OSTREAM_REF(OSTREAM_REF &&other) noexcept;
    OSTREAM_REF &operator=(OSTREAM_REF &&other) noexcept;
    ~OSTREAM_REF() = default;

    /// Writes; the stream's state tells whether it worked, and is for its owner to look at. Raises
    /// NYX_FILE_IO_EXCEPTION if the reference lost its stream meanwhile.
    void write(const char *data, std::size_t size);

private:
    std::ostream *m_os;
    std::string m_path;
};

/// A stream that bytes come from; otherwise as OSTREAM_REF.
class ISTREAM_REF {
public:
    ISTREAM_REF(std::istream &is, std::string path) : m_is(&is), m_path(std::move(path)) {}
    ISTREAM_REF(ISTREAM_REF &&other) noexcept;
    ISTREAM_REF &operator=(ISTREAM_REF &&other) noexcept;
    ~ISTREAM_REF() = default;

    /// Reads, and returns `size` in any case: where the stream has run dry the rest of `data` is zeros, and its state
    /// tells. So what is read never depends on what was in `data` before.
    std::size_t read(char *data, std::size_t size);

private:
    std::istream *m_is;
    std::string m_path;
};

#endif
