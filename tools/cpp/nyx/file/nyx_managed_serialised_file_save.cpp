// Saves, and the rewriting of closed files.
#include "file/nyx_file_stream.h"
#include "file/nyx_managed_serialised_file.h"
#include "file/nyx_safe_save.h"
#include "nyx_common/nyx_common_collet_encoders.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>

namespace {

using NYX::MEM_ALGO::segment_algorithm;

// Takes the free tail off a segment for its lifetime. A protected segment is left alone: it was loaded, so it has none.
class SHRUNK {
public:
    explicit SHRUNK(NYX_SEGMENT &segment, bool read_only) : m_segment(segment), m_read_only(read_only) {
        if (!m_read_only)
            m_segment.algorithm().shrink_to_fit();
    }
    ~SHRUNK() {
        if (!m_read_only)
            m_segment.grow_to_reservation();
    }
    SHRUNK(const SHRUNK &) = delete;
    SHRUNK &operator=(const SHRUNK &) = delete;

private:
    NYX_SEGMENT &m_segment;
    const bool m_read_only;
};

// Where a sanitizer watches what is free, the image as a whole may be read for the lifetime of the object.
class READABLE {
public:
    explicit READABLE(const segment_algorithm &algorithm) : m_algorithm(algorithm) {
        m_algorithm.unpoison_free_blocks();
    }
    ~READABLE() { m_algorithm.poison_free_blocks(); }
    READABLE(const READABLE &) = delete;
    READABLE &operator=(const READABLE &) = delete;

private:
    const segment_algorithm &m_algorithm;
};

} // namespace

void NYX_MANAGED_SERIALISED_FILE::commit_impl(const std::string &path, const NYX_FILE_OPTIONS &options) {
    commit_impl(path, NYX_COMPRESSION::ZSTD, s_default_level, s_default_chunk_size, options);
}

void NYX_MANAGED_SERIALISED_FILE::commit_impl(const std::string &path, NYX_COMPRESSION algorithm, int level,
                                              unsigned chunk_size, const NYX_FILE_OPTIONS &options) {
    NYX_CHECK_AS(m_segment != nullptr, "m_data != nullptr", "database is uninitialised");
    const NYX_REPORT::NYX_REPORT_PROFILE profile("NYX_MANAGED_SERIALISED_FILE::commit_impl");
    nyx_safe_save(path, options.durable,
                  [&](std::ostream &os) { write(os, path, algorithm, level, chunk_size, options); });
}

void NYX_MANAGED_SERIALISED_FILE::write(std::ostream &os, const std::string &path, NYX_COMPRESSION algorithm, int level,
                                        unsigned chunk_size, const NYX_FILE_OPTIONS &options) {
    const std::streampos start = nyx_tell(os);
    nyx_check_written(os, start, path);
    NYX_DB_FILE_STATS header;
    header.version = s_nyx_file_version;
    header.type = m_type;
    header.schema_id = NYX_DB::get_schema_id(m_type, nullptr);
    header.tag = options.tag.value_or(m_tag);
    header.compression_algorithm = static_cast<std::uint32_t>(algorithm);
    header.chunk_size = chunk_size;
    const NYX_POSTAMBLE_POS postamble_pos = nyx_write_file_header(os, header, path);
    {
        const SHRUNK shrunk(*m_segment, m_read_only);
        // The tree in one shape for one set of free blocks, so that saving twice gives one image.
        if (!m_read_only)
            m_segment->algorithm().rebuild_free_tree();
        const READABLE readable(m_segment->algorithm());
        const std::size_t new_size = m_segment->algorithm().get_size();
        const char *const m_data = m_segment->data();
        switch (algorithm) {
        case NYX_COMPRESSION::NONE:
            os.write(m_data, static_cast<std::streamsize>(new_size));
            break;
        case NYX_COMPRESSION::LZ4: {
            NYX::LZ4_ENCODER<OSTREAM_REF> encoder(chunk_size, OSTREAM_REF(os, path));
            const bool encoded = encoder.encode(gsl::make_span(m_data, new_size), true);
            NYX_CHECK_AS(encoded, "encoder.encode(gsl::make_span(m_data, new_size), true)", "LZ4 encoding failed");
            break;
        }
        case NYX_COMPRESSION::ZSTD: {
            NYX::ZSTD_ENCODER<OSTREAM_REF> encoder(chunk_size, OSTREAM_REF(os, path), level, options.frame_checksum);
            const bool encoded = encoder.encode(gsl::make_span(m_data, new_size), true);
            NYX_CHECK_AS(encoded, "encoder.encode(gsl::make_span(m_data, new_size), true)", "ZSTD encoding failed");
            break;
        }
        default:
            NYX_FATAL("Unrecognised compression algorithm %u", header.compression_algorithm);
        }
        nyx_check_written(os, start, path);
        header.data_size = new_size;
        header.default_size = get_default_size();
        if (options.size_rule)
            header.default_size = options.size_rule(new_size, get_default_size());
        header.payload_size = static_cast<std::uint64_t>(nyx_tell(os) - postamble_pos.end);
        nyx_check_written(os, start, path);
        nyx_write_file_postamble(os, postamble_pos, header, path);
    }
    os.flush();
    nyx_check_written(os, start, path);
}

void NYX_MANAGED_SERIALISED_FILE::rewrite(const std::string &path, const NYX_FILE_OPTIONS &options) {
    constexpr const char *function = "NYX_MANAGED_SERIALISED_FILE::rewrite";
    constexpr std::uint64_t s_piece = 32768;
    std::error_code error;
    if (!std::filesystem::exists(path, error))
        throw NYX_FILE_IO_EXCEPTION(path, {ENOENT, std::system_category()}, NYX_FILE_IO_EXCEPTION::READ);
    NYX_FILE_INPUT is(path);
    NYX_DB_FILE_STATS header = read_header(is, path);
    // The payload of another version goes with a header of that version.
    if (header.version != s_nyx_file_version)
        throw NYX_DATABASE_OLD_VERSION_EXCEPTION(path, s_nyx_file_version, header.version);
    if (options.size_rule)
        header.default_size = options.size_rule(header.data_size, header.default_size);
    if (header.default_size < header.data_size)
        nyx_raise_default_size(function);
    if (options.tag)
        header.tag = *options.tag;

    nyx_safe_save(path, options.durable, [&](std::ostream &os) {
        const std::streampos start = nyx_tell(os);
        const NYX_POSTAMBLE_POS postamble_pos = nyx_write_file_header(os, header, path);
        nyx_write_file_postamble(os, postamble_pos, header, path);
        const auto piece = std::make_unique_for_overwrite<char[]>(std::min(header.payload_size, s_piece));
        for (std::uint64_t left = header.payload_size; left != 0;) {
            const std::uint64_t size = std::min(left, s_piece);
            is.read(piece.get(), static_cast<std::streamsize>(size));
            if (is.fail())
                throw NYX_FILE_IO_EXCEPTION(path, std::io_errc::stream, NYX_FILE_IO_EXCEPTION::READ);
            os.write(piece.get(), static_cast<std::streamsize>(size));
            nyx_check_written(os, start, path);
            left -= size;
        }
    });
}
