#ifndef NYX_TRAIT_VISITORS_H
#define NYX_TRAIT_VISITORS_H

/// \file
/// Walks over the traits that are declared for a type of objects: visit_sparse_traits() calls `visit` once for each.

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_traits.h"

#include <boost/variant.hpp>

#include <iosfwd>
#include <set>

/// Is shown one trait after the other. The order of the members is interface.
class NYX_API NYX_SPARSE_TRAIT_VISITOR {
public:
    virtual ~NYX_SPARSE_TRAIT_VISITOR();
    virtual void visit(NYX_APP_TRAIT *trait) = 0;
    virtual void visit(NYX_TIME_TRAIT *trait) = 0;
    virtual void visit(NYX_DOUBLE_TRAIT *trait) = 0;
    virtual void visit(NYX_FLOAT_TRAIT *trait) = 0;
    virtual void visit(NYX_STRING_TRAIT *trait) = 0;
    virtual void visit(NYX_INT_TRAIT *trait) = 0;
    virtual void visit(NYX_BOOL_TRAIT *trait) = 0;
};

/// Writes a line for each trait: its address, a blank, and what output_to_str() gives.
class NYX_API NYX_SPARSE_TRAIT_OUTPUT_VISITOR : public NYX_SPARSE_TRAIT_VISITOR {
public:
    explicit NYX_SPARSE_TRAIT_OUTPUT_VISITOR(std::ostream &stream) : m_stream(stream) {}
    void visit(NYX_APP_TRAIT *trait) override;
    void visit(NYX_TIME_TRAIT *trait) override;
    void visit(NYX_DOUBLE_TRAIT *trait) override;
    void visit(NYX_FLOAT_TRAIT *trait) override;
    void visit(NYX_STRING_TRAIT *trait) override;
    void visit(NYX_INT_TRAIT *trait) override;
    void visit(NYX_BOOL_TRAIT *trait) override;

private:
    std::ostream &m_stream;
};

/// The same with the value of an object; traits of which it has the default are left out unless `show_defaults`.
template <class T>
class NYX_API NYX_SPARSE_TRAIT_OUTPUT_WITH_OBJ_VISITOR : public NYX_SPARSE_TRAIT_VISITOR {
public:
    NYX_SPARSE_TRAIT_OUTPUT_WITH_OBJ_VISITOR(std::ostream &stream, const T *object, bool show_defaults)
        : m_stream(stream)
        , m_object(object)
        , m_show_defaults(show_defaults) {}
    void visit(NYX_APP_TRAIT *trait) override;
    void visit(NYX_TIME_TRAIT *trait) override;
    void visit(NYX_DOUBLE_TRAIT *trait) override;
    void visit(NYX_FLOAT_TRAIT *trait) override;
    void visit(NYX_STRING_TRAIT *trait) override;
    void visit(NYX_INT_TRAIT *trait) override;
    void visit(NYX_BOOL_TRAIT *trait) override;

private:
    std::ostream &m_stream;
    const T *m_object;
    bool m_show_defaults;
};

/// Collects the traits.
class NYX_API NYX_TRAIT_COLLECT_VISITOR : public NYX_SPARSE_TRAIT_VISITOR {
public:
    using TRAIT = boost::variant<NYX_APP_TRAIT *, NYX_TIME_TRAIT *, NYX_DOUBLE_TRAIT *, NYX_FLOAT_TRAIT *,
                                 NYX_STRING_TRAIT *, NYX_INT_TRAIT *, NYX_BOOL_TRAIT *>;

    void visit(NYX_APP_TRAIT *trait) override;
    void visit(NYX_TIME_TRAIT *trait) override;
    void visit(NYX_DOUBLE_TRAIT *trait) override;
    void visit(NYX_FLOAT_TRAIT *trait) override;
    void visit(NYX_STRING_TRAIT *trait) override;
    void visit(NYX_INT_TRAIT *trait) override;
    void visit(NYX_BOOL_TRAIT *trait) override;

    const std::set<TRAIT> &get_traits() const { return m_traits; }

private:
    std::set<TRAIT> m_traits;
};

/// Gives an object the default of each trait. The traits must be those of its database.
template <class T>
class NYX_API NYX_TRAIT_CLEAR_VISITOR : public NYX_SPARSE_TRAIT_VISITOR {
public:
    explicit NYX_TRAIT_CLEAR_VISITOR(T *object) : m_object(object) {}
    void visit(NYX_APP_TRAIT *trait) override;
    void visit(NYX_TIME_TRAIT *trait) override;
    void visit(NYX_DOUBLE_TRAIT *trait) override;
    void visit(NYX_FLOAT_TRAIT *trait) override;
    void visit(NYX_STRING_TRAIT *trait) override;
    void visit(NYX_INT_TRAIT *trait) override;
    void visit(NYX_BOOL_TRAIT *trait) override;

private:
    T *m_object;
};

/// Gives `destination` the values of `source`, where those are not the default. The traits must be those of the
/// database of `destination`; `source` may be in another one.
template <class T>
class NYX_API NYX_TRAIT_COPY_VISITOR : public NYX_SPARSE_TRAIT_VISITOR {
public:
    NYX_TRAIT_COPY_VISITOR(const T *source, T *destination) : m_source(source), m_destination(destination) {}
    void visit(NYX_APP_TRAIT *trait) override;
    void visit(NYX_TIME_TRAIT *trait) override;
    void visit(NYX_DOUBLE_TRAIT *trait) override;
    void visit(NYX_FLOAT_TRAIT *trait) override;
    void visit(NYX_STRING_TRAIT *trait) override;
    void visit(NYX_INT_TRAIT *trait) override;
    void visit(NYX_BOOL_TRAIT *trait) override;

private:
    const T *m_source;
    T *m_destination;
};

/// Gives `destination` the values of `source`, which is in another database and whose traits are walked. A trait that
/// the destination's database does not have is declared there, with all that belongs to it, if `source` has a value
/// other than its default.
template <class T>
class NYX_API NYX_TRAIT_COPY_TO_DB_VISITOR : public NYX_SPARSE_TRAIT_VISITOR {
public:
    NYX_TRAIT_COPY_TO_DB_VISITOR(const T *source, T *destination) : m_source(source), m_destination(destination) {}
    void visit(NYX_APP_TRAIT *trait) override;
    void visit(NYX_TIME_TRAIT *trait) override;
    void visit(NYX_DOUBLE_TRAIT *trait) override;
    void visit(NYX_FLOAT_TRAIT *trait) override;
    void visit(NYX_STRING_TRAIT *trait) override;
    void visit(NYX_INT_TRAIT *trait) override;
    void visit(NYX_BOOL_TRAIT *trait) override;

private:
    const T *m_source;
    T *m_destination;
};

#endif
