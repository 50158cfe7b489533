#include "nyx_report/nyx_report.h"

#include <boost/format.hpp>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

using NYX_REPORT::NYX_REPORT_MESSAGE_CODE;
using NYX_REPORT::NYX_REPORT_MESSAGE_CODE_DB;

namespace {

const std::vector<NYX_REPORT_MESSAGE_CODE> &table() {
    static const std::vector<NYX_REPORT_MESSAGE_CODE> s_table = {
#define NYX_REPORT_MESSAGE(code, text) {code, text},
#include "nyx_report/nyx_report_messages.def"
    };
    return s_table;
}

} // namespace

TEST(MessageTable, HasEachCodeOnce) {
    std::set<std::string> codes;
    for (const NYX_REPORT_MESSAGE_CODE &message : table()) {
        EXPECT_TRUE(codes.insert(message.code()).second) << message.code();
    }
}

TEST(MessageTable, HasWellFormedTexts) {
    for (const NYX_REPORT_MESSAGE_CODE &message : table()) {
        EXPECT_NO_THROW({ EXPECT_GE(message.to_boost().expected_args(), 1) << message.code(); }) << message.code();
    }
}

TEST(MessageTable, HasTheCodesOfTheLibraryWithTheirArguments) {
    NYX_REPORT::load_message_codes();
    for (const char *code : {"CANNOT-DELETE-DB", "DB-NOT-WRITABLE", "DB-NO-SUCH-FILE"}) {
        ASSERT_TRUE(NYX_REPORT::get_msg_db()->contains(code)) << code;
        const std::string text = (NYX_REPORT::get_msg_db()->get(code).to_boost() % "/d/top.nyx").str();
        EXPECT_NE(text.find("\"/d/top.nyx\""), std::string::npos) << text;
    }
    EXPECT_EQ(
        (NYX_REPORT::get_msg_db()->get("DB-INCOMPATIBLE-IDS").to_boost() % "top.nyx" % 17ULL % 18ULL).str(),
        "The database file \"top.nyx\" has schema id 17, but this library reads schema id 18. A file can be opened "
        "only by a library with the same table layout as the one that wrote it.");
}

TEST(MessageCodeDb, IsEmptyUntilItIsLoaded) {
    NYX_REPORT_MESSAGE_CODE_DB db;
    EXPECT_EQ(db.size(), 0U);
    EXPECT_FALSE(db.contains("DB-NOT-WRITABLE"));
    db.load();
    EXPECT_EQ(db.size(), table().size());
    EXPECT_TRUE(db.contains("DB-NOT-WRITABLE"));
}

TEST(MessageCodeDb, IsTheSameAfterASecondLoad) {
    NYX_REPORT_MESSAGE_CODE_DB db;
    db.load();
    const NYX_REPORT_MESSAGE_CODE *const before = &db.get("DB-NOT-WRITABLE");
    db.load();
    EXPECT_EQ(&db.get("DB-NOT-WRITABLE"), before);
    EXPECT_EQ(db.size(), table().size());
}

TEST(MessageCodeDb, GivesAnUnknownCodeATextWithTheCodeAndTheArgument) {
    NYX_REPORT_MESSAGE_CODE_DB db;
    db.load();
    EXPECT_EQ((db.get("NO-SUCH-CODE").to_boost() % "top.nyx").str(), "Unknown message code \"NO-SUCH-CODE\": top.nyx");
    EXPECT_FALSE(db.contains("NO-SUCH-CODE"));
    EXPECT_EQ(&db.get("NO-SUCH-CODE"), &db.get("NO-SUCH-CODE"));
}

TEST(MessageCodeDb, GivesAnUnknownCodeThatLooksLikeAFormatAWellFormedText) {
    NYX_REPORT_MESSAGE_CODE_DB db;
    EXPECT_EQ((db.get("100%1% %").to_boost() % "x").str(), "Unknown message code \"100%1% %\": x");
}

TEST(MessageCodeDb, FindsACodeThatWasAskedForBeforeTheLoad) {
    NYX_REPORT_MESSAGE_CODE_DB db;
    const std::string before = db.get("DB-NOT-WRITABLE").text();
    db.load();
    EXPECT_NE(db.get("DB-NOT-WRITABLE").text(), before);
}

TEST(MessageCode, FormatDoesNotThrowForAWrongNumberOfArguments) {
    const NYX_REPORT_MESSAGE_CODE message("SOME-CODE", "%1% and %2%");
    EXPECT_EQ(message.to_boost().str(), " and ");
    EXPECT_EQ((message.to_boost() % 1 % 2 % 3).str(), "1 and 2");
}

TEST(FormatMessageCode, FeedsTheArgumentsInOrder) {
    EXPECT_EQ(nyx_format_message_code("DB-NOT-WRITABLE", {"a b"}), "The database file \"a b\" is not writable.");
    EXPECT_EQ(
        nyx_format_message_code("DB-INCOMPATIBLE-IDS", {"p", std::to_string(1), std::to_string(2)}),
        "The database file \"p\" has schema id 1, but this library reads schema id 2. A file can be opened only by "
        "a library with the same table layout as the one that wrote it.");
}

TEST(FormatMessageCode, KeepsAnArgumentThatLooksLikeAFormat) {
    EXPECT_EQ(nyx_format_message_code("DB-NO-SUCH-FILE", {"%1% %2% %s"}), "There is no database file \"%1% %2% %s\".");
}

TEST(FormatMessageCode, MarksAMissingArgument) {
    EXPECT_EQ(nyx_format_message_code("DB-NOT-WRITABLE", {}),
              "The database file \"<no arg provided>\" is not writable.");
}

TEST(FormatMessageCode, AppendsArgumentsThatTheTextDoesNotShow) {
    EXPECT_EQ(nyx_format_message_code("DB-NOT-WRITABLE", {"a", "b", "c"}),
              "The database file \"a\" is not writable. (b, c)");
}

TEST(FormatMessageCode, ShowsAllArgumentsOfAnUnknownCode) {
    EXPECT_EQ(nyx_format_message_code("NO-SUCH-CODE", {"a", "b"}), "Unknown message code \"NO-SUCH-CODE\": a (b)");
}
