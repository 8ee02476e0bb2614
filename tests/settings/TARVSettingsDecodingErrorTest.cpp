#include "tarv/settings/TARVSettingsDecodingError.hpp"

#include <gtest/gtest.h>

namespace tarv {
namespace {

TEST(TARVSettingsDecodingError, CodingPathJoinsKeysWithDotsAndIndexesInBrackets) {
    EXPECT_EQ(TARVCodingPathString({}), "the root");
    EXPECT_EQ(TARVCodingPathString({std::string("tablature")}), "tablature");
    EXPECT_EQ(TARVCodingPathString({std::string("tablature"), std::string("instruments"),
                                    std::size_t{0}, std::string("tunings"), std::size_t{12}}),
              "tablature.instruments[0].tunings[12]");
}

TEST(TARVSettingsDecodingError, KeyNotFoundNamesTheKeyAndTheDictionary) {
    const auto error = TARVSettingsDecodingError::keyNotFound(
        "capo", {std::string("tablature"), std::string("instruments"), std::size_t{0}});
    EXPECT_EQ(error.kind(), TARVSettingsDecodingError::Kind::keyNotFound);
    EXPECT_EQ(error.key(), std::optional<std::string>("capo"));
    EXPECT_EQ(error.keyPath(), "tablature.instruments[0]");
    EXPECT_STREQ(error.what(), "keyNotFound \"capo\" at tablature.instruments[0]");
}

TEST(TARVSettingsDecodingError, TypeMismatchNamesWhatWasExpectedAndFound) {
    const auto error = TARVSettingsDecodingError::typeMismatch({std::string("tablature")},
                                                               "a dictionary", "an array");
    EXPECT_EQ(error.kind(), TARVSettingsDecodingError::Kind::typeMismatch);
    EXPECT_FALSE(error.key().has_value());
    EXPECT_EQ(error.debugDescription(), "expected a dictionary, found an array");
    EXPECT_STREQ(error.what(), "typeMismatch at tablature: expected a dictionary, found an array");
}

TEST(TARVSettingsDecodingError, DataCorruptedCarriesItsDescription) {
    const auto error =
        TARVSettingsDecodingError::dataCorrupted({}, "the data is not a property list");
    EXPECT_EQ(error.kind(), TARVSettingsDecodingError::Kind::dataCorrupted);
    EXPECT_STREQ(error.what(), "dataCorrupted at the root: the data is not a property list");
    EXPECT_STREQ(TARVSettingsDecodingErrorKindName(error.kind()), "dataCorrupted");
}

TEST(TARVSettingsDecodingError, IsARuntimeError) {
    const std::runtime_error& base = TARVSettingsDecodingError::keyNotFound("name", {});
    EXPECT_STREQ(base.what(), "keyNotFound \"name\" at the root");
}

} // namespace
} // namespace tarv
