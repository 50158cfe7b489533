#include "traits/nyx_trait_links.h"

#include <mutex>

NYX_TRAIT_LINKS::RESULT NYX_TRAIT_LINKS::find(const void *trait, const NYX_DB_PERSISTENT *root) const {
    const std::shared_lock read(m_mutex);
    const auto entry = m_entries.find(trait);
    if (entry == m_entries.end())
        return {false, nullptr};
    const auto found = entry->second.by_root.find(root);
    return found == entry->second.by_root.end() ? RESULT{false, nullptr} : RESULT{true, found->second};
}

void NYX_TRAIT_LINKS::link(const void *trait, const NYX_DB_PERSISTENT *root, const void *found,
                           const NYX_DB_PERSISTENT *other_root) {
    const std::unique_lock write(m_mutex);
    ENTRY &from = m_entries.try_emplace(trait, ENTRY{root, {}}).first->second;
    ENTRY &to = m_entries.try_emplace(found, ENTRY{other_root, {}}).first->second;
    for (const auto &[third_root, third] : from.by_root)
        if (third != nullptr && third_root != other_root)
            to.by_root.insert_or_assign(third_root, third);
    to.by_root.insert_or_assign(root, trait);
    from.by_root.insert_or_assign(other_root, found);
}

void NYX_TRAIT_LINKS::note_absence(const void *trait, const NYX_DB_PERSISTENT *root,
                                   const NYX_DB_PERSISTENT *other_root) {
    const std::unique_lock write(m_mutex);
    ENTRY &entry = m_entries.try_emplace(trait, ENTRY{root, {}}).first->second;
    if (entry.by_root.contains(other_root))
        return;
    m_absent[other_root].push_back(trait);
    entry.by_root.emplace(other_root, nullptr);
}

void NYX_TRAIT_LINKS::forget_absences(const NYX_DB_PERSISTENT *root) {
    const std::unique_lock write(m_mutex);
    const auto absent = m_absent.find(root);
    if (absent == m_absent.end())
        return;
    for (const void *const trait : absent->second) {
        const auto entry = m_entries.find(trait);
        if (entry == m_entries.end())
            continue;
        const auto found = entry->second.by_root.find(root);
        if (found != entry->second.by_root.end() && found->second == nullptr)
            entry->second.by_root.erase(found);
    }
    m_absent.erase(absent);
}

void NYX_TRAIT_LINKS::erase(const void *trait) {
    const std::unique_lock write(m_mutex);
    m_entries.erase(trait);
}

void NYX_TRAIT_LINKS::purge(const NYX_DB_PERSISTENT *root) {
    const std::unique_lock write(m_mutex);
    std::erase_if(m_entries, [root](const auto &item) { return item.second.root == root; });
    for (auto &[trait, entry] : m_entries)
        entry.by_root.erase(root);
    m_absent.erase(root);
}
