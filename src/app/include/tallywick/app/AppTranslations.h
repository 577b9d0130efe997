// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace tallywick::AppTranslations {

// Where the program's own translations are: share/tallywick/translations
// beside the program's bin folder, installed or in the build folder.
QString folder();

// Installs Qt's own translation and ours for the user's locale, as far as
// they exist; English needs neither. Call after the QApplication is made.
void install(const QString& ownFolder = folder());

}  // namespace tallywick::AppTranslations
