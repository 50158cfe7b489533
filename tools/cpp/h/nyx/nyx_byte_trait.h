#ifndef NYX_BYTE_TRAIT_H
#define NYX_BYTE_TRAIT_H

/// \file
/// Traits by the width of the values that they store: what all traits have, whatever the type of their values.

#include "nyx/nyx_api.h"
#include "nyx/nyx_db.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

#include <boost/iterator/iterator_facade.hpp>
#include <boost/range/iterator_range_core.hpp>

#include <string>

/// Walks the objects of type T whose value of a trait is not the default, in no order. TRAIT is the trait's width. An
/// end iterator equals any other. Give objects no value during the walk, and do not reset the value of the present one
/// before the step past it.
template <class TRAIT, class T>
class NYX_API NYX_TRAIT_OBJECT_ITER
    : public boost::iterator_facade<NYX_TRAIT_OBJECT_ITER<TRAIT, T>, T *, boost::forward_traversal_tag, T *> {
public:
    /// The end.
    NYX_TRAIT_OBJECT_ITER() = default;
    /// The first object: one of the trait's own database, then, unless `this_db_only`, of the databases that this one
    /// refers to itself, by the traits there that correspond to `trait`.
    NYX_TRAIT_OBJECT_ITER(const TRAIT *trait, bool this_db_only);

private:
    friend class boost::iterator_core_access;

    T *dereference() const { return m_object; }
    bool equal(const NYX_TRAIT_OBJECT_ITER &other) const { return m_object == other.m_object; }
    void increment();
    void enter_next_leaf();

    const TRAIT *m_trait = nullptr;
    const TRAIT *m_walked = nullptr; ///< the one of the database that the walk is in
    NYX_DB_LEAF_DB_ITER m_leaf;
    T *m_object = nullptr;
};

/// What all traits of a width share; TRAIT is the width, RAW the value as it is stored.
template <class TRAIT, class RAW>
class NYX_API NYX_BYTE_TRAIT : public NYX_OBJECT<TRAIT> {
public:
    /// As it is stored; the classes of the types of values give it as a value.
    RAW get_default_value() const;

    /// The name under which it was declared, also where it has an internal one.
    std::string get_name() const;
    /// Empty where there is none.
    std::string get_description() const;
    std::string get_group() const;

    /// Whether it has an internal name: it is the library's own, or another tool's.
    bool is_internal() const;
    /// Empty where there is none.
    std::string get_internal_name() const;
    /// What its objects are.
    NYX_TRAIT_OBJ_TYPE get_object_type() const;
    /// Whether no object has a value other than the default.
    bool is_empty() const;

    /// Gives all objects the default. The blocks of values of applications are not given back: they stay in the
    /// database, unused.
    void reset_all_objects_having_this_trait();

    /// \name Objects that have a value other than the default
    /// Those of the trait's own type, hence none from all of these but one. With `this_db_only` unset also those of the
    /// databases that the trait's database refers to itself.
    /// \{
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_MODULE>> iter_modules(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_PORT>> iter_ports(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_NET>> iter_nets(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_INSTANCE>> iter_instances(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_INSTANCE_BUS>> iter_instance_buses(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_INST_PORT>> iter_inst_ports(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_PORT_BUS>> iter_port_buses(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_NET_BUS>> iter_net_buses(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_INTERFACE>> iter_interfaces(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_INST_HEADER>> iter_inst_headers(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_RELATIVE_OBJECT>>
    iter_relative_objects(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_CONSTRAINT_STMT>>
    iter_constraint_stmts(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_SOURCE_FILE>> iter_source_files(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_ENTITY>> iter_entities(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_SDC_CLOCK>> iter_sdc_clocks(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_DB>> iter_dbs(bool this_db_only) const;
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, NYX_HIER_MODULE>> iter_hier_modules(bool this_db_only) const;
    /// \}

protected:
    NYX_BYTE_TRAIT() = default;
    ~NYX_BYTE_TRAIT() = default;
};

/// A trait whose values take a byte: bool. A handle is its row's address: it owns nothing, and is valid until the
/// database is closed.
class NYX_API NYX_BYTE1_TRAIT : public NYX_BYTE_TRAIT<NYX_BYTE1_TRAIT, signed char> {
public:
    /// \internal The row.
    NYX_BYTE1_TRAIT_IMPL *get_impl();
    const NYX_BYTE1_TRAIT_IMPL *get_impl() const;

protected:
    NYX_BYTE1_TRAIT() = default;
    ~NYX_BYTE1_TRAIT() = default;
};

/// A trait whose values take 4 bytes: int, string, float. A handle is its row's address: it owns nothing, and is valid
/// until the database is closed.
class NYX_API NYX_BYTE4_TRAIT : public NYX_BYTE_TRAIT<NYX_BYTE4_TRAIT, int> {
public:
    /// \internal The row.
    NYX_BYTE4_TRAIT_IMPL *get_impl();
    const NYX_BYTE4_TRAIT_IMPL *get_impl() const;

protected:
    NYX_BYTE4_TRAIT() = default;
    ~NYX_BYTE4_TRAIT() = default;
};

/// A trait whose values take 8 bytes: double, time, bytes of an application. A handle is its row's address: it owns
/// nothing, and is valid until the database is closed.
class NYX_API NYX_BYTE8_TRAIT : public NYX_BYTE_TRAIT<NYX_BYTE8_TRAIT, long long> {
public:
    /// \internal The row.
    NYX_BYTE8_TRAIT_IMPL *get_impl();
    const NYX_BYTE8_TRAIT_IMPL *get_impl() const;

protected:
    NYX_BYTE8_TRAIT() = default;
    ~NYX_BYTE8_TRAIT() = default;
};

using NYX_BYTE1_TRAIT_MODULE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_MODULE>;
using NYX_BYTE1_TRAIT_PORT_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_PORT>;
using NYX_BYTE1_TRAIT_NET_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_NET>;
using NYX_BYTE1_TRAIT_INSTANCE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_INSTANCE>;
using NYX_BYTE1_TRAIT_INSTANCE_BUS_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_INSTANCE_BUS>;
using NYX_BYTE1_TRAIT_INST_PORT_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_INST_PORT>;
using NYX_BYTE1_TRAIT_PORT_BUS_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_PORT_BUS>;
using NYX_BYTE1_TRAIT_NET_BUS_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_NET_BUS>;
using NYX_BYTE1_TRAIT_INTERFACE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_INTERFACE>;
using NYX_BYTE1_TRAIT_INST_HEADER_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_INST_HEADER>;
using NYX_BYTE1_TRAIT_RELATIVE_OBJECT_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_RELATIVE_OBJECT>;
using NYX_BYTE1_TRAIT_CONSTRAINT_STMT_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_CONSTRAINT_STMT>;
using NYX_BYTE1_TRAIT_SOURCE_FILE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_SOURCE_FILE>;
using NYX_BYTE1_TRAIT_ENTITY_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_ENTITY>;
using NYX_BYTE1_TRAIT_SDC_CLOCK_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_SDC_CLOCK>;
using NYX_BYTE1_TRAIT_DB_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_DB>;
using NYX_BYTE1_TRAIT_HIER_MODULE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, NYX_HIER_MODULE>;
using NYX_BYTE4_TRAIT_MODULE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_MODULE>;
using NYX_BYTE4_TRAIT_PORT_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_PORT>;
using NYX_BYTE4_TRAIT_NET_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_NET>;
using NYX_BYTE4_TRAIT_INSTANCE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_INSTANCE>;
using NYX_BYTE4_TRAIT_INSTANCE_BUS_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_INSTANCE_BUS>;
using NYX_BYTE4_TRAIT_INST_PORT_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_INST_PORT>;
using NYX_BYTE4_TRAIT_PORT_BUS_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_PORT_BUS>;
using NYX_BYTE4_TRAIT_NET_BUS_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_NET_BUS>;
using NYX_BYTE4_TRAIT_INTERFACE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_INTERFACE>;
using NYX_BYTE4_TRAIT_INST_HEADER_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_INST_HEADER>;
using NYX_BYTE4_TRAIT_RELATIVE_OBJECT_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_RELATIVE_OBJECT>;
using NYX_BYTE4_TRAIT_CONSTRAINT_STMT_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_CONSTRAINT_STMT>;
using NYX_BYTE4_TRAIT_SOURCE_FILE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_SOURCE_FILE>;
using NYX_BYTE4_TRAIT_ENTITY_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_ENTITY>;
using NYX_BYTE4_TRAIT_SDC_CLOCK_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_SDC_CLOCK>;
using NYX_BYTE4_TRAIT_DB_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_DB>;
using NYX_BYTE4_TRAIT_HIER_MODULE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE4_TRAIT, NYX_HIER_MODULE>;
using NYX_BYTE8_TRAIT_MODULE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_MODULE>;
using NYX_BYTE8_TRAIT_PORT_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_PORT>;
using NYX_BYTE8_TRAIT_NET_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_NET>;
using NYX_BYTE8_TRAIT_INSTANCE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_INSTANCE>;
using NYX_BYTE8_TRAIT_INSTANCE_BUS_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_INSTANCE_BUS>;
using NYX_BYTE8_TRAIT_INST_PORT_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_INST_PORT>;
using NYX_BYTE8_TRAIT_PORT_BUS_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_PORT_BUS>;
using NYX_BYTE8_TRAIT_NET_BUS_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_NET_BUS>;
using NYX_BYTE8_TRAIT_INTERFACE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_INTERFACE>;
using NYX_BYTE8_TRAIT_INST_HEADER_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_INST_HEADER>;
using NYX_BYTE8_TRAIT_RELATIVE_OBJECT_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_RELATIVE_OBJECT>;
using NYX_BYTE8_TRAIT_CONSTRAINT_STMT_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_CONSTRAINT_STMT>;
using NYX_BYTE8_TRAIT_SOURCE_FILE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_SOURCE_FILE>;
using NYX_BYTE8_TRAIT_ENTITY_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_ENTITY>;
using NYX_BYTE8_TRAIT_SDC_CLOCK_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_SDC_CLOCK>;
using NYX_BYTE8_TRAIT_DB_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_DB>;
using NYX_BYTE8_TRAIT_HIER_MODULE_ITER = NYX_TRAIT_OBJECT_ITER<NYX_BYTE8_TRAIT, NYX_HIER_MODULE>;

#endif
