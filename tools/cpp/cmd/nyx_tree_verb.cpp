#include "cmd/nyx_open_design.h"
#include "cmd/nyx_verb.h"
#include "io/nyx_io_error.h"
#include "io/nyx_netlist_text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <unordered_set>

namespace {

using JSON = nlohmann::ordered_json;

class TREE_VERB final : public NYX_VERB {
public:
    std::string get_name() const override { return "tree"; }
    std::string get_summary() const override { return "show the modules by instantiation"; }
    std::vector<std::string> get_description() const override {
        return {
            "Shows the top module, the modules that it uses with the number of their instances, what those use, and so "
            "on. A module that comes again is shown without what is below it, and leaf modules are summed up to one "
            "line, unless asked otherwise."};
    }
    std::vector<EXAMPLE> get_examples() const override {
        return {{"nyx tree design.nyx", "The folded tree."},
                {"nyx tree design.nyx --depth 2 --leaves", "Two levels, with the leaf modules."},
                {"nyx tree design.nyx --top alu", "What is below one module."}};
    }
    std::vector<NYX_OPTION> get_options() override {
        return {{"FILE", "", "The database", &m_file, true, {}, NYX_OPTION::COMPLETE::DATABASE},
                {"-d,--depth", "N", "Levels below the top to show", &m_depth},
                {"--leaves", "", "List leaf modules", &m_leaves},
                {"--unfold", "", "Show a module's contents each time that it comes", &m_unfold},
                {"--top", "MODULE", "Begin at this module", &m_top}};
    }
    int run(NYX_CONSOLE &console) override {
        const NYX_OPEN_DESIGN design(m_file);
        NYX_MODULE *top = nullptr;
        if (m_top.empty())
            top = design->get_top_module();
        else
            top = design->find_local_module(nyx_encode_name(m_top).c_str());
        if (!top)
            throw NYX_IO_ERROR(m_file + ": there is no module " + (m_top.empty() ? "in it" : "\"" + m_top + "\""));
        if (console.m_json)
            console.print(get_json(top, 0).dump(2, ' ', false, JSON::error_handler_t::replace) + "\n");
        else {
            console.print(console.paint(NYX_CONSOLE::STYLE::HEADING, get_label(top)) + "\n");
            show(console, top, "", 0);
        }
        return 0;
    }

private:
    struct USE {
        NYX_MODULE *module;
        std::uint64_t count;
    };

    static std::string get_label(const NYX_MODULE *module) {
        return nyx_printable(nyx_decode_name(module->get_name()));
    }

    /// The modules that one uses, those with contents first, each kind in the order of first use.
    static std::vector<USE> get_uses(NYX_MODULE *module) {
        std::vector<USE> uses;
        std::map<NYX_MODULE *, std::size_t> places;
        for (NYX_INSTANCE *const instance : module->iter_instances()) {
            NYX_MODULE *const base = instance->get_module();
            const auto [place, is_new] = places.emplace(base, uses.size());
            if (is_new)
                uses.push_back({base, 0});
            ++uses[place->second].count;
        }
        std::stable_partition(uses.begin(), uses.end(), [](const USE &use) { return !use.module->is_leaf(); });
        return uses;
    }

    void show(NYX_CONSOLE &console, NYX_MODULE *module, const std::string &indent, int level) {
        using STYLE = NYX_CONSOLE::STYLE;
        const std::vector<USE> uses = get_uses(module);
        struct LINE {
            std::string text;
            NYX_MODULE *below;
        };
        std::vector<LINE> lines;
        std::uint64_t leaves = 0;
        std::uint64_t leaf_kinds = 0;
        for (const USE &use : uses) {
            if (use.module->is_leaf() && !m_leaves) {
                leaves += use.count;
                ++leaf_kinds;
                continue;
            }
            std::string text =
                console.paint(use.module->is_leaf() ? STYLE::FAINT : STYLE::NAME, get_label(use.module)) +
                (use.count > 1 ? console.paint(STYLE::NUMBER, " x " + nyx_group_digits(use.count)) : "");
            bool is_open = !use.module->is_leaf() && (m_depth < 0 || level + 1 < m_depth);
            if (is_open && !m_unfold && !m_seen.insert(use.module).second && !use.module->contains_no_instances()) {
                text += console.paint(STYLE::FAINT, " (see above)");
                is_open = false;
            }
            lines.push_back({std::move(text), is_open ? use.module : nullptr});
        }
        if (leaf_kinds > 0)
            lines.push_back(
                {console.paint(STYLE::FAINT, nyx_group_digits(leaves) + (leaves == 1 ? " leaf of " : " leaves of ") +
                                                 nyx_group_digits(leaf_kinds) + (leaf_kinds == 1 ? " kind" : " kinds")),
                 nullptr});
        if (m_depth == 0)
            return;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const bool is_last = i + 1 == lines.size();
            console.print(indent + (is_last ? "\u2514\u2500 " : "\u251c\u2500 ") + lines[i].text + "\n");
            if (lines[i].below)
                show(console, lines[i].below, indent + (is_last ? "   " : "\u2502  "), level + 1);
        }
    }

    JSON get_json(NYX_MODULE *module, int level) {
        JSON json;
        json["module"] = nyx_decode_name(module->get_name());
        json["leaf"] = module->is_leaf();
        if (m_depth >= 0 && level >= m_depth)
            return json;
        json["uses"] = JSON::array();
        for (const USE &use : get_uses(module)) {
            if (use.module->is_leaf() && !m_leaves)
                continue;
            const bool is_again = !m_unfold && !use.module->is_leaf() && !m_seen.insert(use.module).second;
            JSON below;
            if (is_again) {
                below["module"] = nyx_decode_name(use.module->get_name());
                below["leaf"] = false;
                below["folded"] = true;
            } else
                below = get_json(use.module, level + 1);
            below["count"] = use.count;
            json["uses"].push_back(std::move(below));
        }
        return json;
    }

    std::string m_file;
    int m_depth = -1;
    bool m_leaves = false;
    bool m_unfold = false;
    std::string m_top;
    std::unordered_set<NYX_MODULE *> m_seen;
};

} // namespace

std::unique_ptr<NYX_VERB> nyx_make_tree_verb() {
    return std::make_unique<TREE_VERB>();
}
