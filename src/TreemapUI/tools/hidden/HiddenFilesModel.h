#pragma once
// The Hidden Files room: the largest hidden items of the scanned tree, each
// with what it is and whether it rebuilds itself.


#include "lists/ListRoomModel.h"

namespace tessel {

class HiddenFilesModel : public ListRoomModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The tools own the hidden files")
public:
    HiddenFilesModel(ScannedTree& tree, RowActions actions, QSettings* settings, QObject* parent = nullptr);

protected:
    void fill() override;
};

} // namespace tessel
