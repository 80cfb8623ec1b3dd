/// What every version of the document class has: a name and paragraphs, and the frame around them.
///
/// A version adds fields behind those of the version before it, by overriding `ReadMore` and `WriteMore`.
#pragma once

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/ObjectModel/Frame.hpp>
#include <QVRoot/String/UniString.hpp>

namespace Tour {

/// All versions are one class to a reader: they share name and identifier.
constexpr QV::ClassInfo MakeDocumentInfo(QV::ClassVersion current, QV::ClassVersion old)
{
    return QV::ClassInfo(
        "Tour::Document", {1, 1},
        QV::Guid(0x3E9F27C4, 0x51B8, 0x4D06, {0x8A, 0x33, 0x60, 0x1D, 0xC5, 0x7E, 0x92, 0xB4}), current, old);
}

class DocumentBase : public QV::Object {
public:
    const QV::UniString& GetName() const noexcept { return name_; }
    const QV::Array<QV::UniString>& GetParagraphs() const noexcept { return paragraphs_; }

    /// On failure the document is empty. `ErrGeneral`: the data are of a newer main version.
    QV::QVErrCode Read(QV::IChannel& ic) override;
    /// The frame's length is written after the result is known: the channel's status tells the rest.
    QV::QVErrCode Write(QV::OChannel& oc) const override;

    /// Whether name and text are the same.
    bool HasSameText(const DocumentBase& other) const;

protected:
    DocumentBase() = default;
    DocumentBase(const QV::UniString& name, QV::Array<QV::UniString> paragraphs);

    /// The fields that came after the paragraphs; called after those have been read.
    virtual QV::QVErrCode ReadMore(QV::IChannel& ic, QV::ClassVersion version);
    virtual void WriteMore(QV::OChannel& oc, QV::ClassVersion version) const;

private:
    QV::QVErrCode ReadInFrame(QV::IChannel& ic);
    QV::QVErrCode ReadFields(QV::IChannel& ic, QV::ClassVersion version);

    QV::UniString name_;
    QV::Array<QV::UniString> paragraphs_;
};

} // namespace Tour
