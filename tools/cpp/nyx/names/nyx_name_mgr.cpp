#include "names/nyx_name_mgr.h"

#include "memory/nyx_type_name.h"
#include "names/nyx_name_mgr_impl.h"
#include "nyx_report/nyx_report_exception.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace {

using STRINGS = NYX_NAME_MANAGER_IMPL::STRINGS;
using NAMESPACE = NYX_NAME_MANAGER_IMPL::NAMESPACE;
using COUNTS = NYX_NAME_MANAGER_IMPL::COUNTS;

constexpr unsigned s_schema_version = 3;
constexpr unsigned s_bus_bit = 0x80000000u;
constexpr unsigned s_bus_name_mask = 0x7FFFFFu;

const char *checked(const char *name) {
    NYX_CHECK(name != nullptr);
    return name;
}

// Whether the interned string is `text`, which holds no NUL. Compares words: a string's block is a whole number of
// them, and a word that lies in it is read only after all words before it were equal, that is, not beyond the string's
// NUL.
bool is_string(const char *string, std::string_view text) {
    const char *at = text.data();
    std::size_t left = text.size();
    std::uint64_t a;
    std::uint64_t b;
    for (; left >= sizeof(a); left -= sizeof(a), at += sizeof(a), string += sizeof(a)) {
        std::memcpy(&a, at, sizeof(a));
        std::memcpy(&b, string, sizeof(b));
        if (a != b)
            return false;
    }
    a = 0;
    std::memcpy(&a, at, left);
    std::memcpy(&b, string, sizeof(b));
    // The NUL and what is in front of it.
    return ((a ^ b) << (7 - left) * 8) == 0;
}

// The map's nodes may be those of a file of which only the strings have been looked at.
NYX_NAME_ID find_interned(const NYX_NAME_MANAGER_IMPL &impl, const NAMESPACE &names, std::string_view text,
                          std::uint64_t mixed_hash) {
    const char *const begin = reinterpret_cast<const char *>(impl.segment.get());
    const NYX_LINKS_WITHIN within{begin, begin + nyx_get_algorithm(impl.segment.get())->get_committed()};
    const auto *const found = nyx_find_stored(
        names, mixed_hash,
        [&](const NAMESPACE::value_type &element) {
            const char *const string = element.first.get();
            return within.contains(string, text.size() + sizeof(std::uint64_t)) && is_string(string, text);
        },
        within);
    return found == nullptr ? NYX_NAME_ID::INVALID : found->second;
}

NYX_NAME_ID find_interned(const NYX_NAME_MANAGER_IMPL &impl, const NAMESPACE &names, std::string_view text) {
    return find_interned(impl, names, text, nyx_mix_hash(NYX_NAME_HASH()(text)));
}

// A string with its NUL in a block of its own.
NYX_NAME_STRING_PTR store_string(NYX_SEGMENT_MANAGER *manager, std::string_view text) {
    const auto block = NYX_SEGMENT_ALLOCATOR<char>(manager).allocate(text.size() + 1);
    char *const copy = block.get();
    std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return NYX_NAME_STRING_PTR(copy);
}

void free_string(NYX_SEGMENT_MANAGER *manager, const NYX_NAME_STRING_PTR &string) {
    NYX_SEGMENT_ALLOCATOR<char>(manager).deallocate(const_cast<char *>(string.get()), 0);
}

void free_strings(NYX_SEGMENT_MANAGER *manager, STRINGS &strings) {
    for (const NYX_NAME_STRING_PTR &string : strings)
        free_string(manager, string);
    strings.clear();
}

// Adds a name that isn't there. Nothing of it is left when the segment is full.
NYX_NAME_ID add_name(NYX_SEGMENT_MANAGER *manager, STRINGS &strings, NAMESPACE &names, std::string_view text,
                     std::uint64_t mixed_hash) {
    const std::size_t index = strings.size();
    const NYX_NAME_ID id(static_cast<unsigned>(index));
    const NYX_NAME_STRING_PTR string = store_string(manager, text);
    try {
        strings.push_back(string);
        nyx_insert_stored(names, mixed_hash, string, id);
    } catch (...) {
        strings.resize(index);
        free_string(manager, string);
        throw;
    }
    return id;
}

NYX_NAME_ID bus_bit_id(NYX_NAME_ID base, unsigned bit) {
    return NYX_NAME_ID(s_bus_bit | (bit << 23) | (base.get() & s_bus_name_mask));
}

// A base name's identifier has to leave room for the bit, and the last one would make INVALID of bit 255.
void check_bus_name_index(NYX_NAME_ID id) {
    NYX_CHECK_MSG(!id.fields.bus.is_bus, "Bus id overflow");
    NYX_CHECK_AS(id.fields.bus.bus_index == 0 && id.get() != s_bus_name_mask, "fields.bus.bus_index == 0",
                 "Bus id overflow");
}

bool is_bus_bit_id(NYX_NAME_ID id) {
    return id.fields.bus.is_bus;
}

const COUNTS &counts_for(const NYX_NAME_MANAGER_IMPL &impl, NYX_NAME_ID id) {
    return is_bus_bit_id(id) ? impl.bus_id_count : impl.id_count;
}

long vector_bytes(const STRINGS &strings) {
    return static_cast<long>(strings.capacity() * sizeof(NYX_NAME_STRING_PTR));
}

long string_bytes(const STRINGS &strings) {
    long result = 0;
    for (const NYX_NAME_STRING_PTR &string : strings)
        result += static_cast<long>(std::strlen(string.get()) + 1);
    return result;
}

} // namespace

bool nyx_split_bus_bit(std::string_view name, std::string_view &base, unsigned &bit) {
    if (name.size() < 4 || name.back() != ']')
        return false;
    // Back over the digits. The value saturates, so that no number of digits can wrap into a bit.
    unsigned value = 0;
    unsigned weight = 1;
    std::size_t at = name.size() - 1;
    for (; at > 0 && name[at - 1] >= '0' && name[at - 1] <= '9'; --at) {
        value = std::min(value + static_cast<unsigned>(name[at - 1] - '0') * weight, 256u);
        weight = std::min(weight * 10, 1000u);
    }
    if (at == name.size() - 1 || at == 0 || name[at - 1] != '[' || value > 255)
        return false;
    base = name.substr(0, at - 1);
    bit = value;
    return true;
}

NYX_NAME_MANAGER_IMPL::NYX_NAME_MANAGER_IMPL(NYX_SEGMENT_MANAGER *manager)
    : id_reverse_lookup(manager)
    , id_namespace(NYX_SEGMENT_INITIAL_BUCKETS, NYX_NAME_HASH(), NYX_NAME_EQUAL(), manager)
    , id_count(NYX_SEGMENT_INITIAL_BUCKETS, COUNTS::hasher(), COUNTS::key_equal(), manager)
    , bus_id_reverse_lookup(manager)
    , bus_id_namespace(NYX_SEGMENT_INITIAL_BUCKETS, NYX_NAME_HASH(), NYX_NAME_EQUAL(), manager)
    , bus_id_count(NYX_SEGMENT_INITIAL_BUCKETS, COUNTS::hasher(), COUNTS::key_equal(), manager)
    , segment(manager) {}

NYX_NAME_MANAGER_IMPL::~NYX_NAME_MANAGER_IMPL() {
    clear();
}

void NYX_NAME_MANAGER_IMPL::clear() {
    // The maps refer to the strings, and neither reads them to be emptied.
    id_namespace.clear();
    bus_id_namespace.clear();
    id_count.clear();
    bus_id_count.clear();
    free_strings(segment.get(), id_reverse_lookup);
    free_strings(segment.get(), bus_id_reverse_lookup);
}

NYX_NAME_MANAGER::NYX_NAME_MANAGER(NYX_SEGMENT_MANAGER *segment_manager)
    : m_impl(nyx_clear_object_padding(segment_manager->construct<NYX_NAME_MANAGER_IMPL>(
          boost::interprocess::anonymous_instance)(segment_manager))) {}

NYX_NAME_MANAGER::~NYX_NAME_MANAGER() {
    m_impl->segment->destroy_ptr(m_impl.get());
}

NYX_NAME_ID NYX_NAME_MANAGER::get_id(const char *name) {
    NYX_NAME_MANAGER_IMPL &impl = *m_impl;
    const std::string_view text = checked(name);
    std::string_view base;
    unsigned bit = 0;
    if (!nyx_split_bus_bit(text, base, bit)) {
        const std::uint64_t mixed_hash = nyx_mix_hash(NYX_NAME_HASH()(text));
        const NYX_NAME_ID id = find_interned(impl, impl.id_namespace, text, mixed_hash);
        return id != NYX_NAME_ID::INVALID
                   ? id
                   : add_name(impl.segment.get(), impl.id_reverse_lookup, impl.id_namespace, text, mixed_hash);
    }
    const std::uint64_t mixed_hash = nyx_mix_hash(NYX_NAME_HASH()(base));
    NYX_NAME_ID id = find_interned(impl, impl.bus_id_namespace, base, mixed_hash);
    if (id == NYX_NAME_ID::INVALID) {
        check_bus_name_index(NYX_NAME_ID(static_cast<unsigned>(impl.bus_id_reverse_lookup.size())));
        id = add_name(impl.segment.get(), impl.bus_id_reverse_lookup, impl.bus_id_namespace, base, mixed_hash);
    }
    return bus_bit_id(id, bit);
}

NYX_NAME_ID NYX_NAME_MANAGER::find_id(const char *name) const {
    const NYX_NAME_MANAGER_IMPL &impl = *m_impl;
    const std::string_view text = checked(name);
    std::string_view base;
    unsigned bit = 0;
    if (!nyx_split_bus_bit(text, base, bit))
        return find_interned(impl, impl.id_namespace, text);
    const NYX_NAME_ID id = find_interned(impl, impl.bus_id_namespace, base);
    return id == NYX_NAME_ID::INVALID ? id : bus_bit_id(id, bit);
}

bool NYX_NAME_MANAGER::find_name(NYX_NAME_ID id, std::string &name) const {
    if (id == NYX_NAME_ID::INVALID) {
        name.clear();
        return false;
    }
    const char *const string = get_impl().find_string(id);
    if (string == nullptr)
        return false;
    name = string;
    if (is_bus_bit_id(id))
        name.append("[").append(std::to_string(id.fields.bus.bus_index)).append("]");
    return true;
}

NYX_NAME_COUNT NYX_NAME_MANAGER::get_id_count(NYX_NAME_ID id) const {
    nyx_check_id(id);
    const COUNTS &counts = counts_for(*m_impl, id);
    const auto found = counts.find(id);
    return found == counts.end() ? NYX_NAME_COUNT(0) : found->second;
}

NYX_NAME_COUNT NYX_NAME_MANAGER::increase_id_count(NYX_NAME_ID id) {
    nyx_check_id(id);
    COUNTS &counts = is_bus_bit_id(id) ? m_impl->bus_id_count : m_impl->id_count;
    NYX_NAME_COUNT &count = counts.emplace(id, NYX_NAME_COUNT(0)).first->second;
    const NYX_NAME_COUNT old = count;
    if (old == NYX_NAME_COUNT::INVALID) {
        std::string name;
        find_name(id, name);
        NYX_RAISE_RUNTIME_ERROR("NYX_NAME_MANAGER::increase_id_count", "Name index overflow for name: " + name + "\n");
    }
    count = NYX_NAME_COUNT(old.get() + 1);
    return old;
}

void NYX_NAME_MANAGER::clear() {
    m_impl->clear();
}

void NYX_NAME_MANAGER::shrink_to_fit() {
    m_impl->id_reverse_lookup.shrink_to_fit();
    m_impl->bus_id_reverse_lookup.shrink_to_fit();
}

NYX_TYPE_STATS NYX_NAME_MANAGER::get_stats() const {
    const NYX_NAME_MANAGER_IMPL &impl = *m_impl;
    NYX_TYPE_STATS stats("NYX_NAME_MANAGER", -1, -1);
    const auto add = [&stats](const char *field, long bytes) {
        stats.add_field_stats(NYX_FIELD_STATS(field, bytes, -1, 0));
    };
    add("id_namespace", nyx_stored_map_bytes(impl.id_namespace));
    add("id_reverse_lookup", vector_bytes(impl.id_reverse_lookup));
    add("id_count", nyx_stored_map_bytes(impl.id_count));
    add("bus_id_namespace", nyx_stored_map_bytes(impl.bus_id_namespace));
    add("bus_id_reverse_lookup", vector_bytes(impl.bus_id_reverse_lookup));
    add("bus_id_count", nyx_stored_map_bytes(impl.bus_id_count));
    add("name strings", string_bytes(impl.id_reverse_lookup));
    add("bus name strings", string_bytes(impl.bus_id_reverse_lookup));
    return stats;
}

std::size_t NYX_NAME_MANAGER::get_size() const {
    return m_impl->id_reverse_lookup.size() + m_impl->bus_id_reverse_lookup.size();
}

bool NYX_NAME_MANAGER::ascii_dump(const std::string &path) const {
    namespace fs = std::filesystem;
    const fs::path parent = fs::path(path).parent_path();
    std::error_code error;
    if (!parent.empty() && !fs::exists(parent, error)) {
        fs::create_directory(parent, error);
        if (error) {
            NYX_REPORT::err("Couldn't create directory: %s\n", parent.c_str());
            return false;
        }
    }
    std::ofstream out(path);
    if (!out) {
        NYX_REPORT::err("Couldn't open file for write: %s\n", path.c_str());
        return false;
    }
    for (const NYX_NAME_STRING_PTR &name : m_impl->id_reverse_lookup)
        out << name.get() << '\n';
    for (const NYX_NAME_STRING_PTR &name : m_impl->bus_id_reverse_lookup)
        out << "BUS: " << name.get() << '\n';
    out.close();
    if (!out) {
        NYX_REPORT::err("Couldn't write file: %s\n", path.c_str());
        return false;
    }
    NYX_REPORT::info("Wrote file: %s\n", path.c_str());
    return true;
}

std::uint64_t NYX_NAME_MANAGER::get_schema_id(std::vector<NYX_SCHEMA_MEMBER> *members) {
    if (members != nullptr)
        members->push_back(NYX_SCHEMA_MEMBER{s_schema_version, "NYX_NAME_MANAGER"});
    return s_schema_version;
}

NYX_NAME_MANAGER *NYX_NAME_MANAGER::test_manager(std::size_t size) {
    NYX_SEGMENT segment(size);
    NYX_SEGMENT_MANAGER *const manager = segment.get_segment_manager();
    void *const handle = manager->allocate(sizeof(NYX_NAME_MANAGER));
    NYX_NAME_MANAGER *const names = new (handle) NYX_NAME_MANAGER(manager);
    segment.detach();
    return names;
}

void NYX_NAME_MANAGER::operator delete(NYX_NAME_MANAGER *manager, std::destroying_delete_t) {
    NYX_SEGMENT_MANAGER *const segment = manager->m_impl->segment.get();
    const std::size_t size = segment->get_size();
    const auto begin = reinterpret_cast<std::uintptr_t>(segment);
    const bool stands_alone = reinterpret_cast<std::uintptr_t>(manager) - begin < size;
    manager->~NYX_NAME_MANAGER();
    if (stands_alone)
        NYX_SEGMENT::release_range(segment, size);
    else
        ::operator delete(static_cast<void *>(manager));
}
