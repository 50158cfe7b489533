#include "file/nyx_safe_save.h"

#include "file/nyx_file_stream.h"
#include "file/nyx_file_system.h"
#include "nyx_report/nyx_report_exception.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <sys/stat.h>
#include <system_error>

namespace {

constexpr int s_num_tries = 5;

std::error_code last_error() {
    return {errno, std::system_category()};
}

std::string temporary_name(const std::string &path) {
    // From the system each time: a generator would give the same names to all processes that were forked behind it.
    char digits[9];
    std::snprintf(digits, sizeof(digits), "%08x", std::random_device()());
    return path + "-" + digits + ".tmp";
}

// The temporary file: deleted with the object unless it took its place.
class TEMPORARY {
public:
    explicit TEMPORARY(const std::string &target) : m_os(&m_buffer) {
        struct stat old;
        const bool replaces = ::stat(target.c_str(), &old) == 0;
        std::error_code error;
        for (int i = 0; i < s_num_tries; ++i) {
            m_name = temporary_name(target);
            // Only if the name is free: another process may look for one at this moment. Nobody may open it who may
            // not open the file that it replaces.
            if (m_buffer.open(m_name, O_WRONLY | O_CREAT | O_EXCL, replaces ? old.st_mode & 0777 : 0666)) {
                // What the mask of the process took away. A file system without permissions refuses it; the content is
                // what matters.
                if (replaces)
                    NYX_FILE_SYSTEM::get().fchmod(m_buffer.fd(), old.st_mode & 07777);
                return;
            }
            error = last_error();
        }
        throw NYX_FILE_IO_EXCEPTION(m_name, error ? error : make_error_code(std::io_errc::stream),
                                    NYX_FILE_IO_EXCEPTION::WRITE);
    }
    ~TEMPORARY() {
        if (m_renamed)
            return;
        if (m_buffer.is_open())
            m_buffer.close();
        NYX_FILE_SYSTEM::get().unlink(m_name.c_str());
    }
    TEMPORARY(const TEMPORARY &) = delete;
    TEMPORARY &operator=(const TEMPORARY &) = delete;

    std::ostream &os() { return m_os; }

    void close(bool durable, const std::string &target) {
        m_os.flush();
        if (durable && !m_os.fail() && NYX_FILE_SYSTEM::get().fsync(m_buffer.fd()) != 0)
            m_os.setstate(std::ios_base::failbit);
        if (!m_buffer.close())
            m_os.setstate(std::ios_base::failbit);
        if (m_os.fail())
            throw NYX_FILE_IO_EXCEPTION(target, std::io_errc::stream, NYX_FILE_IO_EXCEPTION::WRITE);
    }

    void rename(const std::string &target) {
        if (NYX_FILE_SYSTEM::get().rename(m_name.c_str(), target.c_str()) != 0)
            throw NYX_FILE_IO_EXCEPTION(target, last_error(), NYX_FILE_IO_EXCEPTION::RENAME);
        m_renamed = true;
    }

private:
    std::string m_name;
    NYX_FILE_BUFFER m_buffer;
    std::ostream m_os;
    bool m_renamed = false;
};

void flush_directory(const std::string &path) {
    const std::size_t slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    NYX_FILE_SYSTEM &files = NYX_FILE_SYSTEM::get();
    const int fd = files.open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    // One that may be written to but not read can't be flushed.
    if (fd < 0)
        return;
    const bool flushed = files.fsync(fd) == 0 || errno == EINVAL || errno == ENOTSUP;
    const std::error_code error = last_error();
    files.close(fd);
    if (!flushed)
        throw NYX_FILE_IO_EXCEPTION(path, error, NYX_FILE_IO_EXCEPTION::RENAME);
}

} // namespace

void nyx_safe_save(const std::string &path, bool durable, const std::function<void(std::ostream &)> &write) {
    TEMPORARY temporary(path);
    write(temporary.os());
    temporary.close(durable, path);
    temporary.rename(path);
    if (durable)
        flush_directory(path);
}
