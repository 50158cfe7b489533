// Texts of values, and tables of traits.
#include "traits/nyx_trait_output.h"

#include "traits/nyx_trait_core.h"

#include <iomanip>
#include <limits>
#include <locale>
#include <ostream>
#include <sstream>

namespace {

// Enough digits to read the same value back.
template <class VALUE>
std::string float_text(VALUE value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::setprecision(std::numeric_limits<VALUE>::max_digits10) << value;
    return text.str();
}

class LINE {
public:
    LINE() { m_text << std::left; }
    LINE &column(const char *text, int width, const char *behind = " ") {
        m_text << std::setw(width) << (text != nullptr ? text : "") << behind;
        return *this;
    }
    std::string str() const { return m_text.str(); }

private:
    std::ostringstream m_text;
};

std::string format_line(const char *name, const char *type, const char *value, const char *default_value,
                        const char *group, const char *internal, const char *description) {
    LINE line;
    line.column(name, 30).column(type, 10);
    if (value != nullptr)
        line.column(value, 15);
    line.column(default_value, 15).column(group, 20).column(internal, 10).column(description, 30, "\n");
    return line.str();
}

} // namespace

static_assert(std::numeric_limits<float>::max_digits10 == 9 && std::numeric_limits<double>::max_digits10 == 17);

std::string NYX_BOOL_TRAIT::convert_value_to_str(bool value) {
    return value ? "True" : "False";
}
std::string NYX_INT_TRAIT::convert_value_to_str(int value) {
    return std::to_string(value);
}
std::string NYX_STRING_TRAIT::convert_value_to_str(const std::string &value) {
    return value;
}
std::string NYX_FLOAT_TRAIT::convert_value_to_str(float value) {
    return float_text(value);
}
std::string NYX_DOUBLE_TRAIT::convert_value_to_str(double value) {
    return float_text(value);
}
std::string NYX_TIME_TRAIT::convert_value_to_str(long long value) {
    return std::to_string(value);
}
std::string NYX_APP_TRAIT::convert_value_to_str(const NYX_APP_DATA &value) {
    constexpr unsigned s_shown = 5;
    std::string text = "App Data (" + std::to_string(value.get_size()) + " bytes";
    for (unsigned i = 0; i < value.get_size() && i < s_shown; ++i)
        text.append(i == 0 ? ": " : " ").append(std::to_string(value.get_data()[i]));
    return text + (value.get_size() > s_shown ? " ...)" : ")");
}

const char *NYX_APP_DATA::python_str() const {
    static std::string s_text;
    s_text = NYX_APP_TRAIT::convert_value_to_str(*this);
    return s_text.c_str();
}

void nyx_write_trait_text(std::ostream &stream, const std::string &text) {
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    stream.width(0);
}

void nyx_sparse_trait_output_header(std::ostream &stream, const char *object_name, bool with_value) {
    NYX_REPORT::info("%s Traits\n", object_name != nullptr ? object_name : "");
    const std::string line = format_line("NAME", "TYPE", with_value ? "VALUE" : nullptr, "DEFAULT VALUE", "GROUP",
                                         "INTERNAL", "DESCRIPTION");
    nyx_write_trait_text(stream, line);
}

void nyx_sparse_trait_output(std::ostream &stream, const char *name, const char *type, const char *value,
                             const char *default_value, const char *group, bool internal, const char *description) {
    const std::string line =
        format_line(name, type, value, default_value, group, internal ? "True" : "False", description);
    nyx_write_trait_text(stream, line);
}

template <class TRAIT>
std::string nyx_format_trait_line(const TRAIT *trait, const char *type, const char *value,
                                  const std::string &default_value) {
    std::ostringstream line;
    nyx_sparse_trait_output(line, trait->get_name().c_str(), type, value, default_value.c_str(),
                            trait->get_group().c_str(), trait->is_internal(), trait->get_description().c_str());
    return line.str();
}

template std::string nyx_format_trait_line(const NYX_BOOL_TRAIT *, const char *, const char *, const std::string &);
template std::string nyx_format_trait_line(const NYX_INT_TRAIT *, const char *, const char *, const std::string &);
template std::string nyx_format_trait_line(const NYX_STRING_TRAIT *, const char *, const char *, const std::string &);
template std::string nyx_format_trait_line(const NYX_FLOAT_TRAIT *, const char *, const char *, const std::string &);
template std::string nyx_format_trait_line(const NYX_DOUBLE_TRAIT *, const char *, const char *, const std::string &);
template std::string nyx_format_trait_line(const NYX_TIME_TRAIT *, const char *, const char *, const std::string &);
template std::string nyx_format_trait_line(const NYX_APP_TRAIT *, const char *, const char *, const std::string &);
