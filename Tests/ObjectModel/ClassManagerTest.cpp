#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/ObjectModel/ClassManager.hpp>
#include <QVRoot/ObjectModel/Object.hpp>

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace QV;

namespace {

constexpr Guid MakeId(UInt32 number)
{
    return Guid(number, 0x2222, 0x3333, {4, 4, 4, 4, 4, 4, 4, 4});
}

constexpr ClassInfo doorInfo("Registry::Door", {40, 1}, MakeId(1), {1, 0}, {1, 0});
constexpr ClassInfo partInfo("Registry::Part", {}, MakeId(2), {1, 0}, {1, 0});

class Part : public Object {
public:
    virtual int GetArea() const = 0;
};

class Door : public Part {
public:
    const ClassInfo* GetClassInfo() const override { return &doorInfo; }
    int GetArea() const override { return 2; }
};

std::string lastReport;

TEST(ClassManager, FindsAndCreatesWhatIsRegisteredAndForgetsItAfterwards)
{
    const UInt32 before = ClassManager::GetClassCount();
    {
        const RegisteredClass<Door> door(doorInfo);
        const RegisteredClass<Part> part(partInfo);
        EXPECT_EQ(door.GetResult(), ClassRegistration::Registered);
        EXPECT_EQ(ClassManager::Find(doorInfo.GetId()), &doorInfo);
        EXPECT_EQ(ClassManager::Find("Registry::Door"), &doorInfo);
        EXPECT_EQ(ClassManager::Find(ClassType{40, 1}), &doorInfo);
        EXPECT_EQ(ClassManager::Find("registry::door"), nullptr);
        EXPECT_EQ(ClassManager::Find(ClassType{}), nullptr) << "no type is nobody's type";
        const std::unique_ptr<Object> object(ClassManager::Create(doorInfo.GetId()));
        ASSERT_NE(dynamic_cast<Door*>(object.get()), nullptr);
        EXPECT_EQ(ClassManager::Find(partInfo.GetId()), &partInfo);
        EXPECT_EQ(ClassManager::Create(partInfo.GetId()), nullptr) << "abstract";
        EXPECT_EQ(ClassManager::GetClassCount(), before + 2);

        const Array<const ClassInfo*> classes = ClassManager::GetClasses();
        ASSERT_EQ(classes.GetCount(), before + 2);
        for (UInt32 i = 1; i < classes.GetCount(); ++i) {
            EXPECT_LT(std::string(classes[i - 1]->GetName()), classes[i]->GetName());
        }
    }
    EXPECT_EQ(ClassManager::GetClassCount(), before);
    EXPECT_EQ(ClassManager::Find(doorInfo.GetId()), nullptr);
    EXPECT_EQ(ClassManager::Find("Registry::Door"), nullptr);
    EXPECT_EQ(ClassManager::Find(ClassType{40, 1}), nullptr);
    EXPECT_EQ(ClassManager::Create(doorInfo.GetId()), nullptr);
}

TEST(ClassManager, RefusesDuplicatesAndReportsThem)
{
    const ErrorReporting::Sink sink =
        ErrorReporting::SetSink([](const ErrorReport& report) { lastReport = report.text; });
    const RegisteredClass<Door> door(doorInfo);
    const auto resultOf = [](const char* name, ClassType type, const Guid& id) {
        const ClassInfo info(name, type, id, {1, 0}, {1, 0});
        lastReport.clear();
        return RegisteredClass<Door>(info).GetResult();
    };
    EXPECT_EQ(resultOf("other", {}, doorInfo.GetId()), ClassRegistration::DuplicateId);
    EXPECT_NE(lastReport.find("\"other\""), std::string::npos) << lastReport;
    EXPECT_EQ(resultOf("Registry::Door", {}, MakeId(9)), ClassRegistration::DuplicateName);
    EXPECT_EQ(resultOf("other", {40, 1}, MakeId(9)), ClassRegistration::DuplicateType);
    EXPECT_EQ(resultOf("", {}, MakeId(9)), ClassRegistration::InvalidClass);
    EXPECT_EQ(resultOf(nullptr, {}, MakeId(9)), ClassRegistration::InvalidClass);
    EXPECT_EQ(resultOf("other", {}, Guid()), ClassRegistration::InvalidClass);
    EXPECT_EQ(resultOf("other", {}, MakeId(9)), ClassRegistration::Registered);
    EXPECT_EQ(lastReport, "");
    ErrorReporting::SetSink(sink);
    EXPECT_EQ(ClassManager::Find(doorInfo.GetId()), &doorInfo) << "a refused one takes nothing out";
}

TEST(ClassManager, ThreadsRegisterAndLookAtTheSameTime)
{
    const RegisteredClass<Door> door(doorInfo);
    std::atomic<int> faults = 0;
    std::vector<std::thread> threads;
    for (UInt32 t = 0; t < 4; ++t) {
        threads.emplace_back([t, &faults] {
            std::vector<std::string> names;
            for (UInt32 i = 0; i < 50; ++i) {
                names.push_back("Registry::Thread" + std::to_string(t * 100 + i));
            }
            for (UInt32 round = 0; round < 20; ++round) {
                for (UInt32 i = 0; i < names.size(); ++i) {
                    const ClassInfo info(names[i].c_str(), {50 + t, i}, MakeId(1000 + t * 100 + i), {}, {});
                    const RegisteredClass<Door> own(info);
                    faults += ClassManager::Find(info.GetId()) != &info;
                    faults += ClassManager::Find(names[i].c_str()) != &info;
                    faults += ClassManager::Find(doorInfo.GetType()) != &doorInfo;
                }
                faults += ClassManager::GetClasses().IsEmpty();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(faults, 0);
}

} // namespace
