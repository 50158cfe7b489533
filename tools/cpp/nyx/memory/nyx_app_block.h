#ifndef NYX_APP_BLOCK_H
#define NYX_APP_BLOCK_H

/// \file
/// Bytes of an application in a segment: a block of a 32-bit size and that many bytes. The bytes begin 4 bytes into an
/// 8-aligned block, so nothing in them is aligned.

#include "memory/nyx_segment.h"
#include "nyx/nyx_app_data.h"

#include <cstddef>

inline constexpr std::size_t s_nyx_app_block_head = 4;

/// A block with a copy of the bytes. boost::interprocess::bad_alloc when the segment is full.
unsigned char *nyx_make_app_block(NYX_SEGMENT_MANAGER &manager, const NYX_APP_DATA &data);
void nyx_free_app_block(NYX_SEGMENT_MANAGER &manager, unsigned char *block);
/// The bytes in place.
NYX_APP_DATA nyx_view_app_block(const unsigned char *block);

#endif
