#ifndef NYX_TRAITS_H
#define NYX_TRAITS_H

/// \file
/// Traits by the type of their values. They are declared, found, read and written through the members that all objects
/// have (NYX_TRAIT_BEARER).

#include "nyx/nyx_api.h"
#include "nyx/nyx_app_data.h"
#include "nyx/nyx_byte_trait.h"
#include "nyx/nyx_fwd.h"

#include <iosfwd>
#include <string>

/// The type of a trait's values. Stored in the trait's row: do not change the values.
enum class NYX_TRAIT_VALUE_TYPE : unsigned char {
    INT_TRAIT_VALUE = 0,
    BOOL_TRAIT_VALUE = 1,
    STRING_TRAIT_VALUE = 2,
    FLOAT_TRAIT_VALUE = 3,
    DOUBLE_TRAIT_VALUE = 4,
    TIME_TRAIT_VALUE = 5,
    APP_TRAIT_VALUE = 6
};

// What all of the classes below offer:
//
//     get_default_value        the default
//     convert_value_to_str     a value as a text; the same in every locale
//     output_to_str            the trait as a line of the table that output_all_sparse_traits() writes; with an object
//                              its value in addition, as in output_sparse_traits(). A null object raises
//                              NYX_INVALID_ARGUMENT "Obj cannot be NULL". The line ends in a newline.

/// A trait with values of type bool; their texts are "True" and "False".
class NYX_API NYX_BOOL_TRAIT : public NYX_BYTE1_TRAIT {
public:
    bool get_default_value() const;
    static std::string convert_value_to_str(bool value);
    std::string output_to_str() const;
    template <class T>
    std::string output_to_str(const T *obj) const;

protected:
    NYX_BOOL_TRAIT() = default;
    ~NYX_BOOL_TRAIT() = default;
};

/// A trait with values of type int.
class NYX_API NYX_INT_TRAIT : public NYX_BYTE4_TRAIT {
public:
    int get_default_value() const;
    static std::string convert_value_to_str(int value);
    std::string output_to_str() const;
    template <class T>
    std::string output_to_str(const T *obj) const;

protected:
    NYX_INT_TRAIT() = default;
    ~NYX_INT_TRAIT() = default;
};

/// A trait with texts, which are kept among the names of its database.
class NYX_API NYX_STRING_TRAIT : public NYX_BYTE4_TRAIT {
public:
    std::string get_default_value() const;
    static std::string convert_value_to_str(const std::string &value);
    std::string output_to_str() const;
    template <class T>
    std::string output_to_str(const T *obj) const;

protected:
    NYX_STRING_TRAIT() = default;
    ~NYX_STRING_TRAIT() = default;
};

/// A trait with values of type float. Their texts have 9 digits, and are read back as the same value.
class NYX_API NYX_FLOAT_TRAIT : public NYX_BYTE4_TRAIT {
public:
    float get_default_value() const;
    static std::string convert_value_to_str(float value);
    std::string output_to_str() const;
    template <class T>
    std::string output_to_str(const T *obj) const;

protected:
    NYX_FLOAT_TRAIT() = default;
    ~NYX_FLOAT_TRAIT() = default;
};

/// A trait with values of type double. Their texts have 17 digits, and are read back as the same value.
class NYX_API NYX_DOUBLE_TRAIT : public NYX_BYTE8_TRAIT {
public:
    double get_default_value() const;
    static std::string convert_value_to_str(double value);
    std::string output_to_str() const;
    template <class T>
    std::string output_to_str(const T *obj) const;

protected:
    NYX_DOUBLE_TRAIT() = default;
    ~NYX_DOUBLE_TRAIT() = default;
};

/// A trait with times: integers in a unit that whoever declared it knows.
class NYX_API NYX_TIME_TRAIT : public NYX_BYTE8_TRAIT {
public:
    long long get_default_value() const;
    static std::string convert_value_to_str(long long value);
    std::string output_to_str() const;
    template <class T>
    std::string output_to_str(const T *obj) const;

protected:
    NYX_TIME_TRAIT() = default;
    ~NYX_TIME_TRAIT() = default;
};

/// A trait with bytes of an application. Texts tell the size and the first five bytes, such as "App Data (7 bytes: 1 2
/// 3 4 5 ...)".
class NYX_API NYX_APP_TRAIT : public NYX_BYTE8_TRAIT {
public:
    /// Good as long as the trait.
    NYX_APP_DATA get_default_value() const;
    static std::string convert_value_to_str(const NYX_APP_DATA &value);
    std::string output_to_str() const;
    template <class T>
    std::string output_to_str(const T *obj) const;

protected:
    NYX_APP_TRAIT() = default;
    ~NYX_APP_TRAIT() = default;
};

/// The head of a table of traits: `object_name` with " Traits" behind it to the log, the titles of the columns to
/// `stream`. `with_value`: there is a column for values.
NYX_API void nyx_sparse_trait_output_header(std::ostream &stream, const char *object_name, bool with_value);

/// A line of it. A null `value` stands for no column of values, another null text for an empty one. Formatting that a
/// caller left in the stream does not matter to either.
NYX_API void nyx_sparse_trait_output(std::ostream &stream, const char *name, const char *type, const char *value,
                                     const char *default_value, const char *group, bool internal,
                                     const char *description);

#endif
