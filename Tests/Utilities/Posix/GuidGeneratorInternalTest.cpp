#include <QVRoot/Utilities/GuidGeneratorImpl.hpp>
#include <QVRoot/Utilities/RandomStreamPosixImpl.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>

#include <sys/wait.h>
#include <unistd.h>

namespace QV::Impl {

TEST(RandomStream, IsTheCipherOfTheStandard)
{
    // RFC 8439, A.1: the key 0 with the counters 0 and 1; and a key of 31 zeros and a 1 with the counter 1.
    const UInt32 zero[8] = {};
    const UInt32 one[8] = {0, 0, 0, 0, 0, 0, 0, 0x01000000};
    const UInt32 expected[3][4] = {{0xADE0B876, 0x903DF1A0, 0xE56A5D40, 0x28BD8653},
                                   {0xBEE7079F, 0x7A385155, 0x7C97BA98, 0x0D082D73},
                                   {0x2452EB3A, 0x9249F8EC, 0x8D829D9B, 0xDDD4CEB1}};
    ChaChaBlocks blocks;
    blocks.Fill(zero);
    for (UInt32 i = 0; i < 4; ++i) {
        EXPECT_EQ(blocks.words[i][0], expected[0][i]);
        EXPECT_EQ(blocks.words[i][1], expected[1][i]);
    }
    blocks.Fill(one);
    for (UInt32 i = 0; i < 4; ++i) {
        EXPECT_EQ(blocks.words[i][1], expected[2][i]);
    }
}

TEST(RandomStream, KeepsNothingThatWasTakenAndNeverRepeats)
{
    const UInt32 seed[8] = {1, 2, 3};
    RandomStream stream = {};
    EXPECT_TRUE(stream.IsEmpty());
    stream.Mix(seed);
    std::set<std::pair<UInt64, UInt64>> seen;
    std::size_t taken = 0;
    for (int i = 0; i < 100; ++i) {
        for (stream.Refill(); !stream.IsEmpty(); ++taken) {
            UInt64 image[2];
            stream.Take(image);
            seen.emplace(image[0], image[1]);
            const char* const memory = reinterpret_cast<const char*>(&stream);
            EXPECT_EQ(memmem(memory, sizeof(stream), image, sizeof(image)), nullptr);
        }
    }
    EXPECT_EQ(taken, 1400u);
    EXPECT_EQ(seen.size(), taken);
}

TEST(GuidGenerator, GoesDifferentWaysAfterAFork)
{
    Guid first;
    ASSERT_TRUE(GenerateRandomGuid(first));
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    Guid made[100];
    Guid* const half = child == 0 ? made : made + 50;
    EXPECT_TRUE(std::all_of(half, half + 50, GenerateRandomGuid));
    constexpr ssize_t size = sizeof(made) / 2;
    if (child == 0) {
        _exit(write(ends[1], made, size) == size ? 0 : 1);
    }
    close(ends[1]);
    EXPECT_EQ(read(ends[0], static_cast<void*>(made), size), size);
    close(ends[0]);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(std::set<Guid>(std::begin(made), std::end(made)).size(), std::size(made));
}

} // namespace QV::Impl
