// SPDX-License-Identifier: MIT
// Pictures of the records pane and its sheets with a realistic ledger, in a
// light and a dark palette, for a person to look at. They land in the build
// folder's "screenshots".
#include <QDir>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QStyle>
#include <QTabWidget>
#include <QToolButton>

#include <tallywick/host/LedgerStore.h>
#include <tallywick/ui/AccountHeaderView.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/EditEntrySheet.h>
#include <tallywick/ui/RenameSheet.h>

#include "PaneShots.h"
#include "RecordsWindow.h"
#include "support/HostileCorpus.h"

using namespace tallywick;
using namespace tallywick::testing;

class ScreenshotTest : public QObject {
    Q_OBJECT

private slots:
    void recordsPaneInLightAndDark() {
        RecordsWindow w;
        QVERIFY(w.open());
        QVERIFY(w.connectAgent("claude-code",
                               R"(,"title":"Claude Code","vendor":"Anthropic","platform":"linux")"));
        QVERIFY(w.connectAgent("cursor", R"(,"title":"Cursor")"));
        QVERIFY(w.connectAgent("codex-cli"));
        QVERIFY(w.connectWith(signUpLine("Research Bot")));
        QVERIFY(w.connectWith(R"({"jsonrpc":"2.0","id":9,"method":"ping"})"));
        QVERIFY(w.waitForAccounts(4));
        QTRY_COMPARE_WITH_TIMEOUT(w.model().connections().size(), std::size_t{5}, kPatience);

        AppModel& model = w.model();
        const std::string claude = w.account("Claude Code")->id;
        const auto add = [&](const std::string& account, TransactionKind kind, LedgerFlag flag,
                             std::int64_t amount, const std::string& memo) {
            model.createEntry(
                {.accountId = account, .kind = kind, .flag = flag, .amount = amount, .memo = memo});
        };
        add(claude, TransactionKind::credit, LedgerFlag::none, 250, "Fixed the flaky integration test");
        add(claude, TransactionKind::debit, LedgerFlag::none, 120, "Broke the nightly build");
        add(claude, TransactionKind::note, LedgerFlag::none, 0, "Paired with Cursor on the parser rewrite");
        add(claude, TransactionKind::credit, LedgerFlag::bonus, 500, "Shipped the release a day early");
        add(claude, TransactionKind::debit, LedgerFlag::penalty, 300, "Force-pushed to main");
        add(claude, TransactionKind::credit, LedgerFlag::none, 75, "");
        add(claude, TransactionKind::credit, LedgerFlag::none, 40, "Answered 100% of the review comments");
        add(w.account("Cursor")->id, TransactionKind::debit, LedgerFlag::none,
            w.account("Cursor")->balance + 35, "Deleted the staging database");
        add(w.account("codex-cli")->id, TransactionKind::debit, LedgerFlag::none,
            w.account("codex-cli")->balance, "Reset for the new quarter");
        model.setSelectedAccountID(claude);
        QVERIFY(w.waitForEntries(8));
        QTRY_VERIFY_WITH_TIMEOUT(w.account("codex-cli")->balance == 0 && w.account("Cursor")->balance == -35,
                                 kPatience);
        w.window().resize(MainWindow::defaultSize);

        const QString folder = QStringLiteral(TALLYWICK_SCREENSHOT_DIR);
        QVERIFY(QDir().mkpath(folder));
        const auto save = [&](QWidget* widget, const QString& name) {
            QApplication::processEvents();
            const QImage image = widget->grab().toImage();
            QVERIFY2(showsSomething(image, *widget), qPrintable(name + " is blank or not the widget's size"));
            QVERIFY(image.save(folder + "/" + name + ".png"));
        };
        const QPalette light = QApplication::style()->standardPalette();
        for (const auto& [scheme, palette] :
             {std::pair{QString("light"), light}, std::pair{QString("dark"), AppStyle::darkPalette()}}) {
            QApplication::setPalette(palette);
            w.sidebar().setFocus();
            save(&w.window(), "records-" + scheme);

            // The window follows the palette: its detail background is the palette's.
            const QImage shot = w.window().grab().toImage();
            const QColor corner = shot.pixelColor(shot.width() - 5, shot.height() - 5);
            QVERIFY(qAbs(corner.lightness() - palette.color(QPalette::Window).lightness()) < 40);

            // Driven from the keyboard: the current row's ring, and its menu.
            LedgerTableView& list = *w.ledger().list();
            list.setFocus(Qt::TabFocusReason);
            list.setCurrentIndex(list.model()->index(2, 0));
            QTest::keyClick(&list, Qt::Key_F10, Qt::ShiftModifier);
            QVERIFY(w.ledger().rowMenu());
            QVERIFY(QTest::qWaitForWindowExposed(w.ledger().rowMenu()));
            save(&w.window(), "records-keyboard-" + scheme);
            save(w.ledger().rowMenu(), "row-menu-" + scheme);
            w.ledger().rowMenu()->close();
            QTRY_VERIFY(!w.ledger().rowMenu());

            // The smallest window: the detail column scrolls.
            w.window().resize(MainWindow::minimumContentSize);
            QTRY_COMPARE(w.window().centralWidget()->size(), MainWindow::minimumContentSize);
            save(&w.window(), "records-smallest-" + scheme);
            w.window().resize(MainWindow::defaultSize);

            auto* header = w.find<AccountHeaderView>("accountHeader");
            w.find<QPushButton>("renameButton")->click();
            QVERIFY(QTest::qWaitForWindowExposed(header->renameSheet()));
            save(header->renameSheet(), "rename-sheet-" + scheme);
            header->renameSheet()->reject();

            w.clickRowButton(0, true);
            QVERIFY(w.ledger().editingSheet());
            QVERIFY(QTest::qWaitForWindowExposed(w.ledger().editingSheet()));
            save(w.ledger().editingSheet(), "edit-sheet-" + scheme);
            w.ledger().editingSheet()->reject();

            w.find<QPushButton>("deleteAccountButton")->click();
            QVERIFY(QTest::qWaitForWindowExposed(header->deleteConfirmation()));
            save(header->deleteConfirmation(), "delete-confirmation-" + scheme);
            header->deleteConfirmation()->reject();
            QTRY_VERIFY(!header->deleteConfirmation());

            model.setSelectedAccountID(std::nullopt);
            save(&w.window(), "no-selection-" + scheme);
            model.setSelectedAccountID(claude);
        }
        QApplication::setPalette(light);
    }

    // An agent whose title, client information and memos are the hostile
    // corpus, beside agents with right-to-left and markup titles: all of it
    // reads as the characters it is, and nothing moves the text around it.
    void hostileAgentInLightAndDark() {
        RecordsWindow w;
        QVERIFY(w.open());
        const auto text = [](const char* name) { return QString::fromStdString(test::hostileText(name)); };
        QJsonObject info{{"name", "hostile"}, {"version", "1.0"}, {"title", text("localImage")}};
        for (const auto& hostile : test::hostileCorpus())
            info.insert(QString::fromStdString(hostile.name), QString::fromStdString(hostile.text));
        QVERIFY(w.connectWith(initializeLine(info)));
        for (const char* name : {"rightToLeftText", "rightToLeftOverride", "richText", "link"})
            QVERIFY(w.connectWith(initializeLine(QJsonObject{{"name", name}, {"title", text(name)}})));
        QVERIFY(w.waitForAccounts(5));
        const std::string hostile = w.account(test::hostileText("localImage"))->id;
        for (const auto& memo : test::hostileCorpus())
            w.model().createEntry({.accountId = hostile,
                                   .kind = TransactionKind::credit,
                                   .flag = LedgerFlag::none,
                                   .amount = 5,
                                   .memo = memo.text});
        w.model().setSelectedAccountID(hostile);
        QVERIFY(w.waitForEntries(test::hostileCorpus().size() + 1));
        w.window().resize(1100, 1500);
        auto* panes = w.find<QTabWidget>("rootView");
        const QPalette light = QApplication::style()->standardPalette();
        for (const auto& [scheme, palette] :
             {std::pair{QString("light"), light}, std::pair{QString("dark"), AppStyle::darkPalette()}}) {
            QApplication::setPalette(palette);
            QVERIFY(saveShot(w.window(), "hostile-records-" + scheme));
            // The longest texts at the smallest window: everything wraps inside it.
            w.window().resize(900, 600);
            QVERIFY(QTest::qWaitFor([&] { return w.window().width() == 900; }));
            QVERIFY(saveShot(w.window(), "hostile-smallest-" + scheme));
            w.window().resize(1100, 1500);
            w.model().setSelectedAccountID(w.account(test::hostileText("rightToLeftText"))->id);
            QVERIFY(saveShot(w.window(), "hostile-right-to-left-name-" + scheme));
            w.model().setSelectedAccountID(hostile);
            panes->setCurrentIndex(1);
            QVERIFY(saveShot(w.window(), "hostile-activity-" + scheme));
            panes->setCurrentIndex(0);
        }
        QApplication::setPalette(light);
    }

    // The balance chart open over a month of an agent's ledger that dips
    // below zero once, made in the store before the host opens it.
    void balanceChartInLightAndDark() {
        RecordsWindow w;
        {
            auto store = LedgerStore::open(w.host().databasePath());
            QVERIFY(store);
            QVERIFY((*store)->setStartingPoints(1500));
            const Date start = std::chrono::sys_days{std::chrono::year{2025} / 5 / 12};
            const auto account = (*store)->createCredentialAccount("Research Bot", "unused", start);
            QVERIFY(account);
            std::uint32_t seed = 7;
            for (int i = 1; i <= 90; ++i) {
                seed = seed * 1103515245u + 12345u;
                // A note now and then, a debit in three, and one penalty that goes below zero.
                const bool note = i % 17 == 0, penalty = i == 46;
                const bool debit = penalty || (seed >> 20) % 3 == 0;
                const NewLedgerEntry entry{
                    .accountId = account->id,
                    .kind = note    ? TransactionKind::note
                            : debit ? TransactionKind::debit
                                    : TransactionKind::credit,
                    .flag = penalty ? LedgerFlag::penalty : LedgerFlag::none,
                    .amount = note      ? 0
                              : penalty ? 6000
                                        : 60 + (seed >> 8) % 340,
                    .memo = penalty ? "Leaked a test key" : "Task " + std::to_string(i)};
                QVERIFY((*store)->createEntry(entry, start + std::chrono::hours(i * 8 + seed % 5)));
            }
        }
        QVERIFY(w.open());
        QVERIFY(w.waitForAccounts(1));
        QVERIFY(w.waitForEntries(91));
        w.window().resize(MainWindow::defaultSize);
        w.ledger().chartToggle()->click();
        QWidget* card = w.find<QWidget>("balanceChartCard");
        QVERIFY(card->isVisible());
        // The toolbar makes room for the host's version some time after it arrives.
        const auto* status = w.find<QWidget>("connectionStatus");
        QTRY_VERIFY(status->width() >= status->sizeHint().width());
        const QPalette light = QApplication::style()->standardPalette();
        for (const auto& [scheme, palette] :
             {std::pair{QString("light"), light}, std::pair{QString("dark"), AppStyle::darkPalette()}}) {
            QApplication::setPalette(palette);
            QVERIFY(saveShot(w.window(), "records-chart-" + scheme));
            QVERIFY(saveShot(*card, "balance-chart-" + scheme));
        }
        QApplication::setPalette(light);
    }
};

QTEST_MAIN(ScreenshotTest)
#include "ScreenshotTest.moc"
