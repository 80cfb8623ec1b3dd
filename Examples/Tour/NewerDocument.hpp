/// The document class as it may be one day: version 2.2, which appends a title.
#pragma once

#include "Document.hpp"

namespace Tour {

class NewerDocument : public Document {
public:
    NewerDocument() = default;
    explicit NewerDocument(const Document& document);

    /// The first line of the text.
    const QV::UniString& GetTitle() const noexcept { return title_; }

    const QV::ClassInfo* GetClassInfo() const override;
    NewerDocument* Clone() const override;

protected:
    QV::QVErrCode ReadMore(QV::IChannel& ic, QV::ClassVersion version) override;
    void WriteMore(QV::OChannel& oc, QV::ClassVersion version) const override;

private:
    QV::UniString title_;
};

} // namespace Tour
