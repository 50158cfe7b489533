#include "traits/nyx_property_core.h"

#include "memory/nyx_app_block.h"
#include "nyx_report/nyx_report_exception.h"

#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace {

using BLOCK = NYX_OFFSET_PTR<unsigned char>;

void free_block(NYX_SEGMENT_MANAGER &manager, const NYX_STORED_PROPERTY &value) {
    if (const BLOCK *const block = boost::get<BLOCK>(&value))
        nyx_free_app_block(manager, block->get());
}

} // namespace

const NYX_ROW_PROPERTIES *NYX_OBJECT_PROPERTIES::find_all() const {
    const auto *const found =
        nyx_find_stored(m_map, nyx_spread_row(m_id.get()), [this](const auto &entry) { return entry.first == m_id; });
    return found != nullptr ? &found->second : nullptr;
}

const NYX_STORED_PROPERTY *NYX_OBJECT_PROPERTIES::find_stored(const std::string &name) const {
    const NYX_ROW_PROPERTIES *const all = find_all();
    if (all == nullptr)
        return nullptr;
    const NYX_NAME_ID name_id = m_root->names().find_id(name.c_str());
    if (name_id == NYX_NAME_ID::INVALID)
        return nullptr;
    const auto found = all->find(name_id);
    return found != all->end() ? &found->second : nullptr;
}

NYX_PROPERTY_VALUE NYX_OBJECT_PROPERTIES::to_public(const NYX_STORED_PROPERTY &stored) const {
    return boost::apply_visitor(
        [this](const auto &value) -> NYX_PROPERTY_VALUE {
            using VALUE = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<VALUE, NYX_NAME_ID>) {
                std::string text;
                m_root->names().find_name(value, text);
                return text;
            } else if constexpr (std::is_same_v<VALUE, BLOCK>) {
                return nyx_view_app_block(value.get());
            } else {
                return value;
            }
        },
        stored);
}

bool NYX_OBJECT_PROPERTIES::has(const std::string &name) const {
    return find_stored(name) != nullptr;
}

std::optional<NYX_PROPERTY_VALUE> NYX_OBJECT_PROPERTIES::find(const std::string &name) const {
    const NYX_STORED_PROPERTY *const stored = find_stored(name);
    return stored != nullptr ? std::optional(to_public(*stored)) : std::nullopt;
}

NYX_PROPERTY_VALUE NYX_OBJECT_PROPERTIES::get(const std::string &name, const char *class_name) const {
    const NYX_NAME_ID name_id = m_root->names().find_id(name.c_str());
    if (name_id == NYX_NAME_ID::INVALID)
        NYX_RAISE_INVALID_ARGUMENT((std::string(class_name) + "::get_property").c_str(),
                                   "Unknown property name '" + name + "'");
    const NYX_ROW_PROPERTIES *const all = find_all();
    if (all == nullptr)
        throw std::out_of_range("Object has no properties");
    const auto found = all->find(name_id);
    if (found == all->end())
        throw std::out_of_range("No such property '" + name + "'");
    return to_public(found->second);
}

void NYX_OBJECT_PROPERTIES::set(const std::string &name, const NYX_PROPERTY_VALUE &value) {
    set(m_root->names().get_id(name.c_str()), value);
}

void NYX_OBJECT_PROPERTIES::set(NYX_NAME_ID name_id, const NYX_PROPERTY_VALUE &value) {
    NYX_SEGMENT_MANAGER &manager = *m_root->get_segment_manager();
    // A new block before the old one goes: the value may lie in that, and stays if the segment is full.
    const NYX_STORED_PROPERTY stored = boost::apply_visitor(
        [&](const auto &given) -> NYX_STORED_PROPERTY {
            using VALUE = std::decay_t<decltype(given)>;
            if constexpr (std::is_same_v<VALUE, std::string>)
                return m_root->names().get_id(given.c_str());
            else if constexpr (std::is_same_v<VALUE, NYX_APP_DATA>)
                return BLOCK(nyx_make_app_block(manager, given));
            else
                return given;
        },
        value);
    try {
        auto *all = const_cast<NYX_ROW_PROPERTIES *>(find_all());
        const bool is_first = all == nullptr;
        if (is_first)
            all = &m_map.try_emplace(m_id, &manager).first->second;
        try {
            const auto [at, is_new] = all->try_emplace(name_id, stored);
            if (!is_new) {
                free_block(manager, at->second);
                at->second = stored;
            }
        } catch (...) {
            if (is_first)
                m_map.erase(m_id);
            throw;
        }
    } catch (...) {
        free_block(manager, stored);
        throw;
    }
}

void NYX_OBJECT_PROPERTIES::remove(const std::string &name) {
    const NYX_NAME_ID name_id = m_root->names().find_id(name.c_str());
    auto *const all = const_cast<NYX_ROW_PROPERTIES *>(find_all());
    if (name_id == NYX_NAME_ID::INVALID || all == nullptr)
        return;
    const auto found = all->find(name_id);
    if (found == all->end())
        return;
    free_block(*m_root->get_segment_manager(), found->second);
    all->erase(found);
}

void NYX_OBJECT_PROPERTIES::clear() {
    if (!m_map.empty())
        nyx_erase_properties(m_map, m_id);
}

void NYX_OBJECT_PROPERTIES::copy_from(const NYX_OBJECT_PROPERTIES &from) {
    for (NYX_NAME_ID name_id = from.first_name(); name_id != NYX_NAME_ID::INVALID; name_id = from.next_name(name_id)) {
        const auto [name, value] = from.at(name_id);
        set(name, value);
    }
}

void NYX_OBJECT_PROPERTIES::move_from(NYX_ANY_ID from) {
    if (from == m_id)
        return;
    clear();
    if (m_map.empty())
        return;
    auto node = m_map.extract(from);
    if (node.empty())
        return;
    node.key() = m_id;
    m_map.insert(std::move(node));
}

NYX_NAME_ID NYX_OBJECT_PROPERTIES::first_name() const {
    const NYX_ROW_PROPERTIES *const all = find_all();
    return all == nullptr || all->empty() ? NYX_NAME_ID::INVALID : all->begin()->first;
}

NYX_NAME_ID NYX_OBJECT_PROPERTIES::next_name(NYX_NAME_ID name_id) const {
    const NYX_ROW_PROPERTIES *const all = find_all();
    if (all == nullptr)
        return NYX_NAME_ID::INVALID;
    const auto next = all->upper_bound(name_id);
    return next == all->end() ? NYX_NAME_ID::INVALID : next->first;
}

std::pair<const std::string, NYX_PROPERTY_VALUE> NYX_OBJECT_PROPERTIES::at(NYX_NAME_ID name_id) const {
    std::string name;
    m_root->names().find_name(name_id, name);
    const NYX_ROW_PROPERTIES *const all = find_all();
    const auto found = all != nullptr ? all->find(name_id) : NYX_ROW_PROPERTIES::const_iterator();
    NYX_CHECK_AS(all != nullptr && found != all->end(), "all != nullptr && found != all->end()",
                 "The property has been removed");
    return {std::move(name), to_public(found->second)};
}
