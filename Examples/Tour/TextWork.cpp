#include "TextWork.hpp"

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>

#include <algorithm>

namespace Tour {

using namespace QV;

namespace {

/// Whatever may stand between two words.
const char16_t* const separators =
    u" \n.,;:!?\"'()[]{}<>=+-*/%&|^~#@$\\`_"
    u"\u00A1\u00AB\u00B7\u00BB\u00BF\u0589\u060C\u061F\u0964\u2013\u2014\u2018\u2019\u201C"
    u"\u201D\u2026\u3001\u3002\u300C\u300D\uFF01\uFF0C\uFF1F";

constexpr UInt32 leastLength = 4; // shorter words are the same in every text

} // namespace

QVErrCode WordSummary::Read(IChannel& ic)
{
    ic.Read(words);
    ic.Read(distinct);
    ic.Read(mostFrequent);
    ic.Read(occurrences);
    ic.Read(first);
    ic.Read(last);
    return ic.GetInputStatus();
}

QVErrCode WordSummary::Write(OChannel& oc) const
{
    oc << words << distinct << mostFrequent << occurrences << first << last;
    return oc.GetOutputStatus();
}

void TextWork::Clean(const Array<Document>& documents)
{
    const UniString lineEnd(u"\r\n");
    const UniString lineFeed(u"\n");
    cleaned_.Clear();
    for (const Document& document : documents) {
        for (const UniString& paragraph : document.GetParagraphs()) {
            UniString text = paragraph;
            text.ReplaceAll(lineEnd, lineFeed);
            for (const char16_t space : {u'\t', u'\u00A0', u'\u3000'}) {
                if (text.Contains(UniChar(space))) {
                    text.ReplaceAll(UniChar(space), UniChar(u' '));
                }
            }
            text.Trim();
            cleaned_.Append(std::move(text));
        }
    }
}

void TextWork::FoldCase()
{
    folded_.Clear();
    for (const UniString& paragraph : cleaned_) {
        folded_.Append(paragraph.ToLowerCase());
    }
}

void TextWork::SplitAndCount()
{
    const UniString set(separators);
    counts_.clear();
    words_ = 0;
    Array<UniString> words;
    for (const UniString& paragraph : folded_) {
        words_ += paragraph.Split(set, UniString::DropEmptyParts, &words);
        for (const UniString& word : words) {
            ++counts_[word];
        }
    }
}

void TextWork::Sort()
{
    sorted_.Clear();
    sorted_.Reserve(static_cast<UInt32>(counts_.size()));
    for (const auto& [text, count] : counts_) {
        sorted_.Append({text, count});
    }
    std::sort(sorted_.begin(), sorted_.end(), [](const Word& a, const Word& b) {
        const UniString::CompareResult order = NaturalCompare(a.text, b.text);
        // Texts may be equal to the locale and yet differ.
        return order == UniChar::Equal ? a.text.GetView() < b.text.GetView() : order == UniChar::Less;
    });
}

WordSummary TextWork::GetSummary() const
{
    WordSummary summary;
    summary.words = words_;
    summary.distinct = sorted_.GetCount();
    for (const Word& word : sorted_) {
        if (word.text.GetLength() >= leastLength && word.count > summary.occurrences) {
            summary.mostFrequent = word.text;
            summary.occurrences = word.count;
        }
    }
    if (!sorted_.IsEmpty()) {
        summary.first = sorted_[0].text;
        summary.last = sorted_[sorted_.GetCount() - 1].text;
    }
    return summary;
}

void TextWork::Clear()
{
    *this = TextWork();
}

} // namespace Tour
