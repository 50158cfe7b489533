#ifndef NYX_FAILING_FILE_SYSTEM_H
#define NYX_FAILING_FILE_SYSTEM_H

#include "file/nyx_file_system.h"

#include <cerrno>
#include <limits>
#include <string>
#include <vector>

/// In use for its lifetime. Counts the calls, and fails the one with the number `fail_at`; with `all_from_there` the
/// later ones of its kind too, as on a full disk. Before a write fails it takes a part of the bytes.
class FAILING_FILE_SYSTEM final : public NYX_FILE_SYSTEM {
public:
    explicit FAILING_FILE_SYSTEM(std::size_t fail_at = s_never, bool all_from_there = false)
        : m_fail_at(fail_at)
        , m_all_from_there(all_from_there)
        , m_previous(exchange(*this)) {}
    ~FAILING_FILE_SYSTEM() override { exchange(m_previous); }

    /// Names of the calls, in order.
    const std::vector<std::string> &calls() const { return m_calls; }
    bool has_failed() const { return m_failed; }

    int open(const char *path, int flags, mode_t mode) override {
        return fails("open", EMFILE) ? -1 : NYX_FILE_SYSTEM::open(path, flags, mode);
    }
    ssize_t read(int fd, void *data, std::size_t size) override {
        return fails("read", EIO) ? -1 : NYX_FILE_SYSTEM::read(fd, data, size);
    }
    ssize_t write(int fd, const void *data, std::size_t size) override {
        if (!fails("write", ENOSPC))
            return NYX_FILE_SYSTEM::write(fd, data, size);
        if (size > 1 && m_num_failed == 1) {
            m_fail_at = m_calls.size();
            return NYX_FILE_SYSTEM::write(fd, data, size / 2);
        }
        errno = ENOSPC;
        return -1;
    }
    off_t lseek(int fd, off_t offset, int whence) override {
        return fails("lseek", EIO) ? -1 : NYX_FILE_SYSTEM::lseek(fd, offset, whence);
    }
    int fsync(int fd) override { return fails("fsync", EIO) ? -1 : NYX_FILE_SYSTEM::fsync(fd); }
    int fchmod(int fd, mode_t mode) override { return fails("fchmod", EPERM) ? -1 : NYX_FILE_SYSTEM::fchmod(fd, mode); }
    int close(int fd) override {
        // The descriptor goes all the same, as the system does it.
        const bool failed = fails("close", EIO);
        const int result = NYX_FILE_SYSTEM::close(fd);
        errno = failed ? EIO : errno;
        return failed ? -1 : result;
    }
    int rename(const char *from, const char *to) override {
        return fails("rename", EXDEV) ? -1 : NYX_FILE_SYSTEM::rename(from, to);
    }
    int unlink(const char *path) override { return NYX_FILE_SYSTEM::unlink(path); }

private:
    static constexpr std::size_t s_never = std::numeric_limits<std::size_t>::max();

    bool fails(const char *call, int error) {
        m_calls.emplace_back(call);
        const bool now = m_calls.size() - 1 == m_fail_at;
        const bool still = m_all_from_there && m_failed && m_failing_call == call;
        if (!now && !still)
            return false;
        m_failed = true;
        m_failing_call = call;
        ++m_num_failed;
        errno = error;
        return true;
    }

    std::size_t m_fail_at;
    const bool m_all_from_there;
    std::vector<std::string> m_calls;
    std::string m_failing_call;
    bool m_failed = false;
    int m_num_failed = 0;
    NYX_FILE_SYSTEM &m_previous;
};

#endif
