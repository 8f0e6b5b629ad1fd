#include "TreemapLayout/FileKind.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <utility>

namespace tessel::FileKinds {

namespace {

using Table = std::unordered_map<std::string, FileKind>;

void add(Table& table, FileKind kind, std::initializer_list<const char*> extensions) {
    for (const char* extension : extensions) table.emplace(extension, kind);
}

const Table& table() {
    static const Table built = [] {
        Table files;
        add(files, FileKind::videos, {"mp4", "m4v", "mov", "avi", "mkv", "webm", "wmv", "flv", "mpg", "mpeg", "3gp",
                                      "mts", "m2ts", "mxf", "braw", "r3d", "vob", "ts"});
        add(files, FileKind::audio, {"mp3", "m4a", "m4b", "m4r", "aac", "wav", "aif", "aiff", "aifc", "flac", "ogg",
                                     "oga", "opus", "caf", "wma", "mid", "midi", "ape", "dsf"});
        add(files, FileKind::images, {"jpg", "jpeg", "png", "gif", "heic", "heif", "tif", "tiff", "bmp", "webp", "avif",
                                      "jxl", "raw", "cr2", "cr3", "nef", "arw", "dng", "raf", "orf", "rw2", "srw",
                                      "psd", "psb", "ai", "eps", "svg", "ico", "icns", "exr", "hdr", "afphoto", "xcf",
                                      "kra", "procreate"});
        add(files, FileKind::documents, {"pdf", "doc", "docx", "pages", "key", "numbers", "xls", "xlsx", "ppt", "pptx",
                                         "txt", "rtf", "md", "markdown", "epub", "mobi", "odt", "ods", "odp", "csv",
                                         "tsv", "tex", "sketch", "fig", "xd", "indd", "afdesign", "afpub"});
        add(files, FileKind::archives, {"zip", "tar", "gz", "tgz", "bz2", "tbz", "xz", "txz", "7z", "rar", "zst", "lz4",
                                        "lzma", "cpio", "xip", "jar", "war", "ear", "apk", "ipa", "aab", "whl", "gem",
                                        "deb", "rpm", "pkg", "mpkg", "crx"});
        add(files, FileKind::diskImages, {"dmg", "iso", "img", "sparseimage", "vmdk", "vdi", "vhd", "vhdx", "qcow2",
                                          "hdd", "toast", "cdr", "ipsw"});
        add(files, FileKind::code, {"json", "xml", "yml", "yaml", "plist", "sql", "sqlite", "sqlite3", "db", "db-wal",
                                    "realm", "log", "dylib", "a", "o", "so", "dll", "exe", "wasm", "jsbundle", "map",
                                    "lock", "pack", "idx", "pb", "onnx", "safetensors", "gguf", "ggml", "pt", "pth",
                                    "ckpt", "h5", "hdf5", "npy", "npz", "parquet", "arrow", "feather", "tflite",
                                    "mlmodel", "swiftmodule", "pcm"});
        return files;
    }();
    return built;
}

const Table& bundles() {
    static const Table built = [] {
        Table folders;
        add(folders, FileKind::apps, {"app"});
        add(folders, FileKind::images, {"photoslibrary", "photolibrary", "migratedphotolibrary", "aplibrary", "lrdata"});
        add(folders, FileKind::videos, {"fcpbundle", "imovielibrary", "tvlibrary"});
        add(folders, FileKind::audio, {"logicx", "band", "musiclibrary"});
        add(folders, FileKind::diskImages, {"sparsebundle", "vmwarevm", "pvm", "utm"});
        add(folders, FileKind::code, {"xcarchive", "framework", "bundle", "plugin", "kext", "appex", "xpc", "docset",
                                      "mlpackage"});
        add(folders, FileKind::archives, {"pkg", "mpkg"});
        add(folders, FileKind::documents, {"rtfd", "pages", "key", "numbers"});
        return folders;
    }();
    return built;
}

std::optional<std::string> extension(std::string_view name) {
    std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot + 1 == name.size()) return std::nullopt;
    std::string lower(name.substr(dot + 1));
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c); });
    return lower;
}

constexpr std::pair<FileKind, std::string_view> titles[]{
    {FileKind::apps, "Apps"},           {FileKind::videos, "Videos"},       {FileKind::audio, "Audio"},
    {FileKind::images, "Images"},       {FileKind::documents, "Documents"}, {FileKind::archives, "Archives"},
    {FileKind::diskImages, "Disk Images"}, {FileKind::code, "Code & Data"}, {FileKind::other, "Other Files"},
};
constexpr std::pair<FileKind, std::string_view> raws[]{
    {FileKind::apps, "apps"},           {FileKind::videos, "videos"},       {FileKind::audio, "audio"},
    {FileKind::images, "images"},       {FileKind::documents, "documents"}, {FileKind::archives, "archives"},
    {FileKind::diskImages, "diskImages"}, {FileKind::code, "code"},       {FileKind::other, "other"},
};
constexpr std::pair<FileKind, std::string_view> symbols[]{
    {FileKind::apps, "app"},           {FileKind::videos, "film"},       {FileKind::audio, "music.note"},
    {FileKind::images, "photo"},       {FileKind::documents, "doc.text"}, {FileKind::archives, "archivebox"},
    {FileKind::diskImages, "externaldrive"}, {FileKind::code, "curlybraces"}, {FileKind::other, "doc"},
};

template <std::size_t N>
std::string_view lookUp(const std::pair<FileKind, std::string_view> (&rows)[N], FileKind kind) {
    for (const auto& [candidate, text] : rows)
        if (candidate == kind) return text;
    return {};
}

} // namespace

const std::vector<FileKind>& all() {
    static const std::vector<FileKind> kinds{FileKind::apps,      FileKind::videos,   FileKind::audio,
                                             FileKind::images,    FileKind::documents, FileKind::archives,
                                             FileKind::diskImages, FileKind::code,    FileKind::other};
    return kinds;
}

FileKind of(std::string_view name) {
    std::optional<std::string> found = extension(name);
    if (!found) return FileKind::other;
    auto it = table().find(*found);
    return it == table().end() ? FileKind::other : it->second;
}

std::optional<FileKind> bundle(std::string_view name) {
    std::optional<std::string> found = extension(name);
    if (!found) return std::nullopt;
    auto it = bundles().find(*found);
    if (it == bundles().end()) return std::nullopt;
    return it->second;
}

std::string_view title(FileKind kind) { return lookUp(titles, kind); }
std::string_view rawValue(FileKind kind) { return lookUp(raws, kind); }
std::string_view symbol(FileKind kind) { return lookUp(symbols, kind); }

std::optional<FileKind> fromRawValue(std::string_view raw) {
    for (const auto& [kind, text] : raws)
        if (text == raw) return kind;
    return std::nullopt;
}

} // namespace tessel::FileKinds
