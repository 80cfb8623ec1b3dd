/// The document class as it is today: version 2.1, which added statistics. For older readers it writes 1.1.
///
///     Document document(u"notes.txt", text);
///     channel << document;
#pragma once

#include "DocumentBase.hpp"
#include "TextStatistics.hpp"

namespace Tour {

class Document : public DocumentBase {
public:
    Document() = default;
    /// Splits the text into paragraphs, which blank lines separate.
    Document(const QV::UniString& name, const QV::UniString& text);

    const TextStatistics& GetStatistics() const noexcept { return statistics_; }

    const QV::ClassInfo* GetClassInfo() const override;
    Document* Clone() const override;

protected:
    /// `ErrDataIntegrity` when the text is not the one that the stored statistics tell of.
    QV::QVErrCode ReadMore(QV::IChannel& ic, QV::ClassVersion version) override;
    void WriteMore(QV::OChannel& oc, QV::ClassVersion version) const override;

private:
    TextStatistics statistics_;
};

} // namespace Tour
