#include "pattern/object_types.h"

#include "names/nyx_name_mgr_impl.h"
#include "nyx_report/nyx_report_exception.h"
#include "support/capturing_sink.h"
#include "traits/nyx_trait_core.h"

#include <boost/interprocess/exceptions.hpp>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace {

NYX_MODULE_IMPL *add_module(ROOT &root, const char *name) {
    NYX_MODULE_TABLE &table = root.root->table<NYX_MODULE>();
    NYX_MODULE_IMPL *const module = table.allocate();
    const NYX_MODULE_ID id = NYX_MODULE_TABLE::get_id(module);
    *table.m_name_id.get(id) = root.root->names().get_id(name);
    root.root->register_module(*table.m_name_id.get(id), id);
    return module;
}

template <class CALL>
std::string text_of_runtime_error(CALL call) {
    try {
        call();
    } catch (const NYX_RUNTIME_ERROR &error) {
        const std::string text = error.what();
        return text.substr(0, text.find(" in "));
    }
    return "no error";
}

TEST(SchemaId, OfTheWholeIsTheFiles) {
    EXPECT_EQ(NYX_DB::get_schema_id(NYX_DB_TYPE::USER, nullptr), 0x4ff6c392e0cd1121u);
    EXPECT_EQ(NYX_DB::get_schema_id(NYX_DB_TYPE::COMPONENT, nullptr), 0x4ff6c392e0cd1121u);
    EXPECT_EQ(NYX_DB_PERSISTENT::get_schema_id(nullptr), 0x0cff2883bf460876u);
    EXPECT_EQ(NYX_MODULE::get_schema_id(nullptr), 0x588d6758006698ddu);
    EXPECT_EQ(NYX_BYTE1_TRAIT::get_schema_id(nullptr), 0x57f683eafb6d1a65u);
    EXPECT_EQ(NYX_BYTE4_TRAIT::get_schema_id(nullptr), 0x86118029ad7ed9d3u);
    EXPECT_EQ(NYX_BYTE8_TRAIT::get_schema_id(nullptr), 0x1cd03bdc26c40088u);
    EXPECT_EQ(NYX_HIER_PORT::get_schema_id(nullptr), 0x36b531ae39ed1d85u);
}

TEST(SchemaId, ListsItsMembersFromTheRootToTheBuiltInTraits) {
    std::vector<NYX_SCHEMA_MEMBER> members;
    EXPECT_EQ(NYX_DB::get_schema_id(NYX_DB_TYPE::USER, &members), 0x4ff6c392e0cd1121u);
    ASSERT_GT(members.size(), 5u);
    EXPECT_EQ(members.front().name, "NYX_DB_PERSISTENT");
    EXPECT_EQ(members.front().id, 24u);
    EXPECT_EQ(members[1].name, "NYX_MODULE");
    EXPECT_EQ(members[1].id, 4u);
    EXPECT_EQ(members[2].name, "NYX_MODULE_TABLE");
    EXPECT_EQ(members[3].name, "NYX_MODULE (trait schema)");
    EXPECT_EQ(members[4].name, "NYX_BYTE4_TRAIT_TABLE");
    EXPECT_EQ(members[5].name, "NYX_BYTE4_TRAIT_LOOKUP");
    EXPECT_EQ(members.back().name, "NYX_BUILTIN_TRAITS");
    EXPECT_EQ(members.back().id, 1u);
}

TEST(PersistentRoot, IsFoundByItsName) {
    ROOT root;
    const auto found = root.segment.get_segment_manager()->find<NYX_DB_PERSISTENT>("NYX");
    EXPECT_EQ(found.first, root.root);
    EXPECT_EQ(found.second, 1u);
    EXPECT_EQ(root.root->get_type(), NYX_DB_TYPE::USER);
    EXPECT_EQ(root.root->get_segment_manager(), root.segment.get_segment_manager());
}

TEST(PersistentRoot, StoresItsMembersInTheFilesOrder) {
    ROOT root(std::size_t(64) << 20, NYX_DB_TYPE::DEVICE);
    const char *const image = reinterpret_cast<const char *>(root.root);
    const auto target = [image](std::size_t offset) {
        std::int64_t distance;
        std::memcpy(&distance, image + offset, sizeof(distance));
        return static_cast<const void *>(image + offset + distance);
    };
    EXPECT_EQ(target(0), &root.root->table<NYX_MODULE>());
    EXPECT_EQ(target(8), &root.root->table<NYX_INSTANCE>());
    EXPECT_EQ(target(16), &root.root->table<NYX_INSTANCE_BUS>());
    EXPECT_EQ(target(24), &root.root->table<NYX_PORT>());
    EXPECT_EQ(target(32), &root.root->table<NYX_PORT_BUS>());
    EXPECT_EQ(target(40), &root.root->table<NYX_NET_BUS>());
    EXPECT_EQ(target(48), &root.root->table<NYX_INST_PORT>());
    EXPECT_EQ(target(56), &root.root->table<NYX_NET>());
    EXPECT_EQ(target(64), &root.root->table<NYX_INTERFACE>());
    EXPECT_EQ(target(72), &root.root->table<NYX_INST_HEADER>());
    EXPECT_EQ(target(80), &root.root->table<NYX_BYTE1_TRAIT>());
    EXPECT_EQ(target(88), &root.root->table<NYX_BYTE4_TRAIT>());
    EXPECT_EQ(target(96), &root.root->table<NYX_BYTE8_TRAIT>());
    EXPECT_EQ(target(104), &root.root->table<NYX_HIER_INSTANCE>());
    EXPECT_EQ(target(112), &root.root->table<NYX_HIER_MODULE>());
    EXPECT_EQ(target(120), &root.root->table<NYX_HIER_PORT>());
    EXPECT_EQ(target(136), &root.root->names().get_impl());
    std::uint32_t top;
    std::memcpy(&top, image + 208, sizeof(top));
    EXPECT_EQ(top, 0u);
    EXPECT_EQ(image[212], 2);
    std::uint64_t reserved;
    std::memcpy(&reserved, image + 216, sizeof(reserved));
    EXPECT_EQ(reserved, 0u);
}

TEST(PersistentRoot, StoresTheLinksOfItsUserDataInTheFilesOrder) {
    ROOT root;
    const char *const image = reinterpret_cast<const char *>(root.root);
    const auto target = [](const char *link) {
        std::int64_t distance;
        std::memcpy(&distance, link, sizeof(distance));
        return link + distance;
    };
    const char *const user_data = target(image + 128);
    const auto expect = [&](std::size_t offset, const void *table) {
        EXPECT_EQ(static_cast<const void *>(target(user_data + offset)), table) << offset;
    };
    expect(0, &root.root->table<NYX_RELATIVE_OBJECT>());
    expect(8, &root.root->table<NYX_CONSTRAINT_COLLECTION>());
    expect(16, &root.root->table<NYX_CONSTRAINT_STMT>());
    expect(24, &root.root->table<NYX_CONSTRAINT_ARG>());
    expect(32, &root.root->table<NYX_SOURCE_FILE>());
    expect(40, &root.root->table<NYX_ENTITY>());
    expect(48, &root.root->table<NYX_SDC_CLOCK>());
}

TEST(PersistentRoot, StoresItsMapsInTheFilesOrder) {
    ROOT root;
    const auto bytes = [&root] {
        return std::string(reinterpret_cast<const char *>(root.root), sizeof(NYX_DB_PERSISTENT));
    };
    // An entry changes the map that it is entered in, and nothing else of the root.
    const auto expect_change_at = [&bytes](std::size_t offset, auto enter) {
        const std::string before = bytes();
        enter();
        const std::string after = bytes();
        std::size_t first = before.size(), last = 0;
        for (std::size_t i = 0; i < before.size(); ++i) {
            if (before[i] != after[i]) {
                first = std::min(first, i);
                last = i;
            }
        }
        EXPECT_GE(first, offset);
        EXPECT_LT(last, offset + 64);
        EXPECT_LE(first, last) << "nothing has changed";
    };
    const auto kind = NYX_TRAIT_OBJ_TYPE::NET_SPARSE;
    expect_change_at(144, [&] { root.root->register_module(NYX_NAME_ID(5), NYX_MODULE_ID(0)); });
    expect_change_at(224, [&] { NYX_TRAIT_CORE<NYX_BOOL_TRAIT>::allocate(root.root, "a", false, "", "", "", kind); });
    expect_change_at(288, [&] { NYX_TRAIT_CORE<NYX_INT_TRAIT>::allocate(root.root, "b", 0, "", "", "", kind); });
    expect_change_at(352, [&] { NYX_TRAIT_CORE<NYX_DOUBLE_TRAIT>::allocate(root.root, "c", 0.0, "", "", "", kind); });
    expect_change_at(416, [&] {
        root.root->register_inst_header(INST_HEADER_KEY("", false, NYX_NAME_ID(0), NYX_NAME_ID(1)),
                                        NYX_INST_HEADER_ID(0));
    });
}

TEST(PersistentRoot, MapsHaveSixteenBucketsFromTheFirstEntryOn) {
    ROOT root;
    const auto bytes_of_map = [&root](const std::string &name) {
        const NYX_STATS stats = root.root->get_stats();
        for (const NYX_FIELD_STATS &field : stats.get_type_stats().back().get_field_stats())
            if (field.get_type() == name)
                return field.get_bytes();
        return -1L;
    };
    constexpr long buckets = 17 * 8; // and the one that all elements hang on
    EXPECT_EQ(bytes_of_map("module_nameid_to_objid"), 0);
    add_module(root, "a");
    EXPECT_EQ(bytes_of_map("module_nameid_to_objid"), buckets + 24);
    root.root->register_inst_header(INST_HEADER_KEY("", false, NYX_NAME_ID(0), NYX_NAME_ID(1)), NYX_INST_HEADER_ID(0));
    EXPECT_EQ(bytes_of_map("inst_header_key_to_id"), buckets + 48);
    const auto kind = NYX_TRAIT_OBJ_TYPE::NET_SPARSE;
    NYX_TRAIT_CORE<NYX_BOOL_TRAIT>::allocate(root.root, "t", false, "", "", "", kind);
    NYX_TRAIT_CORE<NYX_INT_TRAIT>::allocate(root.root, "u", 0, "", "", "", kind);
    NYX_TRAIT_CORE<NYX_DOUBLE_TRAIT>::allocate(root.root, "v", 0.0, "", "", "", kind);
    for (const char *const width : {"1", "4", "8"})
        EXPECT_EQ(bytes_of_map(std::string("byte") + width + "_trait_nameid_to_objid"), buckets + 24) << width;
}

TEST(InstHeaderKey, StoresItsPartsInTheFilesOrder) {
    const INST_HEADER_KEY key("", true, NYX_NAME_ID(0x01020304), NYX_NAME_ID(0x0a0b0c0d));
    const std::string stored(reinterpret_cast<const char *>(&key), sizeof(key));
    EXPECT_EQ(stored, std::string("\x25\x23\x22\x84\xe4\x9c\xf2\xcb" // hash of no parameters
                                  "\x01\0\0\0"                       // user's group
                                  "\x04\x03\x02\x01"                 // database
                                  "\x0d\x0c\x0b\x0a"                 // module
                                  "\0\0\0\0",
                                  24));
}

TEST(PersistentRoot, HasTheTopModuleThatWasSet) {
    ROOT root;
    EXPECT_EQ(root.root->get_top_module(), nullptr);
    NYX_MODULE *const first = add_module(root, "first");
    NYX_MODULE *const second = add_module(root, "second");
    EXPECT_EQ(root.root->get_top_module(), first);
    root.root->set_top_module(second);
    EXPECT_EQ(root.root->get_top_module(), second);
}

TEST(PersistentRoot, HasNoTopModuleWhenThatModuleIsGone) {
    ROOT root;
    NYX_MODULE_IMPL *const first = add_module(root, "first");
    add_module(root, "second");
    root.root->table<NYX_MODULE>().deallocate(first);
    EXPECT_EQ(root.root->get_top_module(), nullptr);
}

TEST(PersistentRoot, OfALibraryHasNoTopModule) {
    const std::string text = "Top module is defined for user databases only from function NYX_DB_PERSISTENT::";
    for (const NYX_DB_TYPE type : {NYX_DB_TYPE::COMPONENT, NYX_DB_TYPE::DEFINITION, NYX_DB_TYPE::WORKING_LIBRARY}) {
        ROOT root(std::size_t(1) << 20, type);
        NYX_MODULE *const module = add_module(root, "cell");
        EXPECT_EQ(text_of_runtime_error([&] { root.root->get_top_module(); }), text + "get_top_module");
        EXPECT_EQ(text_of_runtime_error([&] { root.root->set_top_module(module); }), text + "set_top_module");
        EXPECT_EQ(text_of_runtime_error([&] { root.root->set_top_module(nullptr); }), text + "set_top_module");
        EXPECT_EQ(text_of_runtime_error([&] { root.root->rename_top_module("x"); }), text + "rename_top_module");
    }
}

TEST(PersistentRoot, OfADeviceHasATopModule) {
    ROOT root(std::size_t(1) << 20, NYX_DB_TYPE::DEVICE);
    NYX_MODULE *const top = add_module(root, "device");
    EXPECT_EQ(root.root->get_top_module(), top);
    root.root->set_top_module(top);
    root.root->rename_top_module("chip");
    EXPECT_EQ(root.root->find_module("chip"), top);
}

TEST(PersistentRoot, WithoutATopModuleHasNoneToRename) {
    ROOT root;
    EXPECT_EQ(text_of_runtime_error([&] { root.root->rename_top_module("new"); }),
              "Can't rename top module as there is none from function NYX_DB_PERSISTENT::rename_top_module");
    EXPECT_EQ(root.root->names().get_size(), 0u);
}

TEST(PersistentRoot, FindsTheTopModuleByItsNewName) {
    ROOT root;
    NYX_MODULE *const top = add_module(root, "old");
    root.root->rename_top_module("new");
    EXPECT_EQ(root.root->find_module("new"), top);
    EXPECT_EQ(root.root->find_module("old"), nullptr);
    EXPECT_EQ(*root.root->table<NYX_MODULE>().m_name_id.get(NYX_MODULE_ID(0)), root.root->names().find_id("new"));
}

TEST(PersistentRoot, RefusesANameThatAModuleHas) {
    ROOT root;
    add_module(root, "top");
    add_module(root, "other");
    const std::string text = "Can't rename top module as a module with this name already exists: ";
    const std::string tail = " from function NYX_DB_PERSISTENT::rename_top_module";
    EXPECT_EQ(text_of_runtime_error([&] { root.root->rename_top_module("other"); }), text + "other" + tail);
    EXPECT_EQ(text_of_runtime_error([&] { root.root->rename_top_module("top"); }), text + "top" + tail);
    EXPECT_NE(root.root->find_module("top"), nullptr);
}

TEST(PersistentRoot, LookUpsEnterNoName) {
    ROOT root;
    EXPECT_EQ(root.root->find_module("nobody"), nullptr);
    EXPECT_EQ(root.root->find_byte1_trait("nobody", NYX_TRAIT_OBJ_TYPE::NET_SPARSE), nullptr);
    EXPECT_EQ(root.root->names().get_size(), 0u);
}

TEST(PersistentRoot, FilesTraitsByNameAndObjectType) {
    ROOT root;
    const auto add = [&root](NYX_TRAIT_OBJ_TYPE type) {
        return NYX_TRAIT_CORE<NYX_INT_TRAIT>::allocate(root.root, "file_name", 0, "", "", "", type);
    };
    NYX_BYTE4_TRAIT *const on_nets = add(NYX_TRAIT_OBJ_TYPE::NET_SPARSE);
    NYX_BYTE4_TRAIT *const on_ports = add(NYX_TRAIT_OBJ_TYPE::PORT_SPARSE);
    EXPECT_EQ(root.root->find_byte4_trait("file_name", NYX_TRAIT_OBJ_TYPE::NET_SPARSE), on_nets);
    EXPECT_EQ(root.root->find_byte4_trait("file_name", NYX_TRAIT_OBJ_TYPE::PORT_SPARSE), on_ports);
    EXPECT_EQ(root.root->find_byte8_trait("file_name", NYX_TRAIT_OBJ_TYPE::NET_SPARSE), nullptr);
    EXPECT_NE(root.root->names().find_id("file_nameNET_SPARSE"), NYX_NAME_ID::INVALID);
}

TEST(PersistentRoot, FindsHeadersByEveryPartOfTheirKey) {
    ROOT root;
    NYX_NAME_MANAGER &names = root.root->names();
    const NYX_NAME_ID lib = names.get_id("lib");
    const NYX_NAME_ID cell = names.get_id("cell");
    const INST_HEADER_KEY plain("", false, lib, cell);
    EXPECT_EQ(plain.m_params_hash, 0xcbf29ce484222325u);
    root.root->register_inst_header(plain, NYX_INST_HEADER_ID(5));
    root.root->register_inst_header(INST_HEADER_KEY("w=8", false, lib, cell), NYX_INST_HEADER_ID(6));
    root.root->register_inst_header(INST_HEADER_KEY("", true, lib, cell), NYX_INST_HEADER_ID(7));
    root.root->register_inst_header(INST_HEADER_KEY("", false, cell, lib), NYX_INST_HEADER_ID(8));
    EXPECT_EQ(root.root->find_inst_header(plain).get(), 5u);
    EXPECT_EQ(root.root->find_inst_header(INST_HEADER_KEY("w=8", false, lib, cell)).get(), 6u);
    EXPECT_EQ(root.root->find_inst_header(INST_HEADER_KEY("", true, lib, cell)).get(), 7u);
    EXPECT_EQ(root.root->find_inst_header(INST_HEADER_KEY("", false, cell, lib)).get(), 8u);
    EXPECT_EQ(root.root->find_inst_header(INST_HEADER_KEY("", false, lib, lib)), NYX_INST_HEADER_ID::INVALID);
}

TEST(PersistentRoot, KnowsWhetherItRefersToOthers) {
    ROOT root;
    EXPECT_FALSE(root.root->has_inst_headers());
    NYX_INST_HEADER_IMPL *const header = root.root->table<NYX_INST_HEADER>().allocate();
    EXPECT_TRUE(root.root->has_inst_headers());
    root.root->table<NYX_INST_HEADER>().deallocate(header);
    EXPECT_FALSE(root.root->has_inst_headers());
}

TEST(PersistentRoot, ThatDoesNotFitLeavesAnException) {
    int failures = 0, roots = 0;
    for (std::size_t size = 224; size < 60'000; size += 488) {
        NYX_SEGMENT segment(size);
        try {
            segment.get_segment_manager()->construct<NYX_DB_PERSISTENT>("NYX")(segment.get_segment_manager(),
                                                                               NYX_DB_TYPE::USER);
            ++roots;
        } catch (const boost::interprocess::bad_alloc &) {
            EXPECT_EQ(roots, 0) << "it fits in less than " << size;
            ++failures;
        }
        EXPECT_EQ(segment.algorithm().find_fault(), "");
    }
    EXPECT_GT(failures, 0);
    EXPECT_GT(roots, 0);
}

TEST(PersistentRoot, StatisticsNameEveryTableAndMapAndAccountForAllThatIsUsed) {
    ROOT root;
    for (int i = 0; i < 2000; ++i) {
        add_module(root, ("a_module_with_a_name_" + std::to_string(i)).c_str());
        root.root->table<NYX_NET>().allocate();
        root.root->names().get_id(("n[" + std::to_string(i % 200) + "]").c_str());
    }
    root.root->table<NYX_INST_PORT>().allocate(5000);
    CAPTURING_SINK sink;
    const NYX_STATS stats = root.root->get_stats();
    EXPECT_TRUE(sink.lines().empty()) << "all is accounted for";
    std::vector<std::string> types;
    for (const NYX_TYPE_STATS &type : stats.get_type_stats())
        types.push_back(type.get_type());
    ASSERT_EQ(types.size(), 25u);
    EXPECT_EQ(types.front(), "NYX_MODULE_TABLE");
    EXPECT_EQ(types[22], "NYX_SDC_CLOCK_TABLE");
    EXPECT_EQ(types[23], "NYX_NAME_MANAGER");
    EXPECT_EQ(types[24], "NYX_DB_PERSISTENT");
    std::vector<std::string> fields;
    for (const NYX_FIELD_STATS &field : stats.get_type_stats().back().get_field_stats())
        fields.push_back(field.get_type());
    EXPECT_EQ(fields, (std::vector<std::string>{"byte1_trait_nameid_to_objid", "byte4_trait_nameid_to_objid",
                                                "byte8_trait_nameid_to_objid", "inst_header_key_to_id",
                                                "module_nameid_to_objid", "self"}));
    EXPECT_EQ(stats.get_used(), root.segment.algorithm().get_allocated() + 168);
}

TEST(PersistentRoot, StatisticsWarnOfWhatNobodyAccountsFor) {
    ROOT root;
    root.segment.get_segment_manager()->allocate(100'000);
    CAPTURING_SINK sink;
    const NYX_STATS stats = root.root->get_stats();
    long long accounted = static_cast<long long>(root.segment.algorithm().get_first_block_offset());
    for (const NYX_TYPE_STATS &type : stats.get_type_stats())
        for (const NYX_FIELD_STATS &field : type.get_field_stats())
            accounted += field.get_bytes();
    EXPECT_EQ(sink.texts(NYX_REPORT::SEVERITY::WARNING),
              std::vector<std::string>{"The DB used " + std::to_string(stats.get_used()) + " bytes , but " +
                                       std::to_string(accounted) + " bytes were accounted for"});
}

using PersistentRootDeathTest = testing::Test;

TEST(PersistentRootDeathTest, SecondHeaderOfAKeyEndsTheRun) {
    ROOT root;
    const INST_HEADER_KEY key("", false, NYX_NAME_ID(0), NYX_NAME_ID(1));
    root.root->register_inst_header(key, NYX_INST_HEADER_ID(0));
    EXPECT_DEATH(root.root->register_inst_header(key, NYX_INST_HEADER_ID(1)),
                 "result.second: Attempt to register inst header with the same INST_HEADER_KEY");
}

template <class TRAIT>
void add_twice(const char *check) {
    ROOT root;
    const auto add = [&root] {
        NYX_TRAIT_CORE<TRAIT>::allocate(root.root, "t", {}, "", "", "", NYX_TRAIT_OBJ_TYPE::NET_SPARSE);
    };
    add();
    EXPECT_DEATH(add(), std::string(check) + "\\(trait->get_name\\(\\), object_type\\) == nullptr");
}

TEST(PersistentRootDeathTest, SecondTraitOfANameAndTypeEndsTheRun) {
    add_twice<NYX_BOOL_TRAIT>("find_byte1_trait");
    add_twice<NYX_INT_TRAIT>("find_byte4_trait");
    add_twice<NYX_DOUBLE_TRAIT>("find_byte8_trait");
}

} // namespace
