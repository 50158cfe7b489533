#ifndef NYX_FILE_HEADER_H
#define NYX_FILE_HEADER_H

/// \file
/// What stands in a database file in front of the image. Integers are little-endian; L is the length of the tag.
///
///       0  4  "NYX!"                     21 + L  4  compression algorithm
///       4  4  version                    25 + L  4  chunk size
///       8  1  database type              29 + L  8  default size
///       9  8  schema id                  37 + L  8  data size
///      17  4  length of the tag          45 + L  8  payload size
///      21  L  tag                        53 + L     payload
///
/// The last three words are the postamble. They are known when the payload has been written; until then they are all
/// ones.

#include "nyx/nyx_db.h"

#include <cstdint>
#include <ios>
#include <istream>
#include <ostream>
#include <string>

inline constexpr char s_nyx_file_magic[4] = {'N', 'Y', 'X', '!'};
inline constexpr unsigned s_nyx_file_version = 3;
/// The oldest version whose header can be read.
inline constexpr unsigned s_nyx_file_oldest_version = 2;

/// How the payload is coded. Stored: do not change the values.
enum class NYX_COMPRESSION : std::uint32_t {
    NONE = 0, ///< the image as it is
    LZ4 = 1,  ///< frames of LZ4 blocks
    ZSTD = 2, ///< frames of Zstandard frames
};

/// Where the postamble lies in a stream.
struct NYX_POSTAMBLE_POS {
    std::streampos begin;
    std::streampos end;
};

/// Reads the header at the position of `is`, and leaves `is` at the payload. `path` is for texts.
///
/// NYX_FILE_IO_EXCEPTION, operation READ, with the stream back at the start, when the stream fails or ends;
/// NYX_DATABASE_CORRUPTED_EXCEPTION for a wrong magic, a tag that is longer than the file, and a data size above the
/// default size; NYX_DATABASE_OLD_VERSION_EXCEPTION for a version below 2.
NYX_DB_FILE_STATS nyx_read_file_header(std::istream &is, const std::string &path);

/// Writes all in front of the postamble, and all ones for the postamble. NYX_FILE_IO_EXCEPTION, operation WRITE, with
/// the stream back at the start, when the stream fails.
NYX_POSTAMBLE_POS nyx_write_file_header(std::ostream &os, const NYX_DB_FILE_STATS &header, const std::string &path);

/// Writes the sizes in `header` to the postamble, and goes back to where the stream is. Ends the run when that is in
/// front of the end of the postamble. NYX_INVALID_ARGUMENT, "New NYX_DB default size is less than shrunk size", when
/// the default size is below the data size.
void nyx_write_file_postamble(std::ostream &os, const NYX_POSTAMBLE_POS &postamble_pos, const NYX_DB_FILE_STATS &header,
                              const std::string &path);

/// The position of `os`. A stream that can't tell it is set to failed, which tellp() alone leaves out.
std::streampos nyx_tell(std::ostream &os);

/// Raises NYX_FILE_IO_EXCEPTION, operation WRITE, when failbit or badbit is set, with the stream back at `start`.
void nyx_check_written(std::ostream &os, std::streampos start, const std::string &path);

/// Raises NYX_INVALID_ARGUMENT, "New NYX_DB default size is less than shrunk size".
[[noreturn]] void nyx_raise_default_size(const char *function);

#endif
