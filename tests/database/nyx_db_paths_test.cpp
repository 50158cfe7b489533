#include "database/nyx_db_paths.h"

#include "database_test_support.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using LINES = std::vector<CAPTURING_SINK::LINE>;
constexpr auto INFO = NYX_REPORT::SEVERITY::INFO;
constexpr auto WARNING = NYX_REPORT::SEVERITY::WARNING;
constexpr auto ERROR = NYX_REPORT::SEVERITY::ERROR;

void write(const fs::path &path, const std::string &text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

/// Reads texts and files into a group of its own.
class PathsReader : public testing::Test {
protected:
    bool read(const std::string &text, bool verbose = true, const std::string &base_dir = "/base") {
        std::istringstream stream(text);
        NYX_DB_PATHS_READER reader(m_group, verbose);
        const bool result = reader.read_paths_stream(stream, base_dir);
        m_num_added = reader.num_added();
        return result;
    }
    bool load(const fs::path &path, bool verbose = true) {
        return NYX_DB_PATHS_READER(m_group, verbose).load_paths_file(path.string());
    }
    std::string path(const std::string &name) const { return m_group.lookup(name).path; }
    std::set<std::string> names() const {
        std::set<std::string> result;
        m_group.find_known_db_names(result);
        return result;
    }

    NYX_DB_GROUP m_group{"paths"};
    std::size_t m_num_added = 0;
    CAPTURING_SINK m_reports;
};

// ---- DEFINE

TEST_F(PathsReader, DefineMapsANameToBeReadOnly) {
    EXPECT_TRUE(read("DEFINE x /d/x.nyx\n  DEFINE\ty\t sub/y.nyx"));
    EXPECT_EQ(path("x"), "/d/x.nyx");
    EXPECT_EQ(path("y"), "/base/sub/y.nyx");
    EXPECT_EQ(m_group.lookup("x").mode, NYX_DB::ACCESS_MODE::READ_ONLY);
    EXPECT_EQ(m_num_added, 2u);
    EXPECT_TRUE(m_reports.lines().empty());
}

TEST_F(PathsReader, DefineWithoutPathStopsTheReading) {
    EXPECT_FALSE(read("DEFINE a /a\nDEFINE x\nDEFINE b /b\n"));
    EXPECT_EQ(m_reports.lines(), (LINES{{ERROR, "Missing path for x"}}));
    EXPECT_EQ(names(), std::set<std::string>{"a"});
}

TEST_F(PathsReader, DefineWithoutNameStopsTheReading) {
    EXPECT_FALSE(read("DEFINE \t\nDEFINE b /b\n"));
    EXPECT_EQ(m_reports.lines(), (LINES{{ERROR, "Missing DB name for "}}));
    EXPECT_TRUE(names().empty());
}

TEST_F(PathsReader, FaultsAreFaultsWhenSilentToo) {
    EXPECT_FALSE(read("DEFINE x\n", false));
    EXPECT_FALSE(read("INCLUDE\n", false));
    EXPECT_FALSE(read("INCLUDE no_such_file\n", false));
    EXPECT_TRUE(m_reports.lines().empty());
}

TEST_F(PathsReader, LaterDefineWinsAndSaysSo) {
    EXPECT_TRUE(read("DEFINE x /a\nDEFINE x b\n"));
    EXPECT_EQ(path("x"), "/base/b");
    EXPECT_EQ(m_reports.lines(), (LINES{{INFO, "DB x was already mapped to /a. Now mapping to /base/b"}}));
    EXPECT_EQ(m_num_added, 2u);
}

TEST_F(PathsReader, LaterDefineOfTheSamePathSaysNothing) {
    EXPECT_TRUE(read("DEFINE x /base/a\nDEFINE x a\n"));
    EXPECT_TRUE(m_reports.lines().empty());
}

TEST_F(PathsReader, LaterDefineIsSilentWhenNotVerbose) {
    EXPECT_TRUE(read("DEFINE x /a\nDEFINE x /b\n", false));
    EXPECT_EQ(path("x"), "/b");
    EXPECT_TRUE(m_reports.lines().empty());
}

TEST_F(PathsReader, TextBehindThePathIsIgnored) {
    EXPECT_TRUE(read("DEFINE x /x and more DEFINE y /y\n"));
    EXPECT_EQ(names(), std::set<std::string>{"x"});
    EXPECT_EQ(path("x"), "/x");
}

TEST_F(PathsReader, QuotesMeanNothingToDefine) {
    EXPECT_TRUE(read("DEFINE \"x y\" z\n"));
    EXPECT_EQ(path("\"x"), "/base/y\"");
}

TEST_F(PathsReader, LineEndsOfOtherSystemsAreBlanks) {
    EXPECT_TRUE(read("DEFINE x /x\r\n\r\nDEFINE y /y\r\n"));
    EXPECT_EQ(path("x"), "/x");
    EXPECT_EQ(path("y"), "/y");
}

TEST_F(PathsReader, OpenDatabaseOfThatNameIsTold) {
    SCOPED_DB db("paths_a");
    give_file(db, "/open/a.nyx", NYX_DB::ACCESS_MODE::READ_ONLY);
    m_reports.clear();
    std::istringstream stream("DEFINE paths_a /new/a.nyx\nDEFINE paths_a /open/a.nyx\n");
    std::size_t num_added = 0;
    EXPECT_TRUE(NYX_DB_LINKER::get().add_paths(stream, "/base", true, num_added));
    EXPECT_EQ(m_reports.lines(),
              (LINES{{INFO, "DB paths_a is already open as /open/a.nyx. Close it first to use /new/a.nyx instead"},
                     {INFO, "DB paths_a was already mapped to /new/a.nyx. Now mapping to /open/a.nyx"}}));
    EXPECT_EQ(NYX_DB::find_db_path_from_db_name("paths_a", ""), "/open/a.nyx") << "it is mapped all the same";
}

TEST_F(PathsReader, DatabaseOfThatNameInMemoryHasNoPathToTell) {
    SCOPED_DB db("paths_in_memory");
    m_reports.clear();
    std::istringstream stream("DEFINE paths_in_memory /new/a.nyx\n");
    std::size_t num_added = 0;
    EXPECT_TRUE(NYX_DB_LINKER::get().add_paths(stream, "/base", true, num_added));
    EXPECT_EQ(m_reports.lines(),
              (LINES{{INFO, "DB paths_in_memory is already open as . Close it first to use /new/a.nyx instead"}}));
}

// ---- Comments

TEST_F(PathsReader, OtherLinesAreComments) {
    EXPECT_TRUE(read("\n   \n# DEFINE a /a\n// x\ndefine b /b\nDefine c /c\ninclude nothing\nDEFINED d /d\n"
                     "INCLUDE\"nothing\"\n\"DEFINE\" e /e\n"));
    EXPECT_TRUE(names().empty());
    EXPECT_TRUE(m_reports.lines().empty());
}

TEST_F(PathsReader, EmptyTextIsFine) {
    EXPECT_TRUE(read(""));
    EXPECT_EQ(m_num_added, 0u);
}

// ---- INCLUDE

TEST_F(PathsReader, IncludeIsRelativeToTheIncludingFile) {
    TEMP_DIR dir, elsewhere;
    WORKING_DIR in(elsewhere.path());
    write(dir / "nyx.paths", "INCLUDE sub/inner.paths\nDEFINE outer o.nyx\n");
    write(dir / "sub/inner.paths", "DEFINE inner i.nyx\nINCLUDE deeper/last.paths\n");
    write(dir / "sub/deeper/last.paths", "DEFINE last l.nyx\n");
    EXPECT_TRUE(load(dir / "nyx.paths"));
    EXPECT_EQ(path("inner"), (dir / "sub/i.nyx").string());
    EXPECT_EQ(path("last"), (dir / "sub/deeper/l.nyx").string());
    EXPECT_EQ(path("outer"), (dir / "o.nyx").string());
    EXPECT_EQ(m_reports.lines(), (LINES{{INFO, "Loading nyx paths file  " + (dir / "nyx.paths").string()}}));
}

TEST_F(PathsReader, IncludeOfAnAbsolutePath) {
    TEMP_DIR dir;
    write(dir / "a.paths", "DEFINE x x.nyx\n");
    EXPECT_TRUE(read("INCLUDE " + (dir / "a.paths").string() + " and more\n"));
    EXPECT_EQ(path("x"), (dir / "x.nyx").string());
}

TEST_F(PathsReader, IncludeInQuotesMayHoldBlanksAndEscapes) {
    TEMP_DIR dir;
    write(dir / "with blank \"and\" & more.paths", "DEFINE x /x\n");
    EXPECT_TRUE(read("INCLUDE  \"with blank &\"and&\" && m&ore.paths\" ignored\n", true, dir.path().string()));
    EXPECT_EQ(path("x"), "/x");
}

TEST_F(PathsReader, IncludeWithoutQuotesEndsAtTheFirstBlank) {
    TEMP_DIR dir;
    write(dir / "a&b", "DEFINE x /x\n");
    EXPECT_TRUE(read("INCLUDE a&b c\n", true, dir.path().string()));
    EXPECT_EQ(path("x"), "/x");
}

TEST_F(PathsReader, QuoteThatIsNotClosedRunsToTheEndOfTheLine) {
    TEMP_DIR dir;
    write(dir / "a b", "DEFINE x /x\n");
    EXPECT_TRUE(read("INCLUDE \"a b", true, dir.path().string()));
    EXPECT_EQ(path("x"), "/x");
    EXPECT_FALSE(read("INCLUDE \"a b&", true, "/base")) << "an escape at the end escapes nothing";
}

TEST_F(PathsReader, IncludeWithoutPathStopsTheReading) {
    for (const char *const line : {"INCLUDE", "INCLUDE  \t", "INCLUDE \"\"", "INCLUDE \""}) {
        m_reports.clear();
        EXPECT_FALSE(read(std::string(line) + "\nDEFINE x /x\n")) << line;
        EXPECT_EQ(m_reports.lines(), (LINES{{ERROR, "Missing file name for INCLUDE statement"}})) << line;
    }
    EXPECT_TRUE(names().empty());
}

TEST_F(PathsReader, IncludeThatDoesNotOpenStopsTheReading) {
    TEMP_DIR dir;
    EXPECT_FALSE(read("INCLUDE no.paths\nDEFINE x /x\n", true, dir.path().string()));
    EXPECT_EQ(m_reports.lines(), (LINES{{ERROR, "Cannot open INCLUDE paths file  " + (dir / "no.paths").string()}}));
    EXPECT_TRUE(names().empty());
}

TEST_F(PathsReader, IncludeOpensRegularFilesOnly) {
    TEMP_DIR dir;
    fs::create_directory(dir / "directory");
    ASSERT_EQ(::mkfifo((dir / "pipe").c_str(), 0600), 0);
    for (const std::string name : {"directory", "pipe", "/dev/zero"})
        EXPECT_FALSE(read("INCLUDE " + name + "\n", false, dir.path().string())) << name;
}

TEST_F(PathsReader, FaultInAnIncludedFileEndsTheOuterOnes) {
    TEMP_DIR dir;
    write(dir / "a", "INCLUDE b\nDEFINE after_b /x\n");
    write(dir / "b", "DEFINE before /x\nDEFINE fault\n");
    EXPECT_FALSE(read("INCLUDE a\nDEFINE after_a /x\n", true, dir.path().string()));
    EXPECT_EQ(names(), std::set<std::string>{"before"});
    EXPECT_EQ(m_reports.lines(), (LINES{{ERROR, "Missing path for fault"}}));
}

TEST_F(PathsReader, FileThatIncludesItselfWarnsOnce) {
    TEMP_DIR dir;
    const std::string self = (dir / "self.paths").string();
    write(self, "DEFINE x /x\nINCLUDE self.paths\nDEFINE y /y\n");
    EXPECT_TRUE(load(self, false));
    EXPECT_EQ(m_reports.lines(), (LINES{{WARNING, "The paths file " + self + " was already included "}}));
    EXPECT_EQ(names(), (std::set<std::string>{"x", "y"}));
}

TEST_F(PathsReader, DetourDoesNotHideThatAFileWasIncluded) {
    TEMP_DIR dir;
    fs::create_directory(dir / "sub");
    write(dir / "self.paths", "INCLUDE sub/../self.paths\nDEFINE x /x\n");
    EXPECT_TRUE(load(dir / "self.paths", false));
    EXPECT_EQ(m_reports.lines().size(), 1u);
    EXPECT_EQ(path("x"), "/x");
}

TEST_F(PathsReader, CircleOfFilesEnds) {
    TEMP_DIR dir;
    write(dir / "a", "INCLUDE b\nDEFINE a /a\n");
    write(dir / "b", "INCLUDE c\nDEFINE b /b\n");
    write(dir / "c", "INCLUDE a\nDEFINE c /c\n");
    EXPECT_TRUE(load(dir / "a", false));
    EXPECT_EQ(names(), (std::set<std::string>{"a", "b", "c"}));
    EXPECT_EQ(m_reports.texts(WARNING), TEXTS{"The paths file " + (dir / "b").string() + " was already included "});
}

TEST_F(PathsReader, CircleThroughALinkEnds) {
    TEMP_DIR dir;
    fs::create_directory_symlink(".", dir / "link");
    write(dir / "self.paths", "INCLUDE link/self.paths\n");
    EXPECT_FALSE(load(dir / "self.paths", false)) << "the system follows so many links and no more";
}

// A file that is found under ever new names would include itself for ever.
TEST_F(PathsReader, PathThatHoldsANulDoesNotOpen) {
    TEMP_DIR dir;
    const std::string nul(1, '\0');
    write(dir / "self", "INCLUDE self" + nul + "x/y\n");
    EXPECT_FALSE(load(dir / "self"));
    EXPECT_EQ(m_reports.texts(ERROR),
              TEXTS{"Cannot open INCLUDE paths file  " + (dir / "self").string() + nul + "x/y"});
    EXPECT_FALSE(load((dir / "self").string() + nul));
}

// Nesting takes no stack: what ends it is the number of files that may be open.
TEST_F(PathsReader, DeepNestingEndsInAnAnswer) {
    TEMP_DIR dir;
    constexpr int depth = 3000;
    for (int i = 0; i < depth; ++i)
        write(dir / std::to_string(i), "INCLUDE " + std::to_string(i + 1) + "\nDEFINE x" + std::to_string(i) + " /x\n");
    write(dir / std::to_string(depth), "");
    const bool result = load(dir / "0", false);
    EXPECT_EQ(names().size(), result ? depth : 0u);
}

// ---- Files

TEST_F(PathsReader, FileThatDoesNotOpenIsTold) {
    TEMP_DIR dir;
    for (const fs::path &path : {dir / "no.paths", dir.path()}) {
        m_reports.clear();
        EXPECT_FALSE(load(path));
        EXPECT_EQ(m_reports.lines(), (LINES{{INFO, "Cannot open nyx paths file  " + path.string()}}));
        m_reports.clear();
        EXPECT_FALSE(load(path, false));
        EXPECT_TRUE(m_reports.lines().empty());
    }
}

TEST_F(PathsReader, StreamThatIsBadIsAnEmptyOne) {
    std::istringstream stream("DEFINE x /x\n");
    stream.setstate(std::ios::badbit);
    NYX_DB_PATHS_READER reader(m_group, true);
    EXPECT_TRUE(reader.read_paths_stream(stream, "/base"));
    EXPECT_TRUE(names().empty());
}

// ---- The members of NYX_DB. They fill the process's table, so names are this test's own.

class AddPaths : public testing::Test {
protected:
    static std::string path(const std::string &name) { return NYX_DB::find_db_path_from_db_name(name, ""); }
    CAPTURING_SINK m_reports;
};

TEST_F(AddPaths, PathOfOneDatabase) {
    EXPECT_TRUE(NYX_DB::add_nyx_db_path("add_a", "/d/a.nyx", true));
    EXPECT_EQ(path("add_a"), "/d/a.nyx");
    EXPECT_EQ(NYX_DB::find_db_path_from_db_name("add_a", "add_unknown_group"), "");
    std::set<std::string> names{"before"};
    NYX_DB::find_known_db_names(names, "add_unknown_group");
    EXPECT_EQ(names, std::set<std::string>{"before"});
    NYX_DB::find_known_db_names(names, "");
    EXPECT_TRUE(names.contains("add_a"));
    EXPECT_TRUE(names.contains("before"));
    EXPECT_TRUE(m_reports.lines().empty());
}

TEST_F(AddPaths, RelativePathKeepsTheCurrentDirectoryOfTheCall) {
    TEMP_DIR dir;
    {
        WORKING_DIR in(dir.path());
        EXPECT_TRUE(NYX_DB::add_nyx_db_path("add_b", "sub/b.nyx", false));
    }
    EXPECT_EQ(path("add_b"), (dir / "sub/b.nyx").string());
}

TEST_F(AddPaths, EmptyArgumentsAreRefused) {
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([] { NYX_DB::add_nyx_db_path("add_c", "", true); }),
              RAISED("DB file path cannot be empty", "NYX_DB::add_nyx_db_path"));
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([] { NYX_DB::add_nyx_db_path("", "/c", true); }),
              RAISED("DB name cannot be empty", "NYX_DB::add_nyx_db_path"));
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([] { NYX_DB::add_nyx_db_path("", "", true); }).first,
              "DB file path cannot be empty");
}

TEST_F(AddPaths, LineBreakIsRefused) {
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([] { NYX_DB::add_nyx_db_path("add_c", "/c\nDEFINE add_d /d", true); }).first,
              "DB file path cannot hold a line break");
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([] { NYX_DB::add_nyx_db_path("add_c /c\nDEFINE", "add_d /d", true); }).first,
              "DB name cannot hold a line break");
    EXPECT_EQ(path("add_d"), "");
}

TEST_F(AddPaths, BlanksEndNameAndPath) {
    EXPECT_TRUE(NYX_DB::add_nyx_db_path("add_e", "/with blank", true));
    EXPECT_EQ(path("add_e"), "/with");
    EXPECT_TRUE(NYX_DB::add_nyx_db_path("add_f blank", "/path", true));
    EXPECT_EQ(path("add_f").substr(path("add_f").size() - 6), "/blank");
    EXPECT_FALSE(NYX_DB::add_nyx_db_path("add_g", " ", true));
    EXPECT_EQ(m_reports.lines(), (LINES{{ERROR, "Missing path for add_g"}}));
}

TEST_F(AddPaths, StreamWithItsBaseDirectory) {
    std::istringstream stream("DEFINE add_h h.nyx\n");
    EXPECT_TRUE(NYX_DB::add_nyx_paths(stream, "/base", true));
    EXPECT_EQ(path("add_h"), "/base/h.nyx");
    EXPECT_TRUE(m_reports.lines().empty());
}

TEST_F(AddPaths, EmptyBaseDirectoryIsTheCurrentOne) {
    TEMP_DIR dir;
    WORKING_DIR in(dir.path());
    std::istringstream stream("DEFINE add_i i.nyx\n");
    EXPECT_TRUE(NYX_DB::add_nyx_paths(stream, "", true));
    EXPECT_EQ(path("add_i"), (dir / "i.nyx").string());
}

TEST_F(AddPaths, TextThatDefinesNothingWarnsWhenVerbose) {
    const std::string warning = "No components DB paths were loaded! User design DBs won't find their sub-DBs. "
                                "Open them directly first.";
    for (const char *const text : {"", "# nothing\n"}) {
        m_reports.clear();
        std::istringstream stream(text);
        EXPECT_TRUE(NYX_DB::add_nyx_paths(stream, "/base", true));
        EXPECT_EQ(m_reports.lines(), (LINES{{WARNING, warning}}));
    }
    m_reports.clear();
    std::istringstream fault("DEFINE add_j\n");
    EXPECT_FALSE(NYX_DB::add_nyx_paths(fault, "/base", true));
    EXPECT_EQ(m_reports.lines(), (LINES{{ERROR, "Missing path for add_j"}, {WARNING, warning}}));
    m_reports.clear();
    std::istringstream silent("");
    EXPECT_TRUE(NYX_DB::add_nyx_paths(silent, "/base", false));
    EXPECT_TRUE(m_reports.lines().empty());
}

TEST_F(AddPaths, FileWithItsBaseDirectory) {
    TEMP_DIR dir;
    write(dir / "some.paths", "DEFINE add_k k.nyx\n");
    EXPECT_TRUE(NYX_DB::add_nyx_paths((dir / "some.paths").string(), "/base", true));
    EXPECT_EQ(path("add_k"), "/base/k.nyx");
}

TEST_F(AddPaths, FileThatDoesNotOpenIsRefused) {
    TEMP_DIR dir;
    for (const fs::path &file : {dir / "no.paths", dir.path()}) {
        EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { NYX_DB::add_nyx_paths(file.string(), "/base", false); }),
                  RAISED("Could not open '" + file.string() + "'", "NYX_DB::add_nyx_paths"));
    }
}

// ---- The default paths file

class Init : public AddPaths {
protected:
    ~Init() override {
        SCOPED_ENV paths_root("DEVDATA_NYX_PATHS_ROOT", m_root.path().string());
        NYX_DB::init("", false);
    }
    static bool has_paths() {
        std::set<std::string> names;
        NYX_DB::find_known_db_names(names, "");
        return !names.empty();
    }

    TEMP_DIR m_root, m_paths_root, m_cwd;
    WORKING_DIR m_in{m_cwd.path()};
    SCOPED_ENV m_devdata{"DEVDATA_ROOT", std::nullopt};
    SCOPED_ENV m_orba{"ORBA_DEST_ROOT", std::nullopt};
    SCOPED_ENV m_variable{"DEVDATA_NYX_PATHS_ROOT", std::nullopt};
};

TEST_F(Init, ReadsTheInstalledFile) {
    write(m_root / "nyx.paths", "DEFINE init_a a.nyx\n");
    EXPECT_TRUE(NYX_DB::init(m_root.path().string(), true));
    EXPECT_EQ(path("init_a"), (m_root / "a.nyx").string());
    EXPECT_EQ(m_reports.lines(), (LINES{{INFO, "Loading nyx paths file  " + (m_root / "nyx.paths").string()}}));
}

TEST_F(Init, ReadsTheFileOfTheCurrentDirectoryWithoutARoot) {
    write(m_cwd / "nyx.paths", "DEFINE init_b b.nyx\n");
    EXPECT_TRUE(NYX_DB::init("", false));
    EXPECT_EQ(path("init_b"), (fs::current_path() / "b.nyx").string());
    EXPECT_TRUE(m_reports.lines().empty());
}

TEST_F(Init, VariableGoesBeforeTheInstalledFileAndIsVerbose) {
    write(m_root / "nyx.paths", "DEFINE init_c installed.nyx\n");
    write(m_paths_root / "nyx.paths", "DEFINE init_c named.nyx\n");
    SCOPED_ENV variable("DEVDATA_NYX_PATHS_ROOT", m_paths_root.path().string());
    EXPECT_TRUE(NYX_DB::init(m_root.path().string(), false));
    EXPECT_EQ(path("init_c"), (m_paths_root / "named.nyx").string());
    EXPECT_EQ(m_reports.lines(), (LINES{{INFO, "Loading nyx paths file  " + (m_paths_root / "nyx.paths").string()}}));
}

TEST_F(Init, BadVariableFailsAndTheInstalledFileIsNotTried) {
    write(m_root / "nyx.paths", "DEFINE init_d installed.nyx\n");
    SCOPED_ENV variable("DEVDATA_NYX_PATHS_ROOT", "/no/such/directory");
    EXPECT_FALSE(NYX_DB::init(m_root.path().string(), false));
    EXPECT_EQ(path("init_d"), "");
    EXPECT_EQ(m_reports.lines(), (LINES{{INFO, "Cannot open nyx paths file  /no/such/directory/nyx.paths"}}));
}

TEST_F(Init, EmptyVariableIsNone) {
    write(m_root / "nyx.paths", "DEFINE init_e installed.nyx\n");
    SCOPED_ENV variable("DEVDATA_NYX_PATHS_ROOT", "");
    EXPECT_TRUE(NYX_DB::init(m_root.path().string(), false));
    EXPECT_EQ(path("init_e"), (m_root / "installed.nyx").string());
}

TEST_F(Init, EachCallAddsPaths) {
    write(m_root / "nyx.paths", "DEFINE init_f f.nyx\n");
    NYX_DB::init(m_root.path().string(), false);
    write(m_root / "nyx.paths", "DEFINE init_g g.nyx\n");
    NYX_DB::init(m_root.path().string(), false);
    EXPECT_NE(path("init_f"), "");
    EXPECT_NE(path("init_g"), "");
}

TEST_F(Init, FaultInTheFileIsTheResult) {
    write(m_root / "nyx.paths", "DEFINE init_h\n");
    EXPECT_FALSE(NYX_DB::init(m_root.path().string(), false));
}

TEST_F(Init, WithoutAFileSaysSoWhenVerbose) {
    EXPECT_FALSE(NYX_DB::init(m_root.path().string(), false));
    EXPECT_TRUE(m_reports.lines().empty());
    EXPECT_FALSE(NYX_DB::init(m_root.path().string(), true));
    LINES expected{{WARNING, "Cannot find nyx.paths file"}};
    if (!has_paths())
        expected.push_back({WARNING, "No device DB paths were loaded! Top level DB won't find its sub-DBs. "
                                     "Open them directly first."});
    EXPECT_EQ(m_reports.lines(), expected);
}

// Ends the process: 0 if a verbose init says that there are no paths.
[[noreturn]] void init_without_paths(const std::string &root) {
    CAPTURING_SINK reports;
    NYX_DB::init(root, true);
    const TEXTS expected{"Cannot find nyx.paths file", "No device DB paths were loaded! Top level DB won't find its "
                                                       "sub-DBs. Open them directly first."};
    std::exit(reports.texts(WARNING) == expected ? 0 : 1);
}

TEST_F(Init, ProcessWithoutPathsWarnsWhenVerbose) {
    if (has_paths())
        GTEST_SKIP() << "needs a process in which no other test has run";
    EXPECT_EXIT(init_without_paths(m_root.path().string()), testing::ExitedWithCode(0), "");
}

} // namespace
