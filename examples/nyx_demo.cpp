// Shows what a segment does: names and rows go in, the image is copied to another address, and the copy answers the
// same.
#include "memory/nyx_column.h"
#include "memory/nyx_segment.h"
#include "names/nyx_name_mgr.h"
#include "nyx/nyx.h"

#include <boost/interprocess/exceptions.hpp>

#include <chrono>
#include <iostream>
#include <string>

namespace {

struct CELL {
    NYX_NAME_ID name_id;
    NYX_INSTANCE_ID next;
    NYX_TRANSFORM placement;
};

// A table as the library's own are made: it lies in the segment, and its columns refer to it.
struct CELL_TABLE {
    explicit CELL_TABLE(NYX_SEGMENT_MANAGER *manager) : names(manager), cells(this, manager) {}

    NYX_NAME_MANAGER names;
    NYX_FREE_LIST_COLUMN<NYX_PAGE<CELL, NYX_INSTANCE_ID, 1>> cells;
    NYX_INSTANCE_ID head;
};

constexpr int s_columns = 1000;
constexpr int s_rows = 200;

void place_cells(CELL_TABLE &table) {
    for (int row = 0; row < s_rows; ++row)
        for (int column = 0; column < s_columns; ++column) {
            bool fresh_page = false;
            CELL *const cell = table.cells.allocate(fresh_page);
            const std::string name = "row_" + std::to_string(row) + "/cell_" + std::to_string(column / 64) + "[" +
                                     std::to_string(column % 64) + "]";
            cell->name_id = table.names.get_id(name.c_str());
            cell->placement =
                NYX_TRANSFORM(column * 380, row * 2720, row % 2 ? NYX_ORIENTATION::FS : NYX_ORIENTATION::N);
            cell->next = table.head;
            table.head = table.cells.get_id(cell);
        }
}

NYX_BOX bounding_box(const CELL_TABLE &table) {
    const NYX_BOX outline(0, 0, 380, 2720);
    NYX_BOX all;
    for (NYX_INSTANCE_ID id = table.head; id != NYX_INSTANCE_ID::INVALID; id = table.cells.get(id)->next) {
        NYX_BOX placed;
        outline.transform(table.cells.get(id)->placement, placed);
        all.include(placed);
    }
    return all;
}

void print(const char *what, const CELL_TABLE &table, const NYX_SEGMENT &segment) {
    std::string name;
    table.names.find_name(table.cells.get(table.head)->name_id, name);
    const NYX_BOX box = bounding_box(table);
    std::cout << what << ": last cell " << name << ", core area (" << box.get_left() << ", " << box.get_bottom()
              << ") to (" << box.get_right() << ", " << box.get_top() << ")\n";
    NYX_TYPE_STATS cells("CELL_TABLE", -1, -1);
    cells.add_field_stats(NYX_FIELD_STATS("primary", long(table.cells.get_bytes()),
                                          int(decltype(table.cells)::page_type::s_capacity),
                                          int(table.cells.get_num_pages())));
    NYX_STATS stats(segment.algorithm().get_size(), segment.algorithm().get_free_memory());
    stats.add_type_stats(cells);
    stats.add_type_stats(table.names.get_stats());
    std::cout << stats;
}

} // namespace

int main() {
    using clock = std::chrono::steady_clock;
    const auto ms = [](clock::duration d) {
        return std::chrono::duration_cast<std::chrono::microseconds>(d).count() / 1000.0;
    };
    try {
        const auto start = clock::now();
        NYX_SEGMENT segment(std::size_t(1) << 30);
        CELL_TABLE *const table =
            segment.get_segment_manager()->construct<CELL_TABLE>("cells")(segment.get_segment_manager());
        place_cells(*table);
        const auto built = clock::now();
        print("Built", *table, segment);

        const auto before_copy = clock::now();
        const NYX_SEGMENT copy(segment, 0);
        const auto copied = clock::now();
        const std::size_t table_offset = reinterpret_cast<const char *>(table) - segment.data();
        std::cout << '\n';
        print("Copied to another address", *reinterpret_cast<const CELL_TABLE *>(copy.data() + table_offset), copy);

        std::cout << "\n"
                  << s_rows * s_columns << " named and placed rows in " << ms(built - start)
                  << " ms, the image copied in " << ms(copied - before_copy) << " ms\n";
    } catch (const NYX_EXCEPTION &error) {
        std::cerr << "nyx_demo: " << error.what() << '\n';
        return 2;
    } catch (const boost::interprocess::bad_alloc &) {
        std::cerr << "nyx_demo: the segment is full; give it more room\n";
        return 2;
    }
    return 0;
}
