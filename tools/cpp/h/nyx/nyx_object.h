#ifndef NYX_OBJECT_H
#define NYX_OBJECT_H

/// \file
/// What every object of a database offers.

#include "nyx/nyx_api.h"
#include "nyx/nyx_app_data.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_property.h"

#include <boost/range/iterator_range_core.hpp>

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

/// Traits of the objects of type T: named, typed, sparse attributes. A trait is declared once in a database, for the
/// objects of one type, with a default; it takes room for those objects alone whose value is another one. What callers
/// hold is the handle of the trait (nyx_traits.h), which is found by name once and kept: it is valid until the database
/// is closed, for traits are never deleted.
///
/// A name belongs to one trait of T at most, whatever the type of its values. A trait may have an internal name as
/// well: it is then found by that alone, the plain name stays reserved, and walks and lists leave it out unless asked.
///
/// All of these raise NYX_INVALID_ARGUMENT, "Input trait cannot be NULL" or "Input database cannot be NULL", where they
/// are given null. X below is the name of T.
template <class T>
class NYX_API NYX_TRAIT_BEARER {
public:
    /// \name Declaring traits
    /// Group, description and internal name may be empty, and then stand for none. Names can't hold a NUL. An internal
    /// name differs from the name: one that is equal would be reserved by it, and the trait could not be found.
    ///
    /// Raise NYX_INVALID_ARGUMENT "Cannot create a trait with an empty name"; NYX_RUNTIME_ERROR "X already has trait
    /// named NAME", or "X already has trait using internal name NAME", whatever the type of that one.
    /// boost::interprocess::bad_alloc when the database is full; nothing is declared then.
    /// \{
    static NYX_BOOL_TRAIT *create_bool_trait(NYX_DB *db, const std::string &name, bool default_value,
                                             const std::string &group, const std::string &description,
                                             const std::string &internal_name);
    static NYX_INT_TRAIT *create_int_trait(NYX_DB *db, const std::string &name, int default_value,
                                           const std::string &group, const std::string &description,
                                           const std::string &internal_name);
    static NYX_STRING_TRAIT *create_string_trait(NYX_DB *db, const std::string &name, const std::string &default_value,
                                                 const std::string &group, const std::string &description,
                                                 const std::string &internal_name);
    static NYX_FLOAT_TRAIT *create_float_trait(NYX_DB *db, const std::string &name, float default_value,
                                               const std::string &group, const std::string &description,
                                               const std::string &internal_name);
    static NYX_DOUBLE_TRAIT *create_double_trait(NYX_DB *db, const std::string &name, double default_value,
                                                 const std::string &group, const std::string &description,
                                                 const std::string &internal_name);
    static NYX_TIME_TRAIT *create_time_trait(NYX_DB *db, const std::string &name, long long default_value,
                                             const std::string &group, const std::string &description,
                                             const std::string &internal_name);
    /// The bytes of the default are copied.
    static NYX_APP_TRAIT *create_app_trait(NYX_DB *db, const std::string &name, const NYX_APP_DATA &default_value,
                                           const std::string &group, const std::string &description,
                                           const std::string &internal_name);
    /// \}

    /// \name Finding traits
    /// By name, the internal one for a trait that has one. Null if there is none, or one with values of another type.
    /// Nothing is written, the name is not entered. O(length of the name). Raise NYX_INVALID_ARGUMENT "Input name
    /// cannot be empty".
    /// \{
    static NYX_BOOL_TRAIT *find_bool_trait(const NYX_DB *db, const std::string &name);
    static NYX_INT_TRAIT *find_int_trait(const NYX_DB *db, const std::string &name);
    static NYX_STRING_TRAIT *find_string_trait(const NYX_DB *db, const std::string &name);
    static NYX_FLOAT_TRAIT *find_float_trait(const NYX_DB *db, const std::string &name);
    static NYX_DOUBLE_TRAIT *find_double_trait(const NYX_DB *db, const std::string &name);
    static NYX_TIME_TRAIT *find_time_trait(const NYX_DB *db, const std::string &name);
    static NYX_APP_TRAIT *find_app_trait(const NYX_DB *db, const std::string &name);
    /// \}

    /// \name Finding or declaring traits
    /// The trait of that internal name, if one is given; else the one of that name; else a new one. Group and
    /// description of a trait that is there stay as they are. Defaults of floating-point values are compared by their
    /// bits, so that 0.0 and -0.0 do not match.
    ///
    /// Raise what finding and declaring raise, and NYX_RUNTIME_ERROR "X already has an internal trait named NAME." if
    /// an internal name is given but the name belongs to a trait without that, or "X already has trait named NAME with
    /// a default value of VALUE that does not match the input default value of VALUE".
    /// \{
    static NYX_BOOL_TRAIT *find_or_create_bool_trait(NYX_DB *db, const std::string &name, bool default_value,
                                                     const std::string &group, const std::string &description,
                                                     const std::string &internal_name);
    static NYX_INT_TRAIT *find_or_create_int_trait(NYX_DB *db, const std::string &name, int default_value,
                                                   const std::string &group, const std::string &description,
                                                   const std::string &internal_name);
    static NYX_STRING_TRAIT *find_or_create_string_trait(NYX_DB *db, const std::string &name,
                                                         const std::string &default_value, const std::string &group,
                                                         const std::string &description,
                                                         const std::string &internal_name);
    static NYX_FLOAT_TRAIT *find_or_create_float_trait(NYX_DB *db, const std::string &name, float default_value,
                                                       const std::string &group, const std::string &description,
                                                       const std::string &internal_name);
    static NYX_DOUBLE_TRAIT *find_or_create_double_trait(NYX_DB *db, const std::string &name, double default_value,
                                                         const std::string &group, const std::string &description,
                                                         const std::string &internal_name);
    static NYX_TIME_TRAIT *find_or_create_time_trait(NYX_DB *db, const std::string &name, long long default_value,
                                                     const std::string &group, const std::string &description,
                                                     const std::string &internal_name);
    static NYX_APP_TRAIT *find_or_create_app_trait(NYX_DB *db, const std::string &name,
                                                   const NYX_APP_DATA &default_value, const std::string &group,
                                                   const std::string &description, const std::string &internal_name);
    /// \}

    /// Whether a new trait of T can't have this name: one has it, as its name or as its internal one. Raises
    /// NYX_INVALID_ARGUMENT "Input name cannot be NULL" for an empty name.
    static bool trait_exists(NYX_DB *db, const std::string &name);

    /// \name Whether no object has a value other than the default
    /// \{
    static bool trait_is_empty(NYX_BOOL_TRAIT *trait);
    static bool trait_is_empty(NYX_INT_TRAIT *trait);
    static bool trait_is_empty(NYX_STRING_TRAIT *trait);
    static bool trait_is_empty(NYX_FLOAT_TRAIT *trait);
    static bool trait_is_empty(NYX_DOUBLE_TRAIT *trait);
    static bool trait_is_empty(NYX_TIME_TRAIT *trait);
    static bool trait_is_empty(NYX_APP_TRAIT *trait);
    /// \}

    /// \name Reading
    /// The value of this object, which is the trait's default if none was set. A few loads, and nothing is written.
    ///
    /// The trait may be one of another database: the trait of this object's database that corresponds to it, by name,
    /// internal name and type of the values, is read then, and the default of `trait` given if there is none. That
    /// costs two look-ups more; who reads many objects finds the trait of their database once.
    /// \{
    bool get_value(const NYX_BOOL_TRAIT *trait) const;
    int get_value(const NYX_INT_TRAIT *trait) const;
    std::string get_value(const NYX_STRING_TRAIT *trait) const;
    float get_value(const NYX_FLOAT_TRAIT *trait) const;
    double get_value(const NYX_DOUBLE_TRAIT *trait) const;
    long long get_value(const NYX_TIME_TRAIT *trait) const;
    /// The bytes stay in the database, and are good until the value is set again or the object deleted.
    NYX_APP_DATA get_value(const NYX_APP_TRAIT *trait) const;
    /// \}

    /// \name Writing
    /// Setting the default takes the object's value out. Unlike for reading, `trait` must be one of this object's
    /// database: nothing looks at that, and the value would be one of whatever object has this one's number there. It
    /// need not be one for objects of this type. Floating-point values are compared by their bits: 0.0 and -0.0 are two
    /// values. boost::interprocess::bad_alloc when the database is full; the old value stays then.
    /// \{
    void set_value(NYX_BOOL_TRAIT *trait, bool value);
    void set_value(NYX_INT_TRAIT *trait, int value);
    /// Equal texts are stored once in a database, and never given up. A text ends at its first NUL.
    void set_value(NYX_STRING_TRAIT *trait, const std::string &value);
    void set_value(NYX_FLOAT_TRAIT *trait, float value);
    void set_value(NYX_DOUBLE_TRAIT *trait, double value);
    void set_value(NYX_TIME_TRAIT *trait, long long value);
    /// The bytes are copied into the database, over those of an old value of the same size.
    void set_value(NYX_APP_TRAIT *trait, const NYX_APP_DATA &value);
    /// \}

    /// \name Whether this object has the default
    /// Costs what reading costs, and is redirected like it: true if there is no corresponding trait.
    /// \{
    bool is_default_value(const NYX_BOOL_TRAIT *trait) const;
    bool is_default_value(const NYX_INT_TRAIT *trait) const;
    bool is_default_value(const NYX_STRING_TRAIT *trait) const;
    bool is_default_value(const NYX_FLOAT_TRAIT *trait) const;
    bool is_default_value(const NYX_DOUBLE_TRAIT *trait) const;
    bool is_default_value(const NYX_TIME_TRAIT *trait) const;
    bool is_default_value(const NYX_APP_TRAIT *trait) const;
    /// \}

    /// \name The value as a text
    /// As the static member of that name of the trait's class writes it.
    /// \{
    std::string convert_value_to_str(const NYX_BOOL_TRAIT *trait) const;
    std::string convert_value_to_str(const NYX_INT_TRAIT *trait) const;
    std::string convert_value_to_str(const NYX_STRING_TRAIT *trait) const;
    std::string convert_value_to_str(const NYX_FLOAT_TRAIT *trait) const;
    std::string convert_value_to_str(const NYX_DOUBLE_TRAIT *trait) const;
    std::string convert_value_to_str(const NYX_TIME_TRAIT *trait) const;
    std::string convert_value_to_str(const NYX_APP_TRAIT *trait) const;
    /// \}

    /// \name All traits of T
    /// A walk visits those with values of 1, of 4, then of 8 bytes, each in the order in which they were declared, and
    /// internal ones if `include_internal` is set. What a visitor throws ends it. O(traits of all types of objects).
    /// The static ones raise NYX_INVALID_ARGUMENT "Input database cannot be NULL".
    /// \{
    static void visit_sparse_traits(const NYX_DB *db, NYX_SPARSE_TRAIT_VISITOR *visitor, bool include_internal);

    /// Writes this object's values as a table, a trait a line with its address in front; those with the default value
    /// only if `show_defaults` is set. The line "NAME Traits" above it goes to the log. Without a stream, so does all.
    void output_sparse_traits(std::ostream &stream, bool show_defaults, bool include_internal) const;
    void output_sparse_traits(bool show_defaults, bool include_internal) const;

    /// The same for the traits that are declared, without values.
    static void output_all_sparse_traits(std::ostream &stream, const NYX_DB *db, bool include_internal);
    static void output_all_sparse_traits(const NYX_DB *db, bool include_internal);
    /// \}

    /// The number of the layout in which the traits of T are stored; it depends on no database. The parts that went
    /// into it are appended to `members` when that is given.
    static std::uint64_t get_trait_schema_id(std::vector<NYX_SCHEMA_MEMBER> *members);

protected:
    NYX_TRAIT_BEARER() = default;
    ~NYX_TRAIT_BEARER() = default;
};

/// Properties of the objects of type T: values of any of eight types by name, which need no declaration. An object that
/// never had one takes no room for them. Names and texts end at a NUL. Looks the name up, and then O(log n) of the
/// properties of the object.
template <class T>
class NYX_API NYX_PROPERTY_BEARER {
public:
    bool has_property(const std::string &name) const;

    /// Raises NYX_INVALID_ARGUMENT "Unknown property name 'NAME'" for a name that the database does not know; then
    /// std::out_of_range, "Object has no properties" for an object that never had one, and "No such property 'NAME'"
    /// for one that has, or had, others. Bytes of an application stay in the
    /// database, and are good until the property is set again or removed, or the object deleted.
    NYX_PROPERTY_VALUE get_property(const std::string &name) const;

    /// The same, but empty where there is no such property.
    std::optional<NYX_PROPERTY_VALUE> find_property(const std::string &name) const;

    /// Adds the property or gives it another value, which may be of another type. Texts are entered in the names of the
    /// database, bytes of an application are copied. boost::interprocess::bad_alloc when the database is full; no
    /// property has changed then, but the database may know the name from now on.
    void set_property(const std::string &name, const NYX_PROPERTY_VALUE &value);

    /// Does nothing if there is no such property.
    void remove_property(const std::string &name);

    /// In the order of the names' identifiers, which is that in which the database got to know the names.
    boost::iterator_range<NYX_PROPERTY_ITER<T>> iter_properties() const;

protected:
    NYX_PROPERTY_BEARER() = default;
    ~NYX_PROPERTY_BEARER() = default;
};

/// Whether objects of type T have traits and properties. Traits have none themselves, and neither have the nodes of a
/// hierarchy and the parts of statements.
template <class T>
inline constexpr bool nyx_bears_traits =
    !(std::is_same_v<T, NYX_HIER_INSTANCE> || std::is_same_v<T, NYX_HIER_PORT> ||
      std::is_same_v<T, NYX_CONSTRAINT_ARG> || std::is_same_v<T, NYX_CONSTRAINT_COLLECTION> ||
      std::is_same_v<T, NYX_BYTE1_TRAIT> || std::is_same_v<T, NYX_BYTE4_TRAIT> || std::is_same_v<T, NYX_BYTE8_TRAIT>);

/// What an object of type T bears besides its columns.
template <class T, bool BEARS = nyx_bears_traits<T>>
class NYX_ATTRIBUTES {};
template <class T>
class NYX_ATTRIBUTES<T, true> : public NYX_TRAIT_BEARER<T>, public NYX_PROPERTY_BEARER<T> {};

/// Base of all handles; T is the handle. A handle has no members: its address is its row's, and row number, table and
/// database follow from the address. Handles are not made, copied or destroyed by callers. Two handles are the same
/// object if their addresses are equal.
template <class T>
class NYX_API NYX_OBJECT : public NYX_ATTRIBUTES<T> {
public:
    NYX_OBJECT(const NYX_OBJECT &) = delete;
    NYX_OBJECT &operator=(const NYX_OBJECT &) = delete;

    /// The database that holds the object. O(log of the number of open databases).
    NYX_DB *get_db() const;

    /// A hash of the object's identity, for script bindings. It changes when the database is loaded again.
    long python_hash() const;

    /// The number of the stored layout of T's table and traits; it changes whenever one of them does. The parts that
    /// went into it are appended to `members` when that is given.
    static std::uint64_t get_schema_id(std::vector<NYX_SCHEMA_MEMBER> *members);

protected:
    NYX_OBJECT() = default;
    ~NYX_OBJECT() = default;
};

#endif
