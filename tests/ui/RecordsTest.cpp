// SPDX-License-Identifier: MIT
// The records pane driven as a person would, against a real host: what the
// views show, and what their clicks and keys make of the host's state.
#include <unistd.h>

#include <QAccessible>
#include <QClipboard>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QToolTip>
#include <QTranslator>

#include <tallywick/app/AppTranslations.h>
#include <tallywick/app/DataText.h>
#include <tallywick/host/LedgerStore.h>
#include <tallywick/ui/AccountDetailView.h>
#include <tallywick/ui/AccountHeaderView.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/BalanceChart.h>
#include <tallywick/ui/ConnectionStatusView.h>
#include <tallywick/ui/DetailContainerView.h>
#include <tallywick/ui/EditEntrySheet.h>
#include <tallywick/ui/EditorButtonsView.h>
#include <tallywick/ui/RecordsView.h>
#include <tallywick/ui/RenameSheet.h>
#include <tallywick/ui/StatusDot.h>
#include <tallywick/ui/TextField.h>

#include "PaneShots.h"
#include "RecordsWindow.h"

using namespace tallywick;
using namespace tallywick::testing;

namespace {

QString text(const std::string& value) {
    return QString::fromStdString(value);
}

// A colour with alpha as it lands on an opaque background.
QColor over(const QColor& color, const QColor& background) {
    const qreal a = color.alphaF();
    return QColor::fromRgbF(color.redF() * a + background.redF() * (1 - a),
                            color.greenF() * a + background.greenF() * (1 - a),
                            color.blueF() * a + background.blueF() * (1 - a));
}

// Whether the window's rendering of `area` (in `inner`'s coordinates) holds a
// pixel of exactly `color`: the core of a glyph drawn in it.
bool paints(QWidget& inner, const QRect& area, const QColor& color) {
    const QImage image =
        inner.window()->grab(QRect(inner.mapTo(inner.window(), area.topLeft()), area.size())).toImage();
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (qAbs(pixel.red() - color.red()) <= 2 && qAbs(pixel.green() - color.green()) <= 2 &&
                qAbs(pixel.blue() - color.blue()) <= 2)
                return true;
        }
    }
    return false;
}

int rowOf(RecordsWindow& w, const std::string& memo) {
    LedgerItemModel& items = *w.ledger().items();
    for (int row = 0; row < items.rowCount(); ++row) {
        if (items.index(row).data(LedgerItemModel::MemoRole).toString() == text(memo)) return row;
    }
    return -1;
}

const LedgerEntry* entryWithMemo(RecordsWindow& w, const std::string& memo) {
    for (const auto& entry : w.shownEntries()) {
        if (entry.memo == memo) return &entry;
    }
    return nullptr;
}

Snapshot current(AppModel& model) {
    return {model.accounts(), model.entries(), model.connections(),
            model.settings(), model.apiLog(),  model.hostVersion()};
}

}  // namespace

class RecordsTest : public QObject {
    Q_OBJECT

private slots:
    void windowTabsAndConnectionIndicator() {
        {
            // Never reached: offline, no version, no accounts, nothing selected.
            RecordsWindow offline;
            QVERIFY(offline.open(false));
            QCOMPARE(offline.find<QLabel>("connectionText")->text(), QString("Host offline"));
            QCOMPARE(offline.find<QLabel>("hostVersionText")->text(), QString());
            auto* dot = offline.find<StatusDot>("connectionDot");
            QCOMPARE(dot->color(), AppStyle::disconnectedColor(dot->palette()));
            auto& items = offline.sidebar().items();
            QCOMPARE(items.sectionIndex(0).data().toString(), QString("Accounts"));
            QCOMPARE(items.rowCount(items.sectionIndex(0)), 0);
            QCOMPARE(items.sectionIndex(1).data().toString(), QString("Live Connections (0)"));
            QVERIFY(!offline.find<AccountDetailView>("accountDetail")->showsAccount());
        }

        RecordsWindow w;
        QVERIFY(w.open());
        auto* root = w.find<RootView>("rootView");
        QCOMPARE(root->count(), 3);
        const QStringList labels{"Records", "Activity", "Settings"};
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(root->tabText(i), labels[i]);
            QVERIFY(!root->tabIcon(i).pixmap(16).isNull());
        }
        QCOMPARE(root->currentWidget(), root->records());

        auto* status = w.find<QLabel>("connectionText");
        auto* version = w.find<QLabel>("hostVersionText");
        auto* dot = w.find<StatusDot>("connectionDot");
        QCOMPARE(status->text(), QString("Host connected"));
        QCOMPARE(version->text(), "v" + text(w.model().hostVersion()));
        QVERIFY(!w.model().hostVersion().empty());
        QCOMPARE(dot->color(), AppStyle::connectedColor(dot->palette()));
        QVERIFY(w.find<ConnectionStatusView>("connectionStatus")->isVisible());
        // The indicator goes with the records pane; the strip and the tabs stay where they are.
        const auto tabsTop = [&] { return root->tabBar()->mapTo(&w.window(), QPoint()).y(); };
        const int recordsTabsTop = tabsTop();
        const QRect statusPlace = w.find<QWidget>("connectionStatusPlace")->geometry();
        for (int pane : {1, 2}) {
            root->setCurrentIndex(pane);
            QTRY_VERIFY(!w.find<ConnectionStatusView>("connectionStatus")->isVisible());
            QCOMPARE(tabsTop(), recordsTabsTop);
            QCOMPARE(w.find<QWidget>("connectionStatusPlace")->geometry(), statusPlace);
        }
        root->setCurrentIndex(0);
        QTRY_VERIFY(w.find<ConnectionStatusView>("connectionStatus")->isVisible());
        const QRect versionPlace = version->geometry();

        // The columns keep their minimum widths in the smallest window.
        w.window().resize(MainWindow::minimumContentSize);
        QTRY_VERIFY(root->records()->detailContainer()->width() >= DetailContainerView::minimumWidth);
        QVERIFY(root->records()->sidebar()->width() >= AccountsSidebar::minimumWidth);

        // Dropped: the words and dot switch, the version stays, and in its place.
        w.host().kill(SIGKILL);
        QTRY_COMPARE_WITH_TIMEOUT(status->text(), QString("Host offline"), kPatience);
        QCOMPARE(version->text(), "v" + text(w.model().hostVersion()));
        QCOMPARE(dot->color(), AppStyle::disconnectedColor(dot->palette()));
        QCOMPARE(version->geometry(), versionPlace);
    }

    void sidebarListsBothSectionsAndBindsTheSelection() {
        RecordsWindow w;
        QVERIFY(w.open());
        QVERIFY(w.connectAgent("alpha"));
        QVERIFY(w.connectAgent("beta", R"(,"title":"Beta Title")"));
        QVERIFY(w.connectAgent("gamma"));
        QVERIFY(w.connectWith(R"({"jsonrpc":"2.0","id":7,"method":"ping"})"));
        QVERIFY(w.waitForAccounts(3));
        AccountsSidebar& sidebar = w.sidebar();
        AccountsSidebarModel& items = sidebar.items();
        const QModelIndex connections = items.sectionIndex(AccountsSidebarModel::connectionsSection);
        QTRY_COMPARE_WITH_TIMEOUT(connections.data().toString(), QString("Live Connections (4)"), kPatience);
        QStringList names;
        for (int row = 0; row < items.rowCount(connections); ++row) {
            const QModelIndex index = items.index(row, 0, connections);
            names << index.data(AccountsSidebarModel::NameRole).toString();
            QCOMPARE(index.data(AccountsSidebarModel::SubtitleRole).toString(),
                     items.connectionAt(index)->authenticated ? QString("authenticated")
                                                              : QString("unauthenticated"));
        }
        QVERIFY(names.contains("Beta Title") && !names.contains("beta"));
        QVERIFY(names.contains(QString::fromUtf8("connecting\u2026")));
        QCOMPARE(
            items.indexOfAccount(w.account("alpha")->id).data(AccountsSidebarModel::SubtitleRole).toString(),
            QString("clientInfo"));

        // The first account arrives selected; clicks on accounts select, on connections nothing.
        const auto& accounts = w.model().accounts();
        QCOMPARE(*w.model().selectedAccountID(), accounts[0].id);
        QVERIFY(sidebar.selectionModel()->isSelected(items.indexOfAccount(accounts[0].id)));
        w.click(sidebar, items.indexOfAccount(accounts[1].id));
        QCOMPARE(*w.model().selectedAccountID(), accounts[1].id);
        w.click(sidebar, items.index(0, 0, connections));
        QCOMPARE(*w.model().selectedAccountID(), accounts[1].id);
        QVERIFY(sidebar.selectionModel()->isSelected(items.indexOfAccount(accounts[1].id)));
        w.model().setSelectedAccountID(accounts[2].id);
        QVERIFY(sidebar.selectionModel()->isSelected(items.indexOfAccount(accounts[2].id)));
        QCOMPARE(sidebar.selectionModel()->selectedIndexes().size(), 1);

        // Balances 0, -7 and 12, and a name with a percent sign; a refresh keeps the selection.
        const std::string beta = w.account("Beta Title")->id;
        w.model().setSelectedAccountID(beta);
        const auto settle = [&](const char* name, std::int64_t target) {
            const Account* account = w.account(name);
            w.model().createEntry({.accountId = account->id,
                                   .kind = TransactionKind::debit,
                                   .amount = account->balance - target,
                                   .memo = "settle"});
        };
        settle("alpha", 0);
        settle("Beta Title", -7);
        settle("gamma", 12);
        w.model().renameAccount(w.account("alpha")->id, "100% alpha %1");
        QTRY_VERIFY_WITH_TIMEOUT(w.account("100% alpha %1") && w.account("Beta Title")->balance == -7 &&
                                     w.account("gamma")->balance == 12,
                                 kPatience);
        QVERIFY(sidebar.selectionModel()->isSelected(items.indexOfAccount(beta)));
        QCOMPARE(*w.model().selectedAccountID(), beta);
        QCOMPARE(items.indexOfAccount(w.account("100% alpha %1")->id)
                     .data(AccountsSidebarModel::NameRole)
                     .toString(),
                 QString("100% alpha %1"));

        // Unselected, each balance is drawn in its colour at the row's trailing end.
        w.model().setSelectedAccountID(std::nullopt);
        QVERIFY(sidebar.selectionModel()->selectedIndexes().isEmpty());
        const QPalette palette = sidebar.palette();
        for (const auto& [name, colour] : {std::pair{"100% alpha %1", AppStyle::noteColor(palette)},
                                           std::pair{"Beta Title", AppStyle::debitColor(palette)},
                                           std::pair{"gamma", AppStyle::creditColor(palette)}}) {
            const QModelIndex row = items.indexOfAccount(w.account(name)->id);
            QCOMPARE(row.data(AccountsSidebarModel::BalanceRole).toLongLong(), w.account(name)->balance);
            QRect rect = sidebar.visualRect(row);
            rect.setLeft(rect.right() - 60);
            QVERIFY2(paints(*sidebar.viewport(), rect, over(colour, palette.color(QPalette::Base))), name);
        }
    }

    // The filter narrows the account rows by name or identifier, in any case,
    // leaves the connections alone, keeps the model's selection while its row
    // is hidden, and gives every account back on Escape.
    void accountFilterNarrowsTheSidebarByNameOrId() {
        RecordsWindow w;
        QVERIFY(w.open());
        QVERIFY(w.connectAgent("alpha"));
        QVERIFY(w.connectAgent("beta"));
        QVERIFY(w.waitForAccounts(2));
        AccountsSidebar& sidebar = w.sidebar();
        AccountsSidebarModel& items = sidebar.items();
        const QModelIndex accounts = items.sectionIndex(AccountsSidebarModel::accountsSection);
        const QModelIndex connections = items.sectionIndex(AccountsSidebarModel::connectionsSection);
        QTRY_COMPARE_WITH_TIMEOUT(items.rowCount(connections), 2, kPatience);
        auto* filter = w.find<QLineEdit>("accountFilter");
        QVERIFY(filter);
        QCOMPARE(filter->accessibleName(), QString("Filter accounts"));
        const std::string beta = w.account("beta")->id;
        w.model().setSelectedAccountID(beta);

        QTest::keyClicks(filter, "ALP");
        QCOMPARE(items.rowCount(accounts), 1);
        QCOMPARE(items.index(0, 0, accounts).data(AccountsSidebarModel::NameRole).toString(),
                 QString("alpha"));
        QCOMPARE(items.rowCount(connections), 2);
        QVERIFY(sidebar.selectionModel()->selectedIndexes().isEmpty());
        QCOMPARE(*w.model().selectedAccountID(), beta);

        filter->setText(QString::fromStdString(beta).toLower());
        QCOMPARE(items.rowCount(accounts), 1);
        QCOMPARE(items.index(0, 0, accounts).data(AccountsSidebarModel::NameRole).toString(),
                 QString("beta"));
        QVERIFY(sidebar.selectionModel()->isSelected(items.indexOfAccount(beta)));

        // An account that arrives while filtered out waits for the filter to go.
        QVERIFY(w.connectAgent("gamma"));
        QVERIFY(w.waitForAccounts(3));
        QCOMPARE(items.rowCount(accounts), 1);
        QVERIFY(QTest::qWaitForWindowActive(&w.window()));
        filter->setFocus();
        QTest::keyClick(filter, Qt::Key_Escape);
        QVERIFY(filter->text().isEmpty());
        QCOMPARE(items.rowCount(accounts), 3);
        QVERIFY(sidebar.selectionModel()->isSelected(items.indexOfAccount(beta)));
    }

    // Ctrl+F finds the memo search; memos match whatever their case and
    // accents, the type toggles take kinds out, the header counts what shows,
    // and the filter outlives refreshes and account switches until Escape.
    void ledgerSearchNarrowsByMemoAndTypeAndStays() {
        RecordsWindow w;
        QVERIFY(w.open());
        QVERIFY(w.connectAgent("alpha"));
        QVERIFY(w.connectAgent("beta"));
        QVERIFY(w.waitForAccounts(2));
        const std::string alpha = w.account("alpha")->id, beta = w.account("beta")->id;
        w.model().setSelectedAccountID(alpha);
        QVERIFY(w.waitForEntries(1));
        const auto add = [&](TransactionKind kind, const char* memo) {
            w.model().createEntry(
                {.accountId = alpha, .kind = kind, .flag = LedgerFlag::none, .amount = 3, .memo = memo});
        };
        add(TransactionKind::credit, "Grüße aus Köln");
        add(TransactionKind::debit, "KOLN trip");
        add(TransactionKind::note, "lunch");
        QVERIFY(w.waitForEntries(4));
        auto* header = w.find<QLabel>("transactionsHeader");
        auto* shown = w.find<QLabel>("shownCount");
        // The header always counts the whole ledger; a search's count stands beside it.
        const auto counts = [&] { return header->text() + (shown->isHidden() ? "" : ", " + shown->text()); };
        LedgerListView& ledger = w.ledger();

        QVERIFY(QTest::qWaitForWindowActive(&w.window()));
        QTest::keyClick(&w.window(), Qt::Key_F, Qt::ControlModifier);
        QVERIFY(ledger.search()->hasFocus());
        QTest::keyClicks(ledger.search(), "koln");
        QCOMPARE(ledger.items()->rowCount(), 2);
        QCOMPARE(counts(), QString("Transactions (4), 2 shown"));
        ledger.typeToggle(2)->click();  // Debit
        QCOMPARE(ledger.items()->rowCount(), 1);
        QCOMPARE(ledger.items()->index(0).data(LedgerItemModel::MemoRole).toString(),
                 QString("Grüße aus Köln"));

        add(TransactionKind::credit, "köln again");
        QVERIFY(w.waitForEntries(2));
        QCOMPARE(counts(), QString("Transactions (5), 2 shown"));
        // Exported as CSV: what shows, or the whole ledger; a folder that is not there is named.
        const QString folder =
            QDir::tempPath() + QStringLiteral("/ledger-export-") + QString::number(getpid());
        QVERIFY(QDir().mkpath(folder));
        const auto linesOf = [](const QString& path) {
            QFile file(path);
            return file.open(QIODevice::ReadOnly) ? file.readAll().count("\r\n") : -1;
        };
        QVERIFY(ledger.exportTo(folder + "/shown.csv", true));
        QCOMPARE(linesOf(folder + "/shown.csv"), 1 + 2);
        QVERIFY(ledger.exportTo(folder + "/all.csv", false));
        QCOMPARE(linesOf(folder + "/all.csv"), 1 + 5);
        QVERIFY(!ledger.exportTo(folder + "/missing/x.csv", false));
        QDir(folder).removeRecursively();

        w.model().setSelectedAccountID(beta);
        QVERIFY(w.waitForEntries(0));
        QCOMPARE(counts(), QString("Transactions (1), 0 shown"));
        QCOMPARE(ledger.search()->text(), QString("koln"));

        ledger.search()->setFocus();
        QTest::keyClick(ledger.search(), Qt::Key_Escape);
        QVERIFY(ledger.search()->text().isEmpty());
        QVERIFY(w.waitForEntries(1));
        QCOMPARE(counts(), QString("Transactions (1), 1 shown"));  // the debits stay out
        ledger.typeToggle(2)->click();
        QCOMPARE(counts(), QString("Transactions (1)"));
    }

    // A ledger exported from the window and imported into a new account
    // gives the same entries and balance; a malformed file adds nothing and
    // says where it is wrong.
    void csvImportRebuildsAnExportedLedger() {
        RecordsWindow w;
        QVERIFY(w.open());
        QVERIFY(w.connectAgent("source"));
        QVERIFY(w.waitForAccounts(1));
        const std::string source = w.account("source")->id;
        w.model().setSelectedAccountID(source);
        w.model().createEntry({.accountId = source,
                               .kind = TransactionKind::credit,
                               .flag = LedgerFlag::bonus,
                               .amount = 250,
                               .memo = "Comma, \"quote\"\nand a line"});
        w.model().createEntry({.accountId = source,
                               .kind = TransactionKind::debit,
                               .flag = LedgerFlag::none,
                               .amount = 40,
                               .memo = "Grüße"});
        QVERIFY(w.waitForEntries(3));
        QTemporaryDir folder;
        QVERIFY(w.ledger().exportTo(folder.filePath("ledger.csv"), false));

        w.model().setStartingPoints(0);
        QVERIFY(w.settle());
        QVERIFY(w.connectAgent("target"));
        QVERIFY(w.waitForAccounts(2));
        const std::string target = w.account("target")->id;
        w.model().setSelectedAccountID(target);
        QVERIFY(w.waitForEntries(0));
        const auto imported = w.ledger().importFrom(folder.filePath("ledger.csv"));
        QVERIFY(imported);
        QCOMPARE(*imported, std::size_t{3});
        QVERIFY(w.waitForEntries(3));
        const auto ledgerOf = [&](const std::string& account) {
            std::vector<std::tuple<TransactionKind, LedgerFlag, std::int64_t, std::string>> rows;
            for (const LedgerEntry& e : w.model().entriesFor(account))
                rows.emplace_back(e.kind, e.flag, e.amount, e.memo);
            return rows;
        };
        QVERIFY(ledgerOf(target) == ledgerOf(source));
        QCOMPARE(w.account("target")->balance, w.account("source")->balance);

        QFile bad(folder.filePath("bad.csv"));
        QVERIFY(bad.open(QIODevice::WriteOnly));
        bad.write("kind,flag,amount,memo\r\ncredit,none,5,fine\r\ndebit,none,lots,bad\r\n");
        bad.close();
        const auto refused = w.ledger().importFrom(bad.fileName());
        QVERIFY(!refused);
        QVERIFY2(refused.error().contains("row 3, column amount"), qPrintable(refused.error()));
        QVERIFY(w.settle());
        QCOMPARE(w.model().entriesFor(target).size(), std::size_t{3});
    }

    // Collapsed at first; opened, the chart holds the balance after each
    // entry in time order (one second's entries in the order made), whatever
    // the search shows, and ends at the header's balance, out to 64 bits.
    void balanceChartFollowsTheLedgerToTheHeadersBalance() {
        using namespace std::chrono;
        constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
        RecordsWindow w;
        // Ledgers of past days, made in the store that the host then opens.
        const Date day = sys_days{year{2025} / 6 / 2};
        std::string alpha, beta, empty;
        std::int64_t opening = 0;
        {
            auto store = LedgerStore::open(w.host().databasePath());
            QVERIFY(store);
            const auto add = [&](const std::string& id, TransactionKind kind, LedgerFlag flag,
                                 std::int64_t amount, int hour) {
                auto made = (*store)->createEntry(
                    {.accountId = id, .kind = kind, .flag = flag, .amount = amount, .memo = "m"},
                    day + hours(hour));
                return made ? made->id : std::string();
            };
            const auto alphaAccount = (*store)->createCredentialAccount("alpha", "unused", day);
            QVERIFY(alphaAccount);
            alpha = alphaAccount->id;
            opening = alphaAccount->balance;
            QVERIFY(!add(alpha, TransactionKind::credit, LedgerFlag::none, 250, 1).empty());
            QVERIFY(!add(alpha, TransactionKind::debit, LedgerFlag::none, 120, 2).empty());
            QVERIFY(!add(alpha, TransactionKind::note, LedgerFlag::none, 0, 3).empty());
            QVERIFY(!add(alpha, TransactionKind::credit, LedgerFlag::bonus, 500, 3).empty());
            QVERIFY(!add(alpha, TransactionKind::debit, LedgerFlag::penalty, 300, 4).empty());
            // Deleting the first debit carries the sum past 64 bits; the host holds it at the top.
            beta = (*store)->createCredentialAccount("beta", "unused", day)->id;
            const std::string first = add(beta, TransactionKind::debit, LedgerFlag::none, opening, 1);
            QVERIFY(!add(beta, TransactionKind::debit, LedgerFlag::none, most, 2).empty());
            QVERIFY(!add(beta, TransactionKind::credit, LedgerFlag::none, most, 3).empty());
            QVERIFY(!add(beta, TransactionKind::credit, LedgerFlag::none, most, 4).empty());
            QVERIFY((*store)->deleteEntry(first));
            QVERIFY((*store)->setStartingPoints(0));
            empty = (*store)->createCredentialAccount("empty", "unused", day)->id;
        }
        QVERIFY(w.open());
        QVERIFY(w.waitForAccounts(3));
        w.model().setSelectedAccountID(alpha);
        QVERIFY(w.waitForEntries(6));
        LedgerListView& ledger = w.ledger();
        BalanceChart& chart = *ledger.chart();
        QVERIFY(!chart.isVisible() && !ledger.chartToggle()->isChecked());
        QCOMPARE(ledger.chartToggle()->accessibleName(), QString("Balance chart"));
        QTest::mouseClick(ledger.chartToggle(), Qt::LeftButton);
        QVERIFY(chart.isVisible());

        auto* header = w.find<AccountBalanceView>("accountBalance");
        const auto endsAtTheHeader = [&] {
            return chart.history().points().back().balance == header->balanceText().toLongLong();
        };
        const auto at = [&](int hour, std::int64_t balance) {
            return BalanceHistory::Point{day + hours(hour), balance};
        };
        const std::vector<BalanceHistory::Point> expected{at(0, opening),       at(1, opening + 250),
                                                          at(2, opening + 130), at(3, opening + 130),
                                                          at(3, opening + 630), at(4, opening + 330)};
        QVERIFY(chart.history().points() == expected);
        QVERIFY(endsAtTheHeader());
        RecordsWindow::typeInto(ledger.search(), "nothing like it");
        QCOMPARE(ledger.items()->rowCount(), 0);
        QVERIFY(chart.history().points() == expected);
        ledger.search()->clear();

        // A new entry reaches the open chart at once, with the header.
        w.model().createEntry({.accountId = alpha,
                               .kind = TransactionKind::debit,
                               .flag = LedgerFlag::none,
                               .amount = 30,
                               .memo = "late"});
        QVERIFY(w.waitForEntries(7));
        QVERIFY(chart.accessibleDescription().contains(QString::number(opening + 300)));
        QCOMPARE(chart.history().points().size(), std::size_t{7});
        QVERIFY(endsAtTheHeader());

        // Balances across the whole 64-bit range: the line reaches the bottom
        // in the debit colour, and the balance now sits at the top in the credit colour.
        w.model().setSelectedAccountID(beta);
        QVERIFY(w.waitForEntries(4));
        QCOMPARE(header->balanceText(), QString::number(most));
        QVERIFY(endsAtTheHeader());
        QCOMPARE(chart.history().lowest(), opening - most);
        QApplication::processEvents();
        const QRectF plot = chart.plotArea();
        const auto inkIn = [&](const QRectF& area) {
            const QRect inWindow(chart.mapTo(&w.window(), area.topLeft().toPoint()), area.size().toSize());
            return strongestInk(w.window(), inWindow, chart.palette().color(QPalette::Base));
        };
        const QColor top = inkIn(QRectF(plot.right() - 4, plot.top() - 4, 9, 9));
        QVERIFY(hueDistance(top, AppStyle::creditColor(chart.palette())) < 15);
        const QColor bottom =
            inkIn(QRectF(plot.left() + plot.width() / 2 + 4, plot.bottom() - 3, plot.width() / 4 - 8, 6));
        QVERIFY(hueDistance(bottom, AppStyle::debitColor(chart.palette())) < 15);

        // No entries: said, not drawn.
        w.model().setSelectedAccountID(empty);
        QVERIFY(w.waitForEntries(0));
        QVERIFY(chart.history().empty());
        QCOMPARE(chart.accessibleDescription(), QString("No entries yet"));
        ledger.chartToggle()->click();
        QVERIFY(!chart.isVisible());
    }

    // In the smallest window nothing is cut: the detail column scrolls, and
    // what is elided shows whole as its tooltip.
    void smallWindowScrollsTheDetailAndElidesWithTooltips() {
        RecordsWindow w;
        QVERIFY(w.open());
        std::string fields = R"(,"anUnusuallyLongClientInformationKey":"x")";
        for (int i = 0; i < 12; ++i)
            fields += ",\"field" + std::to_string(i) + "\":\"" + std::string(180, 'v') + " end\"";
        const std::string longName = "an agent whose name is far too long for the sidebar to show whole";
        QVERIFY(w.connectAgent(longName, fields));
        QVERIFY(w.waitForAccounts(1));
        w.window().resize(MainWindow::minimumContentSize);

        auto* detail = w.find<AccountDetailView>("accountDetail");
        QScrollArea* scroller = detail->scroller();
        QTRY_VERIFY(scroller->verticalScrollBar()->maximum() > 0);
        QWidget* loaded = scroller->widget();
        QVERIFY(loaded->height() >= loaded->minimumSizeHint().height());
        for (QLabel* value : loaded->findChildren<QLabel*>("clientInfoValue"))
            QVERIFY(value->height() >= value->heightForWidth(value->width()));
        QVERIFY(w.ledger().list()->height() >= 3 * w.ledger().list()->verticalHeader()->defaultSectionSize());
        // With room enough, nothing scrolls.
        w.window().resize(1600, 1400);
        QTRY_COMPARE(scroller->verticalScrollBar()->maximum(), 0);
        w.window().resize(MainWindow::minimumContentSize);

        QLabel* longKey = loaded->findChildren<QLabel*>("clientInfoKey")[0];
        QVERIFY(longKey->text().endsWith(QString::fromUtf8("\u2026\u2069")));
        QCOMPARE(longKey->toolTip(), DataText::literalRichText(u"anUnusuallyLongClientInformationKey"));
        QVERIFY(QFontMetrics(longKey->font()).horizontalAdvance(longKey->text()) <= longKey->width());

        AccountsSidebar& sidebar = w.sidebar();
        const QRect row = sidebar.visualRect(sidebar.items().indexOfAccount(w.model().accounts()[0].id));
        QHelpEvent help(QEvent::ToolTip, row.center(), sidebar.viewport()->mapToGlobal(row.center()));
        QApplication::sendEvent(sidebar.viewport(), &help);
        QTRY_VERIFY(QToolTip::isVisible());
        QCOMPARE(QToolTip::text(), DataText::literalRichText(text(longName)));
        QToolTip::hideText();
    }

    void detailShowsTheAccountAndItsClientInfo() {
        RecordsWindow w;
        QVERIFY(w.openWithAgent("alpha", R"(,"vendor":"Acme Labs")"));
        const Account account = w.model().accounts()[0];
        QCOMPARE(w.find<QLabel>("accountName")->text(), DataText::isolated("alpha"));
        QCOMPARE(w.find<QLabel>("accountId")->text(), text(account.id));
        auto* balance = w.find<AccountBalanceView>("accountBalance");
        QCOMPARE(balance->balanceText(), QString::number(account.balance));
        QCOMPARE(balance->accessibleName(), QString::number(account.balance) + " points");

        // One row per reported field, in order; the hint takes no room.
        auto keys = w.window().findChildren<QLabel*>("clientInfoKey");
        QCOMPARE(keys.size(), static_cast<qsizetype>(account.clientInfoFields->size()));
        QCOMPARE(keys[0]->text(), DataText::isolated((*account.clientInfoFields)[0].key));
        QVERIFY(!w.find<QLabel>("clientInfoHint")->isVisible());

        // Without fields only the hint shows; the balance colour follows its sign.
        for (const std::int64_t value : {std::int64_t{0}, std::int64_t{-40}, std::int64_t{1500}}) {
            Snapshot state = current(w.model());
            state.accounts[0].clientInfoFields.reset();
            state.accounts[0].balance = value;
            w.model().applySnapshot(state);
            QCOMPARE(balance->balanceText(), QString::number(value));
            QCOMPARE(balance->balanceColor(), AppStyle::amountColor(value, balance->palette()));
        }
        QVERIFY(w.find<QLabel>("clientInfoHint")->isVisible());
        QCOMPARE(w.find<QLabel>("clientInfoHint")->text(), QString("Not provided by this client."));
        QVERIFY(w.window().findChildren<QLabel*>("clientInfoKey").isEmpty());
        QCOMPARE(balance->balanceColor(), AppStyle::creditColor(balance->palette()));

        w.model().setSelectedAccountID(std::nullopt);
        QVERIFY(w.find<QWidget>("noSelectionView")->isVisible());
        QCOMPARE(w.find<QLabel>("noSelectionTitle")->text(), QString("Select an account"));
        QCOMPARE(w.find<QLabel>("noSelectionHint")->text(), QString("Agents appear here as they connect."));
        QVERIFY(w.find<DetailContainerView>("detailContainer")->width() >= DetailContainerView::minimumWidth);
    }

    void addFormEnablesOnlyWhatCanBeSent() {
        RecordsWindow w;
        QVERIFY(w.openWithAgent("alpha"));
        EntryFields& fields = w.addFields();
        QPushButton* add = w.find<QPushButton>("addButton");
        // The rule itself is StyleTest's: here, that the form follows it.
        RecordsWindow::typeInto(fields.amountField(), "25");
        QVERIFY(add->isEnabled());
        for (const char* amount : {"0", "2.5", "abc"}) {
            RecordsWindow::typeInto(fields.amountField(), amount);
            QVERIFY2(!add->isEnabled(), amount);
        }
        // Return does nothing while Add is disabled.
        QTest::keyClick(fields.memoField(), Qt::Key_Return);
        QVERIFY(w.settle());
        QCOMPARE(w.shownEntries().size(), std::size_t{1});

        // A note needs any memo, even a blank, and ignores the amount.
        RecordsWindow::pickType(fields, EntryType::note);
        QVERIFY(!fields.amountField()->isEnabled());
        QCOMPARE(fields.amountText(), QString("abc"));
        QVERIFY(!add->isEnabled());
        RecordsWindow::typeInto(fields.memoField(), " ");
        QVERIFY(add->isEnabled());
    }

    void addFormSendsEachTypeAndClearsAtOnce() {
        RecordsWindow w;
        QVERIFY(w.openWithAgent("alpha"));
        EntryFields& fields = w.addFields();
        for (const EntryType type : allEntryTypes) {
            RecordsWindow::pickType(fields, type);
            RecordsWindow::typeInto(fields.amountField(), "25");
            RecordsWindow::typeInto(fields.memoField(),
                                    "m-" + QString::fromLatin1(entryTypeText(type).data()));
            if (type == EntryType::bonus) {
                w.find<QPushButton>("addButton")->click();
            } else {
                QTest::keyClick(fields.memoField(), Qt::Key_Return);
            }
            // Cleared before the host has answered; the type stays.
            QCOMPARE(fields.amountText(), QString());
            QCOMPARE(fields.memo(), QString());
            QCOMPARE(fields.type(), type);
            QCOMPARE(fields.typePicker()->currentText(), QString::fromLatin1(entryTypeLabel(type).data()));
        }
        QVERIFY(w.waitForEntries(6));
        for (const EntryType type : allEntryTypes) {
            const LedgerEntry* entry = entryWithMemo(w, "m-" + std::string(entryTypeText(type)));
            QVERIFY(entry);
            QCOMPARE(entry->kind, kindOf(type));
            QCOMPARE(entry->flag, flagOf(type));
            QCOMPARE(entry->amount, type == EntryType::note ? std::int64_t{0} : std::int64_t{25});
        }
        QCOMPARE(w.find<QLabel>("transactionsHeader")->text(), QString("Transactions (6)"));
    }

    void editSheetSavesByItsRules() {
        RecordsWindow w;
        QVERIFY(w.openWithAgent("alpha"));
        const std::string id = w.model().accounts()[0].id;
        AppModel& model = w.model();
        model.createEntry({.accountId = id, .kind = TransactionKind::credit, .amount = 40, .memo = "c40"});
        model.createEntry({.accountId = id,
                           .kind = TransactionKind::debit,
                           .flag = LedgerFlag::bonus,
                           .amount = 30,
                           .memo = "debit-bonus"});
        model.createEntry({.accountId = id,
                           .kind = TransactionKind::credit,
                           .flag = LedgerFlag::penalty,
                           .amount = 20,
                           .memo = "credit-penalty"});
        model.createEntry(
            {.accountId = id, .kind = TransactionKind::note, .flag = LedgerFlag::bonus, .memo = "nb"});
        QVERIFY(w.waitForEntries(5));

        // Opens with the entry's values; each save sends the whole entry with the sheet's three.
        const auto edit = [&](const std::string& memo) -> EditEntrySheet* {
            w.clickRowButton(rowOf(w, memo), true);
            return w.ledger().editingSheet();
        };
        const auto saved = [&](const std::string& memo, auto check) {
            return QTest::qWaitFor(
                [&] {
                    const LedgerEntry* entry = entryWithMemo(w, memo);
                    return entry && check(*entry);
                },
                kPatience);
        };
        EditEntrySheet* sheet = edit("c40");
        QVERIFY(sheet);
        QCOMPARE(sheet->fields()->type(), EntryType::credit);
        QCOMPARE(sheet->fields()->amountText(), QString("40"));
        QCOMPARE(sheet->fields()->memo(), QString("c40"));
        const LedgerEntry before = *entryWithMemo(w, "c40");
        RecordsWindow::pickType(*sheet->fields(), EntryType::penalty);
        QTest::keyClick(sheet->fields()->memoField(), Qt::Key_Return);
        QTRY_VERIFY(!w.ledger().editingSheet());
        QVERIFY(saved("c40", [&](const LedgerEntry& e) {
            return e.kind == TransactionKind::debit && e.flag == LedgerFlag::penalty && e.amount == 40 &&
                   e.id == before.id && e.createdAt == before.createdAt;
        }));

        // Flags that do not fit the kind are shown, and saved, as the plain type.
        sheet = edit("debit-bonus");
        QCOMPARE(sheet->fields()->type(), EntryType::debit);
        sheet->buttons()->saveButton()->click();
        QVERIFY(saved("debit-bonus",
                      [](const LedgerEntry& e) { return e.flag == LedgerFlag::none && e.amount == 30; }));
        sheet = edit("credit-penalty");
        QCOMPARE(sheet->fields()->type(), EntryType::credit);
        RecordsWindow::typeInto(sheet->fields()->amountField(), "abc");
        sheet->buttons()->saveButton()->click();
        QVERIFY(saved("credit-penalty", [](const LedgerEntry& e) {
            return e.kind == TransactionKind::credit && e.flag == LedgerFlag::none && e.amount == 0;
        }));
        sheet = edit("nb");
        QCOMPARE(sheet->fields()->type(), EntryType::note);
        QVERIFY(!sheet->fields()->amountField()->isEnabled());
        QTest::keyClick(sheet, Qt::Key_Return);
        QVERIFY(saved("nb", [](const LedgerEntry& e) { return e.flag == LedgerFlag::none; }));

        // Escape closes and sends nothing.
        sheet = edit("c40");
        RecordsWindow::typeInto(sheet->fields()->memoField(), "changed");
        QTest::keyClick(sheet->fields()->memoField(), Qt::Key_Escape);
        QTRY_VERIFY(!w.ledger().editingSheet());
        QVERIFY(w.settle());
        QVERIFY(entryWithMemo(w, "c40") && !entryWithMemo(w, "changed"));
    }

    void rowsShowSignsColoursAndDeleteWithoutAsking() {
        RecordsWindow w;
        QVERIFY(w.openWithAgent("alpha"));
        const std::string id = w.model().accounts()[0].id;
        w.model().createEntry({.accountId = id, .kind = TransactionKind::note, .memo = "a note"});
        w.model().createEntry(
            {.accountId = id, .kind = TransactionKind::debit, .amount = 40, .memo = "a debit"});
        w.model().createEntry(
            {.accountId = id, .kind = TransactionKind::credit, .amount = 40, .memo = "a credit"});
        w.model().createEntry({.accountId = id, .kind = TransactionKind::credit, .amount = 5});
        QVERIFY(w.waitForEntries(5));
        QCOMPARE(w.find<QLabel>("transactionsHeader")->text(), QString("Transactions (5)"));

        QTableView& list = *w.ledger().list();
        const QPalette palette = list.palette();
        const auto amountArea = [&](int row) {
            const QRect rect = list.visualRect(list.model()->index(row, 0));
            return QRect(rect.center().x(), rect.top(),
                         LedgerRowDelegate::editButtonRect(rect).left() - rect.center().x(), rect.height());
        };
        for (const auto& [memo, sign, colour] :
             {std::tuple{"a note", "0", AppStyle::noteColor(palette)},
              std::tuple{"a debit", "-40", AppStyle::debitColor(palette)},
              std::tuple{"a credit", "+40", AppStyle::creditColor(palette)}}) {
            const int row = rowOf(w, memo);
            QCOMPARE(AppStyle::signedAmountText(
                         list.model()->index(row, 0).data(LedgerItemModel::SignedAmountRole).toLongLong()),
                     QString(sign));
            QVERIFY2(paints(*list.viewport(), amountArea(row), over(colour, palette.color(QPalette::Base))),
                     memo);
        }
        QCOMPARE(list.model()->index(rowOf(w, ""), 0).data().toString(), QString::fromUtf8("\u2014"));

        // The trash button deletes at once: no question, and the row goes with the next snapshot.
        w.clickRowButton(rowOf(w, "a debit"), false);
        QVERIFY(!QApplication::activeModalWidget());
        QVERIFY(w.waitForEntries(4));
        QVERIFY(!entryWithMemo(w, "a debit"));
        QCOMPARE(w.find<QLabel>("transactionsHeader")->text(), QString("Transactions (4)"));
    }

    // Everything the row buttons do, without a mouse: keys, the row menu and
    // the actions a screen reader offers; and Return on a focused Cancel.
    void rowsAnswerKeysMenuAndAssistiveTools() {
        RecordsWindow w;
        QVERIFY(w.openWithAgent("alpha"));
        const std::string id = w.model().accounts()[0].id;
        for (const char* memo : {"first", "second", "third", "fourth"})
            w.model().createEntry(
                {.accountId = id, .kind = TransactionKind::credit, .amount = 5, .memo = memo});
        QVERIFY(w.waitForEntries(5));  // with the starting points
        QVERIFY(QTest::qWaitForWindowActive(&w.window()));
        LedgerTableView& list = *w.ledger().list();
        const auto memoAt = [&](int row) {
            return list.model()->index(row, 0).data(LedgerItemModel::MemoRole);
        };
        // Whether every command sent so far has been answered: a later one has come back.
        const auto settled = [&](const std::string& marker) {
            w.model().renameAccount(id, marker);
            return QTest::qWaitFor([&] { return w.account(marker) != nullptr; }, kPatience);
        };

        // Arriving by Tab, a row is current and painted as such.
        list.setFocus(Qt::TabFocusReason);
        QTRY_VERIFY(list.hasFocus());
        QCOMPARE(list.currentIndex().row(), 0);
        QVERIFY(paints(*list.viewport(), list.visualRect(list.currentIndex()),
                       list.palette().color(QPalette::Highlight)));
        QTest::keyClick(&list, Qt::Key_Down);
        QCOMPARE(list.currentIndex().row(), 1);

        // Return edits the current row; Return on the focused Cancel cancels.
        const QString second = memoAt(1).toString();
        QTest::keyClick(&list, Qt::Key_Return);
        EditEntrySheet* sheet = w.ledger().editingSheet();
        QVERIFY(sheet);
        QCOMPARE(sheet->fields()->memo(), second);
        QVERIFY(QTest::qWaitForWindowActive(sheet));
        RecordsWindow::typeInto(sheet->fields()->memoField(), "changed");
        QTest::keyClick(sheet->fields()->memoField(), Qt::Key_Tab);
        QTRY_VERIFY(sheet->buttons()->cancelButton()->hasFocus());
        QTest::keyClick(sheet->buttons()->cancelButton(), Qt::Key_Return);
        QTRY_VERIFY(!w.ledger().editingSheet());
        QVERIFY(settled("after cancel"));
        QVERIFY(entryWithMemo(w, second.toStdString()) && !entryWithMemo(w, "changed"));

        // F2 edits too, and Return on a focused Save saves.
        // The window manager gives the window back its activation; the list its focus.
        w.window().activateWindow();
        QTRY_VERIFY(list.hasFocus());
        QTest::keyClick(&list, Qt::Key_F2);
        sheet = w.ledger().editingSheet();
        QVERIFY(sheet);
        QVERIFY(QTest::qWaitForWindowActive(sheet));
        RecordsWindow::typeInto(sheet->fields()->amountField(), "9");
        sheet->buttons()->saveButton()->setFocus(Qt::TabFocusReason);
        QTRY_VERIFY(sheet->buttons()->saveButton()->hasFocus());
        QTest::keyClick(sheet->buttons()->saveButton(), Qt::Key_Return);
        QTRY_VERIFY_WITH_TIMEOUT(entryWithMemo(w, second.toStdString())->amount == 9, kPatience);

        // Delete deletes the current row at once, and a neighbour becomes current.
        w.window().activateWindow();
        QTRY_VERIFY(list.hasFocus());
        list.setCurrentIndex(list.model()->index(rowOf(w, "first"), 0));
        QTest::keyClick(&list, Qt::Key_Delete);
        QVERIFY(w.waitForEntries(4));
        QVERIFY(!entryWithMemo(w, "first"));
        QVERIFY(list.currentIndex().isValid());

        // Shift+F10 opens the row's menu; its copies reach the clipboard.
        list.setCurrentIndex(list.model()->index(rowOf(w, "third"), 0));
        QTest::keyClick(&list, Qt::Key_F10, Qt::ShiftModifier);
        QMenu* menu = w.ledger().rowMenu();
        QVERIFY(menu && menu->isVisible());
        QStringList labels;
        for (QAction* action : menu->actions()) {
            if (!action->isSeparator()) labels << action->text();
        }
        QCOMPARE(labels, (QStringList{"Edit", "Delete", "Copy Memo", "Copy Entry ID"}));
        const auto trigger = [&](QMenu* open, const QString& label) {
            for (QAction* action : open->actions()) {
                if (action->text() == label) action->trigger();
            }
            open->close();
        };
        trigger(menu, "Copy Entry ID");
        QCOMPARE(QApplication::clipboard()->text(), text(entryWithMemo(w, "third")->id));
        // A right click opens the menu of the row under the pointer.
        const QRect fourth = list.visualRect(list.model()->index(rowOf(w, "fourth"), 0));
        QContextMenuEvent rightClick(QContextMenuEvent::Mouse, fourth.center(),
                                     list.viewport()->mapToGlobal(fourth.center()));
        QApplication::sendEvent(list.viewport(), &rightClick);
        QTRY_VERIFY(w.ledger().rowMenu());
        trigger(w.ledger().rowMenu(), "Copy Memo");
        QCOMPARE(QApplication::clipboard()->text(), QString("fourth"));
        QTRY_VERIFY(!w.ledger().rowMenu());
        QTest::keyClick(&list, Qt::Key_Menu);
        QTRY_VERIFY(w.ledger().rowMenu());
        trigger(w.ledger().rowMenu(), "Delete");
        QVERIFY(w.waitForEntries(3));
        QVERIFY(!entryWithMemo(w, "fourth"));

        // A screen reader sees a list of rows, each with its text and two actions.
        QAccessibleInterface* table = QAccessible::queryAccessibleInterface(&list);
        QVERIFY(table);
        QCOMPARE(table->role(), QAccessible::List);
        QCOMPARE(table->childCount(), 3);
        const int thirdRow = rowOf(w, "third");
        QAccessibleInterface* row = table->child(thirdRow);
        QVERIFY(row && row->role() == QAccessible::ListItem);
        QCOMPARE(table->indexOfChild(row), thirdRow);
        QVERIFY(row->text(QAccessible::Name).contains("third"));
        QVERIFY(row->text(QAccessible::Name).startsWith("Credit"));
        QAccessibleActionInterface* actions = row->actionInterface();
        QVERIFY(actions);
        QCOMPARE(actions->actionNames(), (QStringList{"Edit", "Delete"}));
        QCOMPARE(actions->localizedActionName("Delete"), QString("Delete"));
        actions->doAction("Edit");
        QVERIFY(w.ledger().editingSheet());
        QCOMPARE(w.ledger().editingSheet()->fields()->memo(), QString("third"));
        QTest::keyClick(w.ledger().editingSheet(), Qt::Key_Escape);
        QTRY_VERIFY(!w.ledger().editingSheet());
        actions->doAction("Delete");
        QVERIFY(w.waitForEntries(2));
        QVERIFY(!entryWithMemo(w, "third"));
        QCOMPARE(table->childCount(), 2);

        // The fields are named by what they ask for, not by what they hold.
        QComboBox* picker = w.addFields().typePicker();
        QAccessibleInterface* pickerNode = QAccessible::queryAccessibleInterface(picker);
        QCOMPARE(pickerNode->role(), QAccessible::ComboBox);
        QCOMPARE(pickerNode->text(QAccessible::Name), QString("Type"));
        QCOMPARE(pickerNode->text(QAccessible::Value), QString("Credit"));
        QCOMPARE(pickerNode->child(0)->object(), picker->view());
        RecordsWindow::pickType(w.addFields(), EntryType::penalty);
        QCOMPARE(pickerNode->text(QAccessible::Value), QString("Penalty"));

        // The rename sheet's buttons are the edit sheet's (EditorButtonsView): only its field is new.
        w.find<QPushButton>("renameButton")->click();
        RenameSheet* rename = w.find<AccountHeaderView>("accountHeader")->renameSheet();
        QVERIFY(rename);
        QCOMPARE(QAccessible::queryAccessibleInterface(rename->nameField())->text(QAccessible::Name),
                 QString("Display name"));
    }

    // No field cuts what it holds, and a row shows a long memo whole in its tooltip.
    void longTextsAreKeptWhole() {
        RecordsWindow w;
        QVERIFY(w.openWithAgent("alpha"));
        const std::string id = w.model().accounts()[0].id;
        QString memo;
        while (memo.size() < 100000) memo += QString::fromUtf8("long memo \u00e9 %1 ").arg(memo.size());
        memo.truncate(100000);
        memo.back() = QChar('Z');

        EntryFields& add = w.addFields();
        RecordsWindow::typeInto(add.amountField(), "5");
        add.memoField()->setText(memo);
        QCOMPARE(add.memo().size(), 100000);
        QTest::keyClick(add.memoField(), Qt::Key_Return);
        QVERIFY(w.waitForEntries(2));  // with the starting points
        const std::string stored = memo.toStdString();
        QVERIFY(entryWithMemo(w, stored));

        // Only the amount edited: the memo goes back whole.
        w.ledger().editEntry(*entryWithMemo(w, stored));
        EditEntrySheet* sheet = w.ledger().editingSheet();
        QVERIFY(sheet);
        QCOMPARE(sheet->fields()->memo(), memo);
        RecordsWindow::typeInto(sheet->fields()->amountField(), "7");
        QTest::keyClick(sheet->fields()->amountField(), Qt::Key_Return);
        QTRY_VERIFY_WITH_TIMEOUT(entryWithMemo(w, stored) && entryWithMemo(w, stored)->amount == 7,
                                 kPatience);

        LedgerTableView& list = *w.ledger().list();
        const QRect row = list.visualRect(list.model()->index(rowOf(w, stored), 0));
        const QPoint over(LedgerRowDelegate::badgeRect(row).right() + 40, row.center().y());
        QHelpEvent help(QEvent::ToolTip, over, list.viewport()->mapToGlobal(over));
        QApplication::sendEvent(list.viewport(), &help);
        QTRY_VERIFY(QToolTip::isVisible());
        QCOMPARE(QToolTip::text(), DataText::literalRichText(memo));
        QToolTip::hideText();

        // The rename field holds a name of the same length.
        w.find<QPushButton>("renameButton")->click();
        RenameSheet* rename = w.find<AccountHeaderView>("accountHeader")->renameSheet();
        rename->nameField()->setText(memo);
        QTest::keyClick(rename->nameField(), Qt::Key_Return);
        QTRY_VERIFY_WITH_TIMEOUT(w.account(memo.toStdString()), kPatience);
    }

    void renameSheetSendsTheNameAsTyped() {
        RecordsWindow w;
        QVERIFY(w.openWithAgent("alpha"));
        auto* header = w.find<AccountHeaderView>("accountHeader");
        const auto open = [&] {
            w.find<QPushButton>("renameButton")->click();
            return header->renameSheet();
        };
        RenameSheet* sheet = open();
        QVERIFY(sheet && sheet->windowModality() == Qt::WindowModal);
        QCOMPARE(sheet->nameField()->text(), QString("alpha"));
        RecordsWindow::typeInto(sheet->nameField(), "  Alpha 100%  ");
        QTest::keyClick(sheet->nameField(), Qt::Key_Return);
        QTRY_VERIFY(!header->renameSheet());
        QTRY_VERIFY_WITH_TIMEOUT(w.account("  Alpha 100%  "), kPatience);
        QCOMPARE(w.find<QLabel>("accountName")->text(), DataText::isolated("  Alpha 100%  "));

        // Escape cancels; an empty or blank name is sent too, and the host keeps the old one.
        sheet = open();
        QCOMPARE(sheet->nameField()->text(), QString("  Alpha 100%  "));
        RecordsWindow::typeInto(sheet->nameField(), "other");
        QTest::keyClick(sheet->nameField(), Qt::Key_Escape);
        QTRY_VERIFY(!header->renameSheet());
        for (const char* name : {"", "   "}) {
            sheet = open();
            RecordsWindow::typeInto(sheet->nameField(), name);
            sheet->buttons()->saveButton()->click();
            QTRY_VERIFY(!header->renameSheet());
        }
        QVERIFY(w.settle());
        QVERIFY(w.account("  Alpha 100%  "));
    }

    void deletingAnAccountAsksFirstAndMovesTheSelection() {
        RecordsWindow w;
        QVERIFY(w.open());
        QVERIFY(w.connectAgent("alpha"));
        QVERIFY(w.connectAgent("beta"));
        QVERIFY(w.waitForAccounts(2));
        auto* header = w.find<AccountHeaderView>("accountHeader");
        const std::string first = w.model().accounts()[0].id;
        const std::string second = w.model().accounts()[1].id;

        w.find<QPushButton>("deleteAccountButton")->click();
        QMessageBox* box = header->deleteConfirmation();
        QVERIFY(box && box->isVisible());
        QCOMPARE(box->text(), QString("Delete this account and all its entries?"));
        QCOMPARE(box->findChild<QPushButton*>("confirmDeleteButton")->text(), QString("Delete Account"));
        QTest::keyClick(box, Qt::Key_Escape);
        QTRY_VERIFY(!header->deleteConfirmation());
        QVERIFY(w.settle());
        QCOMPARE(w.model().accounts().size(), std::size_t{2});

        w.find<QPushButton>("deleteAccountButton")->click();
        header->deleteConfirmation()->findChild<QPushButton*>("confirmDeleteButton")->click();
        QVERIFY(w.waitForAccounts(1));
        QTRY_COMPARE(*w.model().selectedAccountID(), second);
        QCOMPARE(w.find<QLabel>("accountName")->text(), DataText::isolated("beta"));
        QVERIFY(w.sidebar().selectionModel()->isSelected(w.sidebar().items().indexOfAccount(second)));
        QVERIFY(!w.account("alpha") && first != second);

        w.find<QPushButton>("deleteAccountButton")->click();
        header->deleteConfirmation()->findChild<QPushButton*>("confirmDeleteButton")->click();
        QVERIFY(w.waitForAccounts(0));
        QTRY_VERIFY(!w.find<AccountDetailView>("accountDetail")->showsAccount());
        QVERIFY(w.find<QWidget>("noSelectionView")->isVisible());
    }

    void ledgerKeepsItsPlaceAcrossRefreshes() {
        RecordsWindow w;
        QVERIFY(w.openWithAgent("alpha"));
        const std::string id = w.model().accounts()[0].id;
        for (int i = 0; i < 120; ++i) {
            w.model().createEntry({.accountId = id, .amount = i + 1, .memo = "entry " + std::to_string(i)});
        }
        QVERIFY(w.waitForEntries(121));
        QTableView& list = *w.ledger().list();
        QTRY_VERIFY(list.verticalScrollBar()->maximum() > 0);
        list.verticalScrollBar()->setValue(list.verticalScrollBar()->maximum() / 2);
        const QString top = list.indexAt(QPoint(1, 1)).data(LedgerItemModel::IdRole).toString();
        const QModelIndex focused = list.indexAt(QPoint(1, 40));
        list.setCurrentIndex(focused);
        const QString focusedId = focused.data(LedgerItemModel::IdRole).toString();

        // A new entry arrives above, another one changes: the rows in view stay put.
        w.model().createEntry({.accountId = id, .amount = 1000, .memo = "newest"});
        LedgerEntry changed = w.shownEntries()[60];
        changed.memo = "changed";
        w.model().updateEntry(changed);
        QTRY_VERIFY_WITH_TIMEOUT(entryWithMemo(w, "changed") && w.ledger().items()->rowCount() == 122,
                                 kPatience);
        QCOMPARE(list.indexAt(QPoint(1, 1)).data(LedgerItemModel::IdRole).toString(), top);
        QCOMPARE(list.currentIndex().data(LedgerItemModel::IdRole).toString(), focusedId);
        QCOMPARE(list.model()->index(0, 0).data(LedgerItemModel::MemoRole).toString(), QString("newest"));
    }

    // Under a German locale the window speaks German, through the translation
    // the build made, with Qt's own for its standard texts.
    void germanLocaleTranslatesTheWindow() {
        const QLocale before;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        AppTranslations::install(QStringLiteral(TALLYWICK_TRANSLATIONS_DIR));
        {
            RecordsWindow w;
            QVERIFY(w.open(false));
            auto* root = w.find<RootView>("rootView");
            QCOMPARE(root->tabText(0), QString::fromUtf8("Einträge"));
            QCOMPARE(root->tabText(1), QString::fromUtf8("Aktivität"));
            QCOMPARE(root->tabText(2), QString("Einstellungen"));
            QCOMPARE(w.find<QLabel>("connectionText")->text(), QString("Host offline"));
            QCOMPARE(w.addFields().amountField()->placeholderText(), QString("Betrag"));
            QCOMPARE(
                QAccessible::queryAccessibleInterface(w.addFields().typePicker())->text(QAccessible::Name),
                QString("Typ"));
        }
        for (QTranslator* translator : qApp->findChildren<QTranslator*>()) {
            QCoreApplication::removeTranslator(translator);
            delete translator;
        }
        QLocale::setDefault(before);
    }
};

QTEST_MAIN(RecordsTest)
#include "RecordsTest.moc"
