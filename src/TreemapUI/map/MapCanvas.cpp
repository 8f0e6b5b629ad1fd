#include "map/MapCanvas.h"

#include <QCursor>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QQuickWindow>

#include <algorithm>
#include <cmath>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/TextFormat.h"
#include "app/IconProvider.h"
#include "map/FittedText.h"
#include "map/MapList.h"
#include "support/QtText.h"

namespace tessel {

namespace {

QColor qcolor(const Color& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

Color fromQColor(const QColor& color) { return {color.redF(), color.greenF(), color.blueF(), color.alphaF()}; }

QRectF qrect(const Rect& rect) { return {rect.x, rect.y, rect.width, rect.height}; }

// How much of a shape a search leaves showing when it neither matches nor holds a match.
constexpr double dimmedOpacity = 0.32;

// How a text gives way when its box is too small.
enum class Fit {
    middle, // a name: cut in the middle, with an ellipsis
    words,  // a label of ours that starts with a figure: whole words drop from its end
};

// Text made to fit, so nothing spills out of its card.
void drawFitted(QPainter* painter, const QRectF& box, const QString& text, int flags, Fit fit = Fit::middle) {
    const QFontMetricsF metrics(painter->font());
    const QString shown =
        fit == Fit::middle
            ? metrics.elidedText(text, Qt::ElideMiddle, box.width())
            : FittedText::wholeWords(text, box.width(), [&metrics](const QString& part) { return metrics.horizontalAdvance(part); });
    painter->drawText(box, flags | Qt::TextSingleLine, shown);
}

} // namespace

MapCanvas::MapCanvas(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAcceptHoverEvents(true);
    setAcceptedMouseButtons(Qt::LeftButton);
    setAntialiasing(true);
    setFlag(ItemHasContents, true);
}

void MapCanvas::setModel(SpaceMapModel* model) {
    if (model == model_) return;
    if (model_) disconnect(model_, nullptr, this, nullptr);
    model_ = model;
    if (model_) {
        // New items or a changed tree: what the folders hold must be read again.
        connect(model_, &SpaceMapModel::itemsChanged, this, [this] {
            contents_.clear();
            dimmed_.clear();
            invalidate();
        });
        connect(model_, &SpaceMapModel::rootChanged, this, [this] {
            contents_.clear();
            dimmed_.clear();
            invalidate();
        });
        connect(model_, &SpaceMapModel::selectionChanged, this, [this] { update(); });
        // What a search lights changes the paint only, never the layout.
        connect(model_, &SpaceMapModel::matchesChanged, this, [this] {
            dimmed_.clear();
            update();
        });
    }
    emit modelChanged();
    invalidate();
}

void MapCanvas::setTheme(ThemeModel* theme) {
    if (theme == theme_) return;
    if (theme_) disconnect(theme_, nullptr, this, nullptr);
    theme_ = theme;
    if (theme_)
        connect(theme_, &ThemeModel::changed, this, [this] {
            icons_.clear();
            invalidate();
        });
    emit themeChanged();
    invalidate();
}

void MapCanvas::setStyle(const QString& style) {
    const QString chosen = style == "treemap" ? style : QStringLiteral("cards");
    if (chosen == style_) return;
    style_ = chosen;
    emit styleChanged();
    invalidate();
}

int MapCanvas::shapeCount() const {
    return static_cast<int>(style_ == "treemap" ? tiles_.size() : cards_.size());
}

void MapCanvas::invalidate() {
    dirty_ = true;
    update();
}

void MapCanvas::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickPaintedItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size()) invalidate();
}

void MapCanvas::layOut() {
    dirty_ = false;
    cards_.clear();
    tiles_.clear();
    if (!model_ || !theme_ || !model_->hasTree()) return;
    const Rect bounds{0, 0, width(), height()};
    tilesAreItems_ = false;
    if (style_ == "treemap") {
        const auto& place = model_->place();
        if (place && place->lens == SpaceMapModel::Lens::all && !place->group) {
            tiles_ = TreemapLayout::tiles(*place->focus, bounds, theme_->theme());
        } else {
            tilesAreItems_ = true;
            // Regrouped items have no folder of their own to nest: one flat row of tiles.
            const std::vector<MapItem>& items = model_->items();
            std::vector<double> sizes;
            for (const MapItem& item : items) sizes.push_back(static_cast<double>(item.bytes));
            std::vector<Rect> rects = TreemapLayout::squarify(sizes, bounds.insetBy(2, 2));
            for (std::size_t i = 0; i < rects.size() && i < items.size(); ++i) {
                TreemapTile tile;
                tile.id = static_cast<int>(i);
                tile.node = items[i].node;
                tile.rect = rects[i].insetBy(1, 1);
                tile.name = items[i].name;
                tile.bytes = items[i].bytes;
                tile.isDirectory = items[i].isNavigable();
                tile.color = theme_->theme().tileColor(TreemapTheme::paletteIndex(items[i].name), 1, tile.isDirectory);
                tile.labelColor = TreemapLayout::labelColor(tile.color);
                if (tile.rect.width >= 68 && tile.rect.height >= 22)
                    tile.label = {TreemapTile::Label::Kind::corner, tile.rect.insetBy(4, 3)};
                tiles_.push_back(std::move(tile));
            }
        }
    } else {
        const int paletteCount = static_cast<int>(theme_->theme().tilePalette.size());
        cards_ = CardLayout::cards(model_->items(), bounds, paletteCount, &contents_);
    }
    emit laidOut();
}

QColor MapCanvas::paletteColour(int index, int depth) const {
    const TreemapTheme& theme = theme_->theme();
    const Color base = theme.tilePalette[static_cast<std::size_t>(std::abs(index)) % theme.tilePalette.size()];
    if (depth == 0) return qcolor(base);
    // Inner cards sit on their parent's colour: paler in the light theme, deeper in the dark one.
    const double amount = depth == 1 ? 0.42 : 0.62;
    if (!theme.prefersDark) return qcolor(base.lightened(amount));
    const Color ground = theme.surface;
    return qcolor({base.red + (ground.red - base.red) * amount * 0.8, base.green + (ground.green - base.green) * amount * 0.8,
                   base.blue + (ground.blue - base.blue) * amount * 0.8, 1});
}

bool MapCanvas::isChosenNode(const FileNode* node) const {
    if (!model_) return false;
    const std::vector<MapItem>& chosen = model_->chosen();
    return std::any_of(chosen.begin(), chosen.end(), [&](const MapItem& item) { return item.node == node; });
}

bool MapCanvas::isChosen(const std::string& id) const {
    if (!model_) return false;
    const std::vector<MapItem>& chosen = model_->chosen();
    return std::any_of(chosen.begin(), chosen.end(), [&](const MapItem& item) { return item.id == id; });
}

QImage MapCanvas::icon(const QString& symbol, const QColor& colour, int size) {
    const qreal scale = window() != nullptr ? window()->effectiveDevicePixelRatio() : 1.0;
    const QString key = symbol + colour.name(QColor::HexArgb) + QString::number(size);
    auto found = icons_.constFind(key);
    if (found != icons_.constEnd()) return *found;
    const int pixels = static_cast<int>(std::lround(size * scale));
    QImage image = IconProvider::render(symbol, colour, {pixels, pixels});
    image.setDevicePixelRatio(scale);
    icons_.insert(key, image);
    return image;
}

void MapCanvas::paint(QPainter* painter) {
    if (dirty_) layOut();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setRenderHint(QPainter::TextAntialiasing);
    if (style_ == "treemap") paintTiles(painter);
    else paintCards(painter);
}

void MapCanvas::paintCards(QPainter* painter) {
    const std::int64_t total = model_ ? model_->placeBytes() : 0;
    const QColor accent = theme_ ? theme_->accent() : QColor(Qt::blue);
    QFont font = QGuiApplication::font();
    for (const CardLayout::Card& card : cards_) {
        const CardLayout::Level& level = CardLayout::levels()[static_cast<std::size_t>(std::min(card.depth, 2))];
        const QRectF box = qrect(card.rect);
        const QColor fill = paletteColour(card.palette, card.depth);
        const QColor ink = qcolor(TreemapLayout::labelColor(fromQColor(fill)));
        const QColor softInk = QColor(ink.red(), ink.green(), ink.blue(), static_cast<int>(ink.alpha() * 0.72));
        const bool hovered = card.item.id == hoveredId_;
        // Every card sets its own opacity: a card drawn after a faded one starts afresh.
        painter->setOpacity(dims(card.item) ? dimmedOpacity : 1.0);

        QPainterPath shape;
        shape.addRoundedRect(box, level.radius, level.radius);
        QLinearGradient shade(box.topLeft(), box.bottomLeft());
        shade.setColorAt(0, fill.lighter(hovered ? 112 : 104));
        shade.setColorAt(1, fill.darker(hovered ? 98 : 103));
        painter->fillPath(shape, shade);
        if (card.isOpen) {
            // The body of an open card is a quieter ground for the cards inside it.
            QRectF body(box.left(), box.top() + level.header, box.width(), box.height() - level.header);
            QPainterPath bodyShape;
            bodyShape.addRoundedRect(body.adjusted(level.inset / 2, 0, -level.inset / 2, -level.inset / 2),
                                     level.radius * 0.7, level.radius * 0.7);
            painter->fillPath(bodyShape, QColor(0, 0, 0, theme_ && theme_->dark() ? 40 : 22));
        }
        if (isChosen(card.item.id)) {
            painter->setPen(QPen(accent, 2.5));
            painter->drawPath(shape);
            painter->setPen(QPen(Qt::white, 1));
            painter->drawRoundedRect(box.adjusted(2.5, 2.5, -2.5, -2.5), level.radius - 2, level.radius - 2);
        }

        const QString name = toQString(card.item.name);
        // "26 more items" and "3 smaller files" are ours; a node's name is the user's.
        const Fit nameFit = card.item.node != nullptr ? Fit::middle : Fit::words;
        const QString note = toQString(FolderReadings::note(card.item.reading));
        // A folder the scan could not read whole says so beside its size.
        const QString size = toQString(ByteFormat::string(card.item.bytes)) + (note.isEmpty() ? QString() : " · " + note);
        const QString share = toQString(TextFormat::share(card.item.bytes, total));
        const QString symbol = toQString(tessel::symbol(card.item));
        const double pad = level.padding;
        font.setPixelSize(static_cast<int>(std::lround(level.titleFont + 1)));
        font.setWeight(QFont::DemiBold);
        const QFont title = font;
        font.setPixelSize(static_cast<int>(std::lround(level.detailFont + 1)));
        font.setWeight(QFont::Normal);
        const QFont detail = font;

        if (card.isOpen) {
            const double iconSize = std::min(level.icon * 0.6, level.header - 12);
            const QRectF band(box.left() + pad, box.top(), box.width() - 2 * pad, level.header);
            painter->drawImage(QRectF(band.left(), band.center().y() - iconSize / 2, iconSize, iconSize),
                               icon(symbol, ink, static_cast<int>(iconSize)));
            // The name comes first: the figures give way, share before size, when the band is short.
            painter->setFont(title);
            const double nameWidth = painter->fontMetrics().horizontalAdvance(name) + 4.0;
            painter->setFont(detail);
            const double room = band.width() - iconSize - 8;
            QString figures = share.isEmpty() ? size : size + "  " + share;
            for (const QString& candidate : {figures, size, QString()}) {
                figures = candidate;
                if (nameWidth + painter->fontMetrics().horizontalAdvance(candidate) + 12 <= room) break;
            }
            const double figuresWidth = figures.isEmpty() ? 0.0 : painter->fontMetrics().horizontalAdvance(figures) + 4.0;
            painter->setPen(softInk);
            drawFitted(painter, QRectF(band.right() - figuresWidth, band.top(), figuresWidth, band.height()), figures,
                       Qt::AlignRight | Qt::AlignVCenter, Fit::words);
            painter->setFont(title);
            painter->setPen(ink);
            drawFitted(painter, QRectF(band.left() + iconSize + 8, band.top(), band.width() - iconSize - 12 - figuresWidth, band.height()),
                       name, Qt::AlignLeft | Qt::AlignVCenter, nameFit);
            continue;
        }
        switch (card.label) {
        case CardLayout::Label::full: {
            const double iconSize = std::min(level.icon, box.height() - 2 * pad - 30);
            if (iconSize >= 14)
                painter->drawImage(QRectF(box.left() + pad, box.top() + pad, iconSize, iconSize),
                                   icon(symbol, ink, static_cast<int>(iconSize)));
            const QRectF text = box.adjusted(pad, pad, -pad, -pad);
            painter->setFont(detail);
            painter->setPen(softInk);
            const double lineHeight = painter->fontMetrics().height();
            const QString both = share.isEmpty() ? size : size + "  ·  " + share;
            drawFitted(painter, QRectF(text.left(), text.bottom() - lineHeight, text.width(), lineHeight),
                       painter->fontMetrics().horizontalAdvance(both) <= text.width() ? both : size,
                       Qt::AlignLeft | Qt::AlignBottom, Fit::words);
            painter->setFont(title);
            painter->setPen(ink);
            const double titleHeight = painter->fontMetrics().height();
            drawFitted(painter, QRectF(text.left(), text.bottom() - lineHeight - titleHeight - 1, text.width(), titleHeight),
                       name, Qt::AlignLeft | Qt::AlignBottom, nameFit);
            break;
        }
        case CardLayout::Label::stacked: {
            const QRectF text = box.adjusted(pad, 0, -pad, 0);
            painter->setFont(title);
            painter->setPen(ink);
            const double titleHeight = painter->fontMetrics().height();
            painter->setFont(detail);
            const double lineHeight = painter->fontMetrics().height();
            const double top = text.center().y() - (titleHeight + lineHeight) / 2;
            painter->setPen(softInk);
            drawFitted(painter, QRectF(text.left(), top + titleHeight, text.width(), lineHeight), size, Qt::AlignLeft | Qt::AlignTop,
                       Fit::words);
            painter->setFont(title);
            painter->setPen(ink);
            drawFitted(painter, QRectF(text.left(), top, text.width(), titleHeight), name, Qt::AlignLeft | Qt::AlignTop, nameFit);
            break;
        }
        case CardLayout::Label::name:
            painter->setFont(title);
            painter->setPen(ink);
            drawFitted(painter, box.adjusted(pad * 0.6, 0, -pad * 0.6, 0), name, Qt::AlignCenter, nameFit);
            break;
        case CardLayout::Label::icon: {
            const double iconSize = std::min({level.icon * 0.7, box.width() - 6, box.height() - 6});
            if (iconSize >= 10)
                painter->drawImage(QRectF(box.center().x() - iconSize / 2, box.center().y() - iconSize / 2, iconSize, iconSize),
                                   icon(symbol, ink, static_cast<int>(iconSize)));
            break;
        }
        case CardLayout::Label::none:
            break;
        }
    }
    painter->setOpacity(1.0);
}

bool MapCanvas::dims(const MapItem& item) {
    if (!model_ || !model_->matches()) return false;
    // A group or a folded rest asks each of its members, thousands perhaps:
    // once per answer, not at every hover.
    auto [known, added] = dimmed_.try_emplace(item.id, false);
    if (added) known->second = model_->dims(item);
    return known->second;
}

bool MapCanvas::dims(const TreemapTile& tile) {
    if (!model_ || !model_->matches()) return false;
    if (tile.node != nullptr) return model_->dims(*tile.node);
    const std::vector<MapItem>& items = model_->items();
    if (tilesAreItems_ && tile.id >= 0 && static_cast<std::size_t>(tile.id) < items.size())
        return dims(items[static_cast<std::size_t>(tile.id)]);
    return true; // a folder's small files: nameless, they never match
}

void MapCanvas::paintTiles(QPainter* painter) {
    const QColor outline = theme_ ? theme_->outline() : QColor(0, 0, 0, 30);
    const QColor accent = theme_ ? theme_->accent() : QColor(Qt::blue);
    QFont font = QGuiApplication::font();
    font.setPixelSize(11);
    painter->setFont(font);
    const QFontMetricsF metrics(font);
    // Thousands of axis-aligned rectangles: plain fills, without antialiasing,
    // are several times cheaper than stroked outlines and look the same.
    painter->setRenderHint(QPainter::Antialiasing, false);
    const QColor ground = theme_ ? theme_->background() : QColor(Qt::white);
    for (const TreemapTile& tile : tiles_) {
        const QRectF box = qrect(tile.rect);
        const bool hovered = tile.node != nullptr && tile.node == hoveredNode_;
        // A faded tile is drawn over the plain ground, not over its folder's
        // colour, so it looks the same at every depth.
        const bool dimmed = dims(tile);
        painter->setOpacity(1.0);
        if (dimmed) {
            painter->fillRect(box, ground);
            painter->setOpacity(dimmedOpacity);
        }
        painter->fillRect(box, outline);
        painter->fillRect(box.adjusted(1, 1, -1, -1), hovered ? qcolor(tile.color).lighter(112) : qcolor(tile.color));
        if (tile.node != nullptr && isChosenNode(tile.node)) {
            painter->setPen(QPen(accent, 2.5));
            painter->drawRect(box.adjusted(1.25, 1.25, -1.25, -1.25));
            painter->setPen(Qt::NoPen);
        }
        if (tile.label.kind == TreemapTile::Label::Kind::none) continue;
        const QColor ink = qcolor(tile.labelColor);
        painter->setPen(ink);
        const QString name = toQString(tile.name);
        const Fit nameFit = tile.node != nullptr ? Fit::middle : Fit::words;
        const QString size = toQString(ByteFormat::string(tile.bytes));
        const QRectF band = qrect(tile.label.rect);
        if (tile.label.kind == TreemapTile::Label::Kind::header) {
            const double sizeWidth = std::min(metrics.horizontalAdvance(size) + 6, band.width() * 0.4);
            drawFitted(painter, QRectF(band.right() - sizeWidth - 4, band.top(), sizeWidth, band.height()), size,
                       Qt::AlignRight | Qt::AlignVCenter, Fit::words);
            drawFitted(painter, QRectF(band.left() + 5, band.top(), band.width() - sizeWidth - 12, band.height()), name,
                       Qt::AlignLeft | Qt::AlignVCenter, nameFit);
        } else {
            drawFitted(painter, QRectF(band.left(), band.top(), band.width(), metrics.height()), name, Qt::AlignLeft | Qt::AlignTop,
                       nameFit);
            if (band.height() >= 2 * metrics.height())
                drawFitted(painter, QRectF(band.left(), band.top() + metrics.height(), band.width(), metrics.height()), size,
                           Qt::AlignLeft | Qt::AlignTop, Fit::words);
        }
    }
    painter->setOpacity(1.0);
}

std::optional<MapItem> MapCanvas::itemAt(QPointF point) const {
    if (style_ == "treemap") {
        for (auto tile = tiles_.rbegin(); tile != tiles_.rend(); ++tile) {
            if (!tile->rect.contains(point.x(), point.y())) continue;
            if (tile->node != nullptr) return MapItem::fromNode(tile->node);
            // The small-files tile: its folder's small files, as the cards show them.
            for (const MapItem& item : model_->items())
                if (item.kind.tag == MapItem::Kind::Tag::smallFiles) return item;
            return std::nullopt;
        }
        return std::nullopt;
    }
    for (auto card = cards_.rbegin(); card != cards_.rend(); ++card)
        if (card->rect.contains(point.x(), point.y())) return card->item;
    return std::nullopt;
}

void MapCanvas::setHover(const std::optional<MapItem>& item, QPointF point) {
    const std::string id = item ? item->id : std::string();
    hoverPoint_ = point;
    if (id == hoveredId_) {
        emit hoverChanged();
        return;
    }
    hoveredId_ = id;
    hoveredNode_ = item ? item->node : nullptr;
    if (item) {
        hoverName_ = toQString(item->name);
        const std::int64_t total = model_ ? model_->placeBytes() : 0;
        const QString share = toQString(TextFormat::share(item->bytes, total));
        const QString note = toQString(FolderReadings::note(item->reading));
        hoverDetail_ = toQString(ByteFormat::string(item->bytes)) +
                       (share.isEmpty() ? QString() : ", " + share + " of " + model_->placeTitle()) +
                       (note.isEmpty() ? QString() : ". " + note + ".");
    } else {
        hoverName_.clear();
        hoverDetail_.clear();
    }
    emit hoverChanged();
    update();
}

void MapCanvas::hoverMoveEvent(QHoverEvent* event) {
    const std::optional<MapItem> item = itemAt(event->position());
    setCursor(item && (item->isNavigable() || item->opens()) ? Qt::PointingHandCursor : Qt::ArrowCursor);
    setHover(item, event->position());
}

void MapCanvas::hoverLeaveEvent(QHoverEvent*) { setHover(std::nullopt, {}); }

void MapCanvas::mousePressEvent(QMouseEvent* event) {
    forceActiveFocus();
    if (!model_) return;
    const std::optional<MapItem> item = itemAt(event->position());
    if (!item) {
        model_->clearSelection();
        return;
    }
    const Qt::KeyboardModifiers modifiers = event->modifiers();
    const int modifier = modifiers & (Qt::ControlModifier | Qt::MetaModifier) ? SpaceMapModel::toggle
                         : modifiers & Qt::ShiftModifier                      ? SpaceMapModel::range
                                                                              : SpaceMapModel::plain;
    model_->select(*item, modifier);
}

void MapCanvas::mouseDoubleClickEvent(QMouseEvent* event) {
    if (!model_) return;
    if (const std::optional<MapItem> item = itemAt(event->position())) model_->activate(*item);
}

} // namespace tessel
