#pragma once
// Pieces the report writers share and nobody else needs.

#include <string>
#include <string_view>

namespace tessel::ScanReport {

// A control byte (below 0x20, or 0x7F) is written as the Unicode control
// picture of its code, U+2400 plus the code and U+2421 for DEL, so that no
// file name can put a raw control byte into a report. Returns false, and
// appends nothing, for any other byte.
bool appendControlPicture(std::string& out, unsigned char byte);
// `text` with every control byte replaced by its picture.
std::string withControlPictures(std::string_view text);

} // namespace tessel::ScanReport
