#ifndef NYX_JSON_PIECES_H
#define NYX_JSON_PIECES_H

#include "io/nyx_text_input.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

/// Cuts a JSON text of any length into pieces that a parser can take one by one, holding no more of it than the piece
/// and the next megabyte. It finds where values end and no more: what is in a piece is for its parser to check.
///
/// Text that is returned stays until the next call of anything but the queries. What follows it in memory may be read
/// up to get_padding() bytes, and the bytes just before and behind it may be overwritten until then.
class NYX_JSON_PIECES {
public:
    NYX_JSON_PIECES(NYX_TEXT_INPUT &input, std::size_t padding);

    /// The next character that is no white space, without taking it; 0 at the end.
    char peek();
    /// Takes `c`, which must be what peek() would give; `what` names what is expected there, for the message.
    void take(char c, const char *what);
    /// Takes `c` if it comes next.
    bool take_if(char c);

    /// The next value, from its first to its last character.
    std::string_view take_value();
    /// Members of the object whose brace, or a member's comma, was taken last: whole ones, and no more than it takes to
    /// have `size` bytes. Empty if there is none. What ended them, a comma or the brace, is not taken.
    std::string_view take_members(std::size_t size);

    /// The number of the line that holds `place`, which is in the text that was returned last.
    std::uint64_t get_line(const char *place) const;
    /// The line of what comes next.
    std::uint64_t get_line() const { return get_line(m_buffer.get() + m_next); }

    /// "FILE:LINE: TEXT" for what comes next.
    [[noreturn]] void fail(const std::string &text) const;

private:
    /// Drops what is before m_next and reads more behind what is there. False at the end.
    bool refill();
    /// The offset behind the value that begins at m_next, or, for members, of what ends them.
    std::size_t find_end(bool members, std::size_t size);

    NYX_TEXT_INPUT &m_input;
    std::size_t m_padding;
    std::size_t m_capacity;
    std::unique_ptr<char[]> m_buffer;
    std::size_t m_next = 0;
    std::size_t m_end = 0;
    bool m_at_end = false;
    /// Line breaks in what was dropped.
    std::uint64_t m_dropped_lines = 0;
};

#endif
