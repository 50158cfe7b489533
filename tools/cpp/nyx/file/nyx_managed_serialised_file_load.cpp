// Loads. Whatever a file says, nothing is read, written or followed outside of what was reserved for it.
#include "file/nyx_file_stream.h"
#include "file/nyx_managed_serialised_file.h"
#include "memory/nyx_virtual_memory.h"
#include "nyx_common/nyx_common_collet_decoders.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace {

using NYX::MEM_ALGO::segment_algorithm;

constexpr std::size_t s_raw_piece = std::size_t(256) << 10;

[[noreturn]] void raise_read(const std::string &path) {
    throw NYX_FILE_IO_EXCEPTION(path, std::io_errc::stream, NYX_FILE_IO_EXCEPTION::READ);
}

std::uint64_t bytes_left(std::istream &is, const std::string &path) {
    const std::streampos here = is.tellg();
    is.seekg(0, std::ios_base::end);
    const std::streampos end = is.tellg();
    is.seekg(here);
    if (is.fail() || here == std::streampos(-1) || end == std::streampos(-1))
        raise_read(path);
    return static_cast<std::uint64_t>(end - here);
}

// Compares the header with the file, before anybody calculates with what it says. A save that was interrupted has left
// all ones in place of the sizes, which the reservation refuses.
void check_sizes(std::istream &is, const std::string &path, const NYX_DB_FILE_STATS &header) {
    constexpr std::uint64_t unknown = ~std::uint64_t(0);
    constexpr std::uint64_t least_frame = 5; // a size word and a byte
    if (header.default_size == unknown && header.data_size == unknown && header.payload_size == unknown)
        return;
    if (header.data_size < segment_algorithm::MinSegmentBytes)
        throw NYX_DATABASE_CORRUPTED_EXCEPTION(path);
    const std::uint64_t left = bytes_left(is, path);
    const auto algorithm = static_cast<NYX_COMPRESSION>(header.compression_algorithm);
    if (algorithm == NYX_COMPRESSION::NONE) {
        if (header.payload_size != header.data_size)
            throw NYX_DATABASE_CORRUPTED_EXCEPTION(path);
        if (header.payload_size > left)
            raise_read(path);
    } else if (algorithm == NYX_COMPRESSION::LZ4 || algorithm == NYX_COMPRESSION::ZSTD) {
        const bool can_be_coded = algorithm == NYX_COMPRESSION::LZ4 ? NYX::is_lz4_collet(header.chunk_size)
                                                                    : NYX::is_zstd_collet(header.chunk_size);
        if (!can_be_coded || header.payload_size > left || header.data_size / header.chunk_size > left / least_frame)
            throw NYX_DATABASE_CORRUPTED_EXCEPTION(path);
    }
}

// Reads all of `image` by pieces, `read(piece)`, each of which is looked at while it is in the cache.
template <class READ>
void read_pieces(NYX_SEGMENT &segment, const std::string &path, gsl::span<char> image, std::size_t piece, READ &&read) {
    for (std::size_t at = 0; at < image.size();) {
        const std::size_t bytes = std::min(piece, image.size() - at);
        read(image.subspan(at, bytes));
        at += bytes;
        if (!segment.check_image(at))
            throw NYX_DATABASE_CORRUPTED_EXCEPTION(path);
    }
}

// The chunk of a small image is bounded by the image, whatever the header says, and so is the memory that this takes.
template <class DECODER>
void decode(std::istream &is, const std::string &path, std::uint64_t chunk_size, NYX_SEGMENT &segment,
            gsl::span<char> image) {
    using REASON = NYX::COLLET_DECODER_FAILURE::REASON;
    const auto chunk = static_cast<unsigned>(std::min<std::uint64_t>(chunk_size, image.size()));
    DECODER decoder(chunk, ISTREAM_REF(is, path));
    read_pieces(segment, path, image, chunk, [&](gsl::span<char> out) {
        const NYX::COLLET_DECODER_FAILURE opt = decoder.decode(out);
        if (is.bad())
            raise_read(path);
        if (opt.reason != REASON::none)
            NYX_CHECK_AS(opt.reason == REASON::corrupted,
                         "opt.reason == NYX::COLLET_DECODER_FAILURE::REASON::corrupted",
                         "eof should have been handled by ISTREAM_REF");
        // Frames that end before the image does have been filled up with zeros.
        if (opt.reason != REASON::none || is.fail())
            throw NYX_DATABASE_CORRUPTED_EXCEPTION(path);
    });
}

} // namespace

bool NYX_MANAGED_SERIALISED_FILE::load(const std::string &path, const NYX_FILE_OPTIONS &options) {
    constexpr const char *function = "NYX_MANAGED_SERIALISED_FILE::load";
    const NYX_REPORT::NYX_REPORT_PROFILE profile(function);
    std::error_code error;
    if (!std::filesystem::exists(path, error))
        return false;
    NYX_FILE_INPUT is(path);
    if (is.fail())
        raise_read(path);
    const NYX_DB_FILE_STATS header = read_header(is, path);
    if (header.version != s_nyx_file_version)
        throw NYX_DATABASE_OLD_VERSION_EXCEPTION(path, s_nyx_file_version, header.version);
    if (const std::uint64_t schema_id = NYX_DB::get_schema_id(header.type, nullptr); header.schema_id != schema_id)
        NYX_RAISE_RUNTIME_ERROR(
            function, nyx_format_message_code("DB-INCOMPATIBLE-IDS",
                                              {path, std::to_string(header.schema_id), std::to_string(schema_id)}));
    NYX_CHECK_AS(header.type >= NYX_DB_TYPE::DEVICE && header.type <= NYX_DB_TYPE::DEFINITION,
                 "type == NYX_DB_TYPE::USER || type == NYX_DB_TYPE::COMPONENT || type == NYX_DB_TYPE::DEFINITION || "
                 "type == NYX_DB_TYPE::DEVICE",
                 "Unknown DB_TYPE");

    check_sizes(is, path, header);
    std::size_t size = header.data_size;
    if (!m_read_only) {
        size = options.size_rule ? options.size_rule(header.data_size, header.default_size) : header.default_size;
        if (size < header.data_size)
            nyx_raise_default_size(function);
        // What no unit of allocation fits in is left out.
        size = std::max<std::size_t>(size - size % segment_algorithm::Alignment, header.data_size);
    }
    // Never so: an object is loaded once. A segment that is there would be mixed up with the file's.
    if (m_segment != nullptr) {
        m_segment.reset();
        throw NYX_DATABASE_CORRUPTED_EXCEPTION(path);
    }
    read(is, path, header, size);
    m_type = header.type;
    m_tag = options.tag.value_or(header.tag);
    return true;
}

void NYX_MANAGED_SERIALISED_FILE::read(std::istream &is, const std::string &path, const NYX_DB_FILE_STATS &header,
                                       std::size_t size) {
    auto segment = std::make_unique<NYX_SEGMENT>(NYX_SEGMENT::FOR_IMAGE{}, size, header.data_size);
    const gsl::span<char> image(segment->data(), header.data_size);
    switch (static_cast<NYX_COMPRESSION>(header.compression_algorithm)) {
    case NYX_COMPRESSION::NONE:
        read_pieces(*segment, path, image, s_raw_piece, [&](gsl::span<char> out) {
            is.read(out.data(), static_cast<std::streamsize>(out.size()));
            if (is.fail())
                raise_read(path);
        });
        break;
    case NYX_COMPRESSION::LZ4:
        decode<NYX::LZ4_DECODER<ISTREAM_REF>>(is, path, header.chunk_size, *segment, image);
        break;
    case NYX_COMPRESSION::ZSTD:
        decode<NYX::ZSTD_DECODER<ISTREAM_REF>>(is, path, header.chunk_size, *segment, image);
        break;
    default:
        NYX_FATAL("Unrecognised compression algorithm %u", header.compression_algorithm);
    }
    segment->attach_image();
    if (m_read_only) {
        NYX_CHECK_AS(size == header.data_size, "!m_read_only", "whoever called load() should have checked!");
        NYX::VIRTUAL_MEMORY::protect(segment->data(), size, false);
    } else {
        segment->grow_to_reservation();
    }
    m_segment = std::move(segment);
}
