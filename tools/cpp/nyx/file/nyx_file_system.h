#ifndef NYX_FILE_SYSTEM_H
#define NYX_FILE_SYSTEM_H

/// \file
/// The system calls on files, behind one object that tests put another one in for: what a full disk does can't be
/// waited for.

#include <cstddef>
#include <sys/types.h>

/// Each member is the system call of its name, with the same result and errno.
class NYX_FILE_SYSTEM {
public:
    /// The one in use.
    static NYX_FILE_SYSTEM &get();
    /// Puts `other` in use, which stays its owner's, and returns the previous one. Not while another thread works on
    /// files.
    static NYX_FILE_SYSTEM &exchange(NYX_FILE_SYSTEM &other);

    NYX_FILE_SYSTEM() = default;
    NYX_FILE_SYSTEM(const NYX_FILE_SYSTEM &) = delete;
    NYX_FILE_SYSTEM &operator=(const NYX_FILE_SYSTEM &) = delete;
    virtual ~NYX_FILE_SYSTEM();

    virtual int open(const char *path, int flags, mode_t mode);
    virtual ssize_t read(int fd, void *data, std::size_t size);
    virtual ssize_t write(int fd, const void *data, std::size_t size);
    virtual off_t lseek(int fd, off_t offset, int whence);
    virtual int fsync(int fd);
    virtual int fchmod(int fd, mode_t mode);
    virtual int close(int fd);
    virtual int rename(const char *from, const char *to);
    virtual int unlink(const char *path);
};

#endif
