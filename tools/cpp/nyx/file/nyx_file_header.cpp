#include "file/nyx_file_header.h"

#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"

#include <cstring>
#include <limits>

namespace {

constexpr std::uint64_t s_unknown_size = std::numeric_limits<std::uint64_t>::max();

class READER {
public:
    READER(std::istream &is, const std::string &path) : m_is(is), m_path(path), m_start(is.tellg()) {}

    template <class T>
    T read() {
        T value{};
        read(reinterpret_cast<char *>(&value), sizeof(value));
        return value;
    }

    void read(char *data, std::size_t size) {
        m_is.read(data, static_cast<std::streamsize>(size));
        if (m_is.fail())
            fail();
    }

    // Bytes between the position and the end.
    std::uint64_t left() {
        const std::streampos here = m_is.tellg();
        m_is.seekg(0, std::ios_base::end);
        const std::streampos end = m_is.tellg();
        m_is.seekg(here);
        if (m_is.fail() || here == std::streampos(-1) || end == std::streampos(-1))
            fail();
        return static_cast<std::uint64_t>(end - here);
    }

private:
    [[noreturn]] void fail() {
        m_is.clear();
        m_is.seekg(m_start);
        throw NYX_FILE_IO_EXCEPTION(m_path, std::io_errc::stream, NYX_FILE_IO_EXCEPTION::READ);
    }

    std::istream &m_is;
    const std::string &m_path;
    const std::streampos m_start;
};

class WRITER {
public:
    WRITER(std::ostream &os, const std::string &path) : m_os(os), m_path(path), m_start(nyx_tell(os)) {}

    template <class T>
    void write(const T &value) {
        write(reinterpret_cast<const char *>(&value), sizeof(value));
    }

    void write(const char *data, std::size_t size) {
        m_os.write(data, static_cast<std::streamsize>(size));
        check();
    }

    void check() { nyx_check_written(m_os, m_start, m_path); }

private:
    std::ostream &m_os;
    const std::string &m_path;
    const std::streampos m_start;
};

} // namespace

std::streampos nyx_tell(std::ostream &os) {
    const std::streampos position = os.tellp();
    if (position == std::streampos(-1))
        os.setstate(std::ios_base::failbit);
    return position;
}

void nyx_check_written(std::ostream &os, std::streampos start, const std::string &path) {
    if (!os.fail())
        return;
    os.clear();
    os.flush();
    os.seekp(start);
    throw NYX_FILE_IO_EXCEPTION(path, std::io_errc::stream, NYX_FILE_IO_EXCEPTION::WRITE);
}

void nyx_raise_default_size(const char *function) {
    NYX_RAISE_INVALID_ARGUMENT(function, "New NYX_DB default size is less than shrunk size");
}

NYX_DB_FILE_STATS nyx_read_file_header(std::istream &is, const std::string &path) {
    READER reader(is, path);
    char magic[sizeof(s_nyx_file_magic)];
    reader.read(magic, sizeof(magic));
    if (std::memcmp(magic, s_nyx_file_magic, sizeof(magic)) != 0)
        throw NYX_DATABASE_CORRUPTED_EXCEPTION(path);

    NYX_DB_FILE_STATS header;
    header.version = reader.read<std::uint32_t>();
    if (header.version < s_nyx_file_oldest_version)
        throw NYX_DATABASE_OLD_VERSION_EXCEPTION(path, s_nyx_file_version, header.version);
    header.type = reader.read<NYX_DB_TYPE>();
    header.schema_id = reader.read<std::uint64_t>();
    const std::uint32_t tag_length = reader.read<std::uint32_t>();
    // Before room is made for it.
    if (tag_length > reader.left())
        throw NYX_DATABASE_CORRUPTED_EXCEPTION(path);
    header.tag.resize(tag_length);
    reader.read(header.tag.data(), tag_length);
    header.compression_algorithm = reader.read<std::uint32_t>();
    header.chunk_size = reader.read<std::uint32_t>();
    header.default_size = reader.read<std::uint64_t>();
    header.data_size = reader.read<std::uint64_t>();
    header.payload_size = reader.read<std::uint64_t>();
    if (header.data_size > header.default_size)
        throw NYX_DATABASE_CORRUPTED_EXCEPTION(path);
    return header;
}

NYX_POSTAMBLE_POS nyx_write_file_header(std::ostream &os, const NYX_DB_FILE_STATS &header, const std::string &path) {
    WRITER writer(os, path);
    writer.write(s_nyx_file_magic, sizeof(s_nyx_file_magic));
    writer.write(std::uint32_t(header.version));
    writer.write(header.type);
    writer.write(header.schema_id);
    writer.write(static_cast<std::uint32_t>(header.tag.size()));
    if (!header.tag.empty())
        writer.write(header.tag.data(), header.tag.size());
    writer.write(header.compression_algorithm);
    writer.write(header.chunk_size);
    const std::uint64_t unknown[3] = {s_unknown_size, s_unknown_size, s_unknown_size};
    NYX_POSTAMBLE_POS postamble_pos;
    postamble_pos.begin = nyx_tell(os);
    writer.write(unknown);
    postamble_pos.end = nyx_tell(os);
    writer.check();
    return postamble_pos;
}

void nyx_write_file_postamble(std::ostream &os, const NYX_POSTAMBLE_POS &postamble_pos, const NYX_DB_FILE_STATS &header,
                              const std::string &path) {
    const std::streampos original_pos = nyx_tell(os);
    nyx_check_written(os, original_pos, path);
    NYX_CHECK_MSG(original_pos >= postamble_pos.end, "Incorrect stream seek position!");
    os.flush();
    os.seekp(postamble_pos.begin);
    if (header.default_size < header.data_size) {
        os.flush();
        os.seekp(original_pos);
        nyx_raise_default_size("NYX_MANAGED_SERIALISED_FILE::commit_impl");
    }
    WRITER writer(os, path);
    const std::uint64_t sizes[3] = {header.default_size, header.data_size, header.payload_size};
    writer.write(sizes);
    os.flush();
    writer.check();
    os.seekp(original_pos);
    writer.check();
}
