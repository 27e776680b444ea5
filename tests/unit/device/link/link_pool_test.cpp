#include "LinkBench.h"
#include "device/link/LinkPool.h"
#include "device/link/LinkState.h"
#include "tests/support/RandomSeed.h"

#include <cstring>
#include <map>
#include <memory>
#include <random>

namespace {

using namespace vexo::link;

class LinkPool : public ::testing::Test {
protected:
    std::unique_ptr<Pool> owned = std::make_unique<Pool>();
    Pool& pool = *owned;
};

TEST_F(LinkPool, GivesOutAllOfItsBytes) {
    const PoolBlock whole = poolTake(pool, 300000);
    ASSERT_NE(whole.bytes, nullptr);
    EXPECT_EQ(poolTake(pool, 1).error, kLinkErrorOutOfMemory);
    EXPECT_EQ(poolBytesInUse(pool), 300000U);
    EXPECT_EQ(poolRelease(pool, whole.bytes), 0);
    EXPECT_EQ(poolTake(pool, 300001).error, kLinkErrorOutOfMemory);
    EXPECT_EQ(poolTake(pool, 0xFFFFFFFF).error, kLinkErrorOutOfMemory);
    EXPECT_EQ(poolBytesInUse(pool), 0U);
}

TEST_F(LinkPool, Has210Records) {
    std::vector<std::uint8_t*> blocks;
    for (int count = 0; count < 210; ++count) {
        blocks.push_back(poolTake(pool, 1).bytes);
        ASSERT_NE(blocks.back(), nullptr);
    }
    const PoolBlock refused = poolTake(pool, 1);
    EXPECT_EQ(refused.bytes, nullptr);
    EXPECT_EQ(refused.error, kLinkErrorOutOfMemory);
    EXPECT_EQ(poolRelease(pool, blocks[100]), 0);
    EXPECT_NE(poolTake(pool, 1).bytes, nullptr);
}

TEST_F(LinkPool, FillsTheGapThatARelaseLeaves) {
    std::uint8_t* first = poolTake(pool, 100).bytes;
    std::uint8_t* second = poolTake(pool, 50).bytes;
    std::uint8_t* third = poolTake(pool, 100).bytes;
    EXPECT_EQ(poolRelease(pool, second), 0);
    EXPECT_EQ(poolTake(pool, 51).bytes, third + 100);
    EXPECT_EQ(poolTake(pool, 50).bytes, second);
    EXPECT_EQ(poolRelease(pool, first), 0);
    EXPECT_EQ(poolTake(pool, 100).bytes, first);
}

TEST_F(LinkPool, AReleaseOfAnUnknownBlockIsError13AndResets) {
    std::uint8_t* block = poolTake(pool, 10).bytes;
    EXPECT_EQ(poolRelease(pool, block + 1), kLinkErrorUnknownBlock);
    EXPECT_EQ(poolBytesInUse(pool), 0U);
    EXPECT_EQ(pool.generation, 1U);
    block = poolTake(pool, 10).bytes;
    EXPECT_EQ(poolRelease(pool, block), 0);
    EXPECT_EQ(poolRelease(pool, block), kLinkErrorUnknownBlock); // twice
}

TEST_F(LinkPool, CorruptRecordsAreError11AndResetThePool) {
    const auto expectReset = [&](auto&& corrupt) {
        (void)poolTake(pool, 100);
        std::uint8_t* kept = poolTake(pool, 100).bytes;
        corrupt();
        const PoolBlock block = poolTake(pool, 100);
        EXPECT_EQ(block.error, kLinkErrorPoolCorrupt);
        EXPECT_EQ(block.bytes, pool.bytes.data()); // from the pool that was reset
        EXPECT_EQ(poolBytesInUse(pool), 100U);
        corrupt();
        EXPECT_EQ(poolRelease(pool, kept), kLinkErrorPoolCorrupt);
        EXPECT_EQ(poolBytesInUse(pool), 0U);
    };
    expectReset([&] { pool.usedRecords = 211; });
    expectReset([&] { pool.records[0].byteCount = 0; });
    expectReset([&] { pool.records[0].byteCount = 300001; });
    expectReset([&] { pool.records[0].offset = 0xFFFFFFFF; });
    expectReset([&] {
        pool.usedRecords = 2;
        pool.records[1] = {pool.records[0].offset + 99, 100}; // overlaps the first
    });
}

TEST_F(LinkPool, BlocksNeverOverlapAndAlwaysComeBack) {
    const std::uint64_t seed = seedFromEnvironment(99);
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 random(seed);
    std::map<std::uint8_t*, std::pair<std::uint32_t, std::uint8_t>> held; // length and fill
    int refused = 0;
    for (int step = 0; step < 40000; ++step) {
        if (random() % 100 < 55) {
            const auto length = static_cast<std::uint32_t>(1 + random() % (random() % 4 == 0 ? 6000 : 517));
            const PoolBlock block = poolTake(pool, length);
            if (block.bytes == nullptr) {
                ASSERT_EQ(block.error, kLinkErrorOutOfMemory);
                ++refused;
                continue;
            }
            ASSERT_EQ(block.error, 0);
            ASSERT_GE(block.bytes, pool.bytes.data());
            ASSERT_LE(block.bytes + length, pool.bytes.data() + pool.bytes.size());
            const auto fill = static_cast<std::uint8_t>(step);
            std::memset(block.bytes, fill, length);
            ASSERT_TRUE(held.try_emplace(block.bytes, length, fill).second);
        } else if (!held.empty()) {
            auto chosen = std::next(held.begin(), static_cast<std::ptrdiff_t>(random() % held.size()));
            for (std::uint32_t index = 0; index < chosen->second.first; ++index) {
                ASSERT_EQ(chosen->first[index], chosen->second.second) << "step " << step;
            }
            ASSERT_EQ(poolRelease(pool, chosen->first), 0);
            held.erase(chosen);
        }
        std::uint32_t bytes = 0;
        for (const auto& block : held) {
            bytes += block.second.first;
        }
        ASSERT_EQ(poolBytesInUse(pool), bytes);
        ASSERT_EQ(pool.usedRecords, held.size());
    }
    EXPECT_GT(refused, 1000); // it was full more than once
}

class LinkPoolDamage : public LinkBench {};

TEST_F(LinkPoolDamage, CostsTheMessagesInItIsReportedOnceAndTheStackGoesOn) {
    connect();
    record(0x9000);
    const Bytes payload{1, 2, 3};
    const LinkFrame request{
        .length = 3, .destination = kDevice, .messageId = 0x9000, .payload = payload.data()};
    linkSend(kLinkTracked, request);
    feed({2, 1, kDevice, kHost, 0x9000, {7}});
    feed(Bytes{0x55, 0x12, 4, 0, 1, 0, 7, 3, 0x34, 0x12, 1, 1, 28, 0, 0, 0x90, 1}); // in mid-payload
    stack().pool.records[0].byteCount = 0;
    linkSend(
        0, {.kind = 2, .length = 3, .destination = kDevice, .messageId = 0x9001, .payload = payload.data()});
    EXPECT_EQ(errors, (std::vector<Error>{{kLinkErrorPoolCorrupt, 0x9001}}));
    feed(Bytes{2, 3, 4, 0}); // the rest of the lost frame
    tick(1100);
    EXPECT_TRUE(delivered.empty());
    EXPECT_EQ(sentWith(0x9001).size(), 1U);
    EXPECT_TRUE(sentWith(0x9000).empty()); // its payload is gone
    ASSERT_EQ(timedOut.size(), 1U);
    EXPECT_TRUE(timedOut[0].payload.empty());
    EXPECT_EQ(errors.size(), 1U);
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
    receive(2, 0x9000, {7});
    EXPECT_EQ(delivered.size(), 1U);
}

TEST_F(LinkPoolDamage, AReleaseOfABlockOfBeforeAResetIsNoError) {
    const std::uint8_t* former = takeMemory(10, 0x9001);
    const std::uint32_t generation = stack().pool.generation;
    stack().pool.records[0].byteCount = 0;
    const std::uint8_t* present = takeMemory(10, 0x9002);
    ASSERT_EQ(present, former) << "the same place, which belongs to somebody else now";
    ASSERT_EQ(errors, (std::vector<Error>{{kLinkErrorPoolCorrupt, 0x9002}}));
    releaseMemory(former, generation, 0x9003);
    EXPECT_EQ(linkInspect().poolBlocksInUse, 1U);
    releaseMemory(present, stack().pool.generation, 0x9004);
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
    releaseMemory(former, generation, 0x9003);
    EXPECT_EQ(errors.size(), 1U);
}

TEST_F(LinkPoolDamage, AReleaseOfAnUnknownBlockIsReportedAsError13) {
    connect();
    linkSend(0, {.kind = 2, .destination = kDevice, .messageId = 0x9001});
    releaseMemory(stack().pool.bytes.data() + 5, stack().pool.generation, 0x9002);
    EXPECT_EQ(errors, (std::vector<Error>{{kLinkErrorUnknownBlock, 0x9002}}));
}

} // namespace
