// Misuse of the coders that ends the run.
#include "codec_test_support.h"
#include "nyx_common/nyx_common_collet_decoders.h"
#include "nyx_common/nyx_common_collet_encoders.h"

#include <gtest/gtest.h>
#include <zstd.h>

#include <string>
#include <utility>
#include <vector>

namespace {

std::vector<std::string> s_writes;

NYX::ZSTD_ENCODER<SINK_STREAM> zstd_encoder(unsigned chunk_size, int level) {
    return {chunk_size, SINK_STREAM(s_writes), level};
}

TEST(ColletCoderDeathTest, ChunkOfNothingEndsTheRun) {
    const char *const text = "chunk_size must be a positive integer";
    EXPECT_DEATH((NYX::LZ4_ENCODER<SINK_STREAM>(0, SINK_STREAM(s_writes))), text);
    EXPECT_DEATH(zstd_encoder(0, 3), text);
    EXPECT_DEATH((NYX::LZ4_DECODER<SOURCE_STREAM>(0, SOURCE_STREAM(""))), text);
    EXPECT_DEATH((NYX::ZSTD_DECODER<SOURCE_STREAM>(0, SOURCE_STREAM(""))), text);
}

TEST(ColletCoderDeathTest, ChunkThatNoCoderCanCountEndsTheRun) {
    EXPECT_DEATH((NYX::LZ4_ENCODER<SINK_STREAM>(0x80000000, SINK_STREAM(s_writes))), "does not fit in an int");
    EXPECT_DEATH(zstd_encoder(0xFFFFFFFF, 3), "has no 32-bit size");
}

TEST(ColletCoderDeathTest, LevelOutsideOfThoseOfTheCoderEndsTheRun) {
    EXPECT_DEATH(zstd_encoder(10, ZSTD_maxCLevel() + 1),
                 "compression_level must be less or equal to ZSTD_maxCLevel\\(\\)");
    EXPECT_DEATH(zstd_encoder(10, ZSTD_minCLevel() - 1),
                 "compression_level must be greater or equal to ZSTD_minCLevel\\(\\)");
    zstd_encoder(10, ZSTD_maxCLevel());
    zstd_encoder(10, ZSTD_minCLevel());
}

TEST(ColletCoderDeathTest, MovedFromCoderEndsTheRun) {
    NYX::LZ4_ENCODER<SINK_STREAM> lz4_encoder(10, SINK_STREAM(s_writes));
    const auto lz4_encoder_2 = std::move(lz4_encoder);
    EXPECT_DEATH(lz4_encoder.encode({}, true), "m_pending_in_buffer.*Encoder has already been invalidated!");
    auto encoder = zstd_encoder(10, 3);
    const auto encoder_2 = std::move(encoder);
    EXPECT_DEATH(encoder.encode({}, true), "m_context != nullptr.*ZSTD_ENCODER has already been invalidated!");
    NYX::LZ4_DECODER<SOURCE_STREAM> lz4_decoder(10, SOURCE_STREAM(""));
    const auto lz4_decoder_2 = std::move(lz4_decoder);
    EXPECT_DEATH(lz4_decoder.decode({}), "m_pending_in_buffer.*Decoder has already been invalidated!");
    NYX::ZSTD_DECODER<SOURCE_STREAM> decoder(10, SOURCE_STREAM(""));
    const auto decoder_2 = std::move(decoder);
    EXPECT_DEATH(decoder.decode({}), "m_context != nullptr.*ZSTD_DECODER has already been invalidated!");
}

} // namespace
