#ifndef NYX_FWD_H
#define NYX_FWD_H

/// \file
/// Forward declarations of the types that other headers name without needing their members. They carry NYX_API because
/// a class first declared without it would hide the templates that are instantiated on it.

#include "nyx/nyx_api.h"

// Databases.
class NYX_API NYX_DB;
class NYX_API NYX_DB_OPEN_DB_ITER;
class NYX_API NYX_DB_SUB_DB_ITER;
using NYX_DB_LEAF_DB_ITER = NYX_DB_SUB_DB_ITER;
class NYX_DB_PERSISTENT;
class NYX_API NYX_DB_MODULE_ITER;
class NYX_API NYX_DB_INTERFACE_ITER;
enum class NYX_DB_TYPE : unsigned char;

// Netlist.
class NYX_API NYX_MODULE;
class NYX_API NYX_PORT;
class NYX_API NYX_NET;
class NYX_API NYX_INSTANCE;
class NYX_API NYX_INST_PORT;
class NYX_API NYX_INST_HEADER;
class NYX_API NYX_PORT_BUS;
class NYX_API NYX_NET_BUS;
class NYX_API NYX_INSTANCE_BUS;
class NYX_API NYX_INTERFACE;
class NYX_API NYX_INTERFACE_INSTANCE;
class NYX_API NYX_INTERFACE_INSTANCE_INST_PORT_ITER;
class NYX_API NYX_INTERFACE_NET;
class NYX_API NYX_BUS_DIMENSION;

// Design entry.
class NYX_API NYX_RELATIVE_OBJECT;
class NYX_API NYX_CONSTRAINT_STMT;
class NYX_API NYX_CONSTRAINT_ARG;
class NYX_API NYX_CONSTRAINT_COLLECTION;
class NYX_API NYX_SOURCE_FILE;
class NYX_API NYX_ENTITY;
class NYX_API NYX_SDC_CLOCK;

// Hierarchy.
class NYX_API NYX_HIER_MODULE;
class NYX_API NYX_HIER_INSTANCE;
class NYX_API NYX_HIER_PORT;

// Traits by the width of their values.
class NYX_API NYX_BYTE1_TRAIT;
class NYX_API NYX_BYTE4_TRAIT;
class NYX_API NYX_BYTE8_TRAIT;

// Traits by the type of their values, and walks over them.
class NYX_API NYX_BOOL_TRAIT;
class NYX_API NYX_INT_TRAIT;
class NYX_API NYX_STRING_TRAIT;
class NYX_API NYX_FLOAT_TRAIT;
class NYX_API NYX_DOUBLE_TRAIT;
class NYX_API NYX_TIME_TRAIT;
class NYX_API NYX_APP_TRAIT;
class NYX_API NYX_APP_DATA;
class NYX_API NYX_SPARSE_TRAIT_VISITOR;
template <class TRAIT, class T>
class NYX_API NYX_TRAIT_OBJECT_ITER;
template <class T>
class NYX_API NYX_PROPERTY_ITER;

// The rows behind the handles: opaque to callers.
class NYX_MODULE_IMPL;
class NYX_PORT_IMPL;
class NYX_NET_IMPL;
class NYX_INSTANCE_IMPL;
class NYX_INST_PORT_IMPL;
class NYX_INST_HEADER_IMPL;
class NYX_PORT_BUS_IMPL;
class NYX_NET_BUS_IMPL;
class NYX_INSTANCE_BUS_IMPL;
class NYX_INTERFACE_IMPL;
class NYX_RELATIVE_OBJECT_IMPL;
class NYX_CONSTRAINT_STMT_IMPL;
class NYX_CONSTRAINT_ARG_IMPL;
class NYX_CONSTRAINT_COLLECTION_IMPL;
class NYX_SOURCE_FILE_IMPL;
class NYX_ENTITY_IMPL;
class NYX_SDC_CLOCK_IMPL;
class NYX_HIER_MODULE_IMPL;
class NYX_HIER_INSTANCE_IMPL;
class NYX_HIER_PORT_IMPL;
class NYX_BYTE1_TRAIT_IMPL;
class NYX_BYTE4_TRAIT_IMPL;
class NYX_BYTE8_TRAIT_IMPL;

// Observers of an object type.
template <class T>
class NYX_API NYX_OBSERVER_BASE;
template <class T>
class NYX_API NYX_ALLOCATE_OBSERVER;
template <class T>
class NYX_API NYX_CONNECTION_OBSERVER;
template <class T>
class NYX_API NYX_COPY_OBSERVER;
template <class T>
class NYX_API NYX_OBSERVER;

// Names. NYX_NAME is a tag that is never defined: a name is known by its NYX_NAME_ID alone.
class NYX_API NYX_NAME;

// Values.
class NYX_API NYX_POINT;
class NYX_API NYX_BOX;
class NYX_API NYX_ORIENTATION;
class NYX_API NYX_TRANSFORM;
class NYX_API NYX_FIELD_STATS;
class NYX_API NYX_TYPE_STATS;
class NYX_API NYX_STATS;
class NYX_API NYX_PARAM_VALUES;

#endif
