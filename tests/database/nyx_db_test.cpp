#include "database_test_support.h"
#include "nyx/nyx_observer.h"

#include "support/scoped_env.h"
#include "support/temp_dir.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <type_traits>

namespace {

namespace fs = std::filesystem;

using enum NYX_DB_TYPE;

// A handle comes from the library and goes back to it.
static_assert(!std::is_default_constructible_v<NYX_DB> && !std::is_destructible_v<NYX_DB>);
static_assert(!std::is_copy_constructible_v<NYX_DB> && !std::is_copy_assignable_v<NYX_DB>);

// ---- Creating

TEST(CreateNonPersistent, AnswersForWhatItWasGiven) {
    SCOPED_DB db("frame_a", COMPONENT, "frame_group");
    EXPECT_EQ(db->get_name(), "frame_a");
    EXPECT_EQ(db->get_db_type(), COMPONENT);
    EXPECT_EQ(db->get_db_group_name(), "frame_group");
    EXPECT_EQ(db->get_file_name(), "");
    EXPECT_EQ(db->get_access_mode(), NYX_DB::ACCESS_MODE::MODIFY);
    EXPECT_FALSE(db->is_read_only());
    EXPECT_EQ(db->get_size(), s_size_MiB << 20);
    EXPECT_EQ(NYX_DB::get_num_users("frame_a", "frame_group"), 1);
}

TEST(CreateNonPersistent, RootIsTheNamedObjectOfTheSegmentAtTheStartingAddress) {
    SCOPED_DB db("frame_a");
    const NYX_DB_IMPL &record = NYX_DB_IMPL::of(*db);
    EXPECT_EQ(db->get_starting_address(), record.m_file->get_segment_manager());
    EXPECT_EQ(record.m_file->get_segment_manager()->find<NYX_DB_PERSISTENT>("NYX").first, record.m_persistent);
    EXPECT_EQ(record.m_file->get_type(), USER);
    EXPECT_EQ(record.m_file->get_tag(), "");
    EXPECT_TRUE(record.m_commit_on_close);
}

TEST(CreateNonPersistent, EveryTypeCanBeCreatedInMemory) {
    for (const NYX_DB_TYPE type : {DEVICE, USER, COMPONENT, DEFINITION, WORKING_LIBRARY}) {
        SCOPED_DB db("", type);
        EXPECT_EQ(db->get_db_type(), type);
    }
}

TEST(CreateNonPersistent, SecondOfANameIsRefused) {
    SCOPED_DB db("frame_a");
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([] { create_db("frame_a"); }),
              RAISED("DB frame_a is already open or being created. Cannot create.", "NYX_DB::create_non_persistent"));
    EXPECT_EQ(NYX_DB::get_num_users("frame_a", ""), 1);
}

TEST(CreateNonPersistent, RefusalNamesTheGroup) {
    SCOPED_DB db("frame_a", USER, "g");
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([] { create_db("frame_a", USER, "g"); }),
              RAISED("DB frame_a from group g is already open or being created. Cannot create.",
                     "NYX_DB::create_non_persistent"));
}

TEST(CreateNonPersistent, TextOfARaiseEndsInThePlace) {
    SCOPED_DB db("frame_a");
    try {
        create_db("frame_a");
        FAIL();
    } catch (const NYX_RUNTIME_ERROR &error) {
        const std::string text = error.what();
        EXPECT_NE(text.find(" from function NYX_DB::create_non_persistent in tools/cpp/nyx/database/nyx_db.cpp@"),
                  std::string::npos)
            << text;
    }
}

TEST(CreateNonPersistent, AnyNumberMayHaveNoName) {
    SCOPED_DB a("");
    SCOPED_DB b("");
    EXPECT_NE(static_cast<NYX_DB *>(a), static_cast<NYX_DB *>(b));
    EXPECT_EQ(NYX_DB::get_num_users("", ""), 0);
    EXPECT_EQ(a->close(), 0);
}

TEST(CreateNonPersistent, GroupsAreNamespaces) {
    SCOPED_DB in_default("frame_a");
    SCOPED_DB in_new_group("frame_a", USER, "frame_new_group");
    EXPECT_EQ(in_default->get_db_group_name(), "");
    EXPECT_EQ(in_new_group->get_db_group_name(), "frame_new_group");
    std::set<std::string> groups;
    NYX_DB::find_known_group_names(groups);
    EXPECT_TRUE(groups.contains("frame_new_group"));
    EXPECT_FALSE(groups.contains(""));
}

TEST(CreateNonPersistent, SizeOfZeroIsRefusedAndLeavesNothing) {
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([] { NYX_DB::create_non_persistent(0, USER, "frame_a", ""); }).first,
              "Failed to create managed segment");
    EXPECT_EQ(NYX_DB::get_num_users("frame_a", ""), 0);
    SCOPED_DB db("frame_a");
}

// ---- Closing

TEST(CloseDb, ReturnsTheUsesLeft) {
    SCOPED_DB db("frame_a");
    NYX_DB_LINKER::get().change_use_count("frame_a", +2, nullptr);
    EXPECT_EQ(NYX_DB::get_num_users("frame_a", ""), 3);
    EXPECT_EQ(db->close(), 2);
    EXPECT_EQ(db->close(), 1);
    EXPECT_EQ(db->get_name(), "frame_a");
    EXPECT_EQ(db->close(), 0);
    EXPECT_EQ(NYX_DB::get_num_users("frame_a", ""), 0);
}

TEST(CloseDb, OfADatabaseInMemoryWritesNoFile) {
    const TEMP_DIR dir;
    const WORKING_DIR here(dir.path());
    create_db("frame_a")->close();
    EXPECT_TRUE(fs::is_empty(dir.path()));
}

TEST(CloseDb, IsAProfileScopeAndSoIsCreating) {
    NYX_REPORT::start_trace();
    create_db("frame_a")->close();
    std::ostringstream written;
    NYX_REPORT::write_trace(written);
    const std::string trace = written.str();
    EXPECT_NE(trace.find("{\"name\":\"NYX_DB::create_non_persistent\","), std::string::npos) << trace;
    EXPECT_NE(trace.find("{\"name\":\"NYX_DB::close\","), std::string::npos) << trace;
}

TEST(CloseDb, NameMayBeUsedAgain) {
    for (int i = 0; i < 3; ++i) {
        NYX_DB *const db = create_db("frame_a");
        EXPECT_EQ(db->close(), 0);
    }
}

TEST(CloseDb, HandlesAreNotUsedAgain) {
    std::set<NYX_DB *> handles;
    for (int i = 0; i < 1000; ++i) {
        NYX_DB *const db = create_db("");
        EXPECT_TRUE(handles.insert(db).second);
        db->close();
    }
}

TEST(CloseDb, GivesBackOneUseOfEachSubDb) {
    SCOPED_DB parent("frame_parent");
    SCOPED_DB other("frame_other");
    SCOPED_DB child("frame_child", COMPONENT);
    link_dbs(parent, child);
    link_dbs(other, child);
    EXPECT_EQ(child->close(), 2) << "the parents' uses";
    EXPECT_EQ(parent->close(), 0);
    EXPECT_EQ(NYX_DB::get_num_users("frame_child", ""), 1);
    EXPECT_EQ(other->close(), 0);
    EXPECT_TRUE(NYX_DB_IMPL::is_closed(*child));
}

TEST(CloseDb, LastCloseOfAChainClosesItAll) {
    SCOPED_DB top("frame_top");
    SCOPED_DB middle("frame_middle");
    SCOPED_DB leaf("frame_leaf", COMPONENT);
    link_dbs(middle, leaf);
    link_dbs(top, middle);
    EXPECT_EQ(leaf->close(), 1);
    EXPECT_EQ(middle->close(), 1);
    EXPECT_EQ(top->close(), 0);
    EXPECT_TRUE(NYX_DB_IMPL::is_closed(*middle));
    EXPECT_TRUE(NYX_DB_IMPL::is_closed(*leaf));
}

TEST(CloseDb, OneInUseIsRefusedAndKeepsItsUse) {
    SCOPED_DB parent("frame_parent");
    SCOPED_DB child("frame_child", COMPONENT);
    NYX_DB_LINKER::get().add_sub_db(parent, child); // a link that counts no use
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { child->close(); }),
                  RAISED("Sub db 'frame_child' is still in use by 'frame_parent'", "NYX_DB_LINKER::unregister_db"));
        EXPECT_EQ(NYX_DB::get_num_users("frame_child", ""), 1);
        EXPECT_EQ(child->get_name(), "frame_child");
    }
    EXPECT_EQ(parent->close(), 0);
    EXPECT_TRUE(NYX_DB_IMPL::is_closed(*child));
}

TEST(CloseDb, FailureInOneSubDbLeavesNoOtherUnclosed) {
    SCOPED_DB parent("frame_parent");
    SCOPED_DB refusing("frame_refusing", COMPONENT);
    SCOPED_DB willing("frame_willing", COMPONENT);
    SCOPED_DB other("frame_other");
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    linker.add_sub_db(parent, refusing);
    linker.add_sub_db(parent, willing);
    linker.add_sub_db(other, refusing);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { parent->close(); }).first,
              "Sub db 'frame_refusing' is still in use by 'frame_other'");
    EXPECT_TRUE(NYX_DB_IMPL::is_closed(*parent));
    EXPECT_TRUE(NYX_DB_IMPL::is_closed(*willing));
    EXPECT_FALSE(NYX_DB_IMPL::is_closed(*refusing));
}

TEST(PurgeDb, ClosesWhateverTheUses) {
    SCOPED_DB db("frame_a");
    NYX_DB_LINKER::get().change_use_count("frame_a", +2, nullptr);
    db->purge();
    EXPECT_TRUE(NYX_DB_IMPL::is_closed(*db));
    EXPECT_EQ(NYX_DB::get_num_users("frame_a", ""), 0);
    SCOPED_DB again("frame_a");
    EXPECT_EQ(NYX_DB::get_num_users("frame_a", ""), 1);
}

TEST(PurgeDb, WarnsForEachDatabaseThatUsesIt) {
    SCOPED_DB a("frame_a");
    SCOPED_DB b("frame_b");
    SCOPED_DB child("frame_child", COMPONENT);
    link_dbs(a, child);
    link_dbs(b, child);
    CAPTURING_SINK reports;
    child->purge();
    EXPECT_EQ(reports.texts(NYX_REPORT::SEVERITY::WARNING),
              (TEXTS{"The db 'frame_child' is still in use by db 'frame_a'",
                     "The db 'frame_child' is still in use by db 'frame_b'"}));
    EXPECT_TRUE(NYX_DB::iter_sub_dbs(a, true).empty());
    EXPECT_EQ(a->close(), 0);
}

TEST(PurgeDb, GivesBackTheUsesOfItsSubDbs) {
    SCOPED_DB top("frame_top");
    SCOPED_DB middle("frame_middle");
    SCOPED_DB leaf("frame_leaf", COMPONENT);
    link_dbs(top, middle);
    link_dbs(middle, leaf);
    leaf->close();
    CAPTURING_SINK quiet;
    middle->purge();
    EXPECT_TRUE(NYX_DB_IMPL::is_closed(*leaf));
    EXPECT_TRUE(to_vector(NYX_DB::iter_sub_dbs(top, false)).empty());
}

TEST(PurgeDb, SilentWhenNobodyUsesIt) {
    NYX_DB *const db = create_db("frame_a");
    CAPTURING_SINK reports;
    db->purge();
    EXPECT_TRUE(reports.lines().empty());
}

// ---- Observers

class RECORDER : public NYX_OBSERVER<NYX_DB> {
public:
    RECORDER(unsigned int priority, const char *name, TEXTS &events)
        : NYX_OBSERVER(priority)
        , m_name(name)
        , m_events(events) {}

    bool m_throws_at_opened = false, m_throws_at_closing = false;

private:
    void opened(NYX_DB *db) override { tell("opened", db, m_throws_at_opened); }
    void closing(NYX_DB *db) override { tell("closing", db, m_throws_at_closing); }
    void tell(const char *event, const NYX_DB *db, bool throws) {
        const bool registered = NYX_DB_LINKER::get().db_for_persistent(root_of(const_cast<NYX_DB *>(db))) == db;
        m_events.push_back(m_name + " " + event + " " + db->get_name() + (registered ? "" : ", which is not open"));
        if (throws)
            throw std::runtime_error(m_name);
    }

    std::string m_name;
    TEXTS &m_events;
};

class DbObservers : public testing::Test {
protected:
    DbObservers() { NYX_OBSERVER<NYX_DB>::set_enabled(true); }
    ~DbObservers() override { NYX_OBSERVER<NYX_DB>::set_enabled(false); }

    TEXTS m_events;
    RECORDER m_second{1, "second", m_events};
    RECORDER m_first{2, "first", m_events};
};

TEST_F(DbObservers, AreToldOnceEachInTheirOrder) {
    NYX_DB *const db = create_db("frame_a");
    EXPECT_EQ(m_events, (TEXTS{"first opened frame_a", "second opened frame_a"}));
    m_events.clear();
    NYX_DB_LINKER::get().change_use_count("frame_a", +1, nullptr);
    db->close();
    EXPECT_EQ(m_events, TEXTS()) << "not before the last close";
    db->close();
    EXPECT_EQ(m_events, (TEXTS{"first closing frame_a", "second closing frame_a"}));
}

TEST_F(DbObservers, HearNothingWhileDisabled) {
    NYX_OBSERVER<NYX_DB>::set_enabled(false);
    create_db("frame_a")->close();
    EXPECT_EQ(m_events, TEXTS());
    NYX_OBSERVER<NYX_DB>::set_enabled(true);
}

TEST_F(DbObservers, HearOfSubDbsBehindTheirParent) {
    NYX_DB *const parent = create_db("frame_parent");
    NYX_DB *const child = create_db("frame_child");
    link_dbs(parent, child);
    child->close();
    m_events.clear();
    parent->purge();
    EXPECT_EQ(m_events, (TEXTS{"first closing frame_parent", "second closing frame_parent", "first closing frame_child",
                               "second closing frame_child"}));
}

TEST_F(DbObservers, HearOfARefusedClose) {
    SCOPED_DB parent("frame_parent"), child("frame_child");
    NYX_DB_LINKER::get().add_sub_db(parent, child);
    m_events.clear();
    EXPECT_THROW(child->close(), NYX_RUNTIME_ERROR);
    EXPECT_EQ(m_events, (TEXTS{"first closing frame_child", "second closing frame_child"}));
}

TEST_F(DbObservers, OneThatThrowsAtOpenedLeavesNoDatabase) {
    m_second.m_throws_at_opened = true;
    EXPECT_THROW(create_db("frame_a"), std::runtime_error);
    EXPECT_EQ(m_events, (TEXTS{"first opened frame_a", "second opened frame_a", "first closing frame_a",
                               "second closing frame_a"}));
    EXPECT_TRUE(NYX_DB::iter_open_dbs().empty());
    m_second.m_throws_at_closing = true;
    EXPECT_THROW(create_db("frame_a"), std::runtime_error);
    EXPECT_TRUE(NYX_DB::iter_open_dbs().empty());
    EXPECT_EQ(NYX_DB::get_num_users("frame_a", ""), 0);
}

TEST_F(DbObservers, OneThatThrowsAtClosingKeepsTheDatabaseOpen) {
    NYX_DB *const db = create_db("frame_a");
    m_first.m_throws_at_closing = true;
    EXPECT_THROW(db->close(), std::runtime_error);
    EXPECT_THROW(db->purge(), std::runtime_error);
    EXPECT_EQ(NYX_DB::get_num_users("frame_a", ""), 1);
    m_first.m_throws_at_closing = false;
    EXPECT_EQ(db->close(), 0);
}

TEST_F(DbObservers, AreToldOutsideTheLockOfAnOpening) {
    // An observer may wait for another thread that uses databases.
    class WAITING : public NYX_OBSERVER<NYX_DB> {
    public:
        WAITING() : NYX_OBSERVER(3) {}
        void opened(NYX_DB *) override {
            std::thread([] { EXPECT_EQ(NYX_DB::get_num_users("frame_a", ""), 1); }).join();
        }
    } waiting;
    create_db("frame_a")->close();
}

// ---- What a database is

struct CLASSIFICATION {
    NYX_DB_TYPE type;
    const char *group;
    bool user, component, definition, device, working, library, component_library;
};

class ClassificationOfDb : public testing::TestWithParam<CLASSIFICATION> {};

TEST_P(ClassificationOfDb, FollowsTypeAndGroup) {
    const CLASSIFICATION &expected = GetParam();
    SCOPED_DB db("frame_a", expected.type, expected.group);
    EXPECT_EQ(db->is_user(), expected.user);
    EXPECT_EQ(db->is_component(), expected.component);
    EXPECT_EQ(db->is_definition(), expected.definition);
    EXPECT_EQ(db->is_device(), expected.device);
    EXPECT_EQ(db->is_working(), expected.working);
    EXPECT_EQ(db->is_library(), expected.library);
    EXPECT_EQ(db->is_component_library(), expected.component_library);
    EXPECT_EQ(db->is_top(), expected.user);
    EXPECT_FALSE(db->is_partition());
}

constexpr bool o = false, X = true;
INSTANTIATE_TEST_SUITE_P(All, ClassificationOfDb,
                         testing::Values(CLASSIFICATION{DEVICE, "", o, o, o, X, o, o, o},
                                         CLASSIFICATION{DEVICE, "g", o, o, o, X, o, o, o},
                                         CLASSIFICATION{USER, "", X, o, o, o, o, o, X},
                                         CLASSIFICATION{USER, "g", X, o, o, o, o, o, o},
                                         CLASSIFICATION{COMPONENT, "", o, X, o, o, o, X, o},
                                         CLASSIFICATION{COMPONENT, "g", o, X, o, o, o, X, o},
                                         CLASSIFICATION{DEFINITION, "", o, o, X, o, o, X, X},
                                         CLASSIFICATION{DEFINITION, "g", o, o, X, o, o, X, X},
                                         CLASSIFICATION{WORKING_LIBRARY, "", o, o, o, o, X, X, X},
                                         CLASSIFICATION{WORKING_LIBRARY, "g", o, o, o, o, X, X, X}));

TEST(ClassificationOfLinkedDb, ParentMakesADesignInAGroupAPartition) {
    SCOPED_DB top("frame_top", USER, "g");
    SCOPED_DB part("frame_part", USER, "g");
    SCOPED_DB part_in_default("frame_part");
    SCOPED_DB library("frame_library", COMPONENT, "g");
    link_dbs(top, part);
    link_dbs(top, part_in_default);
    link_dbs(top, library);
    EXPECT_TRUE(top->is_top());
    EXPECT_FALSE(top->is_partition());
    EXPECT_FALSE(part->is_top());
    EXPECT_TRUE(part->is_partition());
    EXPECT_FALSE(part_in_default->is_top());
    EXPECT_FALSE(part_in_default->is_partition());
    EXPECT_FALSE(library->is_top());
    EXPECT_FALSE(library->is_partition());
    part->close();
    top->close();
    EXPECT_EQ(part_in_default->close(), 0);
}

TEST(ClassificationOfLinkedDb, ReadOnlyFollowsTheAccessMode) {
    SCOPED_DB db("frame_a");
    give_file(db, "/frame/a.nyx", NYX_DB::ACCESS_MODE::READ_ONLY);
    EXPECT_TRUE(db->is_read_only());
    EXPECT_EQ(db->get_access_mode(), NYX_DB::ACCESS_MODE::READ_ONLY);
    EXPECT_EQ(db->get_file_name(), "/frame/a.nyx");
}

// ---- The top

TEST(TopDb, WithoutParentsIsTheDatabaseItself) {
    SCOPED_DB db("frame_a", USER, "g");
    EXPECT_EQ(db->get_top_db(), static_cast<NYX_DB *>(db));
}

TEST(TopDb, FollowsSingleParents) {
    SCOPED_DB top("frame_top", USER, "g");
    SCOPED_DB middle("frame_middle", USER, "g");
    SCOPED_DB leaf("frame_leaf", USER, "g");
    link_dbs(top, middle);
    link_dbs(middle, leaf);
    EXPECT_EQ(leaf->get_top_db(), static_cast<NYX_DB *>(top));
}

TEST(TopDb, SeveralParentsAreAnError) {
    SCOPED_DB a("frame_a", USER, "g");
    SCOPED_DB b("frame_b", USER, "g");
    SCOPED_DB middle("frame_middle", USER, "g");
    SCOPED_DB leaf("frame_leaf", USER, "g");
    link_dbs(a, middle);
    link_dbs(b, middle);
    link_dbs(middle, leaf);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { leaf->get_top_db(); }),
              RAISED("frame_middle has multiple parent dbs", "NYX_DB::get_top_db"));
}

TEST(TopDb, DefaultGroupHasNone) {
    SCOPED_DB db("frame_a");
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { db->get_top_db(); }),
              RAISED("Cannot get top db for frame_a. Single top db is defined for user design db only.",
                     "NYX_DB::get_top_db"));
}

TEST(TopDb, ParentInTheDefaultGroupIsAnError) {
    SCOPED_DB parent("frame_parent");
    SCOPED_DB child("frame_child", USER, "g");
    link_dbs(parent, child);
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { child->get_top_db(); }).first,
              "Cannot get top db for frame_parent. Single top db is defined for user design db only.");
}

TEST(TopDb, CircleIsAnErrorAndNoHang) {
    SCOPED_DB a("frame_a", USER, "g");
    SCOPED_DB b("frame_b", USER, "g");
    link_dbs(a, b);
    link_dbs(b, a);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { a->get_top_db(); }),
              RAISED("frame_a is a sub-db of itself", "NYX_DB::get_top_db"));
}

// ---- Walks

TEST(IterOpenDbs, WalksInTheOrderOfTheRoots) {
    std::vector<SCOPED_DB *> dbs;
    for (int i = 0; i < 5; ++i)
        dbs.push_back(new SCOPED_DB(""));
    std::vector<NYX_DB *> expected(dbs.size());
    std::transform(dbs.begin(), dbs.end(), expected.begin(), [](SCOPED_DB *db) { return static_cast<NYX_DB *>(*db); });
    std::sort(expected.begin(), expected.end(), [](NYX_DB *a, NYX_DB *b) { return root_of(a) < root_of(b); });
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), expected);
    for (SCOPED_DB *const db : dbs)
        delete db;
    EXPECT_TRUE(NYX_DB::iter_open_dbs().empty());
}

TEST(IterOpenDbs, EachMayBeClosedOnTheWay) {
    for (int i = 0; i < 5; ++i)
        create_db("");
    int num_closed = 0;
    for (NYX_DB *const db : NYX_DB::iter_open_dbs()) {
        EXPECT_EQ(db->close(), 0);
        ++num_closed;
    }
    EXPECT_EQ(num_closed, 5);
}

TEST(IterSubDbs, DirectOnesAndAll) {
    SCOPED_DB top("frame_top");
    SCOPED_DB middle("frame_middle");
    SCOPED_DB leaf("frame_leaf", COMPONENT);
    link_dbs(top, middle);
    link_dbs(middle, leaf);
    const std::vector<NYX_DB *> direct{middle}, all{middle, leaf};
    EXPECT_EQ(to_vector(NYX_DB::iter_sub_dbs(top, true)), direct);
    EXPECT_EQ(to_vector(NYX_DB::iter_leaf_dbs(top)), direct);
    EXPECT_EQ(to_vector(NYX_DB::iter_sub_dbs(top, false)), all);
    EXPECT_TRUE(NYX_DB::iter_sub_dbs(leaf, false).empty());
}

TEST(IterSubDbs, UnknownDatabaseHasNone) {
    NYX_DB *const closed = create_db("frame_a");
    closed->close();
    for (const bool direct : {false, true}) {
        EXPECT_TRUE(NYX_DB::iter_sub_dbs(closed, direct).empty());
        EXPECT_TRUE(NYX_DB::iter_sub_dbs(nullptr, direct).empty());
    }
    EXPECT_TRUE(NYX_DB::iter_leaf_dbs(closed).empty());
}

TEST(IterSubDbs, EndsWhenTheDatabaseIsClosed) {
    SCOPED_DB top("frame_top");
    SCOPED_DB a("frame_a"), b("frame_b");
    link_dbs(top, a);
    link_dbs(top, b);
    int steps = 0;
    for (NYX_DB *const db : NYX_DB::iter_sub_dbs(top, true)) {
        EXPECT_EQ(db, static_cast<NYX_DB *>(a));
        top->close();
        ++steps;
    }
    EXPECT_EQ(steps, 1);
}

// ---- Users and names

TEST(NumUsers, UnknownNameOrGroupHasNone) {
    EXPECT_EQ(NYX_DB::get_num_users("frame_unknown", ""), 0);
    EXPECT_EQ(NYX_DB::get_num_users("frame_unknown", "frame_unknown_group"), 0);
    SCOPED_DB db("frame_a");
    EXPECT_EQ(NYX_DB::get_num_users("frame_a", "frame_unknown_group"), 0) << "an unknown group is not the default one";
}

TEST(WorkingLibrarySize, Is4096MiBUntilToldOtherwise) {
    EXPECT_EQ(NYX_DB_IMPL::get_initial_working_library_size(), 4096u);
    NYX_DB::set_initial_working_library_size(1ull << 40);
    EXPECT_EQ(NYX_DB_IMPL::get_initial_working_library_size(), 1ull << 40);
    NYX_DB::set_initial_working_library_size(4096);
}

// ---- Installation

class Installation : public testing::Test {
protected:
    ~Installation() override { set_root(""); }

    // An empty paths file, so that nothing is mapped.
    void set_root(const std::string &root) {
        SCOPED_ENV paths_root("DEVDATA_NYX_PATHS_ROOT", m_empty.path().string());
        CAPTURING_SINK quiet;
        NYX_DB::init(root, false);
    }
    static std::string touch(const fs::path &path) {
        fs::create_directories(path.parent_path());
        std::ofstream file(path);
        return path.string();
    }

    TEMP_DIR m_empty;
    SCOPED_ENV m_devdata{"DEVDATA_ROOT", std::nullopt};
    SCOPED_ENV m_orba{"ORBA_DEST_ROOT", std::nullopt};
};

TEST_F(Installation, RootIsWhatInitStored) {
    SCOPED_ENV devdata("DEVDATA_ROOT", "/d");
    set_root("/i");
    EXPECT_EQ(NYX_DB::find_install_root_directory(), "/i");
}

TEST_F(Installation, RootFallsBackToTheEnvironment) {
    set_root("");
    EXPECT_EQ(NYX_DB::find_install_root_directory(), "");
    SCOPED_ENV orba("ORBA_DEST_ROOT", "/o");
    EXPECT_EQ(NYX_DB::find_install_root_directory(), "/o/devdata");
    SCOPED_ENV devdata("DEVDATA_ROOT", "/d");
    EXPECT_EQ(NYX_DB::find_install_root_directory(), "/d");
}

TEST_F(Installation, FilesAreSearchedInTheCurrentDirectoryFirst) {
    set_root("");
    TEMP_DIR cwd, devdata, orba;
    WORKING_DIR in(cwd.path());
    SCOPED_ENV devdata_root("DEVDATA_ROOT", devdata.path().string());
    SCOPED_ENV orba_root("ORBA_DEST_ROOT", orba.path().string());
    EXPECT_EQ(NYX_DB::find_installed_file("f"), "");
    const std::string in_orba = touch(orba / "devdata/f");
    EXPECT_EQ(NYX_DB::find_installed_file("f"), in_orba);
    const std::string in_devdata = touch(devdata / "f");
    EXPECT_EQ(NYX_DB::find_installed_file("f"), in_devdata);
    const std::string in_cwd = touch(fs::current_path() / "f");
    EXPECT_EQ(NYX_DB::find_installed_file("f"), in_cwd);
}

TEST_F(Installation, FilesAreSearchedInTheStoredRootAlone) {
    TEMP_DIR root, cwd;
    set_root(root.path().string());
    WORKING_DIR in(cwd.path());
    touch(cwd / "f");
    EXPECT_EQ(NYX_DB::find_installed_file("f"), "");
    const std::string in_root = touch(root / "f");
    EXPECT_EQ(NYX_DB::find_installed_file("f"), in_root);
}

// ---- Addresses that come back

TEST(AddressThatComesBack, BelongsToTheNewDatabaseAlone) {
    SCOPED_DB parent("frame_parent");
    SCOPED_DB leaf("frame_leaf", COMPONENT);
    NYX_DB *const old = create_db("frame_old");
    NYX_DB_PERSISTENT *const root = root_of(old);
    link_dbs(parent, old);
    link_dbs(old, leaf);
    {
        CAPTURING_SINK quiet;
        old->purge();
    }

    NYX_DB *fresh = nullptr;
    std::vector<NYX_DB *> others;
    for (int i = 0; i < 100 && (fresh == nullptr || root_of(fresh) != root); ++i) {
        fresh = create_db("");
        others.push_back(fresh);
    }
    others.pop_back();
    ASSERT_EQ(root_of(fresh), root) << "the address did not come back";

    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    EXPECT_NE(fresh, old);
    EXPECT_EQ(linker.db_for_persistent(root), fresh);
    EXPECT_TRUE(linker.get_parents(fresh).empty());
    for (const bool direct : {false, true}) {
        EXPECT_TRUE(linker.get_sub_dbs(fresh, direct).empty());
        EXPECT_TRUE(linker.get_sub_dbs(parent, direct).empty());
    }
    EXPECT_TRUE(linker.get_parents(leaf).empty());
    EXPECT_EQ(linker.find_db_persistent("frame_old", nullptr), nullptr);
    EXPECT_EQ(NYX_DB::get_num_users("frame_old", ""), 0);
    EXPECT_EQ(NYX_DB::get_num_users("frame_leaf", ""), 1);
    fresh->close();
    for (NYX_DB *const db : others)
        db->close();
}

} // namespace
