#ifndef NYX_TRAIT_OUTPUT_H
#define NYX_TRAIT_OUTPUT_H

#include "nyx/nyx_traits.h"

#include <string>

/// A trait as a line of the table of traits, without a column for the value if that is null.
template <class TRAIT>
std::string nyx_format_trait_line(const TRAIT *trait, const char *type, const char *value,
                                  const std::string &default_value);

#endif
