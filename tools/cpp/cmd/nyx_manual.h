#ifndef NYX_MANUAL_H
#define NYX_MANUAL_H

#include "cmd/nyx_verb.h"

#include <string>
#include <vector>

/// \file
/// Everything that is told about the command, made from what its verbs say of themselves.

using NYX_VERBS = std::vector<std::unique_ptr<NYX_VERB>>;

/// The options that the verb has besides its own.
std::vector<NYX_OPTION> nyx_common_options(NYX_CONSOLE &console, const NYX_VERB &verb);

/// What `nyx --help` prints.
std::string nyx_overall_help(const NYX_CONSOLE &console, const NYX_VERBS &verbs);
/// What `nyx VERB --help` prints.
std::string nyx_verb_help(NYX_CONSOLE &console, NYX_VERB &verb);

/// Man pages in roff: nyx(1), and nyx-VERB(1).
std::string nyx_overall_man(const NYX_VERBS &verbs);
std::string nyx_verb_man(NYX_VERB &verb);

/// Completions for "bash", "zsh" or "fish".
std::string nyx_completion(const std::string &shell, const NYX_VERBS &verbs);

#endif
