#include "database/nyx_db_paths.h"

#include "database_test_support.h"

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <sstream>

namespace {

// Lines that are made together with what they must do.
TEST(PathsReaderModel, RandomFilesGiveWhatTheirLinesSay) {
    for (unsigned seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto pick = [&](const TEXTS &from) { return from[random() % from.size()]; };
        const auto blanks = [&] { return pick({" ", "\t", "  ", " \t \v", "\f"}); };
        const auto maybe_blanks = [&] { return random() % 2 == 0 ? "" : blanks(); };
        const auto word = [&] {
            static const std::string s_letters = "abcXYZ019_.-&\"#\\/'$%()é";
            std::string result;
            for (std::size_t length = 1 + random() % 4; length != 0; --length)
                result += s_letters[random() % s_letters.size()];
            return result;
        };

        std::string text;
        std::map<std::string, std::string> expected;
        bool stopped = false;
        std::size_t num_defined = 0;
        for (std::size_t num_lines = random() % 30; num_lines != 0; --num_lines) {
            const unsigned kind = random() % 100;
            std::string line;
            if (kind < 60) {
                const std::string name = word(), path = word();
                line = maybe_blanks() + "DEFINE" + blanks() + name + blanks() + path;
                if (random() % 3 == 0)
                    line += blanks() + word() + maybe_blanks();
                if (!stopped) {
                    expected[name] = path[0] == '/' ? path : "/base/" + path;
                    ++num_defined;
                }
            } else if (kind < 97) {
                line = pick({"", " ", "\t", "# ", "define ", "DEFINEx ", "xDEFINE ", "-- DEFINE "});
                line += pick({"", "DEFINE_", "x y"});
            } else {
                line =
                    maybe_blanks() + pick({"DEFINE", "DEFINE x", "INCLUDE", "INCLUDE \"\"", "INCLUDE /no/such/file"});
                stopped = true;
            }
            text += line + pick({"\n", "\r\n"});
        }

        NYX_DB_GROUP group("model");
        NYX_DB_PATHS_READER reader(group, false);
        std::istringstream stream(text);
        EXPECT_EQ(reader.read_paths_stream(stream, "/base"), !stopped) << text;
        EXPECT_EQ(reader.num_added(), num_defined) << text;
        std::set<std::string> names;
        group.find_known_db_names(names);
        EXPECT_EQ(names.size(), expected.size()) << text;
        for (const auto &[name, path] : expected)
            EXPECT_EQ(group.lookup(name).path, path) << text;
    }
}

TEST(PathsReaderModel, AnyBytesGiveAnAnswer) {
    const TEXTS pieces{"DEFINE", "INCLUDE", " ",  "\t", "\n", "\"", "&",   "/",  "..", std::string(1, '\0'),
                       "\xff",   "x",       "\r", "y",  "\n", "%s", "%1%", "{}", "\n", std::string(5000, 'l')};
    std::mt19937 random(7);
    CAPTURING_SINK reports;
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        for (std::size_t length = random() % 40; length != 0; --length)
            text += pieces[random() % pieces.size()];
        NYX_DB_GROUP group("hostile");
        NYX_DB_PATHS_READER reader(group, round % 2 == 0);
        std::istringstream stream(text);
        EXPECT_NO_THROW(reader.read_paths_stream(stream, "/no/such/base"));
        std::set<std::string> names;
        group.find_known_db_names(names);
        EXPECT_LE(names.size(), static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1);
        for (const std::string &name : names) {
            EXPECT_EQ(name.find_first_of(" \t\n\v\f\r"), std::string::npos);
            EXPECT_EQ(group.lookup(name).path.find_first_of(" \t\n\v\f\r"), std::string::npos);
        }
    }
}

} // namespace
