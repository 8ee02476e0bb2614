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
            "forms": {"5,5,5,4,5|": {"x,3,2,0,1,0": 0.5, "@x,3,2,0,1,0": 1}}})");
    EXPECT_EQ(model.weights(TARVPlayabilityModel::Family::Long)[TARVPlayabilityModel::Reach], 2);
    EXPECT_EQ(model.weights(TARVPlayabilityModel::Family::Short)[TARVPlayabilityModel::Reach], 0);
    const auto* forms = model.formsFor("5,5,5,4,5", "");
    ASSERT_NE(forms, nullptr);
    const std::int8_t openC[] = {0, 1, 0, 2, 3, -1};
    const std::int8_t movedC[] = {1, 2, 1, 3, 4, -1};
    EXPECT_EQ(forms->at(TARVPlayabilityModel::formKey(openC, 6)), 1);
    EXPECT_EQ(forms->at(TARVPlayabilityModel::formKey(movedC, 6)), 0.5);
    EXPECT_EQ(TARVPlayabilityModel::formText(openC, 6), "@x,3,2,0,1,0");
    EXPECT_EQ(TARVPlayabilityModel::formText(movedC, 6), "x,3,2,0,1,0");
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
