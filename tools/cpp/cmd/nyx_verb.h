#ifndef NYX_VERB_H
#define NYX_VERB_H

#include "cmd/nyx_console.h"

#include <memory>
#include <string>
#include <variant>
#include <vector>

/// One option or argument of a verb. Parsing, `--help`, the man pages and the completions all come from this.
struct NYX_OPTION {
    enum class COMPLETE { NOTHING, DATABASE, NETLIST, ANY_FILE };

    /// "-o,--output", or the name of an argument in capitals such as "FILE".
    std::string names;
    /// What the value is called; empty for a flag and for an argument.
    std::string value;
    std::string help;
    std::variant<bool *, int *, unsigned long long *, double *, std::string *, std::vector<std::string> *> target;
    bool required = false;
    /// If not empty, the only values.
    std::vector<std::string> choices = {};
    COMPLETE complete = COMPLETE::NOTHING;
    /// For numbers: the least and the greatest.
    unsigned long long least = 0;
    unsigned long long most = 2147483647;

    bool is_argument() const { return names[0] != '-'; }
    bool is_number() const {
        return std::holds_alternative<int *>(target) || std::holds_alternative<unsigned long long *>(target);
    }
    bool is_flag() const { return std::holds_alternative<bool *>(target); }
};

/// A sub-command of `nyx`.
class NYX_VERB {
public:
    struct EXAMPLE {
        std::string command;
        std::string what;
    };

    virtual ~NYX_VERB() = default;

    virtual std::string get_name() const = 0;
    /// One line without a full stop.
    virtual std::string get_summary() const = 0;
    /// Paragraphs, each one string.
    virtual std::vector<std::string> get_description() const = 0;
    virtual std::vector<EXAMPLE> get_examples() const = 0;
    /// The targets are members of the verb.
    virtual std::vector<NYX_OPTION> get_options() = 0;

    /// Whether the verb prints data of its own, and so has --json.
    virtual bool has_json() const { return true; }

    /// Does the work and returns the exit code: 0, or 1 for differences and failed checks. What throws ends in 2.
    virtual int run(NYX_CONSOLE &console) = 0;
};

/// All verbs, in the order in which they are listed.
std::vector<std::unique_ptr<NYX_VERB>> nyx_make_verbs();

std::unique_ptr<NYX_VERB> nyx_make_import_verb();
std::unique_ptr<NYX_VERB> nyx_make_export_verb();
std::unique_ptr<NYX_VERB> nyx_make_info_verb();
std::unique_ptr<NYX_VERB> nyx_make_tree_verb();
std::unique_ptr<NYX_VERB> nyx_make_find_verb();
std::unique_ptr<NYX_VERB> nyx_make_stats_verb();
std::unique_ptr<NYX_VERB> nyx_make_check_verb();
std::unique_ptr<NYX_VERB> nyx_make_clone_verb();
std::unique_ptr<NYX_VERB> nyx_make_resize_verb();
std::unique_ptr<NYX_VERB> nyx_make_rm_verb();
std::unique_ptr<NYX_VERB> nyx_make_help_verb();
std::unique_ptr<NYX_VERB> nyx_make_completion_verb();
std::unique_ptr<NYX_VERB> nyx_make_man_verb();

#endif
