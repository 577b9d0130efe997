// SPDX-License-Identifier: MIT
#include <tallywick/app/AppTranslations.h>

#include <QCoreApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace tallywick::AppTranslations {

QString folder() {
    return QDir(QCoreApplication::applicationDirPath())
        .absoluteFilePath(QStringLiteral("../share/tallywick/translations"));
}

void install(const QString& ownFolder) {
    const QLocale locale;
    // Made once and kept for the application's life, as the translators must be.
    auto* qtBase = new QTranslator(QCoreApplication::instance());
    if (qtBase->load(locale, QStringLiteral("qtbase"), QStringLiteral("_"),
                     QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(qtBase);
    auto* own = new QTranslator(QCoreApplication::instance());
    if (own->load(locale, QStringLiteral("tallywick"), QStringLiteral("_"), ownFolder))
        QCoreApplication::installTranslator(own);
}

}  // namespace tallywick::AppTranslations
