#include "io/nyx_text_output.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>
#include <zlib.h>
#include <zstd.h>

struct NYX_TEXT_OUTPUT::PACKER {
    enum class KIND { GZIP, ZSTD };
    explicit PACKER(KIND kind_) : kind(kind_), packed(256 << 10) {
        if (kind == KIND::ZSTD) {
            zstd = ZSTD_createCCtx();
            if (!zstd)
                throw std::bad_alloc();
        } else if (deflateInit2(&gzip, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK)
            throw std::bad_alloc();
    }
    ~PACKER() {
        if (kind == KIND::ZSTD)
            ZSTD_freeCCtx(zstd);
        else
            deflateEnd(&gzip);
    }
    PACKER(const PACKER &) = delete;
    PACKER &operator=(const PACKER &) = delete;

    KIND kind;
    z_stream gzip{};
    ZSTD_CCtx *zstd = nullptr;
    std::vector<char> packed;
};

NYX_TEXT_OUTPUT::NYX_TEXT_OUTPUT(const std::string &path) : m_name(path) {
    if (path == "-") {
        m_name = "standard output";
        m_file = stdout;
        return;
    }
    if (path.ends_with(".gz"))
        m_packer = std::make_unique<PACKER>(PACKER::KIND::GZIP);
    else if (path.ends_with(".zst"))
        m_packer = std::make_unique<PACKER>(PACKER::KIND::ZSTD);
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        m_file = std::fopen(path.c_str(), "wbe");
        if (!m_file)
            fail("can't be written");
        return;
    }
    m_target = nyx_follow_links(path);
    m_temporary = std::make_unique<NYX_TEMPORARY_PATH>(m_target + ".part" + std::to_string(getpid()));
    m_file = std::fopen(m_temporary->get().c_str(), "wbxe");
    if (!m_file) {
        const int error = errno;
        m_temporary->release(); // it may be another's
        errno = error;
        fail("can't be made");
    }
}

NYX_TEXT_OUTPUT::~NYX_TEXT_OUTPUT() {
    if (m_file && m_file != stdout)
        std::fclose(m_file);
}

void NYX_TEXT_OUTPUT::fail(const std::string &what) const {
    const std::string text = nyx_printable(m_name) + ": " + what + ": " + std::strerror(errno);
    if (m_file == stdout && errno == EPIPE)
        throw NYX_READER_GONE(text);
    throw NYX_IO_ERROR(text);
}

NYX_TEXT_OUTPUT &NYX_TEXT_OUTPUT::operator<<(std::uint64_t number) {
    std::array<char, 20> digits;
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    return *this << std::string_view(digits.data(), std::size_t(result.ptr - digits.data()));
}

void NYX_TEXT_OUTPUT::write_raw(const char *data, std::size_t size) {
    if (std::fwrite(data, 1, size, m_file) != size)
        fail("can't be written");
}

void NYX_TEXT_OUTPUT::write_out(bool last) {
    if (!m_packer)
        write_raw(m_buffer.data(), m_buffer.size());
    else if (m_packer->kind == PACKER::KIND::ZSTD) {
        ZSTD_inBuffer in{m_buffer.data(), m_buffer.size(), 0};
        for (;;) {
            ZSTD_outBuffer out{m_packer->packed.data(), m_packer->packed.size(), 0};
            const std::size_t left =
                ZSTD_compressStream2(m_packer->zstd, &out, &in, last ? ZSTD_e_end : ZSTD_e_continue);
            if (ZSTD_isError(left))
                throw NYX_IO_ERROR(nyx_printable(m_name) + ": can't be packed: " + ZSTD_getErrorName(left));
            write_raw(m_packer->packed.data(), out.pos);
            if (last ? left == 0 : in.pos == in.size)
                break;
        }
    } else {
        z_stream &gzip = m_packer->gzip;
        gzip.next_in = reinterpret_cast<Bytef *>(m_buffer.data());
        gzip.avail_in = uInt(m_buffer.size());
        do {
            gzip.next_out = reinterpret_cast<Bytef *>(m_packer->packed.data());
            gzip.avail_out = uInt(m_packer->packed.size());
            deflate(&gzip, last ? Z_FINISH : Z_NO_FLUSH);
            write_raw(m_packer->packed.data(), m_packer->packed.size() - gzip.avail_out);
        } while (gzip.avail_out == 0);
    }
    m_buffer.clear();
}

void NYX_TEXT_OUTPUT::finish() {
    write_out(true);
    if (std::fflush(m_file) != 0)
        fail("can't be written");
    if (m_file == stdout)
        return;
    const int closed = std::fclose(m_file);
    m_file = nullptr;
    if (closed != 0)
        fail("can't be written");
    if (!m_temporary)
        return;
    if (std::rename(m_temporary->get().c_str(), m_target.c_str()) != 0)
        fail("can't be put in its place");
    m_temporary->release();
}
