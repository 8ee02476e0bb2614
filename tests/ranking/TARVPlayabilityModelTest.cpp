#include "tarv/ranking/TARVPlayabilityModel.hpp"

#include <gtest/gtest.h>

#include <set>
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
