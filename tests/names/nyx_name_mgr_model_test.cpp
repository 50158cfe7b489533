// The name manager against two vectors and a map, over random steps and moves to other addresses.

#include "memory/segment_image.h"
#include "names/nyx_name_mgr.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace {

/// One namespace: what a name's number is, and what a number's name is.
struct NAMESPACE_MODEL {
    std::vector<std::string> names;
    std::map<std::string, unsigned> numbers;

    unsigned intern(const std::string &name) {
        const auto [at, added] = numbers.emplace(name, static_cast<unsigned>(names.size()));
        if (added)
            names.push_back(name);
        return at->second;
    }
};

struct NAMES_MODEL {
    NAMESPACE_MODEL plain;
    NAMESPACE_MODEL bus;
    std::map<unsigned, unsigned> counts;

    // A bus bit as the rule has it, told from its front and not from its back.
    static bool split(const std::string &name, std::string &base, unsigned &bit) {
        const std::size_t bracket = name.rfind('[');
        if (name.size() < 4 || name.back() != ']' || bracket == std::string::npos)
            return false;
        const std::string digits = name.substr(bracket + 1, name.size() - bracket - 2);
        if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos)
            return false;
        const std::size_t first = digits.find_first_not_of('0');
        const std::string value = first == std::string::npos ? "0" : digits.substr(first);
        if (value.size() > 3 || std::stoul(value) > 255)
            return false;
        base = name.substr(0, bracket);
        bit = static_cast<unsigned>(std::stoul(value));
        return true;
    }

    unsigned get_id(const std::string &name) {
        std::string base;
        unsigned bit = 0;
        return split(name, base, bit) ? 0x80000000u | (bit << 23) | bus.intern(base) : plain.intern(name);
    }
    unsigned find_id(const std::string &name) const {
        std::string base;
        unsigned bit = 0;
        const bool is_bit = split(name, base, bit);
        const auto &numbers = is_bit ? bus.numbers : plain.numbers;
        const auto found = numbers.find(is_bit ? base : name);
        if (found == numbers.end())
            return 0xFFFFFFFFu;
        return is_bit ? 0x80000000u | (bit << 23) | found->second : found->second;
    }
    bool find_name(unsigned id, std::string &name) const {
        if (id == 0xFFFFFFFFu) {
            name.clear();
            return false;
        }
        const bool is_bit = id >> 31;
        const auto &names = is_bit ? bus.names : plain.names;
        const unsigned number = is_bit ? id & 0x7FFFFF : id;
        if (number >= names.size())
            return false;
        name = is_bit ? names[number] + "[" + std::to_string((id >> 23) & 255) + "]" : names[number];
        return true;
    }
};

TEST(NameManagerModel, AnswersAsTheModelDoes) {
    std::mt19937 random(31415);
    const auto below = [&random](unsigned n) { return static_cast<unsigned>(random() % n); };
    auto segment = std::make_unique<NYX_SEGMENT>(std::size_t(1) << 24);
    auto *names = new (segment->get_segment_manager()->allocate(sizeof(NYX_NAME_MANAGER)))
        NYX_NAME_MANAGER(segment->get_segment_manager());
    NAMES_MODEL model;
    const auto random_name = [&] {
        static const std::string alphabet = "aB[]*019-\xe9";
        std::string name;
        switch (below(4)) {
        case 0:
            for (unsigned length = below(7); length > 0; --length)
                name += alphabet[below(static_cast<unsigned>(alphabet.size()))];
            return name;
        case 1:
            return "net_" + std::to_string(below(3000));
        default:
            return "bus" + std::to_string(below(300)) + "[" + (below(5) ? "" : "00") + std::to_string(below(300)) + "]";
        }
    };
    const auto random_id = [&]() -> unsigned {
        switch (below(8)) {
        case 0:
            return 0xFFFFFFFFu;
        case 1:
            return static_cast<unsigned>(random());
        case 2:
        case 3:
        case 4:
            return below(static_cast<unsigned>(model.plain.names.size()) + 3);
        default:
            return 0x80000000u | (below(256) << 23) | below(static_cast<unsigned>(model.bus.names.size()) + 3);
        }
    };
    const unsigned steps = model_steps(60000);
    for (unsigned step = 0; step < steps; ++step) {
        const unsigned action = below(1000);
        if (action < 400) {
            const std::string name = random_name();
            ASSERT_EQ(names->get_id(name.c_str()).get(), model.get_id(name)) << name;
        } else if (action < 600) {
            const std::string name = random_name();
            ASSERT_EQ(names->find_id(name.c_str()).get(), model.find_id(name)) << name;
        } else if (action < 800) {
            const unsigned id = random_id();
            std::string name = "before", expected = "before";
            ASSERT_EQ(names->find_name(NYX_NAME_ID(id), name), model.find_name(id, expected)) << std::hex << id;
            ASSERT_EQ(name, expected);
        } else if (action < 990) {
            const unsigned id = random_id();
            if (id == 0xFFFFFFFFu)
                continue;
            const auto count = model.counts.find(id);
            ASSERT_EQ(names->get_id_count(NYX_NAME_ID(id)).get(), count == model.counts.end() ? 0 : count->second);
            if (below(2)) {
                ASSERT_EQ(names->increase_id_count(NYX_NAME_ID(id)).get(), model.counts[id]++);
            }
        } else if (action < 995) {
            auto there = std::make_unique<NYX_SEGMENT>(*segment, below(2) ? 0 : 4096);
            names = reinterpret_cast<NYX_NAME_MANAGER *>(there->data() +
                                                         (reinterpret_cast<char *>(names) - segment->data()));
            segment = std::move(there);
            ASSERT_EQ(segment->algorithm().find_fault(), "");
        } else {
            names->shrink_to_fit();
            ASSERT_EQ(names->get_size(), model.plain.names.size() + model.bus.names.size());
        }
        if (step % 20011 == 20010) {
            names->clear();
            model = NAMES_MODEL();
        }
    }
    for (unsigned number = 0; number < model.plain.names.size(); ++number)
        ASSERT_EQ(names->find_id(model.plain.names[number].c_str()).get(), number);
}

} // namespace
