#include "nyx_report/nyx_report_exception.h"
#include "support/scoped_env.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

const std::error_code s_no_error;

std::error_code no_such_file() {
    return std::make_error_code(std::errc::no_such_file_or_directory);
}

/// What is caught as CAUGHT when `raise` throws.
template <class CAUGHT, class F>
std::string text_caught_as(F raise) {
    try {
        raise();
    } catch (const CAUGHT &caught) {
        return caught.what();
    }
    return "nothing was thrown";
}

void raise_invalid_argument() {
    nyx_raise_invalid_argument("bad", "NYX_DB::open", "db.cpp", 12);
}
void raise_runtime_error() {
    nyx_raise_runtime_error("worse", "NYX_DB::close", "db.cpp", 34);
}

template <class T>
T make();
template <>
NYX_INVALID_ARGUMENT make() {
    return NYX_INVALID_ARGUMENT("text");
}
template <>
NYX_RUNTIME_ERROR make() {
    return NYX_RUNTIME_ERROR("text");
}
template <>
NYX_FILE_IO_EXCEPTION make() {
    return {"p", no_such_file(), NYX_FILE_IO_EXCEPTION::READ};
}
template <>
NYX_DATABASE_CORRUPTED_EXCEPTION make() {
    return NYX_DATABASE_CORRUPTED_EXCEPTION("p");
}
template <>
NYX_DATABASE_OLD_VERSION_EXCEPTION make() {
    return {"p", 3, 2};
}

template <class T>
class ExceptionFamily : public testing::Test {};

using FAMILY = testing::Types<NYX_INVALID_ARGUMENT, NYX_RUNTIME_ERROR, NYX_FILE_IO_EXCEPTION,
                              NYX_DATABASE_CORRUPTED_EXCEPTION, NYX_DATABASE_OLD_VERSION_EXCEPTION>;

} // namespace

TYPED_TEST_SUITE(ExceptionFamily, FAMILY);

TYPED_TEST(ExceptionFamily, IsCaughtAsEachOfItsBasesWithItsText) {
    const std::string text = make<TypeParam>().what();
    const auto raise = [] { throw make<TypeParam>(); };
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(text_caught_as<TypeParam>(raise), text);
    EXPECT_EQ(text_caught_as<NYX_BASIC_EXCEPTION>(raise), text);
    EXPECT_EQ(text_caught_as<NYX_EXCEPTION>(raise), text);
    EXPECT_EQ(text_caught_as<std::exception>(raise), text);
}

TYPED_TEST(ExceptionFamily, HasNoOtherConcreteClassAsBase) {
    EXPECT_FALSE(
        (std::is_base_of_v<NYX_INVALID_ARGUMENT, TypeParam> && !std::is_same_v<NYX_INVALID_ARGUMENT, TypeParam>));
    EXPECT_FALSE((std::is_base_of_v<NYX_RUNTIME_ERROR, TypeParam> && !std::is_same_v<NYX_RUNTIME_ERROR, TypeParam>));
}

TEST(FileIoException, NamesWhatFailedByTheOperation) {
    const std::string tail = " \"a b/c\" : " + no_such_file().message();
    EXPECT_EQ(std::string(NYX_FILE_IO_EXCEPTION("a b/c", no_such_file(), 0).what()), "Failed to read from" + tail);
    EXPECT_EQ(std::string(NYX_FILE_IO_EXCEPTION("a b/c", no_such_file(), 1).what()), "Failed to write to" + tail);
    EXPECT_EQ(std::string(NYX_FILE_IO_EXCEPTION("a b/c", no_such_file(), 2).what()), "Failed to rename" + tail);
}

TEST(FileIoException, KeepsPathCodeAndOperation) {
    const NYX_FILE_IO_EXCEPTION exception("p", std::make_error_code(std::io_errc::stream), 1);
    EXPECT_EQ(exception.path(), "p");
    EXPECT_EQ(exception.code(), std::io_errc::stream);
    EXPECT_EQ(exception.operation(), NYX_FILE_IO_EXCEPTION::WRITE);
}

TEST(FileIoException, WithoutAnErrorCodeEndsTheRun) {
    EXPECT_DEATH(NYX_FILE_IO_EXCEPTION("p", s_no_error, 0), "check failed: error_code \\[");
}

TEST(FileIoException, OfAnUnknownOperationEndsTheRun) {
    EXPECT_DEATH(NYX_FILE_IO_EXCEPTION("p", no_such_file(), 3),
                 "check failed: operation <= RENAME: 3 is no file operation \\[");
}

TEST(DatabaseCorruptedException, NamesThePath) {
    const NYX_DATABASE_CORRUPTED_EXCEPTION exception("d/top.nyx");
    EXPECT_STREQ(exception.what(), "NYX database \"d/top.nyx\" is corrupted");
    EXPECT_EQ(exception.path(), "d/top.nyx");
}

TEST(DatabaseOldVersionException, NamesPathAndFoundVersionBeforeTheExpected) {
    const NYX_DATABASE_OLD_VERSION_EXCEPTION exception("d/top.nyx", 3, 2);
    EXPECT_STREQ(exception.what(),
                 "NYX database \"d/top.nyx\" created using NYX_MANAGED_SERIALISED_FILE version 2 is not "
                 "compatible with current version 3");
    EXPECT_EQ(exception.path(), "d/top.nyx");
    EXPECT_EQ(exception.expected_version(), 3U);
    EXPECT_EQ(exception.found_version(), 2U);
}

class Raise : public testing::Test {
protected:
    SCOPED_ENV m_assert_access{"NYX_ASSERT_ACCESS", std::nullopt};
};

TEST_F(Raise, ThrowsTheNamedExceptionWithThePlaceBehindTheText) {
    EXPECT_EQ(text_caught_as<NYX_INVALID_ARGUMENT>(raise_invalid_argument),
              "bad from function NYX_DB::open in db.cpp@12");
    EXPECT_EQ(text_caught_as<NYX_RUNTIME_ERROR>(raise_runtime_error), "worse from function NYX_DB::close in db.cpp@34");
}

TEST_F(Raise, ThroughTheMacrosTakesThePlaceOfTheCall) {
    const std::string tail = " in tests/report/nyx_report_exception_test.cpp@";
    const int line = __LINE__ + 1;
    EXPECT_EQ(text_caught_as<NYX_INVALID_ARGUMENT>([] { NYX_RAISE_INVALID_ARGUMENT("F::f", "text"); }),
              "text from function F::f" + tail + std::to_string(line));
    EXPECT_EQ(text_caught_as<NYX_RUNTIME_ERROR>([] { NYX_RAISE_RUNTIME_ERROR("F::g", std::string("text")); }),
              "text from function F::g" + tail + std::to_string(line + 2));
}

TEST_F(Raise, EndsTheRunWithAssertAccess) {
    const SCOPED_ENV assert_access("NYX_ASSERT_ACCESS", "1");
    EXPECT_DEATH(raise_invalid_argument(),
                 "check failed: 0: bad from function NYX_DB::open in db\\.cpp@12 \\[db\\.cpp@12\\]");
    EXPECT_DEATH(raise_runtime_error(),
                 "check failed: 0: worse from function NYX_DB::close in db\\.cpp@34 \\[db\\.cpp@34\\]");
}

TEST_F(Raise, WithAssertAccessPutsATextThatLooksLikeAFormatOutAsItIs) {
    const SCOPED_ENV assert_access("NYX_ASSERT_ACCESS", "1");
    EXPECT_DEATH(nyx_raise_runtime_error("net %s%n", "f", "db.cpp", 1), "check failed: 0: net %s%n from function f in");
}

TEST_F(Raise, ThrowsWithAnEmptyAssertAccess) {
    const SCOPED_ENV assert_access("NYX_ASSERT_ACCESS", "");
    EXPECT_THROW(raise_invalid_argument(), NYX_INVALID_ARGUMENT);
    EXPECT_THROW(raise_runtime_error(), NYX_RUNTIME_ERROR);
}

TEST_F(Raise, ReadsAssertAccessEveryTime) {
    EXPECT_THROW(raise_runtime_error(), NYX_RUNTIME_ERROR);
    {
        const SCOPED_ENV assert_access("NYX_ASSERT_ACCESS", "1");
        EXPECT_DEATH(raise_runtime_error(), "check failed: 0: worse");
    }
    EXPECT_THROW(raise_runtime_error(), NYX_RUNTIME_ERROR);
}
