// A tool that reads storage: a table in a segment is found at the same offset in a copy of the segment's bytes, and
// works.
#include <memory/nyx_column.h>
#include <memory/nyx_segment.h>
#include <names/nyx_name_mgr.h>

#include <iostream>
#include <string>

struct TABLE {
    explicit TABLE(NYX_SEGMENT_MANAGER *manager) : names(manager), rows(this, manager) {}

    NYX_NAME_MANAGER names;
    NYX_FREE_LIST_COLUMN<NYX_PAGE<NYX_NAME_ID, NYX_NET_ID, 1>> rows;
};

int main() {
    NYX_SEGMENT segment(1 << 20);
    auto *const table = segment.get_segment_manager()->construct<TABLE>("table")(segment.get_segment_manager());
    bool fresh_page = false;
    NYX_NAME_ID *const row = table->rows.allocate(fresh_page);
    *row = table->names.get_id("data[7]");
    const NYX_NET_ID id = table->rows.get_id(row);

    const NYX_SEGMENT copy(segment, 0);
    const auto *moved =
        reinterpret_cast<const TABLE *>(copy.data() + (reinterpret_cast<char *>(table) - segment.data()));
    std::string name;
    moved->names.find_name(*moved->rows.get(id), name);
    std::cout << name << ' ' << (moved != table) << '\n';
}
