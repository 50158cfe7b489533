#ifndef NYX_SAFE_SAVE_H
#define NYX_SAFE_SAVE_H

/// \file
/// Replaces a file as a whole: at any moment, and after any failure, there is the old file or the new one.

#include <functional>
#include <ostream>
#include <string>

/// Lets `write` fill a new file beside `path`, named `path`-XXXXXXXX.tmp with eight random hexadecimal digits, and puts
/// it in the place of `path`, which keeps its permissions if it is there. With `durable` the new file has reached the
/// disk before it takes the name, and the directory before this returns, so that the promise holds for a power cut too.
///
/// NYX_FILE_IO_EXCEPTION: operation WRITE with the name of the temporary file when none could be made, and with `path`
/// when the content could not be written; operation RENAME with `path` when the file could not take its place. What
/// `write` throws goes on. `path` is as it was then, and the temporary file is gone; only a RENAME that follows from
/// the directory leaves the new file.
void nyx_safe_save(const std::string &path, bool durable, const std::function<void(std::ostream &)> &write);

#endif
