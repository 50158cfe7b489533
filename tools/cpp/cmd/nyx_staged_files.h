#ifndef NYX_STAGED_FILES_H
#define NYX_STAGED_FILES_H

#include "io/nyx_temporary_path.h"

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// Files that come to their places together: all of them, or none and what was there before. Until finish() they lie in
/// a hidden folder beside their places, which goes with the object. All failures are NYX_IO_ERROR with the place.
class NYX_STAGED_FILES {
public:
    /// Where to write the file that will be at `target`: a path with the same last component. Throws for a target that
    /// could not be replaced. Links are followed.
    std::string add(const std::string &target);
    void finish();

private:
    struct FILE {
        std::filesystem::path staged;
        std::filesystem::path target;
        /// A second name of what is there now; empty if there is nothing.
        std::filesystem::path backup = {};
    };
    void undo(std::size_t num_done);

    std::map<std::filesystem::path, std::unique_ptr<NYX_TEMPORARY_PATH>> m_folders;
    std::vector<FILE> m_files;
};

#endif
