// The `nyx` command: parses the command line into the members of a verb, runs it, and turns what went wrong into a line
// and an exit code.
#include "cmd/nyx_manual.h"
#include "cmd/nyx_open_design.h"
#include "cmd/nyx_verb.h"
#include "io/nyx_io_error.h"
#include "io/nyx_temporary_path.h"
#include "io/nyx_text_output.h"

#include <CLI/CLI.hpp>
#include <boost/interprocess/exceptions.hpp>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

namespace {

/// CLI11 takes a word in brackets for a list of words, and not for the name of an object; so words that end in a
/// bracket get this behind them for as long as it has them.
constexpr char s_end_of_word = '\001';

std::vector<std::string> get_words(int argc, char **argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    for (std::string &word : words)
        if (word.ends_with(']'))
            word += s_end_of_word;
    std::reverse(words.begin(), words.end()); // as CLI11 takes them
    return words;
}

void add_option(CLI::App &app, const NYX_OPTION &option) {
    const std::string &names = option.names;
    CLI::Option *const made = std::visit(
        [&](auto *target) -> CLI::Option * {
            if constexpr (std::is_same_v<decltype(target), bool *>)
                return app.add_flag(names, *target, option.help);
            else
                return app.add_option(names, *target, option.help);
        },
        option.target);
    made->transform([](std::string text) {
        if (text.ends_with(s_end_of_word))
            text.pop_back();
        return text;
    });
    if (option.required)
        made->required();
    if (!option.choices.empty())
        made->check([choices = option.choices](const std::string &text) {
            if (std::find(choices.begin(), choices.end(), text) != choices.end())
                return std::string();
            std::string list;
            for (const std::string &choice : choices)
                list += (list.empty() ? "" : ", ") + choice;
            return "\"" + nyx_printable(text) + "\" is none of " + list;
        });
    if (option.is_number())
        made->check([least = option.least, most = option.most](const std::string &text) {
            unsigned long long number = 0;
            const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
            if (error == std::errc() && end == text.data() + text.size() && number >= least && number <= most)
                return std::string();
            return "\"" + nyx_printable(text) + "\" is no whole number from " + std::to_string(least) + " to " +
                   std::to_string(most);
        });
}

/// The first word that looks like an option and is none; empty if there is none such.
std::string find_unknown_option(const CLI::App &app) {
    for (const std::string &word : app.remaining())
        if (word.size() > 1 && word[0] == '-')
            return word;
    return {};
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
    if (argc > 1 && argv[1][0] != '-' &&
        std::none_of(verbs.begin(), verbs.end(), [argv](const auto &verb) { return verb->get_name() == argv[1]; })) {
        console.error("there is no verb \"" + nyx_printable(argv[1]) + "\"; `nyx --help` lists them");
        return 2;
    }
    try {
        app.parse(get_words(argc, argv));
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
        // What is not known at all comes before what is missing.
        if (const std::string unknown = find_unknown_option(verb ? *app.get_subcommand(verb->get_name()) : app);
            !unknown.empty())
            console.error("there is no option " + nyx_printable(unknown) + "; see `nyx " +
                          (verb ? verb->get_name() + " " : "") + "--help`");
        else
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
    } catch (const NYX_READER_GONE &) {
        // As a program that the signal for this ends, without a word.
    } catch (const std::exception &error) {
        console.error(nyx_message_of(error));
    }
    return 2;
}

} // namespace

int main(int argc, char **argv) {
    // A reader that has gone shows as a failed write.
    std::signal(SIGPIPE, SIG_IGN);
    NYX_TEMPORARY_PATH::remove_at_signals();
    return run(argc, argv);
}
