// A program and a tool in a library of its own, both linked to libnyx.so: all three share one flag and one list.

#include "nyx_observer_tool.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <string>
#include <vector>

namespace {

std::string library_of(const void *address) {
    Dl_info info;
    return dladdr(address, &info) ? info.dli_fname : "";
}

struct OBSERVER : NYX_OBSERVER<NYX_NET> {
    using NYX_OBSERVER::NYX_OBSERVER;
    void enabled(bool on) override { told = on; }
    int told = -1;
};

struct STATIC_OBSERVER : NYX_OBSERVER<NYX_ENTITY> {
    using NYX_OBSERVER::NYX_OBSERVER;
    void enabled(bool on) override { told = on; }
    int told = -1;
};
STATIC_OBSERVER s_observer(1);

} // namespace

TEST(ObserverClient, SharesTheFlagWithTheToolAndTheLibrary) {
    NYX_OBSERVER<NYX_NET>::set_enabled(true);
    EXPECT_TRUE(NYX_OBSERVER<NYX_NET>::is_enabled());
    EXPECT_TRUE(tool_is_enabled());
    tool_set_enabled(false);
    EXPECT_FALSE(NYX_OBSERVER<NYX_NET>::is_enabled());
    EXPECT_FALSE(tool_is_enabled());
}

TEST(ObserverClient, SharesTheNestingWithTheTool) {
    NYX_OBSERVER<NYX_NET>::set_enabled(true);
    NYX_OBSERVER<NYX_NET>::set_enabled(false);
    tool_set_enabled(false);
    NYX_OBSERVER<NYX_NET>::set_enabled(true);
    EXPECT_FALSE(NYX_OBSERVER<NYX_NET>::is_enabled());
    tool_set_enabled(true);
    EXPECT_TRUE(NYX_OBSERVER<NYX_NET>::is_enabled());
}

TEST(ObserverClient, SharesTheListWithTheTool) {
    NYX_OBSERVER<NYX_NET>::set_enabled(true);
    int told_tool = -1;
    OBSERVER first(6);
    const auto tool = tool_make_observer(told_tool);
    OBSERVER last(4);
    const std::vector<NYX_OBSERVER<NYX_NET> *> all{&first, tool.get(), &last};
    EXPECT_EQ(tool_list(), all);
    EXPECT_EQ((std::vector<NYX_OBSERVER<NYX_NET> *>(NYX_OBSERVER<NYX_NET>::begin(), NYX_OBSERVER<NYX_NET>::end())),
              all);

    tool_set_enabled(false);
    EXPECT_EQ(first.told, 0);
    EXPECT_EQ(told_tool, 0);
    EXPECT_EQ(last.told, 0);
}

TEST(ObserverClient, HasNoInstantiationOfItsOwn) {
    EXPECT_NE(library_of(reinterpret_cast<void *>(&NYX_OBSERVER<NYX_NET>::set_enabled)).find("libnyx.so"),
              std::string::npos);
    EXPECT_NE(library_of(reinterpret_cast<void *>(&NYX_OBSERVER<NYX_DB>::begin)).find("libnyx.so"), std::string::npos);
}

TEST(ObserverClient, HasObserversWithStaticStorage) {
    EXPECT_EQ(
        (std::vector<NYX_OBSERVER<NYX_ENTITY> *>(NYX_OBSERVER<NYX_ENTITY>::begin(), NYX_OBSERVER<NYX_ENTITY>::end())),
        (std::vector<NYX_OBSERVER<NYX_ENTITY> *>{&s_observer}));
    NYX_OBSERVER<NYX_ENTITY>::set_enabled(true);
    NYX_OBSERVER<NYX_ENTITY>::set_enabled(false);
    EXPECT_EQ(s_observer.told, 0);
}
