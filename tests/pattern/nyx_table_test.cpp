// What holds for single tables: widths, ranges and columns that differ from type to type.
#include "pattern/object_types.h"

#include <boost/interprocess/exceptions.hpp>

#include <string>
#include <type_traits>

namespace {

TEST(RowWidths, AreTheFiles) {
    EXPECT_EQ(sizeof(NYX_MODULE_IMPL), 16u);
    EXPECT_EQ(sizeof(NYX_INSTANCE_IMPL), 40u);
    EXPECT_EQ(sizeof(NYX_PORT_IMPL), 32u);
    EXPECT_EQ(sizeof(NYX_NET_IMPL), 20u);
    EXPECT_EQ(sizeof(NYX_INST_PORT_IMPL), 24u);
    EXPECT_EQ(sizeof(NYX_INST_HEADER_IMPL), 16u);
    EXPECT_EQ(sizeof(NYX_PORT_BUS_IMPL), 32u);
    EXPECT_EQ(sizeof(NYX_INTERFACE_IMPL), 32u);
    EXPECT_EQ(sizeof(NYX_HIER_INSTANCE_IMPL), 40u);
    EXPECT_EQ(sizeof(NYX_HIER_MODULE_IMPL), 8u);
    EXPECT_EQ(sizeof(NYX_HIER_PORT_IMPL), 16u);
    EXPECT_EQ(sizeof(NYX_CONSTRAINT_ARG_IMPL), 16u);
    EXPECT_EQ(sizeof(NYX_CONSTRAINT_COLLECTION_IMPL), 56u);
    EXPECT_EQ(sizeof(NYX_CONSTRAINT_STMT_IMPL), 4u);
    EXPECT_EQ(sizeof(NYX_ENTITY_IMPL), 4u);
    EXPECT_EQ(sizeof(NYX_RELATIVE_OBJECT_IMPL), 16u);
    EXPECT_EQ(sizeof(NYX_SDC_CLOCK_IMPL), 4u);
    EXPECT_EQ(sizeof(NYX_SOURCE_FILE_IMPL), 8u);
    EXPECT_EQ(sizeof(NYX_BYTE1_TRAIT_IMPL), 32u);
}

// Every table with its columns: name, bytes of a cell, rows of a page.
template <class T>
std::string columns_of() {
    using TABLE = typename NYX_OBJECT_TRAITS<T>::table;
    std::string text;
    const auto add = [&text]<class COLUMN>(const char *name, COLUMN TABLE::*) {
        using PAGE = typename COLUMN::page_type;
        text += (text.empty() ? "" : ", ") + std::string(name) + ' ' + std::to_string(sizeof(typename PAGE::row_type)) +
                ' ' + std::to_string(PAGE::s_capacity);
    };
    add("primary", &TABLE::m_primary);
    TABLE::for_each_column(add);
    return text + (TABLE::s_has_properties ? ", properties" : "");
}

TEST(Columns, AreTheFiles) {
    EXPECT_EQ(columns_of<NYX_MODULE>(),
              "primary 16 254, bounds 16 254, file_lineno 4 1018, file_name_id 4 1018, head_instance 4 "
              "1018, head_instance_bus 4 1018, head_interface 4 1018, head_net 4 1018, head_net_bus 4 "
              "1018, head_port_bus 4 1018, name_id 4 1018, reference_count 4 1018, tail_instance 4 1018, "
              "properties");
    EXPECT_EQ(columns_of<NYX_INSTANCE>(),
              "primary 40 101, bus_ptr 8 509, file_lineno 4 1018, file_name_id 4 1018, first_inst_port 4 "
              "1018, hier_instance_ptr 8 509, num_inst_ports 4 1018, placement_status 1 4072, trait_bits "
              "1 4072, transform 12 339, properties");
    EXPECT_EQ(columns_of<NYX_PORT>(),
              "primary 32 127, bounds 16 254, bus_ptr 8 509, layer 1 4072, re_index 4 1018, trait_bits 1 "
              "4072, properties");
    EXPECT_EQ(columns_of<NYX_NET>(),
              "primary 20 203, bus_ptr 8 509, head_inst_port 4 1018, head_port 4 1018, properties");
    EXPECT_EQ(columns_of<NYX_INST_PORT>(), "primary 24 169, properties");
    EXPECT_EQ(columns_of<NYX_INST_HEADER>(), "primary 16 254, properties");
    EXPECT_EQ(columns_of<NYX_INSTANCE_BUS>(), "primary 32 127, file_lineno 4 1018, file_name_id 4 1018, properties");
    EXPECT_EQ(columns_of<NYX_NET_BUS>(), "primary 32 127, file_lineno 4 1018, file_name_id 4 1018, properties");
    EXPECT_EQ(columns_of<NYX_PORT_BUS>(), "primary 32 127, file_lineno 4 1018, file_name_id 4 1018, properties");
    EXPECT_EQ(columns_of<NYX_INTERFACE>(),
              "primary 32 127, file_lineno 4 1018, file_name_id 4 1018, name_id 4 1018, next_in_module 4 "
              "1018, prev_in_module 4 1018, properties");
    EXPECT_EQ(columns_of<NYX_HIER_INSTANCE>(),
              "primary 40 101, head_child_hier_instance 4 1018, tail_child_hier_instance 4 1018");
    EXPECT_EQ(columns_of<NYX_HIER_MODULE>(), "primary 8 509, name_id 4 1018, properties");
    EXPECT_EQ(columns_of<NYX_HIER_PORT>(), "primary 16 254");
    EXPECT_EQ(columns_of<NYX_CONSTRAINT_ARG>(), "primary 16 254, value_type 1 4072");
    EXPECT_EQ(columns_of<NYX_CONSTRAINT_COLLECTION>(), "primary 56 72");
    EXPECT_EQ(columns_of<NYX_CONSTRAINT_STMT>(),
              "primary 4 1018, file_lineno 4 1018, file_name_id 4 1018, name_id 4 1018, properties");
    EXPECT_EQ(columns_of<NYX_ENTITY>(),
              "primary 4 1018, effective_type 1 4072, file_lineno 4 1018, name_id 4 1018, source_file_id "
              "4 1018, type 1 4072, properties");
    EXPECT_EQ(columns_of<NYX_RELATIVE_OBJECT>(),
              "primary 16 254, base_module_or_inst_header_id 4 1018, path_length 1 4072, properties");
    EXPECT_EQ(columns_of<NYX_SDC_CLOCK>(), "primary 4 1018, constraint_stmt_id 4 1018, properties");
    EXPECT_EQ(columns_of<NYX_SOURCE_FILE>(),
              "primary 8 509, constraint_stmt_id 4 1018, path_length 1 4072, type 1 4072, properties");
    EXPECT_EQ(columns_of<NYX_BYTE1_TRAIT>(), "primary 32 127");
    EXPECT_EQ(columns_of<NYX_BYTE4_TRAIT>(), "primary 32 127");
    EXPECT_EQ(columns_of<NYX_BYTE8_TRAIT>(), "primary 32 127");
}

// Whoever walks over a table knows a free row by one field, which the link of the free list must leave alone.
template <class T, class FIELD>
void expect_mark_on_free_rows(FIELD(NYX_OBJECT_TRAITS<T>::impl::primary_type::*mark), FIELD live, FIELD free) {
    ROOT root;
    auto &table = root.root->template table<T>();
    auto *const row = table.allocate();
    table.allocate();
    row->*mark = live;
    const auto offset = reinterpret_cast<const char *>(&(row->*mark)) - reinterpret_cast<const char *>(row);
    EXPECT_GE(offset, 2) << table.s_name;
    table.deallocate(row);
    EXPECT_EQ(row->*mark, free) << table.s_name;
}
template <class T, class COLUMN>
void expect_mark_on_free_rows(COLUMN(NYX_OBJECT_TRAITS<T>::table::*column), typename COLUMN::row_type live,
                              typename COLUMN::row_type free) {
    ROOT root;
    auto &table = root.root->template table<T>();
    auto *const row = table.allocate();
    const auto id = table.get_id(row);
    *(table.*column).get(id) = live;
    table.deallocate(row);
    EXPECT_EQ(*(table.*column).get(id), free) << table.s_name;
}

TEST(FreeRows, AreKnownByTheirMarks) {
    const NYX_NAME_ID name(7), none = NYX_NAME_ID::INVALID;
    expect_mark_on_free_rows<NYX_INSTANCE>(&NYX_INSTANCE_PRIMARY::m_name_id, name, none);
    expect_mark_on_free_rows<NYX_HIER_INSTANCE>(&NYX_HIER_INSTANCE_PRIMARY::m_name_id, name, none);
    expect_mark_on_free_rows<NYX_PORT_BUS>(&NYX_PORT_BUS_PRIMARY::m_name_id, name, none);
    expect_mark_on_free_rows<NYX_NET_BUS>(&NYX_NET_BUS_PRIMARY::m_name_id, name, none);
    expect_mark_on_free_rows<NYX_INSTANCE_BUS>(&NYX_INSTANCE_BUS_PRIMARY::m_name_id, name, none);
    expect_mark_on_free_rows<NYX_INST_HEADER>(&NYX_INST_HEADER_PRIMARY::m_module_name_id, name, none);
    expect_mark_on_free_rows<NYX_MODULE>(&NYX_MODULE_TABLE::m_name_id, name, none);
    expect_mark_on_free_rows<NYX_INTERFACE>(&NYX_INTERFACE_TABLE::m_name_id, name, none);
    expect_mark_on_free_rows<NYX_HIER_MODULE>(&NYX_HIER_MODULE_TABLE::m_name_id, name, none);
    expect_mark_on_free_rows<NYX_SDC_CLOCK>(&NYX_SDC_CLOCK_TABLE::m_constraint_stmt_id, NYX_CONSTRAINT_STMT_ID(7),
                                            NYX_CONSTRAINT_STMT_ID(NYX_CONSTRAINT_STMT_ID::INVALID));
    expect_mark_on_free_rows<NYX_CONSTRAINT_ARG>(&NYX_CONSTRAINT_ARG_TABLE::m_value_type,
                                                 NYX_CONSTRAINT_ARG::VALUE_TYPE::INT,
                                                 NYX_CONSTRAINT_ARG::VALUE_TYPE::INVALID);
}

TEST(ModuleTable, SecondPageMakesEveryColumnCover508Rows) {
    ROOT root;
    NYX_MODULE_TABLE &table = root.root->table<NYX_MODULE>();
    for (int i = 0; i < 254; ++i)
        table.allocate();
    EXPECT_EQ(table.m_primary.get_num_pages(), 1u);
    EXPECT_EQ(table.m_bounds.get_num_pages(), 1u);
    table.allocate();
    EXPECT_EQ(table.m_primary.get_num_pages(), 2u);
    EXPECT_EQ(table.m_bounds.get_num_pages(), 2u);
    EXPECT_EQ(table.m_name_id.get_num_pages(), 1u);
    EXPECT_GE(table.m_name_id.get_num_rows(), 508u);
}

TEST(PortTable, ColumnOfBytesNeedsOnePageForTheFirst4072Rows) {
    ROOT root;
    NYX_PORT_TABLE &table = root.root->table<NYX_PORT>();
    table.allocate(4064);
    EXPECT_EQ(table.m_layer.get_num_pages(), 1u);
    table.allocate(1);
    EXPECT_EQ(table.m_layer.get_num_pages(), 2u);
}

TEST(PortTable, RunIsConsecutiveAcrossPages) {
    ROOT root;
    NYX_PORT_TABLE &table = root.root->table<NYX_PORT>();
    table.allocate(100);
    NYX_PORT_IMPL *const first = table.allocate(1000);
    const unsigned start = NYX_PORT_TABLE::get_id(first).get();
    EXPECT_EQ(start, 100u);
    for (unsigned i = 0; i < 1000; ++i)
        EXPECT_EQ(NYX_PORT_TABLE::get_id(table.get(NYX_PORT_ID(start + i))).get(), start + i);
    EXPECT_EQ(table.num_allocated(), 1100u);
    EXPECT_EQ(table.iter_limit(), 1100u);
}

TEST(PortTable, PartOfARunIsGivenBackInItsInitialState) {
    ROOT root;
    NYX_PORT_TABLE &table = root.root->table<NYX_PORT>();
    table.allocate(10);
    for (unsigned i = 0; i < 10; ++i) {
        table.get(NYX_PORT_ID(i))->m_name_id = NYX_NAME_ID(7);
        *table.m_layer.get(NYX_PORT_ID(i)) = 3;
    }
    table.deallocate(NYX_PORT_ID(6), 4);
    EXPECT_EQ(table.num_allocated(), 6u);
    EXPECT_EQ(table.get(NYX_PORT_ID(5))->m_name_id, NYX_NAME_ID(7));
    EXPECT_EQ(table.get(NYX_PORT_ID(6))->m_name_id, NYX_NAME_ID::INVALID);
    EXPECT_EQ(*table.m_layer.get(NYX_PORT_ID(9)), 0);
    EXPECT_EQ(NYX_PORT_TABLE::get_id(table.allocate(4)).get(), 6u);
}

template <class T>
class RangeTable : public testing::Test, public OBJECT<T> {};
using RANGE_TYPES = testing::Types<NYX_PORT, NYX_INST_PORT, NYX_HIER_PORT>;
TYPED_TEST_SUITE(RangeTable, RANGE_TYPES);

TYPED_TEST(RangeTable, RunThatIsTooLongLeavesNoPages) {
    ROOT root(std::size_t(4) << 20);
    auto &table = root.root->template table<TypeParam>();
    this->allocate(table);
    const auto num_pages = [&table] {
        std::size_t sum = table.m_primary.get_num_pages();
        table.for_each_column([&](const char *, auto column) { sum += (table.*column).get_num_pages(); });
        return sum;
    };
    const std::size_t pages = num_pages();
    EXPECT_THROW(table.allocate(1'000'000), boost::interprocess::bad_alloc);
    EXPECT_EQ(num_pages(), pages);
    EXPECT_EQ(table.num_allocated(), 1u);
    EXPECT_EQ(table.iter_limit(), 1u);
    EXPECT_EQ(root.segment.algorithm().find_fault(), "");
    // The lists of pages have their room by now.
    const auto allocated = root.segment.algorithm().get_allocated();
    EXPECT_THROW(table.allocate(1'000'000), boost::interprocess::bad_alloc);
    EXPECT_EQ(root.segment.algorithm().get_allocated(), allocated);
    EXPECT_EQ(table.get_id(table.allocate(500)).get(), 1u);
}

long bytes_of_field(const NYX_TYPE_STATS &stats, const std::string &name) {
    for (const NYX_FIELD_STATS &field : stats.get_field_stats())
        if (field.get_type() == name)
            return field.get_bytes();
    return -1;
}

template <class BUS>
void expect_array_of_16(const std::string &field) {
    ROOT root;
    auto &table = root.root->template table<BUS>();
    EXPECT_EQ(bytes_of_field(table.get_stats(), field), 0);
    auto *const bus = table.allocate();
    using ID = typename std::remove_reference_t<decltype(*bus->m_members_ptr)>;
    bus->m_name_id = NYX_NAME_ID(1);
    bus->m_left_index = 7;
    bus->m_right_index = -8;
    bus->m_members_ptr = static_cast<ID *>(root.segment.get_segment_manager()->allocate(64));
    table.deallocate(table.allocate()); // a free row counts for nothing
    EXPECT_EQ(bytes_of_field(table.get_stats(), field), 64);
}

TEST(BusTables, CountTheirArrays) {
    expect_array_of_16<NYX_PORT_BUS>("*ports");
    expect_array_of_16<NYX_NET_BUS>("*nets");
    expect_array_of_16<NYX_INSTANCE_BUS>("*instances");
}

template <class T>
void expect_path_of_3() {
    ROOT root;
    auto &table = root.root->template table<T>();
    EXPECT_EQ(bytes_of_field(table.get_stats(), "*path_segment_ids"), 0);
    auto *const row = table.allocate();
    row->m_path_segment_ids_ptr = static_cast<NYX_NAME_ID *>(root.segment.get_segment_manager()->allocate(12));
    *table.m_path_length.get(table.get_id(row)) = 3;
    table.allocate(); // an empty path
    EXPECT_EQ(bytes_of_field(table.get_stats(), "*path_segment_ids"), 12);
    table.deallocate(row);
    EXPECT_EQ(bytes_of_field(table.get_stats(), "*path_segment_ids"), 0);
}

TEST(PathTables, CountTheirPaths) {
    expect_path_of_3<NYX_RELATIVE_OBJECT>();
    expect_path_of_3<NYX_SOURCE_FILE>();
}

} // namespace
