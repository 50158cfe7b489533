#ifndef NYX_APP_DATA_H
#define NYX_APP_DATA_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"

/// Bytes of an application: a view that owns nothing. One that comes from a database refers to its memory, and is good
/// until the value is changed or removed, or the database closed.
class NYX_API NYX_APP_DATA {
public:
    /// No bytes.
    NYX_APP_DATA() = default;
    NYX_APP_DATA(unsigned int size, const unsigned char *data) : m_size(size), m_data(data) {}

    unsigned int get_size() const { return m_size; }
    /// May be null when there are none, and need not be. Not aligned for anything but bytes: copy from it.
    const unsigned char *get_data() const { return m_data; }

    /// Same size and same bytes, wherever they are.
    bool operator==(const NYX_APP_DATA &other) const;
    bool operator!=(const NYX_APP_DATA &other) const { return !(*this == other); }

    /// The text of NYX_APP_TRAIT::convert_value_to_str, for script bindings: in one static string, which the next call
    /// overwrites.
    const char *python_str() const;

private:
    unsigned int m_size = 0;
    const unsigned char *m_data = nullptr;
};

#endif
