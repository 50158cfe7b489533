#ifndef NYX_DB_DIAGNOSTICS_H
#define NYX_DB_DIAGNOSTICS_H

/// \file
/// How the database layer raises message codes and traces the use of handles.

class NYX_DB;

/// The environment variable that makes trace_db_access() speak.
inline constexpr const char *s_nyx_db_debug_access = "NYX_DB_DEBUG_ACCESS";

/// Raises NYX_RUNTIME_ERROR with the text of the message code `code` and `argument` for its %1%, "<no arg provided>" if
/// that is null. A null code raises "nyx_db_exception_with_msg_code attempted with NULL msg_code".
[[noreturn]] void nyx_db_exception_with_msg_code(const char *code, const char *argument);

/// Reports to the debug channel that the operation `caller_name` was called on `db`, and from where, if the environment
/// variable NYX_DB_DEBUG_ACCESS is set and not empty at the time of the call. Ends the run if `caller_name` is null.
void trace_db_access(const char *caller_name, const NYX_DB *db);

#endif
