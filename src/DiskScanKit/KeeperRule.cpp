// The keeper rule: which of a set of identical files stays by default.
//
// People put the copy they mean to keep somewhere deliberate and let the
// others pile up in Downloads, in "copy" folders and under names a file
// manager made up. So each copy gets a rank of five parts, compared in order:
//
//   heldElsewhere   a copy whose blocks stay held when it goes, first;
//   place           organised (in a subfolder of Desktop, Documents, Pictures,
//                   Movies, Videos or Music), then directly in one of those,
//                   then anywhere else, then Downloads, last;
//   nameLooksCopied a file name that doesn't look copied first;
//   copiedFolders   fewer copied-looking folders on the way first;
//   path            natural order (case aside, digit runs by value, as a file
//                   manager lists names), then plain byte order, so the order
//                   is total and the same on every run.
//
// Held elsewhere. Which copy stays changes what removing the others frees
// when one of them can't free anything itself: a hard-linked file with a name
// outside the group (a link in a folder that wasn't compared) keeps its blocks
// through that name, and a full clone keeps them through its other clones
// when the group doesn't hold the whole set (when it does, the set's blocks
// come free as the set goes, and keeping a clone or another copy frees the
// same). Removing such a copy frees nothing, so keeping it frees the most: it
// goes first, before any question of place, and among plain copies the rest
// of the rank decides as before. Example: a.mov in Documents, and b.mov in Downloads with a second
// name elsewhere on the disk. The place rule alone would keep a.mov and count
// b.mov's size as freed, though b.mov's other name keeps every block; keeping
// b.mov frees a.mov's size, truly.
//
// There is no date in the rule: the oldest copy is often the one that was
// downloaded, and the tool offers "Keep the Oldest" as the user's own choice.
//
// Where the user's part begins. The place is read from the first folder of
// the user's own part of the path, so the prefix that only says whose or which
// disk it is must be skipped: the home folder, "/Users/name" (and
// "/Users/Shared"), "/home/name", or a disk: "/Volumes/name", "/mnt/name",
// "/media/user/name", "/run/media/user/name". A disk may hold an old home
// folder ("/Volumes/Backup/Users/me/Documents"), so a home prefix is skipped
// again after a disk prefix. A prefix never swallows the file name itself, and
// all of it is compared in lower case. The Linux rows cost nothing on a Mac,
// where no such folders hold anyone's files, so one table serves both, as the
// XDG "Videos" beside "Movies" does.
//
// Words. A name is split into words at everything that is not a letter or a
// digit, and a word is compared whole and in lower case, so "Copyright.pdf"
// is not a copy and "report (Copy 2)" is. Lower case covers ASCII, Latin-1
// and Latin Extended-A, one character to one character ("CÓPIA" is "cópia");
// other letters stay as they are. Any character from U+00C0 up counts as a
// letter except ×, ÷ and the punctuation blocks (U+2000 to U+206F, U+3000 to
// U+303F, U+FF00 to U+FF0F); a byte that is not UTF-8 counts as a letter too.
//
// What looks copied. The patterns file managers use for a second copy all
// hold a copy word or end in a counter: "report copy", "report copy 2"
// (Finder), "report (copy)", "report (another copy)", "report (3rd copy)"
// (GNOME Files), "report (1)" (KDE's Dolphin, browsers), "report - Copy"
// (Windows), "report (conflicted copy …)" (sync services). A counter has one to
// three digits, so a year ("Holiday (2019)") is not one. A file name is looked
// at without its extension (".tar.gz" counts as one) and with the copy words
// only: "Old Town.jpg" and "Backup Guide.pdf" name their subject, while a
// folder called "old" or "backup" holds something set aside. A folder also
// looks copied when it ends in a counter or is a new folder nobody named
// ("untitled folder", "untitled folder 2", "New Folder").
//
// Example, home /Users/me:
//   /Users/me/Documents/Taxes/2023.pdf       organised
//   /Users/me/Documents/old/2023.pdf         organised, one copied folder
//   /Users/me/Documents/2023.pdf             standardFolder
//   /Users/me/Documents/2023 copy.pdf        standardFolder, name looks copied
//   /Users/me/Downloads/2023.pdf             downloads
// The first is kept; the others follow in this order.

#include "DiskScanKit/DuplicateGroup.h"
#include "DiskScanKit/NameBytes.h"

#include <algorithm>
#include <array>
#include <map>
#include <numeric>

namespace tessel::KeeperRule {

namespace {

constexpr std::array<std::string_view, 6> standardFolders{"desktop", "documents", "pictures",
                                                          "movies",  "videos",    "music"};
constexpr std::array<std::string_view, 3> unorganisedFolders{"public", "library", "applications"};
constexpr std::array<std::string_view, 6> copyWords{"copy", "conflicted", "kopie", "copie", "copia", "cópia"};
constexpr std::array<std::string_view, 3> backupWords{"old", "backup", "backups"};
constexpr std::array<std::string_view, 2> unnamedFolders{"untitled folder", "new folder"};
constexpr std::string_view downloadsFolder = "downloads";

template <std::size_t N>
bool contains(const std::array<std::string_view, N>& table, std::string_view word) {
    return std::find(table.begin(), table.end(), word) != table.end();
}

// One character of UTF-8: its code point and length. A byte that doesn't
// start a well-formed character is returned alone, with `valid` false.
struct Character {
    char32_t code = 0;
    std::size_t length = 1;
    bool valid = true;
};

Character decode(std::string_view text, std::size_t at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) return {lead, 1, true};
    std::size_t length = 0;
    char32_t code = 0;
    if ((lead & 0xe0) == 0xc0) {
        length = 2;
        code = lead & 0x1fu;
    } else if ((lead & 0xf0) == 0xe0) {
        length = 3;
        code = lead & 0x0fu;
    } else if ((lead & 0xf8) == 0xf0) {
        length = 4;
        code = lead & 0x07u;
    } else {
        return {lead, 1, false};
    }
    if (at + length > text.size()) return {lead, 1, false};
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xc0) != 0x80) return {lead, 1, false};
        code = (code << 6) | (next & 0x3fu);
    }
    constexpr std::array<char32_t, 5> smallestOfLength{0, 0, 0x80, 0x800, 0x10000};
    if (code < smallestOfLength[length] || code > 0x10ffff) return {lead, 1, false};
    return {code, length, true};
}

// One character to one character: a letter whose lower case is two (İ) stays.
char32_t lowerCase(char32_t c) {
    if (c >= 'A' && c <= 'Z') return c + ('a' - 'A');
    if (c >= 0xc0 && c <= 0xde && c != 0xd7) return c + 0x20;
    if ((c >= 0x100 && c <= 0x12f) || (c >= 0x132 && c <= 0x137) || (c >= 0x14a && c <= 0x177)) return c | 1;
    if ((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17e)) return (c & 1) != 0 ? c + 1 : c;
    if (c == 0x178) return 0xff;
    return c;
}

std::string lowered(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const Character c = decode(text, i);
        if (c.valid) Utf8::append(out, lowerCase(c.code));
        else out += text[i];
        i += c.length;
    }
    return out;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isWordCharacter(const Character& c) {
    if (!c.valid) return true;
    if (c.code < 0x80) return isDigit(static_cast<char>(c.code)) || (c.code >= 'a' && c.code <= 'z') ||
                              (c.code >= 'A' && c.code <= 'Z');
    if (c.code < 0xc0 || c.code == 0xd7 || c.code == 0xf7) return false;
    if (c.code >= 0x2000 && c.code <= 0x206f) return false;
    if (c.code >= 0x3000 && c.code <= 0x303f) return false;
    if (c.code >= 0xff00 && c.code <= 0xff0f) return false;
    return true;
}

// The words of `text`, in lower case.
std::vector<std::string> words(std::string_view text) {
    std::vector<std::string> found;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= text.size();) {
        const bool atEnd = i == text.size();
        const Character c = atEnd ? Character{} : decode(text, i);
        if (atEnd || !isWordCharacter(c)) {
            if (i > start) found.push_back(lowered(text.substr(start, i - start)));
            if (atEnd) break;
            start = i + c.length;
        }
        i += c.length;
    }
    return found;
}

std::vector<std::string_view> components(std::string_view path) {
    std::vector<std::string_view> parts;
    while (!path.empty()) {
        const std::size_t slash = path.find('/');
        const std::string_view part = path.substr(0, slash);
        if (!part.empty() && part != ".") parts.push_back(part);
        if (slash == std::string_view::npos) break;
        path.remove_prefix(slash + 1);
    }
    return parts;
}

// "report.pdf" is "report", "archive.tar.gz" is "archive", ".profile" stays.
std::string_view withoutExtension(std::string_view name) {
    std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return name;
    std::string_view stem = name.substr(0, dot);
    if (stem.size() > 4 && lowered(stem.substr(stem.size() - 4)) == ".tar") stem.remove_suffix(4);
    return stem;
}

// The length of a disk prefix at the start of `lower`: "/Volumes/name",
// "/mnt/name", "/media/user/name", "/run/media/user/name"; 0 for none.
std::size_t diskPrefix(const std::vector<std::string>& lower) {
    const auto is = [&lower](std::size_t at, std::string_view word) { return at < lower.size() && lower[at] == word; };
    if (is(0, "volumes") || is(0, "mnt")) return 2;
    if (is(0, "media")) return 3;
    if (is(0, "run") && is(1, "media")) return 4;
    return 0;
}

// The length of a home prefix at `at`: "users" and a name ("shared" being
// one), or "home" and a name; 0 for none.
std::size_t homePrefix(const std::vector<std::string>& lower, std::size_t at) {
    if (at < lower.size() && (lower[at] == "users" || lower[at] == "home")) return 2;
    return 0;
}

bool folderLooksCopied(std::string_view lowerName) {
    if (hasCopyMarker(lowerName, true) || endsWithCounter(lowerName)) return true;
    std::string_view name = lowerName;
    // Finder numbers a second new folder "untitled folder 2".
    while (!name.empty() && isDigit(name.back())) name.remove_suffix(1);
    if (name.size() < lowerName.size() && name.ends_with(' ')) name.remove_suffix(1);
    return std::find(unnamedFolders.begin(), unnamedFolders.end(), name) != unnamedFolders.end();
}

Place placeOf(const std::vector<std::string>& folderNames) {
    if (folderNames.empty()) return Place::elsewhere;
    const std::string& first = folderNames.front();
    if (first == downloadsFolder) return Place::downloads;
    if (contains(unorganisedFolders, first) || !contains(standardFolders, first)) return Place::elsewhere;
    return folderNames.size() > 1 ? Place::organised : Place::standardFolder;
}

int compareNumbers(std::string_view a, std::string_view b) {
    const auto significant = [](std::string_view digits) {
        const std::size_t first = digits.find_first_not_of('0');
        return first == std::string_view::npos ? std::string_view{} : digits.substr(first);
    };
    const std::string_view x = significant(a);
    const std::string_view y = significant(b);
    if (x.size() != y.size()) return x.size() < y.size() ? -1 : 1;
    const int order = x.compare(y);
    return order < 0 ? -1 : (order > 0 ? 1 : 0);
}

std::size_t digitRun(std::string_view text, std::size_t at) {
    std::size_t end = at;
    while (end < text.size() && isDigit(text[end])) ++end;
    return end;
}

} // namespace

bool precedes(const Rank& a, const Rank& b) {
    if (a.heldElsewhere != b.heldElsewhere) return a.heldElsewhere;
    if (a.place != b.place) return a.place < b.place;
    if (a.nameLooksCopied != b.nameLooksCopied) return !a.nameLooksCopied;
    if (a.copiedFolders != b.copiedFolders) return a.copiedFolders < b.copiedFolders;
    if (const int natural = naturalCompare(a.path, b.path); natural != 0) return natural < 0;
    return a.path < b.path;
}

namespace {
std::vector<std::string> loweredAll(const std::vector<std::string_view>& parts) {
    std::vector<std::string> lower;
    lower.reserve(parts.size());
    for (std::string_view part : parts) lower.push_back(lowered(part));
    return lower;
}
} // namespace

std::vector<std::string> folders(std::string_view home) { return loweredAll(components(home)); }

std::size_t startingPoint(const std::vector<std::string>& lowerComponents,
                          const std::vector<std::string>& homeFolders) {
    // Every prefix must leave at least the file name.
    const std::size_t count = lowerComponents.size();
    if (!homeFolders.empty() && homeFolders.size() < count &&
        std::equal(homeFolders.begin(), homeFolders.end(), lowerComponents.begin()))
        return homeFolders.size();
    std::size_t start = diskPrefix(lowerComponents);
    if (start >= count) start = 0;
    const std::size_t home = homePrefix(lowerComponents, start);
    if (start + home < count) start += home;
    return start;
}

Rank rank(std::string_view path, const std::vector<std::string>& homeFolders) {
    Rank result;
    result.path = std::string(path);
    const std::vector<std::string_view> parts = components(path);
    if (parts.empty()) return result;
    const std::vector<std::string> lower = loweredAll(parts);

    const std::size_t start = startingPoint(lower, homeFolders);
    const std::vector<std::string> folderNames(lower.begin() + static_cast<std::ptrdiff_t>(start), lower.end() - 1);
    result.place = placeOf(folderNames);

    const std::string_view stem = withoutExtension(parts.back());
    result.nameLooksCopied = endsWithCounter(stem) || hasCopyMarker(stem, false);
    result.copiedFolders = static_cast<int>(std::count_if(folderNames.begin(), folderNames.end(), folderLooksCopied));
    return result;
}

std::string ownFolder(std::string_view path, const std::vector<std::string>& homeFolders) {
    const std::vector<std::string_view> parts = components(path);
    const std::size_t start = startingPoint(loweredAll(parts), homeFolders);
    // The last component is the file itself, never its folder.
    return start + 1 < parts.size() ? std::string(parts[start]) : std::string();
}

bool endsWithCounter(std::string_view name) {
    if (!name.ends_with(')')) return false;
    const std::size_t open = name.rfind('(');
    if (open == std::string_view::npos) return false;
    const std::string_view digits = name.substr(open + 1, name.size() - open - 2);
    return !digits.empty() && digits.size() <= 3 && std::all_of(digits.begin(), digits.end(), isDigit);
}

bool hasCopyMarker(std::string_view name, bool includingBackupWords) {
    for (const std::string& word : words(name)) {
        if (contains(copyWords, word)) return true;
        if (includingBackupWords && contains(backupWords, word)) return true;
    }
    return false;
}

int naturalCompare(std::string_view a, std::string_view b) {
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        if (isDigit(a[i]) && isDigit(b[j])) {
            const std::size_t endA = digitRun(a, i);
            const std::size_t endB = digitRun(b, j);
            if (const int order = compareNumbers(a.substr(i, endA - i), b.substr(j, endB - j)); order != 0)
                return order;
            i = endA;
            j = endB;
            continue;
        }
        const Character x = decode(a, i);
        const Character y = decode(b, j);
        // A byte that isn't UTF-8 sorts as the Latin-1 character of its value;
        // the byte order that breaks ties still tells the two apart.
        const char32_t left = x.valid ? lowerCase(x.code) : x.code;
        const char32_t right = y.valid ? lowerCase(y.code) : y.code;
        if (left != right) return left < right ? -1 : 1;
        i += x.length;
        j += y.length;
    }
    if (i < a.size()) return 1;
    if (j < b.size()) return -1;
    return 0;
}

std::vector<bool> heldElsewhere(const std::vector<DuplicateFile>& files) {
    std::map<CloneStream::Key, int> clonesInGroup;
    for (const DuplicateFile& file : files)
        if (file.cloneStream) ++clonesInGroup[file.cloneStream->key];
    std::vector<bool> held;
    held.reserve(files.size());
    for (const DuplicateFile& file : files) {
        const auto names = static_cast<std::int64_t>(file.otherNames.size()) + 1;
        const bool namedOutside = file.linkCount > names;
        const bool cloneOfOthers = file.cloneStream && (!file.cloneStream->files ||
                                                        *file.cloneStream->files != clonesInGroup[file.cloneStream->key]);
        held.push_back(namedOutside || cloneOfOthers);
    }
    return held;
}

std::vector<DuplicateFile> ordered(std::vector<DuplicateFile> files, const std::string& home) {
    const std::vector<std::string> homeFolders = folders(home);
    const std::vector<bool> held = heldElsewhere(files);
    std::vector<Rank> ranks;
    ranks.reserve(files.size());
    for (std::size_t index = 0; index < files.size(); ++index) {
        ranks.push_back(rank(files[index].path, homeFolders));
        ranks.back().heldElsewhere = held[index];
    }
    std::vector<std::size_t> order(files.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&ranks](std::size_t x, std::size_t y) { return precedes(ranks[x], ranks[y]); });
    std::vector<DuplicateFile> sorted;
    sorted.reserve(files.size());
    for (std::size_t index : order) sorted.push_back(std::move(files[index]));
    return sorted;
}

} // namespace tessel::KeeperRule
