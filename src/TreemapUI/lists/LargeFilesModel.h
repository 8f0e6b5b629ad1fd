#pragma once
// The Large Files room: the largest files of the scanned tree, largest first.


#include "lists/ListRoomModel.h"

namespace tessel {

class LargeFilesModel : public ListRoomModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the large files")
public:
    LargeFilesModel(ScannedTree& tree, RowActions actions, QSettings* settings, QObject* parent = nullptr);

protected:
    void fill() override;
};

} // namespace tessel
