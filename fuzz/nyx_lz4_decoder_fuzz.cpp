// Decodes arbitrary bytes as frames of LZ4 blocks.
#include "decoder_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    return fuzz_decoder<NYX::LZ4_DECODER<STRING_SOURCE>>(data, size, [](unsigned chunk_size, STRING_SINK sink) {
        return NYX::LZ4_ENCODER<STRING_SINK>(chunk_size, sink);
    });
}
