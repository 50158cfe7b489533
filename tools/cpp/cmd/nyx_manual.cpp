#include "cmd/nyx_manual.h"

#include <algorithm>
#include <stdexcept>

namespace {

const std::vector<NYX_VERB::EXAMPLE> s_examples = {
    {"nyx import design.json -o design.nyx", "Make a database of a netlist."},
    {"nyx tree design.nyx", "Look at its modules."},
    {"nyx find design.nyx 'core/alu/*' --connections", "Look into one of them."},
    {"nyx export design.nyx -f verilog -o design.v", "Write the netlist out."}};

const char *const s_exit_status = ".SH EXIT STATUS\n0 fine, 1 differences or a failed check, 2 usage or trouble.\n";

constexpr const char *s_summary = "look into, make and change databases of electronic designs";

std::string wrap(const std::string &text, std::size_t indent, std::size_t width) {
    std::string result;
    std::size_t column = indent;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        const std::size_t length = end - begin;
        if (column > indent && column + 1 + length > width) {
            result += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (column > indent) {
            result += ' ';
            ++column;
        }
        result.append(text, begin, length);
        column += length;
        begin = end + 1;
    }
    return result;
}

std::vector<std::string> split(const std::string &text) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

bool is_list(const NYX_OPTION &option) {
    return std::holds_alternative<std::vector<std::string> *>(option.target);
}

std::string get_usage(const NYX_VERB &verb, const std::vector<NYX_OPTION> &options) {
    std::string usage = "nyx " + verb.get_name();
    for (const NYX_OPTION &option : options)
        if (!option.is_argument() && option.required)
            usage += " " + split(option.names).front() + " " + option.value;
    usage += " [OPTION]...";
    for (const NYX_OPTION &option : options)
        if (option.is_argument()) {
            const std::string name = option.names + (is_list(option) ? "..." : "");
            usage += option.required ? " " + name : " [" + name + "]";
        }
    return usage;
}

std::string get_title(const NYX_OPTION &option) {
    std::string title;
    for (const std::string &name : split(option.names))
        title += (title.empty() ? "" : ", ") + name;
    if (!option.value.empty())
        title += " " + option.value;
    return title;
}

std::string get_help(const NYX_OPTION &option) {
    std::string help = option.help;
    if (!option.choices.empty()) {
        help += ": ";
        for (std::size_t i = 0; i < option.choices.size(); ++i)
            help += (i == 0 ? "" : i + 1 == option.choices.size() ? " or " : ", ") + option.choices[i];
    }
    return help;
}

std::string list_options(const NYX_CONSOLE &console, const std::vector<NYX_OPTION> &options, bool arguments) {
    std::string text;
    for (const NYX_OPTION &option : options)
        if (option.is_argument() == arguments) {
            const std::string title = get_title(option);
            text += "  " + console.paint(NYX_CONSOLE::STYLE::NAME, title);
            text += title.size() < 22 ? std::string(24 - title.size(), ' ') : "\n" + std::string(26, ' ');
            text += wrap(get_help(option), 26, 96) + "\n";
        }
    return text;
}

/// Text for roff: no line of it may be taken for a request, and a dash is a dash.
std::string roff(const std::string &text) {
    std::string result;
    for (const char c : text)
        c == '\\' ? result += "\\e" : c == '-' ? result += "\\-" : result += c;
    if (!result.empty() && (result[0] == '.' || result[0] == '\''))
        result.insert(0, "\\&");
    return result;
}

std::string list_examples(const std::vector<NYX_VERB::EXAMPLE> &examples) {
    std::string text = ".SH EXAMPLES\n";
    for (const NYX_VERB::EXAMPLE &example : examples)
        text += ".TP\n.B " + roff(example.command) + "\n" + roff(example.what) + "\n";
    return text;
}

std::string quote(const std::string &text) {
    std::string result = "'";
    for (const char c : text)
        c == '\'' ? result += "'\\''" : result += c;
    return result + "'";
}

/// Those of the verb, those that all have, and the one that is no verb's business.
std::vector<NYX_OPTION> get_all_options(NYX_CONSOLE &console, NYX_VERB &verb) {
    static bool s_help = false;
    std::vector<NYX_OPTION> options = verb.get_options();
    for (NYX_OPTION &option : nyx_common_options(console, verb))
        options.push_back(std::move(option));
    options.push_back({"-h,--help", "", "Print this and do nothing", &s_help});
    return options;
}

std::string get_all_names(NYX_VERB &verb) {
    NYX_CONSOLE console;
    std::string names;
    for (const NYX_OPTION &option : get_all_options(console, verb))
        if (!option.is_argument())
            for (const std::string &name : split(option.names))
                names += (names.empty() ? "" : " ") + name;
    return names;
}

std::string get_pattern(NYX_OPTION::COMPLETE complete) {
    switch (complete) {
    case NYX_OPTION::COMPLETE::DATABASE:
        return "nyx";
    case NYX_OPTION::COMPLETE::NETLIST:
        return "json|json.gz|json.zst";
    default:
        return "";
    }
}

std::string join(const std::vector<std::string> &parts) {
    std::string text;
    for (const std::string &part : parts)
        text += (text.empty() ? "" : " ") + part;
    return text;
}

std::string complete_bash(const NYX_VERBS &verbs) {
    std::string names;
    for (const auto &verb : verbs)
        names += (names.empty() ? "" : " ") + verb->get_name();
    std::string text = "# Completion of nyx for bash. Made by `nyx completion bash`.\n"
                       "_nyx() {\n"
                       "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}\n"
                       "    local verb=${COMP_WORDS[1]} files=\n"
                       "    COMPREPLY=()\n"
                       "    if ((COMP_CWORD == 1)); then\n"
                       "        COMPREPLY=($(compgen -W " +
                       quote(names + " --help --version") +
                       " -- \"$word\"))\n"
                       "        return\n"
                       "    fi\n"
                       "    case $verb in\n";
    for (const auto &verb : verbs) {
        text += "    " + verb->get_name() + ")\n";
        std::string values;
        std::string files;
        for (const NYX_OPTION &option : verb->get_options()) {
            if (option.is_argument()) {
                if (!option.choices.empty())
                    files = "        COMPREPLY=($(compgen -W " + quote(join(option.choices)) + " -- \"$word\"))\n";
                else if (files.empty() && option.complete != NYX_OPTION::COMPLETE::NOTHING)
                    files = "        files=" + quote(get_pattern(option.complete)) + "\n" +
                            "        _nyx_files \"$word\" \"$files\"\n";
                continue;
            }
            if (option.is_flag())
                continue;
            std::string cases;
            for (const std::string &name : split(option.names))
                cases += (cases.empty() ? "" : " | ") + name;
            values += "        " + cases + ")\n";
            if (!option.choices.empty())
                values += "            COMPREPLY=($(compgen -W " + quote(join(option.choices)) + " -- \"$word\"))\n";
            else if (option.complete != NYX_OPTION::COMPLETE::NOTHING)
                values += "            _nyx_files \"$word\" " + quote(get_pattern(option.complete)) + "\n";
            values += "            return\n            ;;\n";
        }
        if (!values.empty())
            text += "        case $before in\n" + values + "        esac\n";
        text += "        if [[ $word == -* ]]; then\n"
                "            COMPREPLY=($(compgen -W " +
                quote(get_all_names(*verb)) +
                " -- \"$word\"))\n"
                "            return\n"
                "        fi\n" +
                files + "        ;;\n";
    }
    text += "    esac\n"
            "}\n"
            "_nyx_files() {\n"
            "    local path\n"
            "    while IFS= read -r path; do\n"
            "        if [[ -d $path || -z $2 || $path =~ \\.($2)$ ]]; then\n"
            "            COMPREPLY+=(\"$path\")\n"
            "        fi\n"
            "    done < <(compgen -f -- \"$1\")\n"
            "    compopt -o filenames 2>/dev/null\n"
            "}\n"
            "complete -F _nyx nyx\n";
    return text;
}

std::string complete_zsh(const NYX_VERBS &verbs) {
    const auto escape = [](std::string text) {
        for (const char c : {'\\', '[', ']', ':'})
            for (std::size_t at = 0; (at = text.find(c, at)) != text.npos; at += 2)
                text.insert(at, "\\");
        return text;
    };
    const auto get_action = [](const NYX_OPTION &option) -> std::string {
        if (!option.choices.empty())
            return "(" + join(option.choices) + ")";
        const std::string pattern = get_pattern(option.complete);
        if (!pattern.empty())
            return "_files -g \"*.(" + pattern + ")\"";
        return option.complete == NYX_OPTION::COMPLETE::ANY_FILE ? "_files" : " ";
    };
    std::string text = "#compdef nyx\n# Completion of nyx for zsh. Made by `nyx completion zsh`.\n_nyx() {\n"
                       "    local -a verbs\n    verbs=(\n";
    for (const auto &verb : verbs)
        text += "        " + quote(escape(verb->get_name()) + ":" + verb->get_summary()) + "\n";
    text += "    )\n    if ((CURRENT == 2)); then\n        _describe verb verbs\n        return\n    fi\n"
            "    local verb=$words[2]\n    shift words\n    ((CURRENT--))\n    case $verb in\n";
    NYX_CONSOLE console;
    for (const auto &verb : verbs) {
        text += "    " + verb->get_name() + ")\n        _arguments";
        for (const NYX_OPTION &option : get_all_options(console, *verb)) {
            if (option.is_argument()) {
                text += " \\\n            " + quote(std::string(is_list(option) ? "*" : "") + ":" +
                                                    escape(option.names) + ":" + get_action(option));
                continue;
            }
            for (const std::string &name : split(option.names))
                text += " \\\n            " +
                        quote(name + "[" + escape(option.help) + "]" +
                              (option.is_flag() ? "" : ":" + escape(option.value) + ":" + get_action(option)));
        }
        text += "\n        ;;\n";
    }
    return text + "    esac\n}\n_nyx \"$@\"\n";
}

std::string complete_fish(const NYX_VERBS &verbs) {
    const auto quote_fish = [](const std::string &text) {
        std::string result = "'";
        for (const char c : text)
            c == '\'' || c == '\\' ? (result += '\\') += c : result += c;
        return result + "'";
    };
    std::string text = "# Completion of nyx for fish. Made by `nyx completion fish`.\ncomplete -c nyx -f\n";
    for (const auto &verb : verbs)
        text += "complete -c nyx -n __fish_use_subcommand -a " + verb->get_name() + " -d " +
                quote_fish(verb->get_summary()) + "\n";
    NYX_CONSOLE console;
    for (const auto &verb : verbs) {
        const std::string start = "complete -c nyx -n '__fish_seen_subcommand_from " + verb->get_name() + "'";
        for (const NYX_OPTION &option : get_all_options(console, *verb)) {
            std::string line = start;
            if (option.is_argument()) {
                if (!option.choices.empty())
                    text += line + " -a " + quote_fish(join(option.choices)) + "\n";
                else if (option.complete != NYX_OPTION::COMPLETE::NOTHING)
                    text += line + " -F\n";
                continue;
            }
            for (const std::string &name : split(option.names))
                line += name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1);
            if (!option.is_flag())
                line += " -r";
            if (!option.choices.empty())
                line += " -a " + quote_fish(join(option.choices));
            else if (option.complete != NYX_OPTION::COMPLETE::NOTHING)
                line += " -F";
            text += line + " -d " + quote_fish(option.help) + "\n";
        }
    }
    return text;
}

} // namespace

std::vector<NYX_OPTION> nyx_common_options(NYX_CONSOLE &console, const NYX_VERB &verb) {
    std::vector<NYX_OPTION> options;
    if (verb.has_json())
        options.push_back({"--json", "", "Print one JSON document", &console.m_json});
    options.push_back({"-q,--quiet", "", "Print no notes and no progress", &console.m_quiet});
    return options;
}

std::string nyx_overall_help(const NYX_CONSOLE &console, const NYX_VERBS &verbs) {
    using STYLE = NYX_CONSOLE::STYLE;
    std::string text = console.paint(STYLE::HEADING, "nyx") + ": " + s_summary + "\n\n" +
                       console.paint(STYLE::HEADING, "Usage:") + " nyx VERB [OPTION]... [FILE]...\n\n" +
                       console.paint(STYLE::HEADING, "Verbs:") + "\n";
    for (const auto &verb : verbs)
        text += "  " + console.paint(STYLE::NAME, verb->get_name()) +
                std::string(12 - std::min<std::size_t>(11, verb->get_name().size()), ' ') + verb->get_summary() + "\n";
    return text +
           "\n`nyx VERB --help` tells about a verb, `nyx --help` prints this, `nyx --version` the version. Exit codes: "
           "0\n"
           "fine, 1 differences or a failed check, 2 usage or trouble.\n\n" +
           console.paint(STYLE::HEADING, "Examples:") + "\n" + [&console] {
               std::string examples;
               for (const NYX_VERB::EXAMPLE &example : s_examples)
                   examples += "  " + console.paint(STYLE::NAME, example.command) + "\n      " + example.what + "\n";
               return examples;
           }();
}

std::string nyx_verb_help(NYX_CONSOLE &console, NYX_VERB &verb) {
    using STYLE = NYX_CONSOLE::STYLE;
    const std::vector<NYX_OPTION> options = get_all_options(console, verb);
    std::string text = console.paint(STYLE::HEADING, "nyx " + verb.get_name()) + ": " + verb.get_summary() + "\n\n" +
                       console.paint(STYLE::HEADING, "Usage:") + " " + get_usage(verb, options) + "\n";
    for (const std::string &paragraph : verb.get_description())
        text += "\n" + wrap(paragraph, 0, 96) + "\n";
    const std::string arguments = list_options(console, options, true);
    if (!arguments.empty())
        text += "\n" + console.paint(STYLE::HEADING, "Arguments:") + "\n" + arguments;
    text += "\n" + console.paint(STYLE::HEADING, "Options:") + "\n" + list_options(console, options, false) + "\n" +
            console.paint(STYLE::HEADING, "Examples:") + "\n";
    for (const NYX_VERB::EXAMPLE &example : verb.get_examples())
        text += "  " + console.paint(STYLE::NAME, example.command) + "\n      " + wrap(example.what, 6, 96) + "\n";
    return text;
}

std::string nyx_overall_man(const NYX_VERBS &verbs) {
    std::string text = ".TH NYX 1 \"\" \"nyx " NYX_VERSION "\"\n.SH NAME\nnyx \\- " + roff(s_summary) +
                       "\n.SH SYNOPSIS\n.B nyx\n.I VERB\n[\\fIOPTION\\fR]... [\\fIFILE\\fR]...\n.SH VERBS\n";
    for (const auto &verb : verbs)
        text += ".TP\n.BR nyx\\-" + verb->get_name() + " (1)\n" + roff(verb->get_summary()) + "\n";
    text += ".SH OPTIONS\n.TP\n.B \\-h, \\-\\-help\nList the verbs.\n.TP\n.B \\-\\-version\nPrint the version.\n";
    text += s_exit_status;
    text += ".SH ENVIRONMENT\n.TP\n.B NO_COLOR\nIf set and not empty, nothing is printed in colour.\n"
            ".SH FILES\n.TP\n.I nyx.paths\nBeside a database, tells where the libraries are that it uses.\n";
    return text + list_examples(s_examples);
}

std::string nyx_verb_man(NYX_VERB &verb) {
    NYX_CONSOLE console;
    std::string title = "NYX-" + verb.get_name();
    std::transform(title.begin(), title.end(), title.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? char(c - 32) : c; });
    std::string text = ".TH " + roff(title) + " 1 \"\" \"nyx " NYX_VERSION "\"\n.SH NAME\nnyx\\-" + verb.get_name() +
                       " \\- " + roff(verb.get_summary()) + "\n.SH SYNOPSIS\n" +
                       roff(get_usage(verb, verb.get_options())) + "\n.SH DESCRIPTION\n";
    for (const std::string &paragraph : verb.get_description())
        text += roff(paragraph) + "\n.PP\n";
    text += ".SH OPTIONS\n";
    for (const NYX_OPTION &option : get_all_options(console, verb))
        text += ".TP\n.B " + roff(get_title(option)) + "\n" + roff(get_help(option)) + "\n";
    text += s_exit_status + list_examples(verb.get_examples());
    return text + ".SH SEE ALSO\n.BR nyx (1)\n";
}

std::string nyx_completion(const std::string &shell, const NYX_VERBS &verbs) {
    if (shell == "bash")
        return complete_bash(verbs);
    if (shell == "zsh")
        return complete_zsh(verbs);
    if (shell == "fish")
        return complete_fish(verbs);
    throw std::invalid_argument("no completion for \"" + shell + "\"");
}
