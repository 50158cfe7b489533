// Look-ups and walks in a module.

#include "database/nyx_db_cache.h"
#include "database/nyx_db_linker.h"
#include "database/nyx_db_persistent.h"
#include "netlist/nyx_chain.h"
#include "netlist/nyx_naming.h"
#include "nyx/nyx_bus.h"
#include "nyx/nyx_instance.h"
#include "nyx/nyx_interface.h"
#include "nyx/nyx_module.h"
#include "nyx/nyx_net.h"
#include "nyx/nyx_port.h"
#include "nyx_report/nyx_report.h"

#include <boost/tokenizer.hpp>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace {

// The first T of a module's list with a name.
template <class T>
T *find_by_name(const NYX_MODULE_IMPL *module, const char *name) {
    const NYX_NAME_ID name_id = nyx_get_persistent(module)->names().find_id(name);
    return name_id == NYX_NAME_ID::INVALID ? nullptr : nyx_find_in_module<T>(module, NYX_NAME_KEY(name_id));
}

// How an instance's full name is stored: as a name and a number.
struct INSTANCE_KEY {
    NYX_NAME_ID name_id;
    std::uint32_t suffix = NYX_NO_SUFFIX;
};

// The key of a full name that is the name of nothing as a whole: a known name, "_" and digits. The "_" is not looked
// for in front of the second character, so that the name is not empty.
std::optional<INSTANCE_KEY> split_suffix(const NYX_NAME_MANAGER &names, const char *name) {
    const std::size_t length = std::strlen(name);
    if (length < 2)
        return std::nullopt;
    std::size_t at = length - 1;
    for (; name[at] != '_'; --at) {
        if (name[at] < '0' || name[at] > '9' || at == 1)
            return std::nullopt;
    }
    if (at == length - 1)
        return std::nullopt;
    const long long suffix = std::atoll(name + at + 1);
    if (suffix > static_cast<long long>(NYX_NO_SUFFIX))
        return std::nullopt;
    const NYX_NAME_ID name_id = names.find_id(std::string(name, at).c_str());
    if (name_id == NYX_NAME_ID::INVALID)
        return std::nullopt;
    return INSTANCE_KEY{name_id, static_cast<std::uint32_t>(suffix)};
}

bool is_wildcard(char character) {
    return character == '*' || character == '?';
}

// One star at a time: when what follows the last star that was met doesn't fit, that star takes one character more.
// Those before it need not be tried again: whatever they could take, the later one can take as well.
bool matches(const char *pattern, const char *text) {
    const char *after_star = nullptr;
    const char *star_end = nullptr; // of the text that the star takes
    while (*text != '\0') {
        if (*pattern == '*') {
            after_star = ++pattern;
            star_end = text;
            if (*after_star == '\0')
                return true;
        } else if (*pattern != '\0' && (*pattern == '?' || *pattern == *text)) {
            ++pattern;
            ++text;
        } else if (after_star != nullptr) {
            pattern = after_star;
            text = ++star_end;
        } else {
            return false;
        }
    }
    while (*pattern == '*')
        ++pattern;
    return *pattern == '\0';
}

// One name of a path. As a plain name it is looked up once in each database that the walk comes to.
class PATH_SEGMENT {
public:
    explicit PATH_SEGMENT(const std::string &text)
        : m_text(text)
        , m_is_plain(std::none_of(text.begin(), text.end(), is_wildcard)) {}

    // Whether any instance in the database can match.
    bool enter(const NYX_DB_PERSISTENT *persistent) {
        if (!m_is_plain)
            return true;
        if (persistent != m_persistent) {
            m_persistent = persistent;
            const NYX_NAME_ID name_id = persistent->names().find_id(m_text.c_str());
            m_any_suffix = name_id != NYX_NAME_ID::INVALID;
            m_key = m_any_suffix ? INSTANCE_KEY{name_id} : split_suffix(persistent->names(), m_text.c_str());
        }
        return m_key.has_value();
    }

    // An instance in the database that was entered last.
    bool matches_instance(const NYX_INSTANCE_IMPL *instance) {
        if (m_is_plain)
            return instance->m_name_id == m_key->name_id &&
                   (m_any_suffix || instance->m_unique_suffix == m_key->suffix);
        instance->get_name(m_name);
        return matches(m_text.c_str(), m_name.c_str());
    }

private:
    std::string m_text;
    bool m_is_plain;
    const NYX_DB_PERSISTENT *m_persistent = nullptr;
    std::optional<INSTANCE_KEY> m_key;
    bool m_any_suffix = false;
    std::string m_name; // kept for its room
};

void find_instances_inner(const NYX_MODULE *module, std::size_t depth, std::vector<PATH_SEGMENT> &segments,
                          std::vector<NYX_INSTANCE *> &result) {
    NYX_CHECK(module);
    PATH_SEGMENT &segment = segments[depth];
    if (!segment.enter(nyx_get_persistent(module)))
        return;
    const bool is_last = depth + 1 == segments.size();
    const NYX_MODULE_IMPL *const impl = module->get_impl();
    for (NYX_INSTANCE_IMPL *instance = nyx_chain_first<NYX_INSTANCE>(impl); instance != nullptr;
         instance = nyx_chain_next<NYX_INSTANCE, NYX_MODULE_IMPL>(instance)) {
        if (!segment.matches_instance(instance))
            continue;
        if (is_last)
            result.push_back(instance);
        else
            find_instances_inner(instance->get_module(), depth + 1, segments, result);
    }
}

template <class T>
unsigned count(const NYX_MODULE_IMPL *module) {
    unsigned result = 0;
    for (const auto *row = nyx_chain_first<T>(module); row != nullptr; row = nyx_chain_next<T, NYX_MODULE_IMPL>(row))
        ++result;
    return result;
}

} // namespace

// ---- Look-up by name

NYX_INSTANCE *NYX_MODULE::find_instance(const char *name) const {
    const NYX_MODULE_IMPL *const impl = get_impl();
    const NYX_NAME_MANAGER &names = nyx_get_persistent(impl)->names();
    std::optional<INSTANCE_KEY> key = INSTANCE_KEY{names.find_id(name)};
    if (key->name_id == NYX_NAME_ID::INVALID)
        key = split_suffix(names, name);
    return key ? nyx_find_in_module<NYX_INSTANCE>(impl, NYX_NAME_KEY(key->name_id, key->suffix)) : nullptr;
}

NYX_NET *NYX_MODULE::find_net(const char *name) const {
    return find_by_name<NYX_NET>(get_impl(), name);
}
NYX_PORT_BUS *NYX_MODULE::find_port_bus(const char *name) const {
    return find_by_name<NYX_PORT_BUS>(get_impl(), name);
}
NYX_NET_BUS *NYX_MODULE::find_net_bus(const char *name) const {
    return find_by_name<NYX_NET_BUS>(get_impl(), name);
}
NYX_INSTANCE_BUS *NYX_MODULE::find_instance_bus(const char *name) const {
    return find_by_name<NYX_INSTANCE_BUS>(get_impl(), name);
}
NYX_INTERFACE *NYX_MODULE::find_interface(const char *name) const {
    return find_by_name<NYX_INTERFACE>(get_impl(), name);
}

NYX_PORT *NYX_MODULE::find_port(const char *name) const {
    return find_by_name<NYX_PORT>(get_impl(), name);
}

NYX_PORT *NYX_MODULE::get_port_by_index(unsigned int index) const {
    const NYX_MODULE_IMPL *const impl = get_impl();
    NYX_CHECK_AS(index < impl->m_num_ports, "index < impl->get_num_ports()",
                 "Port index %d exceeds number of ports %d in module %s", static_cast<int>(index),
                 static_cast<int>(impl->m_num_ports), get_name().c_str());
    NYX_PORT_IMPL *const port =
        nyx_get_persistent(impl)->table<NYX_PORT>().get(NYX_PORT_ID(impl->m_first_port.get() + index));
    return port->m_parent_ptr ? port : nullptr;
}

bool NYX_MODULE::match_wildcard(const char *pattern, const char *text) {
    NYX_CHECK(pattern);
    NYX_CHECK(text);
    const char *const whole = text;
    for (; *text != '\0'; ++text)
        NYX_CHECK((*text != '*') && (*text != '?'));
    return matches(pattern, whole);
}

void NYX_MODULE::find_instances(const char *pattern, std::vector<NYX_INSTANCE *> &result) const {
    NYX_CHECK(pattern);
    const std::string text(pattern);
    const char separators[] = {NYX_NAME_STYLE().hier_separator, '\0'};
    const boost::tokenizer<boost::char_separator<char>> names(text, boost::char_separator<char>(separators));
    std::vector<PATH_SEGMENT> segments(names.begin(), names.end());
    if (!segments.empty())
        find_instances_inner(this, 0, segments, result);
}

std::vector<NYX_INSTANCE *> NYX_MODULE::find_instances(const char *pattern) const {
    std::vector<NYX_INSTANCE *> result;
    find_instances(pattern, result);
    return result;
}

// ---- Walks

void NYX_MODULE::find_modules_recursive(std::set<NYX_MODULE *> &result) const {
    std::vector<const NYX_MODULE *> to_do{this};
    while (!to_do.empty()) {
        const NYX_MODULE *const module = to_do.back();
        to_do.pop_back();
        for (const NYX_INSTANCE *const instance : module->const_iter_instances()) {
            NYX_MODULE *const base = instance->get_module();
            if (result.insert(base).second)
                to_do.push_back(base);
        }
    }
}

std::set<NYX_MODULE *> NYX_MODULE::find_modules_recursive() const {
    std::set<NYX_MODULE *> result;
    find_modules_recursive(result);
    return result;
}

std::set<NYX_NET *> NYX_MODULE::find_const_nets() const {
    std::set<NYX_NET *> result;
    for (NYX_NET_IMPL *net = nyx_chain_first<NYX_NET>(get_impl()); net != nullptr;
         net = nyx_chain_next<NYX_NET, NYX_MODULE_IMPL>(net)) {
        if (net->is_power() || net->is_ground())
            result.insert(net);
    }
    return result;
}

unsigned int NYX_MODULE::get_num_instances() const {
    return count<NYX_INSTANCE>(get_impl());
}
unsigned int NYX_MODULE::get_num_nets() const {
    return count<NYX_NET>(get_impl());
}
unsigned int NYX_MODULE::get_num_ports() const {
    return get_impl()->m_num_ports;
}

boost::iterator_range<std::set<NYX_INSTANCE *>::const_iterator> NYX_MODULE::iter_instances_of() const {
    return boost::make_iterator_range(NYX_DB_LINKER::get().get_instances_of(const_cast<NYX_MODULE *>(this)));
}

#define NYX_MODULE_ITERS(name, iter)                                                                                   \
    boost::iterator_range<NYX_MODULE_##iter##_ITER> NYX_MODULE::iter_##name() {                                        \
        return {NYX_MODULE_##iter##_ITER(this), NYX_MODULE_##iter##_ITER()};                                           \
    }                                                                                                                  \
    boost::iterator_range<NYX_MODULE_##iter##_CONST_ITER> NYX_MODULE::const_iter_##name() const {                      \
        return {NYX_MODULE_##iter##_CONST_ITER(this), NYX_MODULE_##iter##_CONST_ITER()};                               \
    }
NYX_MODULE_ITERS(instances, INSTANCE)
NYX_MODULE_ITERS(nets, NET)
NYX_MODULE_ITERS(ports, PORT)
NYX_MODULE_ITERS(port_buses, PORT_BUS)
NYX_MODULE_ITERS(net_buses, NET_BUS)
NYX_MODULE_ITERS(instance_buses, INSTANCE_BUS)
NYX_MODULE_ITERS(interfaces, INTERFACE)
#undef NYX_MODULE_ITERS
