#include "app/GuideModel.h"

#include "app/Guide.h"
#include "support/QtText.h"
#include "app/SettingsKeys.h"

namespace tessel {

namespace {
const GuideStep& stepAt(int index) { return Guide::steps().at(static_cast<std::size_t>(index)); }
} // namespace

GuideModel::GuideModel(QSettings* settings, QObject* parent) : QObject(parent), settings_(settings) {}

int GuideModel::count() const { return static_cast<int>(Guide::steps().size()); }

QString GuideModel::target() const {
    const GuideStep& step = stepAt(index_);
    return step.target ? toQString(Guide::targetName(*step.target)) : QString();
}

QString GuideModel::symbol() const { return toQString(stepAt(index_).symbol); }
QString GuideModel::title() const { return toQString(stepAt(index_).title); }
QString GuideModel::text() const { return toQString(stepAt(index_).text); }
QString GuideModel::counter() const { return QStringLiteral("Step %1 of %2").arg(index_ + 1).arg(count()); }
QString GuideModel::forwardTitle() const { return index_ == 0 ? "Show Me Around" : "Next"; }
QString GuideModel::backTitle() const { return index_ == 0 ? "Skip Tour" : "Back"; }

void GuideModel::start() {
    active_ = true;
    index_ = 0;
    emit changed();
}

bool GuideModel::startIfUnseen() {
    if (settings_ != nullptr && settings_->value(SettingsKey::guideSeen, false).toBool()) return false;
    start();
    return true;
}

void GuideModel::next() {
    if (!active_) return;
    if (index_ + 1 >= count()) {
        finish();
        return;
    }
    ++index_;
    emit changed();
}

void GuideModel::back() {
    if (!active_) return;
    if (index_ == 0) {
        finish();
        return;
    }
    --index_;
    emit changed();
}

void GuideModel::finish() {
    if (settings_ != nullptr) settings_->setValue(SettingsKey::guideSeen, true);
    if (!active_) return;
    active_ = false;
    emit changed();
}

} // namespace tessel
