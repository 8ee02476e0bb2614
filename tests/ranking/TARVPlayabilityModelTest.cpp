#include "tarv/ranking/TARVPlayabilityModel.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>

namespace tarv {
namespace {

TEST(TARVPlayabilityModel, EveryFeatureHasItsOwnName) {
    std::set<std::string_view> names;
    for (std::size_t i = 0; i < TARVPlayabilityModel::FeatureCount; ++i) {
        const auto name =
            TARVPlayabilityModel::featureName(static_cast<TARVPlayabilityModel::Feature>(i));
        EXPECT_FALSE(name.empty()) << i;
        names.insert(name);
    }
    EXPECT_EQ(names.size(), TARVPlayabilityModel::FeatureCount);
}

TEST(TARVPlayabilityModel, ShippedModelWeighsEveryFeatureOfBothFamilies) {
    const TARVPlayabilityModel& model = TARVPlayabilityModel::shared();
    for (const auto family :
         {TARVPlayabilityModel::Family::Long, TARVPlayabilityModel::Family::Short}) {
        int nonZero = 0;
        for (const double weight : model.weights(family)) {
            nonZero += weight != 0 ? 1 : 0;
        }
        EXPECT_GT(nonZero, 10);
    }
}

TEST(TARVPlayabilityModel, CompiledModelIsTheShippedModelFile) {
    std::ifstream file(TARV_SOURCE_DIR "/resources/ranking/model.json");
    ASSERT_TRUE(file);
    std::stringstream text;
    text << file.rdbuf();
    const auto read = TARVPlayabilityModel::modelWithJSON(text.str());
    const TARVPlayabilityModel& compiled = TARVPlayabilityModel::shared();
    for (const auto family :
         {TARVPlayabilityModel::Family::Long, TARVPlayabilityModel::Family::Short}) {
        EXPECT_EQ(compiled.weights(family), read.weights(family));
    }
    const auto tree = nlohmann::json::parse(text.str());
    std::size_t forms = 0;
    for (const auto& [group, table] : tree.at("forms").items()) {
        const std::size_t bar = group.find('|');
        ASSERT_NE(bar, std::string::npos) << group;
        const auto* expected = read.formsFor(group.substr(0, bar), group.substr(bar + 1));
        const auto* actual = compiled.formsFor(group.substr(0, bar), group.substr(bar + 1));
        ASSERT_NE(expected, nullptr) << group;
        ASSERT_NE(actual, nullptr) << group;
        EXPECT_EQ(*actual, *expected) << group;
        EXPECT_EQ(actual->size(), table.size()) << group;
        forms += actual->size();
    }
    EXPECT_GT(forms, 1000u);
}

TEST(TARVPlayabilityModel, ReadsWeightsAndFormsFromJSON) {
    const auto model = TARVPlayabilityModel::modelWithJSON(
        R"({"families": {"long": {"weights": {"reach": 2, "open": -1}}, "short": {"weights": {}}},
            "forms": {"5,5,5,4,5|": {"x,3,2,0,1,0": 0.5, "@x,3,2,0,1,0": 0.25}}})");
    EXPECT_EQ(model.weights(TARVPlayabilityModel::Family::Long)[TARVPlayabilityModel::Reach], 2);
    EXPECT_EQ(model.weights(TARVPlayabilityModel::Family::Short)[TARVPlayabilityModel::Reach], 0);
    const auto* forms = model.formsFor("5,5,5,4,5", "");
    ASSERT_NE(forms, nullptr);
    const std::int8_t openC[] = {0, 1, 0, 2, 3, -1};
    const std::int8_t movedC[] = {2, 3, 2, 4, 5, -1};
    const std::uint64_t openKey = TARVPlayabilityModel::formKey(openC, 6);
    const std::uint64_t movedKey = TARVPlayabilityModel::formKey(movedC, 6);
    // The open shape and the barre shape that moves it up the neck share their form.
    EXPECT_EQ(openKey, movedKey);
    EXPECT_EQ(forms->at(movedKey), 0.5);
    EXPECT_EQ(forms->at(openKey | TARVPlayabilityModel::OpenShapeBit), 0.25);
    EXPECT_EQ(TARVPlayabilityModel::familiarity(*forms, movedKey, false), 0.5);
    EXPECT_EQ(TARVPlayabilityModel::familiarity(*forms, openKey, true), 0.75);
    EXPECT_EQ(TARVPlayabilityModel::formText(openC, 6), "x,3,2,0,1,0");
    EXPECT_EQ(TARVPlayabilityModel::formText(movedC, 6), "x,3,2,0,1,0");
    EXPECT_EQ(TARVPlayabilityModel::openShapeText(openC, 6), "@x,3,2,0,1,0");
    EXPECT_EQ(TARVPlayabilityModel::openShapeText(movedC, 6), "");
}

TEST(TARVPlayabilityModel, AnOpenShapeIsKnownByItselfOnlyForItsOwnFrets) {
    const auto model = TARVPlayabilityModel::modelWithJSON(
        R"({"families": {"long": {"weights": {}}, "short": {"weights": {}}},
            "forms": {"5,5,5,4,5|": {"@x,x,0,2,3,2": 1}}})");
    const auto* forms = model.formsFor("5,5,5,4,5", "");
    ASSERT_NE(forms, nullptr);
    const std::int8_t openD[] = {2, 3, 2, 0, -1, -1};
    const std::int8_t movedD[] = {4, 5, 4, 2, -1, -1};
    EXPECT_EQ(
        TARVPlayabilityModel::familiarity(*forms, TARVPlayabilityModel::formKey(openD, 6), true),
        1);
    EXPECT_EQ(
        TARVPlayabilityModel::familiarity(*forms, TARVPlayabilityModel::formKey(movedD, 6), false),
        0);
    // "@" needs an open string to be a shape of its own.
    EXPECT_THROW(TARVPlayabilityModel::modelWithJSON(
                     R"({"families": {"long": {"weights": {}}, "short": {"weights": {}}},
                         "forms": {"5,5,5,4,5|": {"@x,x,1,3,4,3": 1}}})"),
                 std::invalid_argument);
}

TEST(TARVPlayabilityModel, AFrettedFormIsTheFrettedNotesAlone) {
    const auto model = TARVPlayabilityModel::modelWithJSON(
        R"({"families": {"long": {"weights": {}}, "short": {"weights": {}}},
            "forms": {"5,5,5,4,5|7": {"~x,2,1,2,0,x": 0.5, "x,2,1,2,0,x": 0.25}}})");
    const auto* forms = model.formsFor("5,5,5,4,5", "7");
    ASSERT_NE(forms, nullptr);
    // C7 with the high E open and muted, and C#7: frets by string number, string 0 the highest.
    const std::int8_t openC7[] = {0, 1, 3, 2, 3, -1};
    const std::int8_t mutedC7[] = {-1, 1, 3, 2, 3, -1};
    const std::int8_t sharpC7[] = {-1, 2, 4, 3, 4, -1};
    const std::uint64_t key = TARVPlayabilityModel::frettedFormKey(openC7, 6);
    EXPECT_NE(key, 0U);
    EXPECT_EQ(TARVPlayabilityModel::frettedFormKey(mutedC7, 6), key);
    EXPECT_EQ(TARVPlayabilityModel::frettedFormKey(sharpC7, 6), key);
    // Without open strings it packs as the form does; the table tells them apart by a bit.
    EXPECT_EQ(key, TARVPlayabilityModel::formKey(sharpC7, 6));
    EXPECT_EQ(forms->at(key | TARVPlayabilityModel::FrettedFormBit), 0.5);
    EXPECT_EQ(forms->at(key), 0.25);
    EXPECT_EQ(TARVPlayabilityModel::frettedFamiliarity(*forms, key), 0.5);
    EXPECT_EQ(TARVPlayabilityModel::frettedFormText(openC7, 6), "~x,2,1,2,0,x");
    EXPECT_EQ(TARVPlayabilityModel::frettedFormText(mutedC7, 6), "~x,2,1,2,0,x");
    // Nothing fretted, nothing to know it by.
    const std::int8_t open[] = {0, 0, 0, 0, 0, 0};
    EXPECT_EQ(TARVPlayabilityModel::frettedFormKey(open, 6), 0U);
    EXPECT_EQ(TARVPlayabilityModel::frettedFormText(open, 6), "");
    EXPECT_EQ(TARVPlayabilityModel::frettedFamiliarity(*forms, 0), 0);
    // Sixteen strings leave no room for the bit that marks a fretted form.
    const std::int8_t sixteen[16] = {1, 2, 3};
    EXPECT_EQ(TARVPlayabilityModel::frettedFormKey(sixteen, 16), 0U);
    EXPECT_EQ(TARVPlayabilityModel::frettedFormText(sixteen, 16), "");
    EXPECT_NE(TARVPlayabilityModel::frettedFormText(sixteen, 15), "");
    // A fretted form counts from its lowest fretted note, so one of its numbers is 0.
    EXPECT_THROW(TARVPlayabilityModel::modelWithJSON(
                     R"({"families": {"long": {"weights": {}}, "short": {"weights": {}}},
                         "forms": {"5,5,5,4,5|7": {"~x,3,2,3,1,x": 1}}})"),
                 std::invalid_argument);
}

TEST(TARVPlayabilityModel, RefusesUnreadableText) {
    EXPECT_THROW(TARVPlayabilityModel::modelWithJSON("not json"), std::invalid_argument);
    EXPECT_THROW(TARVPlayabilityModel::modelWithJSON(R"({"families": 3})"), std::invalid_argument);
    EXPECT_THROW(
        TARVPlayabilityModel::modelWithJSON(
            R"({"families": {"long": {"weights": {"reach": "far"}}, "short": {"weights": {}}}})"),
        std::invalid_argument);
}

} // namespace
} // namespace tarv
