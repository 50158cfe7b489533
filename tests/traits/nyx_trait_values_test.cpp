// What holds for the types of values, whatever the objects: shown on nets.
#include "traits/trait_test_support.h"

#include "memory/segment_image.h"
#include "support/recording_listener.h"

#include <bit>
#include <cmath>
#include <limits>

namespace {

class TraitValues : public testing::Test {
protected:
    SCOPED_DB m_db{"values"};
    NYX_NET *m_net = add_object<NYX_NET>(m_db);
};

TEST_F(TraitValues, TextOfTheDefaultIsTheDefault) {
    auto *const trait = NYX_NET::create_string_trait(m_db, "t", "abc", "", "", "");
    m_net->set_value(trait, std::string("ab") + "c");
    EXPECT_TRUE(NYX_NET::trait_is_empty(trait));
    m_net->set_value(trait, "x");
    m_net->set_value(trait, "abc");
    EXPECT_TRUE(m_net->is_default_value(trait));
}

TEST_F(TraitValues, FloatsAreComparedByTheirBits) {
    auto *const trait = NYX_NET::create_double_trait(m_db, "t", 0.0, "", "", "");
    m_net->set_value(trait, -0.0);
    EXPECT_FALSE(m_net->is_default_value(trait));
    EXPECT_TRUE(std::signbit(m_net->get_value(trait)));
    m_net->set_value(trait, 0.0);
    EXPECT_TRUE(m_net->is_default_value(trait));
    const float nan = std::numeric_limits<float>::quiet_NaN();
    auto *const nans = NYX_NET::create_float_trait(m_db, "n", nan, "", "", "");
    m_net->set_value(nans, nan);
    EXPECT_TRUE(m_net->is_default_value(nans));
    const float other_nan = std::bit_cast<float>(std::bit_cast<unsigned>(nan) ^ 1u);
    m_net->set_value(nans, other_nan);
    EXPECT_FALSE(m_net->is_default_value(nans));
    EXPECT_EQ(std::bit_cast<unsigned>(m_net->get_value(nans)), std::bit_cast<unsigned>(other_nan));
    EXPECT_EQ(NYX_NET::find_or_create_float_trait(m_db, "n", nan, "", "", ""), nans);
}

TEST_F(TraitValues, TextsOfFloatsReadBackAsTheSameValue) {
    for (const float value : {0.1f, 1.0f / 3, 1.17549435e-38f, 3.40282347e+38f})
        EXPECT_EQ(std::stof(NYX_FLOAT_TRAIT::convert_value_to_str(value)), value);
    for (const double value : {0.1, 1.0 / 3, 2.2250738585072014e-308, 1.7976931348623157e+308})
        EXPECT_EQ(std::stod(NYX_DOUBLE_TRAIT::convert_value_to_str(value)), value);
    EXPECT_EQ(NYX_FLOAT_TRAIT::convert_value_to_str(0.1f), "0.100000001");
    EXPECT_EQ(NYX_DOUBLE_TRAIT::convert_value_to_str(0.1), "0.10000000000000001");
}

TEST_F(TraitValues, HaveTheirTexts) {
    EXPECT_EQ(NYX_BOOL_TRAIT::convert_value_to_str(true), "True");
    EXPECT_EQ(NYX_BOOL_TRAIT::convert_value_to_str(false), "False");
    EXPECT_EQ(NYX_INT_TRAIT::convert_value_to_str(-12), "-12");
    EXPECT_EQ(NYX_TIME_TRAIT::convert_value_to_str(-9000000000LL), "-9000000000");
    EXPECT_EQ(NYX_STRING_TRAIT::convert_value_to_str("a b"), "a b");
    const std::string data = "\1\2\3\4\5\6\377";
    const auto text = [&data](unsigned size) {
        return NYX_APP_TRAIT::convert_value_to_str(bytes(data.substr(0, size)));
    };
    EXPECT_EQ(text(0), "App Data (0 bytes)");
    EXPECT_EQ(text(1), "App Data (1 bytes: 1)");
    EXPECT_EQ(text(5), "App Data (5 bytes: 1 2 3 4 5)");
    EXPECT_EQ(text(6), "App Data (6 bytes: 1 2 3 4 5 ...)");
    EXPECT_EQ(text(7), "App Data (7 bytes: 1 2 3 4 5 ...)");
}

TEST_F(TraitValues, ScriptsGetTheTextOfBytesInAStaticString) {
    const char *const first = bytes("a").python_str();
    EXPECT_STREQ(first, "App Data (1 bytes: 97)");
    EXPECT_STREQ(bytes("").python_str(), "App Data (0 bytes)");
}

TEST_F(TraitValues, BytesAreEqualByTheirContent) {
    EXPECT_EQ(NYX_APP_DATA(), bytes(""));
    EXPECT_EQ(bytes(std::string("ab")), bytes("ab"));
    EXPECT_NE(bytes("ab"), bytes("ac"));
    EXPECT_NE(bytes("ab"), bytes("abc"));
    EXPECT_EQ(NYX_APP_DATA().get_data(), nullptr);
    EXPECT_EQ(NYX_APP_DATA().get_size(), 0u);
}

TEST_F(TraitValues, BytesOfTheSameSizeTakeTheOldOnesPlace) {
    auto *const trait = NYX_NET::create_app_trait(m_db, "t", bytes("default"), "", "", "");
    m_net->set_value(trait, bytes("1234"));
    const unsigned char *const place = m_net->get_value(trait).get_data();
    RECORDING_LISTENER notices;
    m_net->set_value(trait, bytes("5678"));
    EXPECT_EQ(m_net->get_value(trait), bytes("5678"));
    EXPECT_EQ(m_net->get_value(trait).get_data(), place);
    m_net->set_value(trait, m_net->get_value(trait));
    EXPECT_EQ(m_net->get_value(trait), bytes("5678"));
    EXPECT_TRUE(notices.notices().empty());
}

TEST_F(TraitValues, BytesMayBeTakenFromTheValueThatTheyReplace) {
    auto *const trait = NYX_NET::create_app_trait(m_db, "t", NYX_APP_DATA(), "", "", "");
    m_net->set_value(trait, bytes("0123456789"));
    const NYX_APP_DATA old = m_net->get_value(trait);
    m_net->set_value(trait, NYX_APP_DATA(4, old.get_data() + 3));
    EXPECT_EQ(m_net->get_value(trait), bytes("3456"));
}

TEST_F(TraitValues, BlocksOfBytesGoWithTheirValues) {
    auto *const trait = NYX_NET::create_app_trait(m_db, "t", bytes("default"), "", "", "");
    // The room of values.
    m_net->set_value(trait, bytes("warm"));
    m_net->set_value(trait, bytes("default"));
    const auto balance = [](const RECORDING_LISTENER &notices) {
        return std::pair(notices.notices(RECORDING_LISTENER::NOTICE::ALLOCATED).size(),
                         notices.notices(RECORDING_LISTENER::NOTICE::DEALLOCATED).size());
    };
    RECORDING_LISTENER notices;
    m_net->set_value(trait, bytes("default"));
    EXPECT_EQ(balance(notices), std::pair(std::size_t(0), std::size_t(0)));
    m_net->set_value(trait, bytes("A"));
    EXPECT_EQ(balance(notices), std::pair(std::size_t(1), std::size_t(0)));
    EXPECT_EQ(notices.notices().front().requested, 5u);
    m_net->set_value(trait, bytes("BB"));
    EXPECT_EQ(balance(notices), std::pair(std::size_t(2), std::size_t(1)));
    m_net->set_value(trait, bytes("default"));
    EXPECT_EQ(balance(notices), std::pair(std::size_t(2), std::size_t(2)));
    EXPECT_TRUE(NYX_NET::trait_is_empty(trait));
}

TEST_F(TraitValues, ResettingATraitKeepsItAndLeavesItsBlocks) {
    auto *const trait = NYX_NET::create_app_trait(m_db, "t", bytes("default"), "", "", "");
    m_net->set_value(trait, bytes("A"));
    RECORDING_LISTENER notices;
    trait->reset_all_objects_having_this_trait();
    EXPECT_TRUE(trait->is_empty());
    EXPECT_EQ(m_net->get_value(trait), bytes("default"));
    // The leaf and the directory go, the block of the value doesn't.
    EXPECT_EQ(notices.notices(RECORDING_LISTENER::NOTICE::DEALLOCATED).size(), 2u);
    EXPECT_EQ(NYX_NET::find_app_trait(m_db, "t"), trait);
    m_net->set_value(trait, bytes("B"));
    EXPECT_EQ(m_net->get_value(trait), bytes("B"));
}

TEST_F(TraitValues, OldValuesStayWhenTheDatabaseIsFull) {
    auto *const texts = NYX_NET::create_string_trait(m_db, "text", "", "", "", "");
    auto *const data = NYX_NET::create_app_trait(m_db, "data", NYX_APP_DATA(), "", "", "");
    NYX_NET *const other = add_object<NYX_NET>(m_db);
    m_net->set_value(texts, "old");
    m_net->set_value(data, bytes("old"));
    NYX_SEGMENT_MANAGER *const manager = root_of(m_db)->get_segment_manager();
    std::vector<void *> junk;
    for (std::size_t size = std::size_t(1) << 20; size >= 8; size /= 2)
        while (void *const block = manager->allocate(size, std::nothrow))
            junk.push_back(block);
    EXPECT_THROW(m_net->set_value(data, bytes(std::string(100, 'x'))), boost::interprocess::bad_alloc);
    EXPECT_THROW(m_net->set_value(texts, std::string(1000, 'x')), boost::interprocess::bad_alloc);
    EXPECT_THROW(other->set_value(data, bytes("new")), boost::interprocess::bad_alloc);
    EXPECT_THROW(NYX_NET::create_int_trait(m_db, "unknown", 0, "", "", ""), boost::interprocess::bad_alloc);
    for (void *const block : junk)
        manager->deallocate(block);
    EXPECT_EQ(m_net->get_value(data), bytes("old"));
    EXPECT_EQ(m_net->get_value(texts), "old");
    EXPECT_TRUE(other->is_default_value(data));
    EXPECT_FALSE(NYX_NET::trait_exists(m_db, "unknown"));
    auto *const now = NYX_NET::create_int_trait(m_db, "unknown", 3, "", "", "");
    EXPECT_EQ(m_net->get_value(now), 3);
    EXPECT_EQ(nyx_get_algorithm(manager)->find_fault(), "");
}

TEST_F(TraitValues, TraitsThatFailHalfwayLeaveNothing) {
    // Every place at which a segment can be full while traits are declared in it.
    for (const bool internal : {false, true}) {
        const unsigned failures = with_growing_room([internal](std::size_t left) {
            NYX_SEGMENT segment(std::size_t(1) << 20);
            auto *const root = segment.get_segment_manager()->construct<NYX_DB_PERSISTENT>("NYX")(
                segment.get_segment_manager(), NYX_DB_TYPE::USER);
            const auto declare = [&](const char *name) {
                return NYX_TRAIT_CORE<NYX_APP_TRAIT>::allocate(root, name, bytes("0123456789"), "", "",
                                                               internal ? std::string(name) + "_i" : std::string(),
                                                               NYX_TRAIT_OBJ_TYPE::NET_SPARSE);
            };
            bool done = false;
            {
                const JUNK junk(segment, left);
                try {
                    declare("t");
                    done = true;
                } catch (const boost::interprocess::bad_alloc &) {
                }
            }
            EXPECT_EQ(segment.algorithm().find_fault(), "");
            EXPECT_EQ(root->trait_exists("t", NYX_TRAIT_OBJ_TYPE::NET_SPARSE), done);
            NYX_TRAIT_COLLECT_VISITOR all;
            root->visit(NYX_TRAIT_OBJ_TYPE::ALL_SPARSE, &all, true);
            EXPECT_EQ(all.get_traits().size(), done ? 1u : 0u);
            if (!done) {
                EXPECT_EQ(declare("t")->get_default_value(), bytes("0123456789"));
            }
            return done;
        });
        EXPECT_GT(failures, 5u);
    }
}

TEST_F(TraitValues, BytesStandBehindTheirSize) {
    auto *const trait = NYX_NET::create_app_trait(m_db, "t", NYX_APP_DATA(), "", "", "");
    m_net->set_value(trait, bytes("0123456"));
    const unsigned char *const data = m_net->get_value(trait).get_data();
    unsigned size;
    std::memcpy(&size, data - 4, sizeof(size));
    EXPECT_EQ(size, 7u);
    const NYX_BEARER net = nyx_bearer(m_net);
    EXPECT_EQ(*nyx_values_of<NYX_BYTE8_TRAIT>(trait).find(net.kind, net.id),
              data - 4 - reinterpret_cast<const unsigned char *>(trait));
}

TEST_F(TraitValues, EqualTextsAreStoredOnce) {
    auto *const trait = NYX_NET::create_string_trait(m_db, "t", "", "", "", "");
    m_net->set_value(trait, "text");
    const std::size_t names = root_of(m_db)->names().get_size();
    add_object<NYX_NET>(m_db)->set_value(trait, "text");
    EXPECT_EQ(root_of(m_db)->names().get_size(), names);
}

} // namespace
