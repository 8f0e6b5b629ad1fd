#pragma once
// Showing items in the desktop's file manager, for what only an administrator
// can move: org.freedesktop.FileManager1's ShowItems over D-Bus, or the
// folder that holds them where no file manager answers on the bus.

#include <QStringList>

#include <vector>

#include "DiskScanKit/FileManager.h"
#include "TrashKit/DeletionGuard.h"

namespace tessel::FileManagerHandOff {

// The candidates that only an administrator can move.
std::vector<DeletionCandidate> eligible(const std::vector<DeletionCandidate>& candidates,
                                        const DeletionGuard::Context& context, const FileManager& files);
// Selects the paths in the file manager, or opens their folder.
void reveal(const QStringList& paths);
// How many of the paths no longer exist.
int gone(const QStringList& paths, const FileManager& files);

} // namespace tessel::FileManagerHandOff
