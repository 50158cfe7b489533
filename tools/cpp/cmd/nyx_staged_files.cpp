#include "cmd/nyx_staged_files.h"

#include "io/nyx_io_error.h"

#include <unistd.h>

namespace fs = std::filesystem;

std::string NYX_STAGED_FILES::add(const std::string &target) {
    const fs::path path = fs::absolute(nyx_follow_links(target));
    std::error_code error;
    if (fs::is_directory(path, error))
        throw NYX_IO_ERROR(nyx_printable(target) + ": is a directory");
    if (fs::exists(path, error) && !fs::is_regular_file(path, error))
        throw NYX_IO_ERROR(nyx_printable(target) + ": is no plain file");
    if (fs::exists(path, error) && access(path.c_str(), W_OK) != 0)
        throw NYX_IO_ERROR(nyx_printable(target) + ": is write-protected");
    std::unique_ptr<NYX_TEMPORARY_PATH> &folder = m_folders[path.parent_path()];
    if (!folder) {
        const fs::path made = path.parent_path() / (".nyx.part" + std::to_string(getpid()));
        fs::remove_all(made, error); // an earlier program had our number
        if (!fs::create_directory(made, error))
            throw NYX_IO_ERROR(nyx_printable(target) + ": can't be written: " + error.message());
        folder = std::make_unique<NYX_TEMPORARY_PATH>(made.string());
    }
    m_files.push_back({fs::path(folder->get()) / path.filename(), path});
    return m_files.back().staged.string();
}

void NYX_STAGED_FILES::finish() {
    std::error_code error;
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        FILE &file = m_files[i];
        if (fs::exists(file.target, error)) {
            file.backup = file.staged;
            file.backup += ".before";
            fs::create_hard_link(file.target, file.backup, error);
            if (error)
                file.backup.clear(); // a file system without links; the rename is likely to succeed nevertheless
        }
        fs::rename(file.staged, file.target, error);
        if (error) {
            undo(i);
            throw NYX_IO_ERROR(nyx_printable(file.target.string()) + ": can't be written: " + error.message());
        }
    }
    m_files.clear();
    m_folders.clear();
}

void NYX_STAGED_FILES::undo(std::size_t num_done) {
    std::error_code ignored;
    for (std::size_t i = num_done; i-- > 0;)
        if (m_files[i].backup.empty())
            fs::remove(m_files[i].target, ignored);
        else
            fs::rename(m_files[i].backup, m_files[i].target, ignored);
}
