// Images that aren't what a save wrote are refused before anything in them is used, and told by verify().
#include "database/nyx_db_image_check.h"
#include "database_test_support.h"
#include "file/file_test_support.h"
#include "memory/segment_image.h"
#include "names/nyx_name_mgr_impl.h"
#include "netlist/nyx_instance_table.h"
#include "netlist/nyx_interface_table.h"
#include "netlist/nyx_module_table.h"
#include "netlist/nyx_net_bus_table.h"
#include "netlist/nyx_net_table.h"
#include "netlist/nyx_port_table.h"
#include "traits/nyx_byte1_trait_table.h"
#include "traits/nyx_byte4_trait_table.h"
#include "traits/nyx_byte8_trait_table.h"

#include "nyx/nyx.h"

#include <functional>
#include <limits>
#include <utility>

namespace {

class ImageCheck : public testing::Test {
protected:
    void SetUp() override {
        m_db = NYX_DB::create_non_persistent(s_size_MiB, NYX_DB_TYPE::USER, "", "");
        NYX_DB_PERSISTENT *const root = root_of(m_db);
        NYX_MODULE *const first = NYX_MODULE::allocate(m_db, "first", 0);
        std::vector<NYX_NET *> nets;
        for (int i = 0; i < 500; ++i)
            nets.push_back(NYX_NET::allocate(first, "net_" + std::to_string(i)));
        root->names().get_id("bus[3]");
        for (std::size_t i = 0; i < nets.size(); i += 5)
            nets[i]->deallocate();
        auto &ports = root->table<NYX_PORT>();
        const NYX_PORT_ID run = ports.get_id(ports.allocate(600));
        ports.deallocate(NYX_PORT_ID(run.get() + 10), 5);
        ports.deallocate(NYX_PORT_ID(run.get() + 100), 20);
        NYX_MODULE::allocate(m_db, "second", 0);
        NYX_DB_IMPL::of(*m_db).m_file->commit_impl(m_path, NYX_COMPRESSION::NONE, 0, 1, {});
        m_bytes = read_file(m_path);
    }
    void TearDown() override { m_db->close(); }

    // Where an object of the open database lies in the file.
    std::size_t in_file(const void *at) const {
        return 53 + static_cast<std::size_t>(static_cast<const char *>(at) -
                                             NYX_DB_IMPL::of(*m_db).m_file->get_starting_address());
    }
    std::string open(const std::string &bytes) {
        write_file(m_path, bytes);
        return thrown([&] { NYX_DB::open(m_path.c_str(), m_mode)->close(); });
    }
    // The file with another word at the place of `at` is refused.
    template <class T>
    void expect_refused(const void *at, T value, const char *what) {
        std::string bytes = m_bytes;
        ASSERT_NE(word_at<T>(bytes, in_file(at)), value) << what;
        set_word(bytes, in_file(at), value);
        EXPECT_EQ(open(bytes), "corrupted") << what;
    }
    // Several wrong values for a link.
    void expect_link_refused(const void *at, const char *what) {
        const auto distance = word_at<std::int64_t>(m_bytes, in_file(at));
        for (const std::int64_t wrong : {std::int64_t(0), std::int64_t(1), distance + 8, distance - 8, distance + 4096,
                                         distance + 1, -distance, std::int64_t(1) << 40, std::int64_t(1) << 62})
            if (wrong != distance)
                expect_refused(at, wrong, what);
    }

    TEMP_DIR m_dir;
    const std::string m_path = m_dir / "a.nyx";
    NYX_DB::ACCESS_MODE m_mode = NYX_DB::ACCESS_MODE::READ_ONLY;
    NYX_DB *m_db = nullptr;
    std::string m_bytes;
};

TEST_F(ImageCheck, WhatASaveWroteIsAccepted) {
    EXPECT_EQ(open(m_bytes), "nothing");
    EXPECT_EQ(m_db->verify(), TEXTS());
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY);
    EXPECT_EQ(db->verify(), TEXTS());
    db->close();
}

TEST_F(ImageCheck, RootIsFoundByItsNameAndSize) {
    const char *const root = reinterpret_cast<const char *>(root_of(m_db));
    expect_refused<std::uint64_t>(root - 16, sizeof(NYX_DB_PERSISTENT) + 8, "size");
    expect_refused<char>(root - 8, 4, "length of the name");
    expect_refused<char>(root + sizeof(NYX_DB_PERSISTENT), 'M', "name");
    const char *const base = NYX_DB_IMPL::of(*m_db).m_file->get_starting_address();
    for (const std::size_t offset : {104u, 112u, 120u, 128u, 136u, 144u, 152u, 160u})
        expect_refused<std::int64_t>(base + offset, 0x7770, "an index");
    for (const std::size_t offset : {40u, 32u, 24u})
        expect_refused<std::int64_t>(root - offset, 0x7770, "the node of the index");
}

TEST_F(ImageCheck, RootWithoutADatabaseIsRefused) {
    make_file()->commit_impl(m_path);
    EXPECT_EQ(thrown([&] { NYX_DB::open(m_path.c_str(), NYX_DB::ACCESS_MODE::MODIFY); }), "corrupted");
    NYX_MANAGED_SERIALISED_FILE(s_size, NYX_DB_TYPE::USER, "").commit_impl(m_path);
    EXPECT_EQ(thrown([&] { NYX_DB::open(m_path.c_str(), NYX_DB::ACCESS_MODE::MODIFY); }), "corrupted");
}

TEST_F(ImageCheck, TypeOfTheRootIsThatOfTheFile) {
    std::string bytes = m_bytes;
    bytes[8] = static_cast<char>(NYX_DB_TYPE::COMPONENT);
    EXPECT_EQ(open(bytes), "corrupted");
}

TEST_F(ImageCheck, EveryLinkOfTheRootIsCompared) {
    const auto *const words = reinterpret_cast<const std::int64_t *>(root_of(m_db));
    for (int i = 0; i < 18; ++i)
        expect_link_refused(words + i, ("link " + std::to_string(i)).c_str());
}

// The values of a trait: packed ones of a few nets, and one for each port of a run.
class ValuesCheck : public ImageCheck {
protected:
    void SetUp() override {
        ImageCheck::SetUp();
        auto *const weight = NYX_NET::create_int_trait(m_db, "weight", 0, "", "", "");
        auto *const flag = NYX_NET::create_bool_trait(m_db, "flag", false, "", "", "");
        int i = 0;
        for (NYX_NET *const net : m_db->find_local_module("first")->iter_nets()) {
            net->set_value(flag, true);
            if (++i % 50 == 0)
                net->set_value(weight, i);
        }
        m_packed = reinterpret_cast<const char *>(
            &weight->NYX_BYTE4_TRAIT::get_impl()->m_trait_lookup_ptr->map(NYX_TRAIT_OBJ_TYPE::NET_SPARSE));
        m_placed = reinterpret_cast<const char *>(
            &flag->NYX_BYTE1_TRAIT::get_impl()->m_trait_lookup_ptr->map(NYX_TRAIT_OBJ_TYPE::NET_SPARSE));
        NYX_DB_IMPL::of(*m_db).m_file->commit_impl(m_path, NYX_COMPRESSION::NONE, 0, 1, {});
        m_bytes = read_file(m_path);
        ASSERT_EQ(open(m_bytes), "nothing");
    }
    static const char *follow(const char *link) { return link + stored<std::int64_t>(link, 0); }
    static const char *leaf_of(const char *map) { return follow(follow(map + 8)); }

    const char *m_packed = nullptr;
    const char *m_placed = nullptr;
};

TEST_F(ValuesCheck, MapsLeadToTheirOwnDirectoriesAndLeaves) {
    for (const char *const map : {m_packed, m_placed}) {
        expect_link_refused(map, "the allocator");
        expect_link_refused(map + 8, "the directory");
        expect_link_refused(follow(map + 8), "the leaf");
        for (const std::uint32_t wrong : {0u, 1000u, 1u << 22, (1u << 22) + 1, ~0u})
            expect_refused(map + 16, wrong, "the directory's size");
        for (const std::uint32_t wrong :
             {0u, stored<std::uint32_t>(map, 20) + 1, stored<std::uint32_t>(map, 20) - 1, ~0u})
            expect_refused(map + 20, wrong, "the number of values");
    }
    expect_refused(follow(m_packed + 8), follow(follow(m_placed + 8)) - follow(m_packed + 8), "another map's leaf");
    // The map of another kind of objects has neither.
    expect_refused<std::int64_t>(m_packed + 24 + 8, 4096, "the directory of no leaves");
}

TEST_F(ValuesCheck, LinkToNoAddressAtAllIsTold) {
    auto *const link = reinterpret_cast<std::int64_t *>(const_cast<char *>(follow(m_packed + 8)));
    const std::int64_t sound = std::exchange(*link, -static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(link)));
    EXPECT_EQ(m_db->verify().size(), 1u);
    *link = sound;
    EXPECT_EQ(m_db->verify(), TEXTS());
}

TEST_F(ValuesCheck, TheMapOfDatabasesHasOneAtMost) {
    NYX_INT_TRAIT *const trait = NYX_DB::create_int_trait(m_db, "of_db", 0, "", "", "");
    m_db->set_value(trait, 1);
    auto &values = trait->NYX_BYTE4_TRAIT::get_impl()->m_trait_lookup_ptr->map(NYX_TRAIT_OBJ_TYPE::DB_SPARSE);
    const auto reopen = [&] {
        NYX_DB_IMPL::of(*m_db).m_file->commit_impl(m_path, NYX_COMPRESSION::NONE, 0, 1, {});
        return open(read_file(m_path));
    };
    EXPECT_EQ(reopen(), "nothing");
    values.insert_or_assign(5, 1);
    EXPECT_EQ(reopen(), "corrupted");
    EXPECT_EQ(m_db->verify(), TEXTS{"a trait has a value of database 5 of 1"});
    values.erase(5);
    EXPECT_EQ(reopen(), "nothing");
}

TEST_F(ValuesCheck, LeavesCountTheirValues) {
    for (const char *const map : {m_packed, m_placed}) {
        const char *const leaf = leaf_of(map);
        for (unsigned word = 0; word < 16; ++word) {
            expect_refused(leaf + word * 8, stored<std::uint64_t>(leaf, word * 8) ^ 16, "the rows");
            expect_refused(leaf + 128 + word * 2, std::uint16_t(stored<std::uint16_t>(leaf, 128 + word * 2) + 1),
                           "the values in front of a word");
        }
        const auto size = stored<std::uint16_t>(leaf, 160);
        for (const int wrong : {0, size - 1, size + 1, 65535})
            expect_refused(leaf + 160, std::uint16_t(wrong), "the number of values");
    }
}

TEST_F(ValuesCheck, LeavesHaveTheRoomThatTheyTellOf) {
    ASSERT_EQ(stored<std::uint16_t>(leaf_of(m_packed), 162), 8u);
    ASSERT_EQ(stored<std::uint16_t>(leaf_of(m_placed), 162), 1024u);
    // A block may be a few words longer than what it is for, so twice the room may be there.
    for (const int wrong : {0, 2, 4, 7, 32, 512, 1024, 65535})
        expect_refused(leaf_of(m_packed) + 162, std::uint16_t(wrong), "the room of packed values");
    for (const int wrong : {0, 2, 4, 256, 512, 2048, 65535})
        expect_refused(leaf_of(m_placed) + 162, std::uint16_t(wrong), "the room of a value for each row");
}

TEST_F(ImageCheck, ListsWithoutRoomHaveNoPlace) {
    const auto &instances = root_of(m_db)->table<NYX_INSTANCE>();
    ASSERT_EQ(instances.m_primary.get_num_pages(), 0u);
    const char *const pages = reinterpret_cast<const char *>(&instances.m_primary) + 8;
    expect_refused<std::int64_t>(pages + 8, 4096, "the pages of an empty column");
}

TEST_F(ImageCheck, TablesAndColumnsBelongTogether) {
    auto &nets = root_of(m_db)->table<NYX_NET>();
    expect_link_refused(&nets.m_persistent, "the table's link to the root");
    const char *const column = reinterpret_cast<const char *>(&nets.m_primary);
    expect_link_refused(column, "the column's link to the table");
    expect_link_refused(column + 8, "the allocator");
    expect_link_refused(column + 16, "the pages");
    expect_link_refused(column + 40, "the segment manager");
    for (const std::uint64_t wrong : {0ull, 1ull, 1000ull, ~0ull})
        expect_refused<std::uint64_t>(column + 24, wrong, "the number of pages");
    expect_refused<std::uint64_t>(column + 32, ~0ull, "the room for pages");
    expect_refused<std::uint64_t>(column + 32, 0, "the room for pages");
}

TEST_F(ImageCheck, PagesBelongToTheirColumnAndPlace) {
    auto &nets = root_of(m_db)->table<NYX_NET>();
    ASSERT_GE(nets.m_primary.get_num_pages(), 2u);
    const char *const page = reinterpret_cast<const char *>(nets.m_primary.get_page(1));
    expect_link_refused(page, "the owner");
    expect_refused<std::uint32_t>(page + 8, 0, "the first row");
    expect_refused<std::uint32_t>(page + 8, ~0u, "the first row");
}

TEST_F(ImageCheck, ChainsOfFreeRowsEnd) {
    auto &nets = root_of(m_db)->table<NYX_NET>();
    char *const page = reinterpret_cast<char *>(nets.m_primary.get_page(0));
    const std::uint32_t first = word_at<std::uint32_t>(m_bytes, in_file(page + 12));
    for (const std::uint32_t wrong : {~0u, 1u << 20, 5000u})
        expect_refused(page + 12, wrong, "the first free row");
    // A row that is its own successor.
    expect_refused(page + 16 + first * sizeof(NYX_NET_IMPL), static_cast<std::uint16_t>(first), "a circle");
    expect_refused<std::uint16_t>(page + 16 + first * sizeof(NYX_NET_IMPL), 60000, "a link behind the page");
}

TEST_F(ImageCheck, TreesAreWhatTheySay) {
    for (const char *const column : {reinterpret_cast<const char *>(&root_of(m_db)->table<NYX_NET>().m_primary),
                                     reinterpret_cast<const char *>(&root_of(m_db)->table<NYX_PORT>().m_primary)}) {
        const char *const tree = column + 48;
        expect_link_refused(tree, "the allocator");
        for (const std::uint64_t wrong : {0ull, 77ull, ~0ull})
            expect_refused<std::uint64_t>(tree + 8, wrong, "the number of nodes");
        expect_link_refused(tree + 16, "the root of the tree");
        expect_link_refused(tree + 24, "the first node");
        expect_link_refused(tree + 32, "the last node");
        const char *const node = tree + 16 + word_at<std::int64_t>(m_bytes, in_file(tree + 16));
        expect_refused<std::int64_t>(node, 0x1230, "the parent of a node");
        expect_link_refused(node + 8, "the left of a node");
        expect_link_refused(node + 16, "the right of a node");
        expect_refused<std::int64_t>(node + 24, 0x123456789, "the value of a node");
    }
}

TEST_F(ImageCheck, CountsAgree) {
    auto &nets = root_of(m_db)->table<NYX_NET>();
    auto &ports = root_of(m_db)->table<NYX_PORT>();
    expect_refused(&nets.m_num_allocated, nets.m_num_allocated + 1, "nets in use");
    expect_refused(&nets.m_iter_limit, ~0u, "rows of nets");
    expect_refused(&nets.m_iter_limit, 5u, "rows of nets");
    expect_refused(&ports.m_num_allocated, ports.m_num_allocated - 1, "ports in use");
    const char *const counts = reinterpret_cast<const char *>(&ports.m_primary) + 88;
    expect_refused<int>(counts, -1, "the rows that were handed out");
    expect_refused<int>(counts + 4, 1 << 30, "the rows that were not");
}

TEST_F(ImageCheck, NamesAreTextsInBlocksOfTheirOwn) {
    const NYX_NAME_MANAGER_IMPL &names = root_of(m_db)->names().get_impl();
    for (const auto *const strings : {&names.id_reverse_lookup, &names.bus_id_reverse_lookup}) {
        const char *const vector = reinterpret_cast<const char *>(strings);
        expect_link_refused(vector, "the allocator");
        expect_link_refused(vector + 8, "the strings");
        expect_refused<std::uint64_t>(vector + 16, ~0ull, "their number");
        // The nodes of the map have no owner before it is looked at, and one of them may pass for a text.
        m_mode = NYX_DB::ACCESS_MODE::MODIFY;
        expect_link_refused(&strings->front(), "the first string");
        m_mode = NYX_DB::ACCESS_MODE::READ_ONLY;
    }
    expect_refused(&names.id_reverse_lookup[1],
                   word_at<std::int64_t>(m_bytes, in_file(&names.id_reverse_lookup[0])) - 8,
                   "a string that has an owner");
    expect_link_refused(&names.segment, "the segment manager");
}

// A text that its block doesn't end is ended by the zero bytes of the next block's size, so an open need not look for a
// NUL in each.
TEST_F(ImageCheck, TextWithoutAnEndIsReadOnlyAsFarAsTheImage) {
    NYX_NAME_MANAGER &all = root_of(m_db)->names();
    NYX_NAME_ID id = NYX_NAME_ID::INVALID;
    const char *text = nullptr; // the last one: behind it there is little, or a reservation that is not committed
    for (unsigned i = 0; i < all.get_impl().id_reverse_lookup.size(); ++i)
        if (const char *const at = all.get_impl().id_reverse_lookup[i].get(); at > text) {
            id = NYX_NAME_ID(i);
            text = at;
        }
    const NYX_MANAGED_SERIALISED_FILE &file = *NYX_DB_IMPL::of(*m_db).m_file;
    std::string bytes = m_bytes;
    const std::size_t usable = file.get_segment_manager()->size(text);
    bytes.replace(in_file(text), usable, usable, 'x');
    for (const auto mode : {NYX_DB::ACCESS_MODE::READ_ONLY, NYX_DB::ACCESS_MODE::MODIFY}) {
        write_file(m_path, bytes);
        NYX_DB *const db = NYX_DB::open(m_path.c_str(), mode);
        std::string name;
        ASSERT_TRUE(root_of(db)->names().find_name(id, name));
        EXPECT_GE(name.size(), usable);
        EXPECT_EQ(name.substr(0, usable), std::string(usable, 'x'));
        EXPECT_EQ(root_of(db)->names().find_id(text), NYX_NAME_ID::INVALID);
        ASSERT_EQ(db->verify().size(), 1u);
        EXPECT_NE(db->verify()[0].find("is no text"), std::string::npos) << db->verify()[0];
        db->disable_commit_on_close();
        db->close();
    }
}

TEST_F(ImageCheck, MapsAreFollowedOnlyWhereTheyLead) {
    const NYX_NAME_MANAGER_IMPL &names = root_of(m_db)->names().get_impl();
    const char *const map = reinterpret_cast<const char *>(&names.id_namespace);
    expect_link_refused(map + 8, "an allocator");
    expect_link_refused(map + 16, "an allocator");
    for (const std::uint64_t wrong : {0ull, 3ull, 1ull << 60, ~0ull}) {
        expect_refused<std::uint64_t>(map + 24, wrong, "the number of buckets");
        expect_refused<std::uint64_t>(map + 32, wrong, "the number of elements");
    }
    expect_refused<std::uint32_t>(map + 40, 0, "the load");
    for (const std::uint64_t wrong : {0ull, 2ull, ~0ull})
        expect_refused<std::uint64_t>(map + 48, wrong, "the number of elements that they are for");
    expect_link_refused(map + 56, "the buckets");
    const char *const buckets = map + 56 + word_at<std::int64_t>(m_bytes, in_file(map + 56));
    expect_link_refused(buckets + 8 * names.id_namespace.bucket_count(), "the start of the list");
}

// Names are many, so a database that can't change is opened without a look at each node of their map.
TEST_F(ImageCheck, NodesOfNamesAreFollowedOnlyInTheImage) {
    const NYX_NAME_MANAGER_IMPL &names = root_of(m_db)->names().get_impl();
    const char *const node = reinterpret_cast<const char *>(&*names.id_namespace.begin());
    const auto expect_told = [&]<class T>(std::size_t offset, T value, const char *what) {
        std::string bytes = m_bytes;
        ASSERT_NE(word_at<T>(bytes, in_file(node + offset)), value) << what;
        set_word(bytes, in_file(node + offset), value);
        write_file(m_path, bytes);
        EXPECT_EQ(thrown([&] { NYX_DB::open(m_path.c_str(), NYX_DB::ACCESS_MODE::MODIFY); }), "corrupted") << what;
        NYX_DB *const db = NYX_DB::open(m_path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY);
        const NYX_NAME_MANAGER &loaded = root_of(db)->names();
        unsigned num_missed = 0;
        std::string text;
        for (unsigned i = 0; i < names.id_reverse_lookup.size(); ++i) {
            ASSERT_TRUE(loaded.find_name(NYX_NAME_ID(i), text));
            num_missed += loaded.find_id(text.c_str()) != NYX_NAME_ID(i);
        }
        EXPECT_LE(num_missed, 3u) << what;
        static_cast<void>(loaded.find_id("no such name"));
        EXPECT_EQ(db->verify().size(), 1u) << what;
        db->close();
    };
    expect_told(16, std::int64_t(-16), "the next node, as itself");
    for (const std::int64_t far : {std::int64_t(1) << 40, std::int64_t(-1) << 40, std::int64_t(1) << 62,
                                   std::numeric_limits<std::int64_t>::min()})
        expect_told(16, far, "the next node");
    expect_told(24, ~std::uint64_t(0), "the bucket of a node");
    expect_told(8, std::uint32_t(100000), "the identifier of a node");
    for (const std::int64_t far : {std::int64_t(1), std::int64_t(1) << 40, std::int64_t(-1) << 40})
        expect_told(0, far, "the text of a node");
}

// ---- verify()

TEST_F(ImageCheck, VerifyTellsMoreThanOneFault) {
    auto &nets = root_of(m_db)->table<NYX_NET>();
    auto &ports = root_of(m_db)->table<NYX_PORT>();
    ++nets.m_num_allocated;
    --ports.m_num_allocated;
    const TEXTS faults = m_db->verify();
    ASSERT_EQ(faults.size(), 2u);
    EXPECT_EQ(faults[0].substr(0, faults[0].find(' ')), "NYX_PORT_TABLE");
    EXPECT_EQ(faults[1].substr(0, faults[1].find(' ')), "NYX_NET_TABLE");
    --nets.m_num_allocated;
    ++ports.m_num_allocated;
    EXPECT_EQ(m_db->verify(), TEXTS());
}

TEST_F(ImageCheck, VerifyComputesHashes) {
    const NYX_NAME_MANAGER_IMPL &names = root_of(m_db)->names().get_impl();
    char *const text = const_cast<char *>(names.id_reverse_lookup[3].get());
    ++*text;
    const TEXTS faults = m_db->verify();
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_EQ(faults[0], "the table of names has an element in the wrong bucket");
    --*text;
}

TEST_F(ImageCheck, VerifyLooksAtTheCellsOfFreeRows) {
    auto &nets = root_of(m_db)->table<NYX_NET>();
    NYX_NET_IMPL *const net = nets.allocate();
    const NYX_NET_ID id = nets.get_id(net);
    nets.deallocate(net);
    *nets.m_head_port.get(id) = NYX_PORT_ID(7);
    EXPECT_EQ(m_db->verify(),
              TEXTS{"NYX_NET_TABLE: row " + std::to_string(id.get()) + " is free, but has something in head_port"});
    *nets.m_head_port.get(id) = NYX_PORT_ID::INVALID;
    EXPECT_EQ(m_db->verify(), TEXTS());
}

TEST_F(ImageCheck, VerifyKnowsTrueFromFalse) {
    NYX_NET *const net = NYX_NET::allocate(*m_db->iter_modules().begin(), "flagged");
    net->set_property("flag", true);
    auto &stored = root_of(m_db)->table<NYX_NET>().m_properties.begin()->second.begin()->second;
    // The number of the type, then the value.
    char *const value = reinterpret_cast<char *>(&stored) + 8;
    ASSERT_EQ(*value, 1);
    *value = 73;
    EXPECT_EQ(m_db->verify(), TEXTS{"NYX_NET_TABLE has a property that is neither true nor false"});
    *value = 1;
    EXPECT_EQ(m_db->verify(), TEXTS());
}

TEST_F(ImageCheck, VerifyLooksAtTheBlocksFirst) {
    void *const block = NYX_DB_IMPL::of(*m_db).m_file->get_segment_manager()->allocate(100);
    auto &size = reinterpret_cast<std::uint64_t *>(block)[-1];
    size ^= 1;
    EXPECT_EQ(m_db->verify().size(), 1u);
    size ^= 1;
    EXPECT_EQ(m_db->verify(), TEXTS());
}

TEST(Verify, BusWhoseMembersLieElsewhereIsToldAndNotFollowed) {
    SCOPED_DB db("a");
    NYX_NET_BUS::allocate(NYX_MODULE::allocate(db, "m", 0), "b", 3, 0);
    NYX_NET_BUS_IMPL *const bus = root_of(db)->table<NYX_NET_BUS>().get(NYX_NET_BUS_ID(0));
    bus->m_left_index = 1 << 30;
    EXPECT_FALSE(db->verify().empty());
    bus->m_left_index = 3;
}

TEST(Verify, ApplicationValueThatLiesElsewhereIsTold) {
    SCOPED_DB db("a");
    NYX_NET::create_app_trait(db, "notes", NYX_APP_DATA(), "", "", "");
    auto &traits = root_of(db)->table<NYX_BYTE8_TRAIT>();
    NYX_BYTE8_TRAIT_IMPL *row = nullptr;
    for (unsigned i = 0; i < traits.iter_limit(); ++i)
        if (auto *const at = traits.get(NYX_BYTE8_TRAIT_ID(i));
            at->m_storage_name_id != NYX_NAME_ID::INVALID && at->m_value_type == NYX_TRAIT_VALUE_TYPE::APP_TRAIT_VALUE)
            row = at;
    ASSERT_NE(row, nullptr);
    long long &value = row->m_trait_lookup_ptr->m_default_value;
    const long long sound = std::exchange(value, 1ll << 40);
    EXPECT_FALSE(db->verify().empty());
    value = sound;
}

// Rows of traits as a file may have them: opened, they are refused, whatever is asked for then.
TEST(TraitRows, OfAnotherTypeAreRefused) {
    TEMP_DIR dir;
    const std::string path = dir / "a.nyx";
    for (const unsigned char type : {0, 1, 2, 3, 6, 9, 255}) {
        NYX_DB *const db = NYX_DB::create(path.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
        NYX_BYTE8_TRAIT *const trait = NYX_NET::create_time_trait(db, "t", 123456789012345, "", "", "");
        trait->get_impl()->m_value_type = NYX_TRAIT_VALUE_TYPE(type);
        EXPECT_FALSE(db->verify().empty()) << unsigned(type);
        db->close();
        EXPECT_THROW(NYX_DB::open(path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY), NYX_DATABASE_CORRUPTED_EXCEPTION)
            << unsigned(type);
    }
}

TEST(TraitRows, ForNoTypeOfObjectsAreRefused) {
    TEMP_DIR dir;
    const std::string path = dir / "a.nyx";
    NYX_DB *const db = NYX_DB::create(path.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
    NYX_BYTE4_TRAIT *const trait = NYX_NET::create_int_trait(db, "t", 0, "", "", "");
    trait->get_impl()->m_trait_lookup_ptr->m_object_type = NYX_TRAIT_OBJ_TYPE::ALL_SPARSE;
    db->close();
    EXPECT_THROW(NYX_DB::open(path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY), NYX_DATABASE_CORRUPTED_EXCEPTION);
}

TEST(TraitRows, WhoseNameIsNoneOfATraitAreRefused) {
    TEMP_DIR dir;
    const std::string path = dir / "a.nyx";
    for (const char *const name : {"tPORT_SPARSE", "t"}) {
        NYX_DB *const db = NYX_DB::create(path.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
        NYX_BYTE4_TRAIT *const trait = NYX_NET::create_int_trait(db, "t", 0, "", "", "");
        trait->get_impl()->m_storage_name_id = root_of(db)->names().get_id(name);
        db->close();
        EXPECT_THROW(NYX_DB::open(path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY), NYX_DATABASE_CORRUPTED_EXCEPTION);
    }
}

TEST(Verify, ValueOfATraitThatCanNotBeIsTold) {
    SCOPED_DB db("a");
    NYX_NET *const net = NYX_NET::allocate(NYX_MODULE::allocate(db, "m", 0), "n");
    NYX_BYTE4_TRAIT *const text = NYX_NET::create_string_trait(db, "text", "", "", "", "");
    NYX_BYTE8_TRAIT *const notes = NYX_NET::create_app_trait(db, "notes", NYX_APP_DATA(), "", "", "");
    net->set_value(static_cast<NYX_STRING_TRAIT *>(text), "x");
    const unsigned char data[] = {1, 2, 3};
    net->set_value(static_cast<NYX_APP_TRAIT *>(notes), NYX_APP_DATA(3, data));
    EXPECT_EQ(db->verify(), TEXTS());
    constexpr auto kind = NYX_TRAIT_OBJ_TYPE::NET_SPARSE;
    auto &texts = text->get_impl()->m_trait_lookup_ptr->map(kind);
    int &stored_text = *texts.find(0);
    long long &stored_distance = *notes->get_impl()->m_trait_lookup_ptr->map(kind).find(0);
    const auto expect_fault = [&](const std::string &expected) { EXPECT_EQ(db->verify(), TEXTS{expected}); };

    const int sound_text = std::exchange(stored_text, 1 << 30);
    expect_fault("a trait: there is no name 1073741824");
    stored_text = text->get_impl()->m_trait_lookup_ptr->m_default_value;
    expect_fault("a trait keeps its default for object 0");
    stored_text = sound_text;

    const long long distance = stored_distance;
    for (const long long wrong : {distance + 8, distance + 1, -distance, 1ll << 40, 0ll}) {
        stored_distance = wrong;
        EXPECT_EQ(db->verify().size(), 1u) << wrong;
    }
    stored_distance = distance;
    auto &size = *reinterpret_cast<std::uint32_t *>(reinterpret_cast<char *>(notes->get_impl()) + distance);
    size = 100000;
    EXPECT_EQ(db->verify().size(), 1u);
    size = 3;

    texts.insert_or_assign(5, sound_text);
    expect_fault("a trait has a value of object 5 of 1");
    texts.erase(5);
    EXPECT_EQ(db->verify(), TEXTS());
}

TEST(Verify, ArrayThatIsSomethingElseAsWellIsTold) {
    SCOPED_DB db("a");
    NYX_MODULE *const module = NYX_MODULE::allocate(db, "m", 0);
    NYX_NET_BUS::allocate(module, "b", 3, 0);
    NYX_NET_BUS::allocate(module, "c", 3, 0);
    auto &table = root_of(db)->table<NYX_NET_BUS>();
    NYX_NET_BUS_IMPL *const bus = table.get(NYX_NET_BUS_ID(0));
    const auto sound = bus->m_members_ptr;
    bus->m_members_ptr = table.get(NYX_NET_BUS_ID(1))->m_members_ptr;
    const TEXTS faults = db->verify();
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_EQ(faults[0].find("the array of a bus"), 0u) << faults[0];
    bus->m_members_ptr = sound;
    EXPECT_EQ(db->verify(), TEXTS());
}

TEST_F(ImageCheck, VerifyLooksAtTheArraysOfBuses) {
    NYX_NET_BUS *const bus = NYX_NET_BUS::allocate(m_db->find_local_module("first"), "b", 7, 0);
    EXPECT_EQ(m_db->verify(), TEXTS());
    bus->get_impl()->m_left_index = 10000;
    const TEXTS faults = m_db->verify();
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_EQ(faults[0].find("the array of a bus"), 0u) << faults[0];
    bus->get_impl()->m_left_index = 7;
}

TEST_F(ImageCheck, VerifyLooksAtTheListsOfInterfaces) {
    NYX_MODULE *const module = NYX_MODULE::allocate(m_db, "with_interface", 1);
    NYX_INTERFACE *const interface = NYX_INTERFACE::allocate(module, "i");
    interface->add_port(NYX_PORT::allocate(module, "p", 0));
    EXPECT_EQ(m_db->verify(), TEXTS());
    // Allocator, start, size, capacity.
    auto *const words = static_cast<std::uint64_t *>(interface->get_impl()->m_ports_ptr.get());
    for (const int at : {0, 1, 2, 3}) {
        const std::uint64_t kept = std::exchange(words[at], words[at] + 4096);
        const TEXTS faults = m_db->verify();
        ASSERT_EQ(faults.size(), 1u) << at;
        EXPECT_EQ(faults[0].find("the members of an interface"), 0u) << faults[0];
        words[at] = kept;
    }
    EXPECT_EQ(m_db->verify(), TEXTS());
}

} // namespace
