#include "cmd/nyx_open_design.h"
#include "cmd/nyx_verb.h"
#include "io/nyx_io_error.h"
#include "io/nyx_netlist_text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <unordered_map>

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
        m_console = &console;
        const STATE state = get_state(top, 0);
        if (console.m_json)
            begin_json({top, 1}, state, 0);
        else
            console.print(console.paint(NYX_CONSOLE::STYLE::HEADING, get_label(top)) + "\n");
        if (state == STATE::OPEN)
            walk(top);
        if (console.m_json) {
            end_json(state, 0);
            console.print("\n");
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

    /// What is shown of a module where it comes.
    enum class STATE {
        LEAF,
        EMPTY,  ///< it uses nothing
        CUT,    ///< it lies at the depth limit
        FOLDED, ///< its contents were shown before
        OPEN,
    };

    /// To be asked in the order of what is printed, as "see above" refers to that.
    STATE get_state(NYX_MODULE *module, int level) {
        if (module->is_leaf())
            return STATE::LEAF;
        if (m_depth >= 0 && level >= m_depth)
            return STATE::CUT;
        if (module->contains_no_instances())
            return STATE::EMPTY;
        if (m_unfold)
            return STATE::OPEN;
        const auto [seen, is_new] = m_seen.emplace(module, level);
        // With a limit, what comes at a higher level shows more.
        if (!is_new && (m_depth < 0 || seen->second <= level))
            return STATE::FOLDED;
        seen->second = level;
        return STATE::OPEN;
    }

    /// A module whose contents are being shown.
    struct FRAME {
        std::vector<USE> uses;
        std::uint64_t num_leaves = 0;
        std::uint64_t num_leaf_kinds = 0;
        std::size_t next = 0;
        std::size_t indent = 0; ///< how much of the indentation is its own line's
    };

    FRAME open(NYX_MODULE *module, std::size_t indent) const {
        FRAME frame;
        frame.indent = indent;
        for (const USE &use : get_uses(module))
            if (use.module->is_leaf() && !m_leaves) {
                frame.num_leaves += use.count;
                ++frame.num_leaf_kinds;
            } else
                frame.uses.push_back(use);
        return frame;
    }

    /// Hierarchies may be deeper than the stack.
    void walk(NYX_MODULE *top) {
        std::vector<FRAME> frames;
        frames.push_back(open(top, 0));
        begin_contents(frames.back(), 0);
        while (!frames.empty()) {
            FRAME &frame = frames.back();
            const auto level = int(frames.size());
            if (frame.next == frame.uses.size()) {
                end_contents(frame);
                m_indent.resize(frame.indent);
                frames.pop_back();
                if (!frames.empty() && m_console->m_json)
                    end_json(STATE::OPEN, level - 1);
                continue;
            }
            const USE use = frame.uses[frame.next++];
            const STATE state = get_state(use.module, level);
            const bool is_last = frame.next == frame.uses.size() && frame.num_leaf_kinds == 0;
            if (m_console->m_json) {
                m_console->print(frame.next > 1 ? ",\n" : "\n");
                begin_json(use, state, level);
                if (state != STATE::OPEN)
                    end_json(state, level);
            } else
                print_line(use, state, is_last);
            if (state != STATE::OPEN)
                continue;
            const std::size_t indent = m_indent.size();
            m_indent += is_last ? "   " : "\u2502  ";
            frames.push_back(open(use.module, indent));
            begin_contents(frames.back(), level);
        }
    }

    void print_line(const USE &use, STATE state, bool is_last) const {
        using STYLE = NYX_CONSOLE::STYLE;
        m_console->print(m_indent + (is_last ? "\u2514\u2500 " : "\u251c\u2500 ") +
                         m_console->paint(state == STATE::LEAF ? STYLE::FAINT : STYLE::NAME, get_label(use.module)) +
                         (use.count > 1 ? m_console->paint(STYLE::NUMBER, " x " + nyx_group_digits(use.count)) : "") +
                         (state == STATE::FOLDED ? m_console->paint(STYLE::FAINT, " (see above)") : "") + "\n");
    }

    static std::string get_json_indent(int level) { return std::string(std::size_t(level) * 4, ' '); }

    /// The object of a module but for what it uses. Written piece by piece, for it may be nested deeply.
    void begin_json(const USE &use, STATE state, int level) const {
        const std::string indent = "\n" + get_json_indent(level) + "  ";
        std::string text =
            get_json_indent(level) + "{" + indent + "\"module\": " +
            JSON(nyx_decode_name(use.module->get_name())).dump(-1, ' ', false, JSON::error_handler_t::replace) + "," +
            indent + "\"leaf\": " + (state == STATE::LEAF ? "true" : "false");
        if (level > 0)
            text += "," + indent + "\"count\": " + std::to_string(use.count);
        if (state == STATE::FOLDED)
            text += "," + indent + "\"folded\": true";
        if (state == STATE::EMPTY)
            text += "," + indent + "\"uses\": []";
        m_console->print(text);
    }
    void end_json(STATE state, int level) const {
        m_console->print((state == STATE::OPEN ? "]\n" : "\n") + get_json_indent(level) + "}");
    }

    void begin_contents(const FRAME &frame, int level) const {
        if (!m_console->m_json)
            return;
        const std::string indent = ",\n" + get_json_indent(level) + "  ";
        std::string text;
        if (frame.num_leaf_kinds > 0)
            text = indent + "\"leaves\": " + std::to_string(frame.num_leaves) + indent +
                   "\"leaf_kinds\": " + std::to_string(frame.num_leaf_kinds);
        m_console->print(text + indent + "\"uses\": [");
    }
    void end_contents(const FRAME &frame) const {
        if (m_console->m_json || frame.num_leaf_kinds == 0)
            return;
        m_console->print(
            m_indent + "\u2514\u2500 " +
            m_console->paint(NYX_CONSOLE::STYLE::FAINT, nyx_group_digits(frame.num_leaves) +
                                                            (frame.num_leaves == 1 ? " leaf of " : " leaves of ") +
                                                            nyx_group_digits(frame.num_leaf_kinds) +
                                                            (frame.num_leaf_kinds == 1 ? " kind" : " kinds")) +
            "\n");
    }

    std::string m_file;
    int m_depth = -1;
    bool m_leaves = false;
    bool m_unfold = false;
    std::string m_top;
    NYX_CONSOLE *m_console = nullptr;
    /// By module, the level that it was shown at.
    std::unordered_map<NYX_MODULE *, int> m_seen;
    std::string m_indent;
};

} // namespace

std::unique_ptr<NYX_VERB> nyx_make_tree_verb() {
    return std::make_unique<TREE_VERB>();
}
