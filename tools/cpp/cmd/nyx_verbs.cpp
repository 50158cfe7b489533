#include "cmd/nyx_verb.h"

std::vector<std::unique_ptr<NYX_VERB>> nyx_make_verbs() {
    std::vector<std::unique_ptr<NYX_VERB>> verbs;
    for (const auto make : {
             nyx_make_completion_verb,
             nyx_make_man_verb,
         })
        verbs.push_back(make());
    return verbs;
}
