#ifndef NYX_TRAIT_OUTPUT_H
#define NYX_TRAIT_OUTPUT_H

#include "nyx/nyx_traits.h"

#include <iosfwd>
#include <string>

/// Writes to a stream as it is, and takes back the width that a caller has set for its next output.
void nyx_write_trait_text(std::ostream &stream, const std::string &text);

/// A trait as a line of the table of traits, without a column for the value if that is null.
template <class TRAIT>
std::string nyx_format_trait_line(const TRAIT *trait, const char *type, const char *value,
                                  const std::string &default_value);

#endif
