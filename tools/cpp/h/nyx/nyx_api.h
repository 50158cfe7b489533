#ifndef NYX_API_H
#define NYX_API_H

/// Marks what libnyx.so exports; everything else in it is hidden. Forward declarations carry it too: a class that is
/// first seen without it would hide every template that is instantiated on it.
#define NYX_API __attribute__((visibility("default")))

#endif
