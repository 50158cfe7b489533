#ifndef NYX_CONSOLE_H
#define NYX_CONSOLE_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// What a verb talks to. Data go to standard output, all else to standard error. Colours and the progress bar appear
/// only where they go to a terminal, and NO_COLOR is not set.
class NYX_CONSOLE {
public:
    enum class STYLE { HEADING, NAME, NUMBER, GOOD, BAD, FAINT };

    NYX_CONSOLE();

    /// Set by --json: the verb prints one JSON document and nothing else.
    bool m_json = false;
    /// Set by --quiet: no progress, no notes.
    bool m_quiet = false;

    /// Writes to standard output. Throws std::runtime_error if that fails, but ends quietly when the reader has gone.
    void print(std::string_view text);
    /// A line on standard error.
    void note(std::string_view text);
    void warn(std::string_view text);
    void error(std::string_view text);

    /// The text in its colour, or as it is where there are none.
    std::string paint(STYLE style, std::string_view text) const;
    bool has_colours() const { return m_colours; }
    /// Columns of the terminal, 80 if the output goes elsewhere.
    unsigned get_width() const;

    /// Columns of a table. All rows have as many cells as there are columns.
    struct COLUMN {
        std::string title;
        bool right = false;
    };
    void print_table(const std::vector<COLUMN> &columns, const std::vector<std::vector<std::string>> &rows);

private:
    bool m_colours = false;
};

/// A bar on standard error with the rate and the time left, from the second that something takes on; nothing where that
/// is no terminal. It goes with the object, or before.
class NYX_PROGRESS_BAR {
public:
    /// Never shown if not `wanted`.
    NYX_PROGRESS_BAR(const NYX_CONSOLE &console, std::string label, bool wanted = true);
    ~NYX_PROGRESS_BAR();
    NYX_PROGRESS_BAR(const NYX_PROGRESS_BAR &) = delete;
    NYX_PROGRESS_BAR &operator=(const NYX_PROGRESS_BAR &) = delete;

    /// A new line of work; the clock starts anew. Work that tells no progress has no unit; its label stands alone if a
    /// bar was shown before.
    void start(std::string label, const char *unit);
    /// Takes the bar away, before anything else is printed.
    void finish() { erase(); }
    /// `total` is 0 if unknown. Cheap enough to be called a million times a second.
    void update(std::uint64_t done, std::uint64_t total);

private:
    using CLOCK = std::chrono::steady_clock;
    void erase();
    void show(const std::string &line);

    std::string m_label;
    const char *m_unit = "B";
    bool m_active;
    bool m_shown = false;
    bool m_was_shown = false;
    CLOCK::time_point m_start;
    CLOCK::time_point m_last;
};

/// "1,234,567".
std::string nyx_group_digits(std::uint64_t number);
/// "12.3 MiB".
std::string nyx_human_bytes(std::uint64_t bytes);
/// A bar of `width` columns for a share from 0 to 1, in eighths of a column.
std::string nyx_share_bar(double share, unsigned width);

#endif
