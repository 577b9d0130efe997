// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractListModel>

#include <tallywick/ui/KeyedRowUpdate.h>

namespace tallywick {

// A list model whose rows follow a keyed list by identity (see
// reshapeRowsByKey): the model's own announcements of each step, so that
// views keep their selection, current row and scroll position.
class KeyedListModel : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

protected:
    RowChangeSignals rowChangeSignals() {
        return {
            .beginRemove = [this](int first, int last) { beginRemoveRows({}, first, last); },
            .endRemove = [this] { endRemoveRows(); },
            .beginInsert = [this](int first, int last) { beginInsertRows({}, first, last); },
            .endInsert = [this] { endInsertRows(); },
            .beginMove = [this](int from, int to) { beginMoveRows({}, from, from, {}, to); },
            .endMove = [this] { endMoveRows(); },
        };
    }
};

}  // namespace tallywick
