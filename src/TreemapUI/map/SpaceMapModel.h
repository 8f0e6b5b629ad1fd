#pragma once
// The map room's state: where the user stands in the tree, through which
// lens, what is selected, and the items the cards, the treemap, the columns
// and the list show. Lenses that walk the whole tree below the focus run off
// the main thread; an answer is used only if no newer request came since.
// A search of the whole tree by name does the same: the map dims what
// neither matches nor holds a match, and steps from match to match.

#include <QObject>
#include <QSettings>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "scan/ScannedTree.h"
#include "support/MainThreadRelay.h"
#include "map/MapList.h"
#include "TreemapLayout/MapItem.h"
#include "TreemapLayout/MapLens.h"

namespace tessel {

class MapListModel;

class SpaceMapModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the map")
    Q_PROPERTY(bool hasTree READ hasTree NOTIFY rootChanged)
    Q_PROPERTY(int version READ version NOTIFY itemsChanged)
    Q_PROPERTY(int treeRevision READ treeRevision NOTIFY rootChanged)
    Q_PROPERTY(QString lens READ lensKey WRITE setLensKey NOTIFY placeChanged)
    Q_PROPERTY(QVariantList lenses READ lenses CONSTANT)
    Q_PROPERTY(QVariantList path READ path NOTIFY placeChanged)
    Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY placeChanged)
    Q_PROPERTY(QString placeTitle READ placeTitle NOTIFY placeChanged)
    Q_PROPERTY(qint64 placeBytes READ placeBytes NOTIFY placeChanged)
    Q_PROPERTY(bool isWorking READ isWorking NOTIFY workingChanged)
    Q_PROPERTY(QString selectionName READ selectionName NOTIFY selectionChanged)
    Q_PROPERTY(qint64 selectionBytes READ selectionBytes NOTIFY selectionChanged)
    Q_PROPERTY(int chosenCount READ chosenCount NOTIFY selectionChanged)
    Q_PROPERTY(qint64 chosenBytes READ chosenBytes NOTIFY selectionChanged)
    Q_PROPERTY(QStringList chosenIds READ chosenIds NOTIFY selectionChanged)
    Q_PROPERTY(QVariantList columns READ columns NOTIFY columnsChanged)
    Q_PROPERTY(QString listOrder READ listOrder WRITE setListOrder NOTIFY listOrderChanged)
    Q_PROPERTY(tessel::MapListModel* list READ list CONSTANT)
    // How the room draws the place: "cards", "treemap", "list" or "columns".
    Q_PROPERTY(QString style READ style WRITE setStyle NOTIFY styleChanged)
    // Words to find in names, anywhere in the tree; empty for no search.
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    // {total, bytes} of what the query found, or null while there is no answer.
    Q_PROPERTY(QVariant matches READ matchesValue NOTIFY matchesChanged)
    // The match last stepped to among the listed ones, or -1.
    Q_PROPERTY(int matchIndex READ matchIndex NOTIFY matchesChanged)
    // How many matches the steps go through: the largest, at most searchLimit.
    Q_PROPERTY(int listedMatches READ listedMatches NOTIFY matchesChanged)
    Q_PROPERTY(bool isSearching READ isSearching NOTIFY searchingChanged)

public:
    enum class Lens { all, apps, folders, types };
    struct Place {
        FileNode* focus = nullptr;
        Lens lens = Lens::all;
        std::optional<MapItem> group;
    };
    struct Matches {
        std::int64_t total = 0;
        std::int64_t bytes = 0;
        bool operator==(const Matches&) const = default;
    };
    // How a click chooses: alone, added to or taken from the choice, or a range.
    enum Modifier { plain = 0, toggle = 1, range = 2 };
    static constexpr int folderLensTarget = 24;
    static constexpr std::size_t historyDepth = 64;
    static constexpr int searchLimit = 10000;

    // Follows `tree`: a new scan starts afresh at its root, through "All Items";
    // a change takes what left out of everything the room shows.
    explicit SpaceMapModel(ScannedTree& tree, QSettings* settings = nullptr, QObject* parent = nullptr);
    ~SpaceMapModel() override;

    // Goes to a folder, keeping the present place to come back to.
    void show(FileNode* node);
    Q_INVOKABLE void back();
    // The path bar: 0 is the root of the scan.
    Q_INVOKABLE void goToPathIndex(int index);
    // Double-click: into a folder, or into what a group or the folded rest holds.
    void activate(const MapItem& item);
    Q_INVOKABLE void activate(const QString& itemId);
    void select(const MapItem& item, int modifier);
    Q_INVOKABLE void select(const QString& itemId, int modifier);
    Q_INVOKABLE void clearSelection();
    // Columns: choosing in column `column` opens the next column on a folder.
    Q_INVOKABLE void selectInColumn(int column, const QString& itemId);

    const std::optional<Place>& place() const { return place_; }
    FileNode* focus() const { return place_ ? place_->focus : nullptr; }
    const std::vector<MapItem>& items() const { return items_; }
    const std::optional<MapItem>& selection() const { return selection_; }
    const std::vector<MapItem>& chosen() const { return chosen_; }
    const std::vector<Place>& history() const { return history_; }
    // An item shown anywhere in the room, by id.
    std::optional<MapItem> find(const QString& itemId) const;

    bool hasTree() const { return root_ != nullptr; }
    int version() const { return version_; }
    int treeRevision() const { return treeRevision_; }
    Lens lens() const { return place_ ? place_->lens : Lens::all; }
    void setLens(Lens lens);
    QString lensKey() const;
    void setLensKey(const QString& key);
    QVariantList lenses() const;
    QVariantList path() const;
    bool canGoBack() const { return !history_.empty(); }
    QString placeTitle() const;
    qint64 placeBytes() const;
    bool isWorking() const { return isWorking_; }
    QString selectionName() const;
    qint64 selectionBytes() const;
    int chosenCount() const { return static_cast<int>(chosen_.size()); }
    qint64 chosenBytes() const;
    QStringList chosenIds() const;
    QVariantList columns() const;
    QString listOrder() const;
    void setListOrder(const QString& raw);
    MapListOrder order() const;
    MapListModel* list() const { return list_.get(); }
    QString style() const { return style_; }
    void setStyle(const QString& style);

    QString query() const { return query_; }
    void setQuery(const QString& query);
    std::optional<Matches> matches() const;
    QVariant matchesValue() const;
    // The listed matches, largest first; empty without an answer.
    const std::vector<MapItem>& matchItems() const;
    int matchIndex() const { return matchIndex_; }
    int listedMatches() const { return static_cast<int>(matchItems().size()); }
    bool isSearching() const { return isSearching_; }
    // Whether the map shows `item` faded: a search has answered and the item
    // neither matches nor holds a match.
    bool dims(const MapItem& item) const;
    bool dims(const FileNode& node) const;
    // To the next or the previous match, round from the last to the first:
    // into the folder that holds it, through "All Items", and chosen there.
    Q_INVOKABLE void nextMatch();
    Q_INVOKABLE void previousMatch();

    static std::string_view lensTitle(Lens lens);

    // The installed apps the Apps lens shows by their homes (folders wholly theirs), once they are known.
    void setKnownApps(std::vector<MapLens::KnownApp> apps);

signals:
    void rootChanged();
    void itemsChanged();
    void placeChanged();
    void workingChanged();
    void selectionChanged();
    void columnsChanged();
    void listOrderChanged();
    void styleChanged();
    void queryChanged();
    void matchesChanged();
    void searchingChanged();
    // A step landed on this match: the list and the columns bring it into view.
    void steppedTo(const QString& itemId);

private:
    void start(const std::shared_ptr<FileNode>& root);
    // The tree lost nodes (they went to the Trash): nothing may speak of them any more.
    void treeChanged();

    void goTo(Place place, bool remember);
    void loadItems();
    std::shared_ptr<const std::vector<MapLens::KnownApp>> knownApps_ = std::make_shared<const std::vector<MapLens::KnownApp>>();
    void publish(std::vector<MapItem> items);
    std::string cacheKey() const;
    bool isAttached(const FileNode* node) const;
    void rebuildColumns();
    // The tree under the map changed: everything shown, the selection and the place are told so.
    void showTreeAnew();

    // The search (SpaceMapSearch.cpp).
    void search();
    void land(MapLens::Found found);
    void stepBy(int direction);
    void forgetGoneMatches();
    void setSearching(bool searching);
    void matchesAnew();

    ScannedTree& tree_;
    QSettings* settings_;
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
    std::shared_ptr<FileNode> root_;
    std::optional<Place> place_;
    std::vector<Place> history_;
    std::optional<MapItem> selection_;
    std::vector<MapItem> chosen_;
    std::vector<MapItem> items_;
    std::map<std::string, std::vector<MapItem>> cache_;
    int version_ = 0;
    int treeRevision_ = 0;
    int generation_ = 0;
    bool isWorking_ = false;
    // Columns: the folder each column lists, and the item chosen in it.
    std::vector<FileNode*> columnFolders_;
    std::vector<QString> columnChoices_;
    std::unique_ptr<MapListModel> list_;
    QString style_ = QStringLiteral("cards");
    QString query_;
    std::optional<MapLens::Found> found_;
    int matchIndex_ = -1;
    bool isSearching_ = false;
    // Rises with every query; a search still walking stops when it moves on.
    std::shared_ptr<std::atomic<int>> searchGeneration_ = std::make_shared<std::atomic<int>>(0);
};

} // namespace tessel
