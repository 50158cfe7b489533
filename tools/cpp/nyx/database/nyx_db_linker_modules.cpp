// Which modules of other databases the headers of a database stand for, and the other way round.
//
// A header is linked when it is made or first resolved. The link is dropped when the header goes or gets another name,
// when its module goes, and when either database closes: identifiers and addresses are handed out again.

#include "database/nyx_db_linker.h"
#include "database/nyx_db_lock.h"
#include "netlist/nyx_inst_header_table.h"
#include "nyx/nyx_module.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <mutex>

NYX_MODULE *NYX_DB_LINKER::find_linked_module(const NYX_INST_HEADER *header) const {
    // The table of the database that this thread has asked for last. Tables stay where they are until their database
    // closes, which moves the generation on.
    struct MEMO {
        std::uint64_t generation = 0;
        const NYX_DB_PERSISTENT *persistent = nullptr;
        const MODULE_LINKS *links = nullptr;
    };
    thread_local MEMO memo;
    const NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(header);
    if (memo.persistent != persistent || memo.generation != m_module_links_generation.load(std::memory_order_acquire)) {
        const std::shared_lock read(m_module_links_mutex);
        const auto found = m_module_links.find(persistent);
        if (found == m_module_links.end())
            return nullptr;
        memo = MEMO{m_module_links_generation.load(std::memory_order_acquire), persistent, &found->second};
    }
    const unsigned id = NYX_INST_HEADER_TABLE::get_id(header->get_impl()).get();
    return id < memo.links->size() ? (*memo.links)[id] : nullptr;
}

void NYX_DB_LINKER::link_header(NYX_INST_HEADER *header, NYX_MODULE *module) {
    const NYX_DB_LOCK lock;
    if (find_linked_module(header) == module)
        return;
    forget_header(header);
    {
        const unsigned id = NYX_INST_HEADER_TABLE::get_id(header->get_impl()).get();
        const std::unique_lock write(m_module_links_mutex);
        std::vector<NYX_INST_HEADER *> &headers = m_headers_of_module[module];
        headers.reserve(headers.size() + 1);
        MODULE_LINKS &links = m_module_links[nyx_get_persistent(header)];
        if (links.size() <= id)
            links.resize(id + 1);
        links[id] = module;
        headers.push_back(header);
    }
    index_waiting_instances(header, module);
}

void NYX_DB_LINKER::forget_header(NYX_INST_HEADER *header) {
    const NYX_DB_LOCK lock;
    const unsigned id = NYX_INST_HEADER_TABLE::get_id(header->get_impl()).get();
    const std::unique_lock write(m_module_links_mutex);
    const auto found = m_module_links.find(nyx_get_persistent(header));
    if (found == m_module_links.end() || found->second.size() <= id || found->second[id] == nullptr)
        return;
    wait_for_module(header, found->second[id]);
    const auto headers = m_headers_of_module.find(found->second[id]);
    std::erase(headers->second, header);
    if (headers->second.empty())
        m_headers_of_module.erase(headers);
    found->second[id] = nullptr;
}

void NYX_DB_LINKER::forget_module(NYX_MODULE *module) {
    const std::unique_lock write(m_module_links_mutex);
    const auto found = m_headers_of_module.find(module);
    if (found == m_headers_of_module.end())
        return;
    for (const NYX_INST_HEADER *const header : found->second)
        m_module_links.at(nyx_get_persistent(header))[NYX_INST_HEADER_TABLE::get_id(header->get_impl()).get()] =
            nullptr;
    m_headers_of_module.erase(found);
}

std::vector<NYX_INST_HEADER *> NYX_DB_LINKER::get_headers_of(NYX_MODULE *module) {
    const NYX_DB_LOCK lock;
    // Headers of databases that were opened may not have been looked at. Only those of the right names are.
    const NYX_DB_PERSISTENT *const home = nyx_get_persistent(module);
    const std::string db_name = db_for_persistent(home)->get_name();
    const std::string module_name = module->get_name();
    for (const auto &[persistent, db] : m_persistent_to_db) {
        if (persistent == home || !persistent->has_inst_headers())
            continue;
        const NYX_NAME_ID db_name_id = persistent->names().find_id(db_name.c_str());
        const NYX_NAME_ID module_name_id = persistent->names().find_id(module_name.c_str());
        if (db_name_id == NYX_NAME_ID::INVALID || module_name_id == NYX_NAME_ID::INVALID)
            continue;
        NYX_INST_HEADER_TABLE &table = persistent->table<NYX_INST_HEADER>();
        for (unsigned i = 0; i < table.iter_limit(); ++i) {
            const NYX_INST_HEADER_IMPL *const header = table.get(NYX_INST_HEADER_ID(i));
            if (header->m_module_name_id == module_name_id && header->m_db_name_id == db_name_id)
                header->find_module(); // links it
        }
    }
    const std::shared_lock read(m_module_links_mutex);
    const auto found = m_headers_of_module.find(module);
    return found != m_headers_of_module.end() ? found->second : std::vector<NYX_INST_HEADER *>();
}

NYX_INST_HEADER *NYX_DB_LINKER::find_linked_header(const NYX_DB_PERSISTENT *persistent,
                                                   const NYX_MODULE *module) const {
    const std::shared_lock read(m_module_links_mutex);
    const auto found = m_headers_of_module.find(module);
    if (found == m_headers_of_module.end())
        return nullptr;
    const auto header = std::find_if(found->second.begin(), found->second.end(), [persistent](const auto *candidate) {
        return nyx_get_persistent(candidate) == persistent;
    });
    return header != found->second.end() ? *header : nullptr;
}

// All that lies in a range of addresses, be it header or module, `persistent` being the root there.
void NYX_DB_LINKER::purge_module_links(const NYX_DB_PERSISTENT *persistent, const void *begin, const void *end) {
    const auto is_inside = [begin, end](const void *address) {
        return !std::less<>()(address, begin) && std::less<>()(address, end);
    };
    const std::unique_lock write(m_module_links_mutex);
    m_module_links.erase(persistent);
    for (auto &[root, links] : m_module_links) {
        for (NYX_MODULE *&module : links) {
            if (is_inside(module))
                module = nullptr;
        }
    }
    for (auto entry = m_headers_of_module.begin(); entry != m_headers_of_module.end();) {
        std::erase_if(entry->second, is_inside);
        entry = is_inside(entry->first) || entry->second.empty() ? m_headers_of_module.erase(entry) : std::next(entry);
    }
    m_module_links_generation.fetch_add(1, std::memory_order_release);
}
