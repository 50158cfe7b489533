#ifndef NYX_TEMPORARY_PATH_H
#define NYX_TEMPORARY_PATH_H

#include <string>

/// A file, or a folder with files in it, that goes with the object; or with the program, if a signal ends that and
/// remove_at_signals() has been called.
class NYX_TEMPORARY_PATH {
public:
    /// Makes nothing itself.
    explicit NYX_TEMPORARY_PATH(std::string path);
    ~NYX_TEMPORARY_PATH();
    NYX_TEMPORARY_PATH(const NYX_TEMPORARY_PATH &) = delete;
    NYX_TEMPORARY_PATH &operator=(const NYX_TEMPORARY_PATH &) = delete;

    const std::string &get() const { return m_path; }
    /// What is there now stays.
    void release();

    /// Interrupts, hang-ups and requests to end go on to end the program, but clean up first. For a program's main().
    static void remove_at_signals();

private:
    std::string m_path;
    int m_slot = -1;
};

/// The path of the file that a write to `path` reaches: links are followed, to a file that isn't there too.
std::string nyx_follow_links(const std::string &path);

#endif
