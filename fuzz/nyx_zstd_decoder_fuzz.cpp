// Decodes arbitrary bytes as frames of Zstandard, with and without checksums.
#include "decoder_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    return fuzz_decoder<NYX::ZSTD_DECODER<STRING_SOURCE>>(data, size, [&](unsigned chunk_size, STRING_SINK sink) {
        return NYX::ZSTD_ENCODER<STRING_SINK>(chunk_size, sink, 1, size % 2 == 0);
    });
}
