#include "map/MapList.h"

#include <QCollator>
#include <QLocale>
#include <QString>

#include <algorithm>

#include "support/QtText.h"

namespace tessel {

namespace {

QCollator& naturalOrder() {
    // Numbers compare as numbers and case is ignored, as a file manager sorts names.
    thread_local QCollator collator = [] {
        // Qt collates the C locale (LANG=C, C.UTF-8) by code point and ignores
        // numeric mode there, which would put "file10" before "file2".
        QLocale locale;
        if (locale.language() == QLocale::C) locale = QLocale(QLocale::English);
        QCollator made(locale);
        made.setNumericMode(true);
        made.setCaseSensitivity(Qt::CaseInsensitive);
        return made;
    }();
    return collator;
}

int compareNames(const MapItem& a, const MapItem& b) {
    return naturalOrder().compare(toQString(a.name), toQString(b.name));
}

} // namespace

std::string MapListOrder::rawValue() const {
    const char* name = key == Key::name ? "name" : key == Key::kind ? "kind" : "size";
    return std::string(name) + (ascending ? "-ascending" : "-descending");
}

std::optional<MapListOrder> MapListOrder::fromRawValue(const std::string& raw) {
    const std::size_t dash = raw.find('-');
    if (dash == std::string::npos) return std::nullopt;
    const std::string name = raw.substr(0, dash);
    const std::string direction = raw.substr(dash + 1);
    MapListOrder order;
    if (name == "name") order.key = Key::name;
    else if (name == "kind") order.key = Key::kind;
    else if (name == "size") order.key = Key::size;
    else return std::nullopt;
    if (direction == "ascending") order.ascending = true;
    else if (direction == "descending") order.ascending = false;
    else return std::nullopt;
    return order;
}

void MapListOrder::sort(std::vector<MapItem>& items) const {
    std::stable_sort(items.begin(), items.end(), [this](const MapItem& a, const MapItem& b) { return before(a, b); });
}

bool MapListOrder::before(const MapItem& a, const MapItem& b) const {
    int comparison = 0;
    switch (key) {
    case Key::name:
        comparison = compareNames(a, b);
        break;
    case Key::kind:
        comparison = kindTitle(a).compare(kindTitle(b));
        if (comparison == 0) comparison = compareNames(a, b);
        break;
    case Key::size:
        comparison = a.bytes < b.bytes ? -1 : a.bytes > b.bytes ? 1 : 0;
        // Equal sizes fall back to the name, A before Z whichever way the sizes run.
        if (comparison == 0) comparison = ascending ? compareNames(a, b) : -compareNames(a, b);
        break;
    }
    return ascending ? comparison < 0 : comparison > 0;
}

std::string kindTitle(const MapItem& item) {
    using Tag = MapItem::Kind::Tag;
    switch (item.kind.tag) {
    case Tag::package: return "Package";
    case Tag::more: return "More";
    case Tag::smallFiles: return "Smaller files";
    case Tag::app: return "Application";
    case Tag::folder: return "Folder";
    case Tag::file:
    case Tag::group: return std::string(FileKinds::title(item.kind.fileKind));
    }
    return {};
}

std::string symbol(const MapItem& item) {
    using Tag = MapItem::Kind::Tag;
    switch (item.kind.tag) {
    case Tag::folder: return "folder.fill";
    case Tag::app: return "app";
    case Tag::more: return "ellipsis";
    case Tag::smallFiles: return "doc.on.doc";
    case Tag::package:
    case Tag::file:
    case Tag::group: return std::string(FileKinds::symbol(item.kind.fileKind));
    }
    return "doc";
}

MapRow::MapRow(MapItem item, std::int64_t folderTotal, MapListOrder order)
    : item_(std::move(item)), folderTotal_(folderTotal), order_(order) {}

std::vector<MapRow> MapRow::rows(std::vector<MapItem> items, MapListOrder order, std::int64_t total) {
    order.sort(items);
    std::vector<MapRow> rows;
    const std::size_t kept = std::min(items.size(), mostRows);
    rows.reserve(kept + 1);
    for (std::size_t i = 0; i < kept; ++i) rows.emplace_back(std::move(items[i]), total, order);
    if (items.size() > mostRows) {
        std::vector<MapItem> rest(std::make_move_iterator(items.begin() + static_cast<std::ptrdiff_t>(mostRows)),
                                  std::make_move_iterator(items.end()));
        rows.emplace_back(MapItem::more(std::move(rest)), total, order);
    }
    return rows;
}

double MapRow::share() const {
    return folderTotal_ > 0 ? static_cast<double>(item_.bytes) / static_cast<double>(folderTotal_) : 0.0;
}

bool MapRow::hasChildren() const {
    using Tag = MapItem::Kind::Tag;
    if (item_.kind.tag == Tag::more || item_.gathers()) return true;
    return item_.isNavigable() && (!item_.node->children().empty() || item_.node->aggregatedFileBytes() > 0);
}

std::vector<MapRow>& MapRow::children() {
    if (!built_) built_ = rows(item_.contents(), order_, item_.bytes);
    return *built_;
}

} // namespace tessel
