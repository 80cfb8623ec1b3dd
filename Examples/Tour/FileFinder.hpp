/// From the files and folders that the user names to the files that are read.
#pragma once

#include "Options.hpp"

namespace Tour {

/// A named file is taken as it is. Of a folder all files below it are taken that look like text by their
/// names, in the order of their names; hidden folders and those named "build" are left out. A name such as
/// notes.cp1252.txt tells the code page. Throws `TourError` for what is not there.
QV::Array<Input> FindFiles(const QV::Array<Input>& inputs);

/// The folders of the source tree that the program was built from, its samples among them.
QV::Array<Input> GetOwnFolders();

} // namespace Tour
