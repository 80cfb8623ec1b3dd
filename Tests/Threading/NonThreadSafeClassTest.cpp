#include <QVRoot/Threading/NonThreadSafeClass.hpp>

#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace QV;

namespace {

std::atomic<int> reports = 0;

class Counter : public NonThreadSafeClass {
public:
    void Use() const { CheckThreadAlways(); }
    void UseChecked() const { CheckThread(); }
};

class NonThreadSafeClassTest : public testing::Test {
protected:
    void SetUp() override
    {
        reports = 0;
        old_ = ErrorReporting::SetSink([](const ErrorReport&) { ++reports; });
    }
    void TearDown() override { ErrorReporting::SetSink(old_); }

private:
    ErrorReporting::Sink old_ = nullptr;
};

TEST_F(NonThreadSafeClassTest, FirstUserOwnsTheObjectUntilItIsDetached)
{
    Counter counter;
    std::thread([&] { counter.Use(); }).join();
    EXPECT_EQ(reports, 0);
    counter.Use();
    counter.Use();
    EXPECT_EQ(reports, 1) << "a thread is reported once in a row";
    std::thread([&] { counter.Use(); }).join();
    EXPECT_EQ(reports, 2) << "the owner is gone, but not detached";
    const Counter copy = counter;
    copy.Use();
    EXPECT_EQ(reports, 2) << "a copy belongs to nobody yet";
    counter.DetachThread();
    counter.Use();
    EXPECT_EQ(reports, 2);
    std::thread([&] { counter.Use(); }).join();
    EXPECT_EQ(reports, 3);
}

TEST_F(NonThreadSafeClassTest, ChecksAreLeftOutWhereTheBuildSaysSo)
{
    Counter counter;
    counter.UseChecked();
    std::thread([&] { counter.UseChecked(); }).join();
    EXPECT_EQ(reports, QV_CHECK_THREADS);
}

} // namespace
