#include "emulator/Attributes.h"

#include <gtest/gtest.h>

namespace vexo::emulator {
namespace {

TEST(Attributes, EveryAttributesFirstValueIsInItsRange) {
    for (const ModelInfo& model : allModels()) {
        for (const std::uint8_t id : attributesOf(model.model)) {
            EXPECT_TRUE(attributeInRange(model.model, id, attributeDefault(model.model, id)))
                << model.word << " " << attributeName(model.model, id);
            EXPECT_EQ(attributeByName(attributeName(model.model, id)), id);
        }
    }
}

TEST(Attributes, RangesFollowTheModel) {
    EXPECT_TRUE(attributeInRange(Model::MixdeskR2, 5, Bytes{30}));
    EXPECT_FALSE(attributeInRange(Model::MixdeskR2, 5, Bytes{31}));
    EXPECT_FALSE(attributeInRange(Model::MixdeskR2, 5, Bytes{0}));
    EXPECT_TRUE(attributeInRange(Model::VoxmicM40, 5, Bytes{0}));
    EXPECT_FALSE(attributeInRange(Model::VoxmicM40, 5, Bytes{19}));
    EXPECT_TRUE(attributeInRange(Model::VoxmicM40, 6, Bytes{13}));
    EXPECT_FALSE(attributeInRange(Model::VoxmicM40, 6, Bytes{14}));
    EXPECT_TRUE(attributeInRange(Model::MixdeskR2, 10, Bytes(120, 0)));
    EXPECT_FALSE(attributeInRange(Model::MixdeskR2, 10, Bytes(120, 1))) << "a colour's fourth byte is 0";
    EXPECT_TRUE(attributeInRange(Model::VoxmicT40, 10, Bytes(48, 0)));
    EXPECT_FALSE(attributeInRange(Model::VoxmicT40, 10, Bytes(120, 0)));
    EXPECT_TRUE(attributeInRange(Model::VoxmicT40, 13, Bytes(24, 0)));
}

} // namespace
} // namespace vexo::emulator
