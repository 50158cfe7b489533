// Many traits and properties on many objects against std::map, with rows freed and used again, and with the image
// copied to other addresses and protected there.
#include "traits/trait_test_support.h"

#include "memory/segment_image.h"
#include "pattern/object_types.h"

#include <map>
#include <random>

namespace {

constexpr unsigned s_objects = 60;
constexpr unsigned s_traits_of_a_type = 3;

// What an object has in the model: the texts of values, and the bytes or numbers of properties.
struct MODEL {
    std::map<unsigned, std::map<std::string, std::string>> values;     ///< by object and trait
    std::map<unsigned, std::map<std::string, std::string>> properties; ///< by object and name
};

std::string random_text(std::mt19937 &random) {
    std::string text(random() % 12, ' ');
    for (char &c : text)
        c = static_cast<char>('a' + random() % 26);
    return text;
}

template <class TRAIT>
typename VALUES<TRAIT>::TYPE random_value(std::mt19937 &random, [[maybe_unused]] std::string &storage) {
    using TYPE = typename VALUES<TRAIT>::TYPE;
    if (random() % 4 == 0)
        return VALUES<TRAIT>::by_default();
    if constexpr (std::is_same_v<TYPE, std::string>) {
        return random_text(random);
    } else if constexpr (std::is_same_v<TYPE, NYX_APP_DATA>) {
        storage = random_text(random);
        return bytes(storage);
    } else {
        return static_cast<TYPE>(random() % 5);
    }
}

template <class TRAIT>
std::string text_of(const typename VALUES<TRAIT>::TYPE &value) {
    if constexpr (std::is_same_v<TRAIT, NYX_APP_TRAIT>)
        return std::string(reinterpret_cast<const char *>(value.get_data()), value.get_size());
    else
        return TRAIT::convert_value_to_str(value);
}

std::string trait_name(const char *word, unsigned number) {
    return word + std::to_string(number);
}

template <class TRAIT>
TRAIT *find(const NYX_DB_PERSISTENT *root, unsigned number) {
    return NYX_TRAIT_CORE<TRAIT>::find_trait(root, trait_name(VALUES<TRAIT>::s_word, number),
                                             NYX_TRAIT_OBJ_TYPE::NET_SPARSE);
}

void expect_like_model(NYX_DB_PERSISTENT *root, const MODEL &model) {
    for (unsigned i = 0; i < s_objects; ++i) {
        const NYX_NET *const net = root->table<NYX_NET>().get(NYX_NET_ID(i));
        const auto known = model.values.find(i);
        for_each_trait_type([&]<class TRAIT>() {
            for (unsigned t = 0; t < s_traits_of_a_type; ++t) {
                const TRAIT *const trait = find<TRAIT>(root, t);
                const std::string name = trait_name(VALUES<TRAIT>::s_word, t);
                const std::string *expected = nullptr;
                if (known != model.values.end())
                    if (const auto found = known->second.find(name); found != known->second.end())
                        expected = &found->second;
                ASSERT_EQ(net->is_default_value(trait), expected == nullptr) << i << name;
                ASSERT_EQ(text_of<TRAIT>(net->get_value(trait)),
                          expected != nullptr ? *expected : text_of<TRAIT>(VALUES<TRAIT>::by_default()))
                    << i << name;
            }
        });
        std::map<std::string, std::string> properties;
        for (const auto &[name, value] : net->iter_properties()) {
            properties[name] = value.which() == 7 ? text_of<NYX_APP_TRAIT>(boost::get<NYX_APP_DATA>(value))
                                                  : (value.which() == 4 ? boost::get<std::string>(value)
                                                                        : std::to_string(boost::get<int>(value)));
            ASSERT_TRUE(net->has_property(name));
            ASSERT_EQ(net->find_property(name), value);
            ASSERT_EQ(net->get_property(name), value);
        }
        const auto expected = model.properties.find(i);
        if (expected != model.properties.end())
            ASSERT_EQ(properties, expected->second);
        else
            ASSERT_TRUE(properties.empty());
    }
    for_each_trait_type([&]<class TRAIT>() {
        for (unsigned t = 0; t < s_traits_of_a_type; ++t) {
            const TRAIT *const trait = find<TRAIT>(root, t);
            std::size_t having = 0;
            for (const auto &[object, values] : model.values)
                having += values.count(trait_name(VALUES<TRAIT>::s_word, t));
            const auto nets = trait->iter_nets(true);
            ASSERT_EQ(std::size_t(std::distance(nets.begin(), nets.end())), having);
            ASSERT_EQ(NYX_NET::trait_is_empty(const_cast<TRAIT *>(trait)), having == 0);
            ASSERT_EQ(trait->get_name(), trait_name(VALUES<TRAIT>::s_word, t));
            ASSERT_FALSE(trait->output_to_str().empty());
        }
    });
}

class TraitModel : public testing::TestWithParam<unsigned> {};

TEST_P(TraitModel, BehavesLikeMapsAtAnyAddress) {
    SCOPED_TRACE(testing::Message() << "seed " << GetParam());
    std::mt19937 random(GetParam());
    ROOT root;
    NYX_NET_TABLE &nets = root.root->table<NYX_NET>();
    for_each_trait_type([&]<class TRAIT>() {
        for (unsigned t = 0; t < s_traits_of_a_type; ++t)
            NYX_TRAIT_CORE<TRAIT>::allocate(root.root, trait_name(VALUES<TRAIT>::s_word, t),
                                            VALUES<TRAIT>::by_default(), "", "", "", NYX_TRAIT_OBJ_TYPE::NET_SPARSE);
    });
    for (unsigned i = 0; i < s_objects; ++i)
        nets.allocate();
    MODEL model;
    const BLOCK_LEDGER ledger(root.segment);
    const unsigned steps = model_steps(2000);
    for (unsigned step = 0; step < steps; ++step) {
        const unsigned i = random() % s_objects;
        NYX_NET_IMPL *const net = nets.get(NYX_NET_ID(i));
        const unsigned what = random() % 100;
        const std::string property = "p" + std::to_string(random() % 4);
        if (what < 70) {
            const unsigned type = random() % 7;
            const unsigned t = random() % s_traits_of_a_type;
            unsigned at = 0;
            for_each_trait_type([&]<class TRAIT>() {
                if (at++ != type)
                    return;
                std::string storage;
                const auto value = random_value<TRAIT>(random, storage);
                const std::string name = trait_name(VALUES<TRAIT>::s_word, t);
                net->set_value(find<TRAIT>(root.root, t), value);
                if (value == VALUES<TRAIT>::by_default())
                    model.values[i].erase(name);
                else
                    model.values[i][name] = text_of<TRAIT>(value);
            });
        } else if (what < 85) {
            const std::string text = random_text(random);
            const int number = static_cast<int>(random() % 1000);
            switch (random() % 3) {
            case 0:
                net->set_property(property, bytes(text));
                model.properties[i][property] = text;
                break;
            case 1:
                net->set_property(property, text);
                model.properties[i][property] = text;
                break;
            default:
                net->set_property(property, number);
                model.properties[i][property] = std::to_string(number);
            }
        } else if (what < 90) {
            net->remove_property(property);
            model.properties[i].erase(property);
        } else if (what < 96) {
            // The row is given back, and the next one is the same again.
            nyx_clear_traits<NYX_NET>(net);
            nets.deallocate(net);
            ASSERT_EQ(nets.allocate(), net);
            model.values.erase(i);
            model.properties.erase(i);
        } else if (what < 98) {
            const unsigned to = random() % s_objects;
            nyx_move_traits<NYX_NET>(net, nets.get(NYX_NET_ID(to)));
            if (to != i) {
                model.values[to] = model.values[i];
                model.values.erase(i);
                model.properties[to] = model.properties[i];
                model.properties.erase(i);
            }
        } else {
            // Traits of bytes leave blocks behind when they are reset.
            const unsigned t = random() % s_traits_of_a_type;
            find<NYX_STRING_TRAIT>(root.root, t)->reset_all_objects_having_this_trait();
            for (auto &[object, values] : model.values)
                values.erase(trait_name("string", t));
        }
        if (step % 500 == 499 || step + 1 == steps) {
            expect_like_model(root.root, model);
            ledger.expect_balanced();
            IMAGE_COPY copy(root.segment);
            copy.set_writable(false);
            expect_like_model(copy.at(root.root), model);
        }
        if (HasFatalFailure())
            return;
    }
    // Nothing is left of the values once all objects are cleared, but for directories and emptied leaves.
    for (unsigned i = 0; i < s_objects; ++i)
        nyx_clear_traits<NYX_NET>(nets.get(NYX_NET_ID(i)));
    expect_like_model(root.root, MODEL());
    ledger.expect_balanced();
}

INSTANTIATE_TEST_SUITE_P(Seeds, TraitModel, testing::Range(1u, 6u));

} // namespace
