#include "database/nyx_db_lock.h"

#include "database_test_support.h"

#include <atomic>
#include <chrono>
#include <future>
#include <stdexcept>
#include <thread>

namespace {

// Whether another thread gets the lock within a while.
bool is_free() {
    auto taken = std::make_shared<std::promise<void>>();
    std::future<void> future = taken->get_future();
    std::thread thread([taken] {
        const NYX_DB_LOCK lock;
        taken->set_value();
    });
    const bool result = future.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    thread.detach();
    return result;
}

TEST(DbLock, KeepsOtherThreadsOut) {
    std::atomic<bool> entered = false;
    std::thread other;
    {
        const NYX_DB_LOCK lock;
        other = std::thread([&] {
            const NYX_DB_LOCK inner;
            entered = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(50)); // longer than it spins
        EXPECT_FALSE(entered);
    }
    other.join();
    EXPECT_TRUE(entered);
}

TEST(DbLock, IsRecursive) {
    {
        const NYX_DB_LOCK outer;
        const NYX_DB_LOCK inner;
    }
    EXPECT_TRUE(is_free());
}

TEST(DbLock, ExceptionReleasesIt) {
    try {
        const NYX_DB_LOCK lock;
        throw std::runtime_error("out");
    } catch (const std::runtime_error &) {
    }
    EXPECT_TRUE(is_free());
}

TEST(DbLock, RefusedCallsReleaseIt) {
    SCOPED_DB parent("frame_parent");
    SCOPED_DB child("frame_child");
    NYX_DB_LINKER::get().add_sub_db(parent, child);
    EXPECT_THROW(child->close(), NYX_RUNTIME_ERROR);
    EXPECT_TRUE(is_free());
    EXPECT_THROW(create_db("frame_child"), NYX_RUNTIME_ERROR);
    EXPECT_TRUE(is_free());
    EXPECT_THROW(NYX_DB::create_non_persistent(0, NYX_DB_TYPE::USER, "", ""), NYX_RUNTIME_ERROR);
    EXPECT_TRUE(is_free());
}

TEST(DbLock, FreeAfterACloseWithUsesLeft) {
    SCOPED_DB db("frame_a");
    NYX_DB_LINKER::get().change_use_count("frame_a", +1, nullptr);
    EXPECT_EQ(db->close(), 1);
    EXPECT_TRUE(is_free());
}

TEST(DbLock, ThreadsWithDatabasesOfTheirOwnDoNotMeet) {
    constexpr int num_threads = 4, num_rounds = 200;
    std::vector<std::thread> threads;
    std::atomic<int> num_good = 0;
    for (int t = 0; t < num_threads; ++t) {
        threads.emplace_back([&num_good, t] {
            const std::string name = "frame_" + std::to_string(t);
            for (int i = 0; i < num_rounds; ++i) {
                NYX_DB *const db = create_db(name, NYX_DB_TYPE::USER, "g" + std::to_string(i % 3));
                NYX_DB *const child = create_db(name + "_child");
                link_dbs(db, child);
                bool good = NYX_DB_LINKER::get().db_for_persistent(root_of(db)) == db && child->close() == 1;
                for (NYX_DB *const open : NYX_DB::iter_open_dbs())
                    good = good && open != nullptr;
                num_good += good && to_vector(NYX_DB::iter_leaf_dbs(db)).size() == 1 && db->close() == 0;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(num_good, num_threads * num_rounds);
    EXPECT_TRUE(NYX_DB::iter_open_dbs().empty());
}

} // namespace
