// The map as an SVG picture.
//
// What it draws. The same layouts as the app, drawn once: a background in the
// theme's colour, then every tile or card as a rectangle of its colour, in
// the layout's order, so that a folder is painted before what lies on it.
// Names and sizes are text wherever the layout's label rule found room, cut
// with an ellipsis where they would run over. Sizes are in decimal units,
// as everywhere on screen.
//
// Why it must survive any name. File names are bytes, not text: they may hold
// "<", "&" and quotes, a newline, or bytes that are not UTF-8 at all. A
// picture that one such name turns into broken XML shows nothing in any
// viewer. So every name goes through one gate: each byte that does not start
// or continue a well-formed UTF-8 sequence (overlong forms and surrogates
// included) becomes U+FFFD, as do control characters and U+FFFE and U+FFFF,
// which XML 1.0 forbids; then the five markup characters become entities.
// Truncation happens between those two steps, on whole characters, so an
// ellipsis never splits a character or an entity. Only text content carries
// names; attributes carry numbers and colours this file writes itself.
//
// Worked example: a folder named  a<b"  followed by a newline and the byte
// 0xff is written as
//
//     <text ...>a&lt;b&quot;&#xFFFD;&#xFFFD;</text>
//
// except that U+FFFD is written as its three UTF-8 bytes, EF BF BD; the
// document declares UTF-8, and the file holds nothing else.
//
// Text widths. There is no font engine here, so a line is taken to need 0.6
// of its font size per character (0.68 in semibold), a little more than the
// average of a proportional sans-serif: names are cut somewhat early rather
// than overrun their tile.

#include "TreemapLayout/SvgMap.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <utility>
#include <vector>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/NameBytes.h"
#include "TreemapLayout/CardLayout.h"
#include "TreemapLayout/MapItem.h"
#include "TreemapLayout/TreemapLayout.h"

namespace tessel::SvgMap {

namespace {

constexpr const char* replacement = "\xEF\xBF\xBD"; // U+FFFD
constexpr const char* ellipsis = "\xE2\x80\xA6";    // U+2026
constexpr double characterWidth = 0.6;              // of the font size, see above
constexpr double boldCharacterWidth = 0.68;         // the same for the semibold names
constexpr double lineHeight = 1.25;                 // of the font size

// The treemap's text: one line of it fits the title band of 18 points.
constexpr double tileFont = 11;
constexpr double tileDetailFont = 10;
constexpr double headerTextInset = 4;

// Where a symbol stands in for the kind's icon, which only the app can draw.
constexpr double symbolOpacity = 0.28;

bool unwelcome(std::uint32_t point) {
    return point < 0x20 || (point >= 0x7F && point <= 0x9F) || point == 0xFFFE || point == 0xFFFF;
}

// Valid UTF-8 holding only characters XML takes, one character per element.
std::vector<std::string> characters(std::string_view text) {
    std::vector<std::string> out;
    out.reserve(text.size());
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t length = Utf8::sequenceLength(text.substr(at));
        if (length == 0) {
            out.emplace_back(replacement);
            ++at;
            continue;
        }
        const std::string_view sequence = text.substr(at, length);
        if (unwelcome(Utf8::codePoint(sequence))) out.emplace_back(replacement);
        else out.emplace_back(sequence);
        at += length;
    }
    return out;
}

std::string markup(const std::vector<std::string>& chars, std::size_t count) {
    std::string out;
    for (std::size_t i = 0; i < count && i < chars.size(); ++i) {
        const std::string& c = chars[i];
        if (c == "&") out += "&amp;";
        else if (c == "<") out += "&lt;";
        else if (c == ">") out += "&gt;";
        else if (c == "\"") out += "&quot;";
        else if (c == "'") out += "&apos;";
        else out += c;
    }
    return out;
}

double estimatedWidth(std::size_t characterCount, double font) {
    return static_cast<double>(characterCount) * characterWidth * font;
}

// `text`, safe and escaped, cut to `width` at `font` with an ellipsis;
// empty when not even one character and the ellipsis fit.
std::string fitted(std::string_view text, double width, double font, bool bold = false) {
    const std::vector<std::string> chars = characters(text);
    const double room = width / ((bold ? boldCharacterWidth : characterWidth) * font);
    if (!(room >= 1)) return {};
    const auto fits = static_cast<std::size_t>(room);
    if (chars.size() <= fits) return markup(chars, chars.size());
    if (fits < 2) return {};
    return markup(chars, fits - 1) + ellipsis;
}

std::string number(double value) {
    if (!std::isfinite(value)) value = 0;
    char text[48];
    std::snprintf(text, sizeof text, "%.2f", value);
    std::string out = text;
    while (out.back() == '0') out.pop_back();
    if (out.back() == '.') out.pop_back();
    if (out == "-0") out = "0";
    return out;
}

std::string hex(const Color& color) {
    const auto byte = [](double component) {
        return static_cast<unsigned>(std::lround(std::clamp(component, 0.0, 1.0) * 255));
    };
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", byte(color.red), byte(color.green), byte(color.blue));
    return text;
}

double sane(double side) { return std::isfinite(side) && side > 0 ? side : 0; }

class Document {
public:
    Document(double width, double height, const TreemapTheme& theme, std::string_view title) {
        out_ += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        out_ += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + number(width) + "\" height=\"" +
                number(height) + "\" viewBox=\"0 0 " + number(width) + " " + number(height) +
                "\" font-family=\"Helvetica, Arial, sans-serif\">\n";
        out_ += "<title>" + markup(characters(title), std::string::npos) + "</title>\n";
        out_ += "<rect width=\"" + number(width) + "\" height=\"" + number(height) + "\"" +
                paint("fill", theme.background) + "/>\n";
    }

    void rect(Rect box, const Color& fill, double radius, const Color& outline) {
        out_ += "<rect x=\"" + number(box.x) + "\" y=\"" + number(box.y) + "\" width=\"" + number(box.width) +
                "\" height=\"" + number(box.height) + "\"";
        if (radius > 0) out_ += " rx=\"" + number(radius) + "\"";
        out_ += paint("fill", fill) + paint("stroke", outline) + " stroke-width=\"0.5\"/>\n";
    }

    void symbol(Rect box, const Color& color) {
        out_ += "<rect x=\"" + number(box.x) + "\" y=\"" + number(box.y) + "\" width=\"" + number(box.width) +
                "\" height=\"" + number(box.height) + "\" rx=\"" + number(box.width * 0.25) + "\"" +
                paint("fill", color.withAlpha(color.alpha * symbolOpacity)) + "/>\n";
    }

    // `escapedText` comes from `fitted`; nothing is written when it is empty.
    void text(double x, double baseline, double font, const Color& color, const std::string& escapedText,
              bool bold = false, bool toTheLeft = false) {
        if (escapedText.empty()) return;
        out_ += "<text x=\"" + number(x) + "\" y=\"" + number(baseline) + "\" font-size=\"" + number(font) + "\"";
        if (bold) out_ += " font-weight=\"600\"";
        if (toTheLeft) out_ += " text-anchor=\"end\"";
        out_ += paint("fill", color) + ">" + escapedText + "</text>\n";
    }

    std::string finish() {
        out_ += "</svg>\n";
        return std::move(out_);
    }

private:
    static std::string paint(const char* attribute, const Color& color) {
        std::string out = std::string(" ") + attribute + "=\"" + hex(color) + "\"";
        if (color.alpha < 1) out += std::string(" ") + attribute + "-opacity=\"" + number(color.alpha) + "\"";
        return out;
    }

    std::string out_;
};

// A title band: the name on the left and, where both fit, the size on the right.
void writeHeader(Document& document, Rect band, const std::string& name, std::int64_t bytes, const Color& color) {
    const std::string size = ByteFormat::string(bytes);
    const double room = band.width - 2 * headerTextInset;
    const double sizeWidth = estimatedWidth(size.size(), tileDetailFont);
    const double baseline = band.y + band.height * 0.5 + tileFont * 0.35;
    const double gutter = 2 * tileFont; // at least two characters of name beside the size
    if (room >= sizeWidth + gutter) {
        document.text(band.x + headerTextInset, baseline, tileFont, color,
                      fitted(name, room - sizeWidth - tileFont, tileFont, true), true);
        document.text(band.maxX() - headerTextInset, baseline, tileDetailFont, color,
                      fitted(size, sizeWidth, tileDetailFont), false, true);
    } else {
        document.text(band.x + headerTextInset, baseline, tileFont, color, fitted(name, room, tileFont, true), true);
    }
}

// The name on the first line of a leaf, and its size under it where there is room.
void writeCorner(Document& document, Rect box, const std::string& name, std::int64_t bytes, const Color& color) {
    document.text(box.x, box.y + tileFont, tileFont, color, fitted(name, box.width, tileFont));
    if (box.height >= tileFont * lineHeight + tileDetailFont)
        document.text(box.x, box.y + tileFont * lineHeight + tileDetailFont, tileDetailFont, color,
                      fitted(ByteFormat::string(bytes), box.width, tileDetailFont));
}

void writeCard(Document& document, const CardLayout::Card& card, const TreemapTheme& theme) {
    using CardLayout::Label;
    const CardLayout::Level& level = CardLayout::levels()[static_cast<std::size_t>(card.depth)];
    const bool folderLike = card.item.opens() || card.item.isNavigable();
    // As in the treemap: the cards on the ground at full hue, each level in lighter.
    const Color fill = theme.tileColor(card.palette, card.depth + 1, folderLike);
    const Color ink = TreemapLayout::labelColor(fill);
    const Rect box = card.rect;
    document.rect(box, fill, std::min(level.radius, std::min(box.width, box.height) * 0.5), theme.tileOutline);

    const double pad = level.padding;
    const std::string size = ByteFormat::string(card.item.bytes);
    const double title = level.titleFont;
    const double detail = level.detailFont;
    const double textWidth = box.width - 2 * pad;
    const auto titleAndDetail = [&](double x, double top, double width) {
        document.text(x, top + title, title, ink, fitted(card.item.name, width, title, true), true);
        document.text(x, top + title * lineHeight + detail, detail, ink, fitted(size, width, detail));
    };

    if (card.isOpen) {
        // The header band holds what a closed card's label would.
        if (level.header >= pad + title * lineHeight + detail) titleAndDetail(box.x + pad, box.y + pad, textWidth);
        else
            document.text(box.x + pad, box.y + pad + title, title, ink,
                          fitted(card.item.name, textWidth, title, true), true);
        return;
    }
    switch (card.label) {
    case Label::full: {
        const double side = std::min(level.icon, box.height - 2 * pad);
        document.symbol({box.x + pad, box.y + pad, side, side}, ink);
        const double x = box.x + pad + side + pad * 0.75;
        titleAndDetail(x, box.y + pad, box.maxX() - pad - x);
        break;
    }
    case Label::stacked:
        titleAndDetail(box.x + pad, box.y + pad, textWidth);
        break;
    case Label::name:
        document.text(box.x + pad, box.y + box.height * 0.5 + title * 0.35, title, ink,
                      fitted(card.item.name, textWidth, title, true), true);
        break;
    case Label::icon: {
        const double side = std::min(level.icon, std::min(box.width, box.height) - 2 * pad);
        document.symbol({box.x + (box.width - side) * 0.5, box.y + (box.height - side) * 0.5, side, side}, ink);
        break;
    }
    case Label::none:
        break;
    }
}

} // namespace

std::string escaped(std::string_view text) { return markup(characters(text), std::string::npos); }

std::string treemap(const FileNode& root, double width, double height, const TreemapTheme& theme) {
    width = sane(width);
    height = sane(height);
    Document document(width, height, theme, MapItem::displayName(root));
    for (const TreemapTile& tile : TreemapLayout::tiles(root, {0, 0, width, height}, theme)) {
        document.rect(tile.rect, tile.color, 0, theme.tileOutline);
        switch (tile.label.kind) {
        case TreemapTile::Label::Kind::header:
            writeHeader(document, tile.label.rect, tile.name, tile.bytes, tile.labelColor);
            break;
        case TreemapTile::Label::Kind::corner:
            writeCorner(document, tile.label.rect, tile.name, tile.bytes, tile.labelColor);
            break;
        case TreemapTile::Label::Kind::none:
            break;
        }
    }
    return document.finish();
}

std::string cards(const FileNode& root, double width, double height, const TreemapTheme& theme) {
    width = sane(width);
    height = sane(height);
    Document document(width, height, theme, MapItem::displayName(root));
    // Items hold their nodes without const, as the map also hands them to
    // removal; drawing only reads them.
    std::vector<MapItem> items = MapItem::contents(const_cast<FileNode*>(&root));
    const auto paletteCount = static_cast<int>(theme.tilePalette.size());
    for (const CardLayout::Card& card : CardLayout::cards(std::move(items), {0, 0, width, height}, paletteCount))
        writeCard(document, card, theme);
    return document.finish();
}

} // namespace tessel::SvgMap
