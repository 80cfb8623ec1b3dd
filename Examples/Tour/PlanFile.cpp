#include "PlanFile.hpp"

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/Channel/SwappedMemProtocol.hpp>
#include <QVRoot/ObjectModel/ObjectInput.hpp>
#include <QVRoot/ObjectModel/ObjectOutput.hpp>

#include <cstring>

namespace Tour {

using namespace QV;

namespace {

/// The last two bytes do not survive a transfer that takes the plan for a text.
constexpr char magic[8] = {'Q', 'V', 'P', 'L', 'A', 'N', '\r', '\x1A'};

/// Has the channel read or write with its bytes swapped while it lives, where the platform needs it.
class ByteOrder {
public:
    ByteOrder(OChannel& oc, PlatformSign platform) : oc_(&oc), oProtocol_(&oc.GetOutputProtocol())
    {
        if (NeedByteSwap(platform)) {
            oc.SetOutputProtocol(oSwapped_);
        }
    }
    ByteOrder(IChannel& ic, PlatformSign platform) : ic_(&ic), iProtocol_(&ic.GetInputProtocol())
    {
        if (NeedByteSwap(platform)) {
            ic.SetInputProtocol(iSwapped_);
        }
    }
    ~ByteOrder()
    {
        if (oc_ != nullptr) {
            oc_->SetOutputProtocol(*oProtocol_);
        } else {
            ic_->SetInputProtocol(*iProtocol_);
        }
    }
    ByteOrder(const ByteOrder&) = delete;
    ByteOrder& operator=(const ByteOrder&) = delete;

private:
    OSwappedMemProtocol oSwapped_;
    ISwappedMemProtocol iSwapped_;
    OChannel* oc_ = nullptr;
    IChannel* ic_ = nullptr;
    OProtocol* oProtocol_ = nullptr;
    IProtocol* iProtocol_ = nullptr;
};

QVErrCode Explain(QVErrCode error, const UniString& text, UniString* what)
{
    if (what != nullptr) {
        *what = text;
    }
    return error;
}

} // namespace

QVErrCode SavePlan(OChannel& oc, const Plan& plan, PlatformSign platform)
{
    for (const char c : magic) {
        oc << c;
    }
    oc << static_cast<UInt16>(platform); // two equal bytes, the same in every byte order
    const ByteOrder order(oc, platform);
    return ObjectOutput(oc).Write(&plan);
}

QVErrCode LoadPlan(IChannel& ic, PlanDocument* document, UniString* what)
{
    *document = PlanDocument();
    char start[sizeof(magic)] = {};
    for (char& c : start) {
        ic.Read(c);
    }
    UInt16 sign = 0;
    if (ic.Read(sign) != NoError || std::memcmp(start, magic, sizeof(magic)) != 0) {
        return Explain(ErrDataIntegrity, u"not a plan", what);
    }
    if (sign != MacPlatformSign && sign != WinPlatformSign) {
        return Explain(ErrGeneral, u"a plan of a platform that this program does not know", what);
    }
    const ByteOrder order(ic, static_cast<PlatformSign>(sign));
    ObjectInput in(ic);
    if (const QVErrCode error = in.Read(document->plan)) {
        document->plan = nullptr;
        const ErrorStatus& status = in.GetStatus();
        return Explain(error, status.HasErrorMessage() ? status.GetErrorMessage() : u"the plan is damaged",
                       what);
    }
    if (document->plan == nullptr) {
        return Explain(ErrDataIntegrity, u"there is no plan in it", what);
    }
    document->objects = in.TakeObjects();
    return NoError;
}

} // namespace Tour
