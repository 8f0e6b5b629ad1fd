#pragma once
// A small home-like folder for the self-test and the screenshots: documents,
// downloads, pictures, a cache and a project, with real bytes in them, and
// two apps of the user's own with what they left around.

#include <QString>
#include <QTemporaryDir>

namespace tessel {

class FixtureFolder {
public:
    FixtureFolder();
    bool isValid() const { return folder_.isValid(); }
    QString path() const { return folder_.path(); }

private:
    QTemporaryDir folder_;
};

} // namespace tessel
