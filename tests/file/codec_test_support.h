#ifndef NYX_CODEC_TEST_SUPPORT_H
#define NYX_CODEC_TEST_SUPPORT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

/// A stream to write to that keeps what each call wrote. Refers to its calls, so it may be moved into a coder.
class SINK_STREAM {
public:
    explicit SINK_STREAM(std::vector<std::string> &writes) : m_writes(&writes) {}
    void write(const char *data, std::size_t size) { m_writes->emplace_back(data, size); }

private:
    std::vector<std::string> *m_writes;
};

/// A stream to read from that tells how much it read.
class SOURCE_STREAM {
public:
    explicit SOURCE_STREAM(std::string text, std::size_t *reads = nullptr) : m_text(std::move(text)), m_reads(reads) {}
    std::size_t read(char *data, std::size_t size) {
        const std::size_t got = std::min(size, m_text.size() - m_at);
        std::memcpy(data, m_text.data() + m_at, got);
        m_at += got;
        if (m_reads != nullptr)
            ++*m_reads;
        return got;
    }

private:
    std::string m_text;
    std::size_t m_at = 0;
    std::size_t *m_reads;
};

inline std::string joined(const std::vector<std::string> &writes) {
    std::string result;
    for (const std::string &write : writes)
        result += write;
    return result;
}

inline std::string size_word(std::uint32_t size) {
    return std::string(reinterpret_cast<const char *>(&size), sizeof(size));
}

/// Bytes that no coder makes smaller.
inline std::string noise(std::size_t size, unsigned seed = 1) {
    std::mt19937 generator(seed);
    std::string result(size, '\0');
    for (char &c : result)
        c = static_cast<char>(generator());
    return result;
}

/// Bytes with some structure.
inline std::string text_of(std::size_t size) {
    std::string result;
    for (unsigned i = 0; result.size() < size; ++i)
        result += "row " + std::to_string(i * 7919 % 1000) + ' ';
    result.resize(size);
    return result;
}

#endif
