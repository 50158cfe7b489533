#include "io/nyx_text_input.h"

#include "io/nyx_io_error.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>
#include <zstd.h>

namespace {

constexpr std::size_t s_packed_size = 256 << 10;

} // namespace

struct NYX_TEXT_INPUT::GZIP {
    GZIP() {
        // 15 bits of window; 16 more ask for the gzip header and its check sum.
        if (inflateInit2(&stream, 15 + 16) != Z_OK)
            throw std::bad_alloc();
    }
    ~GZIP() { inflateEnd(&stream); }
    GZIP(const GZIP &) = delete;
    GZIP &operator=(const GZIP &) = delete;

    z_stream stream{};
    bool in_member = true;
};

struct NYX_TEXT_INPUT::ZSTD {
    ZSTD() : context(ZSTD_createDCtx()) {
        if (!context)
            throw std::bad_alloc();
    }
    ~ZSTD() { ZSTD_freeDCtx(context); }
    ZSTD(const ZSTD &) = delete;
    ZSTD &operator=(const ZSTD &) = delete;

    ZSTD_DCtx *context;
    bool in_frame = true;
};

NYX_TEXT_INPUT::NYX_TEXT_INPUT(const std::string &path)
    : m_name(path == "-" ? "standard input" : path)
    , m_packed(std::make_unique<char[]>(s_packed_size)) {
    m_file = path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (m_file < 0)
        fail(std::string("can't be opened: ") + std::strerror(errno));
    try {
        struct stat status {};
        if (fstat(m_file, &status) == 0 && S_ISREG(status.st_mode))
            m_total_bytes = std::uint64_t(status.st_size);
        if (fstat(m_file, &status) == 0 && S_ISDIR(status.st_mode))
            fail("is a directory, not a file");
        // A pipe may hand over its first bytes one by one, so ask until a signature would be complete.
        while (m_end < 4) {
            const ssize_t count = ::read(m_file, m_packed.get() + m_end, s_packed_size - m_end);
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                fail(std::string("can't be read: ") + std::strerror(errno));
            if (count == 0)
                break;
            m_end += std::size_t(count);
        }
        if (m_end >= 2 && std::memcmp(m_packed.get(), "\x1f\x8b", 2) == 0)
            m_gzip = std::make_unique<GZIP>();
        else if (m_end >= 4 && std::memcmp(m_packed.get(), "\x28\xb5\x2f\xfd", 4) == 0)
            m_zstd = std::make_unique<ZSTD>();
    } catch (...) {
        close(m_file);
        throw;
    }
}

NYX_TEXT_INPUT::~NYX_TEXT_INPUT() {
    close(m_file);
}

void NYX_TEXT_INPUT::fail(const std::string &text) const {
    throw NYX_IO_ERROR(nyx_printable(m_name) + ": " + text);
}

void NYX_TEXT_INPUT::fail_damaged(const char *packer) const {
    fail("the " + std::string(packer) + " data are damaged at about byte " + std::to_string(m_used_bytes) +
         "; get the file anew");
}

bool NYX_TEXT_INPUT::fill() {
    while (m_begin == m_end) {
        const ssize_t count = ::read(m_file, m_packed.get(), s_packed_size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail(std::string("can't be read: ") + std::strerror(errno));
        if (count == 0)
            return false;
        m_begin = 0;
        m_end = std::size_t(count);
    }
    return true;
}

std::size_t NYX_TEXT_INPUT::read(char *to, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const std::size_t count = m_gzip   ? read_gzip(to + done, size - done)
                                  : m_zstd ? read_zstd(to + done, size - done)
                                           : read_plain(to + done, size - done);
        if (count == 0)
            break;
        done += count;
    }
    return done;
}

std::size_t NYX_TEXT_INPUT::read_plain(char *to, std::size_t size) {
    if (!fill())
        return 0;
    const std::size_t count = std::min(size, m_end - m_begin);
    std::memcpy(to, m_packed.get() + m_begin, count);
    m_begin += count;
    m_used_bytes += count;
    return count;
}

std::size_t NYX_TEXT_INPUT::read_gzip(char *to, std::size_t size) {
    z_stream &stream = m_gzip->stream;
    stream.next_out = reinterpret_cast<Bytef *>(to);
    stream.avail_out = uInt(std::min<std::size_t>(size, 1 << 30));
    const uInt room = stream.avail_out;
    while (stream.avail_out == room) {
        if (!fill()) {
            if (m_gzip->in_member)
                fail("the gzip data end too early; the file is truncated");
            return 0;
        }
        if (!m_gzip->in_member) {
            // Members may follow one another, as those of files that were joined.
            if (inflateReset(&stream) != Z_OK)
                fail_damaged("gzip");
            m_gzip->in_member = true;
        }
        stream.next_in = reinterpret_cast<Bytef *>(m_packed.get() + m_begin);
        stream.avail_in = uInt(m_end - m_begin);
        const int result = inflate(&stream, Z_NO_FLUSH);
        const std::size_t used = m_end - m_begin - stream.avail_in;
        m_begin += used;
        m_used_bytes += used;
        if (result == Z_STREAM_END)
            m_gzip->in_member = false;
        else if (result != Z_OK)
            fail_damaged("gzip");
    }
    return room - stream.avail_out;
}

std::size_t NYX_TEXT_INPUT::read_zstd(char *to, std::size_t size) {
    ZSTD_outBuffer out{to, size, 0};
    while (out.pos == 0) {
        // The decoder may hold output back that needs no further input.
        ZSTD_inBuffer in{m_packed.get() + m_begin, m_end - m_begin, 0};
        const std::size_t result = ZSTD_decompressStream(m_zstd->context, &out, &in);
        if (ZSTD_isError(result))
            fail_damaged("zstd");
        m_begin += in.pos;
        m_used_bytes += in.pos;
        if (in.pos != 0)
            m_zstd->in_frame = result != 0;
        if (out.pos == 0 && m_begin == m_end && !fill()) {
            if (m_zstd->in_frame)
                fail("the zstd data end too early; the file is truncated");
            return 0;
        }
    }
    return out.pos;
}
