#include "cmd/nyx_manual.h"

#include <stdexcept>

namespace {

std::vector<NYX_OPTION> make_verb_argument(std::string *target) {
    NYX_OPTION option{"VERB", "", "The verb; nyx itself without", target};
    for (const auto &verb : nyx_make_verbs())
        option.choices.push_back(verb->get_name());
    return {option};
}

NYX_VERB &get_verb(const NYX_VERBS &verbs, const std::string &name) {
    for (const auto &verb : verbs)
        if (verb->get_name() == name)
            return *verb;
    throw std::invalid_argument("there is no verb \"" + name + "\"; `nyx --help` lists them");
}

class HELP_VERB final : public NYX_VERB {
public:
    std::string get_name() const override { return "help"; }
    std::string get_summary() const override { return "tell about nyx or a verb"; }
    std::vector<std::string> get_description() const override { return {"Prints what --help does."}; }
    std::vector<EXAMPLE> get_examples() const override { return {{"nyx help import", "What `nyx import` does."}}; }
    std::vector<NYX_OPTION> get_options() override { return make_verb_argument(&m_verb); }
    bool has_json() const override { return false; }
    int run(NYX_CONSOLE &console) override {
        const NYX_VERBS verbs = nyx_make_verbs();
        console.print(m_verb.empty() ? nyx_overall_help(console, verbs)
                                     : nyx_verb_help(console, get_verb(verbs, m_verb)));
        return 0;
    }

private:
    std::string m_verb;
};

class COMPLETION_VERB final : public NYX_VERB {
public:
    std::string get_name() const override { return "completion"; }
    std::string get_summary() const override { return "print the completions for a shell"; }
    std::vector<std::string> get_description() const override {
        return {"Prints a script that teaches the shell the verbs, options and files of nyx."};
    }
    std::vector<EXAMPLE> get_examples() const override {
        return {{"source <(nyx completion bash)", "Complete in this bash."},
                {"nyx completion fish > ~/.config/fish/completions/nyx.fish", "Complete in each fish."}};
    }
    std::vector<NYX_OPTION> get_options() override {
        return {{"SHELL", "", "The shell", &m_shell, true, {"bash", "zsh", "fish"}}};
    }
    bool has_json() const override { return false; }
    int run(NYX_CONSOLE &console) override {
        console.print(nyx_completion(m_shell, nyx_make_verbs()));
        return 0;
    }

private:
    std::string m_shell;
};

class MAN_VERB final : public NYX_VERB {
public:
    std::string get_name() const override { return "man"; }
    std::string get_summary() const override { return "print a man page"; }
    std::vector<std::string> get_description() const override {
        return {"Prints the manual page of nyx, or of one verb, as source for man."};
    }
    std::vector<EXAMPLE> get_examples() const override {
        return {{"nyx man import | man -l -", "Read the page of `nyx import`."}};
    }
    std::vector<NYX_OPTION> get_options() override { return make_verb_argument(&m_verb); }
    bool has_json() const override { return false; }
    int run(NYX_CONSOLE &console) override {
        const NYX_VERBS verbs = nyx_make_verbs();
        console.print(m_verb.empty() ? nyx_overall_man(verbs) : nyx_verb_man(get_verb(verbs, m_verb)));
        return 0;
    }

private:
    std::string m_verb;
};

} // namespace

std::unique_ptr<NYX_VERB> nyx_make_help_verb() {
    return std::make_unique<HELP_VERB>();
}
std::unique_ptr<NYX_VERB> nyx_make_completion_verb() {
    return std::make_unique<COMPLETION_VERB>();
}
std::unique_ptr<NYX_VERB> nyx_make_man_verb() {
    return std::make_unique<MAN_VERB>();
}
