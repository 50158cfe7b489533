// Databases in files: created, opened, saved, closed.
#include "database_test_support.h"
#include "netlist/nyx_inst_header_table.h"
#include "nyx/nyx.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using MODE = NYX_DB::ACCESS_MODE;

class DbFile : public testing::Test {
protected:
    // A database with a name in it, saved and closed.
    void make(const std::string &path, NYX_DB_TYPE type = NYX_DB_TYPE::USER, const char *client_id = "") {
        NYX_DB *const db = NYX_DB::create(path.c_str(), s_size_MiB, type, nullptr, nullptr, client_id);
        root_of(db)->names().get_id("kept");
        ASSERT_EQ(db->close(), 0);
    }
    static bool has_name(NYX_DB *db, const char *name) {
        return root_of(db)->names().find_id(name) != NYX_NAME_ID::INVALID;
    }
    std::string path(const std::string &name) const { return m_dir / name; }
    static std::string bytes_of(const std::string &path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    template <class ACTION>
    static std::string error(ACTION &&action) {
        return raised<NYX_RUNTIME_ERROR>(std::forward<ACTION>(action)).first;
    }

    TEMP_DIR m_dir;
    const std::string m_path = path("a.nyx");
};

using DbFileDeathTest = DbFile;

// ---- create

TEST_F(DbFile, CreatedDatabaseIsWrittenWhenItIsClosed) {
    NYX_DB *const db = NYX_DB::create(m_path.c_str(), s_size_MiB, NYX_DB_TYPE::COMPONENT);
    EXPECT_EQ(db->get_name(), "a");
    EXPECT_EQ(db->get_file_name(), m_path);
    EXPECT_EQ(db->get_access_mode(), MODE::MODIFY);
    EXPECT_EQ(db->get_size(), s_size_MiB << 20);
    EXPECT_FALSE(fs::exists(m_path));
    EXPECT_EQ(db->close(), 0);
    EXPECT_EQ(NYX_DB::get_file_stats(m_path).type, NYX_DB_TYPE::COMPONENT);
    EXPECT_EQ(NYX_DB::get_file_stats(m_path).default_size, s_size_MiB << 20);
}

TEST_F(DbFile, NameAndExtensionOfANewFileFollowFromThePath) {
    const struct {
        std::string given, name, file;
    } cases[] = {{path("x"), "x", path("x.nyx")},
                 {path("y.nyx"), "y", path("y.nyx")},
                 {path("z.v"), "z.v", path("z.v.nyx")},
                 {path("./d/../w"), "w", path("w.nyx")}};
    for (const auto &[given, name, file] : cases) {
        NYX_DB *const db = NYX_DB::create(given.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
        EXPECT_EQ(db->get_name(), name);
        EXPECT_EQ(db->get_file_name(), file);
        db->close();
        EXPECT_TRUE(fs::exists(file));
    }
}

TEST_F(DbFile, GivenNameAndGroupAreTaken) {
    NYX_DB *const db = NYX_DB::create(m_path.c_str(), s_size_MiB, NYX_DB_TYPE::USER, "top", "DbFile group");
    EXPECT_EQ(db->get_name(), "top");
    EXPECT_EQ(db->get_db_group_name(), "DbFile group");
    EXPECT_EQ(NYX_DB::get_num_users("top", "DbFile group"), 1);
    db->close();
    NYX_DB::remove_group("DbFile group");
}

TEST_F(DbFile, ClientIdIsKept) {
    make(m_path, NYX_DB_TYPE::USER, "made by a test");
    EXPECT_EQ(NYX_DB::get_db_client_id(m_path.c_str()), "made by a test");
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::MODIFY);
    db->close();
    EXPECT_EQ(NYX_DB::get_db_client_id(m_path.c_str()), "made by a test");
}

TEST_F(DbFile, FileAtThePathOfANewDatabaseGoesAtOnce) {
    make(m_path);
    NYX_DB *const db = NYX_DB::create(m_path.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
    EXPECT_FALSE(fs::exists(m_path));
    db->disable_commit_on_close();
    db->close();
    EXPECT_FALSE(fs::exists(m_path));
}

TEST_F(DbFile, DirectoryAtThePathOfANewDatabaseStays) {
    fs::create_directory(m_path);
    NYX_DB *const db = NYX_DB::create(m_path.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
    EXPECT_TRUE(fs::is_directory(m_path));
    db->disable_commit_on_close();
    db->close();
}

TEST_F(DbFile, WorkingLibraryIsRefusedBeforeAnythingElse) {
    make(m_path);
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { NYX_DB::create(m_path.c_str(), 0, NYX_DB_TYPE::WORKING_LIBRARY); }),
              RAISED("Working library cannot be created as persistent", "NYX_DB::create"));
    EXPECT_TRUE(fs::exists(m_path));
}

TEST_F(DbFile, NameOrFileThatIsOpenCanNotBeCreated) {
    NYX_DB *const db = NYX_DB::create(m_path.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
    EXPECT_EQ(
        raised<NYX_RUNTIME_ERROR>([&] { NYX_DB::create(path("other/a.nyx").c_str(), s_size_MiB, NYX_DB_TYPE::USER); }),
        RAISED("DB 'a' is already open or being created. Cannot create.\n", "NYX_DB::create"));
    EXPECT_EQ(error([&] { NYX_DB::create(m_path.c_str(), s_size_MiB, NYX_DB_TYPE::USER, "b"); }),
              "DB '" + m_path + "' is already open as 'a' or being created. Cannot create.\n");
    db->close();
}

TEST_F(DbFile, NameOfTheDefaultGroupIsFreeInANewGroup) {
    NYX_DB *const db = NYX_DB::create(m_path.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
    NYX_DB *const other = NYX_DB::create(path("b/a.nyx").c_str(), s_size_MiB, NYX_DB_TYPE::USER, nullptr, "DbFile new");
    EXPECT_EQ(other->get_name(), "a");
    other->disable_commit_on_close();
    other->close();
    db->close();
    NYX_DB::remove_group("DbFile new");
}

TEST_F(DbFile, SizeZeroIsRefused) {
    EXPECT_EQ(error([&] { NYX_DB::create(m_path.c_str(), 0, NYX_DB_TYPE::USER); }), "Failed to create managed segment");
    EXPECT_EQ(NYX_DB::get_num_users("a", ""), 0);
}

TEST_F(DbFileDeathTest, PathWithoutAFileNameEndsTheRun) {
    EXPECT_DEATH(NYX_DB::create("", s_size_MiB, NYX_DB_TYPE::USER),
                 "path.has_filename\\(\\).*'' is not a valid filename");
    EXPECT_DEATH(NYX_DB::open("", MODE::READ_ONLY), "path.has_filename\\(\\).*'' is not a valid filename");
}

// ---- open

TEST_F(DbFile, OpenedDatabaseIsWhatWasSaved) {
    make(m_path, NYX_DB_TYPE::DEVICE);
    for (const MODE mode : {MODE::READ_ONLY, MODE::MODIFY}) {
        NYX_DB *const db = NYX_DB::open(m_path.c_str(), mode);
        EXPECT_EQ(db->get_name(), "a");
        EXPECT_EQ(db->get_file_name(), m_path);
        EXPECT_EQ(db->get_access_mode(), mode);
        EXPECT_EQ(db->get_db_type(), NYX_DB_TYPE::DEVICE);
        EXPECT_TRUE(has_name(db, "kept"));
        EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), std::vector<NYX_DB *>{db});
        EXPECT_EQ(db->close(), 0);
    }
}

TEST_F(DbFile, ModulesAndHeadersAreFoundAgain) {
    SCOPED_DB library("file_test_library", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const cell = NYX_MODULE::allocate(library, "cell", 0);
    NYX_DB *db = NYX_DB::create(m_path.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
    NYX_MODULE *const top = NYX_MODULE::allocate(db, "top", 0);
    NYX_INSTANCE::allocate(top, "u", cell);
    db->close();

    db = NYX_DB::open(m_path.c_str(), MODE::READ_ONLY);
    NYX_MODULE *const found = db->find_local_module("top");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->get_name(), "top");
    EXPECT_EQ(db->find_local_module("cell"), nullptr);
    NYX_INSTANCE *const instance = found->find_instance("u");
    ASSERT_NE(instance, nullptr);
    const NYX_NAME_MANAGER &names = root_of(db)->names();
    const INST_HEADER_KEY key("", false, names.find_id("file_test_library"), names.find_id("cell"));
    const NYX_INST_HEADER_ID id = root_of(db)->find_inst_header(key);
    ASSERT_NE(id, NYX_INST_HEADER_ID::INVALID);
    EXPECT_EQ(static_cast<NYX_INST_HEADER *>(root_of(db)->table<NYX_INST_HEADER>().get(id)),
              instance->get_inst_header());
    db->close();
}

TEST_F(DbFile, StatisticsAccountForAllThatIsUsed) {
    NYX_DB *db = NYX_DB::create(m_path.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
    const std::string bytes(100, 'x');
    const NYX_APP_DATA data(100, reinterpret_cast<const unsigned char *>(bytes.data()));
    NYX_APP_TRAIT *const trait = NYX_NET::create_app_trait(db, "notes", NYX_APP_DATA(), "", "", "");
    NYX_MODULE *const leaf = NYX_MODULE::allocate(db, "leaf", 2);
    NYX_PORT::allocate(leaf, "a", 0);
    for (int i = 0; i < 300; ++i) {
        const std::string number = std::to_string(i);
        NYX_MODULE *const module = NYX_MODULE::allocate(db, "m" + number, 3);
        NYX_PORT *const port = NYX_PORT::allocate(module, "a", 0);
        NYX_PORT_BUS *const bus = NYX_PORT_BUS::allocate(module, "b", 1, 0);
        bus->set_port(0, NYX_PORT::allocate(module, "b0", 1));
        NYX_INTERFACE *const interface = NYX_INTERFACE::allocate(module, "i");
        interface->add_port(port);
        interface->add_port_bus(bus);
        NYX_NET *const net = NYX_NET::allocate(module, "n" + number);
        net->set_value(trait, data);
        net->set_property("weight", i);
        NYX_INSTANCE *const instance = NYX_INSTANCE::allocate(module, "u", leaf);
        // Every third loses much of it, and what comes later takes the place.
        if (i % 3 == 0) {
            instance->deallocate();
            net->deallocate();
            interface->deallocate();
        }
    }
    CAPTURING_SINK reports;
    EXPECT_GT(db->get_internal_stats().get_used(), 0u);
    EXPECT_EQ(reports.texts(NYX_REPORT::SEVERITY::WARNING), TEXTS());
    db->close();
    db = NYX_DB::open(m_path.c_str(), MODE::READ_ONLY);
    db->get_internal_stats();
    EXPECT_EQ(reports.texts(NYX_REPORT::SEVERITY::WARNING), TEXTS());
    db->close();
}

TEST_F(DbFile, EveryTypeOfDatabaseComesBack) {
    for (const NYX_DB_TYPE type :
         {NYX_DB_TYPE::DEVICE, NYX_DB_TYPE::USER, NYX_DB_TYPE::COMPONENT, NYX_DB_TYPE::DEFINITION}) {
        make(m_path, type);
        EXPECT_EQ(NYX_DB::shared_access(m_path)->get_db_type(), type);
    }
}

TEST_F(DbFile, ReadersShareOneHandle) {
    make(m_path);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::READ_ONLY);
    EXPECT_EQ(NYX_DB::open(m_path.c_str(), MODE::READ_ONLY), db);
    EXPECT_EQ(NYX_DB::open((m_dir.path() / "." / "a").string().c_str(), MODE::READ_ONLY), db);
    EXPECT_EQ(NYX_DB::get_num_users("a", ""), 3);
    EXPECT_EQ(db->close(), 2);
    EXPECT_EQ(db->close(), 1);
    EXPECT_TRUE(has_name(db, "kept"));
    EXPECT_EQ(db->close(), 0);
}

TEST_F(DbFile, WriterIsAlone) {
    make(m_path);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::MODIFY);
    const std::string text = "DB 'a' is already opened in MODIFY mode and cannot be shared.";
    EXPECT_EQ(error([&] { NYX_DB::open(m_path.c_str(), MODE::MODIFY); }), text);
    EXPECT_EQ(error([&] { NYX_DB::open(m_path.c_str(), MODE::READ_ONLY); }), text);
    EXPECT_EQ(error([&] { NYX_DB::open(m_path.c_str(), MODE::READ_ONLY, "b"); }),
              "DB from " + m_path + " is already open as 'a' and cannot be loaded as 'b.");
    EXPECT_EQ(db->close(), 0);
}

TEST_F(DbFile, FileIsKnownByAnyPathThatLeadsToIt) {
    make(m_path);
    fs::create_symlink(m_dir.path(), m_dir / "link");
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::MODIFY);
    for (const std::string &other : {path("link/a.nyx"), fs::relative(m_path).string()})
        EXPECT_EQ(error([&] { NYX_DB::open(other.c_str(), MODE::MODIFY, "b"); }),
                  "DB from " + other + " is already open as 'a' and cannot be loaded as 'b.");
    EXPECT_EQ(error([&] { NYX_DB::grow_db(path("link/a.nyx").c_str(), 1); }),
              "grow_db attempted on DB '" + path("link/a.nyx") + "' when it is open.\n");
    db->close();
}

TEST_F(DbFile, OtherModeOfAnOpenNameIsRefused) {
    make(m_path);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::READ_ONLY);
    EXPECT_EQ(error([&] { NYX_DB::open(m_path.c_str(), MODE::MODIFY); }),
              "DB 'a' ( in mode 1) is already loaded,  in mode read-only (0)");
    db->close();
}

TEST_F(DbFile, MissingFileIsTold) {
    EXPECT_EQ(error([&] { NYX_DB::open(m_path.c_str(), MODE::READ_ONLY); }),
              nyx_format_message_code("DB-NO-SUCH-FILE", {m_path}));
    EXPECT_EQ(error([&] { NYX_DB::open(path("no").c_str(), MODE::MODIFY); }),
              nyx_format_message_code("DB-NO-SUCH-FILE", {path("no.nyx")}));
}

TEST_F(DbFile, GroupOfAnOpenedDatabaseIsMade) {
    make(m_path);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::READ_ONLY, "top", "DbFile opened");
    EXPECT_EQ(db->get_db_group_name(), "DbFile opened");
    std::set<std::string> names{"mine"};
    NYX_DB::find_known_group_names(names);
    EXPECT_TRUE(names.contains("DbFile opened"));
    EXPECT_TRUE(names.contains("mine"));
    EXPECT_EQ(NYX_DB::find_db_path_from_db_name("other", "DbFile opened"), "") << "without a base directory";
    db->close();
    NYX_DB::remove_group("DbFile opened");
}

TEST_F(DbFile, WriteProtectedFileCanBeReadOnly) {
    make(m_path);
    ASSERT_EQ(chmod(m_path.c_str(), 0444), 0);
    EXPECT_EQ(error([&] { NYX_DB::open(m_path.c_str(), MODE::MODIFY); }),
              nyx_format_message_code("DB-NOT-WRITABLE", {m_path}));
    EXPECT_TRUE(NYX_DB::shared_access(m_path)->is_read_only());
    EXPECT_EQ(NYX_DB::get_num_users("a", ""), 0);
}

TEST_F(DbFile, ModifiedDatabaseIsSavedOnClose) {
    make(m_path);
    NYX_DB *db = NYX_DB::open(m_path.c_str(), MODE::MODIFY);
    root_of(db)->names().get_id("added");
    EXPECT_EQ(db->close(), 0);
    EXPECT_TRUE(has_name(NYX_DB::shared_access(m_path).get(), "added"));
}

TEST_F(DbFile, ReadDatabaseIsNotSavedOnClose) {
    make(m_path);
    const auto before = fs::last_write_time(m_path);
    const std::string bytes = bytes_of(m_path);
    NYX_DB::open(m_path.c_str(), MODE::READ_ONLY)->close();
    EXPECT_EQ(fs::last_write_time(m_path), before);
    EXPECT_EQ(bytes_of(m_path), bytes);
}

TEST_F(DbFile, CloseWithoutCommitWritesNothing) {
    make(m_path);
    const std::string bytes = bytes_of(m_path);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::MODIFY);
    root_of(db)->names().get_id("added");
    db->disable_commit_on_close();
    db->close();
    EXPECT_EQ(bytes_of(m_path), bytes);
}

TEST_F(DbFile, LastSharedPointerClosesTheDatabase) {
    make(m_path);
    std::shared_ptr<NYX_DB> first = NYX_DB::shared_access(m_path);
    std::shared_ptr<NYX_DB> second = NYX_DB::shared_access(m_path);
    EXPECT_EQ(first, second);
    EXPECT_EQ(NYX_DB::get_num_users("a", ""), 2);
    first.reset();
    EXPECT_EQ(NYX_DB::get_num_users("a", ""), 1);
    second.reset();
    EXPECT_EQ(NYX_DB::get_num_users("a", ""), 0);
}

TEST_F(DbFile, UnchangedDatabaseIsSavedToTheSameBytes) {
    make(m_path);
    NYX_DB *db = NYX_DB::open(m_path.c_str(), MODE::MODIFY);
    db->commit(path("b.nyx"));
    db->commit(path("c.nyx"));
    db->close();
    EXPECT_EQ(bytes_of(path("b.nyx")), bytes_of(path("c.nyx")));
    EXPECT_EQ(bytes_of(m_path), bytes_of(path("c.nyx")));
}

TEST_F(DbFile, NewDatabasesHaveTheSameBytesEachTime) {
    make(m_path);
    make(path("b.nyx"));
    EXPECT_EQ(bytes_of(m_path), bytes_of(path("b.nyx")));
}

TEST_F(DbFileDeathTest, RetiredModeEndsTheRun) {
    make(m_path);
    EXPECT_DEATH(NYX_DB::open(m_path.c_str(), MODE::COPY_ON_WRITE), "COPY_ON_WRITE removed!");
    EXPECT_DEATH(NYX_DB::open(m_path.c_str(), static_cast<MODE>(9)), "mode == ACCESS_MODE::MODIFY");
}

TEST_F(DbFileDeathTest, PathThatMeansAnotherPlaceWithoutItsDotsEndsTheRun) {
    fs::create_directories(m_dir / "x/y");
    fs::create_directory_symlink(m_dir / "x/y", m_dir / "link");
    make(path("x/only.nyx"));
    EXPECT_DEATH(NYX_DB::open(path("link/../only.nyx").c_str(), MODE::READ_ONLY),
                 "boost_fs::exists\\(full_path\\).*Path normalization of '.*link/../only.nyx' resulted in non-existing "
                 "path '.*/only.nyx'");
}

// ---- Size factors

TEST_F(DbFile, SizeFactorBelowOneIsRefused) {
    make(m_path);
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { NYX_DB::open(m_path.c_str(), MODE::MODIFY, nullptr, nullptr, 0.5); }),
              RAISED("size_factor must be >= 1", "NYX_DB::open"));
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::MODIFY);
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { db->commit(m_path, 0.999); }),
              RAISED("size_factor must be >= 1", "NYX_DB::commit"));
    db->close();
}

TEST_F(DbFile, SizeFactorCountsFromWhatIsUsed) {
    make(m_path);
    const std::size_t used = NYX_DB::get_file_stats(m_path).data_size;
    NYX_DB *db = NYX_DB::open(m_path.c_str(), MODE::MODIFY, nullptr, nullptr, 1.0);
    EXPECT_EQ(db->get_size(), used);
    db->close();
    db = NYX_DB::open(m_path.c_str(), MODE::MODIFY, nullptr, nullptr, 2.0);
    EXPECT_EQ(db->get_size(), 2 * used);
    db->commit(path("b.nyx"), 3.0);
    EXPECT_EQ(NYX_DB::get_file_stats(path("b.nyx")).default_size, 3 * used);
    EXPECT_EQ(db->get_size(), 2 * used);
    db->close();
    EXPECT_EQ(NYX_DB::get_file_stats(m_path).default_size, 2 * used);
}

TEST_F(DbFile, SizeFactorThatAddsAFewBytesWorks) {
    make(m_path);
    for (int extra = 1; extra <= 48; ++extra) {
        const double used = static_cast<double>(NYX_DB::get_file_stats(m_path).data_size);
        NYX_DB *db = NYX_DB::open(m_path.c_str(), MODE::MODIFY, nullptr, nullptr, (used + extra) / used);
        db->commit(m_path, (used + extra) / used);
        db->disable_commit_on_close();
        db->close();
    }
    EXPECT_TRUE(has_name(NYX_DB::shared_access(m_path).get(), "kept"));
}

TEST_F(DbFileDeathTest, SizeFactorWithoutASizeEndsTheRun) {
    make(m_path);
    for (const double factor : {std::nan(""), 1e300, HUGE_VAL})
        EXPECT_DEATH(NYX_DB::open(m_path.c_str(), MODE::MODIFY, nullptr, nullptr, factor), "is no number of bytes");
}

// ---- commit

TEST_F(DbFile, CommitWritesToAnyPathAndChangesNoName) {
    make(m_path);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::READ_ONLY);
    db->commit(path("copy"));
    EXPECT_EQ(db->get_file_name(), m_path);
    EXPECT_TRUE(has_name(NYX_DB::shared_access(path("copy.nyx")).get(), "kept"));
    EXPECT_EQ(db->close(), 0);
}

TEST_F(DbFile, CommitToAWriteProtectedFileIsRefused) {
    make(m_path);
    make(path("b.nyx"));
    ASSERT_EQ(chmod(path("b.nyx").c_str(), 0444), 0);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::MODIFY);
    EXPECT_EQ(error([&] { db->commit(path("b.nyx")); }), nyx_format_message_code("DB-NOT-WRITABLE", {path("b.nyx")}));
    db->commit(path("new.nyx"));
    EXPECT_TRUE(fs::exists(path("new.nyx")));
    db->close();
}

TEST_F(DbFile, DatabaseInMemoryCanBeSaved) {
    SCOPED_DB db("memory");
    root_of(db)->names().get_id("kept");
    db->commit(m_path);
    EXPECT_EQ(db->get_file_name(), "");
    EXPECT_TRUE(has_name(NYX_DB::shared_access(m_path).get(), "kept"));
}

TEST_F(DbFile, FailedSaveOnCloseLeavesTheDatabaseOpen) {
    make(m_path);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::MODIFY);
    root_of(db)->names().get_id("added");
    fs::remove(m_path);
    fs::create_directory(m_path);
    EXPECT_THROW(db->close(), NYX_FILE_IO_EXCEPTION);
    EXPECT_EQ(NYX_DB::get_num_users("a", ""), 1);
    EXPECT_TRUE(has_name(db, "added"));
    fs::remove(m_path);
    EXPECT_EQ(db->close(), 0);
    EXPECT_TRUE(has_name(NYX_DB::shared_access(m_path).get(), "added"));
}

TEST_F(DbFile, MembersThatDoNothingDoNothing) {
    make(m_path);
    const std::string bytes = bytes_of(m_path);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::MODIFY);
    root_of(db)->names().get_id("added");
    EXPECT_TRUE(db->flush(true));
    EXPECT_TRUE(db->flush(false));
    db->set_shrink_on_close(true);
    EXPECT_EQ(bytes_of(m_path), bytes);
    EXPECT_EQ(db->get_size(), s_size_MiB << 20);
    db->close();
    EXPECT_TRUE(has_name(NYX_DB::shared_access(m_path).get(), "added"));
}

// ---- Names

TEST_F(DbFile, NameWithAKnownPathStandsForIt) {
    make(path("library.nyx"), NYX_DB_TYPE::COMPONENT);
    NYX_DB::add_nyx_db_path("DbFile_known", path("library.nyx"), false);
    NYX_DB *const db = NYX_DB::open("DbFile_known", MODE::READ_ONLY);
    EXPECT_EQ(db->get_file_name(), path("library.nyx"));
    EXPECT_EQ(db->get_name(), "library");
    db->close();
}

TEST_F(DbFile, OpenByNameTakesTheFileOfAnOpenDatabaseOrTheKnownPath) {
    make(m_path);
    EXPECT_EQ(NYX_DB::open_by_name("DbFile_none", MODE::READ_ONLY, ""), nullptr);
    EXPECT_EQ(NYX_DB::open_by_name("a", MODE::READ_ONLY, "DbFile no group"), nullptr);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::READ_ONLY, "DbFile_open");
    EXPECT_EQ(NYX_DB::open_by_name("DbFile_open", MODE::READ_ONLY, ""), db);
    EXPECT_EQ(db->close(), 1);
    EXPECT_EQ(db->close(), 0);
    NYX_DB::add_nyx_db_path("DbFile_path", m_path, false);
    NYX_DB *const known = NYX_DB::open_by_name("DbFile_path", MODE::READ_ONLY, "");
    ASSERT_NE(known, nullptr);
    EXPECT_EQ(known->get_name(), "DbFile_path");
    known->close();
    SCOPED_DB memory("DbFile_memory");
    EXPECT_EQ(NYX_DB::open_by_name("DbFile_memory", MODE::READ_ONLY, ""), nullptr);
}

// ---- Closed files

TEST_F(DbFile, DestroyRemovesAFile) {
    make(m_path);
    NYX_DB::destroy(m_path.c_str());
    EXPECT_FALSE(fs::exists(m_path));
    NYX_DB::destroy(m_path.c_str());
}

TEST_F(DbFile, DestroyKeepsWhatItMayNotRemove) {
    make(m_path);
    ASSERT_EQ(chmod(m_path.c_str(), 0444), 0);
    EXPECT_EQ(error([&] { NYX_DB::destroy(m_path.c_str()); }), nyx_format_message_code("DB-NOT-WRITABLE", {m_path}));
    EXPECT_TRUE(fs::exists(m_path));
    fs::create_directory(path("d.nyx"));
    EXPECT_EQ(error([&] { NYX_DB::destroy(path("d.nyx").c_str()); }),
              nyx_format_message_code("CANNOT-DELETE-DB", {path("d.nyx")}));
    EXPECT_TRUE(fs::exists(path("d.nyx")));
}

TEST_F(DbFile, GrowAddsToTheDefaultSize) {
    make(m_path);
    NYX_DB::grow_db(m_path.c_str(), 3);
    EXPECT_EQ(NYX_DB::get_file_stats(m_path).default_size, (s_size_MiB + 3) << 20);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::MODIFY);
    EXPECT_EQ(db->get_size(), (s_size_MiB + 3) << 20);
    db->close();
}

TEST_F(DbFile, GrowByNothingDoesNothing) {
    NYX_DB::grow_db(path("missing.nyx").c_str(), 0);
    EXPECT_EQ(error([&] { NYX_DB::grow_db(path("missing.nyx").c_str(), 1); }),
              nyx_format_message_code("DB-NOT-WRITABLE", {path("missing.nyx")}));
}

TEST_F(DbFile, GrowOfAnOpenDatabaseIsRefused) {
    make(m_path);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::READ_ONLY);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { NYX_DB::grow_db(m_path.c_str(), 1); }),
              RAISED("grow_db attempted on DB '" + m_path + "' when it is open.\n", "NYX_DB::grow_db"));
    db->close();
}

TEST_F(DbFile, SizeIsSetOfOpenDatabasesToo) {
    make(m_path);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::READ_ONLY);
    NYX_DB::set_db_size(m_path.c_str(), 100);
    EXPECT_EQ(NYX_DB::get_file_stats(m_path).default_size, std::size_t(100) << 20);
    db->close();
}

TEST_F(DbFile, SizeBelowWhatIsUsedIsRefused) {
    make(m_path);
    const std::string bytes = bytes_of(m_path);
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { NYX_DB::set_db_size(m_path.c_str(), 0); }).first,
              "New NYX_DB default size is less than shrunk size");
    EXPECT_EQ(bytes_of(m_path), bytes);
}

TEST_F(DbFile, HeaderTellsOfTheFile) {
    make(m_path, NYX_DB_TYPE::DEFINITION, "id");
    const NYX_DB_FILE_STATS stats = NYX_DB::get_file_stats(m_path);
    EXPECT_EQ(stats.version, 3u);
    EXPECT_EQ(stats.type, NYX_DB_TYPE::DEFINITION);
    EXPECT_EQ(stats.schema_id, NYX_DB::get_schema_id(NYX_DB_TYPE::DEFINITION, nullptr));
    EXPECT_EQ(NYX_DB::get_db_schema(m_path.c_str()), stats.schema_id);
    EXPECT_EQ(stats.tag, "id");
    EXPECT_EQ(stats.compression_algorithm, 2u);
    EXPECT_EQ(stats.chunk_size, 32768u);
    EXPECT_EQ(stats.payload_size, fs::file_size(m_path) - 53 - 2);
    const std::string text = nyx_format_message_code("DB-NO-SUCH-FILE", {path("no.nyx")});
    EXPECT_EQ(error([&] { NYX_DB::get_file_stats(path("no")); }), text);
    EXPECT_EQ(error([&] { NYX_DB::get_db_schema(path("no").c_str()); }), text);
    EXPECT_EQ(error([&] { NYX_DB::get_db_client_id(path("no").c_str()); }), text);
}

// ---- clone

TEST_F(DbFile, CloneNeedsADesign) {
    make(m_path, NYX_DB_TYPE::COMPONENT);
    const std::string bytes = bytes_of(m_path);
    EXPECT_EQ(error([&] { NYX_DB::clone_db(m_path.c_str(), path("b.nyx").c_str()); }),
              "Top module is defined for user databases only");
    EXPECT_EQ(bytes_of(m_path), bytes);
    // Nothing of the clone is left in the process.
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), std::vector<NYX_DB *>());
    make(path("later.nyx"));
    EXPECT_TRUE(has_name(NYX_DB::shared_access(path("later.nyx")).get(), "kept"));
    EXPECT_TRUE(has_name(NYX_DB::shared_access(path("b.nyx")).get(), "kept"));
}

TEST_F(DbFile, CloneOfAMissingFileIsRefused) {
    EXPECT_EQ(error([&] { NYX_DB::clone_db(m_path.c_str(), path("b.nyx").c_str()); }),
              nyx_format_message_code("DB-NOT-WRITABLE", {m_path}));
}

TEST_F(DbFile, CloneOntoAnOpenDatabaseIsRefusedBeforeItsFileIsLost) {
    make(m_path);
    make(path("b.nyx"));
    const std::string bytes = bytes_of(path("b.nyx"));
    NYX_DB *const db = NYX_DB::open(path("b.nyx").c_str(), MODE::MODIFY);
    EXPECT_EQ(error([&] { NYX_DB::clone_db(m_path.c_str(), path("b.nyx").c_str()); }),
              "DB 'b' is already opened in MODIFY mode and cannot be shared.");
    EXPECT_EQ(bytes_of(path("b.nyx")), bytes);
    db->close();
}

TEST_F(DbFile, RangeOfALargeDatabaseCostsNothingToOpen) {
    NYX_DB::create(m_path.c_str(), 65536, NYX_DB_TYPE::USER)->close();
    const auto peak_KiB = [&](MODE mode) {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        const pid_t child = fork();
        if (child == 0) {
            NYX_DB::open(m_path.c_str(), mode);
            rusage usage{};
            getrusage(RUSAGE_SELF, &usage);
            _exit(write(ends[1], &usage.ru_maxrss, sizeof(long)) < 0);
        }
        long result = 0;
        EXPECT_EQ(read(ends[0], &result, sizeof(result)), ssize_t(sizeof(result)));
        waitpid(child, nullptr, 0);
        return result;
    };
    EXPECT_LT(peak_KiB(MODE::MODIFY), peak_KiB(MODE::READ_ONLY) + 8 * 1024);
}

TEST_F(DbFile, DamagedSizesAreToldWithASizeFactorToo) {
    make(m_path);
    std::fstream file(m_path, std::ios::in | std::ios::out | std::ios::binary);
    const std::uint64_t sizes[] = {std::uint64_t(1) << 63, std::uint64_t(1) << 63};
    file.seekp(29).write(reinterpret_cast<const char *>(sizes), sizeof(sizes));
    file.close();
    EXPECT_THROW(NYX_DB::open(m_path.c_str(), MODE::MODIFY, nullptr, nullptr, 2.0), NYX_DATABASE_CORRUPTED_EXCEPTION);
}

TEST_F(DbFile, EachLongOperationOpensAProfileScope) {
    NYX_REPORT::start_trace();
    NYX_DB *const db = NYX_DB::create(m_path.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
    NYX_MODULE::allocate(db, "m", 0);
    db->commit(m_path);
    db->close();
    NYX_DB::open(m_path.c_str(), MODE::READ_ONLY)->close();
    NYX_DB::clone_db(m_path.c_str(), path("b").c_str());
    NYX_DB::grow_db(m_path.c_str(), 0);
    NYX_DB::set_db_size(m_path.c_str(), s_size_MiB);
    std::ostringstream trace;
    NYX_REPORT::write_trace(trace);
    for (const char *const name :
         {"NYX_DB::create", "NYX_DB::commit", "NYX_DB::close", "NYX_DB::open", "NYX_DB::clone_db", "NYX_DB::grow",
          "NYX_DB::set_db_size", "NYX_MANAGED_SERIALISED_FILE::commit_impl", "NYX_MANAGED_SERIALISED_FILE::load"})
        EXPECT_NE(trace.str().find('"' + std::string(name) + '"'), std::string::npos) << name;
}

TEST_F(DbFile, AccessesToFilesAreTraced) {
    const SCOPED_ENV debug("NYX_DB_DEBUG_ACCESS", "1");
    CAPTURING_SINK sink;
    NYX_DB::create(m_path.c_str(), s_size_MiB, NYX_DB_TYPE::USER)->close();
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::READ_ONLY);
    NYX_DB::open(m_path.c_str(), MODE::READ_ONLY);
    db->close();
    db->close();
    TEXTS callers;
    for (const std::string &text : sink.texts(NYX_REPORT::SEVERITY::DEBUG))
        callers.push_back(text.substr(0, text.find(" called on ")));
    EXPECT_EQ(callers,
              (TEXTS{"create()", "close()", "open() of new DB", "open() of existing DB", "close()", "close()"}));
}

TEST_F(DbFile, ReadOnlyIgnoresTheSizeFactor) {
    make(m_path);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::READ_ONLY, nullptr, nullptr, 1e300);
    EXPECT_EQ(db->get_size(), NYX_DB::get_file_stats(m_path).data_size);
    db->close();
}
TEST_F(DbFile, GrowthThatNoNumberHoldsIsNotWrapped) {
    make(m_path);
    NYX_DB::grow_db(m_path.c_str(), (1ull << 44) - 1);
    EXPECT_EQ(NYX_DB::get_file_stats(m_path).default_size, ~0ull);
}
TEST_F(DbFile, StatisticsOfVersionTwoAreTold) {
    make(m_path);
    std::fstream file(m_path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(4).put(2);
    file.close();
    EXPECT_EQ(NYX_DB::get_file_stats(m_path).version, 2u);
}
TEST_F(DbFile, FailedOpenLeavesNothingInTheProcess) {
    make(m_path);
    fs::resize_file(m_path, fs::file_size(m_path) - 1);
    EXPECT_THROW(NYX_DB::open(m_path.c_str(), MODE::MODIFY), NYX_DATABASE_CORRUPTED_EXCEPTION);
    EXPECT_EQ(NYX_DB::get_num_users("a", ""), 0);
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), std::vector<NYX_DB *>());
}

TEST_F(DbFile, SlashAtTheEndLeadsToAFileThatIsAllExtension) {
    fs::create_directory(path("x"));
    EXPECT_EQ(error([&] { NYX_DB::open(path("x/").c_str(), MODE::READ_ONLY); }),
              error([&] { NYX_DB::open(path("x/.nyx").c_str(), MODE::READ_ONLY); }));
    NYX_DB *const db = NYX_DB::create(path("x/").c_str(), s_size_MiB, NYX_DB_TYPE::USER);
    EXPECT_EQ(db->get_file_name(), path("x/.nyx"));
    EXPECT_EQ(db->get_name(), ".");
    EXPECT_EQ(db->close(), 0);
    EXPECT_TRUE(fs::exists(path("x/.nyx")));
    NYX_DB *const again = NYX_DB::open(path("x/.nyx").c_str(), MODE::READ_ONLY);
    EXPECT_EQ(again->get_name(), "");
    EXPECT_EQ(again->close(), 0);
}

TEST_F(DbFile, ExtensionIsTakenOffOnce) {
    for (const auto &[name, file] : std::vector<std::pair<const char *, const char *>>{
             {"b.nyx.nyx", "b.nyx.nyx"}, {"c.v", "c.v.nyx"}, {"d.", "d..nyx"}, {".nyx", ".nyx"}, {".e", ".e.nyx"}}) {
        NYX_DB *const db = NYX_DB::create(path(name).c_str(), s_size_MiB, NYX_DB_TYPE::USER);
        EXPECT_EQ(db->get_file_name(), path(file));
        db->disable_commit_on_close();
        EXPECT_EQ(db->close(), 0);
    }
}

TEST_F(DbFile, CloneThatCanNotFindALibraryIsNotOpen) {
    NYX_DB *const db = NYX_DB::create(m_path.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
    NYX_DB *const library = create_db("DbFile_gone", NYX_DB_TYPE::COMPONENT);
    NYX_INSTANCE::allocate(NYX_MODULE::allocate(db, "m", 0), "u", NYX_MODULE::allocate(library, "l", 0));
    EXPECT_EQ(db->close(), 0);
    EXPECT_EQ(library->close(), 0);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(error([&] { NYX_DB::clone_db(m_path.c_str(), path("b").c_str()); }).substr(0, 41),
                  "Can't find path to db named 'DbFile_gone'");
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), std::vector<NYX_DB *>());
}

// The function is for the library's own use; an explicit instantiation may name it.
using FIND_BY_NAME = NYX_DB *(*)(const std::string &, MODE, const std::string &);
FIND_BY_NAME find_by_name_of_db();
template <FIND_BY_NAME FUNCTION>
struct FORWARD {
    friend FIND_BY_NAME find_by_name_of_db() { return FUNCTION; }
};
template struct FORWARD<&NYX_DB::find_by_name>;

TEST_F(DbFile, FindingByNameIsAUseInTheSameMode) {
    const FIND_BY_NAME find_by_name = find_by_name_of_db();
    make(m_path);
    EXPECT_EQ(find_by_name("a", MODE::READ_ONLY, ""), nullptr);
    EXPECT_EQ(find_by_name("a", MODE::READ_ONLY, "no such group"), nullptr);
    NYX_DB *const db = NYX_DB::open(m_path.c_str(), MODE::READ_ONLY);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { find_by_name("a", MODE::MODIFY, ""); }),
              RAISED("DB a was opened in mode 0 and cannot be obtained in mode 1", "NYX_DB::find_by_name"));
    EXPECT_EQ(find_by_name("a", MODE::READ_ONLY, ""), db);
    EXPECT_EQ(db->close(), 1);
    EXPECT_EQ(db->close(), 0);
}

} // namespace
