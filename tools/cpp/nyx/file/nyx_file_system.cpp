#include "file/nyx_file_system.h"

#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::atomic<NYX_FILE_SYSTEM *> s_in_use{nullptr};

NYX_FILE_SYSTEM &real() {
    static NYX_FILE_SYSTEM *const s_real = new NYX_FILE_SYSTEM;
    return *s_real;
}

} // namespace

NYX_FILE_SYSTEM &NYX_FILE_SYSTEM::get() {
    NYX_FILE_SYSTEM *const in_use = s_in_use.load(std::memory_order_acquire);
    return in_use != nullptr ? *in_use : real();
}

NYX_FILE_SYSTEM &NYX_FILE_SYSTEM::exchange(NYX_FILE_SYSTEM &other) {
    NYX_FILE_SYSTEM *const previous = s_in_use.exchange(&other, std::memory_order_acq_rel);
    return previous != nullptr ? *previous : real();
}

NYX_FILE_SYSTEM::~NYX_FILE_SYSTEM() = default;

int NYX_FILE_SYSTEM::open(const char *path, int flags, mode_t mode) {
    return ::open(path, flags, mode);
}

ssize_t NYX_FILE_SYSTEM::read(int fd, void *data, std::size_t size) {
    return ::read(fd, data, size);
}

ssize_t NYX_FILE_SYSTEM::write(int fd, const void *data, std::size_t size) {
    return ::write(fd, data, size);
}

off_t NYX_FILE_SYSTEM::lseek(int fd, off_t offset, int whence) {
    return ::lseek(fd, offset, whence);
}

int NYX_FILE_SYSTEM::fsync(int fd) {
    return ::fsync(fd);
}

int NYX_FILE_SYSTEM::fchmod(int fd, mode_t mode) {
    return ::fchmod(fd, mode);
}

int NYX_FILE_SYSTEM::close(int fd) {
    return ::close(fd);
}

int NYX_FILE_SYSTEM::rename(const char *from, const char *to) {
    return std::rename(from, to);
}

int NYX_FILE_SYSTEM::unlink(const char *path) {
    return ::unlink(path);
}
