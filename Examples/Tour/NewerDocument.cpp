#include "NewerDocument.hpp"

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>

#include <algorithm>

namespace Tour {

using namespace QV;

namespace {

constexpr ClassVersion withTitle = {2, 2};
constexpr ClassInfo newerInfo = MakeDocumentInfo(withTitle, {1, 1});

UniString MakeTitle(const Array<UniString>& paragraphs)
{
    if (paragraphs.IsEmpty()) {
        return UniString();
    }
    const std::u16string_view text = paragraphs[0].GetView();
    const std::size_t length = std::min(text.find_first_of(u"\r\n"), text.size());
    return UniString(paragraphs[0], 0, static_cast<unsigned>(length));
}

} // namespace

NewerDocument::NewerDocument(const Document& document)
    : Document(document), title_(MakeTitle(document.GetParagraphs()))
{
}

const ClassInfo* NewerDocument::GetClassInfo() const
{
    return &newerInfo;
}

NewerDocument* NewerDocument::Clone() const
{
    return new NewerDocument(*this);
}

QVErrCode NewerDocument::ReadMore(IChannel& ic, ClassVersion version)
{
    if (const QVErrCode error = Document::ReadMore(ic, version)) {
        return error;
    }
    if (version < withTitle) {
        title_ = MakeTitle(GetParagraphs());
        return NoError;
    }
    return ic.Read(title_);
}

void NewerDocument::WriteMore(OChannel& oc, ClassVersion version) const
{
    Document::WriteMore(oc, version);
    if (version >= withTitle) {
        oc << title_;
    }
}

} // namespace Tour
