#include "memory/nyx_segment.h"
#include "memory/segment_image.h"
#include "names/nyx_name_mgr.h"
#include "names/nyx_name_mgr_impl.h"
#include "nyx_report/nyx_report_exception.h"
#include "support/capturing_sink.h"
#include "support/recording_listener.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

#include <boost/interprocess/exceptions.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using NOTICE = RECORDING_LISTENER::NOTICE;

constexpr unsigned bus_bit(unsigned name_index, unsigned bit) {
    return 0x80000000u | (bit << 23) | name_index;
}

/// A manager in a segment that goes with it.
class NAMES {
public:
    explicit NAMES(std::size_t size = std::size_t(1) << 20)
        : m_segment(size)
        , m_names(m_segment.get_segment_manager()) {}
    NYX_NAME_MANAGER *operator->() { return &m_names; }
    NYX_NAME_MANAGER &names() { return m_names; }
    NYX_SEGMENT &segment() { return m_segment; }
    NYX_NAME_MANAGER_IMPL &impl() { return m_names.get_impl(); }

    std::string name_of(NYX_NAME_ID id) const {
        std::string result = "before";
        EXPECT_TRUE(m_names.find_name(id, result));
        return result;
    }

private:
    NYX_SEGMENT m_segment;
    NYX_NAME_MANAGER m_names;
};

// ---- The shape of a bus bit

struct SPLIT {
    bool is_bus_bit = false;
    std::string base;
    unsigned bit = 0;
    bool operator==(const SPLIT &) const = default;
};
std::ostream &operator<<(std::ostream &out, const SPLIT &split) {
    return out << split.is_bus_bit << " \"" << split.base << "\" " << split.bit;
}

SPLIT split(std::string_view name) {
    std::string_view base;
    SPLIT result;
    result.is_bus_bit = nyx_split_bus_bit(name, base, result.bit);
    result.base = base;
    return result;
}

/// The rule from the other end: a name has the shape if it is, for some bit, a base with one of the bit's spellings
/// behind it, and is long enough.
SPLIT split_by_spelling(const std::string &name) {
    for (unsigned bit = 0; bit < 256 && name.size() >= 4; ++bit) {
        const std::string end = std::to_string(bit) + "]";
        if (!name.ends_with(end) || name.size() == end.size())
            continue;
        const std::size_t before_zeros = name.find_last_not_of('0', name.size() - end.size() - 1);
        if (before_zeros != std::string::npos && name[before_zeros] == '[')
            return {true, name.substr(0, before_zeros), bit};
    }
    return {};
}

TEST(SplitBusBit, ShapesOfBusBits) {
    EXPECT_EQ(split("a[3]"), (SPLIT{true, "a", 3}));
    EXPECT_EQ(split("a[0]"), (SPLIT{true, "a", 0}));
    EXPECT_EQ(split("a[255]"), (SPLIT{true, "a", 255}));
    EXPECT_EQ(split("a[003]"), (SPLIT{true, "a", 3}));
    EXPECT_EQ(split("a[00000000000000000000255]"), (SPLIT{true, "a", 255}));
    EXPECT_EQ(split("[12]"), (SPLIT{true, "", 12}));
    EXPECT_EQ(split("a[3][4]"), (SPLIT{true, "a[3]", 4}));
    EXPECT_EQ(split("a[[4]"), (SPLIT{true, "a[", 4}));
    EXPECT_EQ(split("a][4]"), (SPLIT{true, "a]", 4}));
    EXPECT_EQ(split("top/u1/data[17]"), (SPLIT{true, "top/u1/data", 17}));
}

TEST(SplitBusBit, ShapesOfPlainNames) {
    for (const char *const name : {"",
                                   "a",
                                   "]",
                                   "[]",
                                   "[1]",
                                   "a[]",
                                   "a[b]",
                                   "a[256]",
                                   "a[-1]",
                                   "a[+1]",
                                   "a[ 1]",
                                   "a[1 ]",
                                   "a[1",
                                   "a1]",
                                   "1234]",
                                   "a[1]b",
                                   "a[1] ",
                                   "a[1]]",
                                   "a[0x1]",
                                   "a[1.0]",
                                   "ab",
                                   "abcd",
                                   "a(3)",
                                   "a[1000]",
                                   "a[999]",
                                   "a[4294967296]",
                                   "a[4294967299]",
                                   "a[18446744073709551616]",
                                   "a[99999999999999999999]",
                                   "[256]",
                                   "a[00256]"})
        EXPECT_EQ(split(name), SPLIT()) << name;
}

TEST(SplitBusBit, LeavesItsResultsAloneForAPlainName) {
    std::string_view base = "untouched";
    unsigned bit = 77;
    EXPECT_FALSE(nyx_split_bus_bit("a[256]", base, bit));
    EXPECT_EQ(base, "untouched");
    EXPECT_EQ(bit, 77u);
}

TEST(SplitBusBit, EveryValueOfUpToFourDigits) {
    for (unsigned value = 0; value < 10000; ++value) {
        const std::string digits = std::to_string(value);
        for (std::size_t width = digits.size(); width <= 5; ++width) {
            const std::string name = "b[" + std::string(width - digits.size(), '0') + digits + "]";
            ASSERT_EQ(split(name), (value < 256 ? SPLIT{true, "b", value} : SPLIT())) << name;
        }
    }
}

TEST(SplitBusBit, AgreesWithTheSpellingsOfAllBitsOnRandomTexts) {
    std::mt19937 random(4711);
    const char alphabet[] = {'a', '[', ']', '[', ']', '0', '1', '2', '5', '9', '-', '\xe9'};
    unsigned bus_bits = 0;
    for (unsigned step = model_steps(40000); step > 0; --step) {
        std::string name;
        for (std::size_t length = random() % 9; length > 0; --length)
            name += alphabet[random() % std::size(alphabet)];
        // Half of them come near the shape.
        if (random() % 2 == 0)
            name.append("[").append(std::to_string(random() % 400)).append(random() % 8 == 0 ? "" : "]");
        const SPLIT expected = split_by_spelling(name);
        bus_bits += expected.is_bus_bit;
        ASSERT_EQ(split(name), expected) << name;
    }
    EXPECT_GT(bus_bits, 0u);
}

// ---- Identifiers

TEST(NameManager, PlainNamesAreNumberedDensely) {
    NAMES names;
    for (unsigned i = 0; i < 1000; ++i)
        ASSERT_EQ(names->get_id(("n" + std::to_string(i)).c_str()).get(), i);
    for (unsigned i = 0; i < 1000; ++i) {
        const std::string name = "n" + std::to_string(i);
        ASSERT_EQ(names->get_id(name.c_str()).get(), i);
        ASSERT_EQ(names->find_id(name.c_str()).get(), i);
        ASSERT_EQ(names.name_of(NYX_NAME_ID(i)), name);
    }
    EXPECT_EQ(names->get_size(), 1000u);
}

TEST(NameManager, BusBitsCombineTheBaseWithTheBit) {
    NAMES names;
    EXPECT_EQ(names->get_id("a[3]").get(), bus_bit(0, 3));
    EXPECT_EQ(names->get_id("b[0]").get(), bus_bit(1, 0));
    EXPECT_EQ(names->get_id("b[255]").get(), bus_bit(1, 255));
    EXPECT_EQ(names->get_id("a[4]").get(), bus_bit(0, 4));
    EXPECT_EQ(names.name_of(NYX_NAME_ID(bus_bit(0, 3))), "a[3]");
    EXPECT_EQ(names.name_of(NYX_NAME_ID(bus_bit(1, 255))), "b[255]");
    EXPECT_EQ(names->get_size(), 2u);
}

TEST(NameManager, NumbersOfAPlainNameAndABusOfTheSameTextAreUnrelated) {
    NAMES names;
    EXPECT_EQ(names->get_id("a").get(), 0u);
    EXPECT_EQ(names->find_id("a[1]"), NYX_NAME_ID::INVALID);
    EXPECT_EQ(names->get_id("x[1]").get(), bus_bit(0, 1));
    EXPECT_EQ(names->get_id("a[1]").get(), bus_bit(1, 1));
    EXPECT_EQ(names->find_id("x"), NYX_NAME_ID::INVALID);
    EXPECT_EQ(names->get_size(), 3u);
}

TEST(NameManager, EveryBitOfABusIsFoundOnceAnyIsThere) {
    NAMES names;
    EXPECT_EQ(names->find_id("a[4]"), NYX_NAME_ID::INVALID);
    names->get_id("a[3]");
    EXPECT_EQ(names->find_id("a[3]").get(), bus_bit(0, 3));
    EXPECT_EQ(names->find_id("a[4]").get(), bus_bit(0, 4));
    EXPECT_EQ(names->find_id("a[255]").get(), bus_bit(0, 255));
    EXPECT_EQ(names->find_id("a[256]"), NYX_NAME_ID::INVALID);
    EXPECT_EQ(names.name_of(names->find_id("a[4]")), "a[4]");
    EXPECT_EQ(names->get_size(), 1u);
}

TEST(NameManager, LeadingZerosOfABitAreNotKept) {
    NAMES names;
    EXPECT_EQ(names->get_id("a[003]"), names->get_id("a[3]"));
    EXPECT_EQ(names.name_of(names->find_id("a[003]")), "a[3]");
}

TEST(NameManager, WhatIsNoBusBitIsInternedWhole) {
    NAMES names;
    unsigned expected = 0;
    for (const char *const name : {"a[256]", "ab", "[1]", "a[-1]", "a[]", "a[b]", "a[4294967296]",
                                   "a[99999999999999999999]", "*", "a*", "[]", "]"}) {
        const NYX_NAME_ID id = names->get_id(name);
        EXPECT_EQ(id.get(), expected++) << name;
        EXPECT_EQ(names->find_id(name), id);
        EXPECT_EQ(names.name_of(id), name);
    }
    EXPECT_EQ(names.impl().bus_id_reverse_lookup.size(), 0u);
}

TEST(NameManager, ABusMayHaveAnEmptyBase) {
    NAMES names;
    EXPECT_EQ(names->get_id("[12]").get(), bus_bit(0, 12));
    EXPECT_EQ(names.name_of(NYX_NAME_ID(bus_bit(0, 12))), "[12]");
    EXPECT_EQ(names->find_id(""), NYX_NAME_ID::INVALID);
}

TEST(NameManager, TheEmptyNameIsAName) {
    NAMES names;
    EXPECT_EQ(names->find_id(""), NYX_NAME_ID::INVALID);
    const NYX_NAME_ID id = names->get_id("");
    EXPECT_EQ(id.get(), 0u);
    EXPECT_EQ(names.name_of(id), "");
    EXPECT_EQ(names->get_id(""), id);
}

TEST(NameManager, NamesAreComparedByteByByte) {
    NAMES names;
    const char *const different[] = {"abc", "Abc", "abC", "ab", "abcd", "\xe4", "\xc4", "\x01", "a b", " ab"};
    for (const char *const name : different)
        names->get_id(name);
    EXPECT_EQ(names->get_size(), std::size(different));
    EXPECT_EQ(names.name_of(names->find_id("\xe4")), "\xe4");
    EXPECT_EQ(names->find_id("A b"), NYX_NAME_ID::INVALID);
}

TEST(NameManager, NamesThatDifferInOneByteOrInLengthAreToldApart) {
    NAMES names;
    std::vector<std::string> different;
    for (std::size_t length = 0; length <= 40; ++length) {
        const std::string name(length, 'x');
        different.push_back(name);
        for (std::size_t at = 0; at < length; ++at) {
            different.push_back(name);
            different.back()[at] = '\x01';
        }
    }
    for (unsigned i = 0; i < different.size(); ++i)
        ASSERT_EQ(names->get_id(different[i].c_str()).get(), i) << different[i];
    for (unsigned i = 0; i < different.size(); ++i) {
        ASSERT_EQ(names->find_id(different[i].c_str()).get(), i) << different[i];
        ASSERT_EQ(names.name_of(NYX_NAME_ID(i)), different[i]);
    }
}

// Both texts hash to the same, so that only the comparison tells them apart.
TEST(NameManager, NamesOfOneHashAreToldApart) {
    std::map<std::uint64_t, std::string> seen;
    std::string first, second;
    for (unsigned text = 0; first.empty() && text < (1u << 24); ++text) {
        const char bytes[] = {static_cast<char>(text % 255 + 1), static_cast<char>(text / 255 % 255 + 1),
                              static_cast<char>(text / 65025 % 255 + 1), '\0'};
        const auto [at, added] = seen.emplace(NYX_NAME_HASH()(std::string_view(bytes)), bytes);
        if (!added && at->second != bytes) {
            first = at->second;
            second = bytes;
        }
    }
    ASSERT_FALSE(first.empty());
    NAMES names;
    const NYX_NAME_ID id = names->get_id(first.c_str());
    EXPECT_EQ(names->find_id(second.c_str()), NYX_NAME_ID::INVALID);
    EXPECT_NE(names->get_id(second.c_str()), id);
    EXPECT_EQ(names->get_id(first.c_str()), id);
    EXPECT_EQ(names.name_of(names->find_id(second.c_str())), second);
}

TEST(NameManager, LookingUpInternsNothing) {
    NAMES names;
    const std::size_t allocated = names.segment().algorithm().get_allocated();
    EXPECT_EQ(names->find_id("a"), NYX_NAME_ID::INVALID);
    EXPECT_EQ(names->find_id("a[1]"), NYX_NAME_ID::INVALID);
    EXPECT_EQ(names->get_size(), 0u);
    EXPECT_EQ(names.segment().algorithm().get_allocated(), allocated);
    names->get_id("a");
    names->get_id("a[1]");
    EXPECT_EQ(names->find_id("b"), NYX_NAME_ID::INVALID);
    EXPECT_EQ(names->find_id("b[1]"), NYX_NAME_ID::INVALID);
    EXPECT_EQ(names->get_size(), 2u);
}

TEST(NameManager, ANameMayBeAPartOfOneThatIsThere) {
    NAMES names;
    names->get_id("base[7]");
    // The text lies in the segment that is about to change.
    const char *const base = names.impl().bus_id_reverse_lookup[0].get();
    for (int i = 0; i < 100; ++i)
        names->get_id(("x" + std::to_string(i)).c_str());
    const NYX_NAME_ID id = names->get_id(base);
    EXPECT_EQ(names.name_of(id), "base");
    EXPECT_NE(names.impl().id_reverse_lookup[id.get()].get(), base);
}

TEST(NameManager, VeryLongNamesAreKept) {
    NAMES names;
    const std::string longest(100000, 'x');
    const NYX_NAME_ID id = names->get_id(longest.c_str());
    const NYX_NAME_ID bit = names->get_id((longest + "[9]").c_str());
    EXPECT_EQ(names.name_of(id), longest);
    EXPECT_EQ(names.name_of(bit), longest + "[9]");
}

TEST(NameManager, FindNameBeyondTheTableLeavesTheTextAlone) {
    NAMES names;
    names->get_id("a");
    names->get_id("b[1]");
    std::string name = "before";
    for (const unsigned id : {1u, 0x7FFFFFu, 0x7FFFFFFFu, bus_bit(1, 0), bus_bit(0x7FFFFE, 255)}) {
        EXPECT_FALSE(names->find_name(NYX_NAME_ID(id), name)) << std::hex << id;
        EXPECT_EQ(name, "before");
    }
}

TEST(NameManager, FindNameOfInvalidClearsTheText) {
    NAMES names;
    std::string name = "before";
    EXPECT_FALSE(names->find_name(NYX_NAME_ID::INVALID, name));
    EXPECT_EQ(name, "");
}

// ---- Counters

TEST(NameManager, ACounterStartsAtZeroAndIsNotMadeByAsking) {
    NAMES names;
    const NYX_NAME_ID id = names->get_id("a");
    EXPECT_EQ(names->get_id_count(id).get(), 0u);
    EXPECT_TRUE(names.impl().id_count.empty());
    EXPECT_EQ(names->increase_id_count(id).get(), 0u);
    EXPECT_EQ(names->increase_id_count(id).get(), 1u);
    EXPECT_EQ(names->get_id_count(id).get(), 2u);
    EXPECT_EQ(names.impl().id_count.size(), 1u);
    EXPECT_TRUE(names.impl().bus_id_count.empty());
}

TEST(NameManager, EachBitHasACounterOfItsOwn) {
    NAMES names;
    const NYX_NAME_ID third = names->get_id("a[3]");
    const NYX_NAME_ID fourth = names->get_id("a[4]");
    const NYX_NAME_ID plain = names->get_id("a");
    EXPECT_EQ(names->increase_id_count(third).get(), 0u);
    EXPECT_EQ(names->increase_id_count(third).get(), 1u);
    EXPECT_EQ(names->increase_id_count(fourth).get(), 0u);
    EXPECT_EQ(names->get_id_count(third).get(), 2u);
    EXPECT_EQ(names->get_id_count(fourth).get(), 1u);
    EXPECT_EQ(names->get_id_count(plain).get(), 0u);
    EXPECT_EQ(names.impl().bus_id_count.size(), 2u);
    EXPECT_TRUE(names.impl().id_count.empty());
}

TEST(NameManager, ACounterMayBelongToANameThatIsNotThere) {
    NAMES names;
    EXPECT_EQ(names->get_id_count(NYX_NAME_ID(12345)).get(), 0u);
    EXPECT_EQ(names->increase_id_count(NYX_NAME_ID(12345)).get(), 0u);
    EXPECT_EQ(names->get_id_count(NYX_NAME_ID(12345)).get(), 1u);
}

TEST(NameManager, ACounterAtItsEndStaysThere) {
    const SCOPED_ENV thrown("NYX_ASSERT_ACCESS", std::nullopt);
    NAMES names;
    for (const char *const name : {"data", "data[7]"}) {
        const NYX_NAME_ID id = names->get_id(name);
        names->increase_id_count(id);
        auto &counts = id.fields.bus.is_bus ? names.impl().bus_id_count : names.impl().id_count;
        counts[id] = NYX_NAME_COUNT(0xFFFFFFFEu);
        EXPECT_EQ(names->increase_id_count(id).get(), 0xFFFFFFFEu);
        for (int i = 0; i < 2; ++i) {
            try {
                names->increase_id_count(id);
                ADD_FAILURE() << "passed the end";
            } catch (const NYX_RUNTIME_ERROR &error) {
                const std::string expected =
                    std::string("Name index overflow for name: ") + name +
                    "\n from function NYX_NAME_MANAGER::increase_id_count in tools/cpp/nyx/names/nyx_name_mgr.cpp@";
                const std::string what = error.what();
                EXPECT_EQ(what.substr(0, expected.size()), expected);
                EXPECT_EQ(what.find_first_not_of("0123456789", expected.size()), std::string::npos);
                EXPECT_GT(what.size(), expected.size());
            }
            EXPECT_EQ(names->get_id_count(id), NYX_NAME_COUNT::INVALID);
        }
    }
}

// ---- What is stored

template <class MEMBER>
std::ptrdiff_t place(const NYX_NAME_MANAGER_IMPL &impl, const MEMBER &member) {
    return reinterpret_cast<const char *>(&member) - reinterpret_cast<const char *>(&impl);
}

TEST(NameManagerImage, MembersStandWhereTheFormatHasThem) {
    NAMES names;
    const NYX_NAME_MANAGER_IMPL &impl = names.impl();
    EXPECT_EQ(place(impl, impl.id_reverse_lookup), 0);
    EXPECT_EQ(place(impl, impl.id_namespace), 32);
    EXPECT_EQ(place(impl, impl.id_count), 96);
    EXPECT_EQ(place(impl, impl.bus_id_reverse_lookup), 160);
    EXPECT_EQ(place(impl, impl.bus_id_namespace), 192);
    EXPECT_EQ(place(impl, impl.bus_id_count), 256);
    EXPECT_EQ(place(impl, impl.segment), 320);
    EXPECT_EQ(sizeof(impl), 328u);
    const char *const segment = reinterpret_cast<const char *>(&impl.segment);
    EXPECT_EQ(segment + stored<std::int64_t>(segment, 0), names.segment().data());
}

TEST(NameManagerImage, TheHandleIsOneOffsetPointer) {
    NAMES names;
    EXPECT_EQ(sizeof(NYX_NAME_MANAGER), 8u);
    const char *const handle = reinterpret_cast<const char *>(&names.names());
    EXPECT_EQ(handle + stored<std::int64_t>(handle, 0), reinterpret_cast<const char *>(&names.impl()));
    EXPECT_EQ(names.impl().segment.get(), names.segment().get_segment_manager());
}

TEST(NameManagerImage, OneStringServesBothTables) {
    NAMES names;
    names->get_id("data");
    names->get_id("data[1]");
    const NYX_NAME_MANAGER_IMPL &impl = names.impl();
    ASSERT_EQ(impl.id_namespace.size(), 1u);
    EXPECT_EQ(impl.id_namespace.begin()->first.get(), impl.id_reverse_lookup[0].get());
    EXPECT_EQ(impl.id_namespace.begin()->second.get(), 0u);
    EXPECT_STREQ(impl.id_reverse_lookup[0].get(), "data");
    // A base's identifier is its bare index.
    EXPECT_EQ(impl.bus_id_namespace.begin()->first.get(), impl.bus_id_reverse_lookup[0].get());
    EXPECT_EQ(impl.bus_id_namespace.begin()->second.get(), 0u);
    EXPECT_STREQ(impl.bus_id_reverse_lookup[0].get(), "data");
    EXPECT_NE(impl.id_reverse_lookup[0].get(), impl.bus_id_reverse_lookup[0].get());
}

TEST(NameManagerImage, AStringIsABlockOfItsLengthAndTheNul) {
    NAMES names;
    for (const std::string &name : {std::string(), std::string("a"), std::string(40, 'x'), std::string(41, 'x')}) {
        RECORDING_LISTENER notices;
        const NYX_NAME_ID id = names->get_id(name.c_str());
        const char *const string = names.impl().id_reverse_lookup[id.get()].get();
        ASSERT_FALSE(notices.notices().empty());
        EXPECT_EQ(notices.notices()[0], (NOTICE{NOTICE::ALLOCATED, string, name.size() + 1,
                                                names.segment().get_segment_manager()->size(string)}));
    }
}

TEST(NameManagerImage, AllBitsOfABusCostOneString) {
    NAMES names;
    names->get_id("data[0]");
    const std::size_t allocated = names.segment().algorithm().get_allocated();
    RECORDING_LISTENER notices;
    for (unsigned bit = 0; bit < 256; ++bit)
        EXPECT_EQ(names->get_id(("data[" + std::to_string(bit) + "]").c_str()).get(), bus_bit(0, bit));
    EXPECT_TRUE(notices.notices().empty());
    EXPECT_EQ(names.segment().algorithm().get_allocated(), allocated);
    EXPECT_EQ(names->get_size(), 1u);
}

TEST(NameManagerImage, NoticesOfAllOperationsBalance) {
    NAMES names;
    BLOCK_LEDGER ledger(names.segment());
    for (int i = 0; i < 3000; ++i) {
        const NYX_NAME_ID id = names->get_id(("name" + std::to_string(i) + (i % 3 ? "" : "[7]")).c_str());
        if (i % 5 == 0)
            names->increase_id_count(id);
        if (i % 500 == 0)
            ledger.expect_balanced();
    }
    names->shrink_to_fit();
    ledger.expect_balanced();
    names->clear();
    ledger.expect_balanced();
    names->get_id("a");
    ledger.expect_balanced();
}

std::uint64_t mix(std::uint64_t h) {
    h = (h << 21) + ~h;
    h = (h ^ (h >> 24)) * 265;
    h = (h ^ (h >> 14)) * 21;
    return (h ^ (h >> 28)) * 0x80000001;
}

std::uint64_t hash_by_the_rule(const std::string &text) {
    std::uint64_t h = 0;
    for (const char c : text)
        h = h ^ (h * 32 + (h >> 2) + static_cast<std::uint64_t>(std::int64_t(static_cast<signed char>(c))));
    return h;
}

TEST(NameManagerImage, HashOfANameIsThatOfTheFormat) {
    EXPECT_EQ(NYX_NAME_HASH()(std::string_view("")), 0u);
    EXPECT_EQ(mix(NYX_NAME_HASH()(std::string_view("data"))), 0x932778c2a53dc5fbu);
    EXPECT_EQ(mix(NYX_NAME_HASH()(std::string_view("a"))), 0xca602e0214c059f5u);
    // A byte above 127 is negative.
    EXPECT_EQ(NYX_NAME_HASH()(std::string_view("\xff")), ~std::uint64_t(0));
    for (const std::string text : {"a", "data", "top/u1/\xe9\x80", "\x80\x7f\xff"}) {
        EXPECT_EQ(NYX_NAME_HASH()(std::string_view(text)), hash_by_the_rule(text));
        EXPECT_EQ(NYX_NAME_HASH()(NYX_NAME_STRING_PTR(text.c_str())), hash_by_the_rule(text));
    }
}

TEST(NameManagerImage, NamesAreInTheBucketOfTheirMixedHash) {
    NAMES names;
    for (int i = 0; i < 100; ++i)
        names->get_id(("n\xe9" + std::to_string(i)).c_str());
    names->get_id("data");
    const auto &map = names.impl().id_namespace;
    ASSERT_EQ(map.bucket_count(), 128u);
    for (std::size_t bucket = 0; bucket < map.bucket_count(); ++bucket)
        for (auto at = map.begin(bucket); at != map.end(bucket); ++at)
            EXPECT_EQ(mix(hash_by_the_rule(at->first.get())) & 127, bucket) << at->first.get();
}

TEST(NameManagerImage, CountersAreInTheBucketOfTheirMixedNumber) {
    NAMES names;
    for (const char *const name : {"a", "b", "c", "a[1]", "a[2]", "b[200]"})
        names->increase_id_count(names->get_id(name));
    for (const auto *const map : {&names.impl().id_count, &names.impl().bus_id_count}) {
        ASSERT_EQ(map->size(), 3u);
        for (std::size_t bucket = 0; bucket < map->bucket_count(); ++bucket)
            for (auto at = map->begin(bucket); at != map->end(bucket); ++at)
                EXPECT_EQ(mix(at->first.get()) & (map->bucket_count() - 1), bucket);
    }
}

TEST(NameManagerImage, MapsStartWith16BucketsAndDouble) {
    NAMES names;
    NYX_NAME_MANAGER_IMPL &impl = names.impl();
    const auto expect_all = [&](std::size_t buckets) {
        EXPECT_EQ(impl.id_namespace.bucket_count(), buckets);
        EXPECT_EQ(impl.id_count.bucket_count(), buckets);
        EXPECT_EQ(impl.bus_id_namespace.bucket_count(), buckets);
        EXPECT_EQ(impl.bus_id_count.bucket_count(), buckets);
    };
    const auto add = [&](int i) {
        const std::string name = "n" + std::to_string(i);
        names->increase_id_count(names->get_id(name.c_str()));
        names->increase_id_count(names->get_id((name + "[1]").c_str()));
    };
    EXPECT_EQ(impl.id_namespace.max_load_factor(), 1.0f);
    EXPECT_EQ(impl.bus_id_count.max_load_factor(), 1.0f);
    expect_all(16);
    for (int i = 0; i < 16; ++i)
        add(i);
    expect_all(16);
    add(16);
    expect_all(32);
    for (int i = 17; i < 33; ++i)
        add(i);
    expect_all(64);
}

// ---- Clearing, shrinking, destruction

TEST(NameManager, ClearEmptiesEverythingAndNumberingStartsAgain) {
    NAMES names;
    names->increase_id_count(names->get_id("a"));
    names->increase_id_count(names->get_id("a[1]"));
    names->get_id("b");
    names->clear();
    const NYX_NAME_MANAGER_IMPL &impl = names.impl();
    EXPECT_TRUE(impl.id_reverse_lookup.empty() && impl.id_namespace.empty() && impl.id_count.empty());
    EXPECT_TRUE(impl.bus_id_reverse_lookup.empty() && impl.bus_id_namespace.empty() && impl.bus_id_count.empty());
    EXPECT_EQ(names->get_size(), 0u);
    EXPECT_EQ(names->find_id("a"), NYX_NAME_ID::INVALID);
    EXPECT_EQ(names->find_id("a[1]"), NYX_NAME_ID::INVALID);
    std::string name;
    EXPECT_FALSE(names->find_name(NYX_NAME_ID(0), name));
    EXPECT_EQ(names->get_id_count(NYX_NAME_ID(0)).get(), 0u);
    EXPECT_EQ(names->get_id("b").get(), 0u);
    EXPECT_EQ(names->get_id("c[9]").get(), bus_bit(0, 9));
}

TEST(NameManager, ClearGivesTheStringsBack) {
    NAMES names;
    for (int i = 0; i < 100; ++i)
        names->get_id((std::string(1000, 'x') + std::to_string(i) + (i % 2 ? "" : "[1]")).c_str());
    const std::size_t before = names.segment().algorithm().get_allocated();
    names->clear();
    EXPECT_LT(names.segment().algorithm().get_allocated(), before - 100 * 1000);
}

TEST(NameManager, ShrinkToFitTrimsBothTables) {
    NAMES names;
    for (int i = 0; i < 1000; ++i) {
        names->get_id(("n" + std::to_string(i)).c_str());
        names->get_id(("n" + std::to_string(i) + "[1]").c_str());
    }
    NYX_NAME_MANAGER_IMPL &impl = names.impl();
    ASSERT_GT(impl.id_reverse_lookup.capacity(), 1010u);
    names->shrink_to_fit();
    // What the block's rounding leaves.
    EXPECT_LE(impl.id_reverse_lookup.capacity(), 1010u);
    EXPECT_LE(impl.bus_id_reverse_lookup.capacity(), 1010u);
    EXPECT_EQ(names->get_size(), 2000u);
    EXPECT_EQ(names.name_of(names->find_id("n999[1]")), "n999[1]");
    EXPECT_EQ(names->get_id("new").get(), 1000u);
    EXPECT_EQ(names.segment().algorithm().find_fault(), "");
}

TEST(NameManager, ShrinkToFitOfAnEmptyManager) {
    NAMES names;
    names->shrink_to_fit();
    names->get_id("a");
    names->clear();
    names->shrink_to_fit();
    EXPECT_EQ(names.impl().id_reverse_lookup.capacity(), 0u);
    EXPECT_EQ(names->get_id("a").get(), 0u);
}

TEST(NameManager, DestructionGivesEverythingBack) {
    NYX_SEGMENT segment(1 << 20);
    const std::size_t empty = segment.algorithm().get_allocated();
    {
        NYX_NAME_MANAGER names(segment.get_segment_manager());
        for (int i = 0; i < 100; ++i)
            names.increase_id_count(names.get_id(("n" + std::to_string(i) + (i % 2 ? "" : "[1]")).c_str()));
    }
    EXPECT_EQ(segment.algorithm().get_allocated(), empty);
    EXPECT_EQ(segment.algorithm().find_fault(), "");
}

TEST(NameManager, AManagerOnTheHeapIsDeletedAlone) {
    NYX_SEGMENT segment(1 << 20);
    const std::size_t empty = segment.algorithm().get_allocated();
    auto *const names = new NYX_NAME_MANAGER(segment.get_segment_manager());
    names->get_id("a");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete" // GCC knows no partner of a delete that destroys
    delete names;
#pragma GCC diagnostic pop
    EXPECT_EQ(segment.algorithm().get_allocated(), empty);
}

TEST(NameManager, TestManagerStandsAlone) {
    const std::unique_ptr<NYX_NAME_MANAGER> first(NYX_NAME_MANAGER::test_manager(1 << 16));
    const std::unique_ptr<NYX_NAME_MANAGER> second(NYX_NAME_MANAGER::test_manager(1 << 16));
    EXPECT_EQ(first->get_id("a").get(), 0u);
    EXPECT_EQ(first->get_id("b").get(), 1u);
    EXPECT_EQ(second->get_id("b").get(), 0u);
    EXPECT_EQ(second->find_id("a"), NYX_NAME_ID::INVALID);
    EXPECT_EQ(first->get_impl().segment->get_size(), 1u << 16);
    // The handle lies in its own segment.
    EXPECT_LT(reinterpret_cast<char *>(first.get()) - reinterpret_cast<char *>(first->get_impl().segment.get()),
              1 << 16);
}

TEST(NameManager, TestManagerNeedsRoomForItself) {
    const SCOPED_ENV thrown("NYX_ASSERT_ACCESS", std::nullopt);
    EXPECT_THROW(NYX_NAME_MANAGER::test_manager(0), NYX_RUNTIME_ERROR);
    EXPECT_THROW(NYX_NAME_MANAGER::test_manager(223), NYX_RUNTIME_ERROR);
    std::size_t size = 224;
    for (;; ++size) {
        try {
            delete NYX_NAME_MANAGER::test_manager(size);
            break;
        } catch (const boost::interprocess::bad_alloc &) {
            ASSERT_LT(size, 4096u);
        }
    }
    EXPECT_GT(size, 224u);
}

// ---- Statistics, dump, schema

TEST(NameManager, StatisticsHaveAFieldForEachMember) {
    NAMES names;
    names->get_id("ab");
    names->get_id("abcd");
    names->get_id("xyz[1]");
    names->get_id("xyz[2]");
    const NYX_TYPE_STATS stats = names->get_stats();
    EXPECT_EQ(stats.get_type(), "NYX_NAME_MANAGER");
    EXPECT_EQ(stats.get_num_allocated(), -1);
    EXPECT_EQ(stats.get_num_free(), -1);
    std::vector<std::string> fields;
    for (const NYX_FIELD_STATS &field : stats.get_field_stats()) {
        fields.push_back(field.get_type());
        EXPECT_EQ(field.get_page_capacity(), -1);
        EXPECT_EQ(field.get_num_pages(), 0);
        if (field.get_type() == "name strings") {
            EXPECT_EQ(field.get_bytes(), 3 + 5);
        } else if (field.get_type() == "bus name strings") {
            EXPECT_EQ(field.get_bytes(), 4);
        } else if (field.get_type() == "id_count" || field.get_type() == "bus_id_count") {
            EXPECT_EQ(field.get_bytes(), 0);
        } else {
            EXPECT_GT(field.get_bytes(), 0) << field.get_type();
        }
    }
    EXPECT_EQ(fields,
              (std::vector<std::string>{"bus name strings", "bus_id_count", "bus_id_namespace", "bus_id_reverse_lookup",
                                        "id_count", "id_namespace", "id_reverse_lookup", "name strings"}));
}

TEST(NameManager, StatisticsTellWhatTheSegmentLost) {
    NAMES names(std::size_t(1) << 22);
    const std::size_t before = names.segment().algorithm().get_allocated();
    for (int i = 0; i < 10000; ++i)
        names->increase_id_count(names->get_id(("name_of_a_net_" + std::to_string(i) + (i % 2 ? "" : "[1]")).c_str()));
    long bytes = 0;
    for (const NYX_FIELD_STATS &field : names->get_stats().get_field_stats())
        bytes += field.get_bytes();
    const long lost = static_cast<long>(names.segment().algorithm().get_allocated() - before);
    // Block headers and roundings are the difference.
    EXPECT_LE(bytes, lost);
    EXPECT_GT(bytes, lost * 6 / 10);
}

TEST(NameManager, SchemaIs3) {
    EXPECT_EQ(NYX_NAME_MANAGER::get_schema_id(nullptr), 3u);
    std::vector<NYX_SCHEMA_MEMBER> members{{1, "before"}};
    EXPECT_EQ(NYX_NAME_MANAGER::get_schema_id(&members), 3u);
    ASSERT_EQ(members.size(), 2u);
    EXPECT_EQ(members[1].id, 3u);
    EXPECT_EQ(members[1].name, "NYX_NAME_MANAGER");
}

std::string contents(const std::filesystem::path &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

TEST(NameManagerDump, WritesPlainNamesAndThenBusNamesInTheOrderOfTheirIdentifiers) {
    const TEMP_DIR dir;
    NAMES names;
    for (const char *const name : {"z", "data[3]", "a[256]", "", "addr[1]", "data[4]", "z[0]"})
        names->get_id(name);
    const std::string path = (dir / "names.txt").string();
    CAPTURING_SINK reports;
    EXPECT_TRUE(names->ascii_dump(path));
    EXPECT_EQ(contents(path), "z\na[256]\n\nBUS: data\nBUS: addr\nBUS: z\n");
    EXPECT_EQ(reports.lines(),
              (std::vector<CAPTURING_SINK::LINE>{{NYX_REPORT::SEVERITY::INFO, "Wrote file: " + path + "\n"}}));
    EXPECT_TRUE(names->ascii_dump(path)); // over the file that is there
    EXPECT_EQ(contents(path), "z\na[256]\n\nBUS: data\nBUS: addr\nBUS: z\n");
}

TEST(NameManagerDump, OfNoNamesIsAnEmptyFile) {
    const TEMP_DIR dir;
    NAMES names;
    const CAPTURING_SINK reports;
    EXPECT_TRUE(names->ascii_dump((dir / "names.txt").string()));
    EXPECT_TRUE(std::filesystem::exists(dir / "names.txt"));
    EXPECT_EQ(contents(dir / "names.txt"), "");
}

TEST(NameManagerDump, MakesTheDirectoryOfTheFile) {
    const TEMP_DIR dir;
    NAMES names;
    names->get_id("a");
    const CAPTURING_SINK reports;
    EXPECT_TRUE(names->ascii_dump((dir / "new/names%s.txt").string()));
    EXPECT_EQ(contents(dir / "new/names%s.txt"), "a\n");
    EXPECT_EQ(reports.lines()[0].text, "Wrote file: " + (dir / "new/names%s.txt").string() + "\n");
}

TEST(NameManagerDump, PathWithoutADirectoryIsTheWorkingDirectorys) {
    const TEMP_DIR dir;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(dir.path());
    NAMES names;
    const CAPTURING_SINK reports;
    EXPECT_TRUE(names->ascii_dump("names.txt"));
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::filesystem::exists(dir / "names.txt"));
}

TEST(NameManagerDump, TellsWhenTheDirectoryCannotBeMade) {
    const TEMP_DIR dir;
    std::ofstream(dir / "file") << "in the way";
    NAMES names;
    CAPTURING_SINK reports;
    EXPECT_FALSE(names->ascii_dump((dir / "file/sub/names.txt").string()));
    EXPECT_EQ(reports.lines(),
              (std::vector<CAPTURING_SINK::LINE>{
                  {NYX_REPORT::SEVERITY::ERROR, "Couldn't create directory: " + (dir / "file/sub").string() + "\n"}}));
}

TEST(NameManagerDump, TellsWhenTheFileCannotBeOpened) {
    const TEMP_DIR dir;
    NAMES names;
    CAPTURING_SINK reports;
    EXPECT_FALSE(names->ascii_dump(dir.path().string()));
    EXPECT_EQ(reports.lines(),
              (std::vector<CAPTURING_SINK::LINE>{
                  {NYX_REPORT::SEVERITY::ERROR, "Couldn't open file for write: " + dir.path().string() + "\n"}}));
}

TEST(NameManagerDump, TellsWhenTheDiskIsFull) {
    if (!std::filesystem::exists("/dev/full"))
        GTEST_SKIP() << "no device that is always full";
    NAMES names;
    names->get_id("a");
    CAPTURING_SINK reports;
    EXPECT_FALSE(names->ascii_dump("/dev/full"));
    EXPECT_EQ(reports.lines(),
              (std::vector<CAPTURING_SINK::LINE>{{NYX_REPORT::SEVERITY::ERROR, "Couldn't write file: /dev/full\n"}}));
}

// ---- Images

/// A manager whose handle lies in its own segment, with names and counters.
struct STORED_NAMES {
    STORED_NAMES() {
        void *const handle = segment.get_segment_manager()->allocate(sizeof(NYX_NAME_MANAGER));
        names = new (handle) NYX_NAME_MANAGER(segment.get_segment_manager());
        for (int i = 0; i < 500; ++i) {
            texts.push_back("n" + std::to_string(i));
            texts.push_back("n" + std::to_string(i % 50) + "[" + std::to_string(i % 256) + "]");
        }
        for (const std::string &text : texts) {
            ids.push_back(names->get_id(text.c_str()));
            if (ids.size() % 3 == 0)
                names->increase_id_count(ids.back());
        }
    }
    void expect_same_answers(const NYX_NAME_MANAGER &there) const {
        EXPECT_EQ(there.get_size(), names->get_size());
        for (std::size_t i = 0; i < texts.size(); ++i) {
            ASSERT_EQ(there.find_id(texts[i].c_str()), ids[i]);
            std::string name;
            ASSERT_TRUE(there.find_name(ids[i], name));
            ASSERT_EQ(name, texts[i]);
            ASSERT_EQ(there.get_id_count(ids[i]), names->get_id_count(ids[i]));
        }
        EXPECT_EQ(there.find_id("none"), NYX_NAME_ID::INVALID);
        EXPECT_EQ(there.find_id("none[1]"), NYX_NAME_ID::INVALID);
        EXPECT_EQ(there.get_id_count(NYX_NAME_ID(100000)).get(), 0u);
        std::string name = "before";
        EXPECT_FALSE(there.find_name(NYX_NAME_ID(100000), name));
        EXPECT_FALSE(there.find_name(NYX_NAME_ID::INVALID, name));
        std::ostringstream stats_here, stats_there;
        stats_here << names->get_stats();
        stats_there << there.get_stats();
        EXPECT_EQ(stats_there.str(), stats_here.str());
    }

    NYX_SEGMENT segment{std::size_t(1) << 20};
    NYX_NAME_MANAGER *names;
    std::vector<std::string> texts;
    std::vector<NYX_NAME_ID> ids;
};

TEST(NameManagerImage, AnswersTheSameAtAnotherAddress) {
    const STORED_NAMES original;
    const IMAGE_COPY copy(original.segment);
    NYX_NAME_MANAGER *const names = copy.at(original.names);
    original.expect_same_answers(*names);
    EXPECT_EQ(names->get_id("new").get(), 500u);
    EXPECT_EQ(names->get_id("new[5]").get(), bus_bit(50, 5));
    EXPECT_EQ(original.names->find_id("new"), NYX_NAME_ID::INVALID);
    names->clear();
    EXPECT_EQ(names->get_id("a").get(), 0u);
    original.expect_same_answers(*original.names);
}

TEST(NameManagerImage, GoesOnInAClone) {
    const STORED_NAMES original;
    NYX_SEGMENT clone(original.segment, 4096);
    auto *const names = reinterpret_cast<NYX_NAME_MANAGER *>(
        clone.data() + (reinterpret_cast<const char *>(original.names) - original.segment.data()));
    original.expect_same_answers(*names);
    for (unsigned i = 500; i < 2000; ++i)
        ASSERT_EQ(names->get_id(("m" + std::to_string(i)).c_str()).get(), i);
    original.expect_same_answers(*original.names);
    EXPECT_EQ(clone.algorithm().find_fault(), "");
}

TEST(NameManagerImage, ReadingWritesNothing) {
    const STORED_NAMES original;
    IMAGE_COPY copy(original.segment);
    copy.set_writable(false);
    NYX_NAME_MANAGER *const names = copy.at(original.names);
    original.expect_same_answers(*names);
    EXPECT_EQ(names->get_id("n7"), original.names->find_id("n7")); // a name that is there is only looked up
    EXPECT_EQ(names->get_id("n7[200]"), original.names->find_id("n7[200]"));
    const TEMP_DIR dir;
    const CAPTURING_SINK reports;
    EXPECT_TRUE(names->ascii_dump((dir / "names.txt").string()));
    EXPECT_TRUE(original.names->ascii_dump((dir / "original.txt").string()));
    EXPECT_EQ(contents(dir / "names.txt"), contents(dir / "original.txt"));
}

// ---- A full segment: an operation succeeds or leaves everything as it was

TEST(NamesInAFullSegment, InterningLeavesTheNamesAsTheyWere) {
    // At 16 names the maps are about to grow, and at some of the others the tables.
    for (const int names_before : {0, 1, 4, 8, 16, 17, 31, 32})
        for (const char *const name : {"a new name", "a new base[3]"}) {
            const unsigned failures = with_growing_room([&](std::size_t left) {
                NAMES names(1 << 16);
                for (int i = 0; i < names_before; ++i) {
                    names->get_id(("n" + std::to_string(i)).c_str());
                    names->get_id(("n" + std::to_string(i) + "[1]").c_str());
                }
                const std::size_t size = names->get_size();
                bool failed = false;
                {
                    const JUNK junk(names.segment(), left);
                    BLOCK_LEDGER ledger(names.segment());
                    try {
                        names->get_id(name);
                    } catch (const boost::interprocess::bad_alloc &) {
                        failed = true;
                        EXPECT_EQ(names->find_id(name), NYX_NAME_ID::INVALID);
                    }
                    ledger.expect_balanced();
                }
                EXPECT_EQ(names->get_size(), size + !failed);
                EXPECT_EQ(names.impl().id_namespace.size() + names.impl().bus_id_namespace.size(), size + !failed);
                for (int i = 0; i < names_before; ++i)
                    EXPECT_EQ(names->find_id(("n" + std::to_string(i)).c_str()).get(), static_cast<unsigned>(i));
                const unsigned index = static_cast<unsigned>(names_before);
                EXPECT_EQ(names->get_id(name).get(), name[6] == 'n' ? index : bus_bit(index, 3));
                EXPECT_EQ(names.name_of(names->get_id(name)), name);
                return !failed;
            });
            EXPECT_GT(failures, 0u);
        }
}

TEST(NamesInAFullSegment, CountingLeavesTheCountersAsTheyWere) {
    for (const int counters_before : {0, 1, 16, 32}) {
        const unsigned failures = with_growing_room([&](std::size_t left) {
            NAMES names(1 << 16);
            for (int i = 0; i < counters_before; ++i)
                names->increase_id_count(names->get_id(("n" + std::to_string(i)).c_str()));
            const NYX_NAME_ID id = names->get_id("another");
            bool failed = false;
            {
                const JUNK junk(names.segment(), left);
                BLOCK_LEDGER ledger(names.segment());
                try {
                    EXPECT_EQ(names->increase_id_count(id).get(), 0u);
                } catch (const boost::interprocess::bad_alloc &) {
                    failed = true;
                    if (counters_before > 0) { // a counter that is there needs no memory
                        EXPECT_EQ(names->increase_id_count(NYX_NAME_ID(0)).get(), 1u);
                    }
                }
                ledger.expect_balanced();
            }
            EXPECT_EQ(names.impl().id_count.size(), static_cast<std::size_t>(counters_before + !failed));
            EXPECT_EQ(names->get_id_count(id).get(), failed ? 0u : 1u);
            return !failed;
        });
        EXPECT_GT(failures, 0u);
    }
}

TEST(NamesInAFullSegment, LookingUpClearingAndShrinkingNeedNoMemory) {
    NAMES names(1 << 16);
    for (int i = 0; i < 100; ++i)
        names->get_id(("n" + std::to_string(i)).c_str());
    const JUNK junk(names.segment(), 0);
    BLOCK_LEDGER ledger(names.segment());
    EXPECT_EQ(names->get_id("n42").get(), 42u);
    EXPECT_EQ(names.name_of(NYX_NAME_ID(42)), "n42");
    names->shrink_to_fit();
    ledger.expect_balanced();
    names->clear();
    ledger.expect_balanced();
    EXPECT_EQ(names->get_id("new").get(), 0u);
}

TEST(NamesInAFullSegment, NoManagerIsBuilt) {
    NYX_SEGMENT segment(1 << 16);
    const JUNK junk(segment, 320);
    const std::size_t allocated = segment.algorithm().get_allocated();
    EXPECT_THROW(NYX_NAME_MANAGER(segment.get_segment_manager()), boost::interprocess::bad_alloc);
    EXPECT_EQ(segment.algorithm().get_allocated(), allocated);
}

} // namespace
