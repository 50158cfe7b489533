#include "cmd/nyx_console.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <libsmartcols/libsmartcols.h>
#include <memory>
#include <stdexcept>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

bool is_terminal_with_colours(int file) {
    const char *const no_color = std::getenv("NO_COLOR");
    const char *const terminal = std::getenv("TERM");
    return isatty(file) && !(no_color && *no_color) && !(terminal && std::strcmp(terminal, "dumb") == 0);
}

const char *get_code(NYX_CONSOLE::STYLE style) {
    switch (style) {
    case NYX_CONSOLE::STYLE::HEADING:
        return "\033[1m";
    case NYX_CONSOLE::STYLE::NAME:
        return "\033[36m";
    case NYX_CONSOLE::STYLE::NUMBER:
        return "\033[33m";
    case NYX_CONSOLE::STYLE::GOOD:
        return "\033[32m";
    case NYX_CONSOLE::STYLE::BAD:
        return "\033[1;31m";
    case NYX_CONSOLE::STYLE::FAINT:
        return "\033[2m";
    }
    return "";
}

void write_error_line(std::string_view kind, const char *code, std::string_view text) {
    std::string line = "nyx: ";
    if (is_terminal_with_colours(STDERR_FILENO) && *code)
        line += code + std::string(kind) + "\033[0m";
    else
        line += kind;
    line += text;
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace

namespace {

/// As much as leaves room for the text beside it: a line that wraps can't be taken back.
unsigned get_bar_width() {
    constexpr unsigned most = 24;
    constexpr unsigned others = 54;
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return most;
    return std::clamp<unsigned>(size.ws_col, others + 1, others + most) - others;
}

std::string tell_seconds(double seconds) {
    char text[40];
    std::snprintf(text, sizeof(text), seconds < 99.5 ? "%.0f s" : "%.0f min", seconds < 99.5 ? seconds : seconds / 60);
    return text;
}

} // namespace

NYX_CONSOLE::NYX_CONSOLE() : m_colours(is_terminal_with_colours(STDOUT_FILENO)) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
}

void NYX_CONSOLE::print(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) {
        if (errno == EPIPE)
            std::_Exit(2);
        throw std::runtime_error(std::string("standard output can't be written: ") + std::strerror(errno));
    }
}

void NYX_CONSOLE::note(std::string_view text) {
    if (!m_quiet)
        write_error_line("", "", text);
}

void NYX_CONSOLE::warn(std::string_view text) {
    write_error_line("warning: ", "\033[1;33m", text);
}

void NYX_CONSOLE::error(std::string_view text) {
    write_error_line("", "", text);
}

std::string NYX_CONSOLE::paint(STYLE style, std::string_view text) const {
    return m_colours ? get_code(style) + std::string(text) + "\033[0m" : std::string(text);
}

unsigned NYX_CONSOLE::get_width() const {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

void NYX_CONSOLE::print_table(const std::vector<COLUMN> &columns, const std::vector<std::vector<std::string>> &rows) {
    const auto check = [](int result) {
        if (result < 0)
            throw std::bad_alloc();
    };
    const std::unique_ptr<libscols_table, void (*)(libscols_table *)> table(scols_new_table(), scols_unref_table);
    if (!table)
        throw std::bad_alloc();
    check(scols_table_enable_noencoding(table.get(), 1)); // names may hold any bytes, and our bars are no controls
    check(scols_table_set_termforce(table.get(), SCOLS_TERMFORCE_NEVER)); // never cut: what is cut can't be used
    if (m_colours)
        check(scols_table_enable_colors(table.get(), 1));
    for (const COLUMN &column : columns) {
        libscols_column *const made =
            scols_table_new_column(table.get(), column.title.c_str(), 0, column.right ? SCOLS_FL_RIGHT : 0);
        if (!made)
            throw std::bad_alloc();
        if (m_colours)
            check(scols_cell_set_color(scols_column_get_header(made), "\033[1m"));
    }
    for (const std::vector<std::string> &row : rows) {
        libscols_line *const line = scols_table_new_line(table.get(), nullptr);
        if (!line)
            throw std::bad_alloc();
        for (std::size_t i = 0; i < row.size(); ++i)
            check(scols_line_set_data(line, i, row[i].c_str()));
    }
    char *text = nullptr;
    check(scols_print_table_to_string(table.get(), &text));
    const std::unique_ptr<char, void (*)(void *)> owner(text, std::free);
    // The library pads the last column too; nobody wants blanks at the end of a line.
    std::string result;
    std::string_view left(text);
    while (!left.empty()) {
        const std::size_t end = left.find('\n');
        const std::string_view line = left.substr(0, end);
        result.append(line.substr(0, line.find_last_not_of(' ') + 1)).push_back('\n');
        left = end == left.npos ? std::string_view() : left.substr(end + 1);
    }
    print(result);
}

NYX_PROGRESS_BAR::NYX_PROGRESS_BAR(const NYX_CONSOLE &console, std::string label, bool wanted)
    : m_label(std::move(label))
    , m_active(wanted && !console.m_quiet && isatty(STDERR_FILENO))
    , m_start(CLOCK::now())
    , m_last(m_start) {
    const char *const terminal = std::getenv("TERM");
    if (terminal && std::strcmp(terminal, "dumb") == 0)
        m_active = false;
}

NYX_PROGRESS_BAR::~NYX_PROGRESS_BAR() {
    erase();
}

void NYX_PROGRESS_BAR::erase() {
    if (m_shown)
        std::fputs("\r\033[K", stderr);
    m_shown = false;
}

void NYX_PROGRESS_BAR::start(std::string label, const char *unit) {
    erase();
    m_label = std::move(label);
    m_unit = unit;
    m_start = m_last = CLOCK::now();
    if (m_was_shown && !*unit)
        show(m_label.append(" ..."));
}

void NYX_PROGRESS_BAR::show(const std::string &line) {
    std::fprintf(stderr, "\r%s\033[K", line.c_str());
    std::fflush(stderr);
    m_shown = m_was_shown = true;
}

void NYX_PROGRESS_BAR::update(std::uint64_t done, std::uint64_t total) {
    if (!m_active)
        return;
    const CLOCK::time_point now = CLOCK::now();
    if (now - m_start < std::chrono::seconds(1) || now - m_last < std::chrono::milliseconds(100))
        return;
    m_last = now;
    const double seconds = std::chrono::duration<double>(now - m_start).count();
    const double rate = double(done) / seconds;
    const bool is_bytes = std::string_view(m_unit) == "B";
    const std::string speed = is_bytes ? nyx_human_bytes(std::uint64_t(rate)) + "/s"
                                       : nyx_group_digits(std::uint64_t(rate)) + " " + m_unit + "/s";
    std::string line = m_label + " ";
    line.resize(std::max<std::size_t>(line.size(), 9), ' '); // the bars of several lines of work stand in one place
    if (total > 0) {
        const double share = std::min(1.0, double(done) / double(total));
        const double left = rate > 0 ? double(total - std::min(done, total)) / rate : 0.0;
        char percent[16];
        std::snprintf(percent, sizeof(percent), "| %3.0f%% ", share * 100);
        line += "|" + nyx_share_bar(share, get_bar_width()) + percent + speed + ", " + tell_seconds(left) + " left";
    } else
        line += (is_bytes ? nyx_human_bytes(done) : nyx_group_digits(done)) + ", " + speed;
    show(line);
}

std::string nyx_group_digits(std::uint64_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t at = digits.size(); at > 3; at -= 3)
        digits.insert(at - 3, ",");
    return digits;
}

std::string nyx_human_bytes(std::uint64_t bytes) {
    static constexpr std::array<const char *, 5> s_units = {"B", "KiB", "MiB", "GiB", "TiB"};
    std::size_t unit = 0;
    double value = double(bytes);
    while (value >= 1023.95 && unit + 1 < s_units.size()) {
        value /= 1024;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof(text), unit == 0 ? "%.0f %s" : "%.1f %s", value, s_units[unit]);
    return text;
}

std::string nyx_share_bar(double share, unsigned width) {
    static constexpr std::array<const char *, 8> s_parts = {"",       "\u258f", "\u258e", "\u258d",
                                                            "\u258c", "\u258b", "\u258a", "\u2589"};
    const auto eighths = unsigned(std::clamp(share, 0.0, 1.0) * width * 8 + 0.5);
    std::string bar;
    for (unsigned i = 0; i < eighths / 8; ++i)
        bar += "\u2588";
    bar += s_parts[eighths % 8];
    bar.append(width - eighths / 8 - (eighths % 8 != 0), ' ');
    return bar;
}
