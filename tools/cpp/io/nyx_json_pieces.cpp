#include "io/nyx_json_pieces.h"

#include "io/nyx_io_error.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr std::size_t s_first_capacity = 1 << 20;

enum KIND : unsigned char { PLAIN, QUOTE, OPEN, CLOSE, COMMA };

constexpr std::array<KIND, 256> s_kinds = [] {
    std::array<KIND, 256> kinds{};
    kinds['"'] = QUOTE;
    kinds['{'] = kinds['['] = OPEN;
    kinds['}'] = kinds[']'] = CLOSE;
    kinds[','] = COMMA;
    return kinds;
}();

bool is_space(char c) {
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

/// Eight bytes at a time: a pretty printed netlist of 200 MB has 20 million lines.
std::uint64_t count_lines(const char *begin, const char *end) {
    std::uint64_t lines = 0;
    constexpr std::uint64_t low = 0x7f7f7f7f7f7f7f7f, breaks = 0x0a0a0a0a0a0a0a0a;
    for (; end - begin >= 8; begin += 8) {
        std::uint64_t word;
        std::memcpy(&word, begin, 8);
        word ^= breaks;
        // The upper bit of each byte that is no break; the product adds the eight bits up in its highest byte.
        const std::uint64_t others = ((((word & low) + low) | word) & ~low) >> 7;
        lines += 8 - (others * 0x0101010101010101 >> 56);
    }
    return lines + std::uint64_t(std::count(begin, end, '\n'));
}

} // namespace

NYX_JSON_PIECES::NYX_JSON_PIECES(NYX_TEXT_INPUT &input, std::size_t padding)
    : m_input(input)
    , m_padding(padding)
    , m_capacity(s_first_capacity)
    , m_buffer(std::make_unique<char[]>(m_capacity + padding)) {
    refill();
    if (m_end >= 3 && std::memcmp(m_buffer.get(), "\xef\xbb\xbf", 3) == 0)
        m_next = 3;
}

bool NYX_JSON_PIECES::refill() {
    if (m_at_end)
        return false;
    if (m_next > 1) {
        // One byte stays in front: who gets what comes next may write there.
        const std::size_t dropped = m_next - 1;
        m_dropped_lines += count_lines(m_buffer.get(), m_buffer.get() + dropped);
        std::memmove(m_buffer.get(), m_buffer.get() + dropped, m_end - dropped);
        m_end -= dropped;
        m_next = 1;
    }
    if (m_end > m_capacity / 2) {
        auto larger = std::make_unique<char[]>(m_capacity * 2 + m_padding);
        std::memcpy(larger.get(), m_buffer.get(), m_end);
        m_buffer = std::move(larger);
        m_capacity *= 2;
    }
    const std::size_t count = m_input.read(m_buffer.get() + m_end, m_capacity - m_end);
    m_end += count;
    m_at_end = count == 0;
    return !m_at_end;
}

char NYX_JSON_PIECES::peek() {
    for (;;) {
        for (; m_next < m_end; ++m_next)
            if (!is_space(m_buffer[m_next]))
                return m_buffer[m_next];
        if (!refill())
            return 0;
    }
}

bool NYX_JSON_PIECES::take_if(char c) {
    if (peek() != c)
        return false;
    ++m_next;
    return true;
}

void NYX_JSON_PIECES::take(char c, const char *what) {
    const char next = peek();
    if (next == 0 && m_next == m_end)
        fail("the text ends where " + std::string(what) + " should come; the file is truncated");
    if (next != c)
        fail("is not JSON: " + std::string(what) + " should come here, not '" + nyx_printable({&next, 1}) + "'");
    ++m_next;
}

std::size_t NYX_JSON_PIECES::find_end(bool members, std::size_t size) {
    std::size_t at = m_next;
    std::size_t depth = 0;
    // Only what is looked at first may move the text, so offsets from m_next survive a refill.
    const auto more = [this, &at] {
        at -= m_next;
        const bool is_more = refill();
        at += m_next;
        return is_more;
    };
    for (;;) {
        while (at < m_end && s_kinds[static_cast<unsigned char>(m_buffer[at])] == PLAIN) {
            // A number or a word, which ends where something else begins.
            if (!members && depth == 0 && at > m_next && is_space(m_buffer[at]))
                return at;
            ++at;
        }
        if (at == m_end) {
            if (more())
                continue;
            if (!members && depth == 0 && at > m_next)
                return at;
            m_next = m_end;
            fail("the text ends in the middle of a value; the file is truncated");
        }
        switch (s_kinds[static_cast<unsigned char>(m_buffer[at])]) {
        case QUOTE:
            for (++at;; ++at) {
                if (at >= m_end && !more()) {
                    m_next = m_end;
                    fail("the text ends in the middle of a string; the file is truncated");
                }
                if (m_buffer[at] == '"')
                    break;
                if (m_buffer[at] == '\\')
                    ++at;
            }
            ++at;
            if (!members && depth == 0)
                return at;
            break;
        case OPEN:
            ++depth;
            ++at;
            break;
        case CLOSE:
            if (depth == 0)
                return at;
            ++at;
            if (--depth == 0 && !members)
                return at;
            break;
        case COMMA:
            if (depth == 0 && (!members || at - m_next >= size))
                return at;
            ++at;
            break;
        case PLAIN:
            break;
        }
    }
}

std::string_view NYX_JSON_PIECES::take_value() {
    peek();
    const std::size_t end = find_end(false, 0);
    const std::string_view text(m_buffer.get() + m_next, end - m_next);
    m_next = end;
    return text;
}

std::string_view NYX_JSON_PIECES::take_members(std::size_t size) {
    if (peek() == '}')
        return {};
    const std::size_t end = find_end(true, size);
    const std::string_view text(m_buffer.get() + m_next, end - m_next);
    m_next = end;
    return text;
}

std::uint64_t NYX_JSON_PIECES::get_line(const char *place) const {
    return 1 + m_dropped_lines + count_lines(m_buffer.get(), std::min<const char *>(place, m_buffer.get() + m_end));
}

void NYX_JSON_PIECES::fail(const std::string &text) const {
    throw NYX_IO_ERROR(nyx_printable(m_input.get_name()) + ":" + std::to_string(get_line()) + ": " + text);
}
