#pragma once
// What sort of thing a file is, from its name alone: the scan keeps no types.

#include <optional>
#include <string_view>
#include <vector>

namespace tessel {

enum class FileKind { apps, videos, audio, images, documents, archives, diskImages, code, other };

namespace FileKinds {

const std::vector<FileKind>& all();
// By the extension after the last ".", in any case; `other` when unknown or absent.
FileKind of(std::string_view name);
// The kind of a bundle folder ("Photos Library.photoslibrary" is images), if it is one.
std::optional<FileKind> bundle(std::string_view name);
std::string_view title(FileKind kind);
std::string_view rawValue(FileKind kind);
std::optional<FileKind> fromRawValue(std::string_view raw);
// The icon that stands for the kind.
std::string_view symbol(FileKind kind);

} // namespace FileKinds
} // namespace tessel
