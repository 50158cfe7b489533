#include "codec_test_support.h"
#include "file/nyx_file_stream.h"
#include "nyx_common/nyx_common_collet_decoders.h"
#include "nyx_common/nyx_common_collet_encoders.h"

#include <gtest/gtest.h>
#include <zstd.h>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using REASON = NYX::COLLET_DECODER_FAILURE::REASON;
constexpr unsigned s_chunk = 1000;

struct LZ4 {
    using ENCODER = NYX::LZ4_ENCODER<SINK_STREAM>;
    using DECODER = NYX::LZ4_DECODER<SOURCE_STREAM>;
    static ENCODER encoder(std::vector<std::string> &writes, unsigned chunk_size = s_chunk) {
        return ENCODER(chunk_size, SINK_STREAM(writes));
    }
    static unsigned bound(unsigned chunk_size) { return NYX::lz4_collet_bound(chunk_size); }
};

struct ZSTD {
    using ENCODER = NYX::ZSTD_ENCODER<SINK_STREAM>;
    using DECODER = NYX::ZSTD_DECODER<SOURCE_STREAM>;
    static ENCODER encoder(std::vector<std::string> &writes, unsigned chunk_size = s_chunk) {
        return ENCODER(chunk_size, SINK_STREAM(writes), 3);
    }
    static unsigned bound(unsigned chunk_size) { return NYX::zstd_collet_bound(chunk_size); }
};

struct ZSTD_WITH_CHECKSUM : ZSTD {
    static ENCODER encoder(std::vector<std::string> &writes, unsigned chunk_size = s_chunk) {
        return ENCODER(chunk_size, SINK_STREAM(writes), 3, true);
    }
};

template <class CODEC>
class ColletCodec : public testing::Test {
protected:
    using DECODER = typename CODEC::DECODER;

    std::vector<std::string> frames(const std::string &in, unsigned chunk_size = s_chunk) {
        std::vector<std::string> writes;
        auto encoder = CODEC::encoder(writes, chunk_size);
        EXPECT_TRUE(encoder.encode(in, true));
        return writes;
    }
    DECODER decoder(const std::string &payload, unsigned chunk_size = s_chunk) {
        return DECODER(chunk_size, SOURCE_STREAM(payload));
    }
    REASON failure(const std::string &payload, std::size_t wanted) {
        std::string out(wanted, '?');
        return decoder(payload).decode(out).reason;
    }
};

using CODECS = testing::Types<LZ4, ZSTD, ZSTD_WITH_CHECKSUM>;
TYPED_TEST_SUITE(ColletCodec, CODECS);

TYPED_TEST(ColletCodec, GivesBackWhatItTook) {
    for (const std::size_t size : {1u, 2u, 999u, 1000u, 1001u, 2000u, 54321u}) {
        for (const std::string &in : {text_of(size), noise(size), std::string(size, '\0')}) {
            std::string out(size, '?');
            EXPECT_EQ(this->decoder(joined(this->frames(in))).decode(out).reason, REASON::none);
            EXPECT_EQ(out, in);
        }
    }
}

TYPED_TEST(ColletCodec, WholeChunkIsOneFrame) {
    EXPECT_EQ(this->frames(text_of(s_chunk)).size(), 1u);
}

TYPED_TEST(ColletCodec, ByteBehindAChunkIsAFrameOfItsOwn) {
    const std::vector<std::string> frames = this->frames(text_of(s_chunk + 1));
    ASSERT_EQ(frames.size(), 2u);
    std::string last(1, '?');
    EXPECT_EQ(this->decoder(frames[1]).decode(last).reason, REASON::none);
    EXPECT_EQ(last, text_of(s_chunk + 1).substr(s_chunk));
}

TYPED_TEST(ColletCodec, FrameIsASizeAndABlockInOneWrite) {
    const std::vector<std::string> frames = this->frames(text_of(3 * s_chunk));
    ASSERT_EQ(frames.size(), 3u);
    for (const std::string &frame : frames)
        EXPECT_EQ(frame.substr(0, 4), size_word(static_cast<std::uint32_t>(frame.size() - 4)));
}

TYPED_TEST(ColletCodec, PartsGiveTheSameBytesAsTheWhole) {
    const std::string in = text_of(2500);
    for (const std::size_t cut : {0u, 1u, 999u, 1000u, 1001u, 2499u, 2500u}) {
        std::vector<std::string> writes;
        auto encoder = TypeParam::encoder(writes);
        EXPECT_TRUE(encoder.encode(gsl::make_span(in.data(), cut), false));
        EXPECT_TRUE(encoder.encode(gsl::make_span(in.data() + cut, in.size() - cut), false));
        EXPECT_TRUE(encoder.encode({}, true));
        EXPECT_EQ(writes, this->frames(in)) << cut;
    }
}

TYPED_TEST(ColletCodec, NothingGivesNothing) {
    EXPECT_TRUE(this->frames("").empty());
    std::vector<std::string> writes;
    auto encoder = TypeParam::encoder(writes);
    EXPECT_TRUE(encoder.encode({}, false));
    EXPECT_TRUE(encoder.encode({}, true));
    EXPECT_TRUE(writes.empty());
}

TYPED_TEST(ColletCodec, InputWithoutFlushWaits) {
    std::vector<std::string> writes;
    auto encoder = TypeParam::encoder(writes);
    EXPECT_TRUE(encoder.encode(text_of(s_chunk - 1), false));
    EXPECT_TRUE(writes.empty());
    EXPECT_TRUE(encoder.encode(text_of(1), false));
    EXPECT_EQ(writes.size(), 1u);
}

TYPED_TEST(ColletCodec, ShortReadKeepsTheRestForTheNext) {
    const std::string in = text_of(2500);
    std::size_t reads = 0;
    typename TypeParam::DECODER decoder(s_chunk, SOURCE_STREAM(joined(this->frames(in)), &reads));
    std::string out;
    for (const std::size_t size : {100u, 900u, 1u, 0u, 998u, 501u}) {
        std::string part(size, '?');
        EXPECT_EQ(decoder.decode(part).reason, REASON::none);
        out += part;
        if (out.size() == s_chunk) {
            EXPECT_EQ(reads, 2u) << "the size word and the block of the first chunk";
        }
    }
    EXPECT_EQ(out, in);
}

TYPED_TEST(ColletCodec, NothingIsReadForNothing) {
    std::size_t reads = 0;
    typename TypeParam::DECODER decoder(s_chunk, SOURCE_STREAM("", &reads));
    EXPECT_EQ(decoder.decode({}).reason, REASON::none);
    EXPECT_EQ(reads, 0u);
}

TYPED_TEST(ColletCodec, ChunksAreIndependent) {
    const std::string in = text_of(3 * s_chunk);
    const std::vector<std::string> frames = this->frames(in);
    std::string out(s_chunk, '?');
    EXPECT_EQ(this->decoder(frames[1]).decode(out).reason, REASON::none);
    EXPECT_EQ(out, in.substr(s_chunk, s_chunk));
}

TYPED_TEST(ColletCodec, IncompressibleChunkFits) {
    for (const unsigned chunk_size : {1u, 7u, 255u, 256u, 32768u, 131072u, 200000u}) {
        const std::string in = noise(chunk_size);
        const std::vector<std::string> frames = this->frames(in, chunk_size);
        ASSERT_EQ(frames.size(), 1u);
        EXPECT_LE(frames[0].size() - 4, TypeParam::bound(chunk_size));
        std::string out(chunk_size, '?');
        EXPECT_EQ(this->decoder(frames[0], chunk_size).decode(out).reason, REASON::none);
        EXPECT_EQ(out, in);
    }
}

TYPED_TEST(ColletCodec, EndOfTheStreamInFrontOfAFrameIsItsEnd) {
    EXPECT_EQ(this->failure("", 1), REASON::eof);
    EXPECT_EQ(this->failure(this->frames(text_of(s_chunk))[0], s_chunk + 1), REASON::eof);
}

TYPED_TEST(ColletCodec, EndOfTheStreamWithinAFrameIsTruncation) {
    const std::string frame = this->frames(text_of(s_chunk))[0];
    for (const std::size_t size : {std::size_t(1), std::size_t(3), std::size_t(4), std::size_t(5), frame.size() - 1})
        EXPECT_EQ(this->failure(frame.substr(0, size), s_chunk), REASON::truncated) << size;
}

TYPED_TEST(ColletCodec, ImpossibleSizeIsCorruptedWithoutAReadOfTheBlock) {
    for (const std::uint32_t size : {0u, TypeParam::bound(s_chunk) + 1, 0xFFFFFFFFu}) {
        std::size_t reads = 0;
        typename TypeParam::DECODER decoder(s_chunk, SOURCE_STREAM(size_word(size) + noise(5000), &reads));
        std::string out(1, '?');
        EXPECT_EQ(decoder.decode(out).reason, REASON::corrupted) << size;
        EXPECT_EQ(reads, 1u) << size;
    }
}

TYPED_TEST(ColletCodec, BlockOfTheLargestSizeIsRead) {
    const unsigned bound = TypeParam::bound(s_chunk);
    std::size_t reads = 0;
    typename TypeParam::DECODER decoder(s_chunk, SOURCE_STREAM(size_word(bound) + std::string(bound, '\xff'), &reads));
    std::string out(1, '?');
    EXPECT_EQ(decoder.decode(out).reason, REASON::corrupted);
    EXPECT_EQ(reads, 2u);
}

TYPED_TEST(ColletCodec, GarbageIsCorrupted) {
    // The first byte asks for literals or for a magic number that isn't there.
    EXPECT_EQ(this->failure(size_word(100) + std::string(100, '\xff'), s_chunk), REASON::corrupted);
}

TYPED_TEST(ColletCodec, BlockOfMoreThanAChunkIsCorrupted) {
    const std::string frame = this->frames(std::string(s_chunk + 1, 'x'), s_chunk + 1)[0];
    EXPECT_EQ(this->failure(frame, s_chunk), REASON::corrupted);
}

TYPED_TEST(ColletCodec, MovedCoderGoesOn) {
    const std::string in = text_of(1500);
    std::vector<std::string> writes;
    auto first = TypeParam::encoder(writes);
    EXPECT_TRUE(first.encode(gsl::make_span(in.data(), 700), false));
    auto second = std::move(first);
    EXPECT_TRUE(second.encode(gsl::make_span(in.data() + 700, 800), true));
    EXPECT_EQ(writes, this->frames(in));

    auto reader = this->decoder(joined(writes));
    std::string head(100, '?'), rest(1400, '?');
    EXPECT_EQ(reader.decode(head).reason, REASON::none);
    auto other = std::move(reader);
    EXPECT_EQ(other.decode(rest).reason, REASON::none);
    EXPECT_EQ(head + rest, in);
}

TEST(ColletBound, FollowsTheFormula) {
    EXPECT_EQ(NYX::lz4_collet_bound(1), 17u);
    EXPECT_EQ(NYX::lz4_collet_bound(255), 272u);
    EXPECT_EQ(NYX::lz4_collet_bound(32768), 32912u);
    EXPECT_EQ(NYX::lz4_collet_bound(0x7E000000), 0x7E000000u + 0x7E000000u / 255 + 16);
    EXPECT_EQ(NYX::lz4_collet_bound(0x7E000001), 0u);
    EXPECT_EQ(NYX::zstd_collet_bound(1), 1u + 63u);
    EXPECT_EQ(NYX::zstd_collet_bound(32768), 32768u + 128 + 48);
    EXPECT_EQ(NYX::zstd_collet_bound(0x1FFFF), 0x1FFFFu + 0x1FF);
    EXPECT_EQ(NYX::zstd_collet_bound(0x20000), 0x20000u + 0x200);
    EXPECT_EQ(NYX::zstd_collet_bound(0x40000000), 0x40400000u);
}

TEST(ColletBound, TellsChunksThatCanNotBeCoded) {
    EXPECT_FALSE(NYX::is_lz4_collet(0));
    EXPECT_TRUE(NYX::is_lz4_collet(0x7E000000));
    EXPECT_FALSE(NYX::is_lz4_collet(0x7E000001));
    EXPECT_FALSE(NYX::is_zstd_collet(0));
    EXPECT_TRUE(NYX::is_zstd_collet(0xFF000000));
    EXPECT_FALSE(NYX::is_zstd_collet(0xFF00FF00)) << "the bound and the size word exceed 32 bits together";
    EXPECT_FALSE(NYX::is_zstd_collet(0xFFFFFFFF));
}

TEST(Lz4Encoder, RefusesAChunkThatTheCoderDoesNotTake) {
    std::vector<std::string> writes;
    NYX::LZ4_ENCODER<SINK_STREAM> encoder(0x7E000001, SINK_STREAM(writes));
    EXPECT_FALSE(encoder.encode(std::string("x"), true));
    EXPECT_TRUE(writes.empty());
}

TEST(ZstdEncoder, ChecksumCostsFourBytesAChunkAndChangesNothingElse) {
    std::vector<std::string> without, with;
    const std::string in = text_of(2 * s_chunk);
    EXPECT_TRUE(ZSTD::encoder(without).encode(in, true));
    EXPECT_TRUE(ZSTD_WITH_CHECKSUM::encoder(with).encode(in, true));
    ASSERT_EQ(with.size(), without.size());
    for (std::size_t i = 0; i < with.size(); ++i)
        EXPECT_EQ(with[i].size(), without[i].size() + 4);
}

TEST(ZstdEncoder, ChecksumShowsEveryFlippedBitOfABlock) {
    std::vector<std::string> writes;
    const std::string in = noise(200);
    EXPECT_TRUE(ZSTD_WITH_CHECKSUM::encoder(writes).encode(in, true));
    for (std::size_t bit = 4 * 8; bit < writes[0].size() * 8; ++bit) {
        std::string damaged = writes[0];
        damaged[bit / 8] ^= static_cast<char>(1 << bit % 8);
        std::string out(in.size(), '?');
        const REASON reason = ZSTD::DECODER(s_chunk, SOURCE_STREAM(damaged)).decode(out).reason;
        EXPECT_TRUE(reason != REASON::none || out == in) << bit;
    }
}

TEST(ZstdEncoder, WithoutChecksumEachBlockIsThatOfThePlainCall) {
    const std::string in = text_of(2500);
    for (const int level : {1, 3, 19}) {
        std::vector<std::string> writes;
        NYX::ZSTD_ENCODER<SINK_STREAM> encoder(1000, SINK_STREAM(writes), level);
        ASSERT_TRUE(encoder.encode(in, true));
        ZSTD_CCtx *const context = ZSTD_createCCtx();
        std::vector<std::string> expected;
        for (std::size_t at = 0; at < in.size(); at += 1000) {
            std::string block(ZSTD_compressBound(1000), '\0');
            block.resize(ZSTD_compressCCtx(context, block.data(), block.size(), in.data() + at,
                                           std::min<std::size_t>(1000, in.size() - at), level));
            expected.push_back(size_word(static_cast<std::uint32_t>(block.size())) + block);
        }
        ZSTD_freeCCtx(context);
        EXPECT_EQ(writes, expected) << level;
    }
}

TEST(FileStreamDeathTest, MovedFromReferenceEndsTheRun) {
    std::ostringstream os;
    OSTREAM_REF out(os, "a");
    const OSTREAM_REF out_2 = std::move(out);
    EXPECT_DEATH(out.write("x", 1), "m_os != nullptr.*OSTREAM_REF has been invalidated");
    std::istringstream is("x");
    ISTREAM_REF in(is, "a");
    const ISTREAM_REF in_2 = std::move(in);
    char c;
    EXPECT_DEATH(in.read(&c, 1), "m_is != nullptr.*ISTREAM_REF has been invalidated");
}
TEST(FileStream, ShortReadTellsTheWholeSizeAndFillsWithZeros) {
    std::istringstream is("ab");
    ISTREAM_REF in(is, "a");
    char data[4] = {'?', '?', '?', '?'};
    EXPECT_EQ(in.read(data, 4), 4u);
    EXPECT_EQ(std::string(data, 4), std::string("ab\0\0", 4));
    EXPECT_TRUE(is.fail());
}

} // namespace
