#include "nyx_report/nyx_report.h"

#include <boost/format.hpp>

#include <algorithm>
#include <functional>
#include <map>
#include <mutex>

namespace NYX_REPORT {

namespace {

struct TABLE_ENTRY {
    const char *code;
    const char *text;
};

constexpr TABLE_ENTRY s_table[] = {
#define NYX_REPORT_MESSAGE(code, text) {code, text},
#include "nyx_report_messages.def"
};

/// `text` as a boost::format string that prints it.
std::string quoted_for_format(std::string_view text) {
    std::string result;
    for (const char c : text) {
        result.append(c == '%' ? 2 : 1, c);
    }
    return result;
}

} // namespace

NYX_REPORT_MESSAGE_CODE::NYX_REPORT_MESSAGE_CODE(std::string code, std::string text)
    : m_code(std::move(code))
    , m_text(std::move(text)) {}

boost::format NYX_REPORT_MESSAGE_CODE::to_boost() const {
    boost::format format(m_text);
    format.exceptions(boost::io::all_error_bits ^ (boost::io::too_many_args_bit | boost::io::too_few_args_bit));
    return format;
}

/// Nodes of a map stay where they are, so what get() hands out survives load() and other codes.
struct NYX_REPORT_MESSAGE_CODE_DB::IMPL {
    using MESSAGES = std::map<std::string, NYX_REPORT_MESSAGE_CODE, std::less<>>;

    mutable std::mutex mutex; ///< guards both
    MESSAGES known;
    MESSAGES unknown; ///< codes that were asked for in vain, kept apart so that load() does not meet them
};

NYX_REPORT_MESSAGE_CODE_DB::NYX_REPORT_MESSAGE_CODE_DB() : m_impl(std::make_unique<IMPL>()) {}

NYX_REPORT_MESSAGE_CODE_DB::~NYX_REPORT_MESSAGE_CODE_DB() = default;

void NYX_REPORT_MESSAGE_CODE_DB::load() {
    const std::lock_guard lock(m_impl->mutex);
    if (m_impl->known.size() == std::size(s_table)) {
        return;
    }
    for (const TABLE_ENTRY &entry : s_table) {
        m_impl->known.try_emplace(entry.code, entry.code, entry.text);
    }
}

const NYX_REPORT_MESSAGE_CODE &NYX_REPORT_MESSAGE_CODE_DB::get(std::string_view code) {
    const std::lock_guard lock(m_impl->mutex);
    if (const auto found = m_impl->known.find(code); found != m_impl->known.end()) {
        return found->second;
    }
    if (const auto found = m_impl->unknown.find(code); found != m_impl->unknown.end()) {
        return found->second;
    }
    const std::string name(code);
    const std::string text = "Unknown message code \"" + quoted_for_format(code) + "\": %1%";
    return m_impl->unknown.try_emplace(name, name, text).first->second;
}

bool NYX_REPORT_MESSAGE_CODE_DB::contains(std::string_view code) const {
    const std::lock_guard lock(m_impl->mutex);
    return m_impl->known.contains(code);
}

std::size_t NYX_REPORT_MESSAGE_CODE_DB::size() const {
    const std::lock_guard lock(m_impl->mutex);
    return m_impl->known.size();
}

void load_message_codes() {
    get_msg_db()->load();
}

NYX_REPORT_MESSAGE_CODE_DB *get_msg_db() {
    static NYX_REPORT_MESSAGE_CODE_DB *const s_db = new NYX_REPORT_MESSAGE_CODE_DB;
    return s_db;
}

} // namespace NYX_REPORT

std::string nyx_format_message_code(std::string_view code, std::initializer_list<std::string_view> arguments) {
    NYX_REPORT::load_message_codes();
    boost::format format = NYX_REPORT::get_msg_db()->get(code).to_boost();
    const auto expected = static_cast<std::size_t>(std::max(format.expected_args(), 0));

    std::size_t fed = 0;
    std::string surplus;
    for (const std::string_view argument : arguments) {
        if (fed < expected) {
            format % argument;
            ++fed;
        } else {
            surplus.append(surplus.empty() ? " (" : ", ").append(argument);
        }
    }
    for (; fed < expected; ++fed) {
        format % "<no arg provided>";
    }
    return format.str() + (surplus.empty() ? surplus : surplus + ')');
}
