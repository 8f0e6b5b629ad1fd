#include "lists/SearchModel.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <cmath>

#include "app/SettingsKeys.h"
#include "DiskScanKit/TextFormat.h"
#include "support/Format.h"
#include "support/QtText.h"

namespace tessel {

namespace {

constexpr int typingPauseMilliseconds = 250;

} // namespace

std::optional<std::int64_t> parseByteCount(const QString& text) {
    static const QRegularExpression form(QStringLiteral(R"(^\s*(\d+(?:[.,]\d+)?)\s*([kmgtp]?)b?(?:ytes?)?\s*$)"),
                                         QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch()) return std::nullopt;
    bool ok = false;
    const double number = match.captured(1).replace(',', '.').toDouble(&ok);
    if (!ok) return std::nullopt;
    const QString unit = match.captured(2).toLower();
    const double scale = unit == "k" ? 1e3 : unit == "m" ? 1e6 : unit == "g" ? 1e9 : unit == "t" ? 1e12 : unit == "p" ? 1e15 : 1;
    const double bytes = std::round(number * scale);
    if (!(bytes < 9.2e18)) return std::nullopt;
    return static_cast<std::int64_t>(bytes);
}

SearchModel::SearchModel(ScannedTree& tree, RowActions actions, QSettings* settings, QObject* parent)
    : ListRoomModel(tree, std::move(actions), settings, nullptr, largestFirst, parent), settings_(settings) {
    // Searching as the user types, once typing pauses.
    debounce_.setSingleShot(true);
    debounce_.setInterval(typingPauseMilliseconds);
    connect(&debounce_, &QTimer::timeout, this, &SearchModel::run);
}

void SearchModel::changed() {
    emit queryChanged();
    debounce_.start();
}

void SearchModel::setText(const QString& text) {
    if (text == text_) return;
    text_ = text;
    changed();
}

void SearchModel::setMinimum(const QString& text) {
    if (text == minimum_) return;
    minimum_ = text;
    changed();
}

void SearchModel::setMaximum(const QString& text) {
    if (text == maximum_) return;
    maximum_ = text;
    changed();
}

void SearchModel::setKind(const QString& kind) {
    if (kind == kind_ || (kind != "all" && kind != "files" && kind != "folders")) return;
    kind_ = kind;
    changed();
}

void SearchModel::setSortBy(const QString& sort) {
    if (sort == sortBy_ || (sort != "largest" && sort != "smallest" && sort != "name")) return;
    sortBy_ = sort;
    setOrder(sort == "name" ? "name-ascending" : sort == "smallest" ? "size-ascending" : "size-descending");
    changed();
}

QString SearchModel::problem() const {
    if (!minimum_.trimmed().isEmpty() && !parseByteCount(minimum_))
        return "The smallest size is not a size: write it like 500 KB or 2 GB.";
    if (!maximum_.trimmed().isEmpty() && !parseByteCount(maximum_))
        return "The largest size is not a size: write it like 500 KB or 2 GB.";
    const std::optional<FileQuery> bounds = query();
    if (bounds && bounds->maximumBytes && *bounds->maximumBytes < bounds->minimumBytes)
        return "The largest size is below the smallest: nothing can match.";
    return {};
}

std::optional<FileQuery> SearchModel::query() const {
    FileQuery query;
    query.text = toBytes(text_);
    if (!minimum_.trimmed().isEmpty()) {
        std::optional<std::int64_t> bytes = parseByteCount(minimum_);
        if (!bytes) return std::nullopt;
        query.minimumBytes = *bytes;
    }
    if (!maximum_.trimmed().isEmpty()) {
        std::optional<std::int64_t> bytes = parseByteCount(maximum_);
        if (!bytes) return std::nullopt;
        query.maximumBytes = *bytes;
    }
    query.kind = kind_ == "files" ? FileQuery::Kind::filesOnly
               : kind_ == "folders" ? FileQuery::Kind::foldersOnly : FileQuery::Kind::all;
    query.sort = sortBy_ == "name" ? FileQuery::Sort::nameAscending
               : sortBy_ == "smallest" ? FileQuery::Sort::smallestFirst : FileQuery::Sort::largestFirst;
    return query;
}

void SearchModel::run() {
    debounce_.stop();
    std::optional<FileQuery> chosen = query();
    if (!chosen) return;
    if (!chosen->text.empty()) remember(text_.trimmed());
    refresh([query = *chosen](FileNode& tree) { return ListRoomModel::answerFrom(FileSearch::run(query, tree, mostRows)); });
}

QString SearchModel::summary() const {
    if (!hasTree()) return {};
    const qint64 matched = totalMatched();
    if (matched == 0 && text_.trimmed().isEmpty()) return {};
    QString line = Format::matchesSentence(matched, totalBytes());
    if (truncated()) {
        const char* which = sortBy_ == "name" ? "first by name" : sortBy_ == "smallest" ? "smallest" : "largest";
        line += QStringLiteral(" Showing the %1 %2.").arg(toQString(TextFormat::grouped(rows()->rowCount())), which);
    }
    return line;
}

QStringList SearchModel::recent() const {
    return settings_ != nullptr ? settings_->value(SettingsKey::searchRecent).toStringList() : QStringList();
}

void SearchModel::remember(const QString& text) {
    if (settings_ == nullptr || text.isEmpty()) return;
    QStringList list = recent();
    list.removeAll(text);
    list.prepend(text);
    while (list.size() > mostRecent) list.removeLast();
    if (list == recent()) return;
    settings_->setValue(SettingsKey::searchRecent, list);
    emit historyChanged();
}

void SearchModel::applyRecent(const QString& text) {
    setText(text);
    run();
}

QVariantList SearchModel::saved() const {
    QVariantList list;
    if (settings_ == nullptr) return list;
    const QJsonDocument document = QJsonDocument::fromJson(settings_->value(SettingsKey::searchSaved).toByteArray());
    for (const QJsonValue& value : document.array()) {
        const QJsonObject object = value.toObject();
        if (!object.value("name").isString()) continue;
        list.append(object.toVariantMap());
    }
    return list;
}

void SearchModel::save(const QString& name) {
    const QString title = name.trimmed().isEmpty() ? text_.trimmed() : name.trimmed();
    if (settings_ == nullptr || title.isEmpty()) return;
    QJsonArray kept;
    for (const QVariant& entry : saved())
        if (entry.toMap().value("name").toString() != title) kept.append(QJsonObject::fromVariantMap(entry.toMap()));
    kept.append(QJsonObject{{"name", title}, {"text", text_}, {"minimum", minimum_}, {"maximum", maximum_},
                            {"kind", kind_}, {"sort", sortBy_}});
    settings_->setValue(SettingsKey::searchSaved, QString::fromUtf8(QJsonDocument(kept).toJson(QJsonDocument::Compact)));
    emit historyChanged();
}

void SearchModel::applySaved(int index) {
    const QVariantList list = saved();
    if (index < 0 || index >= list.size()) return;
    const QVariantMap entry = list[index].toMap();
    text_ = entry.value("text").toString();
    minimum_ = entry.value("minimum").toString();
    maximum_ = entry.value("maximum").toString();
    setKind(entry.value("kind", "all").toString());
    setSortBy(entry.value("sort", "largest").toString());
    emit queryChanged();
    run();
}

void SearchModel::forgetSaved(int index) {
    QVariantList list = saved();
    if (settings_ == nullptr || index < 0 || index >= list.size()) return;
    list.removeAt(index);
    QJsonArray kept;
    for (const QVariant& entry : list) kept.append(QJsonObject::fromVariantMap(entry.toMap()));
    settings_->setValue(SettingsKey::searchSaved, QString::fromUtf8(QJsonDocument(kept).toJson(QJsonDocument::Compact)));
    emit historyChanged();
}

} // namespace tessel
