// SPDX-License-Identifier: MIT
// Every control stays within reach: beside the longest texts an agent may
// send, from the keyboard alone, and in German at the window's smallest.
#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTranslator>

#include <tallywick/app/AppTranslations.h>
#include <tallywick/ui/RootView.h>
#include <tallywick/ui/TextField.h>

#include "RecordsWindow.h"

using namespace tallywick;
using namespace tallywick::testing;

namespace {

constexpr QSize kSmallest(900, 600);

// The controls of the window that stand, wholly or partly, past its left or right edge.
QStringList outside(QWidget& window) {
    QStringList out;
    for (QWidget* control : window.findChildren<QWidget*>()) {
        if (!control->isVisible() ||
            !(qobject_cast<QAbstractButton*>(control) || qobject_cast<QLineEdit*>(control) ||
              qobject_cast<QComboBox*>(control)))
            continue;
        const int left = control->mapTo(&window, QPoint(0, 0)).x();
        if (left < 0 || left + control->width() > window.width())
            out << control->objectName() + QStringLiteral(" at ") + QString::number(left);
    }
    return out;
}

// Opens the window at its smallest over one agent whose name, title and one
// client field are each one long word.
bool openWithLongTexts(RecordsWindow& w) {
    const QString word(256, QLatin1Char('W'));
    if (!w.open() || !w.connectWith(initializeLine(QJsonObject{
                         {"name", word}, {"title", word}, {"version", "1"}, {"note", QString(1024, 'V')}})))
        return false;
    if (!w.waitForAccounts(1)) return false;
    w.model().setSelectedAccountID(w.model().accounts().front().id);
    w.window().resize(kSmallest);  // the toolbar keeps it a little taller
    return QTest::qWaitFor([&] { return w.window().width() == kSmallest.width(); });
}

// The first control of `pane` that Tab stops at.
QWidget* firstStop(QWidget* pane) {
    for (QWidget* child : pane->findChildren<QWidget*>()) {
        if (child->isVisible() && child->isEnabled() && (child->focusPolicy() & Qt::TabFocus)) return child;
    }
    return pane;
}

}  // namespace

class ReachTest : public QObject {
    Q_OBJECT

private slots:
    void longTextsKeepEveryControlInTheWindow() {
        RecordsWindow w;
        QVERIFY(openWithLongTexts(w));
        QTRY_COMPARE(outside(w.window()), QStringList());
        // Tab reaches every control of the column without moving it sideways.
        auto* column = w.find<QScrollArea>("accountDetailScroller");
        w.find<QPushButton>("renameButton")->setFocus();
        for (int i = 0; i < 20; ++i) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QCOMPARE(column->widget()->x(), 0);
        }
    }

    void keyboardAloneReachesAndKeepsItsPlace() {
        RecordsWindow w;
        QVERIFY(w.openWithAgent("keys"));
        for (int i = 0; i < 30; ++i) QVERIFY(w.connectAgent("agent " + std::to_string(i)));
        QVERIFY(w.waitForAccounts(31));
        const auto& accounts = w.model().accounts();
        w.model().setSelectedAccountID(accounts.back().id);
        QVERIFY(QTest::qWaitForWindowActive(&w.window()));

        // After Add, the next entry starts in Amount again.
        EntryFields& fields = w.addFields();
        for (const char* amount : {"5", "6", "7"}) {
            fields.amountField()->setFocus();
            QTest::keyClicks(fields.amountField(), amount);
            QTest::mouseClick(w.find<QPushButton>("addButton"), Qt::LeftButton);
            QVERIFY(fields.amountField()->hasFocus());
        }
        QVERIFY(w.waitForEntries(4));

        // Home and End move to the first and last row of the ledger and of the accounts.
        LedgerTableView& list = *w.ledger().list();
        list.setFocus();
        list.setCurrentIndex(list.model()->index(1, 0));
        QTest::keyClick(&list, Qt::Key_End);
        QCOMPARE(list.currentIndex().row(), 3);
        QTest::keyClick(&list, Qt::Key_Home);
        QCOMPARE(list.currentIndex().row(), 0);
        AccountsSidebar& sidebar = w.sidebar();
        sidebar.setFocus();
        QTest::keyClick(&sidebar, Qt::Key_Home);
        QCOMPARE(sidebar.currentIndex(), sidebar.items().indexOfAccount(accounts.front().id));
        QTest::keyClick(&sidebar, Qt::Key_End);
        QCOMPARE(sidebar.currentIndex(), sidebar.items().indexOfAccount(accounts.back().id));

        // A filter cleared brings the selected account back into view.
        sidebar.scrollToTop();
        sidebar.setFilter(QStringLiteral("keys"));
        sidebar.setFilter(QString());
        const QModelIndex selected = sidebar.items().indexOfAccount(*w.model().selectedAccountID());
        QVERIFY(sidebar.viewport()->rect().contains(sidebar.visualRect(selected).center()));

        // The ledger's stops follow the screen: the header's line, the toggles' line, the rows.
        QStringList stops;
        w.ledger().search()->setFocus();
        for (int i = 0; i < 9; ++i) {
            stops << QApplication::focusWidget()->objectName();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(stops, (QStringList{"ledgerSearch", "ledgerFiles", "balanceChartToggle", "typeToggle-credit",
                                     "typeToggle-bonus", "typeToggle-debit", "typeToggle-penalty",
                                     "typeToggle-note", "ledgerList"}));

        // Ctrl+Tab and Ctrl+PageUp/PageDown switch panes from wherever the focus is.
        auto* root = w.find<RootView>("rootView");
        const std::pair<QKeyCombination, int> steps[] = {{Qt::CTRL | Qt::Key_Tab, 1},
                                                         {Qt::CTRL | Qt::Key_PageDown, 1},
                                                         {Qt::CTRL | Qt::SHIFT | Qt::Key_Backtab, 2},
                                                         {Qt::CTRL | Qt::Key_PageUp, 2}};
        for (int pane = 0; pane < root->count(); ++pane) {
            for (const auto& [keys, by] : steps) {
                root->setCurrentIndex(pane);
                QWidget* stop = firstStop(root->currentWidget());
                stop->setFocus();
                QTest::keyClick(QApplication::focusWidget(), keys.key(), keys.keyboardModifiers());
                QCOMPARE(root->currentIndex(), (pane + by) % root->count());
            }
        }
    }

    // German at the smallest window: the search's and Add's texts show whole.
    void germanFitsTheSmallestWindow() {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        AppTranslations::install(QStringLiteral(TALLYWICK_TRANSLATIONS_DIR));
        {
            RecordsWindow w;
            QVERIFY(openWithLongTexts(w));
            QTRY_COMPARE(outside(w.window()), QStringList());
            auto* search = w.ledger().search();
            auto* add = w.find<QPushButton>("addButton");
            QCOMPARE(add->text(), QString::fromUtf8("Hinzufügen"));
            // Room for the text besides the frame's margins and the clear button.
            QVERIFY(search->width() >=
                    search->fontMetrics().horizontalAdvance(search->placeholderText()) + 40);
            QVERIFY(add->width() >= add->fontMetrics().horizontalAdvance(add->text()) + 16);
        }
        for (QTranslator* translator : qApp->findChildren<QTranslator*>()) {
            QCoreApplication::removeTranslator(translator);
            delete translator;
        }
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    }
};

QTEST_MAIN(ReachTest)
#include "ReachTest.moc"
