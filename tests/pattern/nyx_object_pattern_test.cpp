// What holds for every object type: one suite over all of them.
#include "pattern/primary_rows.h"

#include "netlist/nyx_schema.h"

#include <boost/interprocess/exceptions.hpp>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

namespace {

template <class T>
class ObjectPattern : public testing::Test, public OBJECT<T> {
protected:
    using TABLE = typename OBJECT<T>::TABLE;
    using IMPL = typename OBJECT<T>::IMPL;
    using ID = typename OBJECT<T>::ID;

    ROOT m_root;
    TABLE &m_table = m_root.root->template table<T>();

    // Bytes that no initial state has, in the row and in all of its cells.
    void scribble(ID id) {
        using PRIMARY = typename IMPL::primary_type;
        std::memset(static_cast<void *>(static_cast<PRIMARY *>(m_table.get(id))), 0x2a, sizeof(PRIMARY));
        TABLE::for_each_column([&](const char *, auto column) {
            auto *const cell = (m_table.*column).get(id);
            std::memset(static_cast<void *>(cell), 0x2a, sizeof(*cell));
        });
        if constexpr (TABLE::s_has_properties)
            m_table.m_properties.emplace(id, NYX_ROW_PROPERTIES(m_root.segment.get_segment_manager()));
    }

    template <class CELL>
    static std::string bytes_of(const CELL &cell) {
        return std::string(reinterpret_cast<const char *>(&cell), sizeof(cell));
    }

    void expect_initial_cells(ID id) {
        TABLE::for_each_column([&](const char *name, auto column) {
            using CELL = typename std::remove_reference_t<decltype(m_table.*column)>::row_type;
            EXPECT_EQ(bytes_of(*(m_table.*column).get(id)), bytes_of(CELL())) << name;
        });
        if constexpr (TABLE::s_has_properties) {
            EXPECT_EQ(m_table.m_properties.count(id), 0u);
        }
    }
};

TYPED_TEST_SUITE(ObjectPattern, OBJECT_TYPES);

TYPED_TEST(ObjectPattern, HandleIsItsRowsAddress) {
    auto *const row = this->allocate(this->m_table);
    TypeParam *const handle = row;
    EXPECT_EQ(static_cast<void *>(handle), static_cast<void *>(row));
    EXPECT_EQ(handle->get_impl(), row);
    EXPECT_EQ(static_cast<const TypeParam *>(handle)->get_impl(), row);
}

TYPED_TEST(ObjectPattern, LeadsFromHandleToIdTableAndRoot) {
    auto *const first = this->allocate(this->m_table);
    auto *const second = this->allocate(this->m_table);
    using OWN_TABLE = typename TestFixture::TABLE;
    EXPECT_EQ(OWN_TABLE::get_id(first).get(), 0u);
    EXPECT_EQ(OWN_TABLE::get_id(second).get(), 1u);
    EXPECT_EQ(this->m_table.get(OWN_TABLE::get_id(second)), second);
    EXPECT_EQ(OWN_TABLE::get_table(second), &this->m_table);
    EXPECT_EQ(nyx_get_persistent(second), this->m_root.root);
    EXPECT_EQ(this->m_table.get_persistent(), this->m_root.root);
}

TYPED_TEST(ObjectPattern, LeadsFromHandleToTheOpenDatabase) {
    NYX_DB *const db = NYX_DB::create_non_persistent(64, NYX_DB_TYPE::USER, "", "");
    const char *const base = static_cast<const char *>(db->get_starting_address());
    auto *const manager = reinterpret_cast<NYX_SEGMENT_MANAGER *>(const_cast<char *>(base));
    NYX_DB_PERSISTENT *const root = manager->find<NYX_DB_PERSISTENT>(NYX_DB_PERSISTENT::s_object_name).first;
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(this->allocate(root->template table<TypeParam>())->get_db(), db);
    db->close();
}

TYPED_TEST(ObjectPattern, FreshRowsAndTheirCellsAreInTheirInitialState) {
    auto *const row = this->allocate(this->m_table);
    using OWN_ROW = typename TestFixture::IMPL;
    EXPECT_EQ(this->bytes_of(*row), this->bytes_of(OWN_ROW()));
    this->expect_initial_cells(TestFixture::TABLE::get_id(row));
}

TYPED_TEST(ObjectPattern, FreedRowsComeBackFirstAndInTheirInitialState) {
    using OWN_TABLE = typename TestFixture::TABLE;
    std::vector<typename TestFixture::IMPL *> rows;
    for (int i = 0; i < 5; ++i)
        rows.push_back(this->allocate(this->m_table));
    const auto id = OWN_TABLE::get_id(rows[2]);
    this->scribble(id);
    this->deallocate(this->m_table, rows[2]);
    this->expect_initial_cells(id);
    EXPECT_EQ(this->m_table.num_allocated(), 4u);
    auto *const again = this->allocate(this->m_table);
    EXPECT_EQ(again, rows[2]);
    using OWN_ROW = typename TestFixture::IMPL;
    EXPECT_EQ(this->bytes_of(*again), this->bytes_of(OWN_ROW()));
    EXPECT_EQ(this->m_table.num_allocated(), 5u);
    EXPECT_EQ(this->m_table.iter_limit(), 5u);
}

TYPED_TEST(ObjectPattern, HighWaterMarkNeverFalls) {
    auto *const row = this->allocate(this->m_table);
    this->allocate(this->m_table);
    this->deallocate(this->m_table, row);
    EXPECT_EQ(this->m_table.iter_limit(), 2u);
    EXPECT_EQ(this->m_table.num_allocated(), 1u);
}

TYPED_TEST(ObjectPattern, EveryColumnCoversEveryRow) {
    using PAGE = typename TestFixture::PRIMARY_PAGE;
    for (unsigned i = 0; i < PAGE::s_capacity + 1; ++i)
        this->allocate(this->m_table);
    EXPECT_EQ(this->m_table.m_primary.get_num_pages(), 2u);
    TestFixture::TABLE::for_each_column([&](const char *name, auto column) {
        auto &cells = this->m_table.*column;
        constexpr unsigned capacity = std::remove_reference_t<decltype(cells)>::page_type::s_capacity;
        EXPECT_EQ(cells.get_num_pages(), (2 * PAGE::s_capacity + capacity - 1) / capacity) << name;
        cells.get(typename TestFixture::ID(2 * PAGE::s_capacity - 1));
    });
}

TYPED_TEST(ObjectPattern, MoveCopiesRowAndCellsAndRebasesPointers) {
    using OWN_TABLE = typename TestFixture::TABLE;
    const auto from = OWN_TABLE::get_id(this->allocate(this->m_table));
    const auto to = OWN_TABLE::get_id(this->allocate(this->m_table));
    // Null pointers and initial values first: they stay what they are.
    this->m_table.move(from, to);
    using OWN_ROW = typename TestFixture::IMPL;
    EXPECT_EQ(this->bytes_of(*this->m_table.get(to)), this->bytes_of(OWN_ROW()));
    this->expect_initial_cells(to);

    void *const target = this->m_root.root;
    fill_row<TypeParam>(this->m_table.get(from), target, 0x2a);
    this->m_table.move(from, to);
    EXPECT_TRUE(is_filled<TypeParam>(this->m_table.get(to), target, 0x2a));
    EXPECT_TRUE(is_filled<TypeParam>(this->m_table.get(from), target, 0x2a)) << "what is moved stays";

    int marks = 0;
    OWN_TABLE::for_each_column([&](const char *name, auto column) {
        auto *const cell = (this->m_table.*column).get(from);
        using CELL = std::remove_reference_t<decltype(*cell)>;
        if constexpr (requires {
                          cell->get();
                          *cell = nullptr;
                      })
            *cell = reinterpret_cast<typename CELL::element_type *>(this->m_root.root);
        else
            std::memset(static_cast<void *>(cell), 1, sizeof(*cell));
        this->m_table.move(from, to);
        const auto *const moved = (this->m_table.*column).get(to);
        if constexpr (requires {
                          cell->get();
                          *cell = nullptr;
                      })
            EXPECT_EQ(static_cast<const void *>(moved->get()), this->m_root.root) << name;
        else
            EXPECT_EQ(this->bytes_of(*moved), this->bytes_of(*cell)) << name;
        ++marks;
    });
    int columns = 0;
    OWN_TABLE::for_each_column([&](const char *, auto) { ++columns; });
    EXPECT_EQ(marks, columns);
}

TYPED_TEST(ObjectPattern, FieldsOfTheRowAreWhereTheFileHasThem) {
    std::size_t end = 0;
    for (const ROW_FIELD &field : row_fields<TypeParam>()) {
        EXPECT_EQ(field.offset, field.stored_offset) << field.name;
        EXPECT_EQ(field.width, field.stored_width) << field.name;
        EXPECT_EQ(field.offset, end) << field.name << " leaves a gap";
        end = field.offset + field.width;
    }
    // What is behind the last one rounds the row up to its alignment.
    EXPECT_GE(sizeof(typename TestFixture::IMPL), end);
    EXPECT_LT(sizeof(typename TestFixture::IMPL), end + 8);
}

TYPED_TEST(ObjectPattern, ColumnsAreInTheOrderOfTheirNames) {
    std::vector<std::string> names;
    TestFixture::TABLE::for_each_column([&](const char *name, auto) { names.push_back(name); });
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
}

TYPED_TEST(ObjectPattern, StatisticsNameEveryColumn) {
    this->allocate(this->m_table);
    this->allocate(this->m_table);
    const NYX_TYPE_STATS stats = this->m_table.get_stats();
    EXPECT_EQ(stats.get_type(), std::string(NYX_OBJECT_TRAITS<TypeParam>::s_name) + "_TABLE");
    EXPECT_EQ(stats.get_num_allocated(), 2);
    EXPECT_EQ(stats.get_num_free(), int(TestFixture::PRIMARY_PAGE::s_capacity) - 2);
    std::map<std::string, NYX_FIELD_STATS> fields;
    for (const NYX_FIELD_STATS &field : stats.get_field_stats())
        fields.emplace(field.get_type(), field);
    ASSERT_EQ(fields.count("primary"), 1u);
    EXPECT_EQ(fields.at("primary").get_bytes(), 4088);
    EXPECT_EQ(fields.at("primary").get_num_pages(), 1);
    EXPECT_EQ(fields.at("primary").get_page_capacity(), int(TestFixture::PRIMARY_PAGE::s_capacity));
    TestFixture::TABLE::for_each_column([&](const char *name, auto) { EXPECT_EQ(fields.count(name), 1u) << name; });
    EXPECT_EQ(fields.count("properties"), TestFixture::TABLE::s_has_properties ? 1u : 0u);
}

TYPED_TEST(ObjectPattern, SchemaIsTheSameWithAndWithoutItsMembers) {
    std::vector<NYX_SCHEMA_MEMBER> members;
    EXPECT_EQ(TypeParam::get_schema_id(&members), TypeParam::get_schema_id(nullptr));
    const std::string table = std::string(NYX_OBJECT_TRAITS<TypeParam>::s_name) + "_TABLE";
    const auto named = [&](const NYX_SCHEMA_MEMBER &member) { return member.name == table; };
    const auto found = std::find_if(members.begin(), members.end(), named);
    ASSERT_NE(found, members.end());
    EXPECT_EQ(found->id, TestFixture::TABLE::s_schema_id);
}

TYPED_TEST(ObjectPattern, AnImageAtAnotherAddressAnswersTheSame) {
    using OWN_TABLE = typename TestFixture::TABLE;
    using OWN_ID = typename TestFixture::ID;
    constexpr unsigned num_rows = 300;
    const auto partner = [](unsigned i) { return OWN_ID((i * 7 + 1) % num_rows); };
    for (unsigned i = 0; i < num_rows; ++i)
        this->allocate(this->m_table);
    for (unsigned i = 0; i < num_rows; ++i) {
        void *const target = this->m_table.get(partner(i));
        fill_row<TypeParam>(this->m_table.get(OWN_ID(i)), target, int(i % 100));
        OWN_TABLE::for_each_column([&](const char *, auto column) {
            auto *const cell = (this->m_table.*column).get(OWN_ID(i));
            using CELL = std::remove_reference_t<decltype(*cell)>;
            if constexpr (is_offset_pointer<CELL>)
                *cell = reinterpret_cast<typename CELL::element_type *>(target);
            else
                std::memset(static_cast<void *>(cell), int(i % 100), sizeof(*cell));
        });
        if constexpr (OWN_TABLE::s_has_properties) {
            NYX_ROW_PROPERTIES values(this->m_root.segment.get_segment_manager());
            values.emplace(NYX_NAME_ID(3), NYX_STORED_PROPERTY(int(i)));
            this->m_table.m_properties.emplace(OWN_ID(i), std::move(values));
        }
    }
    const NYX_SEGMENT copy(this->m_root.segment, 0);
    auto *const manager = const_cast<NYX_SEGMENT_MANAGER *>(copy.get_segment_manager());
    NYX_DB_PERSISTENT *const root = manager->find<NYX_DB_PERSISTENT>(NYX_DB_PERSISTENT::s_object_name).first;
    ASSERT_NE(root, nullptr);
    ASSERT_NE(root, this->m_root.root);
    OWN_TABLE &table = root->template table<TypeParam>();
    EXPECT_EQ(table.num_allocated(), num_rows);
    for (unsigned i = 0; i < num_rows; ++i) {
        auto *const row = table.get(OWN_ID(i));
        const void *const target = table.get(partner(i));
        EXPECT_EQ(OWN_TABLE::get_id(row).get(), i);
        EXPECT_EQ(nyx_get_persistent(row), root);
        EXPECT_TRUE(is_filled<TypeParam>(row, target, int(i % 100))) << i;
        OWN_TABLE::for_each_column([&](const char *name, auto column) {
            const auto &cell = *(table.*column).get(OWN_ID(i));
            using CELL = std::remove_cvref_t<decltype(cell)>;
            if constexpr (is_offset_pointer<CELL>)
                EXPECT_EQ(static_cast<const void *>(cell.get()), target) << name;
            else
                EXPECT_EQ(this->bytes_of(cell), std::string(sizeof(cell), char(i % 100))) << name;
        });
        if constexpr (OWN_TABLE::s_has_properties) {
            const auto found = table.m_properties.find(OWN_ID(i));
            ASSERT_NE(found, table.m_properties.end());
            ASSERT_EQ(found->second.size(), 1u);
            EXPECT_EQ(found->second.begin()->first, NYX_NAME_ID(3));
            EXPECT_EQ(boost::get<int>(found->second.begin()->second), int(i));
        }
    }
    // It goes on by itself.
    EXPECT_EQ(OWN_TABLE::get_id(this->allocate(table)).get(), num_rows);
    EXPECT_EQ(this->m_table.num_allocated(), num_rows);
}

TYPED_TEST(ObjectPattern, AFullSegmentLeavesTheTableConsistent) {
    using OWN_TABLE = typename TestFixture::TABLE;
    ROOT root(std::size_t(1) << 20);
    OWN_TABLE &table = root.root->template table<TypeParam>();
    NYX_SEGMENT_MANAGER *const manager = root.segment.get_segment_manager();
    // The lists of pages and of free pages have room; nothing else does.
    void *const room_for_lists = manager->allocate(2000);
    std::vector<void *> pages;
    while (void *const block = manager->allocate_aligned(4088, 4096, std::nothrow))
        pages.push_back(block);
    std::vector<void *> small;
    while (void *const block = manager->allocate(8, std::nothrow))
        small.push_back(block);
    manager->deallocate(room_for_lists);
    const auto num_pages = [&table] {
        std::size_t sum = table.m_primary.get_num_pages();
        OWN_TABLE::for_each_column([&](const char *, auto column) { sum += (table.*column).get_num_pages(); });
        return sum;
    };
    unsigned columns = 1;
    OWN_TABLE::for_each_column([&](const char *, auto) { ++columns; });
    ASSERT_GT(pages.size(), columns);
    // With room for one page more each time, every column is once the one that can't grow.
    typename TestFixture::IMPL *row = nullptr;
    unsigned failures = 0;
    while (row == nullptr) {
        try {
            row = this->allocate(table);
            continue;
        } catch (const boost::interprocess::bad_alloc &) {
            ++failures;
        }
        ASSERT_FALSE(pages.empty());
        EXPECT_EQ(table.num_allocated(), 0u);
        EXPECT_EQ(table.iter_limit(), 0u);
        EXPECT_EQ(num_pages(), 0u) << failures;
        EXPECT_EQ(root.segment.algorithm().find_fault(), "");
        manager->deallocate(pages.back());
        pages.pop_back();
    }
    // An aligned request first takes a plain block with an alignment and 64 bytes to spare: the pages of all columns,
    // and two more next to them, which go back when the page is cut out.
    EXPECT_EQ(failures, columns + 2);
    EXPECT_EQ(num_pages(), columns);
    EXPECT_EQ(OWN_TABLE::get_id(row).get(), 0u);
    using OWN_ROW = typename TestFixture::IMPL;
    EXPECT_EQ(this->bytes_of(*row), this->bytes_of(OWN_ROW()));
}

TYPED_TEST(ObjectPattern, HashFollowsTheHandle) {
    auto *const row = this->allocate(this->m_table);
    auto *const other = this->allocate(this->m_table);
    EXPECT_EQ(row->python_hash(), row->python_hash());
    EXPECT_NE(row->python_hash(), other->python_hash());
    EXPECT_EQ(row->python_hash(), nyx_hash_address(row));
}

TEST(HashOfAnAddress, MixesItsBytesFromTheLowestOn) {
    EXPECT_EQ(nyx_hash_address(reinterpret_cast<const void *>(0x0123456789abcdefu)),
              static_cast<long>(0x37eb3f3347761c55u));
}

template <class T>
class ObjectPatternDeathTest : public ObjectPattern<T> {};
TYPED_TEST_SUITE(ObjectPatternDeathTest, OBJECT_TYPES);

TYPED_TEST(ObjectPatternDeathTest, InvalidIdEndsTheRunByItsName) {
    using OWN_ID = typename TestFixture::ID;
    const std::string invalid = std::string(NYX_OBJECT_TRAITS<TypeParam>::s_name) + "_ID::INVALID";
    EXPECT_DEATH(this->m_table.get(OWN_ID::INVALID), "id != " + invalid);
    EXPECT_DEATH(this->m_table.move(OWN_ID::INVALID, OWN_ID(0)), "from != " + invalid);
    EXPECT_DEATH(this->m_table.move(OWN_ID(0), OWN_ID::INVALID), "to != " + invalid);
}

} // namespace
