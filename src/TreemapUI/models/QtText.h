#pragma once
// The engine speaks UTF-8 std::string; the views speak QString.

#include <QString>

#include <string_view>

namespace tessel {

inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace tessel
