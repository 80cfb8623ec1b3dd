#include "ChildProgram.hpp"

#include <Tests/Support/TemporaryFolder.hpp>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace Tour {

namespace {

using namespace QV;
using namespace QV::Test;

// Waits until the program has said something; false when it does not come to it.
bool Await(const std::filesystem::path& output, const std::string& text)
{
    for (int i = 0; i < 150000; ++i) {
        if (std::filesystem::exists(output) && ReadWhole(output).find(text) != std::string::npos) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

std::size_t CountFiles(const std::filesystem::path& folder)
{
    const auto files = std::filesystem::directory_iterator(folder);
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

} // namespace

// With many passes in the first stages, with few where archives are written.
TEST(TourInterrupt, LeavesTheOldArchiveOrAWholeOne)
{
    for (const auto& [passes, stage] :
         {std::pair("100000", "  read files"), std::pair("100", "  write archive")}) {
        const TemporaryFolder folder;
        const std::filesystem::path archive = folder / "archive";
        const std::filesystem::path output = folder / "output";
        WriteWhole(archive, "old");
        const std::string samples =
            (std::filesystem::path(QV_SOURCE_FOLDER) / "Examples/Tour/samples").string();
        ChildProgram tour(
            "Tour", {"--here", "--threads", "2", "--passes", passes, "--archive", archive.string(), samples},
            output);
        ASSERT_TRUE(Await(output, stage)) << ReadWhole(output);
        if (!tour.Interrupt()) {
            GTEST_SKIP() << "there is no console to interrupt it through";
        }
        EXPECT_EQ(tour.Wait(), 130);
        const std::string text = ReadWhole(output);
        const std::size_t line = text.find("Tour: ");
        ASSERT_NE(line, std::string::npos) << text;
        const std::string whole = "Tour: interrupted; " + archive.string() + " is complete";
        const std::string before = "Tour: interrupted; " + archive.string() + " is what it was before";
        const std::string said = text.substr(line, text.find_first_of("\r\n", line) - line);
        if (ReadWhole(archive) == "old") {
            EXPECT_EQ(said, before);
        } else {
            EXPECT_EQ(said, whole);
            ChildProgram verify("Tour", {"--verify", archive.string()}, output);
            EXPECT_EQ(verify.Wait(), 0);
        }
        EXPECT_EQ(text.find("Tour: ", line + 1), std::string::npos);
        EXPECT_EQ(CountFiles(folder / ""), 2u) << "something was left behind";
    }
}

} // namespace Tour
