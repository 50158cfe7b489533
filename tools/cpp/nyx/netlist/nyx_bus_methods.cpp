// What the classes of buses have in common: bodies of NYX_BUS, over the table of their differences.

#include "netlist/nyx_bus_kind.h"
#include "netlist/nyx_bus_values.h"
#include "netlist/nyx_find_parent.h"
#include "netlist/nyx_location_columns.h"
#include "netlist/nyx_naming.h"
#include "traits/nyx_attributes.h"

#include "database/nyx_db_cache.h"
#include "memory/nyx_segment.h"
#include "netlist/nyx_db_observer.h"
#include "nyx/nyx_instance.h"
#include "nyx/nyx_interface.h"
#include "nyx/nyx_net.h"
#include "nyx/nyx_port.h"
#include "nyx_report/nyx_report_exception.h"

#include <algorithm>

namespace {

// Positions are counted by an int, for the right index of several dimensions is one less than their number.
constexpr long long s_max_size = 1LL << 31;

template <class BUS>
using IMPL_OF = typename NYX_OBJECT_TRAITS<BUS>::impl;
template <class BUS>
using MEMBER_ID = typename NYX_OBJECT_TRAITS<typename NYX_BUS_KIND<BUS>::MEMBER>::id;

template <class BUS>
constexpr const NYX_BUS_WORDS &words = NYX_BUS_KIND<BUS>::s_words;

template <class BUS>
[[noreturn]] void raise_invalid(const char *verb, bool several, const std::string &text) {
    std::string function = std::string(words<BUS>.class_name) + "::" + verb + words<BUS>.member;
    if (several)
        function += 's';
    NYX_RAISE_INVALID_ARGUMENT(function.c_str(), text);
}

// The number of positions of a range; boost::interprocess::bad_alloc if it is too large for any bus.
long long checked_size(const NYX_BUS_DIMENSION &range) {
    if (range.get_size() > s_max_size)
        throw boost::interprocess::bad_alloc();
    return range.get_size();
}

long long checked_size(const std::vector<NYX_BUS_DIMENSION> &dimensions) {
    long long size = 1;
    for (const NYX_BUS_DIMENSION &dimension : dimensions) {
        if (__builtin_mul_overflow(size, checked_size(dimension), &size) || size > s_max_size)
            throw boost::interprocess::bad_alloc();
    }
    return size;
}

template <class ROW>
NYX_BUS_DIMENSION range_of(const ROW *row) {
    return NYX_BUS_DIMENSION(row->m_left_index, row->m_right_index);
}

// A new array of empty positions; gives it back unless it is taken.
template <class ID>
class NEW_ARRAY {
public:
    NEW_ARRAY(NYX_DB_PERSISTENT *persistent, long long size)
        : m_allocator(persistent->get_segment_manager())
        , m_size(static_cast<std::size_t>(size))
        , m_ids(m_allocator.allocate(m_size).get()) {
        std::uninitialized_fill_n(m_ids, m_size, ID::INVALID);
    }
    NEW_ARRAY(const NEW_ARRAY &) = delete;
    NEW_ARRAY &operator=(const NEW_ARRAY &) = delete;
    ~NEW_ARRAY() { m_allocator.deallocate(m_ids, m_size); }

    ID *get() const { return m_ids; }
    ID *take() { return std::exchange(m_ids, nullptr); }

private:
    NYX_SEGMENT_ALLOCATOR<ID> m_allocator;
    std::size_t m_size;
    ID *m_ids;
};

template <class BUS>
void free_array(IMPL_OF<BUS> *row) {
    using ID = MEMBER_ID<BUS>;
    NYX_SEGMENT_ALLOCATOR<ID>(nyx_get_persistent(row)->get_segment_manager())
        .deallocate(row->m_members_ptr.get(), static_cast<std::size_t>(range_of(row).get_size()));
    row->m_members_ptr = nullptr;
}

template <class BUS>
auto &bus_ptr_of(IMPL_OF<BUS> *bus, MEMBER_ID<BUS> id) {
    using MEMBER = typename NYX_BUS_KIND<BUS>::MEMBER;
    return *(nyx_get_persistent(bus)->template table<MEMBER>().*NYX_BUS_KIND<BUS>::s_bus_ptr).get(id);
}

template <class BUS>
BUS *create(NYX_MODULE *parent, const std::string &name, const NYX_BUS_DIMENSION &range,
            const std::vector<NYX_BUS_DIMENSION> *dimensions) {
    NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(parent);
    auto &table = persistent->table<BUS>();
    // What can fail comes first.
    NEW_ARRAY<MEMBER_ID<BUS>> array(persistent, checked_size(range));
    const NYX_NAME_ID name_id = persistent->names().get_id(name.c_str());
    IMPL_OF<BUS> *const row = table.allocate();
    if (dimensions != nullptr) {
        try {
            nyx_store_dimensions<BUS>(row, *dimensions);
        } catch (...) {
            table.deallocate(row);
            throw;
        }
    }
    row->m_members_ptr = array.take();
    row->m_left_index = range.get_left_index();
    row->m_right_index = range.get_right_index();
    row->m_name_id = name_id;
    (parent->*NYX_BUS_KIND<BUS>::s_add)(row);
    nyx_notify<BUS>(&NYX_OBSERVER<BUS>::allocated, row, parent);
    return row;
}

} // namespace

template <class BUS, class MEMBER>
BUS *NYX_BUS<BUS, MEMBER>::allocate(NYX_MODULE *parent, const std::string &name, int left, int right) {
    NYX_CHECK_MSG(parent, "Parent must be non-null");
    NYX_CHECK_MSG(!name.empty(), "%s must have non-empty name", words<BUS>.named);
    return create<BUS>(parent, name, NYX_BUS_DIMENSION(left, right), nullptr);
}

template <class BUS, class MEMBER>
BUS *NYX_BUS<BUS, MEMBER>::allocate(NYX_MODULE *parent, const std::string &name,
                                    const std::vector<NYX_BUS_DIMENSION> &dimensions) {
    NYX_CHECK_MSG(parent, "Parent must be non-null");
    NYX_CHECK_MSG(!name.empty(), "bus must have non-empty name");
    NYX_CHECK_MSG(!dimensions.empty(), "dimension must be non empty");
    if (dimensions.size() == 1)
        return allocate(parent, name, dimensions[0].get_left_index(), dimensions[0].get_right_index());
    return create<BUS>(parent, name, NYX_BUS_DIMENSION(0, static_cast<int>(checked_size(dimensions) - 1)), &dimensions);
}

template <class BUS, class MEMBER>
void NYX_BUS<BUS, MEMBER>::deallocate() {
    BUS *const bus = static_cast<BUS *>(this);
    auto *const row = bus->get_impl();
    NYX_MODULE *const parent = nyx_find_list_owner<BUS>(row);
    NYX_CHECK_MSG(parent, "%s '%s' is empty and can't find its parent", words<BUS>.sought, get_name().c_str());
    nyx_notify<BUS>(&NYX_OBSERVER<BUS>::deallocated, bus, parent);
    if constexpr (requires { bus->get_interface(); }) {
        if (NYX_INTERFACE *const interface = bus->get_interface())
            interface->remove_port_bus(bus);
    }
    nyx_clear_traits(bus);
    (parent->*NYX_BUS_KIND<BUS>::s_remove)(bus);
    const long long size = get_size();
    for (long long loc = 0; loc < size; ++loc) {
        if (const auto id = row->m_members_ptr[loc]; id != MEMBER_ID<BUS>::INVALID)
            bus_ptr_of<BUS>(row, id) = nullptr;
    }
    free_array<BUS>(row);
    nyx_get_persistent(row)->template table<BUS>().deallocate(row);
}

template <class BUS, class MEMBER>
int NYX_BUS<BUS, MEMBER>::get_left_index() const {
    return static_cast<const BUS *>(this)->get_impl()->m_left_index;
}

template <class BUS, class MEMBER>
int NYX_BUS<BUS, MEMBER>::get_right_index() const {
    return static_cast<const BUS *>(this)->get_impl()->m_right_index;
}

template <class BUS, class MEMBER>
bool NYX_BUS<BUS, MEMBER>::is_upwards() const {
    return range_of(static_cast<const BUS *>(this)->get_impl()).is_upwards();
}

template <class BUS, class MEMBER>
long long NYX_BUS<BUS, MEMBER>::get_size() const {
    return range_of(static_cast<const BUS *>(this)->get_impl()).get_size();
}

template <class BUS, class MEMBER>
void NYX_BUS<BUS, MEMBER>::set_indices(int left_index, int right_index) {
    auto *const row = static_cast<BUS *>(this)->get_impl();
    const int old_left = row->m_left_index;
    const int old_right = row->m_right_index;
    NYX_CHECK_MSG((left_index >= right_index) == (old_left >= old_right), "Can't reverse a bus");
    const NYX_BUS_DIMENSION from = range_of(row);
    const NYX_BUS_DIMENSION to(left_index, right_index);
    const long long size = checked_size(to);
    if (size == from.get_size() && left_index == old_left)
        return;
    NEW_ARRAY<MEMBER_ID<BUS>> array(nyx_get_persistent(row), size);
    nyx_store_dimensions<BUS>(row, {}); // there are several no more
    // By position and in 64 bits: an index of the one range need not be one of the other.
    const long long shift = from.is_upwards() && to.is_upwards() ? static_cast<long long>(old_left) - left_index
                                                                 : static_cast<long long>(left_index) - old_left;
    for (long long loc = 0; loc < from.get_size(); ++loc) {
        const auto id = row->m_members_ptr[loc];
        if (id == MEMBER_ID<BUS>::INVALID)
            continue;
        if (const long long new_loc = loc + shift; new_loc >= 0 && new_loc < size)
            array.get()[new_loc] = id;
        else
            bus_ptr_of<BUS>(row, id) = nullptr;
    }
    free_array<BUS>(row);
    row->m_members_ptr = array.take();
    row->m_left_index = left_index;
    row->m_right_index = right_index;
}

template <class BUS, class MEMBER>
std::vector<NYX_BUS_DIMENSION> NYX_BUS<BUS, MEMBER>::get_dimensions() const {
    const auto *const row = static_cast<const BUS *>(this)->get_impl();
    std::vector<NYX_BUS_DIMENSION> dimensions = nyx_stored_dimensions<BUS>(row);
    if (dimensions.empty())
        dimensions.push_back(range_of(row));
    return dimensions;
}

template <class BUS, class MEMBER>
unsigned int NYX_BUS<BUS, MEMBER>::get_dimension_size() const {
    return static_cast<unsigned>(get_dimensions().size());
}

template <class BUS, class MEMBER>
MEMBER *NYX_BUS<BUS, MEMBER>::operator[](int index) const {
    const auto *const row = static_cast<const BUS *>(this)->get_impl();
    const NYX_BUS_DIMENSION range = range_of(row);
    const long long loc = range.get_loc(index);
    if (loc < 0) {
        const std::string function = std::string(words<BUS>.class_name) + "::operator[]";
        NYX_RAISE_INVALID_ARGUMENT(function.c_str(), "index " + std::to_string(index) + " out of range [" +
                                                         std::to_string(range.get_left_index()) + ':' +
                                                         std::to_string(range.get_right_index()) + ']');
    }
    const auto id = row->m_members_ptr[loc];
    return id == MEMBER_ID<BUS>::INVALID ? nullptr : nyx_get_persistent(row)->template table<MEMBER>().get(id);
}

template <class BUS, class MEMBER>
MEMBER *NYX_BUS<BUS, MEMBER>::get_member(const std::vector<int> &index) const {
    return (*this)[to_single_index("get_", index)];
}

template <class BUS, class MEMBER>
int NYX_BUS<BUS, MEMBER>::to_single_index(const char *verb, const std::vector<int> &index) const {
    if (index.empty())
        raise_invalid<BUS>(verb, false, "Input index size should not be empty");
    const std::vector<NYX_BUS_DIMENSION> dimensions = get_dimensions();
    if (index.size() != dimensions.size())
        raise_invalid<BUS>(verb, false, "Input index size does not equal to bus dimension size");
    if (dimensions.size() == 1)
        return index[0];
    return static_cast<int>(NYX_BUS_DIMENSION_UTIL::index_to_array_loc(index, dimensions));
}

template <class BUS, class MEMBER>
std::vector<MEMBER *> NYX_BUS<BUS, MEMBER>::get_members(const std::string &query) const {
    const auto [name, sub_dims] = NYX_BUS_DIMENSION_UTIL::convert_string_to_query(query);
    return name == get_name() ? get_members(sub_dims) : std::vector<MEMBER *>();
}

template <class BUS, class MEMBER>
std::vector<MEMBER *> NYX_BUS<BUS, MEMBER>::get_members(const std::vector<NYX_BUS_DIMENSION> &sub_dims) const {
    const std::vector<NYX_BUS_DIMENSION> dimensions = get_dimensions();
    if (sub_dims.size() > dimensions.size())
        raise_invalid<BUS>("get_", true, "Input sub_dims's size should be greater or less than current bus dimension");
    // Of missing dimensions the whole.
    std::vector<NYX_BUS_DIMENSION> parts = dimensions;
    long long num_members = 1;
    for (std::size_t d = 0; d < dimensions.size(); ++d) {
        if (d < sub_dims.size()) {
            const auto fail = [d](const char *text) {
                raise_invalid<BUS>("get_", true, "Input sub_dims[" + std::to_string(d) + "] " + text);
            };
            if (sub_dims[d].get_size() > 1 && sub_dims[d].is_upwards() != dimensions[d].is_upwards())
                fail(" direction does not match corresponding bus dimnension");
            if (dimensions[d].get_loc(sub_dims[d].get_left_index()) < 0)
                fail("left_index is out of bound in coressponidng bus dimension");
            if (dimensions[d].get_loc(sub_dims[d].get_right_index()) < 0)
                fail("right_index is out of bound in coressponidng bus dimension");
            parts[d] = sub_dims[d];
        }
        num_members *= parts[d].get_size();
    }

    // The parts lie within the bus, so positions rise by one from left to right in each of them.
    const auto *const row = static_cast<const BUS *>(this)->get_impl();
    auto &table = nyx_get_persistent(row)->template table<MEMBER>();
    std::vector<MEMBER *> members;
    members.reserve(static_cast<std::size_t>(num_members));
    const auto collect = [&](const auto &self, std::size_t d, long long base) -> void {
        const long long first = base * dimensions[d].get_size() + dimensions[d].get_loc(parts[d].get_left_index());
        for (long long loc = first; loc < first + parts[d].get_size(); ++loc) {
            if (d + 1 < dimensions.size()) {
                self(self, d + 1, loc);
            } else {
                const auto id = row->m_members_ptr[loc];
                members.push_back(id == MEMBER_ID<BUS>::INVALID ? nullptr : table.get(id));
            }
        }
    };
    collect(collect, 0, 0);
    return members;
}

template <class BUS, class MEMBER>
void NYX_BUS<BUS, MEMBER>::set_member(int index, MEMBER *member) {
    auto *const row = static_cast<BUS *>(this)->get_impl();
    NYX_CHECK_AS(!(member && nyx_cell(NYX_BUS_KIND<BUS>::s_bus_ptr, member->get_impl())), words<BUS>.free_check,
                 "%s is already in a bus", words<BUS>.member);
    const int left = row->m_left_index;
    const int right = row->m_right_index;
    NYX_CHECK_MSG(index >= std::min(left, right), "Index too small");
    NYX_CHECK_MSG(index <= std::max(left, right), "Index too large");
    auto &place = row->m_members_ptr[range_of(row).get_loc(index)];
    if (member == nullptr) {
        if (place != MEMBER_ID<BUS>::INVALID)
            bus_ptr_of<BUS>(row, place) = nullptr;
        place = MEMBER_ID<BUS>::INVALID;
        return;
    }
    NYX_CHECK_AS(place == MEMBER_ID<BUS>::INVALID, words<BUS>.hole_check, "Index already in use");
    // An identifier means nothing outside its database.
    NYX_CHECK(nyx_get_persistent(member) == nyx_get_persistent(row));
    if constexpr (requires { member->get_impl()->m_parent_ptr; })
        NYX_CHECK_MSG(member->get_parent(), "This %s has not been allocated yet", words<BUS>.member);
    place = NYX_OBJECT_TRAITS<MEMBER>::table::get_id(member->get_impl());
    bus_ptr_of<BUS>(row, place) = row;
}

template <class BUS, class MEMBER>
void NYX_BUS<BUS, MEMBER>::set_member(const std::vector<int> &index, MEMBER *member) {
    set_member(to_single_index("set_", index), member);
}

template <class BUS, class MEMBER>
int NYX_BUS<BUS, MEMBER>::remove_member(MEMBER *member) {
    auto *const row = static_cast<BUS *>(this)->get_impl();
    if (member == nullptr)
        raise_invalid<BUS>("remove_", false, std::string(words<BUS>.member) + " must be non-null");
    auto &bus_ptr = nyx_cell(NYX_BUS_KIND<BUS>::s_bus_ptr, member->get_impl());
    if (bus_ptr.get() != row)
        raise_invalid<BUS>("remove_", false,
                           words<BUS>.member + (" " + member->get_name()) + " doesn't belong to " + words<BUS>.bus +
                               " " + get_name());
    auto *const begin = row->m_members_ptr.get();
    auto *const end = begin + get_size();
    auto *const place = std::find(begin, end, NYX_OBJECT_TRAITS<MEMBER>::table::get_id(member->get_impl()));
    if (place == end)
        raise_invalid<BUS>("remove_", false,
                           words<BUS>.member + (" " + member->get_name()) + " is not found on " + words<BUS>.bus + " " +
                               get_name() + " in module " + find_parent()->get_name());
    bus_ptr = nullptr;
    *place = MEMBER_ID<BUS>::INVALID;
    const int loc = static_cast<int>(place - begin);
    return is_upwards() ? row->m_left_index + loc : row->m_left_index - loc;
}

template <class BUS, class MEMBER>
NYX_MODULE *NYX_BUS<BUS, MEMBER>::find_parent() const {
    const auto *const row = static_cast<const BUS *>(this)->get_impl();
    NYX_MODULE *const parent = nyx_find_parent<BUS>(row);
    NYX_CHECK_MSG(parent, "%s '%s' is empty and can't find its parent", words<BUS>.sought, get_name().c_str());
    return parent;
}

template <class BUS, class MEMBER>
std::string NYX_BUS<BUS, MEMBER>::get_name(const NYX_NAME_STYLE &style) const {
    std::string result;
    get_name(result, style);
    return result;
}

template <class BUS, class MEMBER>
void NYX_BUS<BUS, MEMBER>::get_name(std::string &result, const NYX_NAME_STYLE &style) const {
    const auto *const row = static_cast<const BUS *>(this)->get_impl();
    nyx_write_name(result, style, words<BUS>.prefix, nyx_get_persistent(row)->names(), row->m_name_id, NYX_NO_SUFFIX,
                   [this] { return find_parent(); });
}

template <class BUS, class MEMBER>
std::string NYX_BUS<BUS, MEMBER>::debug_get_name() const {
    return get_name();
}

template <class BUS, class MEMBER>
void NYX_BUS<BUS, MEMBER>::set_name(const std::string &name) {
    BUS *const bus = static_cast<BUS *>(this);
    auto *const row = bus->get_impl();
    if (name.empty()) {
        const std::string function = std::string(words<BUS>.class_name) + "::set_name";
        NYX_RAISE_INVALID_ARGUMENT(function.c_str(), std::string(words<BUS>.renamed) + " name cannot be empty");
    }
    const std::string old_name = nyx_is_observed<BUS>() ? get_name() : std::string();
    const NYX_NAME_KEY old_key = nyx_key_of<BUS>(row);
    row->m_name_id = nyx_get_persistent(row)->names().get_id(name.c_str());
    if (NYX_DB_CACHE::find_in_use(row) != nullptr)
        nyx_cache_rename<BUS>(nyx_known_bus_parent<BUS>(row), row, old_key);
    nyx_notify<BUS>(&NYX_OBSERVER<BUS>::name_changed, bus, old_name);
}

template <class BUS, class MEMBER>
std::string NYX_BUS<BUS, MEMBER>::get_file_name() const {
    return nyx_stored_file_name<BUS>(static_cast<const BUS *>(this)->get_impl());
}

template <class BUS, class MEMBER>
void NYX_BUS<BUS, MEMBER>::set_file_name(const std::string &file_name) {
    nyx_store_file_name<BUS>(static_cast<BUS *>(this)->get_impl(), file_name.c_str());
}

template <class BUS, class MEMBER>
unsigned int NYX_BUS<BUS, MEMBER>::get_file_lineno() const {
    return nyx_cell(&NYX_OBJECT_TRAITS<BUS>::table::m_file_lineno, static_cast<const BUS *>(this)->get_impl());
}

template <class BUS, class MEMBER>
void NYX_BUS<BUS, MEMBER>::set_file_lineno(unsigned int lineno) {
    nyx_cell(&NYX_OBJECT_TRAITS<BUS>::table::m_file_lineno, static_cast<BUS *>(this)->get_impl()) = lineno;
}

template <class BUS, class MEMBER>
std::string NYX_BUS<BUS, MEMBER>::get_src_location() const {
    return nyx_format_location(get_file_name(), get_file_lineno());
}

template <class BUS, class MEMBER>
void NYX_BUS<BUS, MEMBER>::set_src_location(const char *file_name, unsigned int lineno) {
    nyx_store_file_name<BUS>(static_cast<BUS *>(this)->get_impl(), file_name != nullptr ? file_name : "");
    set_file_lineno(lineno);
}

template class NYX_BUS<NYX_PORT_BUS, NYX_PORT>;
template class NYX_BUS<NYX_NET_BUS, NYX_NET>;
template class NYX_BUS<NYX_INSTANCE_BUS, NYX_INSTANCE>;
