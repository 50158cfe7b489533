// The `nyx` command: parses the command line into the members of a verb, runs it, and turns what went wrong into a line
// and an exit code.
#include "cmd/nyx_manual.h"
#include "cmd/nyx_verb.h"
#include "io/nyx_io_error.h"
#include "nyx_report/nyx_report_exception.h"

#include <CLI/CLI.hpp>
#include <boost/interprocess/exceptions.hpp>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

namespace {

void add_option(CLI::App &app, const NYX_OPTION &option) {
    std::string names = option.names;
    if (option.is_argument())
        std::transform(names.begin(), names.end(), names.begin(),
                       [](unsigned char c) { return char(std::tolower(c)); });
    CLI::Option *const made = std::visit(
        [&](auto *target) -> CLI::Option * {
            if constexpr (std::is_same_v<decltype(target), bool *>)
                return app.add_flag(names, *target, option.help);
            else
                return app.add_option(names, *target, option.help);
        },
        option.target);
    // A list ends where the next option begins; all else takes one value.
    if (option.required)
        made->required();
    if (!option.choices.empty())
        made->check(CLI::IsMember(option.choices));
    if (option.is_argument())
        made->type_name(option.names);
}

/// The text for users: the library ends its messages with the place in the source, which is for its developers.
std::string get_message(const std::exception &error) {
    std::string text = error.what();
    text = text.substr(0, text.find(" from function "));
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

int run(int argc, char **argv) {
    NYX_CONSOLE console;
    const NYX_VERBS verbs = nyx_make_verbs();
    CLI::App app("", "nyx");
    app.set_help_flag("-h,--help", "");
    app.set_version_flag("--version", "nyx " NYX_VERSION);
    app.require_subcommand(1);
    NYX_VERB *chosen = nullptr;
    for (const auto &verb : verbs) {
        CLI::App *const sub = app.add_subcommand(verb->get_name(), verb->get_summary());
        sub->set_help_flag("-h,--help", "");
        for (const std::vector<NYX_OPTION> &options : {verb->get_options(), nyx_common_options(console, *verb)})
            for (const NYX_OPTION &option : options)
                add_option(*sub, option);
        sub->parse_complete_callback([&chosen, &verb] { chosen = verb.get(); });
    }
    const auto find_verb = [&]() -> NYX_VERB * {
        for (const auto &verb : verbs)
            if (app.got_subcommand(verb->get_name()))
                return verb.get();
        return nullptr;
    };
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp &) {
        NYX_VERB *const verb = find_verb();
        console.print(verb ? nyx_verb_help(console, *verb) : nyx_overall_help(console, verbs));
        return 0;
    } catch (const CLI::CallForVersion &version) {
        console.print(std::string(version.what()) + "\n");
        return 0;
    } catch (const CLI::ParseError &error) {
        if (argc == 1) {
            std::fputs(nyx_overall_help(console, verbs).c_str(), stderr);
            return 2;
        }
        const NYX_VERB *const verb = find_verb();
        if (!verb && argv[1][0] != '-') {
            console.error("there is no verb \"" + nyx_printable(argv[1]) + "\"; `nyx --help` lists them");
            return 2;
        }
        console.error(std::string(error.what()) + "; see `nyx " + (verb ? verb->get_name() + " " : "") + "--help`");
        return 2;
    }
    try {
        const int code = chosen->run(console);
        if (std::fflush(stdout) != 0)
            throw std::runtime_error("standard output can't be written");
        return code;
    } catch (const boost::interprocess::bad_alloc &) {
        console.error("the database is full; give it more room with `nyx resize`");
    } catch (const std::bad_alloc &) {
        console.error("out of memory");
    } catch (const std::exception &error) {
        console.error(get_message(error));
    }
    return 2;
}

} // namespace

int main(int argc, char **argv) {
    // A reader that has gone shows as a failed write.
    std::signal(SIGPIPE, SIG_IGN);
    return run(argc, argv);
}
