#include "Tests/Support/FaultSweep.hpp"

#include <QVRoot/BasicEnvironment/ErrorStatus.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>

#include <gtest/gtest.h>

using namespace QV;

namespace {

// Code, message (empty for none) and whether there is an object.
void ExpectParts(const ErrorStatus& status, int code, const char16_t* message, bool object)
{
    EXPECT_EQ(status.GetErrorCode(), code);
    EXPECT_EQ(status.HasErrorMessage(), message != nullptr);
    if (message != nullptr && status.HasErrorMessage()) {
        EXPECT_EQ(status.GetErrorMessage(), message);
    }
    EXPECT_EQ(status.HasErrorObject(), object);
}

TEST(ErrorStatus, IsMadeOfTheGivenParts)
{
    const UniString message(u"m");
    const ObjectState object(7);
    ExpectParts(ErrorStatus(), 0, nullptr, false);
    ExpectParts(ErrorStatus(5), 5, nullptr, false);
    ExpectParts(ErrorStatus(5, message), 5, u"m", false);
    ExpectParts(ErrorStatus(5, object), 5, nullptr, true);
    ExpectParts(ErrorStatus(5, message, object), 5, u"m", true);
    ExpectParts(ErrorStatus(5, UniString(u"n"), ObjectState(8)), 5, u"n", true);
    ExpectParts(ErrorStatus(message), ErrGeneral, u"m", false);
    ExpectParts(ErrorStatus("text"), ErrGeneral, u"text", false);
    ExpectParts(ErrorStatus(object), ErrGeneral, nullptr, true);
    ExpectParts(ErrorStatus(message, object), ErrGeneral, u"m", true);
    ExpectParts(ErrorStatus(UniString(u"n"), object), ErrGeneral, u"n", true);

    ErrorStatus status(1, message, object);
    status.Set(0, message);
    ExpectParts(status, 0, u"m", false);
    status.Set(object);
    ExpectParts(status, ErrGeneral, nullptr, true);
    status.Set(3, message, ObjectState(1));
    ExpectParts(status, 3, u"m", true);
}

TEST(ErrorStatus, IsOkExactlyWithCodeZero)
{
    ErrorStatus status(u"m");
    EXPECT_TRUE(status.IsError());
    ExpectParts(status.SetErrorCode(0), 0, u"m", false);
    EXPECT_TRUE(status.IsOK() && status == 0 && !(status != 0));
    ExpectParts(status.SetErrorObject(ObjectState(1)).SetErrorMessage(u"n"), 0, u"n", true);
    status.DeleteErrorMessage();
    ExpectParts(status, 0, nullptr, true);
    status.DeleteErrorObject();
    status.SetErrorMessage(u"x").SetErrorCode(-1);
    status.Clear();
    ExpectParts(status, 0, nullptr, false);
}

TEST(ErrorStatus, AssignmentsDropTheOtherParts)
{
    ErrorStatus status(1, UniString(u"m"), ObjectState(1));
    status = 9;
    ExpectParts(status, 9, nullptr, false);
    status.SetErrorObject(ObjectState(1));
    status = UniString(u"n");
    ExpectParts(status, ErrGeneral, u"n", false);
    status = ObjectState(2);
    ExpectParts(status, ErrGeneral, nullptr, true);
}

TEST(ErrorStatus, CopiesAreDeepAndMovesLeaveTheCode)
{
    ErrorStatus original(4, UniString(u"m"), ObjectState(3));
    ErrorStatus copy(original);
    copy.SetErrorMessage(u"changed");
    ExpectParts(original, 4, u"m", true);
    copy = *&copy;
    copy = original;
    ExpectParts(copy, 4, u"m", true);
    const ErrorStatus moved(std::move(original));
    ExpectParts(original, 4, nullptr, false);
    EXPECT_EQ(ErrorStatus(moved).GetErrorObject(), ObjectState(3));
    EXPECT_EQ(ErrorStatus(1, UniString(u"rvalue")).GetErrorMessage(), u"rvalue");
}

TEST(ErrorStatus, StaysAsItWasWhenMemoryIsOut)
{
    ObjectState object;
    object.Set(u"a name of some length", ObjectState(1));
    const ErrorStatus other(2, UniString(u"new"), object);
    Testing::SweepAllocationFailures([&] {
        ErrorStatus status(1);
        try {
            status = other;
            return true;
        } catch (const OutOfMemoryException&) {
            ExpectParts(status, 1, nullptr, false);
            return false;
        }
    });
}

} // namespace
