// The walks over traits that callers get.
#include "nyx/nyx_trait_visitors.h"

#include "traits/nyx_bearer_tables.h"
#include "traits/nyx_trait_core.h"
#include "traits/nyx_trait_output.h"

#include <ostream>
#include <sstream>

namespace {

// Formatting that a caller left in the stream does not spoil the table.
void write_line(std::ostream &stream, const void *trait, const std::string &line) {
    std::ostringstream text;
    text << trait << ' ' << line;
    nyx_write_trait_text(stream, text.str());
}

template <class TRAIT, class T>
void output_with_object(std::ostream &stream, const TRAIT *trait, const T *object, bool show_defaults) {
    const NYX_BEARER bearer = nyx_bearer(object);
    if (show_defaults || !NYX_TRAIT_CORE<TRAIT>::is_default_value(trait, bearer))
        write_line(stream, trait, NYX_TRAIT_CORE<TRAIT>::output_to_str(trait, bearer));
}

template <class TRAIT, class T>
void clear(TRAIT *trait, T *object) {
    NYX_TRAIT_CORE<TRAIT>::set_value(trait, nyx_bearer(object), trait->get_default_value());
}

template <class TRAIT, class T>
void copy(TRAIT *trait, const T *source, T *destination) {
    using CORE = NYX_TRAIT_CORE<TRAIT>;
    const NYX_BEARER from = nyx_bearer(source);
    if (!CORE::is_default_value(trait, from))
        CORE::set_value(trait, nyx_bearer(destination), CORE::get_value(trait, from));
}

template <class TRAIT, class T>
void copy_to_db(TRAIT *trait, const T *source, T *destination) {
    using CORE = NYX_TRAIT_CORE<TRAIT>;
    const NYX_BEARER from = nyx_bearer(source);
    if (CORE::is_default_value(trait, from))
        return;
    const NYX_BEARER to = nyx_bearer(destination);
    TRAIT *const there = CORE::find_or_create(nyx_bearer_class<T>, nyx_get_db_of_root(to.root), trait->get_name(),
                                              trait->get_default_value(), trait->get_group(), trait->get_description(),
                                              trait->get_internal_name());
    CORE::set_value(there, to, CORE::get_value(trait, from));
}

} // namespace

NYX_SPARSE_TRAIT_VISITOR::~NYX_SPARSE_TRAIT_VISITOR() = default;

void NYX_SPARSE_TRAIT_OUTPUT_VISITOR::visit(NYX_APP_TRAIT *trait) {
    write_line(m_stream, trait, trait->output_to_str());
}
void NYX_SPARSE_TRAIT_OUTPUT_VISITOR::visit(NYX_TIME_TRAIT *trait) {
    write_line(m_stream, trait, trait->output_to_str());
}
void NYX_SPARSE_TRAIT_OUTPUT_VISITOR::visit(NYX_DOUBLE_TRAIT *trait) {
    write_line(m_stream, trait, trait->output_to_str());
}
void NYX_SPARSE_TRAIT_OUTPUT_VISITOR::visit(NYX_FLOAT_TRAIT *trait) {
    write_line(m_stream, trait, trait->output_to_str());
}
void NYX_SPARSE_TRAIT_OUTPUT_VISITOR::visit(NYX_STRING_TRAIT *trait) {
    write_line(m_stream, trait, trait->output_to_str());
}
void NYX_SPARSE_TRAIT_OUTPUT_VISITOR::visit(NYX_INT_TRAIT *trait) {
    write_line(m_stream, trait, trait->output_to_str());
}
void NYX_SPARSE_TRAIT_OUTPUT_VISITOR::visit(NYX_BOOL_TRAIT *trait) {
    write_line(m_stream, trait, trait->output_to_str());
}

void NYX_TRAIT_COLLECT_VISITOR::visit(NYX_APP_TRAIT *trait) {
    m_traits.insert(trait);
}
void NYX_TRAIT_COLLECT_VISITOR::visit(NYX_TIME_TRAIT *trait) {
    m_traits.insert(trait);
}
void NYX_TRAIT_COLLECT_VISITOR::visit(NYX_DOUBLE_TRAIT *trait) {
    m_traits.insert(trait);
}
void NYX_TRAIT_COLLECT_VISITOR::visit(NYX_FLOAT_TRAIT *trait) {
    m_traits.insert(trait);
}
void NYX_TRAIT_COLLECT_VISITOR::visit(NYX_STRING_TRAIT *trait) {
    m_traits.insert(trait);
}
void NYX_TRAIT_COLLECT_VISITOR::visit(NYX_INT_TRAIT *trait) {
    m_traits.insert(trait);
}
void NYX_TRAIT_COLLECT_VISITOR::visit(NYX_BOOL_TRAIT *trait) {
    m_traits.insert(trait);
}

template <class T>
void NYX_SPARSE_TRAIT_OUTPUT_WITH_OBJ_VISITOR<T>::visit(NYX_APP_TRAIT *trait) {
    output_with_object(m_stream, trait, m_object, m_show_defaults);
}
template <class T>
void NYX_SPARSE_TRAIT_OUTPUT_WITH_OBJ_VISITOR<T>::visit(NYX_TIME_TRAIT *trait) {
    output_with_object(m_stream, trait, m_object, m_show_defaults);
}
template <class T>
void NYX_SPARSE_TRAIT_OUTPUT_WITH_OBJ_VISITOR<T>::visit(NYX_DOUBLE_TRAIT *trait) {
    output_with_object(m_stream, trait, m_object, m_show_defaults);
}
template <class T>
void NYX_SPARSE_TRAIT_OUTPUT_WITH_OBJ_VISITOR<T>::visit(NYX_FLOAT_TRAIT *trait) {
    output_with_object(m_stream, trait, m_object, m_show_defaults);
}
template <class T>
void NYX_SPARSE_TRAIT_OUTPUT_WITH_OBJ_VISITOR<T>::visit(NYX_STRING_TRAIT *trait) {
    output_with_object(m_stream, trait, m_object, m_show_defaults);
}
template <class T>
void NYX_SPARSE_TRAIT_OUTPUT_WITH_OBJ_VISITOR<T>::visit(NYX_INT_TRAIT *trait) {
    output_with_object(m_stream, trait, m_object, m_show_defaults);
}
template <class T>
void NYX_SPARSE_TRAIT_OUTPUT_WITH_OBJ_VISITOR<T>::visit(NYX_BOOL_TRAIT *trait) {
    output_with_object(m_stream, trait, m_object, m_show_defaults);
}

template <class T>
void NYX_TRAIT_CLEAR_VISITOR<T>::visit(NYX_APP_TRAIT *trait) {
    clear(trait, m_object);
}
template <class T>
void NYX_TRAIT_CLEAR_VISITOR<T>::visit(NYX_TIME_TRAIT *trait) {
    clear(trait, m_object);
}
template <class T>
void NYX_TRAIT_CLEAR_VISITOR<T>::visit(NYX_DOUBLE_TRAIT *trait) {
    clear(trait, m_object);
}
template <class T>
void NYX_TRAIT_CLEAR_VISITOR<T>::visit(NYX_FLOAT_TRAIT *trait) {
    clear(trait, m_object);
}
template <class T>
void NYX_TRAIT_CLEAR_VISITOR<T>::visit(NYX_STRING_TRAIT *trait) {
    clear(trait, m_object);
}
template <class T>
void NYX_TRAIT_CLEAR_VISITOR<T>::visit(NYX_INT_TRAIT *trait) {
    clear(trait, m_object);
}
template <class T>
void NYX_TRAIT_CLEAR_VISITOR<T>::visit(NYX_BOOL_TRAIT *trait) {
    clear(trait, m_object);
}

template <class T>
void NYX_TRAIT_COPY_VISITOR<T>::visit(NYX_APP_TRAIT *trait) {
    copy(trait, m_source, m_destination);
}
template <class T>
void NYX_TRAIT_COPY_VISITOR<T>::visit(NYX_TIME_TRAIT *trait) {
    copy(trait, m_source, m_destination);
}
template <class T>
void NYX_TRAIT_COPY_VISITOR<T>::visit(NYX_DOUBLE_TRAIT *trait) {
    copy(trait, m_source, m_destination);
}
template <class T>
void NYX_TRAIT_COPY_VISITOR<T>::visit(NYX_FLOAT_TRAIT *trait) {
    copy(trait, m_source, m_destination);
}
template <class T>
void NYX_TRAIT_COPY_VISITOR<T>::visit(NYX_STRING_TRAIT *trait) {
    copy(trait, m_source, m_destination);
}
template <class T>
void NYX_TRAIT_COPY_VISITOR<T>::visit(NYX_INT_TRAIT *trait) {
    copy(trait, m_source, m_destination);
}
template <class T>
void NYX_TRAIT_COPY_VISITOR<T>::visit(NYX_BOOL_TRAIT *trait) {
    copy(trait, m_source, m_destination);
}

template <class T>
void NYX_TRAIT_COPY_TO_DB_VISITOR<T>::visit(NYX_APP_TRAIT *trait) {
    copy_to_db(trait, m_source, m_destination);
}
template <class T>
void NYX_TRAIT_COPY_TO_DB_VISITOR<T>::visit(NYX_TIME_TRAIT *trait) {
    copy_to_db(trait, m_source, m_destination);
}
template <class T>
void NYX_TRAIT_COPY_TO_DB_VISITOR<T>::visit(NYX_DOUBLE_TRAIT *trait) {
    copy_to_db(trait, m_source, m_destination);
}
template <class T>
void NYX_TRAIT_COPY_TO_DB_VISITOR<T>::visit(NYX_FLOAT_TRAIT *trait) {
    copy_to_db(trait, m_source, m_destination);
}
template <class T>
void NYX_TRAIT_COPY_TO_DB_VISITOR<T>::visit(NYX_STRING_TRAIT *trait) {
    copy_to_db(trait, m_source, m_destination);
}
template <class T>
void NYX_TRAIT_COPY_TO_DB_VISITOR<T>::visit(NYX_INT_TRAIT *trait) {
    copy_to_db(trait, m_source, m_destination);
}
template <class T>
void NYX_TRAIT_COPY_TO_DB_VISITOR<T>::visit(NYX_BOOL_TRAIT *trait) {
    copy_to_db(trait, m_source, m_destination);
}

#define NYX_TRAIT_KIND(type, one, many, word) template class NYX_SPARSE_TRAIT_OUTPUT_WITH_OBJ_VISITOR<type>;
#include "traits/nyx_trait_kinds.def"
template class NYX_TRAIT_CLEAR_VISITOR<NYX_MODULE>;
template class NYX_TRAIT_CLEAR_VISITOR<NYX_PORT>;
template class NYX_TRAIT_CLEAR_VISITOR<NYX_NET>;
template class NYX_TRAIT_CLEAR_VISITOR<NYX_INSTANCE>;
template class NYX_TRAIT_CLEAR_VISITOR<NYX_INSTANCE_BUS>;
template class NYX_TRAIT_CLEAR_VISITOR<NYX_INST_PORT>;
template class NYX_TRAIT_CLEAR_VISITOR<NYX_PORT_BUS>;
template class NYX_TRAIT_CLEAR_VISITOR<NYX_NET_BUS>;
template class NYX_TRAIT_CLEAR_VISITOR<NYX_INTERFACE>;
template class NYX_TRAIT_CLEAR_VISITOR<NYX_INST_HEADER>;
template class NYX_TRAIT_CLEAR_VISITOR<NYX_RELATIVE_OBJECT>;
template class NYX_TRAIT_CLEAR_VISITOR<NYX_SOURCE_FILE>;
template class NYX_TRAIT_CLEAR_VISITOR<NYX_ENTITY>;
template class NYX_TRAIT_CLEAR_VISITOR<NYX_SDC_CLOCK>;
template class NYX_TRAIT_COPY_VISITOR<NYX_NET>;
template class NYX_TRAIT_COPY_TO_DB_VISITOR<NYX_MODULE>;
