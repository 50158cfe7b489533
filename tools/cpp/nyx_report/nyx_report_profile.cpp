#include "nyx_report_internal.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <ostream>
#include <vector>

#include <unistd.h>

namespace NYX_REPORT {

namespace {

/// A scope that was left while the trace was recorded.
struct EVENT {
    std::string name;
    long long start_ns;
    long long duration_ns;
    unsigned int thread;
};

/// Never destroyed: scopes may be left in static destructors.
struct TRACE {
    std::atomic<bool> recording{false}; ///< read without the mutex where a stale answer does no harm
    std::mutex mutex;                   ///< guards all below
    long long start_ns = 0;
    std::vector<EVENT> events;
    std::string path_at_exit;
};

TRACE &trace() {
    static TRACE *const s_trace = new TRACE;
    return *s_trace;
}

long long now_ns() {
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Threads are numbered in the order in which they record first: small numbers read better than the system's.
unsigned int thread_number() {
    static std::atomic<unsigned int> s_count{0};
    thread_local const unsigned int s_number = ++s_count;
    return s_number;
}

void write_trace_at_exit() {
    const std::string &path = trace().path_at_exit;
    std::ofstream out(path, std::ios::binary);
    write_trace(out);
    out.close();
    if (!out) {
        warn("Cannot write the trace file \"%s\"", path.c_str());
    }
}

bool start_trace_from_environment() {
    if (!detail::is_environment_set("NYX_REPORT_TRACE")) {
        return false;
    }
    trace().path_at_exit = std::getenv("NYX_REPORT_TRACE");
    start_trace();
    return std::atexit(write_trace_at_exit) == 0;
}

void append_json_string(std::string &out, std::string_view text) {
    out += '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[7];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned int>(c));
            out += escaped;
        } else {
            out += c;
        }
    }
    out += '"';
}

/// Nanoseconds as the format's unit, microseconds, without a loss.
void append_microseconds(std::string &out, long long ns) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%lld.%03lld", ns / 1000, ns % 1000);
    out += digits;
}

void append_event(std::string &out, const EVENT &event, long long trace_start_ns, const std::string &process) {
    out += "{\"name\":";
    append_json_string(out, event.name);
    out += ",\"cat\":\"nyx\",\"ph\":\"X\",\"ts\":";
    append_microseconds(out, event.start_ns - trace_start_ns);
    out += ",\"dur\":";
    append_microseconds(out, event.duration_ns);
    out += ",\"pid\":" + process + ",\"tid\":" + std::to_string(event.thread) + '}';
}

} // namespace

NYX_REPORT_PROFILE::NYX_REPORT_PROFILE(const char *name) : m_name(name), m_start_ns(-1) {
    [[maybe_unused]] static const bool s_started = start_trace_from_environment();
    if (trace().recording.load(std::memory_order_relaxed)) {
        m_start_ns = now_ns();
    }
}

NYX_REPORT_PROFILE::~NYX_REPORT_PROFILE() {
    TRACE &global = trace();
    if (m_start_ns < 0 || !global.recording.load(std::memory_order_relaxed)) {
        return;
    }
    const long long end_ns = now_ns();
    try {
        const std::lock_guard lock(global.mutex);
        // A scope of an earlier recording is older than this one's start.
        if (global.recording.load(std::memory_order_relaxed) && m_start_ns >= global.start_ns) {
            global.events.push_back({m_name, m_start_ns, end_ns - m_start_ns, thread_number()});
        }
    } catch (...) {
        // A trace that lacks an event is no reason to end the run.
    }
}

void start_trace() {
    TRACE &global = trace();
    const std::lock_guard lock(global.mutex);
    global.events.clear();
    global.start_ns = now_ns();
    global.recording = true;
}

void write_trace(std::ostream &out) {
    TRACE &global = trace();
    std::string text = "{\"displayTimeUnit\":\"ns\",\"traceEvents\":[";
    {
        const std::lock_guard lock(global.mutex);
        global.recording = false;
        const std::string process = std::to_string(::getpid());
        const char *separator = "\n";
        for (const EVENT &event : global.events) {
            text += separator;
            append_event(text, event, global.start_ns, process);
            separator = ",\n";
        }
    }
    text += "\n]}\n";
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

} // namespace NYX_REPORT
