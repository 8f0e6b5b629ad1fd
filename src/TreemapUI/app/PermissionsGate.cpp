#include "app/PermissionsGate.h"

namespace tessel {

void PermissionsGate::receive(FullDiskAccessStatus status) {
    diskAccess_ = status;
    checked_ = true;
    if (answeredThisLaunch_) return;
    const bool denied = status == FullDiskAccessStatus::denied;
    if (asking_ == denied && scanWaits_ == denied) return;
    asking_ = denied;
    scanWaits_ = denied;
    emit askingChanged();
}

void PermissionsGate::answer() {
    answeredThisLaunch_ = true;
    const bool wasHolding = asking_ || scanWaits_;
    asking_ = false;
    scanWaits_ = false;
    if (wasHolding) emit askingChanged();
    emit answered();
}

} // namespace tessel
