/// What a program does with text once it is there: it cleans, folds and splits it, counts words and puts them
/// in order. Each step can be measured for itself.
#pragma once

#include "Document.hpp"

#include <QVRoot/String/UniStringComparison.hpp>

#include <unordered_map>

namespace Tour {

/// What the steps found out; the same for every run over the same documents.
struct WordSummary {
    QV::UInt64 words = 0;
    QV::UInt64 distinct = 0;    ///< regardless of case
    QV::UniString mostFrequent; ///< of those with at least four units; the first in order among equals
    QV::UInt64 occurrences = 0; ///< of the most frequent one
    QV::UniString first;        ///< in natural order
    QV::UniString last;

    /// The fields in this order; the first error.
    QV::QVErrCode Read(QV::IChannel& ic);
    QV::QVErrCode Write(QV::OChannel& oc) const;
};

class TextWork {
public:
    /// Each step takes what the one before it left.
    /// @{
    /// Copies the paragraphs and makes every kind of white space in them a plain space or line feed.
    void Clean(const QV::Array<Document>& documents);
    void FoldCase();
    void SplitAndCount();
    void Sort();
    /// @}

    WordSummary GetSummary() const;
    /// Frees what the steps left.
    void Clear();

private:
    struct Word {
        QV::UniString text;
        QV::UInt64 count = 0;
    };

    QV::Array<QV::UniString> cleaned_;
    QV::Array<QV::UniString> folded_;
    std::unordered_map<QV::UniString, QV::UInt64> counts_;
    QV::UInt64 words_ = 0;
    QV::Array<Word> sorted_;
};

} // namespace Tour
