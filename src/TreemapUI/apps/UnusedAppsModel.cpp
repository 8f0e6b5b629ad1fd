#include "apps/UnusedAppsModel.h"

#include <algorithm>
#include <array>
#include <chrono>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/CheckedSize.h"
#include "support/QtText.h"

namespace tessel {

namespace {

constexpr std::array<std::pair<Span, const char*>, 3> spanWords{{{Span::three, "three"}, {Span::six, "six"}, {Span::twelve, "twelve"}}};

QString dayOf(std::int64_t seconds) {
    return localDate(std::chrono::system_clock::time_point(std::chrono::seconds(seconds)), QStringLiteral("d MMM yyyy"));
}

} // namespace

const std::vector<RowField<UnusedAppRow>>& UnusedAppRow::fields() {
    using Row = UnusedAppRow;
    static const std::vector<RowField<Row>> list{{"key", &Row::key},           {"name", &Row::name},
                                                 {"icon", &Row::icon},         {"size", &Row::size},
                                                 {"lastOpened", &Row::lastOpened}, {"evidence", &Row::evidence},
                                                 {"chosen", &Row::chosen},         {"running", &Row::running}};
    return list;
}

UnusedAppsModel::UnusedAppsModel(UninstallModel& uninstall, std::function<std::int64_t()> now, QObject* parent)
    : QObject(parent), uninstall_(uninstall), now_(std::move(now)), list_(this) {
    connect(&uninstall_, &UninstallModel::appsChanged, this, &UnusedAppsModel::judge);
    connect(&uninstall_, &UninstallModel::loadingChanged, this, &UnusedAppsModel::loadingChanged);
}

void UnusedAppsModel::loadIfNeeded() { uninstall_.loadIfNeeded(); }

QString UnusedAppsModel::span() const {
    for (const auto& [span, word] : spanWords)
        if (span == span_) return QString::fromLatin1(word);
    return QStringLiteral("three");
}

void UnusedAppsModel::setSpan(const QString& span) {
    for (const auto& [candidate, word] : spanWords)
        if (span == QLatin1String(word) && candidate != span_) {
            span_ = candidate;
            judge();
        }
}

void UnusedAppsModel::judge() {
    judgement_ = UnusedApps::judge(uninstall_.usage(), UnusedApps::days(span_), now_ ? now_() : 0);
    // What is no longer offered under the new span is no longer chosen.
    std::set<std::string> offered;
    for (const UnusedAppEntry& entry : judgement_.unused) offered.insert(entry.app.entryPath);
    std::erase_if(chosen_, [&](const std::string& key) { return !offered.contains(key); });
    ++generation_;
    publish();
    emit judged();
    emit chosenChanged();
}

void UnusedAppsModel::publish() {
    std::vector<UnusedAppRow> rows;
    for (const UnusedAppEntry& entry : judgement_.unused) {
        const LastOpened& opened = entry.lastOpened;
        UnusedAppRow row;
        row.key = toQString(entry.app.entryPath);
        row.name = toQString(entry.app.name);
        row.icon = uninstall_.iconOf(entry.app.entryPath);
        row.size = entry.bytes ? toQString(ByteFormat::string(*entry.bytes)) : QString();
        if (opened.date) {
            row.lastOpened = QStringLiteral("Last opened ") + dayOf(*opened.date);
            if (opened.source) row.evidence = toQString(OpeningSources::sentence(*opened.source));
        } else if (opened.notSince) {
            row.lastOpened = QStringLiteral("Not opened since ") + dayOf(*opened.notSince);
            row.evidence = toQString(LastOpenedReader::notReadSince);
        }
        row.chosen = chosen_.contains(entry.app.entryPath);
        rows.push_back(std::move(row));
    }
    list_.reset(std::move(rows));
}

QVariantList UnusedAppsModel::undecided() const {
    QVariantList apps;
    for (const UndecidedApp& app : judgement_.undecided)
        apps << QVariantMap{{QStringLiteral("name"), toQString(app.entry.app.name)}, {QStringLiteral("why"), toQString(app.why)}};
    return apps;
}

void UnusedAppsModel::toggle(const QString& key) {
    const std::string path = toBytes(key);
    const bool offered = std::ranges::any_of(judgement_.unused, [&](const UnusedAppEntry& entry) { return entry.app.entryPath == path; });
    if (!offered) return;
    if (chosen_.erase(path) == 0) chosen_.insert(path);
    publish();
    emit chosenChanged();
}

void UnusedAppsModel::chooseAll() {
    for (const UnusedAppEntry& entry : judgement_.unused) chosen_.insert(entry.app.entryPath);
    publish();
    emit chosenChanged();
}

void UnusedAppsModel::chooseNone() {
    chosen_.clear();
    publish();
    emit chosenChanged();
}

QStringList UnusedAppsModel::chosenKeys() const {
    QStringList keys;
    for (const std::string& key : chosen_) keys << toQString(key);
    return keys;
}

qint64 UnusedAppsModel::unusedBytes() const {
    std::int64_t bytes = 0;
    for (const UnusedAppEntry& entry : judgement_.unused) bytes = checkedAdd(bytes, entry.bytes.value_or(0));
    return bytes;
}

qint64 UnusedAppsModel::chosenBytes() const {
    std::int64_t bytes = 0;
    for (const UnusedAppEntry& entry : judgement_.unused)
        if (chosen_.contains(entry.app.entryPath)) bytes = checkedAdd(bytes, entry.bytes.value_or(0));
    return bytes;
}

} // namespace tessel
