#pragma once
// Draws the map as cards or as a treemap, and turns the pointer into hover,
// selection and navigation. It paints with QPainter from the layouts' plain
// rectangles: a few hundred cards or a few thousand tiles, laid out again
// only when the place, the size or the theme changes.

#include <QHash>
#include <QImage>
#include <QPointer>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "map/SpaceMapModel.h"
#include "app/ThemeModel.h"
#include "TreemapLayout/CardLayout.h"
#include "TreemapLayout/TreemapLayout.h"

namespace tessel {

class MapCanvas : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tessel::SpaceMapModel* model READ model WRITE setModel NOTIFY modelChanged)
    Q_PROPERTY(tessel::ThemeModel* theme READ theme WRITE setTheme NOTIFY themeChanged)
    Q_PROPERTY(QString style READ style WRITE setStyle NOTIFY styleChanged)
    Q_PROPERTY(QString hoverName READ hoverName NOTIFY hoverChanged)
    Q_PROPERTY(QString hoverDetail READ hoverDetail NOTIFY hoverChanged)
    Q_PROPERTY(QPointF hoverPoint READ hoverPoint NOTIFY hoverChanged)
    Q_PROPERTY(int shapeCount READ shapeCount NOTIFY laidOut)

public:
    explicit MapCanvas(QQuickItem* parent = nullptr);

    SpaceMapModel* model() const { return model_; }
    void setModel(SpaceMapModel* model);
    ThemeModel* theme() const { return theme_; }
    void setTheme(ThemeModel* theme);
    QString style() const { return style_; }
    void setStyle(const QString& style);
    QString hoverName() const { return hoverName_; }
    QString hoverDetail() const { return hoverDetail_; }
    QPointF hoverPoint() const { return hoverPoint_; }
    int shapeCount() const;

    void paint(QPainter* painter) override;

    // The item under a point of the canvas, if any.
    std::optional<MapItem> itemAt(QPointF point) const;

signals:
    void modelChanged();
    void themeChanged();
    void styleChanged();
    void hoverChanged();
    void laidOut();

protected:
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void hoverMoveEvent(QHoverEvent* event) override;
    void hoverLeaveEvent(QHoverEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void invalidate();
    void layOut();
    void paintCards(QPainter* painter);
    void paintTiles(QPainter* painter);
    void setHover(const std::optional<MapItem>& item, QPointF point);
    QImage icon(const QString& symbol, const QColor& colour, int size);
    QColor paletteColour(int index, int depth) const;
    bool isChosen(const std::string& id) const;
    bool isChosenNode(const FileNode* node) const;
    // Whether a search leaves the card or the tile faded.
    bool dims(const MapItem& item);
    bool dims(const TreemapTile& tile);

    QPointer<SpaceMapModel> model_;
    QPointer<ThemeModel> theme_;
    QString style_ = QStringLiteral("cards");
    bool dirty_ = true;
    std::vector<CardLayout::Card> cards_;
    ContentsCache contents_;
    std::vector<TreemapTile> tiles_;
    // The tiles stand for the model's items, one each in order, rather than for a folder's nodes.
    bool tilesAreItems_ = false;
    // What the search dims, by item id, until the items or the answer change.
    std::unordered_map<std::string, bool> dimmed_;
    std::string hoveredId_;
    const FileNode* hoveredNode_ = nullptr;
    QString hoverName_;
    QString hoverDetail_;
    QPointF hoverPoint_;
    QHash<QString, QImage> icons_;
};

} // namespace tessel
