// Which instances use a module, across all open databases.

#include "database/nyx_db_linker.h"
#include "database/nyx_db_lock.h"
#include "netlist/nyx_db_observer.h"
#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_instance_table.h"
#include "netlist/nyx_module_table.h"
#include "nyx_report/nyx_report.h"

#include <iterator>
#include <utility>

/// Enters and takes out what comes and goes while the index is there.
class NYX_DB_LINKER::OBSERVER final : public NYX_DB_OBSERVER<NYX_INSTANCE>, public NYX_DB_OBSERVER<NYX_MODULE> {
public:
    explicit OBSERVER(NYX_DB_LINKER *of) : linker(of) {
        NYX_DB_OBSERVER<NYX_INSTANCE>::enter();
        NYX_DB_OBSERVER<NYX_MODULE>::enter();
    }

    void allocated(NYX_INSTANCE *instance, NYX_MODULE *) override {
        const NYX_DB_LOCK lock;
        NYX_CHECK(linker->m_instances_of_module_initialized);
        linker->index_instance(instance);
    }
    void deallocated(NYX_INSTANCE *instance, NYX_MODULE *) override {
        const NYX_DB_LOCK lock;
        NYX_CHECK(linker->m_instances_of_module_initialized);
        if (NYX_MODULE *const module = find_base_module(instance))
            take_out(instance, module);
        else
            linker->m_instances_without_module[instance->get_inst_header()].erase(instance);
    }
    void module_changed(NYX_INSTANCE *instance, NYX_MODULE *old_module) override {
        const NYX_DB_LOCK lock;
        NYX_CHECK(linker->m_instances_of_module_initialized);
        take_out(instance, old_module);
        linker->index_instance(instance);
    }

    using NYX_OBSERVER<NYX_MODULE>::allocated;
    void deallocated(NYX_MODULE *module) override {
        const NYX_DB_LOCK lock;
        NYX_CHECK(linker->m_instances_of_module_initialized);
        const auto it = linker->m_instances_of_module.find(module);
        if (it == linker->m_instances_of_module.end())
            return;
        NYX_CHECK_MSG(it->second.empty(), "Can't deallocate a module which is a base module for an instance");
        linker->m_instances_of_module.erase(it);
    }

private:
    void take_out(NYX_INSTANCE *instance, NYX_MODULE *module) {
        const auto it = linker->m_instances_of_module.find(module);
        NYX_CHECK(it != linker->m_instances_of_module.end());
        std::set<NYX_INSTANCE *> &instances = it->second;
        const auto it2 = instances.find(instance);
        NYX_CHECK(it2 != instances.end());
        // The entry stays when it is empty: who walks it holds a reference to it.
        instances.erase(it2);
    }

    NYX_DB_LINKER *const linker;
};

const std::set<NYX_INSTANCE *> &NYX_DB_LINKER::get_instances_of(NYX_MODULE *module) {
    const NYX_DB_LOCK lock;
    if (!m_instances_of_module_initialized) {
        try {
            for (const auto &[persistent, db] : m_persistent_to_db)
                index_instances_in(persistent);
            if (m_observer == nullptr)
                m_observer = new OBSERVER(this);
        } catch (...) {
            m_instances_of_module.clear();
            m_instances_without_module.clear();
            throw;
        }
        m_instances_of_module_initialized = true;
    }
    // Modules of databases that are open by now: linking their headers enters the instances.
    std::vector<const NYX_INST_HEADER *> waiting;
    for (const auto &[header, instances] : m_instances_without_module)
        waiting.push_back(header);
    for (const NYX_INST_HEADER *const header : waiting)
        header->find_module();
    return m_instances_of_module[module];
}

bool NYX_DB_LINKER::has_fewer_than_two_instances(NYX_MODULE *module) {
    const NYX_DB_LOCK lock;
    return get_instances_of(module).size() < 2;
}

// Null if its database is not open or has no such module.
NYX_MODULE *NYX_DB_LINKER::find_base_module(const NYX_INSTANCE *instance) {
    const NYX_INSTANCE_IMPL *const row = instance->get_impl();
    if (NYX_MODULE_IMPL *const module = row->m_module_ptr.get())
        return module;
    const NYX_INST_HEADER_IMPL *const header = row->m_inst_header_ptr.get();
    return header != nullptr ? header->find_module() : nullptr;
}

void NYX_DB_LINKER::index_instance(NYX_INSTANCE *instance) {
    if (NYX_MODULE *const module = find_base_module(instance))
        m_instances_of_module[module].insert(instance);
    else
        m_instances_without_module[instance->get_inst_header()].insert(instance);
}

// A header leads to a module now.
void NYX_DB_LINKER::index_waiting_instances(const NYX_INST_HEADER *header, NYX_MODULE *module) {
    const auto found = m_instances_without_module.find(header);
    if (found == m_instances_without_module.end())
        return;
    m_instances_of_module[module].merge(found->second);
    m_instances_without_module.erase(found);
}

// A header leads to no module any more, or not to that one.
void NYX_DB_LINKER::wait_for_module(const NYX_INST_HEADER *header, const NYX_MODULE *old_module) {
    const auto found = m_instances_of_module.find(const_cast<NYX_MODULE *>(old_module));
    if (found == m_instances_of_module.end())
        return;
    for (auto instance = found->second.begin(); instance != found->second.end();) {
        const auto next = std::next(instance);
        if ((*instance)->get_inst_header() == header)
            m_instances_without_module[header].insert(found->second.extract(instance));
        instance = next;
    }
}

void NYX_DB_LINKER::index_instances_in(const NYX_DB_PERSISTENT *persistent) {
    NYX_INSTANCE_TABLE &table = persistent->table<NYX_INSTANCE>();
    for (unsigned i = 0; i < table.iter_limit(); ++i) {
        NYX_INSTANCE_IMPL *const instance = table.get(NYX_INSTANCE_ID(i));
        if (instance->m_name_id != NYX_NAME_ID::INVALID)
            index_instance(instance);
    }
}

// All that lies in a range of addresses, be it module or instance. Instances elsewhere that lose their module wait for
// one of its name.
void NYX_DB_LINKER::purge_instances(const void *begin, const void *end) {
    const auto range_of = [begin, end](auto &container, auto *first) {
        using POINTER = decltype(first);
        return std::pair(container.lower_bound(static_cast<POINTER>(const_cast<void *>(begin))),
                         container.lower_bound(static_cast<POINTER>(const_cast<void *>(end))));
    };
    NYX_INSTANCE *const any_instance = nullptr;
    for (auto &[module, instances] : m_instances_of_module) {
        const auto [first, last] = range_of(instances, any_instance);
        instances.erase(first, last);
    }
    const auto [first_header, last_header] =
        range_of(m_instances_without_module, static_cast<NYX_INST_HEADER *>(nullptr));
    m_instances_without_module.erase(first_header, last_header);
    const auto [first_module, last_module] = range_of(m_instances_of_module, static_cast<NYX_MODULE *>(nullptr));
    for (auto entry = first_module; entry != last_module; ++entry) {
        for (NYX_INSTANCE *const instance : entry->second)
            m_instances_without_module[instance->get_inst_header()].insert(instance);
    }
    m_instances_of_module.erase(first_module, last_module);
}
