#include "cmd/nyx_verb.h"

std::vector<std::unique_ptr<NYX_VERB>> nyx_make_verbs() {
    std::vector<std::unique_ptr<NYX_VERB>> verbs;
    for (const auto make : {
             nyx_make_import_verb,
             nyx_make_export_verb,
             nyx_make_info_verb,
             nyx_make_tree_verb,
             nyx_make_find_verb,
             nyx_make_stats_verb,
             nyx_make_check_verb,
             nyx_make_clone_verb,
             nyx_make_resize_verb,
             nyx_make_rm_verb,
             nyx_make_help_verb,
             nyx_make_completion_verb,
             nyx_make_man_verb,
         })
        verbs.push_back(make());
    return verbs;
}
