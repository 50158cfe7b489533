#include "io/nyx_temporary_path.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

/// Where the handler looks: memory that is always there. An empty text is a free slot.
constexpr std::size_t s_max_length = 4096;
std::array<std::array<char, s_max_length>, 4> s_slots{};

/// Removes the files of a folder by system calls only, as nothing else may be done when a signal comes.
void empty_folder(const char *path) {
    const int folder = open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0)
        return;
    alignas(8) std::array<char, 4096> buffer;
    for (;;) {
        const long count = syscall(SYS_getdents64, folder, buffer.data(), buffer.size());
        if (count <= 0)
            break;
        // An entry is two numbers of 8 bytes, its length in 2, its kind in 1, and the name.
        for (long at = 0; at < count;) {
            std::uint16_t length = 0;
            std::memcpy(&length, buffer.data() + at + 16, sizeof(length));
            unlinkat(folder, buffer.data() + at + 19, 0); // fails for folders, "." and ".." among them
            at += length;
        }
    }
    close(folder);
}

void clean_up(int signal) {
    for (const auto &slot : s_slots)
        if (slot[0] != 0 && unlink(slot.data()) != 0) {
            empty_folder(slot.data());
            rmdir(slot.data());
        }
    // The handler is gone by now, so this ends the program as if there had been none.
    raise(signal);
}

} // namespace

NYX_TEMPORARY_PATH::NYX_TEMPORARY_PATH(std::string path) : m_path(std::move(path)) {
    const std::string full = fs::absolute(m_path).string();
    for (std::size_t i = 0; i < s_slots.size() && m_slot < 0 && full.size() < s_max_length; ++i)
        if (s_slots[i][0] == 0) {
            // The first character last: the handler may come in between.
            std::strcpy(s_slots[i].data() + 1, full.c_str() + 1);
            std::atomic_signal_fence(std::memory_order_release);
            s_slots[i][0] = full[0];
            m_slot = int(i);
        }
}

NYX_TEMPORARY_PATH::~NYX_TEMPORARY_PATH() {
    if (m_path.empty())
        return;
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
    release();
}

void NYX_TEMPORARY_PATH::release() {
    if (m_slot >= 0)
        s_slots[std::size_t(m_slot)][0] = 0;
    m_slot = -1;
    m_path.clear();
}

void NYX_TEMPORARY_PATH::remove_at_signals() {
    struct sigaction action {};
    action.sa_handler = clean_up;
    action.sa_flags = int(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction old {};
        // A program that was told to ignore a signal goes on to do so.
        if (sigaction(signal, nullptr, &old) == 0 && old.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
}

std::string nyx_follow_links(const std::string &path) {
    fs::path target = path;
    std::error_code error;
    for (int i = 0; i < 40 && fs::is_symlink(target, error); ++i) {
        const fs::path next = fs::read_symlink(target, error);
        if (error)
            break;
        target = next.is_absolute() ? next : target.parent_path() / next;
    }
    return target.string();
}
