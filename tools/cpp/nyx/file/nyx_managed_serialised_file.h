#ifndef NYX_MANAGED_SERIALISED_FILE_H
#define NYX_MANAGED_SERIALISED_FILE_H

/// \file
/// The segment of one database, and how it goes to a file and comes back. A file is a header
/// (file/nyx_file_header.h) and the segment's bytes, compressed in chunks; nothing in them is translated.

#include "file/nyx_file_header.h"
#include "memory/nyx_segment.h"
#include "nyx/nyx_db.h"

#include <cstddef>
#include <functional>
#include <istream>
#include <memory>
#include <optional>
#include <string>

/// What a save, a load or a rewrite is to do otherwise than usual.
struct NYX_FILE_OPTIONS {
    /// The new default size, from the bytes of the image and the default size so far. Absent: stays.
    std::function<std::size_t(std::size_t data_size, std::size_t default_size)> size_rule;
    /// In place of the tag so far.
    std::optional<std::string> tag;
    /// A save waits until the disk has the file and its name, so that a power cut leaves the old file or the new one.
    bool durable = true;
    /// A save adds 4 bytes to each chunk of Zstandard, by which a load notices damage.
    bool frame_checksum = true;
};

/// Owns the address range of one database and all that lies in it. For one thread at a time.
class NYX_MANAGED_SERIALISED_FILE {
public:
    /// Tags of the constructors.
    struct OPEN_FOR_MODIFICATION {};
    struct OPEN_READ_ONLY {};

    static constexpr int s_default_level = 3;
    static constexpr unsigned s_default_chunk_size = 32768;

    /// Reserves `size` bytes and builds an empty segment in them. Raises NYX_RUNTIME_ERROR, "Failed to create managed
    /// segment", when `size` is too small to hold one; a refused reservation ends the run, "Failed to reserve %zu bytes
    /// (%u)".
    NYX_MANAGED_SERIALISED_FILE(std::size_t size, NYX_DB_TYPE type, std::string tag);
    /// Loads the file. Raises what load() raises, and NYX_FILE_IO_EXCEPTION, operation READ, for a file that isn't
    /// there.
    NYX_MANAGED_SERIALISED_FILE(OPEN_FOR_MODIFICATION, const std::string &path, const NYX_FILE_OPTIONS &options);
    /// The same, into a range that is just large enough and protected: a write to it faults.
    NYX_MANAGED_SERIALISED_FILE(OPEN_READ_ONLY, const std::string &path);
    /// Without a segment, for load().
    explicit NYX_MANAGED_SERIALISED_FILE(bool read_only);
    /// A writable copy of `other` at another address, with `extra` more bytes.
    NYX_MANAGED_SERIALISED_FILE(const NYX_MANAGED_SERIALISED_FILE &other, std::size_t extra);
    NYX_MANAGED_SERIALISED_FILE(const NYX_MANAGED_SERIALISED_FILE &) = delete;
    NYX_MANAGED_SERIALISED_FILE &operator=(const NYX_MANAGED_SERIALISED_FILE &) = delete;
    /// Releases the range, without destructors for what lies in it.
    ~NYX_MANAGED_SERIALISED_FILE();

    /// Never null: an object without a segment ends the run with "seg_man != nullptr".
    NYX_SEGMENT_MANAGER *get_segment_manager() const;

    /// Hands over where the allocated blocks are of the segment that has just been loaded, for whoever checks what is
    /// in them. Once; ends the run for a segment that was not loaded.
    NYX_BLOCK_MAP take_blocks() { return m_segment->take_blocks(); }

    /// Bytes that the segment spans.
    std::size_t get_size() const;
    /// Bytes of the reservation: what a save writes as the default size. Larger than get_size() by less than a block at
    /// most.
    std::size_t get_default_size() const { return m_segment ? m_segment->size() : 0; }
    /// Where the segment begins.
    const char *get_starting_address() const;
    NYX_DB_TYPE get_type() const { return m_type; }
    /// The string that was given at the creation, or that the file has. Empty for none.
    const std::string &get_tag() const { return m_tag; }
    /// The range is protected, and a write to it faults.
    bool is_read_only() const { return m_read_only; }

    /// Writes the database to `path`, which holds the old file or the new one at any moment. Nothing changes for the
    /// open database, whether it works or not; its free tail is not written.
    ///
    /// NYX_FILE_IO_EXCEPTION as told for nyx_safe_save(); NYX_INVALID_ARGUMENT, "New NYX_DB default size is less than
    /// shrunk size", when the size rule says so. An unknown algorithm ends the run.
    void commit_impl(const std::string &path, NYX_COMPRESSION algorithm, int level, unsigned chunk_size,
                     const NYX_FILE_OPTIONS &options);
    /// The same with the usual arguments, as all saves of databases are: Zstandard, level 3, chunks of 32768 bytes.
    void commit_impl(const std::string &path, const NYX_FILE_OPTIONS &options = {});

    /// Reads a file into a range of its own. False if it isn't there. For an object without a segment.
    ///
    /// NYX_FILE_IO_EXCEPTION, operation READ, when the file can't be opened or read; NYX_DATABASE_CORRUPTED_EXCEPTION
    /// when it can't be what a save wrote; NYX_DATABASE_OLD_VERSION_EXCEPTION for another version;
    /// NYX_RUNTIME_ERROR, DB-INCOMPATIBLE-IDS, for another table layout; NYX_INVALID_ARGUMENT, "New NYX_DB default size
    /// is less than shrunk size", when the size rule says so. Nothing is left of the range then.
    ///
    /// A type of database that no file has, an algorithm that isn't known and a refused reservation end the run. The
    /// segment's blocks have been checked when this returns; what is in them has not.
    bool load(const std::string &path, const NYX_FILE_OPTIONS &options = {});

    /// The header of a file, of version 2 or later; leaves `stream` at the payload. Errors as those of
    /// nyx_read_file_header().
    static NYX_DB_FILE_STATS read_header(std::istream &stream, const std::string &path);

    /// Gives a closed file another default size, and another tag if the options have one. The image is copied as it
    /// is and not looked at. Errors as those of load() and commit_impl(); the file is as it was then.
    static void rewrite(const std::string &path, const NYX_FILE_OPTIONS &options);

private:
    void write(std::ostream &os, const std::string &path, NYX_COMPRESSION algorithm, int level, unsigned chunk_size,
               const NYX_FILE_OPTIONS &options);
    void read(std::istream &is, const std::string &path, const NYX_DB_FILE_STATS &header, std::size_t size);

    std::unique_ptr<NYX_SEGMENT> m_segment;
    NYX_DB_TYPE m_type;
    std::string m_tag;
    bool m_read_only = false;
};

#endif
