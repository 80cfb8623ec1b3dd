/// What ends the tour: a place in a file, and what is wrong there. `Main` prints it as one line.
#pragma once

#include <QVRoot/String/UniString.hpp>

namespace Tour {

class TourError {
public:
    static constexpr QV::UInt64 NoOffset = ~QV::UInt64{0};

    TourError(const QV::UniString& file, QV::UInt64 offset, const QV::UniString& what)
        : file_(file), what_(what), offset_(offset)
    {
    }
    TourError(const QV::UniString& file, const QV::UniString& what) : TourError(file, NoOffset, what) {}

    /// "FILE: offset N: WHAT"
    QV::UniString GetLine() const;

private:
    QV::UniString file_;
    QV::UniString what_;
    QV::UInt64 offset_;
};

} // namespace Tour
