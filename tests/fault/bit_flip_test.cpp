// Saved databases with one bit flipped, or cut: each gives an exception, or is the same database.
#include "database/database_test_support.h"
#include "file/file_test_support.h"
#include "netlist/nyx_net_table.h"

#include <random>

namespace {

class BitFlip : public testing::TestWithParam<NYX_COMPRESSION> {
protected:
    void SetUp() override {
        NYX_DB *const db = NYX_DB::create_non_persistent(s_size_MiB, NYX_DB_TYPE::USER, "", "");
        NYX_DB_PERSISTENT *const root = root_of(db);
        auto &nets = root->table<NYX_NET>();
        std::vector<NYX_NET_IMPL *> rows;
        for (int i = 0; i < 2000; ++i) {
            rows.push_back(nets.allocate());
            rows.back()->m_name_id = root->names().get_id(("net_" + std::to_string(i)).c_str());
        }
        for (std::size_t i = 0; i < rows.size(); i += 7)
            nets.deallocate(rows[i]);
        NYX_DB_IMPL::of(*db).m_file->commit_impl(m_path, GetParam(), 3, 32768, {});
        db->close();
        m_bytes = read_file(m_path);
        m_content = content();
    }

    // All blocks, but for the links of the tree.
    std::string content() {
        NYX_DB *const db = NYX_DB::open(m_path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY);
        const std::string result = content_of(*NYX_DB_IMPL::of(*db).m_file);
        db->close();
        return result;
    }

    // "same" for a database that is equal, else what is thrown, or "other".
    std::string open(const std::string &bytes) {
        write_file(m_path, bytes);
        std::string result;
        const std::string error = thrown([&] { result = content() == m_content ? "same" : "other"; });
        return result.empty() ? error : result;
    }

    // Ends the run by the format: the type, the algorithm, and a reservation that is refused.
    static bool ends_the_run(std::size_t byte) {
        return byte == 8 || (byte >= 21 && byte < 25) || (byte >= 33 && byte < 37);
    }

    TEMP_DIR m_dir;
    const std::string m_path = m_dir / "a.nyx";
    std::string m_bytes;
    std::string m_content;
};

TEST_P(BitFlip, IsNoticedOrChangesNothing) {
    constexpr int s_num_flips = 3400;
    std::mt19937_64 generator(GetParam() == NYX_COMPRESSION::ZSTD ? 1 : 2);
    int noticed = 0, same = 0, other = 0;
    for (int i = 0; i < s_num_flips; ++i) {
        // Every second one in the first kilobyte, where a bit means most.
        const std::size_t bit = generator() % ((i % 2 ? m_bytes.size() : 1024) * 8);
        if (ends_the_run(bit / 8))
            continue;
        std::string bytes = m_bytes;
        bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ (1 << bit % 8));
        const std::string result = open(bytes);
        noticed += result != "same" && result != "other";
        same += result == "same";
        other += result == "other";
        // Only a checksum sees all.
        if (GetParam() == NYX_COMPRESSION::ZSTD) {
            EXPECT_NE(result, "other") << "bit " << bit;
        }
    }
    RecordProperty("noticed", noticed);
    RecordProperty("same", same);
    RecordProperty("other", other);
    EXPECT_GT(noticed, 0);
}

TEST_P(BitFlip, CutFileIsNoticed) {
    std::mt19937_64 generator(3);
    for (int i = 0; i < 200; ++i) {
        const std::size_t size = generator() % m_bytes.size();
        const std::string result = open(m_bytes.substr(0, size));
        EXPECT_EQ(result, GetParam() == NYX_COMPRESSION::NONE || size < 53 ? "file io 0" : "corrupted") << size;
    }
}

INSTANTIATE_TEST_SUITE_P(Algorithms, BitFlip,
                         testing::Values(NYX_COMPRESSION::NONE, NYX_COMPRESSION::LZ4, NYX_COMPRESSION::ZSTD));

} // namespace
