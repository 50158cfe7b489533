// Walks over traits and the tables that they write, byte for byte.
#include "traits/trait_test_support.h"

#include "traits/nyx_trait_linking.h"

#include <sstream>

namespace {

std::string address(const void *trait) {
    std::ostringstream text;
    text << trait;
    return text.str();
}

std::string pad(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

const std::string s_head = "NAME                           TYPE       DEFAULT VALUE   GROUP                INTERNAL   "
                           "DESCRIPTION                   \n";
const std::string s_head_with_value =
    "NAME                           TYPE       VALUE           DEFAULT VALUE   GROUP   "
    "             INTERNAL   DESCRIPTION                   \n";

TEST(TraitTable, HasAHeadAndTellsItsSubjectInTheLog) {
    CAPTURING_SINK sink;
    std::ostringstream stream;
    nyx_sparse_trait_output_header(stream, "NYX_NET", false);
    EXPECT_EQ(stream.str(), s_head);
    EXPECT_EQ(sink.texts(NYX_REPORT::SEVERITY::INFO), TEXTS{"NYX_NET Traits\n"});
    std::ostringstream with_value;
    nyx_sparse_trait_output_header(with_value, "net", true);
    EXPECT_EQ(with_value.str(), s_head_with_value);
}

TEST(TraitTable, HasALineForEachTrait) {
    std::ostringstream stream;
    nyx_sparse_trait_output(stream, "name", "int", "5", "0", "group", true, "description");
    EXPECT_EQ(stream.str(), pad("name", 31) + pad("int", 11) + pad("5", 16) + pad("0", 16) + pad("group", 21) +
                                pad("True", 11) + pad("description", 30) + "\n");
    std::ostringstream without_value;
    nyx_sparse_trait_output(without_value, "a name of more than thirty characters", "int", nullptr, "0", "", false, "");
    EXPECT_EQ(without_value.str(), "a name of more than thirty characters " + pad("int", 11) + pad("0", 16) +
                                       pad("", 21) + pad("False", 11) + pad("", 30) + "\n");
}

TEST(TraitTable, IsNotBentByTheStreamsState) {
    std::ostringstream stream;
    stream << std::right;
    stream.width(200);
    nyx_sparse_trait_output(stream, "name", "int", nullptr, "0", "", false, "");
    EXPECT_EQ(stream.str().substr(0, 5), "name ");
}

TEST(TraitTable, ListsTheTraitsOfAClass) {
    SCOPED_DB db("table");
    CAPTURING_SINK sink;
    std::ostringstream modules;
    NYX_MODULE::output_all_sparse_traits(modules, db, false);
    EXPECT_EQ(modules.str(), s_head);
    std::ostringstream headers;
    NYX_INST_HEADER::output_all_sparse_traits(headers, db, false);
    EXPECT_EQ(headers.str(), s_head + address(NYX_BUILTIN_TRAITS::of(db).m_inst_header_is_user_group_trait) + " " +
                                 pad("is_user_group", 31) + pad("bool", 11) + pad("False", 16) + pad("", 21) +
                                 pad("False", 11) + pad("", 30) + "\n");
    EXPECT_EQ(sink.texts(NYX_REPORT::SEVERITY::INFO), (TEXTS{"NYX_MODULE Traits\n", "NYX_INST_HEADER Traits\n"}));
    std::ostringstream nets;
    NYX_NET::output_all_sparse_traits(nets, db, true);
    const NYX_BUILTIN_TRAITS &traits = NYX_BUILTIN_TRAITS::of(db);
    EXPECT_EQ(nets.str(),
              s_head + address(traits.m_net_is_global_trait) + " " + traits.m_net_is_global_trait->output_to_str() +
                  address(traits.m_net_file_name_trait) + " " + traits.m_net_file_name_trait->output_to_str() +
                  address(traits.m_net_file_lineno_trait) + " " + traits.m_net_file_lineno_trait->output_to_str());
    EXPECT_EQ(traits.m_net_file_lineno_trait->output_to_str(),
              pad("file_lineno", 31) + pad("int", 11) + pad("0", 16) + pad("", 21) + pad("True", 11) +
                  "Line number in the file where the net is defined\n");
}

TEST(TraitTable, ListsTheValuesOfAnObject) {
    SCOPED_DB db("table");
    NYX_NET *const net = add_object<NYX_NET>(db);
    static_cast<NYX_NET_IMPL *>(net)->m_name_id = root_of(db)->names().get_id("clk");
    CAPTURING_SINK sink;
    std::ostringstream nothing;
    net->output_sparse_traits(nothing, false, true);
    EXPECT_EQ(nothing.str(), s_head_with_value);
    EXPECT_EQ(sink.texts(NYX_REPORT::SEVERITY::INFO), TEXTS{"clk Traits\n"});

    auto *const trait = NYX_NET::create_int_trait(db, "weight", 1, "group", "what it is", "");
    NYX_NET::create_double_trait(db, "unset", 0.5, "", "", "");
    net->set_value(trait, -7);
    const std::string line = pad("weight", 31) + pad("int", 11) + pad("-7", 16) + pad("1", 16) + pad("group", 21) +
                             pad("False", 11) + pad("what it is", 30) + "\n";
    EXPECT_EQ(trait->output_to_str(net), line);
    std::ostringstream set;
    net->output_sparse_traits(set, false, false);
    EXPECT_EQ(set.str(), s_head_with_value + address(trait) + " " + line);
    std::ostringstream all;
    net->output_sparse_traits(all, true, false);
    auto *const unset = NYX_NET::find_double_trait(db, "unset");
    EXPECT_EQ(all.str(), set.str() + address(unset) + " " + unset->output_to_str(net));
}

TEST(TraitTable, GoesToTheLogWithoutAStream) {
    SCOPED_DB db("table");
    CAPTURING_SINK sink;
    NYX_MODULE::output_all_sparse_traits(db, false);
    EXPECT_EQ(sink.texts(NYX_REPORT::SEVERITY::INFO), (TEXTS{"NYX_MODULE Traits\n", s_head}));
    sink.clear();
    db->output_sparse_traits(false, false);
    EXPECT_EQ(sink.texts(NYX_REPORT::SEVERITY::INFO), (TEXTS{"table Traits\n", s_head_with_value}));
}

// Notes the names of what it is shown.
class NAMES final : public NYX_SPARSE_TRAIT_VISITOR {
public:
    void visit(NYX_APP_TRAIT *trait) override { note("app", trait); }
    void visit(NYX_TIME_TRAIT *trait) override { note("time", trait); }
    void visit(NYX_DOUBLE_TRAIT *trait) override { note("double", trait); }
    void visit(NYX_FLOAT_TRAIT *trait) override { note("float", trait); }
    void visit(NYX_STRING_TRAIT *trait) override { note("string", trait); }
    void visit(NYX_INT_TRAIT *trait) override { note("int", trait); }
    void visit(NYX_BOOL_TRAIT *trait) override { note("bool", trait); }

    TEXTS m_names;

private:
    template <class TRAIT>
    void note(const char *type, const TRAIT *trait) {
        if (trait->get_name() == "stop")
            throw std::runtime_error("stopped");
        m_names.push_back(type + (":" + trait->get_name()));
    }
};

TEST(TraitWalk, GoesByWidthAndThenByAge) {
    SCOPED_DB db("walk");
    NYX_ENTITY::create_app_trait(db, "a", NYX_APP_DATA(), "", "", "");
    NYX_ENTITY::create_bool_trait(db, "b", false, "", "", "");
    NYX_ENTITY::create_string_trait(db, "c", "", "", "", "");
    NYX_ENTITY::create_double_trait(db, "d", 0, "", "", "");
    NYX_ENTITY::create_int_trait(db, "e", 0, "", "", "e_i");
    NYX_ENTITY::create_time_trait(db, "f", 0, "", "", "");
    NYX_ENTITY::create_float_trait(db, "g", 0, "", "", "");
    NAMES all;
    NYX_ENTITY::visit_sparse_traits(db, &all, true);
    EXPECT_EQ(all.m_names, (TEXTS{"bool:b", "string:c", "int:e", "float:g", "app:a", "double:d", "time:f"}));
    NAMES visible;
    NYX_ENTITY::visit_sparse_traits(db, &visible, false);
    EXPECT_EQ(visible.m_names, (TEXTS{"bool:b", "string:c", "float:g", "app:a", "double:d", "time:f"}));
    NAMES others;
    NYX_SDC_CLOCK::visit_sparse_traits(db, &others, true);
    EXPECT_TRUE(others.m_names.empty());
}

TEST(TraitWalk, EndsWithWhatAVisitorThrows) {
    SCOPED_DB db("walk");
    NYX_ENTITY::create_int_trait(db, "a", 0, "", "", "");
    NYX_ENTITY::create_int_trait(db, "stop", 0, "", "", "");
    NYX_ENTITY::create_int_trait(db, "b", 0, "", "", "");
    NAMES names;
    EXPECT_THROW(NYX_ENTITY::visit_sparse_traits(db, &names, true), std::runtime_error);
    EXPECT_EQ(names.m_names, TEXTS{"int:a"});
}

TEST(TraitWalk, NeedsADatabase) {
    NAMES names;
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { NYX_NET::visit_sparse_traits(nullptr, &names, true); }),
              RAISED("Input database cannot be NULL", "NYX_NET::visit_sparse_traits"));
}

TEST(TraitWalkDeathTest, UnknownTypesOfValuesEndTheRun) {
    SCOPED_DB db("walk");
    NYX_BYTE1_TRAIT *const byte1 = NYX_ENTITY::create_bool_trait(db, "a", false, "", "", "");
    NYX_BYTE4_TRAIT *const byte4 = NYX_ENTITY::create_int_trait(db, "b", 0, "", "", "");
    NYX_BYTE8_TRAIT *const byte8 = NYX_ENTITY::create_time_trait(db, "c", 0, "", "", "");
    nyx_row_of(byte1)->m_value_type = NYX_TRAIT_VALUE_TYPE::INT_TRAIT_VALUE;
    nyx_row_of(byte4)->m_value_type = NYX_TRAIT_VALUE_TYPE::APP_TRAIT_VALUE;
    nyx_row_of(byte8)->m_value_type = NYX_TRAIT_VALUE_TYPE(7);
    NAMES names;
    EXPECT_DEATH(nyx_dispatch_trait(byte1, names), "Unknown byte1 trait type");
    EXPECT_DEATH(nyx_dispatch_trait(byte4, names), "Unknown byte4 trait type");
    EXPECT_DEATH(nyx_dispatch_trait(byte8, names), "Unknown byte8 trait type");
}

TEST(TraitTable, AddressIsNotBentByTheStreamsWidth) {
    SCOPED_DB db("table");
    CAPTURING_SINK sink;
    std::ostringstream plain, bent;
    NYX_INST_HEADER::output_all_sparse_traits(plain, db, false);
    bent.width(60);
    NYX_INST_HEADER::output_all_sparse_traits(bent, db, false);
    EXPECT_EQ(bent.str(), plain.str());
}

TEST(TraitTable, MissingTextsAreEmptyColumns) {
    std::ostringstream missing, empty;
    nyx_sparse_trait_output(missing, nullptr, nullptr, nullptr, nullptr, nullptr, false, nullptr);
    nyx_sparse_trait_output(empty, "", "", nullptr, "", "", false, "");
    EXPECT_EQ(missing.str(), empty.str());
}

TEST(TraitTable, OfDeclarationsNeedsADatabase) {
    std::ostringstream stream;
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { NYX_NET::output_all_sparse_traits(stream, nullptr, false); }),
              RAISED("Input database cannot be NULL", "NYX_NET::output_all_sparse_traits"));
    EXPECT_EQ(stream.str(), "");
}

TEST(TraitWalkDeathTest, NeedsAVisitor) {
    SCOPED_DB db("walk");
    EXPECT_DEATH(NYX_NET::visit_sparse_traits(db, nullptr, false), "visitor != nullptr");
}

} // namespace
