#include "Tests/Support/FaultSweep.hpp"

#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Exceptions/BMExceptions.hpp>
#include <QVRoot/Exceptions/ContainerExceptions.hpp>
#include <QVRoot/Exceptions/IOExceptions.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Exceptions/ThrowIfQVErrCode.hpp>
#include <QVRoot/String/UniString.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <string>

using namespace QV;

namespace {

// Collects what is written as text: numbers in decimal, everything else as it is.
class TextProtocol : public OMemProtocol {
public:
    using OMemProtocol::Write;
    QVErrCode Write(OChannel& oc, const char* value) override
    {
        return oc.WriteBin(value, static_cast<UInt32>(std::string(value).size()), nullptr);
    }
    QVErrCode Write(OChannel& oc, UInt32 value) override { return Write(oc, std::to_string(value).c_str()); }
    QVErrCode Write(OChannel& oc, Int32 value) override { return Write(oc, std::to_string(value).c_str()); }
};

template <class Writer>
std::string TextOf(Writer writer)
{
    TextProtocol protocol;
    OMemChannel oc;
    oc.SetOutputProtocol(protocol);
    writer(oc);
    return std::string(oc.LockData(), oc.DataSize());
}

std::string PrintOf(const QVException& e)
{
    return TextOf([&](OChannel& oc) { e.Print(oc); });
}

const QVException sampleCause("cause", "c", 2);

// What holds for an exception of any class, made with the message "x" at file(10).
void CheckFields(const QVException& e, const char* name, int code, const std::type_info& type, bool hasCause)
{
    EXPECT_STREQ(e.GetName(), name);
    EXPECT_EQ(e.GetID(), code);
    const std::unique_ptr<QVException> clone(e.Clone());
    const QVException& copy = *clone;
    EXPECT_TRUE(typeid(copy) == type);
    EXPECT_EQ(clone->GetMessage(), u"x");
    EXPECT_EQ(clone->GetLineNumber(), 10u);
    EXPECT_EQ(clone->GetCause() != nullptr, hasCause);
    EXPECT_TRUE(!hasCause || clone->GetCause() != e.GetCause());
    EXPECT_EQ(clone->GetStack().GetDepth(), e.GetStack().GetDepth());
}

// Name, code, and every class that must catch it.
template <class E, class... Bases>
void ExpectClass(const char* name, int code)
{
    CheckFields(E("x", "file", 10), name, code, typeid(E), false);
    CheckFields(E(UniString("x"), "file", 10), name, code, typeid(E), false);
    CheckFields(E("x", "file", 10, sampleCause), name, code, typeid(E), true);
    CheckFields(E(UniString("x"), "file", 10, sampleCause), name, code, typeid(E), true);
    bool caught = false;
    try {
        throw E("x", "file", 10);
    } catch (const QVException& e) {
        caught = ((dynamic_cast<const Bases*>(&e) != nullptr) && ...);
    }
    EXPECT_TRUE(caught) << name;
}

TEST(QVException, EveryClassHasItsNameCodeAndBases)
{
    ExpectClass<RootException, QVException>("RootException", ErrGeneral);
    ExpectClass<GeneralException, QVException>("GeneralException", ErrGeneral);
    ExpectClass<ThreadingException, QVException>("ThreadingException", ErrGeneral);
    ExpectClass<LogicErrorException, GeneralException>("LogicErrorException", ErrGeneral);
    ExpectClass<RunTimeErrorException, GeneralException>("RunTimeErrorException", ErrGeneral);
    ExpectClass<IOException, GeneralException>("IOException", ErrGeneral);
    ExpectClass<ProcessException, GeneralException>("ProcessException", ErrGeneral);
    ExpectClass<PreconditionException, LogicErrorException>("PreconditionException", -50);
    ExpectClass<IllegalArgumentException, PreconditionException>("IllegalArgumentException", -50);
    ExpectClass<RecursionException, PreconditionException>("RecursionException", -50);
    ExpectClass<NullPointerException, IllegalArgumentException>("NullPointerException", -50);
    ExpectClass<NullHandleException, IllegalArgumentException>("NullHandleException", -50);
    ExpectClass<NullReferenceException, IllegalArgumentException>("NullReferenceException", -50);
    ExpectClass<EmptyHandleException, IllegalArgumentException>("EmptyHandleException", -50);
    ExpectClass<IllegalReferenceException, IllegalArgumentException>("IllegalReferenceException", -50);
    ExpectClass<IllegalTypeException, IllegalArgumentException>("IllegalTypeException", -50);
    ExpectClass<IllegalStateException, RunTimeErrorException>("IllegalStateException", ErrGeneral);
    ExpectClass<InternalErrorException, RunTimeErrorException>("InternalErrorException", ErrGeneral);
    ExpectClass<LimitViolationException, RunTimeErrorException>("LimitViolationException", ErrGeneral);
    ExpectClass<UnsupportedOperationException, RunTimeErrorException>("UnsupportedOperationException", ErrGeneral);
    ExpectClass<AccessViolationException, RunTimeErrorException>("AccessViolationException", ErrGeneral);
    ExpectClass<ConversionErrorException, RunTimeErrorException>("ConversionErrorException", ErrGeneral);
    ExpectClass<OutOfMemoryException, RunTimeErrorException, std::bad_alloc>("OutOfMemoryException", -108);
    ExpectClass<DataIntegrityException, IOException>("DataIntegrityException", static_cast<int>(0x81000000));
    ExpectClass<UnexpectedEndOfInputDataIntegrityException, DataIntegrityException>(
        "UnexpectedEndOfInputDataIntegrityException", static_cast<int>(0x81000000));
    ExpectClass<EndOfInputException, IOException>("EndOfInputException", static_cast<int>(0x81000100));
    ExpectClass<ReadErrorException, IOException>("ReadErrorException", static_cast<int>(0x81000101));
    ExpectClass<OutputIsFullException, IOException>("OutputIsFullException", static_cast<int>(0x81000200));
    ExpectClass<WriteErrorException, IOException>("WriteErrorException", static_cast<int>(0x81000201));
    ExpectClass<ClosedChannelException, IOException>("ClosedChannelException", ErrGeneral);
    ExpectClass<InterruptedIOException, IOException>("InterruptedIOException", ErrGeneral);
    ExpectClass<MemoryOBinaryChannelBufferFullException, IOException>("MemoryOBinaryChannelBufferFullException",
                                                                      ErrGeneral);
    ExpectClass<ProcessAccessDeniedException, ProcessException>("ProcessAccessDeniedException", ErrGeneral);
    ExpectClass<ProcessNotFoundException, ProcessException>("ProcessNotFoundException", ErrGeneral);
    ExpectClass<SynchronizationException, ThreadingException>("SynchronizationException", ErrGeneral);
    ExpectClass<BrokenBarrierException, SynchronizationException>("BrokenBarrierException", ErrGeneral);
    ExpectClass<DeadlockException, SynchronizationException>("DeadlockException", ErrGeneral);
    ExpectClass<IllegalMonitorStateException, SynchronizationException>("IllegalMonitorStateException", ErrGeneral);
    ExpectClass<InterruptedException, SynchronizationException>("InterruptedException", ErrGeneral);
    ExpectClass<TimeoutException, SynchronizationException>("TimeoutException", ErrGeneral);
    ExpectClass<CancellationException, ThreadingException>("CancellationException", ErrGeneral);
    ExpectClass<ClassCastException, ThreadingException>("ClassCastException", ErrGeneral);
    ExpectClass<ExecutionException, ThreadingException>("ExecutionException", ErrGeneral);
    ExpectClass<IllegalThreadStateException, ThreadingException>("IllegalThreadStateException", ErrGeneral);
    ExpectClass<RejectedExecutionException, ThreadingException>("RejectedExecutionException", ErrGeneral);
    ExpectClass<ContainerException, RootException>("ContainerException", ErrGeneral);
    ExpectClass<VAException, ContainerException>("VAException", ErrGeneral);
    ExpectClass<VAIllegalIndexException, VAException, IllegalArgumentException>("VAIllegalIndexException", -50);
    ExpectClass<VAIncompatibleTypeException, VAException, IllegalArgumentException>("VAIncompatibleTypeException",
                                                                                    -50);
    ExpectClass<VALogicErrorException, VAException, LogicErrorException>("VALogicErrorException", ErrGeneral);
    ExpectClass<BMException, RootException>("BMException", ErrGeneral);
    ExpectClass<BMIllegalArgumentException, BMException, IllegalArgumentException>("BMIllegalArgumentException", -50);
    ExpectClass<BMLogicErrorException, BMException, LogicErrorException>("BMLogicErrorException", ErrGeneral);
    ExpectClass<BMNullPointerException, BMException, NullPointerException>("BMNullPointerException", -7001);
    ExpectClass<BMNullHandleException, BMException, NullHandleException>("BMNullHandleException", -109);
    ExpectClass<BMEmptyHandleException, BMException, EmptyHandleException>("BMEmptyHandleException", -7002);
    ExpectClass<BMMemoryLockedException, BMException, RunTimeErrorException>("BMMemoryLockedException", -117);
    ExpectClass<BMOutOfMemoryException, BMException, RunTimeErrorException>("BMOutOfMemoryException", -108);
    EXPECT_FALSE((std::is_base_of_v<OutOfMemoryException, BMOutOfMemoryException>));
}

TEST(QVException, AbortingAndMirrorFaultsCloneAsThePlainClass)
{
    const std::unique_ptr<QVException> abort(AbortException("stop", "f", 1).Clone());
    const QVException& copy = *abort;
    EXPECT_TRUE(typeid(copy) == typeid(QVException));
    EXPECT_EQ(abort->GetID(), ErrAborted);
    EXPECT_STREQ(AbortException("stop", "f", 1).GetName(), QVException("x", "f", 1).GetName());

    const AddressSpaceMirror::MemoryAccessException access("m", "f", 1, NoCauseException, 42);
    const std::unique_ptr<QVException> clone(access.Clone());
    EXPECT_EQ(clone->GetID(), 42);
}

TEST(QVException, PrintsNameMessagePlaceAndCause)
{
    const IllegalArgumentException inner("bad", "String/UniString", 7);
    EXPECT_EQ(PrintOf(inner), "IllegalArgumentException: bad\nString/UniString(7)\n");
    EXPECT_EQ(PrintOf(ReadErrorException("", nullptr, 3)), "ReadErrorException\n");
    EXPECT_EQ(PrintOf(ReadErrorException("outer", "a", 1, inner)),
              "ReadErrorException: outer\na(1)\nCaused byIllegalArgumentException: bad\nString/UniString(7)\n");
    EXPECT_EQ(TextOf([&](OChannel& oc) { ReadErrorException("m", nullptr, 3, inner).Dump(oc); }),
              "name:       ReadErrorException\nid:         -2130706175\nmessage:    m\nfileName:   \n"
              "lineNumber: 3\ncause:name:       IllegalArgumentException\nid:         -50\nmessage:    bad\n"
              "fileName:   String/UniString\nlineNumber: 7\n");
}

TEST(QVException, HasNoCauseUnlessOneIsGiven)
{
    EXPECT_EQ(QVException("x", "f", 1).GetCause(), nullptr);
    EXPECT_EQ(IOException("x", "f", 1, NoCauseException).GetCause(), nullptr);
    EXPECT_EQ(QVException("x", "f", 1, nullptr, 5).GetCause(), nullptr);
    EXPECT_EQ(QVException("x", "f", 1).GetID(), ErrGeneral);
    EXPECT_TRUE(QVException(static_cast<const char*>(nullptr), "f", 1).GetMessage().IsEmpty());
}

TEST(QVException, CopiesOwnTheirCauseAndMovesTakeItOver)
{
    const IOException cause("cause", "c", 1);
    WriteErrorException original("text", "f", 2, cause);
    WriteErrorException copy("other", "g", 3);
    copy = original;
    EXPECT_EQ(copy.GetMessage(), u"text");
    EXPECT_STREQ(copy.GetFileName(), "f");
    ASSERT_NE(copy.GetCause(), nullptr);
    EXPECT_NE(copy.GetCause(), original.GetCause());
    WriteErrorException& self = copy;
    copy = self;
    EXPECT_STREQ(copy.GetCause()->GetName(), "IOException");

    const QVException* const owned = original.GetCause();
    const WriteErrorException taken(std::move(original));
    EXPECT_EQ(taken.GetCause(), owned);
    EXPECT_EQ(original.GetCause(), nullptr);
}

TEST(QVException, ThrowingSitesNameTheirFile)
{
    try {
        QV_THROW(IllegalStateException, "here");
    } catch (const IllegalStateException& e) {
        EXPECT_STREQ(e.GetFileName(), "Tests/Exceptions/QVExceptionTest");
        EXPECT_EQ(e.GetLineNumber(), static_cast<UInt32>(__LINE__ - 3));
        EXPECT_GT(e.GetStack().GetDepth(), 1u);
    }
    EXPECT_STREQ(SourceFile("/x/QVRoot/QVRoot/String/A.b.cpp").text, "String/A.b");
    EXPECT_STREQ(SourceFile("C:\\y\\QVRoot\\Channel\\B.hpp").text, "Channel/B");
}

TEST(QVException, CodesBecomeExceptions)
{
    ThrowIfQVErrCodeImp(NoError, "f", 1, nullptr);
    try {
        ThrowIfQVErrCodeImp(ErrMemoryFull, "f", 1, nullptr);
        ADD_FAILURE();
    } catch (const std::bad_alloc& e) {
        EXPECT_STREQ(e.what(), "bad allocation");
        EXPECT_EQ(dynamic_cast<const QVException*>(&e), nullptr);
    }
    try {
        QV_THROW_IF_ERROR(ErrParam);
        ADD_FAILURE();
    } catch (const QVException& e) {
        EXPECT_EQ(e.GetID(), ErrParam);
        EXPECT_TRUE(e.GetMessage().IsEmpty());
        EXPECT_TRUE(typeid(e) == typeid(QVException));
    }
}

TEST(QVException, ArrivesWithoutItsCauseWhenMemoryIsOut)
{
    const IOException cause("a message of some length, so that it needs a block", "c", 1);
    Testing::SweepAllocationFailures([&] {
        try {
            throw WriteErrorException("another message, that is long enough to need one", "f", 2, cause);
        } catch (const WriteErrorException& e) {
            return e.GetCause() != nullptr; // a lost cause is the one failure that stays inside
        } catch (const OutOfMemoryException&) {
            return false;
        }
    });
}

} // namespace
