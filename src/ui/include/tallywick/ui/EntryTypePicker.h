// SPDX-License-Identifier: MIT
#pragma once

#include <QComboBox>

namespace tallywick {

// The entry-type picker. On Linux, Qt names a combo box after its current
// value, so a screen reader would announce "Credit" with no word of what is
// being picked; this picker is named by its accessible name ("Type") and
// gives its value as the value.
class EntryTypePicker : public QComboBox {
    Q_OBJECT

public:
    explicit EntryTypePicker(QWidget* parent = nullptr);
};

}  // namespace tallywick
