#ifndef NYX_DB_LOCK_H
#define NYX_DB_LOCK_H

/// The process-wide lock on the tables of open databases, held for the lifetime of the object. Recursive: closing a
/// database closes its sub-databases under it.
class [[nodiscard]] NYX_DB_LOCK {
public:
    NYX_DB_LOCK();
    ~NYX_DB_LOCK();
    NYX_DB_LOCK(const NYX_DB_LOCK &) = delete;
    NYX_DB_LOCK &operator=(const NYX_DB_LOCK &) = delete;
};

#endif
