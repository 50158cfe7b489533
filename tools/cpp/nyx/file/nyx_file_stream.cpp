#include "file/nyx_file_stream.h"

#include "file/nyx_file_system.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

// ---- NYX_FILE_BUFFER

NYX_FILE_BUFFER::~NYX_FILE_BUFFER() {
    if (is_open())
        close();
}

bool NYX_FILE_BUFFER::open(const std::string &path, int flags, unsigned mode) {
    m_fd = NYX_FILE_SYSTEM::get().open(path.c_str(), flags | O_CLOEXEC, mode);
    return m_fd >= 0;
}

bool NYX_FILE_BUFFER::close() {
    const bool flushed = flush();
    const int fd = std::exchange(m_fd, -1);
    return NYX_FILE_SYSTEM::get().close(fd) == 0 && flushed;
}

void NYX_FILE_BUFFER::make_buffer(bool writing) {
    if (m_buffer == nullptr)
        m_buffer = std::make_unique_for_overwrite<char[]>(s_buffer_size);
    m_writing = writing;
    if (writing)
        setp(m_buffer.get(), m_buffer.get() + s_buffer_size);
    else
        setg(m_buffer.get(), m_buffer.get(), m_buffer.get());
}

bool NYX_FILE_BUFFER::write_all(const char *data, std::size_t size) {
    while (size != 0 && !m_failed) {
        const ssize_t written = NYX_FILE_SYSTEM::get().write(m_fd, data, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            m_failed = true;
            break;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return !m_failed;
}

std::streamsize NYX_FILE_BUFFER::read_some(char *data, std::size_t size) {
    for (;;) {
        const ssize_t got = NYX_FILE_SYSTEM::get().read(m_fd, data, size);
        if (got >= 0)
            return got;
        if (errno != EINTR)
            // The stream takes an exception for a broken buffer, which is how a failing device differs from the end.
            throw std::ios_base::failure("read");
    }
}

bool NYX_FILE_BUFFER::flush() {
    if (!m_writing || pbase() == pptr())
        return !m_failed;
    const bool written = write_all(pbase(), static_cast<std::size_t>(pptr() - pbase()));
    setp(m_buffer.get(), m_buffer.get() + s_buffer_size);
    return written;
}

auto NYX_FILE_BUFFER::underflow() -> int_type {
    make_buffer(false);
    const std::streamsize got = read_some(m_buffer.get(), s_buffer_size);
    if (got == 0)
        return traits_type::eof();
    setg(m_buffer.get(), m_buffer.get(), m_buffer.get() + got);
    return traits_type::to_int_type(*gptr());
}

std::streamsize NYX_FILE_BUFFER::xsgetn(char *data, std::streamsize size) {
    std::streamsize done = 0;
    while (done < size) {
        if (gptr() == egptr()) {
            if (size - done >= static_cast<std::streamsize>(s_buffer_size)) {
                const std::streamsize got = read_some(data + done, static_cast<std::size_t>(size - done));
                if (got == 0)
                    break;
                done += got;
                continue;
            }
            if (traits_type::eq_int_type(underflow(), traits_type::eof()))
                break;
        }
        const std::streamsize taken = std::min<std::streamsize>(size - done, egptr() - gptr());
        std::memcpy(data + done, gptr(), static_cast<std::size_t>(taken));
        gbump(static_cast<int>(taken));
        done += taken;
    }
    return done;
}

auto NYX_FILE_BUFFER::overflow(int_type c) -> int_type {
    if (!m_writing)
        make_buffer(true);
    else if (!flush())
        return traits_type::eof();
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
        *pptr() = traits_type::to_char_type(c);
        pbump(1);
    }
    return traits_type::not_eof(c);
}

std::streamsize NYX_FILE_BUFFER::xsputn(const char *data, std::streamsize size) {
    if (!m_writing)
        make_buffer(true);
    if (size > epptr() - pptr() && !flush())
        return 0;
    if (size >= static_cast<std::streamsize>(s_buffer_size))
        return write_all(data, static_cast<std::size_t>(size)) ? size : 0;
    std::memcpy(pptr(), data, static_cast<std::size_t>(size));
    pbump(static_cast<int>(size));
    return size;
}

int NYX_FILE_BUFFER::sync() {
    return flush() ? 0 : -1;
}

auto NYX_FILE_BUFFER::seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode) -> pos_type {
    // What is buffered for reading is ahead of the caller.
    if (direction == std::ios_base::cur && !m_writing)
        offset -= egptr() - gptr();
    if (!flush())
        return pos_type(off_type(-1));
    const int whence = direction == std::ios_base::beg   ? SEEK_SET
                       : direction == std::ios_base::cur ? SEEK_CUR
                                                         : SEEK_END;
    const off_t position = NYX_FILE_SYSTEM::get().lseek(m_fd, offset, whence);
    if (!m_writing)
        setg(m_buffer.get(), m_buffer.get(), m_buffer.get());
    return pos_type(position);
}

auto NYX_FILE_BUFFER::seekpos(pos_type position, std::ios_base::openmode which) -> pos_type {
    return seekoff(off_type(position), std::ios_base::beg, which);
}

NYX_FILE_INPUT::NYX_FILE_INPUT(const std::string &path) : std::istream(nullptr) {
    rdbuf(&m_buffer);
    if (!m_buffer.open(path, O_RDONLY, 0))
        setstate(std::ios_base::failbit);
}

// ---- References

OSTREAM_REF::OSTREAM_REF(OSTREAM_REF &&other) noexcept
    : m_os(std::exchange(other.m_os, nullptr))
    , m_path(std::move(other.m_path)) {}

OSTREAM_REF &OSTREAM_REF::operator=(OSTREAM_REF &&other) noexcept {
    m_os = std::exchange(other.m_os, nullptr);
    m_path = std::move(other.m_path);
    return *this;
}

void OSTREAM_REF::write(const char *data, std::size_t size) {
    NYX_CHECK_MSG(m_os != nullptr, "OSTREAM_REF has been invalidated");
    m_os->write(data, static_cast<std::streamsize>(size));
    if (m_os == nullptr)
        throw NYX_FILE_IO_EXCEPTION(m_path, std::io_errc::stream, NYX_FILE_IO_EXCEPTION::WRITE);
}

ISTREAM_REF::ISTREAM_REF(ISTREAM_REF &&other) noexcept
    : m_is(std::exchange(other.m_is, nullptr))
    , m_path(std::move(other.m_path)) {}

ISTREAM_REF &ISTREAM_REF::operator=(ISTREAM_REF &&other) noexcept {
    m_is = std::exchange(other.m_is, nullptr);
    m_path = std::move(other.m_path);
    return *this;
}

std::size_t ISTREAM_REF::read(char *data, std::size_t size) {
    NYX_CHECK_MSG(m_is != nullptr, "ISTREAM_REF has been invalidated");
    std::istream &is = *m_is;
    is.read(data, static_cast<std::streamsize>(size));
    const std::size_t got = static_cast<std::size_t>(is.gcount());
    if (got < size)
        std::memset(data + got, 0, size - got);
    if (m_is == nullptr)
        throw NYX_FILE_IO_EXCEPTION(m_path, std::io_errc::stream, NYX_FILE_IO_EXCEPTION::READ);
    return size;
}
