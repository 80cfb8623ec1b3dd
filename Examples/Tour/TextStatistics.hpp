/// What a document knows about its text. It is stored with the text, and so tells whether the text is still
/// the one that was written.
#pragma once

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/String/UniString.hpp>

namespace Tour {

struct TextStatistics {
    QV::UInt64 characters = 0; ///< code points
    QV::UInt32 words = 0;      ///< runs of units that are no spaces
    QV::UInt32 longest = 0;    ///< units of the longest paragraph
    QV::UInt32 checksum = 0;   ///< over all units, the name's included

    static TextStatistics Of(const QV::UniString& name, const QV::Array<QV::UniString>& paragraphs);

    /// The four fields in this order; the first error.
    QV::QVErrCode Read(QV::IChannel& ic);
    QV::QVErrCode Write(QV::OChannel& oc) const;

    friend bool operator==(const TextStatistics&, const TextStatistics&) = default;
};

} // namespace Tour
