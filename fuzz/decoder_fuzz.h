#ifndef NYX_DECODER_FUZZ_H
#define NYX_DECODER_FUZZ_H

/// \file
/// What the fuzz targets of the decoders do alike. An input is a chunk size and a number of wanted bytes, two bytes
/// each, and a payload. The payload is decoded in one piece and in two, which must agree; then it is encoded, and has
/// to come back.

#include "nyx_common/nyx_common_collet_decoders.h"
#include "nyx_common/nyx_common_collet_encoders.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

class STRING_SINK {
public:
    explicit STRING_SINK(std::string &text) : m_text(&text) {}
    void write(const char *data, std::size_t size) { m_text->append(data, size); }

private:
    std::string *m_text;
};

class STRING_SOURCE {
public:
    explicit STRING_SOURCE(const std::string &text) : m_text(&text) {}
    std::size_t read(char *data, std::size_t size) {
        const std::size_t got = std::min(size, m_text->size() - m_at);
        std::memcpy(data, m_text->data() + m_at, got);
        m_at += got;
        return got;
    }

private:
    const std::string *m_text;
    std::size_t m_at = 0;
};

inline void require(bool holds) {
    if (!holds)
        std::abort();
}

template <class DECODER, class MAKE_ENCODER>
int fuzz_decoder(const std::uint8_t *data, std::size_t size, MAKE_ENCODER &&make_encoder) {
    using REASON = NYX::COLLET_DECODER_FAILURE::REASON;
    if (size < 4)
        return 0;
    const unsigned chunk_size = data[0] + 256u * data[1] + 1;
    const std::size_t wanted = data[2] + 256u * data[3];
    const std::string payload(reinterpret_cast<const char *>(data) + 4, size - 4);

    std::string whole(wanted, '\0'), parts(wanted, '\0');
    const REASON reason = DECODER(chunk_size, STRING_SOURCE(payload)).decode(whole).reason;
    DECODER in_two(chunk_size, STRING_SOURCE(payload));
    REASON reason_of_parts = in_two.decode(gsl::make_span(parts.data(), wanted / 3)).reason;
    if (reason_of_parts == REASON::none)
        reason_of_parts = in_two.decode(gsl::make_span(parts.data() + wanted / 3, wanted - wanted / 3)).reason;
    require(reason == reason_of_parts);
    require(reason != REASON::none || whole == parts);

    std::string encoded;
    require(make_encoder(chunk_size, STRING_SINK(encoded)).encode(payload, true));
    std::string decoded(payload.size(), '\0');
    require(DECODER(chunk_size, STRING_SOURCE(encoded)).decode(decoded).reason == REASON::none);
    require(decoded == payload);
    return 0;
}

#endif
