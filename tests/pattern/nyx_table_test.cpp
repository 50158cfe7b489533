// What holds for single tables: widths, ranges and columns that differ from type to type.
#include "pattern/object_types.h"

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

TEST(BusTables, CountTheirArrays) {
    ROOT root;
    NYX_PORT_BUS_TABLE &table = root.root->table<NYX_PORT_BUS>();
    NYX_PORT_BUS_IMPL *const bus = table.allocate();
    bus->m_name_id = NYX_NAME_ID(1);
    bus->m_left_index = 7;
    bus->m_right_index = -8;
    bus->m_members_ptr = static_cast<NYX_PORT_ID *>(root.segment.get_segment_manager()->allocate(64));
    table.deallocate(table.allocate()); // a free row counts for nothing
    const NYX_FIELD_STATS array = table.get_stats().get_field_stats().front();
    EXPECT_EQ(array.get_type(), "*ports");
    EXPECT_EQ(array.get_bytes(), 64);
}

} // namespace
