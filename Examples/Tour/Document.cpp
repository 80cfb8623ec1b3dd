#include "Document.hpp"

#include <QVRoot/Channel/IChannel.hpp>

#include <utility>

namespace Tour {

using namespace QV;

namespace {

constexpr ClassInfo documentInfo = MakeDocumentInfo({2, 1}, {1, 1});

bool IsBlank(std::u16string_view line)
{
    return line.find_first_not_of(u" \t\r\n") == line.npos;
}

/// The position behind the line's end.
std::size_t FindNextLine(std::u16string_view text, std::size_t from)
{
    const std::size_t end = text.find(u'\n', from);
    return end == text.npos ? text.size() : end + 1;
}

Array<UniString> SplitIntoParagraphs(const UniString& text)
{
    Array<UniString> paragraphs;
    const std::u16string_view units = text.GetView();
    std::size_t first = 0; // of the paragraph
    for (std::size_t line = 0; line < units.size();) {
        const std::size_t next = FindNextLine(units, line);
        const bool blank = IsBlank(units.substr(line, next - line));
        const std::size_t end = blank ? line : next;
        if (end > first && (blank || next == units.size())) {
            paragraphs.Emplace(text, static_cast<unsigned>(first), static_cast<unsigned>(end - first));
        }
        if (blank) {
            first = next;
        }
        line = next;
    }
    return paragraphs;
}

} // namespace

Document::Document(const UniString& name, const UniString& text)
    : DocumentBase(name, SplitIntoParagraphs(text)),
      statistics_(TextStatistics::Of(GetName(), GetParagraphs()))
{
}

const ClassInfo* Document::GetClassInfo() const
{
    return &documentInfo;
}

Document* Document::Clone() const
{
    return new Document(*this);
}

QVErrCode Document::ReadMore(IChannel& ic, ClassVersion version)
{
    statistics_ = TextStatistics::Of(GetName(), GetParagraphs());
    if (version.mainVersion < 2) {
        return NoError; // there were none yet
    }
    TextStatistics stored;
    if (const QVErrCode error = stored.Read(ic)) {
        return error;
    }
    return stored == statistics_ ? NoError : ErrDataIntegrity;
}

void Document::WriteMore(OChannel& oc, ClassVersion version) const
{
    if (version.mainVersion >= 2) {
        statistics_.Write(oc);
    }
}

} // namespace Tour
