#include "support/capturing_sink.h"

#include <mutex>

class CAPTURING_SINK::SINK final : public NYX_REPORT::SINK {
public:
    void write(NYX_REPORT::SEVERITY severity, std::string_view text) override {
        const std::lock_guard lock(m_mutex);
        m_lines.push_back({severity, std::string(text)});
    }

    std::vector<LINE> lines() const {
        const std::lock_guard lock(m_mutex);
        return m_lines;
    }

    void clear() {
        const std::lock_guard lock(m_mutex);
        m_lines.clear();
    }

private:
    mutable std::mutex m_mutex;
    std::vector<LINE> m_lines;
};

CAPTURING_SINK::CAPTURING_SINK() : m_sink(std::make_shared<SINK>()), m_previous(NYX_REPORT::set_sink(m_sink)) {}

CAPTURING_SINK::~CAPTURING_SINK() {
    NYX_REPORT::set_sink(std::move(m_previous));
}

std::vector<CAPTURING_SINK::LINE> CAPTURING_SINK::lines() const {
    return m_sink->lines();
}

std::vector<std::string> CAPTURING_SINK::texts(NYX_REPORT::SEVERITY severity) const {
    std::vector<std::string> result;
    for (LINE &line : m_sink->lines()) {
        if (line.severity == severity) {
            result.push_back(std::move(line.text));
        }
    }
    return result;
}

void CAPTURING_SINK::clear() {
    m_sink->clear();
}
