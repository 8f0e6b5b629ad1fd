#pragma once
// The Search room: files and folders of the scanned tree by name and size,
// searched as the user types, with the recent and saved searches.


#include <QStringList>
#include <QTimer>
#include <QVariant>

#include <optional>

#include "DiskScanKit/FileSearch.h"
#include "lists/ListRoomModel.h"

namespace tessel {

// "12 MB", "1.5 GB", "500k", "2000": decimal units, as sizes are shown. None when unreadable.
std::optional<std::int64_t> parseByteCount(const QString& text);

class SearchModel : public ListRoomModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the search")
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY queryChanged)
    Q_PROPERTY(QString minimum READ minimum WRITE setMinimum NOTIFY queryChanged)
    Q_PROPERTY(QString maximum READ maximum WRITE setMaximum NOTIFY queryChanged)
    Q_PROPERTY(QString kind READ kind WRITE setKind NOTIFY queryChanged)
    Q_PROPERTY(QString sortBy READ sortBy WRITE setSortBy NOTIFY queryChanged)
    Q_PROPERTY(QString problem READ problem NOTIFY queryChanged)
    Q_PROPERTY(QString summary READ summary NOTIFY listChanged)
    Q_PROPERTY(QStringList recent READ recent NOTIFY historyChanged)
    Q_PROPERTY(QVariantList saved READ saved NOTIFY historyChanged)

public:
    static constexpr int mostRecent = 8;

    SearchModel(ScannedTree& tree, RowActions actions, QSettings* settings, QObject* parent = nullptr);

    QString text() const { return text_; }
    void setText(const QString& text);
    QString minimum() const { return minimum_; }
    void setMinimum(const QString& text);
    QString maximum() const { return maximum_; }
    void setMaximum(const QString& text);
    // "all", "files" or "folders".
    QString kind() const { return kind_; }
    void setKind(const QString& kind);
    // "largest", "smallest" or "name".
    QString sortBy() const { return sortBy_; }
    void setSortBy(const QString& sort);
    // Why the size bounds can't be read, if they can't.
    QString problem() const;
    // "1,234 matches, 5.6 GB in all. Showing the 500 largest."
    QString summary() const;
    QStringList recent() const;
    QVariantList saved() const;

    // The query as the engine takes it; none while a bound can't be read.
    std::optional<FileQuery> query() const;
    Q_INVOKABLE void run();
    // Remembers the present query under `name` (replacing one of that name).
    Q_INVOKABLE void save(const QString& name);
    Q_INVOKABLE void applySaved(int index);
    Q_INVOKABLE void forgetSaved(int index);
    Q_INVOKABLE void applyRecent(const QString& text);

signals:
    void queryChanged();
    void historyChanged();

protected:
    void fill() override { run(); }

private:
    void changed();
    void remember(const QString& text);

    QSettings* settings_;
    QString text_;
    QString minimum_;
    QString maximum_;
    QString kind_ = QStringLiteral("all");
    QString sortBy_ = QStringLiteral("largest");
    QTimer debounce_;
};

} // namespace tessel
