// SPDX-License-Identifier: MIT
#include <tallywick/ui/TextField.h>

#include <limits>

namespace tallywick {

TextField::TextField(QWidget* parent) : QLineEdit(parent) {
    setMaxLength(std::numeric_limits<int>::max());
}

}  // namespace tallywick
